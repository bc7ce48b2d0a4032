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
        const bool turned = plan.c->shape == LapackeShape::turned && call.by_rows();
        const auto bytes = [&](const LapackeArgument& a, std::int64_t elements) {
            return elements * static_cast<std::int64_t>(call.element(a).size);
        };
        if (call.member().high)
            for (const LapackeArgument* a : call.workspaces()) {
                const auto index = static_cast<std::size_t>(a - plan.arguments.data());
                blocks.push_back({bytes(*a, call.room(*a, routine.answer(index))), true, true});
            }
        for (const LapackeArgument& a : plan.arguments) {
            if (call.is_copied(a))
                blocks.push_back({bytes(a, call.copy_elements(a)), false, false});
            // The work level of such a routine sums rows, which takes room that nobody has provided.
            const std::string sums_columns = "1Oo";
            if (turned && a.role == Role::workspace &&
                sums_columns.find(call.letter("norm")) != std::string::npos) {
                CCall transpose = call;
                for (const auto& [one, two] : plan.c->exchanged)
                    transpose.set(one, call.integer(two)).set(two, call.integer(one));
                blocks.push_back({bytes(a, transpose.room(a, 0)), true, false});
            }
        }
        return blocks;
    }
};

TEST_F(Memory, IsTakenInOneOrderAndInTheSizesThatTheRoutineNeeds)
{
    for_all({row_major, column_major}, [&](const Member& m, int layout) {
        for (const auto sizes : {CCall::Sizes::by_chance, CCall::Sizes::zero}) {
            CCall call(m, layout, chance, sizes);
            Routine routine(call);
            if (sizes == CCall::Sizes::zero)
                routine.answer = [](std::size_t) { return 0; };
            const std::vector<Block> blocks = expected(call, routine);
            core().clear();
            call.run();
            const std::vector<std::int64_t> taken = allocated();
            ASSERT_EQ(taken.size(), blocks.size());
            for (std::size_t i = 0; i < blocks.size(); ++i)
                EXPECT_EQ(taken[i], blocks[i].bytes) << "block " << i;
            EXPECT_EQ(core().live_blocks(), 0U);
        }
    });
}

TEST_F(Memory, ThatFailsIsReportedOnceAndNothingIsLost)
{
    for_all(
        {row_major, column_major},
        [&](const Member& m, int layout) {
            const CCall valid(m, layout, chance);
            CCall counted = valid;
            const std::vector<Block> blocks = expected(valid, Routine(counted));
            for (std::size_t i = 0; i < blocks.size(); ++i) {
                CCall call = valid;
                Routine routine(call);
                core().clear();
                core().fail_allocation(i + 1);
                const bool work = blocks[i].is_workspace;
                EXPECT_EQ(call.run(), m.has_value() ? 0 : work ? -1010 : -1011);
                core().fail_allocation(0);
                const std::string name =
                    lapacke_name(*m.plan->row, *m.precision, m.width, blocks[i].of_high_level);
                EXPECT_EQ(printed(), std::vector{std::string("Not enough memory to ") +
                                                 (work ? "allocate work array" : "transpose matrix") +
                                                 " in %s\n(" + name + ")"});
                EXPECT_EQ(routine.runs, 0);
                routine.expect_matrices();
                EXPECT_EQ(core().live_blocks(), 0U);
            }
        },
        1);
}

} // namespace

} // namespace qnm::tests
