// What the routine gets and what comes back, over all members.
#include "c_call.hpp"

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

TEST_F(Passing, CallsHandOnArgumentsOrTheirTransposedCopies)
{
    for_all(both, 4, [&](const Member& m, int layout) {
        CCall call(m, layout, chance);
        Routine routine(call);
        routine.info = m.high == call.by_rows() ? -5 : 7;
        EXPECT_EQ(call.run(), given_back(m, routine.info));
        EXPECT_EQ(routine.runs, 1);
        EXPECT_TRUE(printed().empty());
        routine.expect_matrices();
        if (m.high)
            routine.expect_additions();
    });
}

TEST_F(Passing, OfAQueryMakesNoCopies)
{
    for_all(both, 1, [&](const Member& m, int layout) {
        for (const LapackeArgument& a : m.plan->arguments) {
            if (m.high || a.role != Role::size)
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
    });
}

} // namespace

} // namespace qnm::tests
