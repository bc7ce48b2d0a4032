// Level 1: results, indices, and the sparse routines that compute in the layer.
#include "c_call.hpp"

#include <array>
#include <complex>
#include <gtest/gtest.h>
#include <qnm/cblas.h>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Level1 : public recording::RecordedTest {
protected:
    Level1() { core().ignore("qnm_serv_verbose_mode"); }
};

TEST_F(Level1, RealResultsComeBack)
{
    for (const char* root :
         {"dot", "sdot", "dsdot", "nrm2", "cnrm2", "znrm2", "asum", "casum", "zasum", "cabs1"})
        for (const Member& member : members_of(root)) {
            SCOPED_TRACE(member.name());
            if (member.single()) {
                core().answers(member.core()).with(2.5F);
                EXPECT_EQ(CCall(member, column_major).run().float32(), 2.5F);
            } else {
                core().answers(member.core()).with(3.25);
                EXPECT_EQ(CCall(member, column_major).run().float64(), 3.25);
            }
        }
}

TEST_F(Level1, IndicesCountFromZeroAndHave64Bits)
{
    for (const Member& member : members()) {
        if (member.letter != 'i')
            continue;
        SCOPED_TRACE(member.name());
        CCall call(member, column_major);
        core().answers(member.core()).with(7);
        EXPECT_EQ(call.run().int64(), 6);
        core().answers(member.core()).with(0); // a core that finds none
        EXPECT_EQ(call.run().int64(), -1);
        core().clear();
        for (const auto& [n, incx] : {std::pair{0, 1}, std::pair{-1, 1}, std::pair{3, 0}, std::pair{3, -1}}) {
            CCall none(member, column_major);
            EXPECT_EQ(none.set("n", n).set("incx", incx).run().int64(), 0);
        }
        EXPECT_THAT(story(), IsEmpty());
    }
}

TEST_F(Level1, ProductsWithAResultPointerLeaveTheFortranEntryOut)
{
    core().mode(1);
    for (const char* root : {"dotu_sub", "dotc_sub"})
        for (const Member& member : members_of(root)) {
            core().clear();
            CCall call(member, column_major);
            call.set("n", 0).run();
            EXPECT_THAT(story(), ElementsAre(member.core())) << "no line, and no test of n";
        }
}

template <class T>
struct Sparse;
#define QNM_SPARSE(LETTER, T)                                                                                \
    template <>                                                                                              \
    struct Sparse<T> {                                                                                       \
        static constexpr auto gthr = cblas_##LETTER##gthr;                                                   \
        static constexpr auto gthrz = cblas_##LETTER##gthrz;                                                 \
        static constexpr auto sctr = cblas_##LETTER##sctr;                                                   \
        static constexpr auto gthr_64 = cblas_##LETTER##gthr_64;                                             \
        static constexpr auto gthrz_64 = cblas_##LETTER##gthrz_64;                                           \
        static constexpr auto sctr_64 = cblas_##LETTER##sctr_64;                                             \
    };
QNM_SPARSE(s, float)
QNM_SPARSE(d, double)
QNM_SPARSE(c, std::complex<float>)
QNM_SPARSE(z, std::complex<double>)

template <class T>
class SparseLevel1 : public recording::RecordedTest {
};
using Elements = ::testing::Types<float, double, std::complex<float>, std::complex<double>>;
TYPED_TEST_SUITE(SparseLevel1, Elements);

TYPED_TEST(SparseLevel1, GathersAndScattersOnZeroBasedIndices)
{
    using T = TypeParam;
    using S = Sparse<T>;
    const std::array<int, 3> narrow{4, 0, 4};
    const std::array<qnm_int64, 3> wide{4, 0, 4};
    const std::array<T, 5> start{T(1), T(2), T(3), T(4), T(5)};
    const auto check = [&](auto gthr, auto gthrz, auto sctr, const auto& indx) {
        auto y = start;
        std::array<T, 3> x{T(7), T(8), T(9)};
        gthr(3, y.data(), x.data(), indx.data());
        EXPECT_EQ(x, (std::array<T, 3>{T(5), T(1), T(5)}));
        EXPECT_EQ(y, start);
        gthrz(3, y.data(), x.data(), indx.data());
        EXPECT_EQ(x, (std::array<T, 3>{T(5), T(1), T(0)})) << "the second 4 finds zero";
        EXPECT_EQ(y, (std::array<T, 5>{T(0), T(2), T(3), T(4), T(0)}));
        x = {T(7), T(8), T(9)};
        sctr(3, x.data(), indx.data(), y.data());
        EXPECT_EQ(y, (std::array<T, 5>{T(8), T(2), T(3), T(4), T(9)}));
        const auto kept = y;
        for (const int n : {0, -1}) {
            sctr(n, x.data(), indx.data(), y.data());
            gthrz(n, y.data(), x.data(), indx.data());
            gthr(n, y.data(), x.data(), indx.data());
        }
        EXPECT_EQ(y, kept);
    };
    check(S::gthr, S::gthrz, S::sctr, narrow);
    check(S::gthr_64, S::gthrz_64, S::sctr_64, wide);
    EXPECT_THAT(core().calls(), IsEmpty());
}

