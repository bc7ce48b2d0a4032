// Helpers of the C interface to LAPACK: each exported function is one call of its storage form's template.
#include <algorithm>
#include <map>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

std::string type(const std::string& word, const Entry& entry)
{
    const std::string c = c_type(word, entry.precision, entry.width);
    return c == "qnm_complex8"    ? "Complex8"
           : c == "qnm_complex16" ? "Complex16"
           : c == "qnm_int64"     ? "core_int"
                                  : c;
}

std::string parameters(const Entry& entry)
{
    std::string list;
    for (const Argument& a : entry.row->arguments) {
        const std::string constant = a.array && a.direction == Direction::none ? "const " : "";
        list += (list.empty() ? "" : ", ") + constant + type(a.type, entry) + (a.array ? "* " : " ") + a.name;
    }
    return list;
}

std::string declaration(const Entry& entry)
{
    const Result& result = entry.row->result;
    return "extern \"C\" QNM_EXPORT " +
           (result.kind == ResultKind::none ? "void" : type(result.type, entry)) + " " +
           entry.spellings()[0] + "(" + parameters(entry) + ")";
}

/// The root without the letter's place: `ge_trans`; of plain vectors `nancheck`.
std::string form(const Row& row)
{
    std::string name = row.root;
    name.erase(std::remove(name.begin(), name.end(), '?'), name.end());
    return name.substr(name.find_first_not_of('_'));
}

std::string element_and_integer(const Entry& entry)
{
    return type("T", entry) + ", " + type("int", entry);
}

std::string definition(const Entry& entry)
{
    std::string arguments;
    for (const Argument& a : entry.row->arguments)
        arguments += (arguments.empty() ? "" : ", ") + a.name;
    return declaration(entry) + "\n{\n    return " + form(*entry.row) + "<" + element_and_integer(entry) +
           ">(" + arguments + ");\n}\n";
}

} // namespace

std::string helpers_text(const Catalogue& tables, const std::string& file)
{
    std::string declarations, definitions;
    std::map<std::string, std::string> members; // of each element and integer
    for (const Row& row : tables.rows())
        if (row.file == file)
            for (const Entry& entry : Catalogue::entries(row)) {
                declarations += declaration(entry) + ";\n";
                members[element_and_integer(entry)] +=
                    "    static constexpr auto* " + form(row) + " = " + entry.spellings()[0] + ";\n";
                definitions += definition(entry);
            }
    std::string text =
        "// Made from " + file + "; the table and the templates of this family are what to read.\n" +
        "#include \"lapacke/helpers/entries.hpp\"\n\nnamespace qnm::helpers {\n\n" + declarations;
    for (const auto& [types, functions] : members)
        text += "\ntemplate <>\nstruct Exported<" + types + "> {\n" + functions + "};\n";
    return text + "\n" + definitions + "\n} // namespace qnm::helpers\n";
}

} // namespace qnm::generate
