#include "entry.hpp"

#include <map>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

bool hidden_result(const Row& row)
{
    return row.result.kind == ResultKind::hidden;
}

/// A character result has a length by value behind its address.
bool character_result(const Row& row)
{
    return hidden_result(row) && row.result.type == "char";
}

/// A scalar that the routine writes.
bool comes_back(const Argument& a)
{
    return a.kind == Kind::integer && a.direction != Direction::none;
}

std::string entry_type(const Argument& a, const Entry& entry)
{
    const std::string integer = integer_type(entry.width);
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
    default: // what a test compares keeps its type
        return a.above ? "const " + c_type(a.type, entry.precision, entry.width) + "*" : "const void*";
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

std::string way(const Argument& a)
{
    static const std::map<Direction, std::string> ways{{Direction::in, "in"},
                                                       {Direction::out, "out"},
                                                       {Direction::inout, "inout"},
                                                       {Direction::work, "work"}};
    return "Way::" + ways.at(a.direction);
}

/// An argument that a carried entry copies, if it does.
std::string carried_text(const Argument& a, const Row& row)
{
    if (a.kind == Kind::integers && row.family->alignment == 0)
        return "Copied<" + way(a) + ", " + std::to_string(a.extents[0]->value) + ">{" + a.name + "}";
    if (a.kind == Kind::integers) {
        Words parts{a.name, told_text(*a.extents[0], row)};
        if (a.present || a.returned)
            parts.push_back(a.present ? told_text(*a.present, row) : "Always{}");
        if (a.returned)
            parts.push_back(told_text(*a.returned, row));
        return "stored<" + std::to_string(row.family->alignment) + ", " + way(a) + ">(" + joined(parts) + ")";
    }
    if (comes_back(a))
        return (a.direction == Direction::out ? "Answer{" : "Exchanged{") + a.name + "}";
    return a.name;
}

std::string array_text(const Argument& a, const Row& row)
{
    const auto later = [](const std::string& size) {
        return ", [&] QNM_INLINE_LAMBDA { return " + size + "; }";
    };
    const std::string flags = a.null_at_query ? ", Extra::null_at_query"
                              : a.cleared     ? ", Extra::cleared"
                                              : "";
    std::string text = "array<" + way(a) + flags + ">(" + a.name + later(extent_text(a, row));
    if (a.returned)
        text += a.returned->kind == Expression::Kind::number
                    ? ", First<" + std::to_string(a.returned->value) + ">{}"
                    : later(size_text(*a.returned, row));
    else if (a.direction == Direction::out && length_is_asked_for(a, row))
        text += ", AllOrFirst{}";
    return text + ")";
}

/// One argument as it is handed to the template.
std::string argument_text(const Argument& a, const Entry& entry)
{
    const bool narrow = entry.width == Width::narrow;
    if (entry.frame() == Class::carried)
        return carried_text(a, *entry.row);
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

} // namespace

bool copies_arrays(const Entry& entry)
{
    return entry.width == Width::narrow && !entry.row->groups && entry.frame() != Class::scratch &&
           entry.frame() != Class::unchecked && entry.frame() != Class::bare;
}

// An integer goes back as the core gave it: a narrow caller reads the lower half.
std::string result_type(const Entry& entry)
{
    static const std::map<std::string, std::string> own{{"int", "core_int"},  {"logical", "core_int"},
                                                        {"index", "int"},     {"status", "int"},
                                                        {"size", "core_int"}, {"kernel", "const void*"}};
    const Result& result = entry.row->result;
    if (result.kind != ResultKind::value)
        return "void";
    const auto found = own.find(result.type);
    return found != own.end() ? found->second : c_type(result.type, entry.precision, entry.width);
}

Words parameters(const Entry& entry)
{
    Words list;
    if (hidden_result(*entry.row))
        list.emplace_back("const void* result");
    if (character_result(*entry.row))
        list.emplace_back("hidden_length");
    const Words types = parameter_types(entry);
    for (std::size_t i = 0; i < types.size(); ++i)
        list.push_back(types[i] + " " + entry.row->arguments[i].name);
    return list;
}

Words parameter_types(const Entry& entry)
{
    Words types;
    for (const Argument& a : entry.row->arguments)
        types.push_back(entry_type(a, entry));
    return types;
}

Words core_parameters(const Entry& entry)
{
    Words types;
    if (hidden_result(*entry.row))
        types.emplace_back("const void*");
    if (character_result(*entry.row))
        types.emplace_back("hidden_length");
    for (const Argument& a : entry.row->arguments)
        if (!a.kept)
            types.push_back(core_type(a, entry));
    if (entry.row->groups)
        types.emplace_back("int");
    return types;
}

Words with_lengths(Words parameters, const Entry& entry)
{
    parameters.insert(parameters.end(), static_cast<std::size_t>(entry.hidden_lengths()), "hidden_length");
    return parameters;
}

Words arguments(const Entry& entry)
{
    Words list;
    if (hidden_result(*entry.row))
        list.emplace_back("result");
    if (character_result(*entry.row))
        list.emplace_back("result_length");
    for (const Argument& a : entry.row->arguments)
        if (!a.kept)
            list.push_back(argument_text(a, entry));
    if (entry.row->groups)
        list.push_back("width_flag<" + integer_type(entry.width) + ">");
    return list;
}

} // namespace qnm::generate
