#include "expression.hpp"

#include <map>

namespace qnm::generate {

using namespace catalogue;

namespace {

using EKind = Expression::Kind;

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
    const Expression* value = defined(row.definitions, e.text);
    return value != nullptr && non_negative(*value, row);
}

} // namespace

std::string ExpressionText::text(const Expression& e) const
{
    const auto operand = [&](std::size_t i) { return text(*e.operands[i]); };
    switch (e.kind) {
    case EKind::number:
        return number(e.value);
    case EKind::name:
        return name(e.text);
    case EKind::element:
        return element(e);
    case EKind::letter:
        return letter(e);
    case EKind::condition:
        return condition(operand(0), operand(1), operand(2));
    case EKind::negation:
        return (e.text == "-" ? "-" : "!") + operand(0);
    case EKind::call:
        return call(e);
    case EKind::binary:
        break;
    }
    const std::string sign = e.text == "and" ? "&&" : e.text == "or" ? "||" : e.text;
    return "(" + operand(0) + " " + sign + " " + operand(1) + ")";
}

std::string ExpressionText::element(const Expression& e) const
{
    return e.text + "[" + operands(e)[0] + "]";
}

std::string ExpressionText::call(const Expression& e) const
{
    static const std::map<std::string, std::string> functions{
        {"abs", "magnitude"}, {"max", "larger"}, {"min", "smaller"}};
    const auto function = functions.find(e.text);
    if (function == functions.end())
        throw TableError("'" + to_text(e) + "': expected abs, min or max, which are all that C++ has here");
    const std::string open = function->second + "<" + integer_ + ">(";
    const Words all = operands(e);
    if (all.size() == 1)
        return open + all[0] + ")";
    std::string text = all[0];
    for (std::size_t i = 1; i < all.size(); ++i)
        text = open + text + ", " + all[i] + ")";
    return text;
}

Words ExpressionText::operands(const Expression& e) const
{
    Words all;
    for (const ExpressionPtr& operand : e.operands)
        all.push_back(text(*operand));
    return all;
}

std::string ExpressionText::condition(const std::string& test, const std::string& then,
                                      const std::string& otherwise)
{
    return "(" + test + " ? " + then + " : " + otherwise + ")";
}

std::string ExpressionText::any_of(const Words& tests)
{
    return tests.size() == 1 ? tests[0] : "(" + joined(tests, " || ") + ")";
}

std::string TestText::number(std::int64_t value) const
{
    return std::to_string(value);
}

std::string TestText::call(const Expression& e) const
{
    if (e.text == "odd")
        return "((" + text(*e.operands[0]) + " & 1) != 0)";
    const Expression& first = *e.operands[0];
    if (e.text == "max" && e.operands.size() == 2 && first.kind == EKind::number && first.value == 1 &&
        non_negative(*e.operands[1], row_))
        return "at_least_1<I>(" + text(*e.operands[1]) + ")";
    return ExpressionText::call(e);
}

std::string SizeText::number(std::int64_t value) const
{
    return "core_int{" + std::to_string(value) + "}";
}

const Expression* defined(const std::vector<Definition>& definitions, const std::string& name)
{
    for (const Definition& d : definitions)
        if (d.name == name)
            return d.value.get();
    return nullptr;
}

} // namespace qnm::generate
