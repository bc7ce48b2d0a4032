// A table of three rows, read, generated, compiled and linked as the library's own are: its entries work.
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <array>

namespace qnm::recording {
namespace {

using support::Word;
using ::testing::_;
using ::testing::ElementsAre;

const support::Library& layer()
{
    static const support::Library library(SAMPLE_LAYER);
    return library;
}

const std::vector<Call>& calls_of(const char* entry, const std::vector<Word>& words)
{
    core().clear();
    support::call_words(layer()[entry], words);
    return core().calls();
}

class OwnTable : public RecordedTest {};

TEST_F(OwnTable, ExportsEachSpellingAtOneAddress)
{
    for (const char* spelling : {"dtilt", "dtilt_", "qnm_blas__dtilt"})
        EXPECT_EQ(layer()["DTILT"], layer()[spelling]);
    EXPECT_EQ(layer()["STILT_64"], layer()["stilt_64_"]);
    EXPECT_NE(layer()["STILT_64"], layer()["STILT"]);
    for (const char* there : {"CLIFT_64", "qnm_blas_errchk_dtilt_ilp64"})
        EXPECT_NE(layer().find(there), nullptr);
    for (const char* nowhere : {"SLIFT", "DGEMM"})
        EXPECT_EQ(layer().find(nowhere), nullptr);
}

TEST_F(OwnTable, CheckedRowChecksWidensAndCalls)
{
    const int n = 3, lda = 4, bad = 2;
    const long long minus = -1, one = 1;
    const double alpha = 1, a = 0;
    EXPECT_THAT(calls_of("DTILT", {"u", &n, &alpha, &a, &lda}),
                ElementsAre(Called("qnm_serv_set_xerbla_interface"), Called("qnm_serv_verbose_mode"),
                            Called("qnm_blas_dtilt", _, _, &alpha, &a, _, 1)));
    EXPECT_EQ(core().calls().back().behind(1), 3);
    EXPECT_EQ(core().calls().back().behind(4), 4);
    const auto registered = Called("qnm_serv_set_xerbla_interface");
    EXPECT_THAT(calls_of("DTILT", {"u", &n, &alpha, &a, &bad}),
                ElementsAre(registered, Reported("DTILT ", 5)));
    EXPECT_THAT(calls_of("dtilt_64_", {"L", &minus, &alpha, &a, &one}),
                ElementsAre(registered, Reported("DTILT ", 2), Called("qnm_serv_verbose_mode")));
    core().clear();
    EXPECT_EQ(
        support::call_words(layer()["qnm_blas_errchk_stilt_ilp64"], {"x", &one, nullptr, nullptr, &one, 1L})
            .int32(),
        1);
    EXPECT_THAT(core().calls(), ElementsAre(Reported("STILT ", 1)));
}

TEST_F(OwnTable, UncheckedRowTracesAndHandsTheResultBack)
{
    const int n = -3, incx = 0;
    core().mode(1);
    core().answers("qnm_blas_clift").with(2.5F);
    EXPECT_EQ(support::call_words(layer()["clift_"], {&n, nullptr, nullptr, &incx}).float32(), 2.5F);
    EXPECT_THAT(core().calls().back(), Printed("CLIFT(-3,(nil),(nil),0)"));
}

TEST_F(OwnTable, ScratchRowCopiesIndices)
{
    const int nz = 2;
    const std::array<int, 2> indx{5, -7};
    core().answers("qnm_blas_dpick").calling([](Call& pick, Answer& answer) {
        const auto* const seen = pick.pointer<const long long>(1);
        EXPECT_THAT((std::array{seen[0], seen[1]}), ElementsAre(5, -7));
        answer.returns(4.5);
    });
    EXPECT_EQ(support::call_words(layer()["dpick"], {&nz, indx.data(), nullptr}).float64(), 4.5);
    core().fail_allocation(1);
    calls_of("dpick", {&nz, indx.data(), nullptr});
    EXPECT_THAT(core().calls("qnm_serv_xerbla"), ElementsAre(Reported("DPICK", 1102)));
}

} // namespace
} // namespace qnm::recording
