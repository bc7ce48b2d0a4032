// Level 1: results, indices, and the sparse routines that compute in the layer.
#include "calls.hpp"

#include <complex>
#include <qnm/cblas.h>

namespace qnm::tests {
namespace {

class Level1 : public CoreTest {};

TEST_F(Level1, IndicesCountFromZeroAndHave64Bits)
{
    for (const Member& member : members()) {
        if (member.letter != 'i')
            continue;
        SCOPED_TRACE(member.name());
        FunctionCall call(member.name());
        core().answers(member.core()).with(7);
        EXPECT_EQ(call.run().int64(), 6);
        core().answers(member.core()).with(0); // a core that finds none
        EXPECT_EQ(call.run().int64(), -1);
        core().clear();
        for (const auto& [n, incx] : {std::pair{0, 1}, {-1, 1}, {3, 0}, {3, -1}})
            EXPECT_EQ(call.set("n", n).set("incx", incx).run().int64(), 0);
        EXPECT_THAT(story(), IsEmpty());
    }
}

TEST_F(Level1, ProductsWithAResultPointerLeaveTheFortranEntryOut)
{
    core().mode(1);
    for (const Member& member : members_of("dotu_sub dotc_sub")) {
        core().clear();
        FunctionCall(member.name()).set("n", 0).run();
        EXPECT_THAT(story(), ElementsAre(member.core())) << "no line, and no test of n";
    }
}

const int narrow[] = {3, 0, 3, 2};
const qnm_int64 wide[] = {3, 0, 3, 2};

TEST_F(Level1, GathersAndScattersOnZeroBasedIndices)
{
    const auto check = [](auto gthr, auto gthrz, auto sctr, const auto* indx, auto one) {
        using T = decltype(one);
        using Vector = std::vector<T>;
        const Vector start{T(1), T(2), T(3), T(4)};
        Vector y = start, x{T(7), T(8), T(9)};
        gthr(3, y.data(), x.data(), indx);
        EXPECT_EQ(x, (Vector{T(4), T(1), T(4)}));
        EXPECT_EQ(y, start);
        gthrz(3, y.data(), x.data(), indx);
        EXPECT_EQ(x, (Vector{T(4), T(1), T(0)})) << "the second 3 finds zero";
        EXPECT_EQ(y, (Vector{T(0), T(2), T(3), T(0)}));
        x = {T(7), T(8), T(9)};
        sctr(3, x.data(), indx, y.data());
        for (const int n : {0, -1}) {
            sctr(n, x.data(), indx, y.data());
            gthrz(n, y.data(), x.data(), indx);
            gthr(n, y.data(), x.data(), indx);
        }
        EXPECT_EQ(y, (Vector{T(8), T(2), T(3), T(9)}));
        EXPECT_EQ(x, (Vector{T(7), T(8), T(9)}));
    };
    check(cblas_sgthr, cblas_sgthrz, cblas_ssctr, narrow, 1.0F);
    check(cblas_dgthr, cblas_dgthrz, cblas_dsctr, narrow, 1.0);
    check(cblas_cgthr, cblas_cgthrz, cblas_csctr, narrow, std::complex(1.0F));
    check(cblas_zgthr, cblas_zgthrz, cblas_zsctr, narrow, std::complex(1.0));
    check(cblas_sgthr_64, cblas_sgthrz_64, cblas_ssctr_64, wide, 1.0F);
    check(cblas_dgthr_64, cblas_dgthrz_64, cblas_dsctr_64, wide, 1.0);
    check(cblas_cgthr_64, cblas_cgthrz_64, cblas_csctr_64, wide, std::complex(1.0F));
    check(cblas_zgthr_64, cblas_zgthrz_64, cblas_zsctr_64, wide, std::complex(1.0));
    EXPECT_THAT(story(), IsEmpty());
}

TEST_F(Level1, RealSparseSumsAndRotations)
{
    const auto check = [](auto axpyi, auto doti, auto roti, const auto* indx, auto one) {
        using Vector = std::vector<decltype(one)>;
        Vector x{2, 3, 5}, y{1, 10, 100, 1000};
        EXPECT_EQ(doti(3, x.data(), indx, y.data()), 2 * 1000 + 3 * 1 + 5 * 1000);
        EXPECT_EQ(doti(0, x.data(), indx, y.data()), 0);
        EXPECT_EQ(doti(-3, x.data(), indx, y.data()), 0);
        axpyi(3, 2, x.data(), indx, y.data());
        EXPECT_EQ(y, (Vector{7, 10, 100, 1014}));
        axpyi(3, 0, nullptr, indx, y.data()); // nothing is read
        axpyi(-1, 1, nullptr, nullptr, nullptr);
        roti(3, nullptr, indx, nullptr, 1, 0); // the identity
        roti(2, x.data(), indx, y.data(), 3, 2);
        EXPECT_EQ(x, (Vector{6 + 2028, 9 + 14, 5}));
        EXPECT_EQ(y, (Vector{21 - 6, 10, 100, 3042 - 4}));
    };
    check(cblas_saxpyi, cblas_sdoti, cblas_sroti, narrow, 1.0F);
    check(cblas_daxpyi, cblas_ddoti, cblas_droti, narrow, 1.0);
    check(cblas_saxpyi_64, cblas_sdoti_64, cblas_sroti_64, wide, 1.0F);
    check(cblas_daxpyi_64, cblas_ddoti_64, cblas_droti_64, wide, 1.0);
    EXPECT_THAT(story(), IsEmpty());
}

TEST_F(Level1, ComplexSparseSums)
{
    const auto check = [](auto axpyi, auto dotui, auto dotci, const auto* indx, auto one) {
        using T = std::complex<decltype(one)>;
        const T x[] = {T(1, 2), T(3, -1)}, alpha(0, 2), zero;
        T y[] = {T(2, 1), T(0, 0), T(0, 5), T(1, 1)};
        T result(9, 9);
        dotui(2, x, indx, y, &result);
        EXPECT_EQ(result, T(1, 2) * T(1, 1) + T(3, -1) * T(2, 1));
        dotci(2, x, indx, y, &result);
        EXPECT_EQ(result, T(1, -2) * T(1, 1) + T(3, 1) * T(2, 1));
        dotci(-1, x, indx, y, &result);
        EXPECT_EQ(result, zero);
        result = T(9, 9);
        dotui(0, x, indx, y, &result);
        EXPECT_EQ(result, zero);
        axpyi(2, &alpha, x, indx, y);
        EXPECT_EQ(y[3], T(1, 1) + alpha * T(1, 2));
        EXPECT_EQ(y[0], T(2, 1) + alpha * T(3, -1));
        axpyi(2, &zero, nullptr, indx, y);
    };
    check(cblas_caxpyi, cblas_cdotui_sub, cblas_cdotci_sub, narrow, 1.0F);
    check(cblas_zaxpyi, cblas_zdotui_sub, cblas_zdotci_sub, narrow, 1.0);
    check(cblas_caxpyi_64, cblas_cdotui_sub_64, cblas_cdotci_sub_64, wide, 1.0F);
    check(cblas_zaxpyi_64, cblas_zdotui_sub_64, cblas_zdotci_sub_64, wide, 1.0);
    EXPECT_THAT(story(), IsEmpty());
}

} // namespace
} // namespace qnm::tests
