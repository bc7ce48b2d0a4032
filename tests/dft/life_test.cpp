// Commit, copy and release of a descriptor; classes and texts of statuses.
#include "descriptor.hpp"

#include <cstring>

namespace qnm::tests {
namespace {

class Life : public recording::RecordedTest {};

TEST_F(Life, CommitsWhatAgrees)
{
    for (const std::uint32_t storage : {39U, 40U, 42U})
        for (const std::uint32_t format : {54U, 57U}) {
            Descriptor d;
            d.conjugate_even_storage = storage;
            d.packed_format = format;
            d.status = 1L << 32 | 9;
            const bool agree = storage == 42 || (storage == 39) == (format == 57);
            const dft_handle handle = &d;
            EXPECT_EQ(call("DftiCommitDescriptor", {&d}).int64(), agree ? d.status : 3);
            EXPECT_EQ(call("qnm_dft_dfti_commit_descriptor_external", {&handle}).int32(), agree ? 9 : 3);
            EXPECT_EQ(d.story, agree ? "commit commit " : "");
        }
    Descriptor d;
    dft_ops lacking = *d.ops;
    lacking.commit = nullptr;
    d.ops = &lacking;
    d.conjugate_even_storage = 40; // without its format, which is looked at later
    d.packed_format = 57;
    EXPECT_EQ(call("DftiCommitDescriptor", {&d}).int64(), 7);
    d.magic = 1;
    const dft_handle broken = &d, none = nullptr;
    EXPECT_EQ(call("DftiCommitDescriptor", {&d}).int64(), 5);
    EXPECT_EQ(call("DftiCommitDescriptor", {none}).int64(), 5);
    for (const dft_handle* handle : {&broken, &none, static_cast<const dft_handle*>(nullptr)})
        EXPECT_EQ(call("dfti_commit_descriptor_external__", {handle}).int32(), 5);
}

TEST_F(Life, CopiesAndCommitsTheCopy)
{
    const struct {
        int commit_status;
        std::int64_t copying, committing, expected;
        const char *story, *story_of_copy;
    } cases[]{{30, 0, 0, 0, "copy ", "commit "},
              {31, 0, 8, 0, "copy ", ""},
              {30, 7, 0, 7, "copy ", ""},
              {30, 0, 8, 8, "copy ", "commit free "}};
    for (const auto& [commit_status, copying, committing, expected, story, story_of_copy] : cases)
        for (const std::string name : {"DftiCopyDescriptor", "qnm_dft_dfti_copy_descriptor_external"})
            for (const bool can_be_freed : {true, false}) {
                Descriptor d, copy, before;
                d.commit_status = commit_status;
                d.status = copying;
                d.made = &copy;
                copy.status = committing;
                if (!can_be_freed)
                    copy.free = nullptr;
                dft_handle handle = &d, result = &before;
                const Word source = name[0] == 'D' ? Word(&d) : Word(&handle);
                EXPECT_EQ(call(name, {source, &result}).int32(), expected);
                EXPECT_EQ(result, expected == 0 ? &copy : static_cast<dft_handle>(&before));
                EXPECT_EQ(d.story, story);
                EXPECT_EQ(copy.story,
                          can_be_freed || committing == 0 || expected == 0 ? story_of_copy : "commit ");
            }
    Descriptor good, bad;
    bad.magic = 0;
    dft_handle none = nullptr, handle = &good, broken = &bad;
    EXPECT_EQ(call("DftiCopyDescriptor", {none, nullptr}).int64(), 5);
    EXPECT_EQ(call("DftiCopyDescriptor", {&bad, nullptr}).int64(), 5);
    EXPECT_EQ(call("DftiCopyDescriptor", {&good, nullptr}).int64(), 3);
    EXPECT_EQ(call("dfti_copy_descriptor_external", {nullptr, &handle}).int32(), 3);
    EXPECT_EQ(call("dfti_copy_descriptor_external", {&none, &handle}).int32(), 5);
    EXPECT_EQ(call("dfti_copy_descriptor_external", {&broken, nullptr}).int32(), 5);
    EXPECT_EQ(call("dfti_copy_descriptor_external", {&handle, nullptr}).int32(), 3);
    EXPECT_EQ(good.story, "");
}

TEST_F(Life, EndsByAnOperationIfThereIsSomethingToFree)
{
    for (const std::string name :
         {"DftiFreeDescriptor", "qnm_dft_dfti_free_descriptor_external", "DFTI_FREE_DESCRIPTOR_EXTERNAL_"}) {
        Descriptor d, kept, bad;
        d.status = 9; // is not looked at
        kept.free = nullptr;
        bad.magic = 0;
        dft_handle handle = &d, other = &kept, broken = &bad;
        EXPECT_EQ(call(name, {&handle}).int32(), 0);
        EXPECT_EQ(call(name, {&other}).int32(), 0);
        EXPECT_EQ(d.story + kept.story, "release ");
        EXPECT_TRUE(handle == nullptr && other == nullptr);
        EXPECT_EQ(call(name, {&handle}).int32(), 5);
        EXPECT_EQ(call(name, {&broken}).int32(), 5);
        EXPECT_EQ(broken, &bad);
        EXPECT_EQ(call(name, {nullptr}).int32(), 3);
    }
}

TEST_F(Life, StatusesHaveTextsAndClasses)
{
    const int numbers[]{774, 775, 776, 777, 784, 779, 780, 781, 782, 783, 784, 784, 784};
    std::int64_t statuses[]{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, -1, 1L << 32};
    core().answers("qnm_serv_get_msg").with("text");
    char buffer[7];
    for (std::size_t i = 0; i < std::size(numbers); ++i) {
        core().clear();
        EXPECT_STREQ(reinterpret_cast<const char*>(call("DftiErrorMessage", {statuses[i]}).rax), "text");
        EXPECT_EQ(call("qnm_dft_dfti_error_message_external", {buffer, at(6), &statuses[i]}).rax,
                  Word(buffer).bits());
        for (const Call& asked : core().calls("qnm_serv_get_msg"))
            EXPECT_TRUE(asked.int32(0) == numbers[i] && asked.int32(1) == 0) << statuses[i];
        EXPECT_EQ(core().calls("qnm_serv_get_msg").size(), 2U);
        EXPECT_EQ(call("DftiErrorClass", {statuses[i], 0L}).int64(), i == 0 ? 1 : 0);
        EXPECT_EQ(call("qnm_dft_dfti_error_class_external", {&statuses[i], at(0)}).int32(), i == 0 ? 1 : 0);
        EXPECT_EQ(call("dfti_error_class_external_", {at32(static_cast<int>(statuses[i])), at32(-1)}).int32(),
                  statuses[i] == -1 ? 1 : 0);
    }
    for (const auto& [length, expected] :
         {std::pair{6, "text  #"}, {2, "te#####"}, {0, "#######"}, {-1, "#######"}}) {
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(call("dfti_error_message_external_", {buffer, length, at32(3)}).rax, Word(buffer).bits());
        EXPECT_EQ(std::string(buffer, sizeof buffer), expected);
    }
    core().answers("qnm_serv_get_msg").with(static_cast<const char*>(nullptr));
    call("qnm_dft_dfti_error_message_external", {buffer, at(5), at(0)});
    EXPECT_EQ(std::string(buffer, sizeof buffer), "     ##");
    EXPECT_EQ(call("DftiErrorMessage", {0L}).rax, 0U);
    EXPECT_EQ(*static_cast<const int*>(layer()["qnm_dfti_is_ilp64"]), 0);
}

} // namespace
} // namespace qnm::tests
