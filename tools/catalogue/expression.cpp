#include "expression.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <initializer_list>
#include <map>

namespace qnm::catalogue {

namespace {

using Kind = Expression::Kind;

/// The functions of the language, and how many operands each takes.
const std::map<std::string, bool (*)(std::size_t)> functions{
    {"nonzero", [](std::size_t n) { return n == 1; }}, {"reached", [](std::size_t n) { return n == 4; }},
    {"abs", [](std::size_t n) { return n == 1; }},     {"odd", [](std::size_t n) { return n == 1; }},
    {"lg", [](std::size_t n) { return n == 1; }},      {"nlogn", [](std::size_t n) { return n == 1; }},
    {"depth", [](std::size_t n) { return n == 2; }},   {"min", [](std::size_t n) { return n > 1; }},
    {"max", [](std::size_t n) { return n > 1; }}};

/// The smallest k with 2^k >= n.
std::int64_t lg(std::int64_t n)
{
    std::int64_t k = 0;
    while (k < 62 && (std::int64_t{1} << k) < n)
        ++k;
    return k;
}

/// Levels of a divide-and-conquer tree above leaves of a size: the binary logarithm of n/(leaf+1), cut
/// towards zero.
std::int64_t depth(std::int64_t n, std::int64_t leaf)
{
    const std::int64_t up = leaf + 1;
    std::int64_t k = 0;
    if (n >= up)
        while (k < 62 && (up << (k + 1)) <= n)
            ++k;
    else
        while (n > 0 && k > -62 && (n << (1 - k)) <= up)
            --k;
    return k;
}

ExpressionPtr parse_primary(Lexer& lexer);

ExpressionPtr parse_operand(Lexer& lexer)
{
    const std::string text = lexer.peek().text;
    if (lexer.accept("(")) {
        ExpressionPtr inner = parse_expression(lexer);
        lexer.expect(")");
        return inner;
    }
    if (text == "-" || text == "not") {
        lexer.next();
        return make_expression(Kind::negation, text, {parse_primary(lexer)});
    }
    if (is_number(text))
        return make_number(lexer.number("a number of at most six digits"));
    if (!is_identifier(text))
        lexer.fail("a number, a name or '('");
    lexer.next();
    if (const auto function = functions.find(text); function != functions.end()) {
        lexer.expect("(");
        std::vector<ExpressionPtr> operands{parse_expression(lexer)};
        while (lexer.accept(","))
            operands.push_back(parse_expression(lexer));
        lexer.expect(")");
        if (!function->second(operands.size()))
            lexer.fail_at(
                lexer.peek().line, "'" + text + "'",
                "one operand for abs, odd, lg and nlogn, two for depth, two or more for min and max");
        return make_expression(Kind::call, text, std::move(operands));
    }
    if (lexer.peek().text == "is" || lexer.peek().text == "in") {
        const bool one = lexer.next().text == "is";
        auto node = std::make_shared<Expression>();
        node->kind = Kind::letter;
        node->text = text;
        node->letters = lexer.identifier("an option letter");
        if (one && node->letters.size() != 1)
            lexer.fail_at(lexer.peek().line, "'" + node->letters + "'",
                          "one letter after 'is'; 'in' takes several");
        return node;
    }
    if (lexer.accept("[")) {
        ExpressionPtr index = parse_expression(lexer);
        lexer.expect("]");
        return make_expression(Kind::element, text, {std::move(index)});
    }
    return make_expression(Kind::name, text, {});
}

ExpressionPtr parse_primary(Lexer& lexer)
{
    lexer.nest();
    ExpressionPtr operand = parse_operand(lexer);
    lexer.unnest();
    return operand;
}

using Level = ExpressionPtr (*)(Lexer&);

ExpressionPtr parse_left(Lexer& lexer, Level operand, std::initializer_list<const char*> operators)
{
    ExpressionPtr left = operand(lexer);
    int levels = 0; // each operator stands above all that is to the left of it
    for (; std::find(operators.begin(), operators.end(), lexer.peek().text) != operators.end(); ++levels) {
        const std::string text = lexer.next().text;
        lexer.nest();
        left = make_expression(Kind::binary, text, {left, operand(lexer)});
    }
    lexer.unnest(levels);
    return left;
}

ExpressionPtr parse_product(Lexer& lexer)
{
    return parse_left(lexer, parse_primary, {"*", "/"});
}

ExpressionPtr parse_sum(Lexer& lexer)
{
    return parse_left(lexer, parse_product, {"+", "-"});
}

ExpressionPtr parse_comparison(Lexer& lexer)
{
    return parse_left(lexer, parse_sum, {"<", "<=", ">", ">=", "==", "!="});
}

ExpressionPtr parse_and(Lexer& lexer)
{
    return parse_left(lexer, parse_comparison, {"and"});
}

ExpressionPtr parse_or(Lexer& lexer)
{
    return parse_left(lexer, parse_and, {"or"});
}

char upper(char c)
{
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

std::int64_t apply(const std::string& op, std::int64_t a, std::int64_t b)
{
    // Sizes multiply as in the layer, overflow included.
    const auto left = static_cast<std::uint64_t>(a), right = static_cast<std::uint64_t>(b);
    if (op == "+")
        return static_cast<std::int64_t>(left + right);
    if (op == "-")
        return static_cast<std::int64_t>(left - right);
    if (op == "*")
        return static_cast<std::int64_t>(left * right);
    if (op == "/")
        return a / b;
    if (op == "<")
        return a < b ? 1 : 0;
    if (op == "<=")
        return a <= b ? 1 : 0;
    if (op == ">")
        return a > b ? 1 : 0;
    if (op == ">=")
        return a >= b ? 1 : 0;
    if (op == "==")
        return a == b ? 1 : 0;
    return a != b ? 1 : 0; // the grammar lets nothing else through
}

/// How tightly operators bind, from the loosest.
enum class Binding { condition, either, both, comparison, sum, product, sign, operand };

Binding binding(const Expression& e)
{
    if (e.kind == Kind::condition)
        return Binding::condition;
    if (e.kind == Kind::negation)
        return Binding::sign;
    if (e.kind == Kind::letter)
        return Binding::comparison;
    if (e.kind != Kind::binary)
        return Binding::operand;
    return e.text == "or"                   ? Binding::either
           : e.text == "and"                ? Binding::both
           : e.text == "+" || e.text == "-" ? Binding::sum
           : e.text == "*" || e.text == "/" ? Binding::product
                                            : Binding::comparison;
}

/// The text where no looser operator may stand.
std::string within(const Expression& e, Binding loosest)
{
    return binding(e) < loosest ? "(" + to_text(e) + ")" : to_text(e);
}

} // namespace

ExpressionPtr make_expression(Kind kind, const std::string& text, std::vector<ExpressionPtr> operands)
{
    auto node = std::make_shared<Expression>();
    node->kind = kind;
    node->text = text;
    node->operands = std::move(operands);
    return node;
}

ExpressionPtr make_number(std::int64_t value)
{
    auto node = std::make_shared<Expression>();
    node->kind = Kind::number;
    node->value = value;
    return node;
}

ExpressionPtr parse_expression(Lexer& lexer)
{
    ExpressionPtr test = parse_or(lexer);
    if (!lexer.accept("?"))
        return test;
    lexer.nest();
    ExpressionPtr then = parse_expression(lexer);
    lexer.expect(":");
    ExpressionPtr condition = make_expression(Kind::condition, "?", {test, then, parse_expression(lexer)});
    lexer.unnest();
    return condition;
}

ExpressionPtr parse_bound(Lexer& lexer)
{
    return parse_sum(lexer);
}

std::int64_t evaluate(const Expression& e, const Values& values)
{
    const auto operand = [&](std::size_t i) { return evaluate(*e.operands[i], values); };
    switch (e.kind) {
    case Kind::number:
        return e.value;
    case Kind::name:
        return values.integer(e.text);
    case Kind::element:
        return values.element(e.text, operand(0));
    case Kind::letter:
        return e.letters.find(upper(values.letter(e.text))) != std::string::npos ? 1 : 0;
    case Kind::condition:
        return operand(operand(0) != 0 ? 1 : 2);
    case Kind::negation:
        return e.text == "-" ? -operand(0) : (operand(0) == 0 ? 1 : 0);
    case Kind::call: {
        std::int64_t result = operand(0);
        if (e.text == "abs")
            return result < 0 ? -result : result;
        if (e.text == "odd")
            return result & 1;
        if (e.text == "lg")
            return lg(result);
        if (e.text == "nlogn") {
            const auto n = static_cast<double>(result);
            return result < 1 ? 0 : static_cast<std::int64_t>(std::ceil(n * std::log(n)));
        }
        if (e.text == "depth")
            return depth(result, operand(1));
        for (std::size_t i = 1; i < e.operands.size(); ++i)
            result = e.text == "min" ? std::min(result, operand(i)) : std::max(result, operand(i));
        return result;
    }
    case Kind::binary:
        if (e.text == "and")
            return operand(0) != 0 && operand(1) != 0 ? 1 : 0;
        if (e.text == "or")
            return operand(0) != 0 || operand(1) != 0 ? 1 : 0;
        return apply(e.text, operand(0), operand(1));
    }
    return 0;
}

void walk(const Expression& expression, const std::function<void(const Expression&)>& visit)
{
    for (const ExpressionPtr& operand : expression.operands)
        walk(*operand, visit);
    visit(expression);
}

std::string to_text(const Expression& e)
{
    switch (e.kind) {
    case Kind::number:
        return std::to_string(e.value);
    case Kind::name:
        return e.text;
    case Kind::element:
        return e.text + "[" + to_text(*e.operands[0]) + "]";
    case Kind::letter:
        return e.text + (e.letters.size() == 1 ? " is " : " in ") + e.letters;
    case Kind::condition:
        return within(*e.operands[0], Binding::either) + " ? " + within(*e.operands[1], Binding::either) +
               " : " + to_text(*e.operands[2]);
    case Kind::negation:
        return e.text + (e.text == "not" ? " " : "") + within(*e.operands[0], Binding::operand);
    case Kind::call: {
        std::string text = e.text + "(";
        for (const ExpressionPtr& operand : e.operands)
            text += (operand == e.operands.front() ? "" : ",") + to_text(*operand);
        return text + ")";
    }
    case Kind::binary: // from the left; a comparison of comparisons is none that people read
        return within(*e.operands[0], binding(e) == Binding::comparison ? Binding::sum : binding(e)) + " " +
               e.text + " " + within(*e.operands[1], static_cast<Binding>(static_cast<int>(binding(e)) + 1));
    }
    return {};
}

std::string bound_text(const Expression& e)
{
    return within(e, Binding::sum);
}

} // namespace qnm::catalogue
