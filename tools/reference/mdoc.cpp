// Pages in the mdoc language, section by section.
#include <algorithm>
#include <functional>
#include <sstream>

#include "generate/text.hpp"
#include "page.hpp"
#include "text.hpp"

namespace qnm::reference {

using namespace catalogue;
using generate::joined;
using generate::Words;

namespace {

const Family& family_of(const Catalogue& tables, const Signature& s)
{
    return tables.families().at(s.family);
}

bool is_fortran(const Signature& s)
{
    return s.form != nullptr && s.form->convention == Convention::reference;
}

/// The name by which a page speaks of a function: the plainest that a header declares.
const std::string& shown_name(const Signature& s)
{
    return s.names.front();
}

std::string c_type_text(const Parameter& p)
{
    const std::size_t stars = p.type.find_last_not_of('*') + 1;
    return p.type.substr(0, stars) + " " + p.type.substr(stars) + p.name;
}

/// Its prototype with one width of integers.
std::string narrowed(const Signature& s)
{
    std::string text = s.family + s.letter.prefix + s.form->level + s.result;
    for (const Parameter& p : s.parameters)
        text += "," + p.type;
    for (const char* wide : {"qnm_int64", "int64_t", "lapack_int", "unsigned"})
        for (std::size_t at = text.find(wide); at != std::string::npos; at = text.find(wide, at))
            text.replace(at, std::string(wide).size(), "int");
    return text;
}

std::string prototype_text(const Signature& s)
{
    if (s.data)
        return ".Vt extern " + s.result + " " + shown_name(s) + " ;\n";
    std::string text = ".Ft " + quoted(s.result) + "\n.Fo " + shown_name(s) + "\n";
    if (s.parameters.empty())
        text += ".Fa void\n";
    for (const Parameter& p : s.parameters)
        text += ".Fa " + quoted(c_type_text(p)) + "\n";
    return text + (s.variadic ? ".Fa ...\n" : "") + ".Fc\n";
}

/// C prototypes: of names that differ in the width of integers alone, the narrow one.
std::string prototypes(const Page& page, const Build& build)
{
    std::string text, header;
    std::set<std::string> seen;
    Words wide;
    for (const Signature& s : page.functions) {
        const auto found = build.headers.find(s.table);
        if (found != build.headers.end() && s.published && found->second != header)
            text += ".In " + (header = found->second) + "\n";
        const bool same = !seen.insert(narrowed(s)).second && s.form->width != Width::narrow;
        if (same)
            wide.push_back(shown_name(s));
        else
            text += prototype_text(s);
    }
    if (!wide.empty())
        text += ".Pp\n" + wrapped(joined(wide) + ": the same with integers of 64 bits.") + "\n";
    return text;
}

bool has_letter(const Signature& s)
{
    return !s.letter.prefix.empty() && s.letter.element != ' ';
}

std::string fortran_type(const Argument& a, const Signature& s)
{
    static const std::map<std::string, const char*> words{
        {"int", "integer"},          {"logical", "logical"},         {"char", "character"},
        {"float", "real"},           {"double", "double precision"}, {"complex8", "complex"},
        {"complex16", "complex*16"}, {"status", "integer"},          {"number", "integer"},
        {"int64", "integer*8"},      {"procedure", "external"}};
    const auto of_letter = [](char letter) {
        return letter == 's'   ? "real"
               : letter == 'd' ? "double precision"
               : letter == 'c' ? "complex"
                               : "complex*16";
    };
    if (a.pointers)
        return "integer*8"; // an address
    if (a.type == "T" && has_letter(s))
        return of_letter(s.letter.element);
    if (a.type == "R" && has_letter(s))
        return of_letter(s.letter.real);
    if (a.type == "C" && has_letter(s))
        return of_letter(s.letter.real == 's' ? 'c' : 'z');
    const auto found = words.find(a.type);
    return found == words.end() ? "type(*)" : found->second;
}

/// Whether an argument is the leading dimension of the one ahead of it.
bool is_leading(const Argument& a, const Argument* before)
{
    return a.kind == Kind::integer && !a.array && a.name.rfind("ld", 0) == 0 && before != nullptr &&
           before->array && !before->pointers && !before->name.empty();
}

/// How Fortran calls a routine, with the declarations of its arguments; empty where a row does not tell them.
std::string fortran_text(const Signature& s)
{
    Words names;
    std::string declarations;
    for (std::size_t i = 0; i < s.parameters.size(); ++i) {
        const Argument* a = s.parameters[i].argument;
        if (a == nullptr) {
            if (i != 0 || !s.complex_result)
                return {};
            continue; // the result of a function
        }
        names.push_back(a->name);
        std::string extent = a->array ? "(*)" : "";
        if (a->array && i + 1 < s.parameters.size() && s.parameters[i + 1].argument != nullptr &&
            is_leading(*s.parameters[i + 1].argument, a))
            extent = "(" + s.parameters[i + 1].name + ",*)";
        declarations += "    " + fortran_type(*a, s) + " " + a->name + extent + "\n";
    }
    const bool function = s.result != "void" || s.complex_result;
    std::string name = to_lower(shown_name(s)); // to which compilers add what it ends in
    if (name.back() == '_')
        name.pop_back();
    std::string list = (function ? "result = " : "call ") + name + "(";
    constexpr std::size_t widest = 72;
    std::size_t line = list.size();
    for (const std::string& argument : names) {
        const bool last = &argument == &names.back();
        if (line + argument.size() > widest) {
            list += "&\n        ";
            line = 0;
        }
        list += argument + (last ? "" : ", ");
        line += argument.size() + 2;
    }
    return list + ")\n" + declarations;
}

std::string fortran(const Page& page)
{
    std::string text;
    std::set<std::string> seen;
    for (const Signature& s : page.functions) {
        if (!is_fortran(s) || s.form->width == Width::wide)
            continue;
        std::string key;
        for (const Parameter& p : s.parameters)
            key += p.name + ",";
        const std::string called = fortran_text(s);
        if (!called.empty() && seen.insert(key).second)
            text += called;
    }
    return text.empty() ? "" : ".Pp\nIn Fortran:\n.Bd -literal\n" + plain(text) + ".Ed\n";
}

// ---- Arguments.

std::string letters_text(const std::string& letters)
{
    Words words;
    for (const char letter : letters)
        words.push_back(std::string(1, letter));
    return alternatives(words);
}

/// What C calls a type, where there is no better word.
std::string of_type(const std::string& type)
{
    return (type.back() == '*' ? "address: " : "of type ") + type;
}

/// One of a type, or several.
std::string element_text(const std::string& type, bool several)
{
    static const std::map<std::string, std::pair<const char*, const char*>> words{
        {"T", {"number of the routine's type", "numbers of the routine's type"}},
        {"R", {"real number", "real numbers"}},
        {"C", {"complex number", "complex numbers"}},
        {"int", {"integer", "integers"}},
        {"logical", {"logical value", "logical values"}},
        {"char", {"letter", "letters"}},
        {"float", {"number of single precision", "numbers of single precision"}},
        {"double", {"number of double precision", "numbers of double precision"}},
        {"void", {"address", "elements of a type that the call tells"}},
        {"procedure", {"function of the program", "functions of the program"}},
        {"status", {"status", "statuses"}},
        {"number", {"integer of 32 bits", "integers of 32 bits"}},
        {"int64", {"integer of 64 bits", "integers of 64 bits"}},
        {"size", {"size", "sizes"}}};
    const auto found = words.find(type);
    if (found != words.end())
        return several ? found->second.second : found->second.first;
    const Type* known = find_type(type);
    const std::string name = known == nullptr || known->single.empty() ? type : known->single;
    return several ? "elements of type " + name : of_type(name);
}

/// Where a row does not tell it, the type in C does.
const char* direction_text(const Argument& a, const std::string& type)
{
    if (a.direction == Direction::none && a.array && type.back() == '*' && type.rfind("const ", 0) != 0 &&
        type.find("const*") == std::string::npos)
        return ", written";
    switch (a.direction) {
    case Direction::out:
        return ", written";
    case Direction::inout:
        return ", read and written";
    case Direction::work:
        return ", workspace";
    default:
        return ", read";
    }
}

/// What one argument is. `before` is the one ahead of it, of which it may be the leading dimension.
std::string argument_text(const Argument& a, const Argument* before, const std::string& type)
{
    std::ostringstream out;
    const bool leading = is_leading(a, before);
    if (a.kind == Kind::character && !a.array)
        out << "option letter";
    else if (leading)
        out << "leading dimension of " << before->name;
    else if (a.pointers)
        out << "addresses of arrays of " << element_text(a.type, true);
    else if (a.array && a.extents.size() == 2)
        out << "matrix of " << element_text(a.type, true) << ", " << bound_text(*a.extents[0]) << " by "
            << bound_text(*a.extents[1]);
    else if (a.array && !a.extents.empty())
        out << "array of " << element_text(a.type, true) << ", " << bound_text(*a.extents[0]) << " of them";
    else
        out << (a.array ? "array of " : "") << element_text(a.type, a.array);
    out << direction_text(a, type);
    if (!a.letters.empty())
        out << "; " << letters_text(a.letters);
    if (a.minimum)
        out << "; at least " << to_text(*a.minimum);
    else if (leading && before->extents.size() == 2)
        out << "; at least max(1," << to_text(*before->extents[0]) << ")";
    if (a.above)
        out << "; above " << to_text(*a.above);
    if (a.maximum)
        out << "; at most " << to_text(*a.maximum);
    if (a.nonzero)
        out << "; not zero";
    if (a.barred)
        out << "; refused where " << to_text(*a.barred);
    if (a.unless && !a.array)
        out << "; not tested where " << to_text(*a.unless);
    if (a.query)
        out << "; -1 asks for the size" << (a.alone ? "" : "s of all workspaces");
    if (a.null_at_query)
        out << "; not looked at when sizes are asked for";
    if (a.present)
        out << "; looked at only where " << to_text(*a.present);
    if (a.returned)
        out << "; its first " << to_text(*a.returned) << " elements carry results";
    return out.str();
}

std::string parameter_text(const Signature& s, std::size_t at)
{
    const Parameter& p = s.parameters[at];
    if (const Words codes = codes_of(s, at); !codes.empty())
        return "enumerated: " + alternatives(codes);
    if (at == 0 && s.complex_result)
        return "where the result is written";
    const Argument* before = at > 0 ? s.parameters[at - 1].argument : nullptr;
    if (p.argument != nullptr && !p.argument->name.empty())
        return argument_text(*p.argument, before, p.type);
    static const std::map<std::string, const char*> words{
        {"int", "integer"},      {"qnm_int64", "integer"}, {"int64_t", "integer"},   {"size_t", "size"},
        {"unsigned", "integer"}, {"float", "real number"}, {"double", "real number"}};
    if (p.type.back() != '*') {
        const auto found = words.find(p.type);
        return found == words.end() ? "of type " + p.type : found->second;
    }
    const bool constant = p.type.rfind("const ", 0) == 0 || p.type.find("const*") != std::string::npos;
    const std::size_t begin = p.type.rfind("const ", 0) == 0 ? 6 : 0;
    std::string to = p.type.substr(begin, p.type.find_last_not_of("* ") + 1 - begin);
    if (to.find(" const") != std::string::npos)
        to.resize(to.find(" const"));
    return to == "void" && p.type.find("const*") == std::string::npos
               ? "address"
               : "address of " + to + (constant ? ", read" : ", read or written");
}

/// A list of arguments with a head that tells whose they are; without one of all.
std::string list_text(const std::string& head, const std::vector<std::pair<std::string, std::string>>& items)
{
    std::string text = head;
    if (!items.empty())
        text += ".Bl -tag -width Ds\n";
    for (const auto& [name, what] : items)
        text += ".It Fa " + quoted(name) + "\n" + sentence(what) + "\n";
    return text + (items.empty() ? "" : ".El\n");
}

using Items = std::vector<std::pair<std::string, std::string>>;

/// Whose something is: names, of the narrow functions where there are some.
std::string whose(const std::vector<const Signature*>& functions)
{
    Words names;
    for (const bool narrow : {true, false}) {
        for (const Signature* s : functions)
            if (!narrow || s->form->width == Width::narrow)
                names.push_back(shown_name(*s));
        if (!names.empty())
            break;
    }
    constexpr std::size_t most = 6;
    const bool more = names.size() > most;
    names.resize(std::min(names.size(), most));
    return joined(names, ", ") + (more ? " and others" : "");
}

/// Functions that say the same, in order.
template <class Say>
auto grouped(const Page& page, const Say& say)
{
    std::vector<std::pair<decltype(say(page.functions.front())), std::vector<const Signature*>>> groups;
    for (const Signature& s : page.functions) {
        auto what = say(s);
        if (what.empty())
            continue;
        const auto found = std::find_if(groups.begin(), groups.end(),
                                        [&](const auto& group) { return group.first == what; });
        if (found == groups.end())
            groups.push_back({std::move(what), {&s}});
        else
            found->second.push_back(&s);
    }
    return groups;
}

std::string arguments(const Page& page, const Catalogue& tables)
{
    std::set<std::string> known, shapes;
    const bool based = std::any_of(page.functions.begin(), page.functions.end(),
                                   [&](const Signature& s) { return family_of(tables, s).calls.empty(); });
    const auto items_of = [&](const Signature& s, bool all) {
        Items list;
        for (std::size_t i = 0; i < s.parameters.size(); ++i)
            if (const Parameter& p = s.parameters[i];
                all || known.count(p.name) == 0 || p.travel == Travel::code || p.travel == Travel::codes)
                list.push_back({p.name, parameter_text(s, i)});
        return list;
    };
    std::vector<std::pair<Items, std::vector<const Signature*>>> groups;
    for (auto& group : grouped(page, [&](const Signature& s) {
             return based && !family_of(tables, s).calls.empty() ? Items{} : items_of(s, true);
         })) {
        // Where only the types of C differ, one list is enough.
        std::string shape;
        for (const auto& [name, what] : group.first) {
            shape += name + ",";
            known.insert(name);
        }
        for (const Parameter& p : group.second.front()->parameters)
            shape += p.argument == nullptr || p.argument->name.empty()
                         ? ""
                         : p.name + argument_text(*p.argument, nullptr, p.type);
        if (shapes.insert(shape).second)
            groups.push_back(std::move(group));
    }
    std::string text;
    for (const auto& [list, functions] : groups)
        text += list_text(".Pp\n" +
                              (groups.size() == 1 ? std::string("The arguments, in order:")
                                                  : wrapped("The arguments of " + whose(functions) + ":")) +
                              "\n",
                          list);
    if (!based)
        return text;
    for (const auto& [list, functions] : grouped(page, [&](const Signature& s) {
             return family_of(tables, s).calls.empty() ? Items{} : items_of(s, false);
         })) {
        Words fresh;
        for (const auto& item : list)
            fresh.push_back(item.first);
        if (shapes.insert("+" + joined(fresh)).second)
            text += list_text(".Pp\n" + wrapped(whose(functions) + " also:") + "\n", list);
    }
    return text;
}

std::string letters(const Page& page)
{
    static const std::map<char, const char*> types{{'s', "real, single precision"},
                                                   {'d', "real, double precision"},
                                                   {'c', "complex, single precision"},
                                                   {'z', "complex, double precision"}};
    std::string text;
    std::set<std::string> seen;
    for (const Signature& s : page.functions)
        if (types.count(s.letter.element) != 0 &&
            to_lower(shown_name(s)).find(to_lower(with_letter(s.root, s.letter))) != std::string::npos &&
            seen.insert(to_lower(s.letter.prefix)).second)
            text += ".It Li " + quoted(to_upper(s.letter.prefix)) + "\n" +
                    sentence(types.at(s.letter.element)) + "\n";
    return text.empty() ? ""
                        : ".Pp\nThe letters of a name tell the type of its numbers:\n.Bl -tag -width Ds\n" +
                              text + ".El\n";
}

std::string definitions(const Page& page)
{
    const auto groups = grouped(page, [](const Signature& s) {
        std::string text;
        for (const Definition& d : s.definitions)
            text += ".It Va " + quoted(d.name) + "\n" + wrapped(to_text(*d.value)) + "\n";
        return text;
    });
    std::string text;
    for (const auto& [list, functions] : groups)
        text += ".Pp\n" +
                wrapped("In these" + (groups.size() == 1 ? "" : ", for " + whose(functions)) + ":") +
                "\n.Bl -tag -width Ds\n" + list + ".El\n";
    return text;
}

/// What an option's codes become in the other layout.
std::map<int, char> by_columns(const Signature& s, int parameter)
{
    for (const Place& place : s.callees.front().places)
        if (place.parameter == parameter)
            return place.letters;
    return {};
}

/// Which of its arguments a function hands on, and in which order, for one layout; the callee tests them
/// there.
std::string exchanged(const Signature& s)
{
    for (const Callee& callee : s.callees) {
        if (callee.when != "row-major")
            continue;
        Words places;
        for (const Place& place : callee.places)
            if (place.parameter >= 0) {
                std::string letters;
                if (place.letters != by_columns(s, place.parameter))
                    for (const auto& [code, letter] : place.letters)
                        letters += (letters.empty() ? "" : ", ") + std::to_string(code) + " as " + letter;
                places.push_back(s.parameters[static_cast<std::size_t>(place.parameter)].name +
                                 (place.fill == Fill::conjugated ? " conjugated" : "") +
                                 (letters.empty() ? "" : " (" + letters + ")"));
            }
        return joined(places);
    }
    return {};
}

/// How storage forms are called that some text has.
std::string forms_text(const std::string& text)
{
    static const std::vector<std::pair<const char*, const char*>> words{
        {"ge", "general"},
        {"gb", "band, with kl and ku"},
        {"gt", "tridiagonal"},
        {"gg", "pair of general"},
        {"hs", "upper Hessenberg"},
        {"sy", "symmetric, one triangle"},
        {"he", "Hermitian, one triangle"},
        {"po", "positive definite, one triangle"},
        {"pb", "positive definite band"},
        {"sb", "symmetric band"},
        {"hb", "Hermitian band"},
        {"tb", "triangular band"},
        {"pp", "packed positive definite"},
        {"sp", "packed symmetric"},
        {"hp", "packed Hermitian"},
        {"tp", "packed triangle"},
        {"tr", "triangle"},
        {"tz", "trapezoid"},
        {"pf", "rectangular full packed"},
        {"tf", "rectangular full packed triangle"}};
    Words found;
    for (const auto& [form, word] : words)
        if (text.find(std::string(" as ") + form + "(") != std::string::npos)
            found.push_back(std::string(form) + " " + word);
    return found.empty() ? "" : ".Pp\n" + wrapped("Storage forms: " + joined(found, "; ") + ".") + "\n";
}

std::string row_major(const Page& page)
{
    const auto groups = grouped(page, [](const Signature& s) {
        std::string text;
        for (const Parameter& p : s.parameters)
            if (!p.note.empty() && exchanged(s).empty()) // else exchanged() tells it
                text += ".It Fa " + quoted(p.name) + "\n" + sentence(p.note.substr(2)) + "\n";
        return text;
    });
    std::string text;
    for (const auto& [list, functions] : groups) {
        const bool copies = functions.front()->form->level == "work";
        text += ".Pp\n" +
                wrapped("In " + std::string(copies ? "a row-major call of " : "") + whose(functions) + ":") +
                "\n.Bl -tag -width Ds\n" + list + ".El\n";
    }
    text += forms_text(text);
    for (const auto& [places, functions] : grouped(page, exchanged))
        text +=
            ".Pp\n" +
            wrapped("A row-major call of " + whose(functions) + " hands on to the routine: " + places + ".") +
            "\n";
    return text;
}

// ---- What comes back, and what is refused.

std::string results(const Page& page, const Catalogue& tables)
{
    std::string text;
    // INFO, and what differs in width alone, is told once.
    const bool narrow = std::any_of(page.functions.begin(), page.functions.end(),
                                    [](const Signature& s) { return s.form->width == Width::narrow; });
    for (const auto& [result, functions] : grouped(page, [&](const Signature& s) {
             const bool info = page.has_info() && s.result.find("int") != std::string::npos;
             const bool said = narrow && s.form->width == Width::wide;
             return s.data || info || said || s.result == "void" ? std::string() : s.result;
         }))
        text += ".Pp\n" +
                wrapped(whose(functions) + (functions.size() == 1 ? " gives" : " give") +
                        " back a value of type") +
                "\n.Vt " + quoted(result) + (result == "CBLAS_INDEX" ? " ,\ncounted from 0.\n" : " .\n");
    for (const auto& [said, functions] : grouped(page, [](const Signature& s) {
             return std::string(
                 s.complex_result && s.form->width == Width::narrow
                     ? "the complex result is written behind a first argument, which Fortran hides; "
                       "programs of GNU Fortran, which has it in registers, need the adapter"
                     : "");
         }))
        text += ".Pp\n" + wrapped("Of " + whose(functions) + " " + said + ".") + "\n";
    if (!page.has_info())
        return text;
    text += ".Pp\nINFO, which is the result of the C interface, if there is one:\n"
            ".Bl -tag -width Ds\n.It 0\nAll is well.\n";
    const Signature& first = page.functions.front();
    if (const std::optional<int> position = family_of(tables, first).null_position)
        text += ".It -" + std::to_string(*position) + "-p\nArgument p has a null address.\n";
    else if (!first.cell.empty())
        text +=
            ".It below 0\n" +
            wrapped(
                "Argument -INFO is refused; of the C interface, which counts its own, the layout first.") +
            "\n";
    for (const auto& [code, what] : page.statuses())
        text += ".It " + std::to_string(code) + "\n" + sentence(what) + "\n";
    return text;
}

std::string positive(const Page& page, const Catalogue& tables)
{
    if (page.told->positive.empty())
        return {};
    return ".It above 0, i\n" + sentence(tables.positives().at(page.told->positive)) + "\n";
}

std::string return_values(const Page& page, const Catalogue& tables)
{
    std::string text = results(page, tables);
    if (text.find(".Bl") != std::string::npos)
        text += positive(page, tables) + ".El\n";
    return text.rfind(".Pp\n", 0) == 0 ? text.substr(4) : text;
}

/// The tests of a function, those of both layouts in one item where their code is one.
std::string tests_text(const Signature& s)
{
    std::string items;
    for (std::size_t i = 0; i < s.tests.size(); ++i) {
        Test test = s.tests[i];
        std::string text = requirement(s, test);
        if (i + 1 < s.tests.size() && !test.when.empty() && test.parameter == s.tests[i + 1].parameter &&
            test.code == s.tests[i + 1].code && test.goes_on == s.tests[i + 1].goes_on) {
            test = s.tests[++i];
            test.when.clear();
            text = requirement(s, test) + "; " + text;
        }
        items += ".It " + std::to_string(test.code) + "\n" +
                 wrapped(text + (test.goes_on ? "; the call goes on" : "") + ".") + "\n";
    }
    return items;
}

/// What functions of two levels give back of those that they call.
std::string from_below(const Page& page)
{
    const auto of_level = [&](const std::string& level) {
        return std::find_if(page.functions.begin(), page.functions.end(),
                            [&](const Signature& s) { return s.form->level == level; });
    };
    const auto high = of_level("high"), work = of_level("work");
    if (high == page.functions.end() || work == page.functions.end())
        return {};
    const bool shifted = !work->parameters.empty() && work->parameters[0].travel == Travel::code;
    const std::string routine =
        std::string(", and both what the routine refuses: its argument p as ") + (shifted ? "-(p+1)" : "-p");
    return ".Pp\n" +
           wrapped("What " + shown_name(*work) + " refuses, " + shown_name(*high) + " gives back, too" +
                   (page.has_info() ? routine : "") + ".") +
           "\n";
}

std::string errors(const Page& page)
{
    std::string text;
    for (const auto& [list, functions] : grouped(page, tests_text))
        text += ".Pp\n" + wrapped(whose(functions) + ":") + "\n.Bl -tag -width Ds\n" + list + ".El\n";
    return text.empty() ? text
                        : "What must hold, in the order of the tests, and the code of what does not:\n" +
                              text + from_below(page);
}

// ---- How it is carried.

std::string notes(const Page& page, const Build& build)
{
    static const std::map<std::string, const char*> words{
        {"engine", "The engine of the open core carries"},
        {"own", "The open core itself carries"},
        {"kernel", "Kernels of the open core carry"},
        {"stub", "The open core has nothing but a stub, which reports that nobody carries it, for"}};
    std::map<std::string, Words> by_word;
    std::set<std::string> seen;
    Words lines;
    for (const Signature& s : page.functions) {
        if (!s.trace.empty())
            lines.push_back(s.trace);
        for (const Callee& callee : s.callees) {
            const auto found = build.carried.find(callee.name);
            if (found != build.carried.end() && seen.insert(callee.name).second)
                by_word[found->second].push_back(callee.name);
        }
    }
    std::string text;
    for (const auto& [word, names] : by_word) {
        constexpr std::size_t most = 8;
        Words shown(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(std::min(most, names.size())));
        text += ".Pp\n" + wrapped(words.at(word)) + "\n";
        for (const std::string& name : shown)
            text += ".Fn " + name +
                    (&name != &shown.back() ? " ,\n"
                     : names.size() > most  ? "\nand others.\n"
                                            : " .\n");
    }
    if (!lines.empty())
        text += ".Pp\nThe line of a traced call:\n.Bd -literal\n" + plain(lines.front()) + "\n.Ed\n";
    return text.rfind(".Pp\n", 0) == 0 ? text.substr(4) : text;
}

std::string section(const char* name, const std::string& text)
{
    return text.empty() ? "" : std::string(".Sh ") + name + "\n" + text;
}

} // namespace

std::string mdoc(const Page& page, const Catalogue& tables, const Build& build)
{
    std::string text = ".Dd " + build.date + "\n.Dt " + to_upper(page.name()) + " 3\n.Os\n.Sh NAME\n";
    for (const std::string& name : page.names)
        text += ".Nm " + name + (&name == &page.names.back() ? "\n" : " ,\n");
    const std::string& source = page.told->source;
    return text + ".Nd " + plain(page.told->title) + "\n" +
           section("SYNOPSIS", prototypes(page, build) + fortran(page)) +
           section("DESCRIPTION", sentence(page.told->title) + "\n" + letters(page) +
                                      arguments(page, tables) + definitions(page) + row_major(page)) +
           section("IMPLEMENTATION NOTES", notes(page, build)) +
           section("RETURN VALUES", return_values(page, tables)) + section("ERRORS", errors(page)) +
           section("STANDARDS", source.empty() ? "" : sentence(source_text(tables.sources(), source)) + "\n");
}

} // namespace qnm::reference
