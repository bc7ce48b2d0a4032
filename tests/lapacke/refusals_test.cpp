// What an entry of the C interface refuses by itself, over all members: a bad layout, a leading dimension
// that is too short, a NaN. Each refusal gives back the argument's position in the C signature; all but that
// of a NaN are printed once. Nothing is allocated, written or computed.
#include "c_call.hpp"

namespace qnm::tests {

namespace {

class Refusals : public LapackeTest {
protected:
    static std::string wrong(int position, const std::string& name)
    {
        return "Wrong parameter " + std::to_string(position) + " in " + name + "\n";
    }
    /// The name of the level that looks at leading dimensions.
    static std::string work_name(const Member& m)
    {
        return lapacke_name(*m.plan->row, *m.precision, m.width, false);
    }
};

TEST_F(Refusals, OfALayoutComeFirst)
{
    for_all(
        {100, 103, 0, -101},
        [&](const Member& m, int layout) {
            if (!m.plan->has_layout())
                return;
            CCall call(m, layout, chance);
            EXPECT_EQ(call.untouchable().run(), -1);
            EXPECT_EQ(printed(), std::vector{wrong(1, m.name())});
            EXPECT_EQ(core().calls().size(), 1U) << "the report alone";
        },
        1);
}

TEST_F(Refusals, OfALeadingDimensionTellItsPosition)
{
    for_all({row_major}, [&](const Member& m, int layout) {
        const CCall valid(m, layout, chance);
        for (const LapackeArgument& a : m.plan->arguments) {
            if (a.role != Role::leading)
                continue;
            CCall call = valid;
            call.set(a.argument->name, call.value(*a.bound) - 1);
            Routine routine(call);
            core().clear();
            EXPECT_EQ(call.run(), -a.position) << a.argument->name;
            EXPECT_EQ(printed(), std::vector{wrong(a.position, work_name(m))});
            EXPECT_EQ(calls_of(m), 0U);
            routine.expect_matrices();
            EXPECT_EQ(core().live_blocks(), 0U);
        }
    });
}

TEST_F(Refusals, OfSeveralLeadingDimensionsTellTheFirst)
{
    for_all(
        {row_major},
        [&](const Member& m, int layout) {
            CCall call(m, layout, chance);
            const LapackeArgument* first = nullptr;
            for (const LapackeArgument& a : m.plan->arguments)
                if (a.role == Role::leading) {
                    call.set(a.argument->name, call.value(*a.bound) - 1);
                    first = first == nullptr ? &a : first;
                }
            if (first == nullptr)
                return;
            EXPECT_EQ(call.run(), -first->position);
            EXPECT_EQ(printed().size(), 1U);
        },
        1);
}

TEST_F(Refusals, OfANanTellTheArraySilently)
{
    for_all(
        {row_major, column_major},
        [&](const Member& m, int layout) {
            if (!m.high)
                return;
            const CCall valid(m, layout, chance);
            for (const LapackeArgument& a : m.plan->arguments)
                for (const FormUse& use : a.checks) {
                    const std::vector<std::int64_t> held = valid.checked(a, use);
                    if (!valid.holds(use.when) || held.empty())
                        continue;
                    if (use.form.name == "tf" && use.form.options.size() == 4)
                        continue; // told apart below: its diagonal has no place in this model
                    CCall call = valid;
                    call.put_nan(a, held[chance() % held.size()], chance() % 2 == 0);
                    core().clear();
                    EXPECT_EQ(call.run(), -a.position) << a.argument->name;
                    for (const Call& noted : core().calls())
                        EXPECT_EQ(noted.name, "nothing");
                }
        },
        4);
}

TEST_F(Refusals, OfANanCanBeSwitchedOff)
{
    check_for_nan(false);
    for_all(
        {row_major, column_major},
        [&](const Member& m, int layout) {
            CCall call(m, layout, chance);
            for (const LapackeArgument& a : m.plan->arguments)
                if (!a.checks.empty())
                    for (std::int64_t k = 0; k < 20; ++k)
                        call.put_nan(a, k, k % 2 == 0);
            Routine routine(call);
            call.run();
            EXPECT_EQ(routine.runs, 1);
        },
        1);
    check_for_nan(true);
}

/// Where a NaN is not looked for, it goes through.
TEST_F(Refusals, OfANanAreMadeOfWhatIsReadAlone)
{
    for_all(
        {row_major, column_major},
        [&](const Member& m, int layout) {
            CCall call(m, layout, chance);
            for (const LapackeArgument& a : m.plan->arguments)
                if (m.high && a.checks.empty() && a.argument->type != "char" &&
                    call.memory().count(a.argument->name) != 0 && !call.element(a).integer)
                    for (std::int64_t k = 0; k < 20; ++k)
                        call.put_nan(a, k, k % 2 == 0);
            Routine routine(call);
            call.run();
            EXPECT_EQ(routine.runs, 1);
        },
        1);
}

} // namespace

} // namespace qnm::tests
