// Levels 1 to 3, strided batches and variants: what the core gets, and every report.
#include "c_call.hpp"

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Layouts : public CTest {
protected:
    /// The reports of one call.
    static Reports told(const CCall& call)
    {
        core().clear();
        call.run();
        return c_reports(call.member());
    }
};

TEST_F(Layouts, CountAsPublished)
{
    // Level 3: 44 names; level 2: 66; strided batches: 30; variants: 38; level 1: 54, and 8 that are narrow
    // alone.
    EXPECT_EQ(members().size(), 2U * (44 + 66 + 30 + 38 + 54) + 8);
}

TEST_F(Layouts, TheCoreGetsTheCallAsItsLayoutTellsIt)
{
    each_layout(members(), [](const Member& member, int layout) {
        CCall call(member, layout);
        std::string called = member.core();
        if (member.is("gerc") && layout == row_major)
            called.back() = 'u';
        call.each_choice([&] {
            EXPECT_THAT(told(call), IsEmpty());
            const auto noted = core().calls(called);
            ASSERT_THAT(noted, SizeIs(1)) << ::testing::PrintToString(story());
            if (!call.has("trans") ||
                call.expected_letter("trans") != '*') // conjugated: in a test of its own
                call.expect_passed(noted[0]);
        });
    });
}

TEST_F(Layouts, EachBadArgumentIsReportedAlone)
{
    each_layout(members(), [](const Member& member, int layout) {
        for (const Step& step : CCall(member, layout).steps()) {
            SCOPED_TRACE(step.argument);
            EXPECT_THAT(told(CCall(member, layout).spoil(step.argument)),
                        ElementsAre(std::pair(member.reported(), step.code)));
            // What goes on has the Fortran check look too, and that refuses a blank, and a negative size.
            EXPECT_THAT(reports(), SizeIs(step.goes_on ? 2 : 1));
            EXPECT_THAT(core().calls(member.core()), IsEmpty());
        }
    });
}

TEST_F(Layouts, TestsStandInTheirOrder)
{
    each_layout(members(), [](const Member& member, int layout) {
        const std::vector<Step> all = CCall(member, layout).steps();
        for (std::size_t first = 0; first < all.size(); ++first)
            for (std::size_t second = first + 1; second < all.size(); ++second) {
                SCOPED_TRACE(all[first].argument + " and " + all[second].argument);
                Reports expected{{member.reported(), all[first].code}};
                if (all[first].goes_on)
                    expected.emplace_back(member.reported(), all[second].code);
                CCall call(member, layout);
                call.spoil(all[second].argument).spoil(all[first].argument); // whose value counts
                EXPECT_EQ(told(call), expected);
            }
    });
}

TEST_F(Layouts, CodesBesideTheirSetsAreBad)
{
    each_layout(members(), [](const Member& member, int layout) {
        CCall call(member, layout);
        for (const std::string& name : call.names()) {
            const Option* option = option_of(name);
            if (option == nullptr)
                continue;
            const int beyond = option->first + static_cast<int>(option->letters.size());
            std::vector<int> bad{option->first - 1, beyond, 0, -1};
            if (!member.is("compute"))
                bad.push_back(151);
            for (int code = option->first; code < beyond; ++code) // csyrk takes no 113, cherk no 112
                if (call.accepted(name).find(option->letters.at(
                        static_cast<std::size_t>(code - option->first))) == std::string::npos)
                    bad.push_back(code);
            for (const int code : bad)
                EXPECT_THAT(told(CCall(call).set(name, code)),
                            ElementsAre(std::pair(member.reported(), call.position(name))))
                    << name << " " << code;
        }
    });
}

TEST_F(Layouts, BoundsHoldForAllCodesAndForSizesOfZero)
{
    each_layout(members(), [](const Member& member, int layout) {
        CCall call(member, layout);
        for (const bool empty : {false, true}) {
            for (const char* size : {"m", "n", "k", "kl", "ku"})
                if (empty && call.has(size))
                    call.set(size, 0);
            for (const Step& step : call.steps()) {
                if (!is_integer(step.argument) || step.argument.starts_with("inc"))
                    continue;
                SCOPED_TRACE(step.argument);
                call.each_choice([&] {
                    CCall at = call;
                    EXPECT_THAT(told(at.set(step.argument, at.bound(step.argument))), IsEmpty());
                    EXPECT_THAT(told(at.spoil(step.argument)),
                                ElementsAre(std::pair(member.reported(), step.code)));
                });
            }
        }
    });
}

TEST_F(Layouts, IdleCallsReturnBehindTheirTests)
{
    each_layout(members(), [](const Member& member, int layout) {
        for (const std::string& word : words(member.family->idle)) {
            SCOPED_TRACE(word);
            CCall call(member, layout);
            const bool scalars = word == "scalars";
            if (scalars)
                call.scalar("alpha", 0).scalar("beta", 1);
            else
                call.set(word, 0);
            call.each_choice([&] {
                EXPECT_THAT(told(call), IsEmpty());
                EXPECT_THAT(story(), IsEmpty());
            });
            for (const auto& [alpha, beta] : {std::pair{0.0, 0.5}, std::pair{0.5, 1.0}})
                if (scalars) {
                    told(call.scalar("alpha", alpha).scalar("beta", beta));
                    EXPECT_FALSE(story().empty());
                }
        }
        if (member.has_layout() && words(member.family->idle).empty() && !member.is("batch")) {
            CCall call(member, layout);
            for (const char* size : {"m", "n", "k"})
                if (call.has(size))
                    call.set(size, 0);
            told(call.settle());
            EXPECT_FALSE(story().empty()) << "no other entry has a quick return";
        }
    });
}

TEST_F(Layouts, WideSizesArriveWhole)
{
    for (const Member& member : members_of("symm")) {
        if (!member.wide)
            continue;
        SCOPED_TRACE(member.name());
        CCall call(member, column_major);
        std::int64_t large = 3'000'000'000'000;
        for (const char* size : {"m", "n", "lda", "ldb", "ldc"})
            call.set(size, large++);
        EXPECT_THAT(told(call), IsEmpty());
        call.expect_passed(core().calls(member.core()).at(0));
    }
}

TEST_F(Layouts, TracedCallsShowTheFortranRoutineAsRewritten)
{
    core().mode(1);
    const CCall call(members_of("gemm").at(2), row_major); // dgemm
    EXPECT_THAT(told(call), IsEmpty());
    const auto lines = core().calls("qnm_serv_print_verbose_info");
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_TRUE(lines[0].text.starts_with("DGEMM(N,N,4,3,5,")) << lines[0].text;
}

} // namespace
} // namespace qnm::tests
