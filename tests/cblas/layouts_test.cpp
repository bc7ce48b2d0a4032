// Levels 1 to 3 and strided batches: what the core gets, and every report.
#include "c_call.hpp"

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Layouts : public recording::RecordedTest {
protected:
    Layouts() { core().ignore("qnm_serv_verbose_mode"); }
};

#define QNM_TRACE_MEMBER(MEMBER, LAYOUT) SCOPED_TRACE((MEMBER).name() + " " + std::to_string(LAYOUT))

/// Visits each member in both layouts.
template <class Visit>
void each(Visit visit)
{
    for (const Member& member : members())
        for (const int layout : {column_major, row_major}) {
            if (layout == row_major && !member.has_layout())
                continue;
            QNM_TRACE_MEMBER(member, layout);
            visit(member, layout);
            if (::testing::Test::HasFatalFailure())
                return;
        }
}

TEST_F(Layouts, CountAsPublished)
{
    // Level 3: 44 names; level 2: 66; strided batches: 30; variants: 34; level 1: 54, and 8 that are narrow
    // alone.
    EXPECT_EQ(members().size(), 2U * (44 + 66 + 30 + 34 + 54) + 8);
}

TEST_F(Layouts, TheCoreGetsTheCallAsItsLayoutTellsIt)
{
    each([](const Member& member, int layout) {
        CCall call(member, layout);
        call.each_choice([&] {
            core().clear();
            call.run();
            const auto noted =
                core().calls(member.routine == "cgerc" && layout == row_major   ? "qnm_blas_cgeru"
                             : member.routine == "zgerc" && layout == row_major ? "qnm_blas_zgeru"
                                                                                : member.core());
            ASSERT_THAT(noted, SizeIs(1)) << ::testing::PrintToString(story());
            EXPECT_THAT(reports(), IsEmpty());
            if (call.has("trans") && call.expected_letter("trans") == '*')
                return; // conjugated: in a test of its own
            call.expect_passed(noted[0]);
        });
    });
}

TEST_F(Layouts, EachBadArgumentIsReportedAlone)
{
    each([](const Member& member, int layout) {
        for (const Step& step : CCall(member, layout).steps()) {
            SCOPED_TRACE(step.argument);
            CCall call(member, layout);
            call.spoil(step.argument);
            core().clear();
            call.run();
            EXPECT_THAT(c_reports(), ElementsAre(std::pair(member.name(), step.code)));
            // What goes on has the Fortran check look too, and that refuses a blank, and a negative size.
            EXPECT_THAT(reports(), SizeIs(step.goes_on ? 2 : 1));
            EXPECT_THAT(core().calls(member.core()), IsEmpty());
        }
    });
}

TEST_F(Layouts, TestsStandInTheirOrder)
{
    each([](const Member& member, int layout) {
        const std::vector<Step> all = CCall(member, layout).steps();
        for (std::size_t first = 0; first < all.size(); ++first)
            for (std::size_t second = first + 1; second < all.size(); ++second) {
                SCOPED_TRACE(all[first].argument + " and " + all[second].argument);
                CCall call(member, layout);
                call.spoil(all[second].argument);
                call.spoil(all[first].argument); // last, for its value counts
                core().clear();
                call.run();
                const auto told = c_reports();
                ASSERT_FALSE(told.empty());
                EXPECT_EQ(told[0].second, all[first].code);
                if (all[first].goes_on) {
                    ASSERT_THAT(told, SizeIs(2));
                    EXPECT_EQ(told[1].second, all[second].code);
                } else {
                    EXPECT_THAT(told, SizeIs(1));
                }
            }
    });
}

