// What reaches the core, and the names.
#include "copy_call.hpp"

#include <set>

namespace qnm::tests {
namespace {

using recording::Called;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAreArray;

class Passing : public TransTest {};

TEST_F(Passing, MembersAreThePublishedOnes)
{
    std::vector<std::string> found, published;
    for (const Entry& entry : members())
        found.push_back(entry.name());
    for (const char* letter : {"S", "D", "C", "Z"})
        for (const char* stem :
             {"IMATCOPY", "OMATCOPY", "OMATCOPY2", "OMATADD", "IMATCOPY_BATCH", "OMATCOPY_BATCH",
              "IMATCOPY_BATCH_STRIDED", "OMATCOPY_BATCH_STRIDED", "OMATADD_BATCH_STRIDED"})
            published.push_back(std::string("QNM_") + letter + stem);
    EXPECT_THAT(found, UnorderedElementsAreArray(published));
}

TEST_F(Passing, EachMemberHasTwoFunctionsAndACheck)
{
    std::set<void*> functions;
    for (const Entry& entry : members()) {
        const std::string lower = catalogue::to_lower(entry.name());
        const std::string c = "QNM_" + entry.name().substr(4, 1) + lower.substr(5);
        SCOPED_TRACE(c);
        EXPECT_EQ(layer()[lower], layer()[entry.name()]);
        EXPECT_EQ(layer()[lower + "_"], layer()[entry.name()]);
        EXPECT_EQ(layer().find(lower + "_64"), nullptr);
        EXPECT_EQ(entry.c_form(), c);
        functions.insert({layer()[lower], layer()[c], layer()["qnm_trans_errchk_" + lower]});
    }
    EXPECT_EQ(functions.size(), 3U * 36U);
}

TEST_F(Passing, TheCoreGetsValues)
{
    all([](CopyCall call) {
        const std::string lower = catalogue::to_lower(call.entry().name());
        call.run();
        ASSERT_THAT(core().calls(),
                    ElementsAre(Called("qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]),
                                Called("qnm_serv_verbose_mode"), Called("qnm_trans_" + lower)));
        call.expect_arguments(core().calls().back());
    });
}

TEST_F(Passing, AnySpellingWillDo)
{
    CopyCall call(member("QNM_DOMATCOPY"), Form::fortran);
    for (const char* spelling : {"qnm_domatcopy", "qnm_domatcopy_"}) {
        core().clear();
        call.run(spelling);
        call.expect_arguments(core().calls().back());
    }
}

TEST_F(Passing, SizesKeepAllTheirBits)
{
    CopyCall c(member("QNM_ZOMATCOPY"), Form::c);
    for (const char* name : {"rows", "cols", "lda", "ldb"})
        c.set(name, 0x1'0000'0000);
    c.run();
    c.expect_arguments(core().calls("qnm_trans_qnm_zomatcopy").at(0));
    CopyCall fortran(member("QNM_ZOMATCOPY"), Form::fortran); // the sign is extended
    fortran.set("lda", -1);
    fortran.run();
    EXPECT_EQ(core().calls("qnm_trans_qnm_zomatcopy").at(1).int64(6), -1);
}

TEST_F(Passing, ManyGroupsAreWidenedInOneBlock)
{
    for (const char* name : {"QNM_DOMATCOPY_BATCH", "QNM_CIMATCOPY_BATCH"})
        for (const std::size_t groups : {16U, 17U}) {
            core().reset();
            CopyCall call(member(name), Form::fortran, groups);
            std::vector<std::int64_t> ldb;
            core()
                .answers("qnm_trans_" + catalogue::to_lower(name))
                .calling([&](Call& noted, recording::Answer&) {
                    const auto* array = noted.pointer<const std::int64_t>(name[4] == 'D' ? 8 : 7);
                    ldb.assign(array, array + groups);
                });
            call.run();
            EXPECT_EQ(ldb.back(), call.get("ldb_array"));
            EXPECT_EQ(ldb.front() + static_cast<std::int64_t>(groups) - 1, ldb.back());
            std::vector<std::string> story;
            for (const Call& noted : core().calls())
                story.push_back(noted.name);
            if (groups == 16)
                EXPECT_THAT(story, testing::Not(testing::Contains("qnm_serv_allocate")));
            else
                EXPECT_THAT(core().calls("qnm_serv_allocate"),
                            ElementsAre(recording::Allocated(5 * 17 * 8, 128)));
            EXPECT_EQ(core().live_blocks(), 0U);
        }
}

TEST_F(Passing, WithoutMemoryForCopiesTheCallIsReported)
{
    CopyCall call(member("QNM_SOMATCOPY_BATCH"), Form::fortran, 17);
    core().mode(1);
    core().fail_allocation(1);
    call.run();
    EXPECT_THAT(core().calls("qnm_serv_xerbla"),
                ElementsAre(recording::Reported("qnm_somatcopy_batch", 1102)));
    EXPECT_TRUE(core().calls("qnm_trans_qnm_somatcopy_batch").empty());
    EXPECT_EQ(core().calls("qnm_serv_print_verbose_info").at(0).text, call.line({}));
}

} // namespace
} // namespace qnm::tests
