// What the routine gets and what comes back, over all members.
#include "c_call.hpp"

#include <set>

namespace qnm::tests {

namespace {

using Passing = LapackeTest;

/// What a call gives back when the routine leaves this in INFO.
double given_back(const Member& m, std::int64_t info)
{
    if (m.has_value())
        return Routine::result;
    if (!m.plan->has_info)
        return 0;
    return static_cast<double>(m.plan->has_layout() && info < 0 ? info - 1 : info);
}

TEST_F(Passing, ByColumnsHandsOnTheCallersOwnArguments)
{
    for_all({column_major}, [&](const Member& m, int layout) {
        CCall call(m, layout, chance);
        Routine routine(call);
        routine.info = m.high ? 7 : -3;
        EXPECT_EQ(call.run(), given_back(m, routine.info));
        EXPECT_EQ(routine.runs, 1);
        EXPECT_TRUE(printed().empty());
        routine.expect_matrices();
        if (m.high)
            routine.expect_additions();
    });
}

TEST_F(Passing, ByRowsGoesThroughTransposedCopies)
{
    for_all(
        {row_major},
        [&](const Member& m, int layout) {
            CCall call(m, layout, chance);
            Routine routine(call);
            routine.info = m.high ? -5 : 2;
            EXPECT_EQ(call.run(), given_back(m, routine.info));
            EXPECT_EQ(routine.runs, 1);
            EXPECT_TRUE(printed().empty());
            routine.expect_matrices();
            if (m.high)
                routine.expect_additions();
        },
        6);
}

TEST_F(Passing, OfAQueryMakesNoCopies)
{
    for_all(
        {row_major, column_major},
        [&](const Member& m, int layout) {
            if (m.high)
                return;
            for (const LapackeArgument& a : m.plan->arguments) {
                if (a.role != Role::size)
                    continue;
                CCall call(m, layout, chance);
                call.set(a.argument->name, -1);
                Routine routine(call);
                core().clear();
                EXPECT_EQ(call.run(), 0);
                EXPECT_EQ(routine.queries, 1) << a.argument->name;
                EXPECT_EQ(routine.runs, 0);
                EXPECT_TRUE(allocated().empty());
                routine.expect_matrices();
            }
        },
        1);
}

} // namespace

} // namespace qnm::tests
