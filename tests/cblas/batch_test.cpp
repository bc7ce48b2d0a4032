// Group batches: arrays of codes that become letters, blocks of groups, memory, reports.
#include "c_call.hpp"

#include <set>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool in_blocks(const Member& member)
{
    return member.is("gemm") || member.is("trsm");
}

/// Blocks that the family has for its letters.
std::size_t letter_blocks(const Member& member)
{
    return in_blocks(member) || !member.has_layout() ? 0U : member.is("syrk") ? 2U : 1U;
}

class Groups : public CTest {
protected:
    static void run(const CCall& call)
    {
        core().clear();
        call.run();
    }
    /// Expects that a call is refused under a code, and that nothing is left behind.
    static void expect_refusal(const CCall& call, int code)
    {
        EXPECT_THAT(reports(), ElementsAre(std::pair(call.member().name(), code)));
        EXPECT_THAT(core().calls(call.member().core()), IsEmpty());
        EXPECT_EQ(core().live_blocks(), 0U);
    }
    /// Makes one argument bad in a group, or, where it has no test of values, by leaving it out.
    static void spoil(CCall& call, const std::string& name, std::size_t group)
    {
        if (is_matrix(name))
            call.point(name, nullptr);
        else
            call.spoil(name, group);
    }
    static bool is_array(const std::string& name) { return name != "layout" && name != "group_count"; }
};

TEST_F(Groups, TheCoreGetsLettersAndTheCallersArraysInBlocksOf1024)
{
    EXPECT_EQ(group_members().size(), 2U * 30);
    each_layout(group_members(), [](const Member& member, int layout) {
        for (const std::size_t groups : {3U, 1024U, 1025U, 2049U}) {
            if (groups > 3 && !in_blocks(member))
                continue;
            CCall call(member, layout, static_cast<int>(groups));
            for (const std::string& name : call.names())
                for (std::size_t group = 0; option_of(name) != nullptr && group < groups; ++group)
                    call.set(name, option_of(name)->first + static_cast<int>((group + name.size()) % 2),
                             group);
            std::size_t begin = 0, calls = 0;
            core().answers(member.core()).calling([&](Call& noted, Answer&) {
                const std::size_t end = std::min(begin + 1024, groups);
                call.expect_groups(noted, begin, end);
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

TEST_F(Groups, EachBadElementAndEachMissingArrayIsReported)
{
    each_layout(group_members(), [](const Member& member, int layout) {
        for (const Step& step : CCall(member, layout, 5).steps())
            for (const std::size_t group : {0U, 4U}) {
                SCOPED_TRACE(step.argument + " of group " + std::to_string(group));
                CCall bad(member, layout, 5), missing(member, layout, 5);
                spoil(bad, step.argument, group);
                run(bad);
                expect_refusal(bad, step.code);
                // Arrays must be there even if there are no groups.
                for (const int count : {5, 0})
                    if (is_array(step.argument)) {
                        missing.set("group_count", count).point(step.argument, nullptr);
                        run(missing);
                        expect_refusal(missing, step.code);
                    }
            }
        CCall none(member, layout, 1);
        run(none.set("group_count", 0));
        EXPECT_THAT(reports(), IsEmpty());
        const bool calls = !member.has_layout() || member.is("gemv");
        EXPECT_EQ(core().calls(member.core()).size(), calls ? 1U : 0U);
    });
}

TEST_F(Groups, TestsStandInTheirOrder)
{
    each_layout(group_members(), [](const Member& member, int layout) {
        const std::vector<Step> all = CCall(member, layout, 5).steps();
        for (std::size_t first = 0; first < all.size(); ++first)
            for (std::size_t second = first + 1; second < all.size(); ++second) {
                SCOPED_TRACE(all[first].argument + " and " + all[second].argument);
                // A negative number of groups has no elements; then a missing array stands for a bad one.
                const bool negative =
                    all[first].argument == "group_count" || all[second].argument == "group_count";
                CCall call(member, layout, 5);
                for (const auto& [bad, group] : {std::pair{first, 4U}, {second, 0U}}) {
                    const std::string& name = all[bad].argument;
                    if (negative && is_array(name))
                        call.point(name, nullptr);
                    else
                        spoil(call, name, group);
                }
                run(call);
                expect_refusal(call, all[first].code);
            }
    });
}

TEST_F(Groups, WithoutMemoryNothingIsCalledAndNothingLost)
{
    each_layout(group_members(), [](const Member& member, int layout) {
        for (std::size_t failing = 1; failing <= letter_blocks(member); ++failing) {
            CCall call(member, layout, 3);
            if (member.is("gemv")) // asks for memory ahead of its other tests
                call.spoil("layout").point("m", nullptr);
            core().fail_allocation(failing);
            run(call);
            expect_refusal(call, 1000);
        }
    });
}

/// Groups 0 and 2 of three conjugate; group 1 has two problems, the others one, so problems 0 and 3 turn.
TEST_F(Groups, ConjugatedGroupsWorkOnCopies)
{
    for (const Member& member : group_members()) {
        if (!member.is("gemv") || !member.complex())
            continue;
        SCOPED_TRACE(member.name());
        CCall call(member, row_major, 3);
        call.set("trans", conjugate_transpose, 0).set("trans", 112, 1).set("trans", conjugate_transpose, 2);
        call.set("incx", -3).set("incy", -2).set("m", 2).set("n", 0, 0); // problem 0 has an empty y
        std::vector<double> memory(8 * 40, 1.25);
        const auto before = memory;
        for (std::size_t p = 0; p < 8; ++p)
            call.set(p < 4 ? "x" : "y", reinterpret_cast<std::intptr_t>(&memory[40 * p]), p % 4);
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
            expect_refusal(call, 1000);
            EXPECT_EQ(memory, before);
        }
    }
}

} // namespace
} // namespace qnm::tests
