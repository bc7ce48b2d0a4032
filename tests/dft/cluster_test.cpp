// Distributed transforms, with doubles of what a distributed layer takes over.
#include "descriptor.hpp"

namespace {

qnm::tests::Descriptor layer_of_test; // its status is that of each double
qnm::tests::Integers found;           // what is asked for, in turn; all at once of lengths

} // namespace

// Words as their registers have them, variadic or not: what is not passed is seen too.
#define DOUBLE(NAME, ...)                                                                                    \
    extern "C" __attribute__((visibility("default"))) std::int64_t qnm_cdft_Dfti##NAME##DM(__VA_ARGS__)
#define DOUBLE_NOTING(NAME, ...)                                                                             \
    DOUBLE(NAME, std::int64_t handle, [[maybe_unused]] std::int64_t a, [[maybe_unused]] std::int64_t b)      \
    {                                                                                                        \
        return layer_of_test.noted(#NAME, {__VA_ARGS__});                                                    \
    }
DOUBLE_NOTING(CommitDescriptor, handle)
DOUBLE_NOTING(FreeDescriptor, handle)
DOUBLE_NOTING(ComputeForward, handle, a, b)
DOUBLE_NOTING(ComputeBackward, handle, a, b)
DOUBLE(CreateDescriptor, std::int64_t comm, std::int64_t made, int precision, int domain, std::int64_t rank,
       const std::int64_t* lengths)
{
    qnm::tests::Integers all{comm, made, precision, domain, rank};
    all.insert(all.end(), lengths, lengths + rank);
    return layer_of_test.noted("create", all);
}
DOUBLE(GetValue, std::int64_t handle, int code, std::int64_t* value)
{
    const auto end = code == 2 ? found.end() : found.begin() + 1;
    std::copy(found.begin(), end, value);
    found.erase(found.begin(), end);
    return layer_of_test.noted("get", {handle, code});
}
DOUBLE(SetValue, std::int64_t handle, int code, std::int64_t word, double real)
{
    layer_of_test.noted(code == 4 ? "set " + qnm::tests::number(real) : "set " + std::to_string(word));
    return layer_of_test.noted("of", {handle, code});
}

namespace qnm::tests {
namespace {

class Cluster : public recording::RecordedTest {
protected:
    Cluster()
    {
        layer_of_test.status = 0;
        static const dft_mpi_wrappers wrappers{
            [](std::int64_t c) { return static_cast<int>(c) + 1; }, // an int with junk above it is cut
            [](int f) { return f * 10L; }};
        core().answers("qnm_serv_get_mpi_wrappers").with(&wrappers);
        calls.names.insert_or_assign("&h", &held);
    }

    void* held = reinterpret_cast<void*>(7);
    Calls calls;
};

TEST_F(Cluster, CreatesWithCommunicatorsTurned)
{
    calls.expect(
        R"(DftiCreateDescriptorDM 5 8L 36 32 1L 64L = 0 create 60 8 36 32 1 64 | 5 8L 36 32 2L null = 3
dfticreatedescriptordm_ 5 8L 36 32 3L {8,9,10} = 0 create 60 8 36 32 3 8 9 10
DFTICREATEDESCRIPTORDM 5 8L 36 32 0L null = 2 | 5 8L 36 32 8L {1,2,3,4,5,6,7,8} = 2
dfticreatedescriptordmn_internal 5 8L 36 32 3 {8,9,10} = 0 create 50 8 36 32 3 10 9 8 | 5 8L 36 32 0 {1} = 2
dfticreatedescriptordmn_internal 5 8L 36 32 8 {1,2,3,4,5,6,7,8} = 2
dfticreatedescriptordm1_internal 5 8L 36 32 1 8 = 0 create 50 8 36 32 1 8
dfticreatedescriptordm1_internal 5 8L 36 32 2 {8,9} = 0 create 50 8 36 32 2 8 0
dfticreatedescriptordm1_internal 5 8L null 32 1 8 = 3 | 5 8L 36 null 1 8 = 3
dfticreatedescriptordm1_internal 5 8L 36 32 null 8 = 3 | 5 8L 36 32 1 null = 3)");
    core().answers("qnm_serv_get_mpi_wrappers").with(static_cast<const void*>(nullptr));
    calls.expect(R"(DftiCreateDescriptorDM 17179869189L 8L 36 32 1L 64L = 0 create 17179869189 8 36 32 1 64
dfticreatedescriptordm1_internal 5 8L 36 32 1 8 = 0 create 5 8 36 32 1 8)");
}

TEST_F(Cluster, HandsOn)
{
    layer_of_test.status = 1L << 32 | 9;
    calls.expect(R"(DftiCommitDescriptorDM 7L = 4294967305 CommitDescriptor 7
dftifreedescriptordm 7L = 4294967305 FreeDescriptor 7
dfticommitdescriptordm_internal &h = 9 CommitDescriptor 7 | null = 3
dftifreedescriptordm_internal &h = 9 FreeDescriptor )" +
                 std::to_string(Word(&held).bits()) + R"(
dfticomputeforwarddmo_internal &h 1L 2L = 9 ComputeForward 7 1 2 | null 1L 2L = 3
dfticomputebackwarddmo_internal &h 1L 2L = 9 ComputeBackward 7 1 2 | null 1L 2L = 3
dfticomputeforwarddmi_internal null 1L = 3
dfticomputebackwarddmi_internal null 1L = 3
dftisetvaluedmd_internal &h 4 0.5 = 9 set 0.5 of 7 4 | null 4 0.5 = 3 | &h null 0.5 = 3 | &h 4 null = 3
dftisetvaluedmf_internal &h 4 0.25f = 9 set 0.25 of 7 4 | null 4 0.5f = 3 | &h null 0.5f = 3 | &h 4 null = 3
dftisetvaluedmi_internal &h 11 -3 = 9 set -3 of 7 11 | null 4 5 = 3 | &h null 5 = 3 | &h 4 null = 3
dftisetvaluedmp_internal &h 12 99L = 9 set 99 of 7 12 | null 4 5L = 3 | &h null 5L = 3 | &h 4 null = 3)");
    for (const auto& [name, told] : {std::pair{"dfticomputeforwarddmi_internal", " ComputeForward 7 1 "},
                                     {"dfticomputebackwarddmi_internal", " ComputeBackward 7 1 "}}) {
        Descriptor::story.clear();
        call(name, {&held, 1L});
        EXPECT_TRUE(Descriptor::story.starts_with(told)); // and what stood in the register behind
    }
}

TEST_F(Cluster, AsksAndNarrowsForFortran)
{
    for (const std::string code : {"1", "1000", "1001", "1002", "1003", "1004", "1005", "1006"})
        for (const int status : {0, 9}) { // of which nothing is stored, but by the distributed layer itself
            const std::string narrowed = lists("1001 1003 1005", code) ? " [6]" : " [5]";
            found = {5 | 6L << 32};
            layer_of_test.status = status;
            calls.expect("dftigetvaluedm_internal &h " + code + " i32 = " + std::to_string(status) +
                         (code == "1004" ? " [5 6]"
                          : status == 0  ? narrowed
                                         : "") +
                         " get 7 " + code);
        }
    found = {2, 8, 9};
    calls.expect("dftigetvaluedm_internal &h 2 i32 = 9 get 7 1");
    layer_of_test.status = 0;
    found = {2, 8, 9};
    calls.expect("dftigetvaluedm_internal &h 2 i32 = 0 [9 8] get 7 1 get 7 2");
    found = {5};
    calls.expect(R"(DftiGetValueDM 7L 1001 i64 = 0 [5] get 7 1001 | null 1 i64 = 3
dftigetvaluedm__ 7L 1 null = 3
dftigetvaluedm_internal null 1 i32 = 3 | &h null i32 = 3 | &h 1 null = 3)");
}

TEST_F(Cluster, WithoutADistributedLayerSaysSo)
{
    for (const char* stub : {"DftiComputeForwardDM", "qnm_cdft_error_message"}) {
        core().clear();
        EXPECT_EQ(call(stub, {}), 7);
        const auto printed = core().calls("qnm_serv_print");
        ASSERT_EQ(printed.size(), 1U);
        EXPECT_TRUE(printed[0].int32(0) == 1 && printed[0].int32(1) == 1101 && printed[0].int32(2) == 0);
    }
}

} // namespace
} // namespace qnm::tests
