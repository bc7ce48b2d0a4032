// Entries and checks: each generated function is one call of its class's template.
#include <set>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// Types inside the library: reals and pass-through arrays are all `const void*`, so that letters share code.
std::string entry_type(const Argument& a, const Entry& entry)
{
    const std::string integer = entry.width == Width::narrow ? "int" : "core_int";
    switch (a.kind) {
    case Kind::character:
    case Kind::letters:
        return "const char*";
    case Kind::integer:
        return entry.row->groups ? "const void*" : "const " + integer + "*";
    case Kind::value:
        return integer;
    default:
        return "const void*";
    }
}

std::string core_type(const Argument& a, const Entry& entry)
{
    switch (a.kind) {
    case Kind::integer:
        return entry.row->groups ? "const void*" : "const core_int*";
    case Kind::value:
        return "core_int";
    default:
        return entry_type(a, entry);
    }
}

std::string result_type(const Row& row)
{
    if (row.result.kind != ResultKind::value)
        return "void";
    if (row.result.type == "index" || row.result.type == "status")
        return "int";
    if (row.result.type == "size")
        return "core_int";
    if (row.result.type == "kernel")
        return "const void*";
    return {};
}

std::string result_type(const Entry& entry)
{
    const std::string word = result_type(*entry.row);
    return word.empty() ? c_type(entry.row->result.type, entry.precision, entry.width) : word;
}

void append(std::string& list, const std::string& item)
{
    list += (list.empty() ? "" : ", ") + item;
}

std::string core_declaration(const Entry& entry, const std::string& name)
{
    std::string types;
    if (entry.row->result.kind == ResultKind::hidden)
        append(types, "const void*");
    for (const Argument& a : entry.row->arguments)
        if (!a.kept)
            append(types, core_type(a, entry));
    if (entry.row->groups)
        append(types, "int");
    for (int i = 0; i < entry.hidden_lengths(); ++i)
        append(types, "hidden_length");
    return "extern \"C\" " + result_type(entry) + " " + name + "(" + types + ");\n";
}

std::string parameters(const Entry& entry)
{
    std::string list;
    if (entry.row->result.kind == ResultKind::hidden)
        append(list, "const void* result");
    for (const Argument& a : entry.row->arguments)
        append(list, entry_type(a, entry) + " " + a.name);
    return list;
}

/// The arguments as they are handed to the template.
std::string arguments(const Entry& entry)
{
    std::string list;
    if (entry.row->result.kind == ResultKind::hidden)
        list += ", result";
    for (const Argument& a : entry.row->arguments)
        if (!a.kept)
            list += ", " + (entry.frame() == Class::scratch && a.kind == Kind::integers
                                ? "Indices{static_cast<const int*>(" + a.name + ")}"
                                : a.name);
    return list;
}

std::string lower(const Entry& entry)
{
    return to_lower(entry.name());
}

std::string body(const Entry& entry)
{
    const Row& row = *entry.row;
    const std::string cell = "&" + lower(entry) + "_cell";
    const std::string format = quoted(entry.format());
    const std::string name = quoted(entry.report_name());
    const std::string length = std::to_string(entry.report_name().size());
    const std::string integer = entry.width == Width::narrow ? "int" : "core_int";
    const std::string jump = ", " + entry.core() + "_jump";
    switch (entry.frame()) {
    case Class::checked:
    case Class::registered:
        return "checked<" + integer + ", " + tests_name(row) + ", " + entry.core() +
               (row.result.refusal != 0 ? ", " + std::to_string(row.result.refusal) : "") + ">(Site{" + cell +
               ", " + format + ", " + name + ", " + length + "}" + jump + arguments(entry) +
               (row.groups ? ", width_flag<" + integer + ">" : "") + ")";
    case Class::unchecked:
        return "unchecked<" + entry.core() + ">(" + cell + ", " + format + jump + arguments(entry) +
               (row.groups ? ", width_flag<" + integer + ">" : "") + ")";
    case Class::scratch: {
        std::string extent;
        for (const Argument& a : row.arguments)
            if (a.kind == Kind::integers)
                extent = cxx(*a.extents[0], row, false);
        // A failed scratch is reported under the exact name.
        return "scratch<" + entry.core() + ">(" + cell + ", " + format + ", " + quoted(entry.name()) + ", " +
               std::to_string(entry.name().size()) + jump + ", " + extent + arguments(entry) + ")";
    }
    case Class::bare:
        if (row.small_root.empty())
            return "bare<" + entry.core() + ">(" + arguments(entry).substr(2) + ")";
        return "selected<" + entry.core() + ", " + entry.small_core() + ">(" +
               cxx(*row.small_condition, row, false) + arguments(entry) + ")";
    }
    return {};
}

std::string entry_text(const Entry& entry)
{
    const Row& row = *entry.row;
    const std::string integer = entry.width == Width::narrow ? "int" : "core_int";
    std::string text = "// " + row.where() + "\n";
    if (entry.frame() != Class::bare)
        text += "QNM_CELL(" + lower(entry) + ")\n";
    if (row.entry_class == Class::checked) {
        std::string types = parameters(entry);
        for (int i = 0; i < entry.hidden_lengths(); ++i)
            append(types, "hidden_length");
        std::string places;
        for (const Argument& a : row.arguments)
            append(places, "In{" + a.name + "}");
        if (row.groups)
            append(places, "width_flag<" + integer + ">");
        text += "extern \"C\" QNM_EXPORT int " + entry.check() + "(" + types + ")\n{\n    return verdict<" +
                integer + ">(" + quoted(entry.report_name()) + ", " +
                std::to_string(entry.report_name().size()) + ", " + tests_name(row) + "::code<" + integer +
                ">(" + places + "));\n}\n";
    }
    text += "extern \"C\" QNM_EXPORT " + result_type(entry) + " " + entry.spellings()[0] + "(" +
            parameters(entry) + ")\n{\n    return " + body(entry) + ";\n}\n";
    text += "QNM_SPELLINGS(" + entry.spellings()[0];
    for (std::size_t i = 1; i < entry.spellings().size(); ++i)
        text += ", " + entry.spellings()[i];
    return text + ")\n\n";
}

} // namespace

std::string entries_text(const Catalogue& tables, const std::string& file)
{
    std::string text = "// Made from " + file +
                       "; the table and the templates of this family are what to read.\n"
                       "#include \"blas/entries.hpp\"\n\nnamespace qnm {\n\n";
    std::set<std::string> cores;
    for (const Row& row : tables.rows()) {
        if (row.file != file)
            continue;
        if (row.entry_class == Class::checked)
            text += tests_text(row) + "\n";
        for (const Entry& entry : Catalogue::entries(row)) {
            if (cores.insert(entry.core()).second)
                text += core_declaration(entry, entry.core()) + "QNM_JUMP(" + entry.core() + ")\n";
            if (!row.small_root.empty() && cores.insert(entry.small_core()).second)
                text += core_declaration(entry, entry.small_core());
            text += entry_text(entry);
        }
    }
    return text + "} // namespace qnm\n";
}

} // namespace qnm::generate
