// Telling members of the checks, written out: order, arithmetic of bounds, what is never read.
#include "checks.hpp"

namespace qnm::tests {
namespace {

class Orders : public BlasTest {};

TEST_F(Orders, TellingMembers)
{
    for (const std::string width : {"", "_64"}) {
        SampleCall negative("DGEMM" + width);
        EXPECT_EQ(judged(negative.choose("transa", 'T').set("k", -1)), 5); // no lda is at least -1
        SampleCall packed("DGEMM_COMPUTE" + width);
        packed.choose("transa", 'P').choose("transb", 'p');
        EXPECT_EQ(judged(packed.set("lda", -5).set("ldb", -5)), 0);
        SampleCall batch("DCOPY_BATCH_STRIDED" + width);
        EXPECT_EQ(judged(batch.set("n", -5).set("incx", 0).set("incy", 0).set("stridey", 1)), 0);
        SampleCall groups("DGEMM_BATCH" + width);
        groups.set("n_array", -1, 0).set("m_array", -1, 2);
        EXPECT_EQ(judged(groups), 3); // m of the last group before n of the first
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
