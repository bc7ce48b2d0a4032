// Each Fortran entry is an interface over addresses, which any compiler calls alike, and a procedure that
// takes a program's own arguments: descriptors by pointers, texts without a length, arrays of every rank.
#include "fortran.hpp"

#include <algorithm>
#include <map>

#include "generate/text.hpp"

namespace qnm::catalogue {

namespace {

using generate::joined, generate::Words;

const std::map<std::string, std::string> types{
    {"int", "integer(c_int)"},    {"qnm_int64", "integer(c_int64_t)"}, {"float", "real(c_float)"},
    {"double", "real(c_double)"}, {"char", "character(kind=c_char)"},  {"qnm_dft_handle", "type(c_ptr)"}};
const std::map<char, std::string> types_of_tags{{'s', "real(c_float)"},
                                                {'d', "real(c_double)"},
                                                {'c', "complex(c_float_complex)"},
                                                {'z', "complex(c_double_complex)"}};

/// A parameter: in the interface, of the procedure (empty: it has none), what this one hands on, and what it
/// does with it behind the call.
struct Dummy {
    std::string inner, outer, passed, local = {}, behind = {};
};

/// `before` stands ahead of it, and `tag` is its letter in a name that ends in one for each array.
Dummy dummy(const Parameter& p, const std::string& before, char tag)
{
    if (p.type == "void*")
        return {"type(c_ptr), value :: " + p.name,
                types_of_tags.at(tag) + ", contiguous, target :: " + p.name + "(..)",
                "c_loc(" + p.name + ")"};
    const std::string plain = p.type.substr(p.type.rfind("const ", 0) == 0 ? 6 : 0);
    const std::string base = plain.substr(0, plain.find_first_of(" *")), &type = types.at(base);
    if (plain == base)
        return {type + ", value :: " + p.name, "", "len(" + before + ", c_int64_t)"};
    const bool constant = p.type.find("const") != std::string::npos, text = base == "char",
               array = text || (p.argument != nullptr && p.argument->array);
    const std::string rest = (constant ? ", intent(in) :: " : ", intent(inout) :: ") + p.name;
    Dummy made{type + rest + (array ? "(*)" : ""), type + rest + (array ? "(*)" : ""), p.name};
    if (text)
        made.outer = "character(*)" + rest;
    if (base != "qnm_dft_handle")
        return made;
    made.outer = "type(DFTI_DESCRIPTOR), pointer" + rest;
    made.passed = "address_of(" + p.name + ")";
    if (p.argument != nullptr && p.argument->direction == Direction::out) {
        made.passed = "address";
        made.local = "type(c_ptr) :: address";
        made.behind = "call point(" + p.name + ", address)";
    }
    return made;
}

/// The one name that Fortran takes as it stands.
std::string name_of(const Signature& entry)
{
    return to_lower(entry.names.front());
}

std::string function(const std::string& name, const Words& dummies, const std::string& binding,
                     const Words& lines)
{
    return "  function " + name + "(" + joined(dummies) + ")" + binding + " result(given)\n    " +
           joined(lines, "\n    ") + "\n  end function\n";
}

std::string result(const Signature& entry)
{
    return (entry.result == "int" ? "integer(c_int)" : "type(c_ptr)") + std::string(" :: given");
}

/// What a program calls is named behind the family's own word.
std::string procedure_name(const Signature& entry)
{
    return name_of(entry).substr(name_of(entry).find('_') + 1);
}

std::string text_of(const Signature& entry, bool procedure)
{
    const std::string name = name_of(entry), tag = name.substr(name.rfind('_') + 1);
    Words dummies, passed, lines, locals, behind;
    if (!procedure)
        lines.push_back("import");
    for (std::size_t i = 0; i < entry.parameters.size(); ++i) {
        const Parameter& p = entry.parameters[i];
        const Dummy made =
            dummy(p, i > 0 ? entry.parameters[i - 1].name : "", i > 0 && i <= tag.size() ? tag[i - 1] : ' ');
        passed.push_back(made.passed);
        const std::string& declared = procedure ? made.outer : made.inner;
        if (declared.empty())
            continue;
        dummies.push_back(p.name);
        lines.push_back(declared);
        if (!made.local.empty()) {
            locals.push_back(made.local);
            behind.push_back(made.behind);
        }
    }
    lines.push_back(result(entry));
    if (!procedure)
        return function(name, dummies, " bind(C)", lines);
    lines.insert(lines.end(), locals.begin(), locals.end());
    lines.push_back("given = " + name + "(" + joined(passed) + ")");
    lines.insert(lines.end(), behind.begin(), behind.end());
    return function(procedure_name(entry), dummies, "", lines);
}

} // namespace

std::string module_text(const std::vector<Signature>& entries, const std::vector<std::string>& words)
{
    const bool all = words.size() == 2 && words[0] == "interfaces";
    const bool generic = words.size() == 4 && words[0] == "generic";
    if (!all && !generic && !(words.size() == 3 && words[0] == "procedures"))
        throw TableError(
            "'@dft " + joined(words, " ") +
            "@': expected interfaces TABLE, generic NAME TABLE PREFIX or procedures TABLE PREFIX");
    Words names;
    std::string text;
    for (const Signature& entry : entries) {
        if (entry.form->name != "fortran" || (!all && name_of(entry).rfind(words.back(), 0) != 0))
            continue;
        names.push_back(procedure_name(entry));
        text += text_of(entry, !all);
    }
    if (names.empty())
        throw TableError("'@dft " + joined(words, " ") + "@': expected Fortran entries of this table");
    return generic ? "  interface " + words[1] + "\n    procedure " + joined(names, "\n    procedure ") +
                         "\n  end interface\n"
                   : text;
}

} // namespace qnm::catalogue
