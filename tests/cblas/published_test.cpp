// The C interface as it is published: orders of tests with their codes, bounds, row-major calls, quick
// returns.
#include "calls.hpp"
#include "members.hpp"

namespace qnm::tests {
namespace {

/// A member in one layout: what is published of it, beside a call made from the tables.
struct Case {
    const Member& member;
    FunctionCall call;
    std::vector<PublishedArgument> arguments;
    std::string bounds;

    bool by_rows() const { return call.by_rows(); }
    /// The argument that stands in the place of another.
    std::string partner(const std::string& name) const
    {
        for (const std::string& word : words(by_rows() ? member.facts->rows : ""))
            if (const std::size_t comma = word.find(','); comma != std::string::npos)
                for (const auto& [one, other] : {std::pair{word.substr(0, comma), word.substr(comma + 1)},
                                                 std::pair{word.substr(comma + 1), word.substr(0, comma)}})
                    if (name == one)
                        return other;
        return name;
    }
    /// The letters of an option's codes.
    std::string letters(const std::string& option) const
    {
        for (const std::string& word : words(by_rows() ? member.facts->rows : ""))
            if (word.starts_with(option + ":"))
                return word.substr(option.size() + 1);
        return option_of(option)->letters;
    }
};

const qnm::tests::Published& fortran(const std::string& routine)
{
    for (const qnm::tests::Published& p : published())
        for (const auto& [name, letter] : expand(p.members))
            if (name == routine.substr(0, routine.find("_sub")))
                return p;
    throw std::out_of_range(routine);
}

class Published : public CoreTest {
protected:
    template <class Visit>
    static void each(Visit visit)
    {
        for (const Member& member : members())
            for (const int layout : {column_major, row_major}) {
                const FunctionCall call(member.name, layout);
                if (layout == row_major && !call.has_layout())
                    continue;
                SCOPED_TRACE(member.name + " " + std::to_string(layout));
                const CFacts& facts = *member.facts;
                const auto& routine = fortran(member.routine);
                const std::string first = lists(facts.order, "layout") ? "layout " : "";
                visit(
                    Case{member, call,
                         parameters(facts.arguments != nullptr ? facts.arguments : first + routine.arguments),
                         facts.bounds + std::string(" ") + routine.bounds});
            }
    }
};

// What readers are told of a bound, in the arguments of their own call, has the value that the routine's row
// has.
TEST(Bounds, AreToldInTheCallersArguments)
{
    int apart = 0;
    each_layout([](const Signature& s) { return !s.tests.empty(); },
                [&](const FunctionCall& settled) {
                    const auto check = [&](const FunctionCall& call) {
                        const FunctionCall as_told =
                            FunctionCall(call.signature(), column_major).assign(call);
                        for (const catalogue::Test& test : call.signature().tests) {
                            const std::string& name =
                                call.parameters()[static_cast<std::size_t>(test.parameter)].name;
                            if (!test.when.empty() && (test.when == "row-major") != call.by_rows())
                                continue;
                            apart += test.when == "row-major" && test.text.find(">=") != std::string::npos;
                            const auto told = [&](const std::string& mark) {
                                catalogue::Lexer lexer(test.text, 1);
                                lexer.add_line(test.text.substr(test.text.find(mark) + mark.size()), 1);
                                return as_told.value(*catalogue::parse_expression(lexer));
                            };
                            ASSERT_EQ(call.is_bounded(name), test.text.find(" >= ") != std::string::npos)
                                << test.text;
                            if (call.is_bounded(name)) {
                                EXPECT_EQ(told(" >= "), call.bound(name)) << test.text;
                            }
                            if (test.text.find(" unless ") != std::string::npos) {
                                EXPECT_EQ(told(" unless ") != 0, call.is_exempt(name)) << test.text;
                            }
                        }
                    };
                    settled.each_choice(check);
                });
    EXPECT_GT(apart, 500);
}

TEST_F(Published, TestsComeInTheirOrderWithTheirCodes)
{
    each([](const Case& c) {
        std::string found, told;
        for (const FunctionCall::Step& step : c.call.steps())
            found += names(c.call)[c.call.index(step.argument)] + "@" + std::to_string(step.code) +
                     (step.goes_on ? "+ " : " ");
        for (std::string word : words(c.member.facts->order)) {
            if (const std::size_t colon = word.find(':'); colon != std::string::npos) {
                if (word.starts_with("columns") == c.by_rows())
                    continue;
                word.erase(0, colon + 1);
            }
            const bool goes_on = word.back() == '+';
            const std::string name = word.substr(0, word.find_first_of("@+"));
            const auto at = std::ranges::find(c.arguments, name, &PublishedArgument::name);
            if (at != c.arguments.end())
                told += name + "@" +
                        (word.find('@') != std::string::npos ? word.substr(word.find('@') + 1)
                                                             : std::to_string(at - c.arguments.begin() + 1)) +
                        (goes_on ? "+ " : " ");
        }
        EXPECT_EQ(found, told);
    });
}

TEST_F(Published, RowMajorCallsChangePlacesAndLetters)
{
    each([](const Case& c) {
        ASSERT_EQ(c.call.parameters().size(), c.arguments.size());
        for (std::size_t i = 0; i < c.arguments.size(); ++i) {
            const std::string& name = c.arguments[i].name;
            const Option* option = option_of(name);
            if (is_integer(name) || option != nullptr) {
                EXPECT_EQ(names(c.call)[i], name);
            }
            EXPECT_EQ(c.call.taker(i), c.partner(name) == name ? i : c.call.index(c.partner(name))) << name;
            if (option == nullptr)
                continue;
            std::string found, told;
            for (std::size_t at = 0; at <= option->letters.size(); ++at) {
                const bool last = at == option->letters.size(); // the code of packed operands
                const char letter = last ? 'P' : option->letters[at];
                FunctionCall coded(c.call);
                coded.set(name, last ? 151 : option->first + static_cast<int>(at));
                found += coded.letter(name);
                told += c.arguments[i].letters.find(letter) == std::string::npos ? ' '
                        : last                                                   ? 'P'
                                                                                 : c.letters(name)[at];
            }
            EXPECT_EQ(found, told) << name;
        }
    });
}

TEST_F(Published, BoundsAreThePublishedOnesForAllCodes)
{
    each([](const Case& c) {
        c.call.each_choice([&](const FunctionCall& call) {
            for (const FunctionCall::Step& step : call.steps()) {
                const std::string name = step.argument.substr(0, step.argument.find("_array"));
                if (!is_integer(name) || name.starts_with("inc"))
                    continue;
                EXPECT_EQ(call.bound(name), least(call, c.bounds, c.partner(name))) << name;
            }
        });
    });
}

TEST_F(Published, IdleCallsReturnBehindTheirTests)
{
    each([](const Case& c) {
        const auto is_idle = [](const FunctionCall& call) {
            core().clear();
            call.run();
            return story().empty();
        };
        const auto idle = words(c.member.facts->idle);
        for (const std::string& word : idle)
            c.call.each_choice([&](FunctionCall call) {
                if (word != "scalars") {
                    EXPECT_TRUE(is_idle(call.set(word, 0))) << word;
                    return;
                }
                EXPECT_TRUE(is_idle(call.scalar("alpha", 0).scalar("beta", 1)));
                EXPECT_FALSE(is_idle(call.scalar("beta", 0.5)));
                EXPECT_FALSE(is_idle(call.scalar("alpha", 0.5).scalar("beta", 1)));
                for (const char* complex : {"alpha", "beta"})
                    if (call.size(complex) > 1) {
                        call.scalar("alpha", 0).scalar("beta", 1);
                        EXPECT_FALSE(is_idle(call.put(complex, 0.5, 1)));
                    }
            });
        if (c.call.has_layout() && idle.empty() && c.member.routine.find("batch") == std::string::npos) {
            EXPECT_FALSE(is_idle(FunctionCall(c.call).resize(0))) << "no other entry has a quick return";
        }
    });
}

TEST_F(Published, TracedCallsShowTheFortranRoutineAsRewritten)
{
    core().mode(1);
    FunctionCall("cblas_dgemm", row_major).give("m=3 n=4 k=5").run();
    const auto lines = core().calls("qnm_serv_print_verbose_info");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].text.starts_with("DGEMM(N,N,4,3,5,")) << lines[0].text;
}

} // namespace
} // namespace qnm::tests
