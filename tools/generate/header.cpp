// Public headers: prototypes are put where a hand-written header asks for them.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// The prototype of one name. A complex function under a Fortran compiler's name has two: with the adapter
/// for GNU Fortran its value comes back as C gives it.
std::string declaration(const Signature& s, const std::string& name)
{
    const std::string layers = prototype(s, name);
    if (!s.complex_result || name.back() != '_')
        return layers;
    Signature adapters = s;
    adapters.result = s.parameters.front().type;
    adapters.result.pop_back(); // its *
    adapters.parameters.erase(adapters.parameters.begin());
    return "#ifdef QNM_GNU_COMPLEX\n" + prototype(adapters, name) + "#else\n" + layers + "#endif\n";
}

/// What headers declare of each table, and what this one has declared so far.
class Declared {
public:
    explicit Declared(const Catalogue& tables) : tables_(tables) {}

    /// The prototypes of a table's rows of these names, or of all its rows if there are none, each routine's
    /// below its title.
    std::string prototypes(const std::string& table, const std::set<std::string>& roots)
    {
        std::string text;
        std::set<std::string> missing = roots;
        const Documentation* told = nullptr;
        for (const Signature& s : tables_.signatures(table)) {
            if (!roots.empty() && roots.count(s.root) == 0)
                continue;
            missing.erase(s.root);
            const Documentation* d = tables_.documentation(s);
            if (d != nullptr && d != told && !s.declared().empty())
                text += "/* " + d->title + ". */\n";
            told = d;
            for (const std::string& name : s.declared()) {
                if (!seen_[table].insert(name).second)
                    throw TableError(s.where() + ": '" + s.root + "': expected to be asked for once");
                text += declaration(s, name);
            }
        }
        if (!missing.empty())
            throw TableError(table + ":0: '" + *missing.begin() + "': expected a row of this table");
        return text;
    }

    /// The core's functions behind a table's jumps, and those that the layer calls itself.
    std::string core(const std::string& table) const
    {
        std::string text;
        for (const Signature& s : tables_.signatures(table))
            if (!s.callees.empty())
                text += prototype(s, s.callees.front().name);
        return text;
    }

    /// Refuses a header that asks for some rows of a table and leaves out others.
    void check_complete() const
    {
        for (const auto& [table, seen] : seen_)
            for (const Signature& s : tables_.signatures(table))
                for (const std::string& name : s.declared())
                    if (seen.count(name) == 0)
                        throw TableError(s.where() + ": '" + s.root + "': expected a place in the header");
    }

private:
    const Catalogue& tables_;
    std::map<std::string, std::set<std::string>> seen_; // names, by table
};

/// Each function of a family, in one of its forms.
void each_of(const Catalogue& tables, const std::string& family,
             const std::function<void(const Signature&)>& visit)
{
    for (const Signature& s : tables.signatures())
        if (s.family == family && s.published)
            visit(s);
}

/// `@renames FAMILY@`: narrow names stand for wide ones, level by level.
std::string renames(const Catalogue& tables, const std::string& family)
{
    std::string text;
    std::map<std::string, std::string> narrow;
    each_of(tables, family, [&](const Signature& s) {
        const std::string routine = s.root + " " + s.letter.prefix + " " + s.form->level;
        if (s.form->width == Width::narrow)
            narrow[routine] = s.names.front();
        else
            text += "#define " + narrow.at(routine) + " " + s.names.front() + "\n";
    });
    return text;
}

/// `@routines FAMILY FORM PREFIX@`: the routines of a form under the prefix's names, for the last name that
/// headers declare.
std::string routines(const Catalogue& tables, const std::string& family, const std::string& form,
                     const std::string& prefix)
{
    std::string text;
    each_of(tables, family, [&](const Signature& s) {
        if (s.form->name == form)
            text += "#define " + prefix + to_lower(with_letter(s.root, s.letter)) + " " +
                    s.declared().back() + "\n";
    });
    return text;
}

/// `@complex_functions MACRO@`: the macro for each function whose complex result is stored behind a first
/// argument: its type, the spelling of a Fortran compiler, the plain one, parameters, their names.
std::string complex_functions(const Catalogue& tables, const std::string& macro)
{
    std::string text;
    for (const Signature& s : tables.signatures()) {
        const auto fortran = std::find_if(s.names.begin(), s.names.end(),
                                          [](const std::string& name) { return name.back() == '_'; });
        if (!s.published || !s.complex_result || fortran == s.names.end())
            continue;
        Words parameters, names;
        for (const Parameter& p : s.parameters) {
            parameters.push_back("const void* " + p.name);
            names.push_back(p.name);
        }
        parameters.erase(parameters.begin());
        names.erase(names.begin());
        const std::string type = s.letter.real == 's' ? "float" : "double", list = joined(parameters);
        text += "void " + joined({s.names.front() + "(" + type + " _Complex*", list}) + ");\n" + macro + "(" +
                joined({type, *fortran, s.names.front(), "(" + list + ")", joined(names)}) + ")\n";
    }
    return text;
}

