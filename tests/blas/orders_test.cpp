// Telling members of the checks, written out: order, odd codes, arithmetic of bounds, what is never read.
#include "checks.hpp"

namespace qnm::tests {
namespace {

class Orders : public BlasTest {};

/// Both members of a pair have to give the same code.
template <class Change>
int both(const char* name, Change&& change)
{
    std::vector<int> codes;
    for (const char* width : {"", "_64"}) {
        SampleCall call(std::string(name) + width);
        change(call);
        codes.push_back(judged(call));
    }
    EXPECT_EQ(codes[0], codes[1]) << name;
    return codes[0];
}

struct Bad {
    const char* name;
    std::vector<std::pair<const char*, int>> integers;
    std::vector<std::pair<const char*, char>> letters;
    int code;
};

TEST_F(Orders, TellingMembers)
{
    const Bad cases[] = {
        {"DGEMM", {{"lda", 0}}, {{"transa", 'X'}}, 1},
        {"DGEMM", {{"k", -1}}, {{"transa", 'T'}}, 5}, // lda is not looked at, though its bound is negative
        {"DGEMM", {{"m", 0}, {"n", 0}, {"k", 0}, {"lda", 1}, {"ldb", 1}, {"ldc", 1}}, {}, 0},
        {"DGEMV", {{"incx", -1}}, {}, 0},
        {"DGEMV", {{"incx", 0}}, {}, 8},
        {"DGBMV", {{"kl", 2}, {"ku", 3}, {"lda", 6}}, {}, 0},
        {"DGBMV", {{"kl", 2}, {"ku", 3}, {"lda", 5}}, {}, 8},
        {"DSBMV", {{"k", 4}, {"lda", 4}}, {}, 6},
        {"DTBSV", {{"k", 0}, {"lda", 0}}, {}, 7},
        {"DTRSM_OOP", {{"m", 6}, {"lda", 6}, {"ldb", 6}, {"ldc", 5}}, {}, 14},
        {"DPTRMM", {{"m", 6}, {"ldb", 5}}, {}, 11},
        {"SPTRMM", {{"m", 6}, {"ldb", 6}}, {}, 0},
        {"CSYRK", {}, {{"trans", 'C'}}, 2},
        {"DSYRK", {{"lda", 500}}, {{"trans", 'C'}}, 0},
        {"CHERK", {}, {{"trans", 'T'}}, 2},
        {"DSYRK_BATCH", {{"lda_array", 500}}, {{"trans_array", 'C'}}, 0},
        {"ZSYRK_BATCH_STRIDED", {}, {{"trans", 'C'}}, 2},
        {"DGEMM_BATCH", {{"group_count", 0}, {"group_size", -1}}, {{"transa_array", 'X'}}, 0},
        {"DGEMM_BATCH", {{"group_count", -1}}, {{"transa_array", 'X'}}, 14},
        {"DGEMM_BATCH", {{"lda_array", 0}, {"group_size", -1}}, {}, 8},
        {"DTRSM_BATCH", {{"group_size", -1}}, {}, 0},
        {"DTRSM_BATCH_STRIDED", {{"batch_size", -1}}, {}, 0},
        {"DGEMM_BATCH_STRIDED", {{"stridea", -1}, {"ldb", 0}}, {}, 11},
        {"DGEMM_BATCH_STRIDED", {{"stridea", -1}, {"ldc", 0}}, {}, 15},
        {"DGEMM_BATCH_STRIDED", {{"stridec", 0}, {"strideb", -1}}, {}, 12},
        {"DGEMM_BATCH_STRIDED",
         {{"m", 3}, {"n", 5}, {"ldc", 4}, {"stridec", 19}, {"batch_size", -1}},
         {},
         16},
        {"DGEMM_BATCH_STRIDED",
         {{"m", 3}, {"n", 5}, {"ldc", 4}, {"stridec", 20}, {"batch_size", -1}},
         {},
         17},
        {"DGEMM_BATCH_STRIDED", {{"m", 3}, {"n", 0}, {"ldb", 900}, {"ldc", 4}, {"stridec", 0}}, {}, 16},
        {"DGEMM_BATCH_STRIDED", {{"stridea", 0}, {"strideb", 0}, {"batch_size", 0}}, {}, 0},
        {"DGEMV_BATCH_STRIDED", {{"m", 4}, {"n", 9}, {"incy", -2}, {"stridey", 7}}, {}, 0},
        {"DGEMV_BATCH_STRIDED", {{"m", 4}, {"n", 9}, {"incy", -2}, {"stridey", 16}}, {{"trans", 'T'}}, 14},
        {"DGEMV_BATCH_STRIDED", {{"m", 4}, {"n", 9}, {"incy", -2}, {"stridey", 17}}, {{"trans", 'T'}}, 0},
        {"DCOPY_BATCH_STRIDED", {{"n", 5}, {"incy", -3}, {"stridey", 12}}, {}, 7},
        {"DCOPY_BATCH_STRIDED", {{"n", 5}, {"incy", -3}, {"stridey", 13}}, {}, 0},
        {"DCOPY_BATCH_STRIDED", {{"n", -5}, {"incx", 0}, {"incy", 0}, {"stridey", 1}}, {}, 0},
        {"DAXPY_BATCH_STRIDED", {{"n", 1}, {"incy", 9}, {"stridey", 0}}, {}, 8},
        {"DGEMM_COMPUTE", {{"lda", -5}, {"ldb", -5}}, {{"transa", 'P'}, {"transb", 'p'}}, 0},
        {"DGEMM_COMPUTE", {{"lda", -5}, {"ldb", 0}}, {{"transa", 'P'}}, 9},
        {"GEMM_S8U8S32_COMPUTE", {{"lda", 0}}, {{"transb", 'P'}}, 9},
        {"DGEMM_PACK", {{"m", 3}, {"n", 5}, {"k", 7}, {"ld", 2}}, {}, 8},
        {"DGEMM_PACK", {{"m", 3}, {"n", 5}, {"k", 7}, {"ld", 3}}, {}, 0},
        {"DGEMM_PACK", {{"m", 3}, {"n", 5}, {"k", 7}, {"ld", 6}}, {{"trans", 'T'}}, 8},
        {"DGEMM_PACK", {{"m", 3}, {"n", 5}, {"k", 7}, {"ld", 7}}, {{"trans", 'C'}}, 0},
        {"DGEMM_PACK", {{"m", 3}, {"n", 5}, {"k", 7}, {"ld", 6}}, {{"identifier", 'B'}}, 8},
        {"DGEMM_PACK", {{"m", 3}, {"n", 5}, {"k", 7}, {"ld", 7}}, {{"identifier", 'b'}}, 0},
        {"DGEMM_PACK", {{"m", 3}, {"n", 5}, {"k", 7}, {"ld", 4}}, {{"identifier", 'B'}, {"trans", 'T'}}, 8},
        {"DGEMM_PACK", {{"m", 3}, {"n", 5}, {"k", 7}, {"ld", 5}}, {{"identifier", 'B'}, {"trans", 'T'}}, 0},
        {"GEMM_S16S16S32_PACK", {{"ld", 0}}, {}, 7},
        {"GEMM_S8U8S32_PACK_GET_SIZE", {}, {{"identifier", 'C'}}, 1},
        {"QNM_JIT_CREATE_DGEMM", {{"m", 9}, {"k", 2}, {"lda", 8}}, {{"transa", 'O'}}, 8},
        {"QNM_JIT_CREATE_DGEMM", {{"m", 9}, {"k", 2}, {"lda", 2}}, {{"transa", 'U'}}, 0},
        {"QNM_JIT_CREATE_DGEMM", {}, {{"transa", 'V'}}, 2},
        {"QNM_JIT_CREATE_ZGEMM", {{"m", 9}, {"k", 2}, {"lda", 2}}, {{"transa", 'V'}}, 0},
    };
    for (const Bad& bad : cases) {
        SCOPED_TRACE(std::string(bad.name) + " " + ::testing::PrintToString(bad.integers) + " " +
                     ::testing::PrintToString(bad.letters));
        const int code = both(bad.name, [&](SampleCall& call) {
            for (const auto& [name, value] : bad.letters)
                call.choose(name, value);
            for (const auto& [name, value] : bad.integers)
                call.set(name, value);
        });
        EXPECT_EQ(code, bad.code);
    }
}

// The product of a stride's bound wraps in the caller's width.
TEST_F(Orders, ABoundByProductIsFormedInTheCallersWidth)
{
    const auto code = [](const char* name, std::int64_t size, std::int64_t stridec) {
        SampleCall call(name);
        call.set("m", 1).set("k", 1).set("n", size).set("ldc", size).set("stridec", stridec);
        return judged(call);
    };
    constexpr std::int64_t half = std::int64_t{1} << 32;
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED", 65536, 1), 0);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", 65536, 1), 16);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", 65536, half - 1), 16);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", 65536, half), 0);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", half, 1), 0);
}

