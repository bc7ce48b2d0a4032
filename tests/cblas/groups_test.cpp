// Group batches: arrays of codes that become letters, blocks of groups, arrays that are missing, memory.
#include "calls.hpp"

#include <set>

namespace qnm::tests {
namespace {

bool in_blocks(const Member& member)
{
    return member.is("gemm") || member.is("trsm");
}

/// Blocks that the family has for its letters.
std::size_t letter_blocks(const Member& member)
{
    return in_blocks(member) || !member.has_layout() ? 0U : member.is("syrk") ? 2U : 1U;
}

/// What the core gets of some groups: letters are read while the call is under way.
void expect_groups(const FunctionCall& call, const Call& noted, int begin, int end)
{
    std::int64_t problems = 0; // ahead of these groups
    for (int group = 0; group < begin; ++group)
        problems += call.integer("group_size", group);
    std::size_t word = 0;
    for (const catalogue::Place& place : call.callee().places) {
        const auto i = static_cast<std::size_t>(place.parameter);
        const std::string name = names(call)[i];
        SCOPED_TRACE(name);
        const char* passed = noted.pointer<const char>(word++);
        if (place.fill == Fill::letter) {
            for (int group = begin; group < end; ++group)
                ASSERT_EQ(passed[group - begin], call.letter(i, group)) << group;
        } else if (name == "group_count") {
            EXPECT_EQ(call.narrow() ? noted.behind<int>(word - 1).value_or(0) : noted.behind(word - 1),
                      end - begin);
        } else {
            const catalogue::Precision& letter = call.signature().letter;
            const std::int64_t real = letter.real == 's' ? 4 : 8, integer = call.narrow() ? 4 : 8;
            EXPECT_EQ(passed,
                      call.address(name) + (is_matrix(name)   ? 8 * problems
                                            : is_number(name) ? begin * real * (letter.is_complex() ? 2 : 1)
                                                              : begin * integer));
        }
    }
    EXPECT_EQ(noted.int32(word), call.narrow() ? 1 : 0) << "the width flag";
}

class Groups : public CoreTest {
protected:
    static void run(const FunctionCall& call)
    {
        core().clear();
        call.run();
    }
    /// Expects that a call is refused under a code, and that nothing is left behind.
    static void expect_refusal(const Member& member, int code)
    {
        EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), code)));
        EXPECT_THAT(core().calls(member.core()), IsEmpty());
        EXPECT_EQ(core().live_blocks(), 0U);
    }
};

TEST_F(Groups, TheCoreGetsLettersAndTheCallersArraysInBlocksOf1024)
{
    each_layout(group_members(), [](const Member& member, int layout) {
        for (const int groups : {3, 1024, 1025, 2049}) {
            if (groups > 3 && !in_blocks(member))
                continue;
            FunctionCall call = filled(member, layout, groups);
            for (const std::string& name : names(call))
                for (int group = 0; option_of(name) != nullptr && group < groups; ++group)
                    call.set(name, option_of(name)->first + (group + static_cast<int>(name.size())) % 2,
                             group);
            int begin = 0, calls = 0;
            core().answers(member.core()).calling([&](Call& noted, Answer&) {
                const int end = std::min(begin + 1024, groups);
                expect_groups(call, noted, begin, end);
                begin = end;
                ++calls;
            });
            run(call);
            EXPECT_EQ(calls, (groups + 1023) / 1024);
            const auto blocks = core().calls("qnm_serv_malloc");
            EXPECT_EQ(blocks.size(), letter_blocks(member));
            for (const Call& block : blocks) {
                EXPECT_EQ(block.int64(0), 3);
                EXPECT_EQ(block.int32(1), 64);
            }
            EXPECT_EQ(core().live_blocks(), 0U);
            EXPECT_THAT(reports(), IsEmpty());
        }
    });
}

TEST_F(Groups, EachMissingArrayIsReportedEvenIfThereAreNoGroups)
{
    each_layout(group_members(), [](const Member& member, int layout) {
        for (const Step& step : steps(member, layout))
            for (const int count : {3, 0})
                if (step.argument != "layout" && step.argument != "group_count") {
                    SCOPED_TRACE(step.argument);
                    FunctionCall missing(member.name(), layout);
                    run(missing.set("group_count", count).point(step.argument, nullptr));
                    expect_refusal(member, step.code);
                }
        FunctionCall none(member.name(), layout);
        run(none.set("group_count", 0));
        EXPECT_THAT(reports(), IsEmpty());
        const bool calls = !member.has_layout() || member.is("gemv");
        EXPECT_EQ(core().calls(member.core()).size(), calls ? 1U : 0U);
    });
}

TEST_F(Groups, ProductsAskForMemoryAheadOfTheirOtherTests)
{
    for (const char* name : {"cblas_sgemv_batch", "cblas_zgemv_batch_64"}) {
        FunctionCall call(name);
        call.spoil("layout").point("m", nullptr);
        core().fail_allocation(1);
        run(call);
        EXPECT_THAT(reports(), ElementsAre(std::pair(std::string(name), 1000)));
    }
}

/// Groups 0 and 2 of three conjugate; group 1 has two problems, the others one, so problems 0 and 3 turn.
TEST_F(Groups, ConjugatedGroupsWorkOnCopies)
{
    for (const Member& member : group_members()) {
        if (!member.is("gemv") || !member.complex())
            continue;
        SCOPED_TRACE(member.name());
        FunctionCall call = filled(member, row_major, 3);
        call.set("trans", conjugate_transpose, 0).set("trans", 112, 1).set("trans", conjugate_transpose, 2);
        call.set("incx", -3).set("incy", -2).set("m", 2).set("n", 4).set("n", 0, 0); // problem 0 has an empty
                                                                                     // y
        call.set("m", 3, 0).set("incx", 2, 0);
        call.set("lda", 9);
        std::vector<double> memory(8 * 40, 1.25);
        const auto before = memory;
        for (std::size_t p = 0; p < 8; ++p)
            call.put(p < 4 ? "x" : "y",
                     static_cast<long double>(reinterpret_cast<std::intptr_t>(&memory[40 * p])), p % 4);
        run(call);
        EXPECT_EQ(core().calls(member.core()).size(), 1U);
        EXPECT_EQ(memory, before);
        // Letters, alpha, beta, two arrays of addresses, x and y of the groups that conjugate.
        std::multiset<std::int64_t> bytes;
        for (const Call& block : core().calls("qnm_serv_malloc")) {
            EXPECT_EQ(block.int32(1), 64);
            bytes.insert(block.int64(0));
        }
        const std::int64_t element = member.single() ? 8 : 16;
        EXPECT_EQ(bytes, (std::multiset<std::int64_t>{3, 3 * element, 3 * element, 32, 32, 5 * element,
                                                      4 * element, 7 * element}));
        for (std::size_t failing = 1; failing <= bytes.size(); ++failing) {
            core().fail_allocation(failing);
            run(call);
            expect_refusal(member, 1000);
            EXPECT_EQ(memory, before);
        }
    }
}

} // namespace
} // namespace qnm::tests
