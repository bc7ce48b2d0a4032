// Entries and checks: each generated function is one call of its class's template.
#include <map>
#include <set>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

/// A character result has a length by value behind its address.
bool character_result(const Row& row)
{
    return row.result.type == "char";
}

/// A scalar that the routine writes.
bool comes_back(const Argument& a)
{
    return a.kind == Kind::integer && a.direction != Direction::none;
}

/// Whether arrays of integers are copied to 64 bits and back by the direction that their row tells.
bool copies_arrays(const Entry& entry)
{
    return entry.width == Width::narrow && !entry.row->groups && entry.frame() != Class::scratch &&
           entry.frame() != Class::unchecked && entry.frame() != Class::bare;
}

/// Types inside the library: reals and pass-through arrays are all `const void*`, so that letters share code.
std::string entry_type(const Argument& a, const Entry& entry)
{
    const std::string integer = entry.width == Width::narrow ? "int" : "core_int";
    switch (a.kind) {
    case Kind::character:
    case Kind::letters:
        return "const char*";
    case Kind::integer:
        return entry.row->groups ? "const void*" : (comes_back(a) ? "" : "const ") + integer + "*";
    case Kind::integers:
        return copies_arrays(entry) ? "int*" : "const void*";
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
        return entry.row->groups ? "const void*" : comes_back(a) ? "core_int*" : "const core_int*";
    case Kind::integers:
        return "const void*";
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
        append(types, character_result(*entry.row) ? "const void*, hidden_length" : "const void*");
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
        append(list,
               character_result(*entry.row) ? "const void* result, hidden_length" : "const void* result");
    for (const Argument& a : entry.row->arguments)
        append(list, entry_type(a, entry) + " " + a.name);
    return list;
}

/// Whether an array has a length argument of its own, by which its size is asked for.
bool length_is_asked_for(const Argument& array, const Row& row)
{
    bool asked = false;
    for (const ExpressionPtr& extent : array.extents)
        walk(*extent, [&](const Expression& e) {
            const Argument* length = e.kind == Expression::Kind::name ? row.find(e.text) : nullptr;
            asked = asked || (length != nullptr && length->query);
        });
    return asked;
}

std::string array_text(const Argument& a, const Row& row)
{
    static const std::map<Direction, std::string> ways{{Direction::in, "in"},
                                                       {Direction::out, "out"},
                                                       {Direction::inout, "inout"},
                                                       {Direction::work, "work"}};
    std::string flags = a.null_at_query ? ", Extra::null_at_query" : a.cleared ? ", Extra::cleared" : "";
    std::string text = "array<Way::" + ways.at(a.direction) + flags + ">(" + a.name +
                       ", [&] QNM_INLINE_LAMBDA { return " + extent_text(a, row) + "; }";
    if (a.returned)
        text += a.returned->kind == Expression::Kind::number
                    ? ", First<" + std::to_string(a.returned->value) + ">{}"
                    : ", [&] QNM_INLINE_LAMBDA { return " + size_text(*a.returned, row) + "; }";
    else if (a.direction == Direction::out && length_is_asked_for(a, row))
        text += ", AllOrFirst{}";
    return text + ")";
}

/// One argument as it is handed to the template.
std::string argument_text(const Argument& a, const Entry& entry)
{
    const bool narrow = entry.width == Width::narrow;
    if (entry.frame() == Class::scratch && a.kind == Kind::integers)
        return "Indices{static_cast<const int*>(" + a.name + ")}";
    if (comes_back(a) && a.name == "info" && a.direction == Direction::out)
        return "Info{In{info}}";
    if (comes_back(a) && narrow && a.name == "info")
        return "ReadInfo{In{info}}";
    if (comes_back(a) && narrow)
        return (a.query ? "Answer{In{" : "Out{In{") + a.name + "}}";
    if (a.query && narrow)
        return (a.alone ? "OwnQuery{In{" : "Query{In{") + a.name + "}}";
    if (a.kind == Kind::integers && copies_arrays(entry))
        return array_text(a, *entry.row);
    return a.name;
}

/// The arguments as they are handed to the template.
std::string arguments(const Entry& entry)
{
    std::string list;
    if (entry.row->result.kind == ResultKind::hidden)
        list += character_result(*entry.row) ? ", result, result_length" : ", result";
    for (const Argument& a : entry.row->arguments)
        if (!a.kept)
            list += ", " + argument_text(a, entry);
    if (entry.row->groups)
        list += std::string(", width_flag<") + (entry.width == Width::narrow ? "int" : "core_int") + ">";
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
    case Class::unregistered:
        return std::string(entry.frame() == Class::unregistered ? "unregistered<" : "checked<") + integer +
               ", " + tests_name(row) + ", " + entry.core() +
               (row.result.refusal != 0 ? ", " + std::to_string(row.result.refusal) : "") + ">(Site{" + cell +
               ", " + format + ", " + name + ", " + length + "}" + jump + arguments(entry) + ")";
    case Class::unchecked:
        return "unchecked<" + entry.core() + ">(" + cell + ", " + format + jump + arguments(entry) + ")";
    case Class::scratch: {
        std::string extent;
        for (const Argument& a : row.arguments)
            if (a.kind == Kind::integers)
                extent = cxx(*a.extents[0], row, false);
        return "scratch<" + entry.core() + ">(" + cell + ", " + format + ", " + name + ", " + length + jump +
               ", " + extent + arguments(entry) + ")";
    }
    case Class::check:   // has no entry
    case Class::matcopy: // have entries of another kind
    case Class::helper:
        break;
    case Class::bare:
        if (row.small_root.empty())
            return "bare<" + entry.core() + ">(" + arguments(entry).substr(2) + ")";
        return "selected<" + entry.core() + ", " + entry.small_core() + ">(" +
               cxx(*row.small_condition, row, false) + arguments(entry) + ")";
    }
    return {};
}

