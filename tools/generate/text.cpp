#include "output.hpp"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace qnm::generate {

std::string joined(const Words& parts, const char* between)
{
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : between) + part;
    return text;
}

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

std::string integer_type(catalogue::Width width)
{
    return width == catalogue::Width::narrow ? "int" : "core_int";
}

std::string stem(std::string root)
{
    std::replace(root.begin(), root.end(), '?', 'x');
    return root;
}

std::string source_head(const std::string& table, const std::string& folder, const std::string& space,
                        const std::string& declarations)
{
    return "// Made from " + table + "; the table and the templates of this family are what to read.\n" +
           "#include \"" + folder + "/entries.hpp\"\n\n" + declarations + "namespace " + space + " {\n\n";
}

std::string exported(const std::string& head, const std::string& statement)
{
    return "extern \"C\" QNM_EXPORT " + head + "\n{\n    " + statement + ";\n}\n";
}

void write_if_changed(const std::string& path, const std::string& text)
{
    std::ifstream in(path);
    std::ostringstream old;
    old << in.rdbuf();
    if (in && old.str() == text)
        return;
    std::ofstream out(path);
    out << text;
    if (!out.flush())
        throw catalogue::TableError(path + ":0: cannot be written: expected a folder that exists");
}

} // namespace qnm::generate
