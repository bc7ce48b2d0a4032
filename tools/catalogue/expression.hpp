// Integer expressions of the tables: extents, bounds and conditions.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lexer.hpp"

namespace qnm::catalogue {

/// One node of an expression. Truth is 1 and 0, as in C.
struct Expression {
    enum class Kind {
        number,    // value
        name,      // text: an argument or a name defined by `where`
        binary,    // text: + - * / < <= > >= == != and or; two operands
        negation,  // text: - or not; one operand
        call,      // text: min max abs odd lg depth nlogn; operands
        condition, // operands: test, then, else
        element,   // text: an array of integers; one operand: which, from 0
        letter     // text: the character argument; letters: those that it may be, in order of testing
    };
    Kind kind;
    std::int64_t value = 0;
    std::string text;
    std::string letters;
    std::vector<std::shared_ptr<const Expression>> operands;
};
using ExpressionPtr = std::shared_ptr<const Expression>;

/// A node that is neither a number nor a test of letters.
ExpressionPtr make_expression(Expression::Kind kind, const std::string& text,
                              std::vector<ExpressionPtr> operands = {});
ExpressionPtr make_number(std::int64_t value);

/// Reads `a ? b : c`, `or`, `and`, comparisons, `is`, `in`, sums, products, functions and brackets.
ExpressionPtr parse_expression(Lexer& lexer);

/// Reads a sum, behind which a comparison may stand that is none of its own: `>= 1 <= n`.
ExpressionPtr parse_bound(Lexer& lexer);

/// What evaluation needs to know of the call: integers by name, and the letter of a character argument.
struct Values {
    std::function<std::int64_t(const std::string&)> integer;
    std::function<char(const std::string&)> letter;
    std::function<std::int64_t(const std::string&, std::int64_t)> element;
};

/// Evaluates in 64 bits; letters compare without regard to case.
std::int64_t evaluate(const Expression& expression, const Values& values);

/// Calls `visit` for each node, operands first.
void walk(const Expression& expression, const std::function<void(const Expression&)>& visit);

/// The expression as the tables would write it, and as it stands behind `>=`: in brackets unless it is a sum.
std::string to_text(const Expression& expression);
std::string bound_text(const Expression& expression);

} // namespace qnm::catalogue
