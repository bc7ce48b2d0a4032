// Expressions of the tables: what they are worth, by numbers.
#include "catalogue/expression.hpp"
#include "facts.hpp"

#include <gtest/gtest.h>
#include <map>

namespace qnm::catalogue {
namespace {

ExpressionPtr parsed(const std::string& text)
{
    Lexer lexer("x.tab", 1);
    lexer.add_line(text, 1);
    const ExpressionPtr expression = parse_expression(lexer);
    EXPECT_TRUE(lexer.at_end()) << text << ": '" << lexer.peek().text << "' is left over";
    return expression;
}

/// With m = 7, n = 3, k = 0, minus = -5, trans = 't', side = 'L', ia = 1 . . 5 and ja = . . . . 12.
std::int64_t value(const Expression& expression)
{
    const std::map<std::string, std::int64_t> integers{{"m", 7}, {"n", 3}, {"k", 0}, {"minus", -5}};
    const std::map<std::string, char> letters{{"trans", 't'}, {"side", 'L'}};
    const std::map<std::string, std::map<std::int64_t, std::int64_t>> arrays{{"ia", {{0, 1}, {3, 5}}},
                                                                             {"ja", {{4, 12}}}};
    return evaluate(expression,
                    {[&](const std::string& name) { return integers.at(name); },
                     [&](const std::string& name) { return letters.at(name); },
                     [&](const std::string& name, std::int64_t i) { return arrays.at(name).at(i); }});
}

TEST(Expressions, HaveTheirValue)
{
    for (const auto& [text, worth] : tests::facts(R"(
            2+3*4 => 14;  (2+3)*4 => 20;  10-4-3 => 3;  10-(4-3) => 9;  20/4/5 => 1;  -2*3 => -6;  2--m => 9;  7/2 => 3;
            999999*999999 => 999998000001;  0x1F+0xa0 => 191;  max(1,m,n) => 7;  min(m,n,4) => 3;
            abs(minus) => 5;  abs(m) => 7;  odd(minus) => 1;  odd(k) => 0;  odd(4) => 0;
            m < 7 => 0;  m <= 7 => 1;  m > 7 => 0;  m >= 7 => 1;  m == 7 => 1;  m != 7 => 0;  1+1 < 3 => 1;
            not k => 1;  not m => 0;  not k and k => 0;  not (k and 0) => 1;  1 or 0 and 0 => 1;  (1 or 0) and 0 => 0;
            ja[ia[n]-1]-ia[0]+1 => 12;  k and m/k => 0;  m or m/k => 1;
            trans is T => 1;  trans is N => 0;  trans in NC => 0;  trans in NTC => 1;
            side is L ? m : n+100 => 7;  (side is L ? m : n)+100 => 107;  side is L and trans is T ? 1 : 2 => 1;
            trans is N ? 1 : side is L ? 2 : 3 => 2;  trans is T ? side is R ? 1 : 2 : 3 => 2;)")) {
        SCOPED_TRACE(text);
        const ExpressionPtr expression = parsed(text);
        EXPECT_EQ(std::to_string(value(*expression)), worth);
        // What is shown to people means the same.
        EXPECT_EQ(std::to_string(value(*parsed(to_text(*expression)))), worth) << to_text(*expression);
    }
}

TEST(Expressions, AreWalkedOperandsFirst)
{
    std::string names;
    walk(*parsed("max(m,n)*(side is L ? k : 1)"), [&](const Expression& e) { names += e.text + " "; });
    EXPECT_EQ(names, "m n max side k  ? * ");
}

} // namespace
} // namespace qnm::catalogue
