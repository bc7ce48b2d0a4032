// A family of the tests' own, read, generated, compiled and linked as the library's are: its entries work.
#include "recording/matchers.hpp"
#include "support/invoke.hpp"
#include "support/library.hpp"

#include <limits>

namespace qnm::recording {
namespace {

using ::testing::_;
using ::testing::ElementsAre;

const support::Library& layer()
{
    static const support::Library library(QNM_LAYER);
    return library;
}

support::Returned call(const char* entry, const std::vector<support::Word>& words)
{
    core().clear();
    return support::call_words(layer()[entry], words);
}

class OwnTable : public RecordedTest {};

TEST_F(OwnTable, EachRowIsAllItTakes)
{
    const int n = 3, lda = 4, indx[] = {5, -7, 6};
    const long long minus = -1, one = 1;
    const double alpha = 1, a = 0;
    const auto registers = Called("qnm_serv_set_xerbla_interface"), asks = Called("qnm_serv_verbose_mode");
    call("DTILT", {"u", &n, &alpha, &a, &lda});
    EXPECT_THAT(core().calls(),
                ElementsAre(registers, asks, Called("qnm_blas_dtilt", _, _, &alpha, &a, _, 1)));
    EXPECT_EQ(core().calls().back().behind(4), 4);
    call("dtilt_64_", {"L", &minus, &alpha, &a, &one});
    EXPECT_THAT(core().calls(), ElementsAre(registers, Reported("DTILT ", 2), asks));
    EXPECT_EQ(call("qnm_blas_errchk_stilt_ilp64", {"x", &one, nullptr, nullptr, &one, 1L}).int32(), 1);
    EXPECT_THAT(core().calls(), ElementsAre(Reported("STILT ", 1)));
    core().answers("qnm_blas_dpick").calling([](Call& pick, Answer& answer) {
        EXPECT_EQ(pick.pointer<const long long>(1)[1], -7);
        answer.returns(4.5);
    });
    EXPECT_EQ(call("dpick", {&n, indx, nullptr}).float64(), 4.5);
    core().mode(1);
    core().answers("qnm_blas_clift").with(2.5F);
    EXPECT_EQ(call("clift_", {&n, nullptr, nullptr, &lda}).float32(), 2.5F);
    EXPECT_THAT(core().calls().back(), Printed("CLIFT(3,(nil),(nil),4)"));
    for (const auto& [tolerance, code] :
         {std::pair{0.0F, 1}, {std::numeric_limits<float>::quiet_NaN(), -3}}) {
        const int barred = 0;
        call("STUNE", {&tolerance, &barred}); // what compares with nothing passes
        EXPECT_THAT(core().calls("qnm_serv_xerbla"), ElementsAre(Reported("STUNE ", code)));
    }
}

TEST_F(OwnTable, WordsAndSentencesOfItsOwn)
{
    const int n = -3;
    const double alpha = 2.5, x = 0;
    core().answers("qnm_sample_dhand").calling([&](Call& hand, Answer&) {
        EXPECT_EQ(static_cast<char>(hand.word(0)), 'w');
        EXPECT_EQ(*hand.pointer<const double>(2), alpha);
    });
    call("dlend_", {&n, &alpha, &x, "w"}); // references become values
    reinterpret_cast<void (*)(int, double, const double*, char)>(layer()["dLend"])(n, alpha, &x, 'w');
    EXPECT_THAT(core().calls(), ElementsAre(Called("qnm_sample_dhand", _, -3, &alpha, -7, &x),
                                            Called("qnm_sample_dhand", _, -3, _, -7, &x)));
    call("PASS", {1L, 2L, 3L, 4L, 5L, 6L, 7L, 8L});
    EXPECT_THAT(core().calls(),
                ElementsAre(Called("qnm_sample_told"), Called("qnm_sample_pass", 1, 2, 3, 4, 5, 6, 7, 8)));
    call("Pair", {});
    EXPECT_THAT(core().calls(), ElementsAre(Called("qnm_sample_left"), Called("qnm_sample_right")));
}

} // namespace
} // namespace qnm::recording