TEST_F(Layouts, CodesBesideTheirSetsAreBad)
{
    each([](const Member& member, int layout) {
        CCall call(member, layout);
        for (const std::string& word : words(member.family->arguments)) {
            const std::string name = word.substr(0, word.find('('));
            const Option* option = option_of(name);
            if (option == nullptr)
                continue;
            const int beyond = option->first + static_cast<int>(option->letters.size());
            std::vector<int> bad{option->first - 1, beyond, 0, -1};
            if (member.routine.find("compute") == std::string::npos)
                bad.push_back(151);
            for (int code = option->first; code < beyond; ++code) // csyrk takes no 113, cherk no 112
                if (word != name && word.find(option->letters[static_cast<std::size_t>(code - option->first)],
                                              name.size()) == std::string::npos)
                    bad.push_back(code);
            for (const int code : bad) {
                SCOPED_TRACE(name + " " + std::to_string(code));
                CCall changed(member, layout);
                changed.set(name, code);
                core().clear();
                changed.run();
                EXPECT_THAT(c_reports(), ElementsAre(std::pair(member.name(), call.position(name))));
            }
        }
    });
}

TEST_F(Layouts, BoundsHoldForAllCodesAndForSizesOfZero)
{
    each([](const Member& member, int layout) {
        CCall call(member, layout);
        for (const bool empty : {false, true}) {
            for (const char* size : {"m", "n", "k", "kl", "ku"})
                if (empty && call.has(size))
                    call.set(size, 0);
            for (const Step& step : call.steps()) {
                if (call.bound(step.argument) == 0 || option_of(step.argument) != nullptr ||
                    step.argument == "layout" || step.argument.starts_with("inc"))
                    continue;
                SCOPED_TRACE(step.argument);
                call.each_choice([&] {
                    call.set(step.argument, call.bound(step.argument));
                    core().clear();
                    call.run();
                    EXPECT_THAT(c_reports(), IsEmpty());
                    call.set(step.argument, call.bound(step.argument) - 1);
                    core().clear();
                    call.run();
                    EXPECT_THAT(c_reports(), ElementsAre(std::pair(member.name(), step.code)));
                });
            }
        }
    });
}

TEST_F(Layouts, IdleCallsReturnBehindTheirTests)
{
    each([](const Member& member, int layout) {
        for (const std::string& word : words(member.family->idle)) {
            SCOPED_TRACE(word);
            CCall call(member, layout);
            if (word == "scalars")
                call.scalar("alpha", 0).scalar("beta", 1);
            else
                call.set(word, 0);
            call.each_choice([&] {
                core().clear();
                call.run();
                EXPECT_THAT(story(), IsEmpty());
            });
            for (const auto& [alpha, beta] : {std::pair{0.0, 0.5}, std::pair{0.5, 1.0}})
                if (word == "scalars") {
                    call.scalar("alpha", alpha).scalar("beta", beta).run();
                    EXPECT_FALSE(story().empty());
                    core().clear();
                }
        }
        if (member.has_layout() && member.family->idle.empty() &&
            member.routine.find("batch") == std::string::npos) {
            CCall call(member, layout);
            for (const char* size : {"m", "n", "k"})
                if (call.has(size))
                    call.set(size, 0);
            core().clear();
            call.settle().run();
            EXPECT_FALSE(story().empty()) << "no other entry has a quick return";
        }
    });
}

TEST_F(Layouts, WideSizesArriveWhole)
{
    for (const Member& member : members_of("symm")) {
        CCall call(member, column_major);
        constexpr std::int64_t large = 3'000'000'000'000;
        call.set("m", large)
            .set("n", large + 1)
            .set("lda", large + 2)
            .set("ldb", large + 3)
            .set("ldc", large + 4);
        if (!member.wide)
            continue;
        SCOPED_TRACE(member.name());
        core().clear();
        call.run();
        const auto noted = core().calls(member.core());
        ASSERT_THAT(noted, SizeIs(1));
        call.expect_passed(noted[0]);
    }
}

TEST_F(Layouts, TracedCallsShowTheFortranRoutineAsRewritten)
{
    core().mode(1);
    CCall call(members_of("gemm").at(2), row_major); // dgemm
    ASSERT_EQ(call.member().name(), "cblas_dgemm");
    call.run();
    const auto lines = core().calls("qnm_serv_print_verbose_info");
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_TRUE(lines[0].text.starts_with("DGEMM(N,N,4,3,5,")) << lines[0].text;
}

} // namespace
} // namespace qnm::tests
