// Expressions and tests of a row as C++.
#include <algorithm>
#include <map>
#include <vector>

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

using EKind = Expression::Kind;

std::string joined(const std::vector<std::string>& parts, const char* between)
{
    std::string text;
    for (const std::string& part : parts)
        text += (text.empty() ? "" : between) + part;
    return text;
}

/// Whether a size is known to be no less than zero by the time that leading dimensions are tested.
bool non_negative(const Expression& e, const Row& row)
{
    if (e.kind == EKind::number)
        return true;
    if (e.kind == EKind::condition)
        return non_negative(*e.operands[1], row) && non_negative(*e.operands[2], row);
    if (e.kind != EKind::name)
        return false;
    if (const Argument* a = row.find(e.text))
        return a->minimum && a->minimum->kind == EKind::number && a->minimum->value >= 0;
    const auto d = std::find_if(row.definitions.begin(), row.definitions.end(),
                                [&](const Definition& definition) { return definition.name == e.text; });
    return d != row.definitions.end() && non_negative(*d->value, row);
}

std::string call_text(const Expression& e, const Row& row, bool groups)
{
    std::vector<std::string> operands;
    for (const ExpressionPtr& operand : e.operands)
        operands.push_back(cxx(*operand, row, groups));
    if (e.text == "odd")
        return "((" + operands[0] + " & 1) != 0)";
    if (e.text == "abs")
        return "magnitude<I>(" + operands[0] + ")";
    const Expression& first = *e.operands[0];
    if (e.text == "max" && first.kind == EKind::number && first.value == 1 &&
        non_negative(*e.operands[1], row))
        return "at_least_1<I>(" + operands[1] + ")";
    std::string text = operands[0];
    for (std::size_t i = 1; i < operands.size(); ++i)
        text = (e.text == "max" ? "larger<I>(" : "smaller<I>(") + text + ", " + operands[i] + ")";
    return text;
}

std::string letter_fact(const std::string& argument, char letter)
{
    return argument + "_is_" + letter;
}

std::string letter_call(const std::string& argument, char letter, const Row& row, bool groups)
{
    const bool each = groups && row.find(argument)->array;
    return "is(" + (each ? "&" + argument + "[g]" : argument) + ", \"" + letter + "\")";
}

/// The expressions of an argument's test.
std::vector<ExpressionPtr> conditions(const Argument& a)
{
    std::vector<ExpressionPtr> all;
    for (const ExpressionPtr& e : {a.unless, a.minimum, a.maximum, a.barred})
        if (e)
            all.push_back(e);
    return all;
}

/// The letters that later tests ask for, in the order in which they are first needed.
std::vector<std::pair<std::string, char>> facts(const Row& row)
{
    std::vector<std::pair<std::string, char>> found;
    const auto collect = [&](const Expression& e) {
        if (e.kind == EKind::letter)
            for (const char letter : e.letters)
                if (std::find(found.begin(), found.end(), std::pair{e.text, letter}) == found.end())
                    found.emplace_back(e.text, letter);
    };
    for (const Definition& d : row.definitions)
        walk(*d.value, collect);
    for (const Argument* a : row.tests())
        for (const ExpressionPtr& e : conditions(*a))
            walk(*e, collect);
    return found;
}

std::string value_of(const Argument& a, bool groups)
{
    return groups && a.array ? "integers<I>(" + a.name + ")[g]" : "*" + a.name;
}

std::string failing(const Argument& a, const Row& row, bool groups)
{
    const auto known = groups ? std::vector<std::pair<std::string, char>>{} : facts(row);
    std::string text;
    if (!a.letters.empty()) {
        std::vector<std::string> good;
        for (const char letter : a.letters)
            good.push_back(std::find(known.begin(), known.end(), std::pair{a.name, letter}) != known.end()
                               ? letter_fact(a.name, letter)
                               : letter_call(a.name, letter, row, groups));
        text = "refused(" + joined(good, " || ") + ")";
    } else if (a.minimum) {
        text = "below<I>(" + value_of(a, groups) + ", " + cxx(*a.minimum, row, groups) + ")";
    } else {
        text = "unlikely(" + value_of(a, groups) + " == 0)";
    }
    if (a.maximum)
        text =
            "(" + text + " || below<I>(" + cxx(*a.maximum, row, groups) + ", " + value_of(a, groups) + "))";
    if (a.barred)
        text = "(" + text + " || unlikely(" + cxx(*a.barred, row, groups) + "))";
    if (a.unless)
        text = "(!" + cxx(*a.unless, row, groups) + " && " + text + ")";
    return text;
}

} // namespace

std::string cxx(const Expression& e, const Row& row, bool groups)
{
    const auto operand = [&](std::size_t i) { return cxx(*e.operands[i], row, groups); };
    switch (e.kind) {
    case EKind::number:
        return std::to_string(e.value);
    case EKind::name:
        if (const Argument* a = row.find(e.text))
            return value_of(*a, groups);
        return groups ? e.text + "(g)" : e.text;
    case EKind::letter: {
        std::vector<std::string> any;
        for (const char letter : e.letters)
            any.push_back(groups ? letter_call(e.text, letter, row, true) : letter_fact(e.text, letter));
        return any.size() == 1 ? any[0] : "(" + joined(any, " || ") + ")";
    }
    case EKind::condition:
        return "(" + operand(0) + " ? " + operand(1) + " : " + operand(2) + ")";
    case EKind::negation:
        return (e.text == "-" ? "-" : "!") + operand(0);
    case EKind::call:
        return call_text(e, row, groups);
    case EKind::binary:
        return "(" + operand(0) + " " +
               (e.text == "and"  ? "&&"
                : e.text == "or" ? "||"
                                 : e.text) +
               " " + operand(1) + ")";
    }
    return {};
}