TEST_F(Orders, GroupArraysAreWalkedOneAfterTheOther)
{
    for (const char* name : {"DGEMM_BATCH", "DGEMM_BATCH_64"}) {
        SampleCall call(name);
        call.set("n_array", -1, 0).set("m_array", -1, 2);
        EXPECT_EQ(judged(call), 3) << name; // m of the last group before n of the first
    }
}

// The letters that sizes depend on are asked for first, the others only as they are needed.
TEST_F(Orders, DgemmAsksForItsLettersInOrder)
{
    core().listen("qnm_serv_lsame");
    const auto asked = [](char transa, char transb) {
        SampleCall call("DGEMM");
        call.choose("transa", transa).choose("transb", transb).set("lda", 500).set("ldb", 500);
        core().clear();
        call.run_check();
        std::string letters;
        for (const Call& noted : core().calls("qnm_serv_lsame")) {
            const bool first = noted.word(0) == call.word(*call.row().find("transa")).bits();
            letters += std::string(letters.empty() ? "" : " ") + (first ? "a" : "b") + noted.letter(1);
            EXPECT_EQ(noted.word(2), 1U);
            EXPECT_EQ(noted.word(3), 1U);
        }
        return letters;
    };
    EXPECT_EQ(asked('n', 'N'), "aN bN");
    EXPECT_EQ(asked('T', 'N'), "aN bN aC aT");
    EXPECT_EQ(asked('c', 't'), "aN bN aC bC bT");
    EXPECT_EQ(asked('X', 'T'), "aN bN aC aT");
}

} // namespace
} // namespace qnm::tests
