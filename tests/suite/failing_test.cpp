// Memory that cannot be had: each allocation of each function fails once.
#include "suite/line.hpp"
#include "suite/routine.hpp"

namespace qnm::tests {
namespace {

class Failing : public CoreTest {
protected:
    static std::size_t allocations()
    {
        return core().calls("qnm_serv_allocate").size() + core().calls("qnm_serv_malloc").size();
    }
};

TEST_F(Failing, EachAllocationOnce)
{
    std::size_t members = 0, failures = 0;
    for (const int mode : {0, 1})
        for (const Signature* s : entries()) {
            QNM_TRACE_SIGNATURE(*s);
            const FortranCall sample(*s, 40);
            const std::size_t blocks = sample.blocks();
            members += blocks > 0 ? 1 : 0;
            for (std::size_t n = 1; n <= blocks; ++n, ++failures) {
                SCOPED_TRACE(n);
                core().mode(mode);
                FortranCall call(*s, 40);
                const FortranCall before = call;
                core().clear();
                core().fail_allocation(n);
                const support::Returned returned = call.run();
                // No line but that of the entry that is asked for the size of leaves.
                for (const Call& line : core().calls("qnm_serv_print_verbose_info"))
                    EXPECT_TRUE(line.text.starts_with("ILAENV(9,")) << line.text;
                EXPECT_EQ(core().calls("qnm_serv_allocate").size(), n);
                EXPECT_TRUE(core().calls(call.callee().name).empty());
                EXPECT_THAT(core().calls("qnm_serv_xerbla"), ::testing::ElementsAre(recording::Reported(
                                                                 catalogue::to_upper(bare_name(*s)), 1102)));
                EXPECT_EQ(core().calls().back().code64(), 1102);
                // The way is registered for this report, and a long name measured.
                EXPECT_EQ(story().end()[bare_name(*s).size() > 6 ? -3 : -2], "qnm_serv_set_xerbla_interface");
                EXPECT_EQ(core().live_blocks(), 0U);
                for (std::size_t i = 0; i < s->parameters.size(); ++i)
                    if (call.is_scalar(i)) {
                        EXPECT_EQ(call.integer(i), s->parameters[i].name == "info" && call.comes_back(i)
                                                       ? -1023
                                                       : before.integer(i))
                            << s->parameters[i].name;
                    }
                EXPECT_EQ(call.arrays(), before.arrays());
                if (s->result != "void") {
                    EXPECT_EQ(returned.float64(), 0.0);
                }
            }
        }
    EXPECT_GE(members, 2 * (780U + 24U)) << "few arrays are short at size 40";
    EXPECT_GE(failures, 2 * (1100U + 24U));
}

// Of the other families it is seen, not told, what they take: copies of vectors that are conjugated, letters
// of groups, sizes of more groups than there is room for on the stack.
TEST_F(Failing, NothingIsCalledNorWrittenNorKept)
{
    std::size_t failures = 0;
    each_call(
        others(),
        [&](FunctionCall call) {
            if (call.may_conjugate() && call.has("trans"))
                call.set("trans", 113).make_valid();
            const FunctionCall before = call;
            core().fail_allocation(0);
            core().clear();
            call.run();
            const std::size_t taken = allocations();
            for (std::size_t n = 1; n <= taken; ++n, ++failures) {
                SCOPED_TRACE(n);
                core().clear();
                core().fail_allocation(n);
                call.run();
                EXPECT_EQ(allocations(), n);
                const Signature& s = call.signature();
                EXPECT_EQ(reports(), (Reports{{s.report_name, s.family == "trans" ? 1102 : 1000}}));
                EXPECT_TRUE(core().calls(called(call)).empty());
                EXPECT_EQ(core().live_blocks(), 0U);
                EXPECT_TRUE(call == before);
            }
        },
        17);
    EXPECT_GT(failures, 100U);
}

} // namespace
} // namespace qnm::tests