std::string size_text(const Expression& e, const Row& row)
{
    const auto operand = [&](std::size_t i) { return size_text(*e.operands[i], row); };
    switch (e.kind) {
    case EKind::number:
        return "core_int{" + std::to_string(e.value) + "}";
    case EKind::name: {
        if (row.find(e.text) != nullptr)
            return "size(" + e.text + ")";
        if (e.text == row.leaf)
            return e.text + "()";
        const auto d = std::find_if(row.definitions.begin(), row.definitions.end(),
                                    [&](const Definition& definition) { return definition.name == e.text; });
        return size_text(*d->value, row); // the reader has seen to it that there is one
    }
    case EKind::letter: {
        std::vector<std::string> any;
        for (const char letter : e.letters)
            any.push_back("option(" + e.text + ", '" + letter + "')");
        return any.size() == 1 ? any[0] : "(" + joined(any, " || ") + ")";
    }
    case EKind::condition:
        return "(" + operand(0) + " ? " + operand(1) + " : " + operand(2) + ")";
    case EKind::negation:
        return (e.text == "-" ? "-" : "!") + operand(0);
    case EKind::call: {
        static const std::map<std::string, std::string> functions{{"min", "smaller<core_int>"},
                                                                  {"max", "larger<core_int>"},
                                                                  {"abs", "magnitude<core_int>"},
                                                                  {"odd", "odd"},
                                                                  {"lg", "lg"},
                                                                  {"depth", "depth"}};
        std::string text = operand(0);
        if (e.operands.size() == 1)
            return functions.at(e.text) + "(" + text + ")";
        for (std::size_t i = 1; i < e.operands.size(); ++i)
            text = functions.at(e.text) + "(" + text + ", " + operand(i) + ")";
        return text;
    }
    case EKind::binary:
        return "(" + operand(0) + " " +
               (e.text == "and"  ? "&&"
                : e.text == "or" ? "||"
                                 : e.text) +
               " " + operand(1) + ")";
    }
    return {};
}

std::string extent_text(const Argument& a, const Row& row)
{
    std::vector<std::string> factors;
    for (const ExpressionPtr& extent : a.extents) {
        if (extent->kind == EKind::call && extent->text == "nlogn")
            return "Extent::n_log_n(" + size_text(*extent->operands[0], row) + ")";
        factors.push_back(size_text(*extent, row));
    }
    return factors.empty() ? "core_int{0}" : joined(factors, " * ");
}

std::string tests_name(const Row& row)
{
    std::string root = row.root;
    std::replace(root.begin(), root.end(), '?', 'x');
    // A root may have several rows, each with letters of its own; a row's line would make a comment change
    // all.
    return row.has_check() ? root + "_tests_" + row.precisions.front().prefix : "NoTests";
}

std::string tests_text(const Row& row)
{
    std::string text =
        "struct " + tests_name(row) + " {\n    template <class I>\n    QNM_INLINE static int code(";
    // Arguments that no test touches stay without a name.
    std::vector<std::string> used;
    const auto use = [&](const Expression& e) {
        if (e.kind == EKind::name || e.kind == EKind::letter)
            used.push_back(e.text);
    };
    for (const Definition& d : row.definitions)
        walk(*d.value, use);
    for (const Argument* a : row.tests()) {
        used.push_back(a->name);
        for (const ExpressionPtr& e : conditions(*a))
            walk(*e, use);
    }
    std::vector<std::string> parameters;
    for (const Argument& a : row.arguments)
        parameters.push_back(std::find(used.begin(), used.end(), a.name) != used.end() ? "auto " + a.name
                                                                                       : "auto");
    if (row.groups) {
        used.emplace_back("group_count");
        if (row.entry_class != Class::matcopy)
            parameters.emplace_back("auto"); // the width flag
    }
    text += joined(parameters, ", ") + ")\n    {\n";
    if (row.groups) {
        for (const Definition& d : row.definitions)
            text += "        const auto " + d.name + " = [&](I g) -> I { return " + cxx(*d.value, row, true) +
                    "; };\n";
    } else {
        for (const auto& [argument, letter] : facts(row))
            text += "        const bool " + letter_fact(argument, letter) + " = " +
                    letter_call(argument, letter, row, false) + ";\n";
        for (const Definition& d : row.definitions)
            text += "        const I " + d.name + " = " + cxx(*d.value, row, false) + ";\n";
    }
    text += "        return ";
    for (const Argument* a : row.tests()) {
        const std::string code = std::to_string(row.code(*a));
        if (row.groups && a->name == "group_count")
            text += "below<I>(*integers<I>(group_count), 0) ? " + code +
                    "\n               : *integers<I>(group_count) == 0 ? 0\n               : ";
        else if (row.groups && a->array)
            text += "any_group<I>(group_count, [&](I g) { return " + failing(*a, row, true) + "; }) ? " +
                    code + "\n               : ";
        else
            text += failing(*a, row, row.groups) + " ? " + code + "\n               : ";
    }
    return text + "0;\n    }\n};\n";
}

} // namespace qnm::generate
