#include "fortran.hpp"

#include <algorithm>
#include <map>

#include "catalogue/catalogue.hpp"
#include "generate/text.hpp"

namespace qnm::catalogue::vsl {

namespace {

using generate::joined, generate::Words;

const std::map<std::string, std::string> types{
    {"int", "integer(c_int)"},
    {"unsigned", "integer(c_int)"},
    {"qnm_int64", "integer(c_int64_t)"},
    {"unsigned long long", "integer(c_int64_t)"},
    {"float", "real(c_float)"},
    {"double", "real(c_double)"},
    {"qnm_complex8", "complex(c_float_complex)"},
    {"qnm_complex16", "complex(c_double_complex)"},
    {"char", "character(kind=c_char)"},
};

/// A function of the program's.
bool is_callback(const Parameter& p)
{
    return p.type.ends_with("_t");
}

std::string declared(const Parameter& p, bool kept)
{
    const std::string name = " :: " + to_lower(p.name);
    if (p.type == "void**")
        return "type(c_ptr), intent(inout)" + name;
    if (p.type == "void* const*")
        return "type(c_ptr), intent(in)" + name;
    const bool constant = p.type.rfind("const ", 0) == 0, address = p.type.back() == '*';
    if (is_callback(p))
        return "type(c_funptr), value" + name;
    const std::size_t start = constant ? 6 : 0;
    const auto type = types.find(p.type.substr(start, p.type.size() - start - (address ? 1 : 0)));
    if (type == types.end() || (kept && address && p.travel == Travel::address))
        return "type(c_ptr), value" + name;
    if (!address)
        return type->second + ", value" + name;
    return type->second + (constant ? ", intent(in)" : ", intent(inout)") + name +
           (p.travel == Travel::number ? "" : "(*)");
}

} // namespace

std::string interfaces(const std::vector<Signature>& entries, bool kept)
{
    std::string text;
    for (const Signature& entry : entries) {
        const auto name = std::ranges::find_if(
            entry.names, [](const std::string& n) { return n.back() == '_' && n == to_lower(n); });
        if (name == entry.names.end())
            continue;
        const bool keeps = kept || std::ranges::any_of(entry.parameters, is_callback); // for its later calls
        Words dummies, lines;
        for (const Parameter& p : entry.parameters) {
            dummies.push_back(to_lower(p.name));
            lines.push_back("      " + declared(p, keeps) + "\n");
        }
        text += "    function " + name->substr(0, name->size() - 1) + "( &\n        " +
                joined(dummies, ", &\n        ") + ") &\n        bind(C, name='" + *name +
                "') result(status)\n      import\n" + joined(lines, "") +
                "      integer(c_int) :: status\n    end function\n";
    }
    return text;
}

} // namespace qnm::catalogue::vsl