/// The size of a tree's leaves is asked for when the first array needs it.
std::string with_leaf(const Entry& entry, const std::string& call)
{
    const std::string& leaf = entry.row->leaf;
    if (leaf.empty() || !copies_arrays(entry))
        return call;
    return "[&](LeafSize " + leaf + ") QNM_INLINE_LAMBDA { return " + call + "; }(LeafSize{" +
           quoted(entry.report_name()) + "})";
}

std::string check_text(const Entry& entry)
{
    std::string types = parameters(entry);
    for (int i = 0; i < entry.hidden_lengths(); ++i)
        append(types, "hidden_length");
    return "extern \"C\" QNM_EXPORT int " + entry.check() + "(" + types + ")\n{\n    return verdict<" +
           (entry.width == Width::narrow ? "int" : "core_int") + ", " + tests_name(*entry.row) + ">(" +
           quoted(entry.report_name()) + ", " + std::to_string(entry.report_name().size()) +
           arguments(entry) + ");\n}\n";
}

std::string entry_text(const Entry& entry)
{
    std::string text;
    if (entry.frame() != Class::bare)
        text += "QNM_CELL(" + lower(entry) + ")\n";
    text += "extern \"C\" QNM_EXPORT " + result_type(entry) + " " + entry.spellings()[0] + "(" +
            parameters(entry) + ")\n{\n    return " + with_leaf(entry, body(entry)) + ";\n}\n";
    text += "QNM_SPELLINGS(" + entry.spellings()[0];
    for (std::size_t i = 1; i < entry.spellings().size(); ++i)
        text += ", " + entry.spellings()[i];
    return text + ")\n\n";
}

} // namespace

std::string entries_text(const Catalogue& tables, const std::string& file)
{
    std::string text =
        "// Made from " + file + "; the table and the templates of this family are what to read.\n";
    std::string frame;
    std::set<std::string> cores;
    for (const Row& row : tables.rows()) {
        if (row.file != file)
            continue;
        if (row.entry_class == Class::helper)
            return helpers_text(tables, file);
        if (frame.empty()) {
            frame = row.family->frame;
            text += "#include \"" + frame + "/entries.hpp\"\n\nnamespace qnm::" + frame + " {\n\n";
        }
        if (frame != row.family->frame)
            throw TableError(row.where() + ": a family on another frame: expected one frame in a table");
        const std::vector<Entry> checks = Catalogue::checks(row);
        if (!checks.empty())
            text += tests_text(row) + "\n";
        if (row.entry_class == Class::matcopy) {
            for (const Entry& entry : checks)
                text += matcopy_text(entry);
            continue;
        }
        for (const Entry& entry : checks)
            text += check_text(entry);
        for (const Entry& entry : Catalogue::entries(row)) {
            if (cores.insert(entry.core()).second)
                text += core_declaration(entry, entry.core()) + "QNM_JUMP(" + entry.core() + ")\n";
            if (!row.small_root.empty() && cores.insert(entry.small_core()).second)
                text += core_declaration(entry, entry.small_core());
            text += entry_text(entry);
        }
    }
    return text + "} // namespace qnm::" + frame + "\n";
}

} // namespace qnm::generate
