// What an entry of the C interface refuses by itself, over all members: a bad layout, a leading dimension
// that is too short, a NaN. Each refusal gives back the argument's position in the C signature; all but that
// of a NaN are printed once. Nothing is allocated, written or computed.
#include "c_call.hpp"

namespace qnm::tests {

namespace {

using Refusals = LapackeTest;

std::vector<std::string> wrong(int position, const std::string& name)
{
    return {"Wrong parameter " + std::to_string(position) + " in " + name};
}

TEST_F(Refusals, OfALayoutComeFirst)
{
    for_all({100, 103, 0, -101}, 1, [&](const Member& m, int layout) {
        if (!m.plan->has_layout())
            return;
        CCall call(m, layout, chance);
        EXPECT_EQ(call.untouchable().run(), -1);
        EXPECT_EQ(printed(), wrong(1, m.name()));
        EXPECT_EQ(core().calls().size(), 1U) << "the report alone";
    });
}

TEST_F(Refusals, OfALeadingDimensionTellThePositionOfTheFirst)
{
    for_all({row_major}, 2, [&](const Member& m, int layout) {
        const CCall valid(m, layout, chance);
        CCall all_short = valid;
        const auto& arguments = m.plan->arguments;
        for (auto a = arguments.rbegin(); a != arguments.rend();
             ++a) { // so that the last to be short is first
            if (a->role != Role::leading)
                continue;
            CCall one_short = valid;
            const LapackeArgument& matrix = arguments[static_cast<std::size_t>(a->matrix)];
            if (valid.is_copied(matrix) && !matrix.argument->extents.empty()) {
                EXPECT_GE(valid.value(*a->bound), valid.published(matrix).second) << a->argument->name;
            }
            for (CCall* call : {&one_short, &all_short}) {
                call->set(a->argument->name, valid.value(*a->bound) - 1);
                call->fill();
                Routine routine(*call);
                core().clear();
                EXPECT_EQ(call->run(), -a->position) << a->argument->name;
                EXPECT_EQ(printed(), wrong(a->position, m.name(false)));
                EXPECT_EQ(routine.runs + routine.queries, 0);
                routine.expect_matrices();
                EXPECT_EQ(core().live_blocks(), 0U);
            }
        }
    });
}

TEST_F(Refusals, OfTheirOwnTellTheArgument)
{
    const std::string columns = "side=L storev=C m=3 n=9 k=4", rows = "side=R storev=R m=9 n=3 k=4";
    const std::tuple<const char*, std::string, int> facts[] = {
        {"LAPACKE_dlarfb", columns, 8},
        {"LAPACKE_dlarfb", rows, 8},
        {"LAPACKE_zlarfb_work", columns, 8},
        {"LAPACKE_dtpmqrt_work", "side=X m=3 n=4 k=2", 2},
    };
    for (const auto& [name, given, position] : facts) {
        CCall call(member(name), row_major, chance);
        call.give(given);
        call.lay_out();
        Routine routine(call);
        core().clear();
        EXPECT_EQ(call.run(), -position) << name;
        EXPECT_EQ(printed(), wrong(position, name));
        EXPECT_EQ(routine.runs, 0);
    }
}

TEST_F(Refusals, OfANanTellTheArraySilently)
{
    for_all(both, 4, [&](const Member& m, int layout) {
        if (!m.high)
            return;
        const CCall valid(m, layout, chance);
        for (const LapackeArgument& a : m.plan->arguments)
            for (const FormUse& use : a.checks) {
                if (use.form.name == "tf" && use.form.options.size() == 4)
                    continue; // its diagonal has no place in this model
                const std::vector<std::int64_t> held = valid.checked(a, use);
                if (!valid.holds_if(use.when) || held.empty())
                    continue;
                CCall call = valid;
                call.put_nans(a, held[chance() % held.size()], 1, chance() % 2 == 0);
                core().clear();
                EXPECT_EQ(call.run(), -a.position) << a.argument->name;
                EXPECT_EQ(story(), std::vector<std::string>{});
            }
    });
}

TEST_F(Refusals, OfANanAreMadeOfWhatIsReadAloneAndCanBeSwitchedOff)
{
    for (const bool on : {true, false}) {
        check_for_nan(on);
        for_all(both, 1, [&](const Member& m, int layout) {
            CCall call(m, layout, chance);
            for (const LapackeArgument* a : call.reals())
                if (!on || (m.high && a->checks.empty()))
                    call.put_nans(*a, 0, 20, true);
                else if (a->form.is_vector() && a->argument->extents.size() == 1) // and behind its end
                    call.put_nans(*a, std::max<std::int64_t>(call.value(*a->argument->extents[0]), 0), 3,
                                  true);
            Routine routine(call);
            call.run();
            EXPECT_EQ(routine.runs, 1);
        });
    }
    check_for_nan(true);
}

} // namespace

} // namespace qnm::tests
