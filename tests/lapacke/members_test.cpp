// What holds of all members: what the routine gets and what comes back; what an entry refuses by itself; what
// it takes from the core's memory, in which order, and what happens when there is none.
#include "c_call.hpp"

namespace qnm::tests {

namespace {

using Passing = LapackeTest;
using Refusals = LapackeTest;
using Memory = LapackeTest;

struct Block {
    long bytes;
    bool is_workspace;
    bool of_high_level;
};

/// What a call takes: workspaces of the high level, what is known in front of what is asked for, each in the
/// order of names; then copies.
std::vector<Block> expected_blocks(const CCall& call)
{
    std::map<std::pair<bool, std::string>, Block> workspaces;
    std::vector<Block> blocks;
    for (const LapackeArgument& a : call.plan().arguments) {
        const long size = static_cast<long>(call.element(a).size());
        // The work level of a turned routine sums rows, which takes room that nobody has provided.
        const bool sums = a.role == Role::workspace && call.by_rows(LapackeShape::turned) &&
                          std::string("1Oo").find(call.letter("norm")) != std::string::npos;
        if (a.role == Role::workspace && call.member().high && call.holds_if(a.facts.room_when))
            workspaces[{!a.room, a.argument->name}] = {call.room(a) * size, true, true};
        if (call.is_copied(a))
            blocks.push_back({call.copy_elements(a) * size, false, false});
        if (sums)
            blocks.push_back({std::max<long>(call.value(*a.facts.turned), 1) * size, true, false});
    }
    for (auto taken = workspaces.rbegin(); taken != workspaces.rend(); ++taken)
        blocks.insert(blocks.begin(), taken->second);
    return blocks;
}

/// What a call gives back when the routine leaves this in INFO.
double given_back(const Member& m, long info)
{
    if (m.has_value())
        return CCall::result;
    const bool shifted = m.plan->has_layout() && info < 0;
    return static_cast<double>(!m.plan->has_info ? 0 : shifted ? info - 1 : info);
}

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
        for (const Block& block : expected_blocks(call))
            bytes.push_back(block.bytes);
        const double result = call.run();
        EXPECT_EQ(allocated(), asks ? std::vector<long>{} : bytes);
        for (const Call& report : core().calls("qnm_serv_xerbla")) // of a copy with nothing in it
            EXPECT_THAT(report.text, ::testing::Not(::testing::HasSubstr("matcopy")));
        if (empty)
            return;
        EXPECT_EQ(result, asks ? 0 : given_back(m, call.info));
        EXPECT_EQ(call.runs, asks ? 0 : 1);
        EXPECT_TRUE(call.queries == 1 || !asks);
        EXPECT_TRUE(printed().empty());
        call.expect_results();
    });
}

/// Expects a refusal: the argument's position in the C signature, which is printed once. Nothing is
/// allocated, written or computed.
void expect_refused(CCall& call, int position, const std::string& name)
{
    EXPECT_EQ(call.run(), -position);
    EXPECT_EQ(printed(), std::vector{"Wrong parameter " + std::to_string(position) + " in " + name + "\n"});
    EXPECT_EQ(call.runs + call.queries, 0);
    call.expect_results();
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
        expect_refused(call, 1, m.name);
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
                expect_refused(*call, a->position, m.work_name);
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
        expect_refused(call.lay_out(), position, name);
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
        std::size_t n = 0;
        for (const Block& block : expected_blocks(valid)) {
            CCall call = valid;
            core().fail_allocation(++n);
            EXPECT_EQ(call.run(), m.has_value() ? 0 : block.is_workspace ? -1010 : -1011);
            core().fail_allocation(0);
            EXPECT_EQ(printed(),
                      std::vector{std::string("Not enough memory to ") +
                                  (block.is_workspace ? "allocate work array" : "transpose matrix") + " in " +
                                  (block.of_high_level ? m.name : m.work_name) + "\n"});
            EXPECT_EQ(call.runs, 0);
            call.expect_results();
        }
    });
}

} // namespace

} // namespace qnm::tests
