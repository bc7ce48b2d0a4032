// Services: jumps to the core, and Fortran forms that read their arguments first.
#include <set>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// Types inside the library; named C types of the public header are plain addresses here.
std::string inner_type(const std::string& word)
{
    if (word == "void" || word == "int" || word == "double" || word == "float")
        return word;
    return word == "int64" ? "core_int" : "void*";
}

std::string fortran_form(const Service& s)
{
    std::string core_types;
    std::string parameters;
    std::string values;
    for (const ServiceArgument& a : s.arguments) {
        const std::string between = core_types.empty() ? "" : ", ";
        core_types += between + inner_type(a.type);
        parameters +=
            between + (a.untouched ? inner_type(a.type) : inner_type(a.type) + " const*") + " " + a.name;
        values += between + (a.untouched ? "" : "*") + a.name;
    }
    std::string text = "extern \"C\" " + inner_type(s.result) + " " + s.core + "(" + core_types + ");\n";
    text += "extern \"C\" QNM_EXPORT " + inner_type(s.result) + " " + s.spellings[0] + "(" + parameters +
            ")\n{\n    return " + s.core + "(" + values + ");\n}\nQNM_SPELLINGS(" + s.spellings[0];
    for (std::size_t i = 1; i < s.spellings.size(); ++i)
        text += ", " + s.spellings[i];
    return text + ")\n";
}

} // namespace

std::string services_text(const Catalogue& tables, const std::string& file)
{
    std::string text = "// Made from " + file +
                       "; the table and frame/services.hpp are what to read.\n"
                       "#include \"frame/services.hpp\"\n\nnamespace qnm {\n\n";
    for (const Service& s : tables.services()) {
        if (s.file != file)
            continue;
        switch (s.kind) {
        case ServiceKind::service:
            text += fortran_form(s) + "QNM_FORWARD(" + s.name + ", " + s.c_core + ")\n";
            break;
        case ServiceKind::forward:
        case ServiceKind::internal:
            text += "QNM_FORWARD(" + s.spellings[0] + ", " + s.core + ")\n";
            for (std::size_t i = 1; i < s.spellings.size(); ++i)
                text += "QNM_SAME(" + s.spellings[i] + ", " + s.spellings[0] + ")\n";
            break;
        case ServiceKind::chain:
            for (std::size_t i = 0; i < s.spellings.size(); ++i)
                text += "QNM_FORWARD(" + s.spellings[i] + ", " +
                        (i + 1 < s.spellings.size() ? s.spellings[i + 1] : s.core) + ")\n";
            break;
        }
        text += "\n";
    }
    return text + "} // namespace qnm\n";
}

} // namespace qnm::generate
