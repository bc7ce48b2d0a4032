// A table of three rows, read, generated, compiled and linked as the library's own are: its entries work.
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <array>

extern "C" {
void DTILT(const char* uplo, const int* n, const double* alpha, double* a, const int* lda);
void dtilt_64_(const char* uplo, const long long* n, const double* alpha, double* a, const long long* lda);
float clift_(const int* n, const float* alpha, void* x, const int* incx);
double dpick(const int* nz, const int* indx, const double* y);
int qnm_blas_errchk_stilt_ilp64(const char* uplo, const long long* n, const float* alpha, float* a,
                                const long long* lda, long);
}

namespace qnm::recording {
namespace {

using support::call;
using ::testing::ElementsAre;

class OwnTable : public RecordedTest {};

TEST_F(OwnTable, ExportsEachSpellingAtOneAddress)
{
    const support::Library layer(SAMPLE_LAYER);
    EXPECT_EQ(layer["DTILT"], layer["dtilt"]);
    EXPECT_EQ(layer["DTILT"], layer["dtilt_"]);
    EXPECT_EQ(layer["DTILT"], layer["qnm_blas__dtilt"]);
    EXPECT_EQ(layer["STILT_64"], layer["stilt_64_"]);
    EXPECT_NE(layer["STILT_64"], layer["STILT"]);
    EXPECT_NE(layer.find("CLIFT_64"), nullptr);
    EXPECT_NE(layer.find("qnm_blas_errchk_dtilt_ilp64"), nullptr);
    EXPECT_EQ(layer.find("SLIFT"), nullptr);
    EXPECT_EQ(layer.find("DGEMM"), nullptr);
}

TEST_F(OwnTable, CheckedRowChecksWidensAndCalls)
{
    const int n = 3, lda = 4, bad = 2;
    const double alpha = 1;
    std::array<double, 12> a{};
    call(DTILT, "u", &n, &alpha, a.data(), &lda);
    ASSERT_THAT(
        core().calls(),
        ElementsAre(Called("qnm_serv_set_xerbla_interface"), Called("qnm_serv_verbose_mode"),
                    Called("qnm_blas_dtilt", ::testing::_, ::testing::_, &alpha, a.data(), ::testing::_, 1)));
    EXPECT_EQ(core().calls().back().behind(1), 3);
    EXPECT_EQ(core().calls().back().behind(4), 4);

    core().clear();
    call(DTILT, "u", &n, &alpha, a.data(), &bad);
    EXPECT_THAT(core().calls(), ElementsAre(Called("qnm_serv_set_xerbla_interface"), Reported("DTILT ", 5)));
    core().clear();
    const long long minus = -1, one = 1;
    call(dtilt_64_, "L", &minus, &alpha, a.data(), &one);
    EXPECT_THAT(core().calls("qnm_serv_xerbla"), ElementsAre(Reported("DTILT ", 2)));
    EXPECT_EQ(call(qnm_blas_errchk_stilt_ilp64, "x", &one, nullptr, nullptr, &one, 1L).int32(), 1);
    EXPECT_THAT(core().calls("qnm_serv_xerbla").back(), Reported("STILT ", 1));
}

TEST_F(OwnTable, UncheckedRowTracesAndHandsTheResultBack)
{
    const int n = -3, incx = 0;
    const float alpha = 2;
    std::array<float, 6> x{};
    core().mode(1);
    core().answers("qnm_blas_clift").with(2.5F);
    EXPECT_EQ(clift_(&n, &alpha, x.data(), &incx), 2.5F);
    ASSERT_EQ(core().calls("qnm_serv_print_verbose_info").size(), 1U);
    EXPECT_THAT(core().calls("qnm_serv_print_verbose_info")[0].text, ::testing::StartsWith("CLIFT(-3,0x"));
}

TEST_F(OwnTable, ScratchRowCopiesIndices)
{
    const int nz = 2;
    const std::array<int, 2> indx{5, -7};
    const double y = 0;
    std::array<long long, 2> seen{};
    core().answers("qnm_blas_dpick").calling([&](Call& pick, Answer& answer) {
        std::copy_n(pick.pointer<const long long>(1), 2, seen.begin());
        answer.returns(4.5);
    });
    EXPECT_EQ(dpick(&nz, indx.data(), &y), 4.5);
    EXPECT_THAT(seen, ElementsAre(5, -7));
    core().fail_allocation(1);
    dpick(&nz, indx.data(), &y);
    EXPECT_THAT(core().calls("qnm_serv_xerbla"), ElementsAre(Reported("DPICK", 1102)));
}

} // namespace
} // namespace qnm::recording
