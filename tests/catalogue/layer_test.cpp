// A table of three rows, read, generated, compiled and linked as the library's own are: its entries work.
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

namespace qnm::recording {
namespace {

using ::testing::_;
using ::testing::ElementsAre;

support::Returned call(const char* entry, const std::vector<support::Word>& words)
{
    static const support::Library layer(SAMPLE_LAYER);
    core().clear();
    return support::call_words(layer[entry], words);
}

class OwnTable : public RecordedTest {};

TEST_F(OwnTable, EachRowIsAllItTakes)
{
    const int n = 3, lda = 4, bad = 2;
    const long long minus = -1, one = 1;
    const double alpha = 1, a = 0;
    const auto registers = Called("qnm_serv_set_xerbla_interface"), asks = Called("qnm_serv_verbose_mode");
    call("DTILT", {"u", &n, &alpha, &a, &lda});
    EXPECT_THAT(core().calls(),
                ElementsAre(registers, asks, Called("qnm_blas_dtilt", _, _, &alpha, &a, _, 1)));
    EXPECT_EQ(core().calls().back().behind(1), 3);
    EXPECT_EQ(core().calls().back().behind(4), 4);
    call("dtilt_", {"u", &n, &alpha, &a, &bad});
    EXPECT_THAT(core().calls(), ElementsAre(registers, Reported("DTILT ", 5)));
    call("dtilt_64_", {"L", &minus, &alpha, &a, &one});
    EXPECT_THAT(core().calls(), ElementsAre(registers, Reported("DTILT ", 2), asks));
    EXPECT_EQ(call("qnm_blas_errchk_stilt_ilp64", {"x", &one, nullptr, nullptr, &one, 1L}).int32(), 1);
    EXPECT_THAT(core().calls(), ElementsAre(Reported("STILT ", 1)));

    core().mode(1);
    core().answers("qnm_blas_clift").with(2.5F);
    EXPECT_EQ(call("clift_", {&n, nullptr, nullptr, &lda}).float32(), 2.5F);
    EXPECT_THAT(core().calls().back(), Printed("CLIFT(3,(nil),(nil),4)"));

    const int indx[] = {5, -7, 6};
    core().answers("qnm_blas_dpick").calling([](Call& pick, Answer& answer) {
        EXPECT_EQ(pick.pointer<const long long>(1)[1], -7);
        answer.returns(4.5);
    });
    EXPECT_EQ(call("dpick", {&n, indx, nullptr}).float64(), 4.5);
    core().fail_allocation(1);
    call("dpick", {&n, indx, nullptr});
    EXPECT_THAT(core().calls("qnm_serv_xerbla"), ElementsAre(Reported("DPICK", 1102)));
}

} // namespace
} // namespace qnm::recording