TEST_F(Level1, SparseSumsAndRotations)
{
    const auto real = [](auto axpyi, auto doti, auto roti, const auto* indx, auto one) {
        using T = decltype(one);
        std::array<T, 3> x{2, 3, 5};
        std::array<T, 4> y{1, 10, 100, 1000};
        EXPECT_EQ(doti(3, x.data(), indx, y.data()), T(2 * 1000 + 3 * 1 + 5 * 100));
        EXPECT_EQ(doti(0, x.data(), indx, y.data()), T(0));
        EXPECT_EQ(doti(-3, x.data(), indx, y.data()), T(0));
        axpyi(3, 2, x.data(), indx, y.data());
        EXPECT_EQ(y, (std::array<T, 4>{7, 10, 110, 1004}));
        axpyi(3, 0, nullptr, indx, y.data()); // nothing is read
        axpyi(-1, 1, nullptr, nullptr, nullptr);
        roti(3, nullptr, indx, nullptr, 1, 0); // the identity
        roti(3, x.data(), indx, y.data(), 3, 2);
        EXPECT_EQ(x, (std::array<T, 3>{6 + 2008, 9 + 14, 15 + 220}));
        EXPECT_EQ(y, (std::array<T, 4>{21 - 6, 10, 330 - 10, 3012 - 4}));
    };
    const std::array<int, 3> narrow{3, 0, 2};
    const std::array<qnm_int64, 3> wide{3, 0, 2};
    real(cblas_saxpyi, cblas_sdoti, cblas_sroti, narrow.data(), 1.0F);
    real(cblas_daxpyi, cblas_ddoti, cblas_droti, narrow.data(), 1.0);
    real(cblas_saxpyi_64, cblas_sdoti_64, cblas_sroti_64, wide.data(), 1.0F);
    real(cblas_daxpyi_64, cblas_ddoti_64, cblas_droti_64, wide.data(), 1.0);

    const auto complex = [](auto axpyi, auto dotui, auto dotci, const auto* indx, auto one) {
        using T = std::complex<decltype(one)>;
        std::array<T, 2> x{T(1, 2), T(3, -1)};
        std::array<T, 4> y{T(2, 1), T(0, 0), T(0, 5), T(1, 1)};
        T result(9, 9);
        dotui(2, x.data(), indx, y.data(), &result);
        EXPECT_EQ(result, T(1, 2) * T(1, 1) + T(3, -1) * T(2, 1));
        dotci(2, x.data(), indx, y.data(), &result);
        EXPECT_EQ(result, T(1, -2) * T(1, 1) + T(3, 1) * T(2, 1));
        dotci(-1, x.data(), indx, y.data(), &result);
        EXPECT_EQ(result, T(0));
        result = T(9, 9);
        dotui(0, x.data(), indx, y.data(), &result);
        EXPECT_EQ(result, T(0));
        const T alpha(0, 2), zero;
        axpyi(2, &alpha, x.data(), indx, y.data());
        EXPECT_EQ(y[3], T(1, 1) + alpha * T(1, 2));
        EXPECT_EQ(y[0], T(2, 1) + alpha * T(3, -1));
        axpyi(2, &zero, nullptr, indx, y.data());
    };
    complex(cblas_caxpyi, cblas_cdotui_sub, cblas_cdotci_sub, narrow.data(), 1.0F);
    complex(cblas_zaxpyi, cblas_zdotui_sub, cblas_zdotci_sub, narrow.data(), 1.0);
    complex(cblas_caxpyi_64, cblas_cdotui_sub_64, cblas_cdotci_sub_64, wide.data(), 1.0F);
    complex(cblas_zaxpyi_64, cblas_zdotui_sub_64, cblas_zdotci_sub_64, wide.data(), 1.0);
    EXPECT_THAT(story(), IsEmpty());
}

} // namespace
} // namespace qnm::tests
