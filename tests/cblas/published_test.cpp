// The C interface as it is published: orders of tests with their codes, bounds, row-major calls, quick
// returns.
#include "calls.hpp"
#include "suite/line.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

std::vector<Member> all_members()
{
    std::vector<Member> all = members();
    all.insert(all.end(), group_members().begin(), group_members().end());
    return all;
}

class Published : public CoreTest {};

TEST_F(Published, TestsAndRowMajorCallsAreThePublishedOnes)
{
    EXPECT_EQ(group_members().size(), 2U * 30);
    each_layout(all_members(), [](const Member& member, int layout) {
        const FunctionCall call(member.name(), layout);
        const std::vector<Step> told = steps(member, layout);
        const auto found = call.steps();
        ASSERT_EQ(found.size(), told.size());
        for (std::size_t i = 0; i < told.size(); ++i) {
            EXPECT_EQ(names(call).at(call.index(found[i].argument)), told[i].argument);
            EXPECT_EQ(found[i].code, told[i].code) << told[i].argument;
            EXPECT_EQ(found[i].goes_on, told[i].goes_on) << told[i].argument;
        }
        const std::vector<std::string> list = words(member.arguments);
        ASSERT_EQ(call.parameters().size(), list.size());
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string name = list[i].substr(0, list[i].find('('));
            if (is_integer(name) || option_of(name) != nullptr) {
                EXPECT_EQ(names(call)[i], name);
            }
            const std::string partner = layout == row_major ? member.partner(name) : name;
            EXPECT_EQ(call.taker(i), partner == name ? i : call.index(partner)) << name;
            const Option* option = option_of(name);
            if (option == nullptr)
                continue;
            // The letters that are taken, and what each code becomes.
            std::string letters = layout == row_major ? member.row_letters(name) : "",
                        accepted = option->letters;
            if (list[i].find('(') != std::string::npos)
                accepted = list[i].substr(list[i].find('('));
            for (std::size_t at = 0; at < std::string(option->letters).size(); ++at) {
                FunctionCall coded(call);
                coded.set(name, option->first + static_cast<int>(at));
                const char letter = letters.empty() ? option->letters[at] : letters[at];
                const bool taken = accepted.find(option->letters[at]) != std::string::npos;
                EXPECT_EQ(coded.letter(name), !taken          ? ' '
                                              : letter == '*' ? 'N'
                                                              : letter)
                    << name << ' ' << at;
            }
        }
    });
}

TEST_F(Published, BoundsAreThePublishedOnesForAllCodes)
{
    each_layout(all_members(), [](const Member& member, int layout) {
        FunctionCall(member.name(), layout).each_choice([&](const FunctionCall& call) {
            const auto source = [&](const std::string& name) {
                return layout == row_major ? member.partner(name) : name;
            };
            for (const FunctionCall::Step& step : call.steps()) {
                const std::string name = step.argument.substr(0, step.argument.find("_array"));
                if (!is_integer(name) || name.starts_with("inc"))
                    continue;
                const std::int64_t bound = least(
                    member.bounds, source(name),
                    [&](const std::string& n) { return call.integer(source(n)); },
                    [&](const std::string& option) {
                        return std::string("NLA").find(call.letter(source(option))) != std::string::npos;
                    });
                EXPECT_EQ(call.bound(name), bound) << name;
            }
        });
    });
}

TEST_F(Published, IdleCallsReturnBehindTheirTests)
{
    each_layout(members(), [](const Member& member, int layout) {
        const auto run = [](const FunctionCall& call) {
            core().clear();
            call.run();
        };
        for (const std::string& word : words(member.family->idle)) {
            SCOPED_TRACE(word);
            const bool scalars = word == "scalars";
            FunctionCall(member.name(), layout).each_choice([&](FunctionCall call) {
                if (scalars)
                    call.scalar("alpha", 0).scalar("beta", 1);
                else
                    call.set(word, 0);
                run(call);
                EXPECT_THAT(story(), IsEmpty());
            });
            for (const auto& [alpha, beta] : {std::pair{0.0, 0.5}, std::pair{0.5, 1.0}})
                if (scalars) {
                    run(FunctionCall(member.name(), layout).scalar("alpha", alpha).scalar("beta", beta));
                    EXPECT_FALSE(story().empty());
                }
        }
        if (member.has_layout() && words(member.family->idle).empty() && !member.is("batch")) {
            run(FunctionCall(member.name(), layout).resize(0));
            EXPECT_FALSE(story().empty()) << "no other entry has a quick return";
        }
    });
}

TEST_F(Published, TracedCallsShowTheFortranRoutineAsRewritten)
{
    core().mode(1);
    FunctionCall("cblas_dgemm", row_major).give("m=3 n=4 k=5").run();
    const auto lines = core().calls("qnm_serv_print_verbose_info");
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_TRUE(lines[0].text.starts_with("DGEMM(N,N,4,3,5,")) << lines[0].text;
}

} // namespace
} // namespace qnm::tests
