// Expressions of the tables: what they are worth, by numbers.
#include "catalogue/expression.hpp"

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

/// With m = 7, n = 3, k = 0, minus = -5, trans = 't' and side = 'L'.
std::int64_t value(const Expression& expression)
{
    const std::map<std::string, std::int64_t> integers{{"m", 7}, {"n", 3}, {"k", 0}, {"minus", -5}};
    const std::map<std::string, char> letters{{"trans", 't'}, {"side", 'L'}};
    return evaluate(expression, {[&](const std::string& name) { return integers.at(name); },
                                 [&](const std::string& name) { return letters.at(name); }});
}

struct Worth {
    const char* text;
    std::int64_t value;
};

void PrintTo(const Worth& worth, std::ostream* out)
{
    *out << worth.text;
}

class Expressions : public ::testing::TestWithParam<Worth> {};

TEST_P(Expressions, HaveTheirValue)
{
    const ExpressionPtr expression = parsed(GetParam().text);
    EXPECT_EQ(value(*expression), GetParam().value) << GetParam().text;
    // What is shown to people means the same.
    EXPECT_EQ(value(*parsed(to_text(*expression))), GetParam().value) << to_text(*expression);
}

INSTANTIATE_TEST_SUITE_P(Arithmetic, Expressions,
                         ::testing::Values(Worth{"2+3*4", 14}, Worth{"(2+3)*4", 20}, Worth{"10-4-3", 3},
                                           Worth{"20/4/5", 1}, Worth{"m*(m+1)/2", 28}, Worth{"-2*3", -6},
                                           Worth{"2--m", 9}, Worth{"7/2", 3},
                                           Worth{"999999*999999", 999998000001}));
INSTANTIATE_TEST_SUITE_P(Functions, Expressions,
                         ::testing::Values(Worth{"max(1,k)", 1}, Worth{"max(1,m,n)", 7},
                                           Worth{"min(m,n,4)", 3}, Worth{"abs(minus)", 5}, Worth{"abs(m)", 7},
                                           Worth{"odd(m)", 1}, Worth{"odd(minus)", 1}, Worth{"odd(k)", 0},
                                           Worth{"odd(4)", 0}, Worth{"max(1,(n-1)*abs(minus)+1)", 11}));
INSTANTIATE_TEST_SUITE_P(Truth, Expressions,
                         ::testing::Values(Worth{"m < 8", 1}, Worth{"m < 7", 0}, Worth{"m <= 7", 1},
                                           Worth{"m > 7", 0}, Worth{"m >= 7", 1}, Worth{"m == 7", 1},
                                           Worth{"m != 7", 0}, Worth{"1+1 == 2", 1}, Worth{"not k", 1},
                                           Worth{"not m", 0}, Worth{"1 or 0 and 0", 1},
                                           Worth{"(1 or 0) and 0", 0},
                                           Worth{"k and m/k", 0}, // the second is not looked at
                                           Worth{"m or m/k", 1}, Worth{"odd(k) or (m <= 34 and n <= 34)", 1},
                                           Worth{"not k and k", 0}));
INSTANTIATE_TEST_SUITE_P(
    Letters, Expressions,
    ::testing::Values(Worth{"trans is T", 1}, Worth{"trans is N", 0}, Worth{"trans in NC", 0},
                      Worth{"trans in NTC", 1}, Worth{"side is L ? m : n", 7}, Worth{"trans is N ? m : k", 0},
                      // A condition reaches as far as it can, and takes one on either side.
                      Worth{"trans is N ? 1 : side is L ? 2 : 3", 2},
                      Worth{"trans is T ? side is R ? 1 : 2 : 3", 2}, Worth{"side is L ? m : n+100", 7},
                      Worth{"(side is L ? m : n)+100", 107}, Worth{"side is L and trans is T ? 1 : 2", 1}));

TEST(ExpressionText, KeepsTheTablesWords)
{
    EXPECT_EQ(to_text(*parsed("max(1,trans is N ? m : k)")), "max(1,(trans is N ? m : k))");
    EXPECT_EQ(to_text(*parsed("odd(m) or not n < 3")), "(odd(m) or (not n < 3))");
}

TEST(ExpressionWalk, VisitsOperandsFirst)
{
    std::string names;
    walk(*parsed("max(m,n)*(side is L ? k : 1)"), [&](const Expression& e) {
        if (e.kind == Expression::Kind::name || e.kind == Expression::Kind::letter ||
            e.kind == Expression::Kind::call)
            names += e.text + " ";
    });
    EXPECT_EQ(names, "m n max side k ");
}

} // namespace
} // namespace qnm::catalogue