/// Whether two functions take and give back the same types.
bool same_types(const Signature& one, const Signature& other)
{
    return one.result == other.result &&
           std::equal(one.parameters.begin(), one.parameters.end(), other.parameters.begin(),
                      other.parameters.end(),
                      [](const Parameter& a, const Parameter& b) { return a.type == b.type; });
}

/// `@wide_fellows MACRO PREFIX...@`: the macro for each name of a Fortran compiler, or with such a prefix,
/// that has a fellow with _64 whose integers are wider: both names.
std::string wide_fellows(const Catalogue& tables, const std::string& macro, const Words& prefixes)
{
    const auto all = tables.signatures();
    std::map<std::string, const Signature*> wide;
    for (const Signature& s : all)
        if (s.published && s.form->width == Width::wide)
            for (const std::string& name : s.declared())
                wide[name] = &s;
    std::string text;
    for (const Signature& s : all) {
        if (!s.published || s.form->width != Width::narrow)
            continue;
        for (const std::string& name : s.declared()) {
            const bool fortran = name.back() == '_' && name == to_lower(name);
            if (!fortran && std::none_of(prefixes.begin(), prefixes.end(), [&](const std::string& prefix) {
                    return name.rfind(prefix, 0) == 0;
                }))
                continue;
            const std::string fellow = name + (fortran ? "64_" : "_64");
            const auto found = wide.find(fellow);
            if (found != wide.end() && !same_types(s, *found->second))
                text += macro + " " + name + ", " + fellow + "\n";
        }
    }
    return text;
}

/// `@constants FILE@`: what the enumerators of another template of this folder are in Fortran, and its macros
/// that are numbers of 64 bits.
std::string constants(const std::filesystem::path& path)
{
    static const std::regex enumerator(" *(\\w+) = (-?\\d+|0x[0-9a-f]+),? *(/\\*.*)?"),
        macro("#define (\\w+) (0x[0-9a-f]+)ULL *(/\\*.*)?");
    std::ifstream in(path);
    std::string text;
    std::smatch found;
    for (std::string line; std::getline(in, line);) {
        const bool narrow = std::regex_match(line, found, enumerator);
        if (!narrow && !std::regex_match(line, found, macro))
            continue;
        const std::string kind = narrow ? "c_int" : "c_int64_t",
                          value = std::to_string(std::stoll(found.str(2), nullptr, 0));
        text += "  integer(" + kind + "), parameter, public :: " + found.str(1) + " = " + value +
                (narrow ? "" : "_c_int64_t") + "\n";
    }
    if (text.empty())
        throw TableError(path.string() + ":0: no enumerators: expected a header that has some");
    return text;
}

/// What a line with a mark stands for.
std::string marked(const std::vector<std::string>& words, const Catalogue& tables, Declared& declared,
                   const std::filesystem::path& folder)
{
    if (words.size() > 1 && words[0] == "prototypes")
        return declared.prototypes(words[1], {words.begin() + 2, words.end()});
    if (words.size() == 2 && words[0] == "core")
        return declared.core(words[1]);
    if ((words.size() == 2 || words.size() == 3) && words[0] == "imports")
        return core_prototypes(tables, words[1], words.size() == 3 ? words[2] : "");
    if (words.size() == 2 && words[0] == "helpers")
        return helper_declarations(tables, words[1]);
    if (words.size() == 2 && words[0] == "renames")
        return renames(tables, words[1]);
    if (words.size() == 4 && words[0] == "routines")
        return routines(tables, words[1], words[2], words[3]);
    if (words.size() == 2 && words[0] == "complex_functions")
        return complex_functions(tables, words[1]);
    if (words.size() > 1 && words[0] == "wide_fellows")
        return wide_fellows(tables, words[1], {words.begin() + 2, words.end()});
    if (words.size() == 2 && words[0] == "constants")
        return constants(folder / words[1]);
    if (const Room* room = words.empty() ? nullptr : tables.room(words[0])) {
        const std::string text = room->mark(tables, {words.begin() + 1, words.end()});
        if (!text.empty())
            return text;
    }
    throw TableError("'@" + joined(words, " ") +
                     "@': expected prototypes TABLE ROOT..., core TABLE, imports FOLDER MACRO, helpers "
                     "FAMILY, renames FAMILY, "
                     "routines FAMILY FORM PREFIX, complex_functions MACRO, wide_fellows MACRO PREFIX..., "
                     "constants FILE or "
                     "a room's own");
}

} // namespace

std::string header_text(const Catalogue& tables, const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw TableError(path + ":0: cannot be read: expected a header");
    std::string text;
    Declared declared(tables);
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] != '@') {
            text += line + "\n";
            continue;
        }
        // A long list of names goes on in the next line; the second mark ends it.
        std::string inside = line.substr(1);
        while (inside.find('@') == std::string::npos && std::getline(in, line))
            inside += " " + line;
        std::istringstream words(inside.substr(0, inside.find('@')));
        text += marked({std::istream_iterator<std::string>(words), {}}, tables, declared,
                       std::filesystem::path(path).parent_path());
    }
    declared.check_complete();
    return text;
}

} // namespace qnm::generate
