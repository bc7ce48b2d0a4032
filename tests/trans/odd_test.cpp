// What is odd in matrix copy: the mode is asked for at each call and read on both sides of the core; sizes
// are unsigned, and those of many groups stand in one block.
#include "suite/line.hpp"

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;

class Odd : public recording::RecordedTest {
protected:
    /// The lines of a call, with the core setting the mode while it runs.
    static std::vector<Call> lines(const FunctionCall& call, int before, int after, std::vector<double> now)
    {
        core().clear();
        core().mode(before);
        core().clock(std::move(now));
        core().answers(call.callee().name).calling([=](Call&, Answer&) { core().mode(after); });
        call.run();
        return core().calls("qnm_serv_print_verbose_info");
    }
};

TEST_F(Odd, TheCoreIsCalledBehindTheQuestionForTheMode)
{
    core().listen("qnm_serv_lsame"); // letters are not asked of the core
    for (const Signature* s : signatures([](const Signature& s) { return !s.callees.empty(); })) {
        QNM_TRACE_SIGNATURE(*s);
        const FunctionCall call(*s);
        call.run();
        core().clear();
        call.run();
        EXPECT_THAT(core().calls(),
                    ElementsAre(recording::Called("qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]),
                                recording::Called("qnm_serv_verbose_mode"),
                                recording::Called(core_name(*s))));
    }
}

TEST_F(Odd, SizesKeepAllTheirBits)
{
    FunctionCall call("QNM_Zomatcopy");
    call.give("rows=4294967296 cols=4294967296 lda=4294967297 ldb=4294967298").run();
    call.expect_passed(core().calls().back());
    FunctionCall("QNM_ZOMATCOPY").set("lda", -1).run(); // the sign is extended
    EXPECT_EQ(core().calls().back().int64(6), -1);
}

TEST_F(Odd, ManyGroupsAreWidenedInOneBlock)
{
    for (const int groups : {16, 17}) {
        core().clear();
        FunctionCall call("QNM_DOMATCOPY_BATCH", column_major, groups);
        std::vector<double> ldb;
        core().answers(call.callee().name).calling([&](Call& noted, Answer&) {
            const auto* array = noted.pointer<const std::int64_t>(8);
            ldb.assign(array, array + groups);
        });
        call.run();
        EXPECT_EQ(ldb, call.values("ldb"));
        call.spoil("ldb", groups - 1).run(); // the last is looked at, and the block given back
        EXPECT_EQ(reports().at(0).second, 9);
        const auto blocks = core().calls("qnm_serv_allocate");
        EXPECT_EQ(blocks.size(), groups == 16 ? 0U : 2U);
        EXPECT_THAT(blocks, ::testing::Each(recording::Allocated(5 * 17 * 8, 128)));
    }
}

TEST_F(Odd, TheModeDecidesBeforeAndAfter)
{
    const std::tuple<int, int, std::vector<double>, double> cases[] = {
        {0, 0, {2, 5}, 0},  // off
        {1, 0, {2, 5}, 0},  // off at the end: the reading was for nothing
        {0, -1, {7, 9}, 7}, // on during the call: the time is the bare reading, and the line not enabled
        {2, 2, {0, 4}, 4},  // a clock at zero is read again all the same
        {-1, 1, {1, 4}, 3}, // on, too
    };
    for (const char* name : {"QNM_SOMATCOPY", "QNM_Somatcopy"})
        for (const auto& [before, after, clock, seconds] : cases) {
            const FunctionCall call(name);
            const auto found = lines(call, before, after, clock);
            EXPECT_EQ(core().calls("qnm_serv_dsecnd").size(), found.size() + (before != 0 ? 1U : 0U));
            ASSERT_EQ(found.size(), after != 0 ? 1U : 0U);
            for (const Call& line : found) {
                EXPECT_EQ(line.int32(0), before != 0 ? 1 : 0);
                EXPECT_EQ(line.real(0), seconds);
                EXPECT_EQ(line.text, line_of(call, call));
            }
        }
}

TEST_F(Odd, CallsRefusedOrWithoutMemoryAreShownBehindTheirReports)
{
    FunctionCall call("QNM_DOMATCOPY");
    call.spoil("lda"); // so the core, which would turn the mode off, is not called
    EXPECT_THAT(lines(call, 1, 0, {2, 5, 1000}), ElementsAre(recording::Printed(line_of(call, call), 3.0)));
    EXPECT_THAT(story(),
                ElementsAre("qnm_serv_set_xerbla_interface", "qnm_serv_verbose_mode", "qnm_serv_dsecnd",
                            "qnm_serv_strnlen_s", "qnm_serv_xerbla", "qnm_serv_dsecnd", "qnm_serv_snprintf_s",
                            "qnm_serv_print_verbose_info"));
    const FunctionCall many("QNM_SOMATCOPY_BATCH", column_major, 17);
    core().fail_allocation(1);
    EXPECT_THAT(lines(many, 1, 0, {2, 5}), ElementsAre(recording::Printed(line_of(many, many), 3.0)));
    EXPECT_EQ(reports(), (Reports{{"qnm_somatcopy_batch", 1102}}));
}

} // namespace
} // namespace qnm::tests
