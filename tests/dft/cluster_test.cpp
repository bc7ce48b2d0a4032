// Distributed transforms, with doubles of what a distributed layer takes over.
#include "descriptor.hpp"

#include <cstdarg>

namespace {

std::string noted;          // calls, with their arguments
std::int64_t answered = 0;  // by each
qnm::tests::Integers found; // what is asked for, in turn; one for each call, but for lengths

std::int64_t note(const char* what, std::initializer_list<std::int64_t> words)
{
    noted += what;
    for (const std::int64_t word : words)
        noted += " " + std::to_string(word);
    noted += ";";
    return answered;
}

std::int64_t word(const void* address)
{
    return reinterpret_cast<std::int64_t>(address);
}

std::int64_t compute(const char* what, void* handle, void* a, void* b)
{
    return note(what, {word(handle), word(a), word(b)});
}

} // namespace

// Not variadic where arguments have their registers all the same: what is not passed is seen too.
#define DOUBLE __attribute__((visibility("default")))
extern "C" {
DOUBLE std::int64_t qnm_cdft_DftiCreateDescriptorDM(std::int64_t comm, void* made, int precision, int domain,
                                                    std::int64_t rank, const std::int64_t* lengths)
{
    note("create", {comm, word(made), precision, domain, rank});
    for (std::int64_t i = 0; i < rank; ++i)
        noted += " " + std::to_string(lengths[i]);
    return answered;
}
DOUBLE std::int64_t qnm_cdft_DftiCommitDescriptorDM(void* handle)
{
    return note("commit", {word(handle)});
}
DOUBLE std::int64_t qnm_cdft_DftiFreeDescriptorDM(void* handle)
{
    return note("free", {word(handle)});
}
DOUBLE std::int64_t qnm_cdft_DftiGetValueDM(void* handle, int code, std::int64_t* value)
{
    note("get", {word(handle), code});
    if (code == 2) {
        std::copy(found.begin(), found.end(), value);
        return answered;
    }
    *value = found.at(0);
    found.erase(found.begin());
    return answered;
}
DOUBLE std::int64_t qnm_cdft_DftiSetValueDM(void* handle, int code, ...)
{
    va_list rest;
    va_start(rest, code);
    if (code == 4)
        noted += std::to_string(va_arg(rest, double)) + " ";
    else
        noted += std::to_string(va_arg(rest, std::int64_t)) + " ";
    va_end(rest);
    return note("set", {word(handle), code});
}
DOUBLE std::int64_t qnm_cdft_DftiComputeForwardDM(void* handle, void* a, void* b)
{
    return compute("forward", handle, a, b);
}
DOUBLE std::int64_t qnm_cdft_DftiComputeBackwardDM(void* handle, void* a, void* b)
{
    return compute("backward", handle, a, b);
}
}

namespace qnm::tests {
namespace {

class Cluster : public recording::RecordedTest {
protected:
    Cluster()
    {
        answered = 0;
        static const dft_mpi_wrappers wrappers{
            [](std::int64_t c) { return static_cast<int>(c) + 1; }, // an int with junk above it is cut
            [](int f) { return f * 10L; }};
        core().answers("qnm_serv_get_mpi_wrappers").with(&wrappers);
    }

    /// The status of a call, and what came of it.
    static std::string told(const std::string& name, const std::vector<Word>& words)
    {
        noted.clear();
        const auto returned = call(name, words);
        const bool in_c =
            name.find("_internal") == std::string::npos && name.find("_INTERNAL") == std::string::npos;
        return std::to_string(in_c ? returned.int64() : returned.int32()) + " " + noted;
    }

