// Workspaces and copies over all members: how large, in which order, and what happens when there is no
// memory.
#include "c_call.hpp"

namespace qnm::tests {

namespace {

class Memory : public LapackeTest {
protected:
    struct Block {
        std::int64_t bytes;
        bool is_workspace;
        bool of_high_level;
    };
    /// What a call takes from the core's memory: workspaces of the high level, then copies.
    static std::vector<Block> expected(const CCall& call, const Routine& routine)
    {
        std::vector<Block> blocks;
        const LapackePlan& plan = call.plan();
        const auto take = [&](const LapackeArgument& a, std::int64_t elements, bool workspace, bool high) {
            blocks.push_back({elements * static_cast<std::int64_t>(call.element(a).size), workspace, high});
        };
        if (call.member().high)
            for (const LapackeArgument* a : call.workspaces())
                take(*a, call.room(*a, routine.answer(index_of(plan, *a))), true, true);
        for (const LapackeArgument& a : plan.arguments) {
            if (call.is_copied(a))
                take(a, call.copy_elements(a), false, false);
            // The work level of such a routine sums rows, which takes room that nobody has provided.
            const std::string sums_columns = "1Oo";
            if (call.by_rows(LapackeShape::turned) && a.role == Role::workspace &&
                sums_columns.find(call.letter("norm")) != std::string::npos)
                take(a, std::max<std::int64_t>(call.value(*a.facts.turned), 1), true, false);
        }
        return blocks;
    }
};

TEST_F(Memory, IsTakenInOneOrderAndInTheSizesThatTheRoutineNeeds)
{
    for_all(both, 2, [&](const Member& m, int layout) {
        for (const bool empty : {false, true}) {
            CCall call(m, layout, chance, empty);
            Routine routine(call);
            if (empty)
                routine.answer = [](std::size_t) { return 0; };
            std::vector<std::int64_t> bytes;
            for (const Block& block : expected(call, routine))
                bytes.push_back(block.bytes);
            core().clear();
            call.run();
            EXPECT_EQ(allocated(), bytes);
            EXPECT_EQ(core().live_blocks(), 0U);
            for (const Call& report : core().calls("qnm_serv_xerbla")) // of a copy with nothing in it
                EXPECT_THAT(report.text, ::testing::Not(::testing::HasSubstr("matcopy")));
        }
    });
}

TEST_F(Memory, ThatFailsIsReportedOnceAndNothingIsLost)
{
    for_all(both, 1, [&](const Member& m, int layout) {
        const CCall valid(m, layout, chance);
        CCall counted = valid;
        std::size_t n = 0;
        for (const Block& block : expected(valid, Routine(counted))) {
            CCall call = valid;
            Routine routine(call);
            core().clear();
            core().fail_allocation(++n);
            EXPECT_EQ(call.run(), m.has_value() ? 0 : block.is_workspace ? -1010 : -1011);
            core().fail_allocation(0);
            EXPECT_EQ(printed(),
                      std::vector{std::string("Not enough memory to ") +
                                  (block.is_workspace ? "allocate work array" : "transpose matrix") + " in " +
                                  m.name(block.of_high_level)});
            EXPECT_EQ(routine.runs, 0);
            routine.expect_matrices();
            EXPECT_EQ(core().live_blocks(), 0U);
        }
    });
}

} // namespace

} // namespace qnm::tests
