// Calls and formats written out, so that the rows are not all that vouches for the rest.
#include "support/function_call.hpp"

namespace qnm::tests {
namespace {

class Literally : public CoreTest {};

TEST_F(Literally, RefusedCallsGiveBackZeroButJitCreations)
{
    EXPECT_EQ(FunctionCall("QNM_JIT_CREATE_DGEMM").spoil("m").run().int32(), 2);
    EXPECT_EQ(FunctionCall("DGEMM_PACK_GET_SIZE").spoil("m").run().int64(), 0);
}

TEST_F(Literally, Formats)
{
    const std::pair<const char*, const char*> formats[] = {
        {"DGEMM", "DGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)"},
        {"DSCAL_64", "DSCAL_64(%lli,%p,%p,%lli)"},
        {"ZDOTU", "ZDOTU(%p,%d,%p,%d,%p,%d)"},
        {"DAXPYI_64", "DAXPYI_64(%lli,%p,%p,%p,%p)"},
        {"XERBLA_ARRAY", "XERBLA_ARRAY(%c,%d,%d)"},
        {"DGEMM_BATCH_64", "DGEMM_BATCH_64(%c,%c,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p)"},
        {"DCOPY_BATCH_STRIDED", "DCOPY_BATCH_STRIDED(%d,%p,%d,%d,%p,%d,%d,%d)"},
        {"GEMM_S8U8S32", "GEMM_S8U8S32(%c,%c,%c,%d,%d,%d,%p,%p,%d,%p,%p,%d,%p,%p,%p,%d,%p)"},
        {"QNM_DGEMM_COMPACT", "QNM_DGEMM_COMPACT(%d,%d,%d,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d,%d,%d)"},
        {"QNM_GET_FORMAT_COMPACT", "QNM_GET_FORMAT_COMPACT()"},
        {"QNM_JIT_CREATE_DGEMM", "QNM_JIT_CREATE_DGEMM(%p,%c,%c,%d,%d,%d,%p,%d,%d,%p,%d)"},
    };
    core().mode(1);
    for (const auto& [name, format] : formats) {
        core().clear();
        FunctionCall(name).run();
        ASSERT_EQ(core().calls("qnm_serv_snprintf_s").size(), 1U) << name;
        EXPECT_EQ(core().calls("qnm_serv_snprintf_s")[0].text, format);
    }
}

// The product of a stride's bound wraps in the caller's width.
TEST_F(Literally, ABoundByProductIsFormedInTheCallersWidth)
{
    const auto code = [](const char* name, std::int64_t size, std::int64_t stridec) {
        FunctionCall call(name);
        core().clear();
        call.set("m", 1).set("k", 1).set("n", size).set("ldc", size).set("stridec", stridec).run();
        return reports().empty() ? 0 : reports()[0].second;
    };
    constexpr std::int64_t half = std::int64_t{1} << 32;
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED", 65536, 1), 0);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", 65536, 1), 16);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", 65536, half - 1), 16);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", 65536, half), 0);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", half, 1), 0);
}

// The letters that sizes depend on are asked for first, the others only as they are needed.
TEST_F(Literally, DgemmAsksForItsLettersInOrder)
{
    core().listen("qnm_serv_lsame");
    const auto asked = [](char transa, char transb) {
        FunctionCall call("DGEMM");
        call.choose("transa", transa).choose("transb", transb).set("lda", 500).set("ldb", 500);
        core().clear();
        call.run(layer()[call.signature().check]);
        std::string letters;
        for (const Call& noted : core().calls("qnm_serv_lsame")) {
            const bool first = noted.word(0) == call.word("transa").bits();
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