    const Word handle = 7L, none = nullptr;
    void* held = reinterpret_cast<void*>(7);
};

TEST_F(Cluster, CreatesWithCommunicatorsTurned)
{
    const std::int64_t lengths[]{8, 9, 10, 1, 1, 1, 1, 1};
    const int lengths32[]{8, 9, 10, 1, 1, 1, 1, 1};
    const std::int64_t comm = 4L << 32 | 5;
    const struct {
        const char* name;
        std::vector<Word> words;
        const char* expected;
    } cases[]{
        {"DftiCreateDescriptorDM", {comm, handle, 36, 32, 1L, 64L}, "0 create 60 7 36 32 1; 64"},
        {"dfticreatedescriptordm_", {comm, handle, 36, 32, 3L, lengths}, "0 create 60 7 36 32 3; 8 9 10"},
        {"DFTICREATEDESCRIPTORDM", {comm, handle, 36, 32, 2L, none}, "3 "},
        {"DFTICREATEDESCRIPTORDM", {comm, handle, 36, 32, 0L, none}, "2 "},
        {"DFTICREATEDESCRIPTORDM", {comm, handle, 36, 32, 8L, lengths}, "2 "},
        {"dfticreatedescriptordmn_internal_",
         {at32(5), handle, at32(36), at32(32), at32(3), lengths32},
         "0 create 50 7 36 32 3; 10 9 8"},
        {"dfticreatedescriptordm1_internal_",
         {at32(5), handle, at32(36), at32(32), at32(1), lengths32},
         "0 create 50 7 36 32 1; 8"},
        {"dfticreatedescriptordm1_internal_",
         {at32(5), handle, at32(36), at32(32), at32(2), lengths32},
         "0 create 50 7 36 32 2; 8 0"},
        {"dfticreatedescriptordmn_internal_",
         {at32(5), handle, at32(36), at32(32), at32(8), lengths32},
         "2 "},
        {"dfticreatedescriptordmn_internal_",
         {at32(5), handle, at32(36), at32(32), at32(0), lengths32},
         "2 "},
    };
    for (const auto& [name, words, expected] : cases)
        EXPECT_EQ(told(name, words), expected);
    for (std::size_t i = 2; i < 6; ++i) {
        std::vector<Word> words = cases[5].words;
        words[i] = nullptr;
        EXPECT_EQ(told("dfticreatedescriptordm1_internal", words), "3 ");
    }
    core().answers("qnm_serv_get_mpi_wrappers").with(static_cast<const void*>(nullptr));
    EXPECT_EQ(told("DftiCreateDescriptorDM", cases[0].words), "0 create 17179869189 7 36 32 1; 64");
    EXPECT_EQ(told(cases[6].name, cases[6].words), "0 create 5 7 36 32 1; 8");
}

TEST_F(Cluster, HandsOn)
{
    answered = 1L << 32 | 9;
    const std::string whole = std::to_string(answered) + " ";
    const std::string place = std::to_string(word(&held));
    EXPECT_EQ(told("DftiCommitDescriptorDM", {handle}), whole + "commit 7;");
    EXPECT_EQ(told("dftifreedescriptordm", {handle}), whole + "free 7;");
    EXPECT_EQ(told("DFTICOMMITDESCRIPTORDM_INTERNAL", {&held}), "9 commit 7;");
    EXPECT_EQ(told("DFTIFREEDESCRIPTORDM_INTERNAL", {&held}), "9 free " + place + ";");
    EXPECT_EQ(told("dfticomputeforwarddmi_internal", {&held, "a"}).substr(0, 12), "9 forward 7 ");
    for (const std::string way : {"forward", "backward"})
        EXPECT_EQ(told("dfticompute" + way + "dmo_internal_", {&held, 1L, 2L}), "9 " + way + " 7 1 2;");
    EXPECT_EQ(told("DFTICOMPUTEBACKWARDDMI_INTERNAL", {&held, 1L}).substr(0, 14), "9 backward 7 1");
    for (const char* name : {"DFTICOMMITDESCRIPTORDM_INTERNAL", "DFTICOMPUTEFORWARDDMI_INTERNAL",
                             "DFTICOMPUTEBACKWARDDMI_INTERNAL", "DFTICOMPUTEFORWARDDMO_INTERNAL",
                             "DFTICOMPUTEBACKWARDDMO_INTERNAL"})
        EXPECT_EQ(told(name, {none, 1L, 2L}), "3 ") << name;

    const double real = 0.5;
    const float real32 = 0.25F;
    const int number = -3;
    EXPECT_EQ(told("DFTISETVALUEDMD_INTERNAL", {&held, at32(4), &real}), "9 0.500000 set 7 4;");
    EXPECT_EQ(told("DFTISETVALUEDMF_INTERNAL", {&held, at32(4), &real32}), "9 0.250000 set 7 4;");
    EXPECT_EQ(told("DFTISETVALUEDMI_INTERNAL", {&held, at32(11), &number}), "9 -3 set 7 11;");
    EXPECT_EQ(told("DFTISETVALUEDMP_INTERNAL", {&held, at32(12), 99L}), "9 99 set 7 12;");
    for (const std::string letter : {"D", "F", "I", "P"}) {
        const std::string name = "DFTISETVALUEDM" + letter + "_INTERNAL";
        EXPECT_EQ(told(name, {none, at32(4), &real}) + told(name, {&held, none, &real}) +
                      told(name, {&held, at32(4), none}),
                  "3 3 3 ");
    }
}

TEST_F(Cluster, AsksAndNarrowsForFortran)
{
    const struct {
        int code;
        Integers found;
        std::vector<int> expected; // -1: as it was
        const char* told;
    } cases[]{
        {1, {3}, {3, -1}, "0 get 7 1;"},
        {1000, {5}, {5, -1}, "0 get 7 1000;"},
        {1002, {5}, {5, -1}, "0 get 7 1002;"},
        {1006, {5}, {5, -1}, "0 get 7 1006;"},
        {1001, {5}, {6, -1}, "0 get 7 1001;"},
        {1005, {5}, {6, -1}, "0 get 7 1005;"},
        {1003, {5}, {6, -1}, "0 get 7 1003;"},
        {1004, {5 | 6L << 32}, {5, 6}, "0 get 7 1004;"},
        {2, {2, 8, 9}, {9, 8, -1}, "0 get 7 1;get 7 2;"},
    };
    for (const auto& [code, all, expected, calls] : cases) {
        std::vector<int> value(expected.size(), -1);
        found = all;
        EXPECT_EQ(told("dftigetvaluedm_internal", {&held, at32(code), value.data()}), calls);
        EXPECT_EQ(value, expected) << code;
        if (code == 1004)
            continue;
        answered = 9; // nothing is stored
        found = all;
        std::vector<int> kept(expected.size(), -1);
        told("dftigetvaluedm_internal", {&held, at32(code), kept.data()});
        EXPECT_EQ(kept, std::vector<int>(expected.size(), -1)) << code;
        answered = 0;
    }
    std::int64_t value = 0;
    found = {5};
    EXPECT_EQ(told("DftiGetValueDM", {handle, 1001, &value}), "0 get 7 1001;");
    EXPECT_EQ(value, 5);
    EXPECT_EQ(told("DftiGetValueDM", {none, 1, &value}) + told("dftigetvaluedm__", {handle, 1, none}),
              "3 3 ");
    const std::string name = "DFTIGETVALUEDM_INTERNAL";
    EXPECT_EQ(told(name, {none, at32(1), &value}) + told(name, {&held, none, &value}) +
                  told(name, {&held, at32(1), none}),
              "3 3 3 ");
}

TEST_F(Cluster, WithoutADistributedLayerSaysSo)
{
    for (const char* stub : {"DftiComputeForwardDM", "qnm_cdft_error_message"}) {
        core().clear();
        EXPECT_EQ(call(stub, {}).int64(), 7);
        const auto printed = core().calls("qnm_serv_print");
        ASSERT_EQ(printed.size(), 1U);
        EXPECT_TRUE(printed[0].int32(0) == 1 && printed[0].int32(1) == 1101 && printed[0].int32(2) == 0);
    }
}

} // namespace
} // namespace qnm::tests
