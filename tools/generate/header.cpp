// Public headers: prototypes with types, put where a hand-written header asks for them.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include "catalogue/cblas.hpp"
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// Names with `__` are for the library's other interfaces, and the heads of chains for the library alone.
bool is_public(const std::string& spelling)
{
    return spelling.find("__") == std::string::npos && spelling.rfind("cdecl_", 0) != 0;
}

bool written(const Argument& a)
{
    return a.direction == Direction::out || a.direction == Direction::inout || a.direction == Direction::work;
}

std::string parameter(const Argument& a, const Entry& entry)
{
    const std::string type = c_type(a.type, entry.precision, entry.width);
    if (a.kind == Kind::value || (entry.frame() == Class::helper && !a.array))
        return type + " " + a.name;
    if (a.type == "procedure")
        return "qnm_procedure_t " + a.name;
    if (a.kind == Kind::handle)
        return "void* " + a.name;
    if (a.pointers && a.type == "void") // handles: the addresses themselves are what is written
        return (written(a) ? "void** " : "void* const* ") + a.name;
    const std::string pointee = (written(a) ? "" : "const ") + type + "*";
    return pointee + (a.pointers ? " const* " : " ") + a.name;
}

/// The same in the C form of a matrix copy: scalars by value, and sizes as such.
std::string value_parameter(const Argument& a, const Entry& entry)
{
    if (a.type == "int")
        return (a.array ? "const size_t* " : "size_t ") + a.name;
    return a.array ? parameter(a, entry) : c_type(a.type, entry.precision, entry.width) + " " + a.name;
}

std::string result(const Entry& entry)
{
    const Result& r = entry.row->result;
    if (r.kind != ResultKind::value)
        return "void";
    return r.type == "index" ? "int" : c_type(r.type, entry.precision, entry.width);
}

std::vector<std::string> parameters(const Entry& entry)
{
    std::vector<std::string> list;
    const Result& r = entry.row->result;
    if (r.kind == ResultKind::hidden)
        list.push_back(c_type(r.type, entry.precision, entry.width) + "* result");
    if (r.kind == ResultKind::hidden && r.type == "char")
        list.emplace_back("size_t result_length");
    for (const Argument& a : entry.row->arguments)
        list.push_back(parameter(a, entry));
    return list;
}

std::vector<std::string> parameters(const Service& s, bool by_reference)
{
    std::vector<std::string> list;
    for (const ServiceArgument& a : s.arguments) {
        const std::string type = service_type(a.type);
        const bool pointer = type.back() == '*';
        const std::string reference = pointer ? type + " const*" : "const " + type + "*";
        list.push_back((by_reference && !a.untouched ? reference : type) + " " + a.name);
    }
    return list;
}

std::string prototypes(const Row& row)
{
    std::string text;
    for (const Entry& entry : Catalogue::entries(row)) {
        for (const std::string& spelling : entry.spellings())
            if (is_public(spelling))
                text += prototype(result(entry), spelling, parameters(entry));
        if (entry.c_form().empty())
            continue;
        std::vector<std::string> values;
        for (const Argument& a : row.arguments)
            values.push_back(value_parameter(a, entry));
        text += prototype(result(entry), entry.c_form(), values);
    }
    return text;
}

std::string prototypes(const Service& s)
{
    if (s.kind == ServiceKind::internal)
        return {};
    std::string text;
    const bool two_forms = s.kind == ServiceKind::service;
    for (const std::string& spelling : s.spellings)
        if (is_public(spelling))
            text += prototype(service_type(s.result), spelling, parameters(s, two_forms));
    if (two_forms)
        text += prototype(service_type(s.result), s.name, parameters(s, false));
    return text;
}

/// The C interface's types are the published ones: enumerations, `void` for complex numbers, and also for
/// arrays whose type depends on the layout.
std::string parameter(const CArgument& a, const CEntry& entry)
{
    const CRow& row = *entry.row;
    const std::string integer = entry.width == Width::narrow ? "int" : "qnm_int64";
    const auto enumeration = [&] {
        return a.as.letters.find('P') != std::string::npos ? "int" : code_group(a.as.letters).type;
    };
    const auto element = [&] {
        const bool complex = entry.precision.element == 'c' || entry.precision.element == 'z';
        const CArgument* other = row.find(row.rows.source(a.as.name));
        return a.as.type == "C" || (complex && a.as.type == "T") || other->as.type != a.as.type
                   ? "void"
                   : c_type(a.as.type, entry.precision, entry.width);
    };
    const std::string constant = written(a.as) ? "" : "const ";
    switch (a.role) {
    case CRole::layout:
        return "CBLAS_LAYOUT layout";
    case CRole::option:
        return std::string(enumeration()) + " " + a.as.name;
    case CRole::options:
        return std::string("const ") + enumeration() + "* " + a.as.name;
    case CRole::integer:
        return integer + " " + a.as.name;
    case CRole::integers:
        return "const " + integer + "* " + a.as.name;
    case CRole::scalar:
        return c_type(a.as.type, entry.precision, entry.width) + " " + a.as.name;
    case CRole::address:
        break;
    }
    if (a.as.pointers && a.as.type == "void")
        return "void** " + a.as.name;
    return constant + element() + "*" + (a.as.pointers ? " const* " : " ") + a.as.name;
}

