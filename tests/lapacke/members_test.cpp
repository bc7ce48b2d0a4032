// What holds of all members: what the routine gets and what comes back; what an entry refuses by itself; what
// it takes from the core's memory, in which order, and what happens when there is none.
#include "c_call.hpp"

namespace qnm::tests {

namespace {

using Passing = LapackeTest;
using Refusals = LapackeTest;
using Memory = LapackeTest;

/// NaNs where nobody looks for them: in what is not read, behind the ends of vectors, or anywhere.
void put_harmless_nans(CCall& call, bool checked)
{
    for (const LapackeArgument* a : call.reals()) {
        const bool read = checked && !(call.member().high && a->checks.empty());
        const long first = read ? call.published(*a).second : 0;
        for (long k = first; k < first + 20; ++k)
            if (!read || (a->form.is_vector() && a->argument->extents.size() == 1))
                call.memory().at(a->argument->name).spoil(k, static_cast<unsigned long>(k));
    }
}

TEST_F(Passing, CallsHandOnArgumentsOrTheirTransposedCopies)
{
    for_all(both, 8, [&](const Member& m, int layout) {
        const bool empty = chance() % 3 == 0, checked = chance() % 4 != 0;
        CCall call(m, layout, chance, empty);
        call.info = m.high == call.by_rows() ? -1 : 7;
        if (empty) // which some routines then refuse
            call.answer = [](std::size_t) { return 0; };
        check_for_nan(checked);
        put_harmless_nans(call, checked);
        bool asks = false;
        for (const LapackeArgument& a : m.plan->arguments)
            if (!m.high && a.role == Role::size && chance() % 4 == 0) {
                call.set(a.argument->name, -1);
                asks = true;
            }
        std::vector<long> bytes;
        for (const CCall::Block& block : call.blocks())
            bytes.push_back(block.bytes);
        const double result = call.run();
        EXPECT_EQ(allocated(), asks ? std::vector<long>{} : bytes);
        for (const Call& report : core().calls("qnm_serv_xerbla")) // of a copy with nothing in it
            EXPECT_THAT(report.text, ::testing::Not(::testing::HasSubstr("matcopy")));
        if (empty)
            return;
        EXPECT_EQ(result, asks ? 0 : call.given_back());
        EXPECT_EQ(call.runs, asks ? 0 : 1);
        EXPECT_TRUE(call.queries == 1 || !asks);
        EXPECT_TRUE(printed().empty());
        call.expect_results();
    });
}

TEST_F(Refusals, OfALayoutComeFirst)
{
    for_all({100, 103, 0, -101}, 1, [&](const Member& m, int layout) {
        if (!m.plan->has_layout())
            return;
        CCall call(m, layout, chance);
        for (const LapackeArgument& a : m.plan->arguments)
            if (a.address)
                call.memory().erase(a.argument->name);
        call.expect_refused({1, m.name});
        EXPECT_EQ(core().calls().size(), 1U) << "the report alone";
    });
}

TEST_F(Refusals, OfALeadingDimensionTellThePositionOfTheFirst)
{
    check_for_nan(false); // which would look between shorter lines first
    for_all({row_major}, 2, [&](const Member& m, int layout) {
        const CCall valid(m, layout, chance);
        CCall all_short = valid;
        const auto& arguments = m.plan->arguments;
        for (auto a = arguments.rbegin(); a != arguments.rend(); ++a) { // the last to be short is first
            if (a->role != Role::leading)
                continue;
            CCall one_short = valid;
            const LapackeArgument& matrix = arguments[static_cast<std::size_t>(a->matrix)];
            if (valid.is_copied(matrix) && !matrix.argument->extents.empty()) {
                EXPECT_GE(valid.value(*a->bound), valid.published(matrix).second) << a->argument->name;
            }
            for (CCall* call : {&one_short, &all_short}) {
                call->set(a->argument->name, valid.value(*a->bound) - 1);
                call->expect_refused({a->position, m.work_name});
            }
        }
    });
}

TEST_F(Refusals, OfTheirOwnTellTheArgument)
{
    const std::string columns = "side=L storev=C m=3 n=9 k=4", rows = "side=R storev=R m=9 n=3 k=4";
    for (const auto& [name, given, position] : {std::tuple{"LAPACKE_dlarfb", columns, 8},
                                                {"LAPACKE_dlarfb", rows, 8},
                                                {"LAPACKE_zlarfb_work", columns, 8},
                                                {"LAPACKE_dtpmqrt_work", "side=X m=3 n=4 k=2", 2}}) {
        CCall call(members().at(name), row_major, chance);
        call.give(given);
        call.lay_out().expect_refused({position, name});
    }
}

TEST_F(Refusals, OfANanTellTheArraySilently)
{
    for_all(both, 4, [&](const Member& m, int layout) {
        if (!m.high)
            return;
        const CCall valid(m, layout, chance);
        for (const LapackeArgument& a : m.plan->arguments)
            for (const StorageUse& use : a.checks) {
                const std::vector<long> held = valid.checked(a, use);
                if (!valid.holds_if(use.when) || held.empty())
                    continue;
                CCall call = valid;
                call.memory().at(a.argument->name).spoil(held[chance() % held.size()], chance());
                EXPECT_EQ(call.run(), -a.position) << a.argument->name;
                EXPECT_EQ(story(), std::vector<std::string>{});
            }
    });
}

TEST_F(Memory, ThatFailsIsReportedOnceAndNothingIsLost)
{
    for_all(both, 1, [&](const Member& m, int layout) {
        const CCall valid(m, layout, chance);
        for (std::size_t n = 1; n <= valid.blocks().size(); ++n)
            CCall(valid).expect_failing(n);
    });
}

} // namespace

} // namespace qnm::tests
