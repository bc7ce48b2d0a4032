// Helpers of the C interface to LAPACK: each exported function is one call of its storage form's template.
#include <algorithm>
#include <map>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

std::string type(const std::string& word, const Entry& entry)
{
    return c_type(word, entry.precision, entry.width);
}

/// Result, name and parameters.
std::string head(const Entry& entry)
{
    const Result& result = entry.row->result;
    Words list;
    for (const Argument& a : entry.row->arguments) {
        const std::string constant = a.array && a.direction == Direction::none ? "const " : "";
        list.push_back(constant + type(a.type, entry) + (a.array ? "* " : " ") + a.name);
    }
    return (result.kind == ResultKind::none ? "void" : type(result.type, entry)) + " " +
           entry.spellings()[0] + "(" + joined(list) + ")";
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
    Words arguments;
    for (const Argument& a : entry.row->arguments)
        arguments.push_back(a.name);
    return exported(head(entry), "return " + form(*entry.row) + "<" + element_and_integer(entry) + ">(" +
                                     joined(arguments) + ")");
}

} // namespace

std::string helper_declarations(const Catalogue& tables, const std::string& family)
{
    std::string text;
    std::map<std::string, std::string> members; // of each element and integer
    for (const Entry& entry : tables.entries())
        if (entry.row->family->name == family) {
            text += "extern \"C\" QNM_EXPORT " + head(entry) + ";\n";
            members[element_and_integer(entry)] +=
                "    static constexpr auto* " + form(*entry.row) + " = " + entry.spellings()[0] + ";\n";
        }
    for (const auto& [types, functions] : members)
        text += "\ntemplate <>\nstruct Exported<" + types + "> {\n" + functions + "};\n";
    return text;
}

std::string helpers_text(const Catalogue& tables, const std::string& file)
{
    std::string text = source_head(file, "helpers", "qnm::helpers");
    for (const Row& row : tables.rows())
        if (row.file == file && row.source.empty())
            for (const Entry& entry : Catalogue::entries(row))
                text += definition(entry);
    return text + "\n} // namespace qnm::helpers\n";
}

} // namespace qnm::generate