std::string prototypes(const CRow& row)
{
    std::string text;
    for (const CEntry& entry : c_entries(row)) {
        std::vector<std::string> list;
        for (const CArgument& a : row.arguments)
            list.push_back(parameter(a, entry));
        const Result& r = row.fortran.result;
        text += prototype(r.kind != ResultKind::value ? "void"
                          : row.form == "index"       ? "CBLAS_INDEX"
                                                      : c_type(r.type, entry.precision, entry.width),
                          entry.name(), list);
    }
    return text;
}

/// The rows that a header has declared so far, by table.
class Declared {
public:
    explicit Declared(const Catalogue& tables) : tables_(tables) {}

    /// The prototypes of a table's rows of these names, or of all its rows if there are none.
    std::string take(const std::string& file, const std::set<std::string>& names)
    {
        std::string text;
        std::set<std::string> missing = names;
        const auto add = [&](const auto& row, const std::string& name) {
            if (row.file != file || (!names.empty() && names.count(name) == 0))
                return;
            missing.erase(name);
            if (!seen_[file].insert(&row).second)
                throw TableError(row.where() + ": '" + name + "': expected to be asked for once");
            text += prototypes(row);
        };
        for (const Row& row : tables_.rows())
            add(row, row.root);
        for (const CRow& row : tables_.c_rows().rows)
            add(row, row.root);
        for (const Service& s : tables_.services())
            add(s, s.name);
        if (!missing.empty())
            throw TableError(file + ":0: '" + *missing.begin() + "': expected a row of this table");
        if (seen_[file].empty())
            throw TableError(file + ":0: no prototypes: expected the name of a table that was read");
        return text;
    }

    /// Refuses a header that asks for some rows of a table and leaves out others.
    void check_complete() const
    {
        for (const auto& [file, seen] : seen_) {
            for (const Row& row : tables_.rows())
                check(row, file, row.root);
            for (const CRow& row : tables_.c_rows().rows)
                check(row, file, row.root);
            for (const Service& s : tables_.services())
                if (s.kind != ServiceKind::internal)
                    check(s, file, s.name);
        }
    }

private:
    template <class R>
    void check(const R& row, const std::string& file, const std::string& name) const
    {
        if (row.file == file && seen_.at(file).count(&row) == 0)
            throw TableError(row.where() + ": '" + name + "': expected a place in the header");
    }

    const Catalogue& tables_;
    std::map<std::string, std::set<const void*>> seen_;
};

/// The tables of the C interface to LAPACK that a header has declared so far.
void check_interfaces(const Catalogue& tables, const std::set<std::string>& seen)
{
    for (const LapackePlan& plan : tables.lapacke_plans())
        if (!seen.empty() && seen.count(plan.c->file) == 0)
            throw TableError(plan.c->where() + ": '" + plan.row->root + "': expected a place in the header");
}

} // namespace

std::string prototype(const std::string& type, const std::string& name,
                      const std::vector<std::string>& parameters)
{
    constexpr std::size_t widest = 110;
    std::string text;
    std::string line = type + " " + name + "(" + (parameters.empty() ? "void" : "");
    for (const std::string& item : parameters) {
        const bool last = &item == &parameters.back();
        const std::string between = &item == &parameters.front() ? "" : " ";
        if (line.size() + between.size() + item.size() + 2 > widest) {
            text += line + "\n";
            line = "    " + item;
        } else {
            line += between + item;
        }
        line += last ? "" : ",";
    }
    return text + line + ");\n";
}

std::string header_text(const Catalogue& tables, const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw TableError(path + ":0: cannot be read: expected a header");
    std::string text;
    Declared declared(tables);
    const std::string mark = "@prototypes ";
    const std::string c_mark = "@interface ";
    std::set<std::string> interfaces;
    for (std::string line; std::getline(in, line);) {
        if (line == "@renames@") {
            text += lapacke_renames(tables);
            continue;
        }
        if (line == "@routines narrow@" || line == "@routines wide@") {
            text += lapacke_routines(tables, line == "@routines wide@" ? Width::wide : Width::narrow);
            continue;
        }
        if (line.rfind(c_mark, 0) == 0) {
            const std::string file =
                line.substr(c_mark.size(), line.find(' ', c_mark.size()) - c_mark.size());
            const std::string declarations = lapacke_prototypes(tables, file);
            if (declarations.empty())
                throw TableError(file + ":0: no prototypes: expected the name of a table that was read");
            interfaces.insert(file);
            text += declarations;
            continue;
        }
        if (line.rfind(mark, 0) != 0) {
            text += line + "\n";
            continue;
        }
        // A long list of names goes on in the next line; the second mark ends it.
        std::string inside = line.substr(mark.size());
        while (inside.find('@') == std::string::npos && std::getline(in, line))
            inside += " " + line;
        std::istringstream words(inside.substr(0, inside.find('@')));
        std::string file;
        words >> file;
        text += declared.take(file, {std::istream_iterator<std::string>(words), {}});
    }
    declared.check_complete();
    check_interfaces(tables, interfaces);
    return text;
}

} // namespace qnm::generate
