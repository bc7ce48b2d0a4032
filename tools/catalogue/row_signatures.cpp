// Signatures of what rows export: checks and entries.
#include "row_signatures.hpp"

#include <map>
#include <sstream>

#include "catalogue.hpp"

namespace qnm::catalogue {

namespace {

bool written(const Argument& a)
{
    return a.direction == Direction::out || a.direction == Direction::inout || a.direction == Direction::work;
}

/// Whether an argument is itself what a form's caller passes, and not where it stands.
bool by_value(const Argument& a, const Entry& entry)
{
    if (a.array || a.pointers || written(a))
        return false;
    return a.kind == Kind::value ||
           (entry.form->convention == Convention::value && a.kind != Kind::handle && a.type != "void");
}

/// Whether the entry looks at the places of numbers and handles.
bool reads_places(const Entry& entry)
{
    const Class told = entry.row->entry_class;
    return (told == Class::handed || told == Class::own) && entry.form->convention == Convention::reference;
}

std::string parameter_type(const Argument& a, const Entry& entry)
{
    const std::string type = c_type(a.type, entry.precision, entry.width);
    if (find_type(a.type)->address || by_value(a, entry))
        return type;
    if (a.type == "procedure")
        return "qnm_procedure_t";
    if (a.kind == Kind::handle) {
        return reads_places(entry) ? "void* const*" : "void*";
    }
    if (a.pointers && !a.array) // where an array's address is written
        return type + "**";
    if (a.pointers && a.type == "void") // handles: the addresses themselves are what is written
        return written(a) ? "void**" : "void* const*";
    return (written(a) ? "" : "const ") + type + "*" + (a.pointers ? " const*" : "");
}

/// Whether an argument is one complex number; by value it travels only to functions for either width.
bool is_complex_number(const Argument& a, const Entry& entry)
{
    return !a.array && c_type(a.type, entry.precision, entry.width).rfind("qnm_complex", 0) == 0;
}

Travel travel(const Argument& a, const Entry& entry)
{
    static const std::map<Kind, Travel> usual{
        {Kind::character, Travel::letter}, {Kind::letters, Travel::letters},
        {Kind::integer, Travel::integer},  {Kind::integers, Travel::integers},
        {Kind::value, Travel::value},      {Kind::handle, Travel::address},
        {Kind::real, Travel::address}};
    if (find_type(a.type)->address)
        return Travel::address;
    if (by_value(a, entry))
        return Travel::value;
    if (entry.row->groups && a.kind == Kind::integer && a.array)
        return Travel::integers;
    if (entry.row->entry_class == Class::handed && (written(a) || a.pointers) && !a.array)
        return Travel::address;
    const bool read = reads_places(entry) && !a.array && (a.kind == Kind::real || a.kind == Kind::handle) &&
                      (entry.row->family->core_has_widths() || !is_complex_number(a, entry));
    return read ? Travel::number : usual.at(a.kind);
}

Fill fill(const Parameter& p, const Entry& entry)
{
    const Class frame = entry.frame();
    const bool narrow = entry.width == Width::narrow;
    if (frame == Class::passed || frame == Class::chain || frame == Class::called || frame == Class::relayed)
        return Fill::as_it_is;
    if (frame == Class::handed)
        return p.travel == Travel::integer || p.travel == Travel::letter || p.travel == Travel::number
                   ? Fill::read
               : entry.row->family->core_has_widths()                               ? Fill::as_it_is
               : p.travel == Travel::integers && narrow                             ? Fill::copied
               : p.travel == Travel::value && narrow && p.argument->is_integer()    ? Fill::widened
               : p.travel == Travel::value && is_complex_number(*p.argument, entry) ? Fill::addressed
                                                                                    : Fill::as_it_is;
    if (!narrow || entry.row->groups)
        return Fill::as_it_is;
    return p.travel == Travel::integer || p.travel == Travel::value ? Fill::widened
           : p.travel == Travel::integers && frame != Class::bare && frame != Class::unchecked
               ? Fill::copied
               : Fill::as_it_is;
}

Place hidden_length(const std::string& text)
{
    return {Fill::constant, -1, "1", {}, "size_t", text + "_length"};
}

Callee callee(const Signature& signature, const Entry& entry)
{
    const Row& row = *entry.row;
    Callee core{entry.core(), "", {}};
    const auto place = [&](std::size_t i) {
        core.places.push_back({fill(signature.parameters[i], entry), static_cast<int>(i)});
    };
    if (!row.places.empty()) {
        for (const std::string& told : row.places) {
            const bool addressed = told.front() == '&', local = told.front() == '=';
            const Argument* a = row.find(addressed || local ? told.substr(1) : told);
            if (a == nullptr) {
                const int* const number = told_number(told, entry.precision, entry.width);
                core.places.push_back(
                    {Fill::constant,
                     -1,
                     number == nullptr ? told : std::to_string(*number),
                     {},
                     "qnm_int64",
                     number == nullptr ? "number" + std::to_string(core.places.size() + 1) : told});
                continue;
            }
            place(signature.parameters.size() - row.arguments.size() +
                  static_cast<std::size_t>(row.position(*a)) - 1);
            if (addressed) {
                Fill& fill = core.places.back().fill;
                fill = fill == Fill::read ? Fill::as_it_is : Fill::addressed;
            }
            if (local)
                core.places.back().fill = Fill::addressed;
        }
        return core;
    }
    for (std::size_t i = 0; i < signature.parameters.size(); ++i)
        if (signature.parameters[i].name == "result_length")
            core.places.push_back(hidden_length("result"));
        else if (const Argument* a = signature.parameters[i].argument; a == nullptr || !a->kept)
            place(i);
    if (entry.frame() == Class::handed || entry.frame() == Class::passed || entry.frame() == Class::chain ||
        entry.frame() == Class::called || entry.frame() == Class::relayed)
        return core;
    if (row.groups)
        core.places.push_back(
            {Fill::constant, -1, entry.width == Width::narrow ? "1" : "0", {}, "int", width_flag});
    for (const Argument& a : row.arguments)
        if (a.kind == Kind::character || a.kind == Kind::letters)
            core.places.push_back(hidden_length(a.name));
    return core;
}

std::string source_of(const Entry& entry)
{
    static const std::map<Class, const char*> templates{{Class::checked, "checked"},
                                                        {Class::registered, "registered"},
                                                        {Class::unregistered, "unregistered"},
                                                        {Class::unchecked, "unchecked"},
                                                        {Class::scratch, "scratch"},
                                                        {Class::bare, "bare"},
                                                        {Class::carried, "carried"},
                                                        {Class::check, "check"},
                                                        {Class::relayed, "relayed"},
                                                        {Class::handed, "handed"},
                                                        {Class::passed, "passed"},
                                                        {Class::chain, "chain"},
                                                        {Class::called, "called"},
                                                        {Class::own, "own"}};
    const std::string word = templates.at(entry.frame()), folder = "src/" + entry.row->family->room + "/";
    switch (entry.frame()) {
    case Class::own:
        return word + ", src/" + (entry.row->source.empty() ? entry.row->family->room : entry.row->source);
    case Class::passed:
    case Class::chain:
    case Class::called:
        return word +
               (entry.row->family->registers.empty() ? ", src/frame/jumps.hpp" : ", src/frame/relay.hpp");
    case Class::relayed:
        return word + ", " + folder + "relayed.hpp on src/frame/relay.hpp";
    case Class::handed:
        return word + (entry.row->has_check()       ? ", " + folder + "entry.hpp"
                       : entry.row->family->kernels ? ", " + folder + "kernel.hpp"
                                                    : ", src/frame/jumps.hpp");
    default:
        // The LAPACK classes differ in one step of one template; a class with and one without checks share
        // theirs.
        return word + ", " + folder +
               (entry.row->family->room == "lapack"  ? "entry"
                : entry.frame() == Class::registered ? "checked"
                                                     : word) +
               ".hpp";
    }
}

/// What checks and entries have in common.
Signature common(const Entry& entry)
{
    const Row& row = *entry.row;
    Signature s = signature_of(row, entry.precision, entry.form);
    if (row.result.kind == ResultKind::hidden) {
        const std::string type = c_type(row.result.type, entry.precision, entry.width);
        s.parameters.push_back({"result", type + "*", Travel::address, nullptr, ""});
        s.complex_result = row.result.type != "char";
        if (!s.complex_result)
            s.parameters.push_back({"result_length", "size_t", Travel::value, nullptr, ""});
    }
    for (const Argument& a : row.arguments)
        s.parameters.push_back({a.name, parameter_type(a, entry), travel(a, entry), &a, ""});
    s.hidden_lengths = entry.form->convention == Convention::reference ? entry.hidden_lengths() : 0;
    s.report_name = entry.report_name();
    s.definitions = row.definitions;
    if (row.has_check()) {
        const auto ahead = static_cast<int>(s.parameters.size() - row.arguments.size());
        for (const Argument* a : row.tests())
            s.tests.push_back({ahead + row.position(*a) - 1, row.code(*a), test_text(*a)});
    }
    return s;
}

} // namespace

std::string test_text(const Argument& a)
{
    std::ostringstream out;
    out << a.name;
    if (!a.letters.empty())
        out << " in " << a.letters;
    else if (a.minimum)
        out << " >= " << bound_text(*a.minimum);
    else if (a.above)
        out << " > " << bound_text(*a.above);
    else
        out << " != 0";
    if (a.maximum)
        out << " and <= " << bound_text(*a.maximum);
    if (a.barred)
        out << ", refused if " << to_text(*a.barred);
    if (a.unless)
        out << " unless " << to_text(*a.unless);
    return out.str();
}

Signature check_signature(const Entry& entry)
{
    // Where the entry turns references into values, the check gets what the core does.
    static const Form of_values{"check", Convention::value, Width::wide, "", {}, "", ""};
    const bool handed = entry.row->entry_class == Class::handed;
    Signature s = common(handed ? Entry(*entry.row, entry.precision, of_values) : entry);
    for (Parameter& p : s.parameters)
        if (handed && is_complex_number(*p.argument, entry)) {
            p.type = "const void*";
            p.travel = Travel::address;
        }
    s.report_name = entry.report_name();
    s.names = {entry.check()};
    const bool relayed = entry.row->entry_class == Class::relayed;
    s.published = relayed; // programs may ask it ahead of their calls
    s.source = relayed ? "check, src/frame/relay.hpp" : "check, src/frame/check.hpp";
    s.result = "int";
    return s;
}

Signature entry_signature(const Entry& entry)
{
    const Row& row = *entry.row;
    Signature s = common(entry);
    s.names = entry.spellings();
    s.source = source_of(entry);
    s.data = row.data;
    s.variadic = row.variadic;
    if (row.result.kind == ResultKind::value)
        s.result = row.result.type == "index" ? "int" : c_type(row.result.type, entry.precision, entry.width);
    if (!row.family->core.empty() && row.entry_class != Class::own)
        s.callees.push_back(callee(s, entry));
    if (!row.small_root.empty()) {
        s.callees.push_back(s.callees.front());
        s.callees.back().name = entry.small_core();
        s.callees.back().when = to_text(*row.small_condition);
        s.callees.back().condition = row.small_condition;
    }
    if (row.has_check())
        s.check = entry.check();
    const bool frameless =
        entry.frame() == Class::bare || entry.frame() == Class::carried || entry.frame() == Class::passed ||
        entry.frame() == Class::chain || entry.frame() == Class::called || entry.frame() == Class::own ||
        entry.frame() == Class::relayed || (entry.frame() == Class::handed && !row.has_check());
    if (!frameless)
        s.trace = entry.format();
    if (!frameless && entry.frame() != Class::handed)
        s.cell = entry.cell() + ".verbose_ptr";
    return s;
}

std::vector<Signature> row_signatures(const Row& row)
{
    std::vector<Signature> all;
    if (row.entry_class == Class::called) {
        all.push_back(entry_signature(Entry(row, row.precisions.front(), row.family->forms.front())));
        all.back().names = {all.back().callees.front().name};
        all.back().exported = all.back().published = false;
    }
    for (const Entry& entry : Catalogue::checks(row))
        all.push_back(check_signature(entry));
    for (const Entry& entry : Catalogue::entries(row)) {
        Signature s = entry_signature(entry);
        if (row.entry_class != Class::chain) {
            all.push_back(std::move(s));
            continue;
        }
        for (std::size_t i = 0; i < s.names.size(); ++i) {
            Signature link = s;
            link.names = {s.names[i]};
            if (i + 1 < s.names.size())
                link.callees.front().name = s.names[i + 1];
            all.push_back(std::move(link));
        }
    }
    return all;
}

std::vector<std::string> Signature::declared() const
{
    std::vector<std::string> all;
    for (const std::string& name : names)
        if (published && name.find("__") == std::string::npos && name.rfind("cdecl_", 0) != 0)
            all.push_back(name);
    return all;
}

std::string prototype(const Signature& signature, const std::string& name)
{
    if (signature.data)
        return "extern " + signature.result + " " + name + ";\n";
    constexpr std::size_t widest = 110;
    std::string text;
    std::string line = signature.result + " " + name + "(" + (signature.parameters.empty() ? "void" : "");
    for (const Parameter& p : signature.parameters) {
        const bool first = &p == &signature.parameters.front(), last = &p == &signature.parameters.back();
        const std::string item = p.type + " " + p.name, between = first ? "" : " ";
        if (line.size() + between.size() + item.size() + 2 > widest) {
            text += line + "\n";
            line = "    " + item;
        } else {
            line += between + item;
        }
        line += last ? "" : ",";
    }
    return text + line + (signature.variadic ? ", ...);\n" : ");\n");
}

} // namespace qnm::catalogue
