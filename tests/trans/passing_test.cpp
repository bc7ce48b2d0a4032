// What reaches the core.
#include "copy_call.hpp"

namespace qnm::tests {
namespace {

using recording::Called;
using ::testing::ElementsAre;

class Passing : public TransTest {};

TEST_F(Passing, TheCoreGetsValues)
{
    all([](const CopyCall& call) {
        call.run();
        ASSERT_THAT(core().calls(),
                    ElementsAre(Called("qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]),
                                Called("qnm_serv_verbose_mode"), Called(call.core_name())));
        call.expect_arguments(core().calls().back());
    });
}

TEST_F(Passing, SizesKeepAllTheirBits)
{
    CopyCall c("QNM_ZOMATCOPY", Form::c);
    for (const char* name : {"rows", "cols", "lda", "ldb"})
        c.set(name, 0x1'0000'0000);
    c.run();
    c.expect_arguments(core().calls(c.core_name()).at(0));
    CopyCall fortran("QNM_ZOMATCOPY", Form::fortran); // the sign is extended
    fortran.set("lda", -1).run();
    EXPECT_EQ(core().calls(c.core_name()).at(1).int64(6), -1);
}

TEST_F(Passing, ManyGroupsAreWidenedInOneBlock)
{
    for (const char* name : {"QNM_DOMATCOPY_BATCH", "QNM_CIMATCOPY_BATCH"})
        for (const std::size_t groups : {16U, 17U}) {
            core().reset();
            const CopyCall call(name, Form::fortran, groups);
            std::vector<std::int64_t> ldb;
            core().answers(call.core_name()).calling([&](Call& noted, Answer&) {
                const auto* array = noted.pointer<const std::int64_t>(name[4] == 'D' ? 8 : 7);
                ldb.assign(array, array + groups);
            });
            call.run();
            EXPECT_EQ(ldb.back(), call.get("ldb_array"));
            EXPECT_EQ(ldb.front() + static_cast<std::int64_t>(groups) - 1, ldb.back());
            const std::vector<Call> blocks = core().calls("qnm_serv_allocate");
            if (groups == 16)
                EXPECT_THAT(blocks, testing::IsEmpty());
            else
                EXPECT_THAT(blocks, ElementsAre(recording::Allocated(5 * 17 * 8, 128)));
            EXPECT_EQ(core().live_blocks(), 0U);
        }
}

TEST_F(Passing, WithoutMemoryForCopiesTheCallIsReported)
{
    const CopyCall call("QNM_SOMATCOPY_BATCH", Form::fortran, 17);
    core().mode(1);
    core().fail_allocation(1);
    call.run();
    EXPECT_THAT(core().calls("qnm_serv_xerbla"), ElementsAre(recording::Reported(call.lower(), 1102)));
    EXPECT_TRUE(core().calls(call.core_name()).empty());
    EXPECT_EQ(core().calls("qnm_serv_print_verbose_info").at(0).text, call.line());
}

} // namespace
} // namespace qnm::tests
