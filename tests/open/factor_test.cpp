// Factors and solutions that the core computes itself: without pivots, in batches, interleaved, packed.
#include "lapack.hpp"

#include <limits>

namespace qnm::test {
namespace {

// Columns follow each other without a gap; diagonally dominant, so that no pivots are needed.
template <class T>
std::vector<T> dominant(core_int n)
{
    std::vector<T> a = random_vector<T>(n * n);
    for (core_int i = 0; i < n; ++i)
        a[static_cast<std::size_t>(i * n + i)] = static_cast<real_t<T>>(4 * n);
    return a;
}
template <class T>
T element(const std::vector<T>& a, core_int n, core_int i, core_int j)
{
    return a[static_cast<std::size_t>(i + j * n)];
}
template <class T>
void expect_near(const std::vector<T>& found, const std::vector<T>& expected, double scale = 1)
{
    ASSERT_EQ(found.size(), expected.size());
    const double tolerance = 200 * scale * static_cast<double>(std::numeric_limits<real_t<T>>::epsilon());
    for (std::size_t i = 0; i < found.size(); ++i)
        ASSERT_LE(static_cast<double>(std::abs(found[i] - expected[i])), tolerance) << "element " << i;
}
template <class T>
std::vector<T> product(const std::vector<T>& a, const std::vector<T>& b, core_int n)
{
    std::vector<T> c(a.size());
    for (core_int j = 0; j < n; ++j)
        for (core_int i = 0; i < n; ++i)
            for (core_int k = 0; k < n; ++k)
                c[static_cast<std::size_t>(i + j * n)] += element(a, n, i, k) * element(b, n, k, j);
    return c;
}
template <class T>
std::vector<T> identity(core_int n)
{
    std::vector<T> one(static_cast<std::size_t>(n * n));
    for (core_int i = 0; i < n; ++i)
        one[static_cast<std::size_t>(i * n + i)] = 1;
    return one;
}

// ---- factors

template <class T>
class Factors : public testing::Test {
protected:
    const std::string l = letter<T>();
    static constexpr core_int order = 70; // more than two panels
    const std::vector<T> matrix = dominant<T>(order);
    core_int status = -99;
};
TYPED_TEST_SUITE(Factors, Types);

TYPED_TEST(Factors, WithoutPivots)
{
    using T = TypeParam;
    constexpr core_int n = TestFixture::order;
    std::vector<T> f = this->matrix;
    lapack("qnm_" + this->l + "getrfnp", n, n, f.data(), n, &this->status);
    EXPECT_EQ(this->status, 0);
    std::vector<T> lower = identity<T>(n), upper(f.size());
    for (core_int j = 0; j < n; ++j)
        for (core_int i = 0; i < n; ++i)
            (i > j ? lower : upper)[static_cast<std::size_t>(i + j * n)] = element(f, n, i, j);
    expect_near(product(lower, upper, n), this->matrix, 4.0 * n);

    std::vector<T> room(static_cast<std::size_t>(n));
    lapack("qnm_" + this->l + "getrinp", n, f.data(), n, room.data(), n, &this->status);
    EXPECT_EQ(this->status, 0);
    expect_near(product(f, this->matrix, n), identity<T>(n));
}

// Stopped half way and taken up again at the rest, the factors are the same.
TYPED_TEST(Factors, StoppedHalfWay)
{
    using T = TypeParam;
    constexpr core_int n = TestFixture::order, half = 40, rest = n - half;
    std::vector<T> whole = this->matrix, parts = this->matrix;
    lapack("qnm_" + this->l + "getrfnp", n, n, whole.data(), n, &this->status);
    lapack("qnm_" + this->l + "getrfnpi", n, n, half, parts.data(), n, &this->status);
    EXPECT_NE(parts, whole);
    lapack("qnm_" + this->l + "getrfnp", rest, rest, &parts[half * (n + 1)], n, &this->status);
    EXPECT_EQ(this->status, 0);
    expect_near(parts, whole, n);
}

TYPED_TEST(Factors, ZeroPivotAndBadArguments)
{
    using T = TypeParam;
    const core_int two = 2, one = 1, minus = -1;
    std::vector<T> f{1, 2, 2, 4};
    lapack("qnm_" + this->l + "getrfnp", two, two, f.data(), two, &this->status);
    EXPECT_EQ(this->status, 2);
    testing::internal::CaptureStderr();
    lapack("qnm_" + this->l + "getrfnp", two, minus, f.data(), two, &this->status);
    EXPECT_EQ(this->status, -2);
    lapack("qnm_" + this->l + "getrfnpi", two, two, two, f.data(), one, &this->status);
    EXPECT_EQ(this->status, -5);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("Parameter 5 was incorrect on entry to QNM_"), std::string::npos) << told;
}

// ---- batches against the plain routine

TYPED_TEST(Factors, StridedBatches)
{
    using T = TypeParam;
    constexpr core_int n = 5, stride = n * n + 3, nrhs = 2, count = 3, stridep = n + 1,
                       strideb = n * nrhs + 1;
    const std::vector<T> a = random_vector<T>(stride * count), b = random_vector<T>(strideb * count);
    std::vector<T> f = a, x = b, inverse(a.size());
    std::vector<core_int> pivots(stridep * count), info(count, -99);
    const auto all_well = [&] { EXPECT_EQ(info, std::vector<core_int>(count, 0)); };
    lapack(this->l + "getrf_batch_strided", n, n, f.data(), n, stride, pivots.data(), stridep, count,
           info.data());
    all_well();
    lapack(this->l + "getrs_batch_strided", "C", n, nrhs, f.data(), n, stride, pivots.data(), stridep,
           x.data(), n, strideb, count, info.data());
    all_well();
    lapack(this->l + "getri_oop_batch_strided", n, f.data(), n, stride, pivots.data(), stridep,
           inverse.data(), n, stride, count, info.data());
    all_well();
    for (core_int p = 0; p < count; ++p) {
        std::vector<T> f1(a.begin() + p * stride, a.begin() + p * stride + n * n), one = f1;
        std::vector<T> x1(b.begin() + p * strideb, b.begin() + p * strideb + n * nrhs);
        std::vector<core_int> pivots1(n);
        lapack(this->l + "getrf", n, n, f1.data(), n, pivots1.data(), &this->status);
        lapack(this->l + "getrs", "C", n, nrhs, f1.data(), n, pivots1.data(), x1.data(), n, &this->status);
        EXPECT_TRUE(std::equal(f1.begin(), f1.end(), f.begin() + p * stride));
        EXPECT_TRUE(std::equal(x1.begin(), x1.end(), x.begin() + p * strideb));
        EXPECT_TRUE(std::equal(pivots1.begin(), pivots1.end(), pivots.begin() + p * stridep));
        EXPECT_TRUE(std::equal(a.begin() + p * stride + n * n, a.begin() + (p + 1) * stride,
                               f.begin() + p * stride + n * n)); // what lies between stays
        const std::vector<T> inverse1(inverse.begin() + p * stride, inverse.begin() + p * stride + n * n);
        expect_near(product(one, inverse1, n), identity<T>(n), 1000);
    }
}

TYPED_TEST(Factors, StridedWithoutPivotsSolves)
{
    using T = TypeParam;
    constexpr core_int n = TestFixture::order, one = 1, two = 2;
    std::vector<T> f = this->matrix;
    f.insert(f.end(), this->matrix.begin(), this->matrix.end());
    const core_int stride = n * n;
    std::vector<core_int> info(2, -99);
    lapack(this->l + "getrfnp_batch_strided", n, n, f.data(), n, stride, two, info.data());
    EXPECT_EQ(info, std::vector<core_int>(2, 0));
    for (const char* trans : {"N", "T", "C"}) {
        // op(A) times a column of ones
        std::vector<T> x(static_cast<std::size_t>(2 * n));
        for (core_int i = 0; i < 2 * n; ++i)
            for (core_int j = 0; j < n; ++j) {
                const T v =
                    *trans == 'N' ? element(this->matrix, n, i % n, j) : element(this->matrix, n, j, i % n);
                x[static_cast<std::size_t>(i)] += *trans == 'C' ? conjugate(v) : v;
            }
        lapack(this->l + "getrsnp_batch_strided", trans, n, one, f.data(), n, stride, x.data(), n, n, two,
               info.data());
        expect_near(x, std::vector<T>(x.size(), T(1)));
    }
}

TYPED_TEST(Factors, LeastSquaresBatch)
{
    using T = TypeParam;
    constexpr core_int m = 6, n = 3, one = 1, count = 2, stride = m * n, query = -1;
    const std::vector<T> a = random_vector<T>(stride * count), b = random_vector<T>(m * count);
    std::vector<core_int> info(count, -99);
    T size{};
    lapack(this->l + "gels_batch_strided", "N", m, n, one, a.data(), m, stride, b.data(), m, m, count, &size,
           query, info.data());
    const auto lwork = static_cast<core_int>(std::real(size));
    ASSERT_GE(lwork, n + m > 2 * n ? 2 * n : n + m);
    std::vector<T> room(static_cast<std::size_t>(lwork)), f = a, x = b;
    lapack(this->l + "gels_batch_strided", "N", m, n, one, f.data(), m, stride, x.data(), m, m, count,
           room.data(), lwork, info.data());
    EXPECT_EQ(info, std::vector<core_int>(count, 0));
    for (core_int p = 0; p < count; ++p) {
        std::vector<T> f1(a.begin() + p * stride, a.begin() + (p + 1) * stride),
            x1(b.begin() + p * m, b.begin() + (p + 1) * m);
        lapack(this->l + "gels", "N", m, n, one, f1.data(), m, x1.data(), m, room.data(), lwork,
               &this->status);
        EXPECT_TRUE(std::equal(x1.begin(), x1.end(), x.begin() + p * m));
    }
}

// Two groups, in both widths of the caller's integers: pivots and INFO are the caller's, the numbers do not
// depend on the width. The last matrix is singular.
template <class T, class I>
void group_batches(std::vector<std::vector<T>>& matrices, std::vector<std::vector<T>>& inverses)
{
    const std::string l = letter<T>();
    constexpr int narrow = sizeof(I) == 4;
    const I n[] = {3, 5}, groups = 2, sizes[] = {2, 2};
    std::vector<T*> a, inverse;
    std::vector<std::vector<I>> pivots(4);
    std::vector<I*> ipiv;
    for (std::size_t p = 0; p < 4; ++p) {
        const auto order = static_cast<std::size_t>(n[p / 2]);
        if (p == 3)
            std::fill_n(matrices[p].begin(), order, T{});
        inverses[p].assign(order * order, T{});
        pivots[p].assign(order, I{-1});
        a.push_back(matrices[p].data());
        inverse.push_back(inverses[p].data());
        ipiv.push_back(pivots[p].data());
    }
    std::array<I, 5> info;
    info.fill(-99);
    const std::string name = "qnm_lapack_" + l;
    by_value<void>(name + "getrf_batch", &n[0], &n[0], a.data(), &n[0], ipiv.data(), &groups, &sizes[0],
                   info.data(), narrow);
    EXPECT_EQ(info, (std::array<I, 5>{0, 0, 0, 1, -99}));
    EXPECT_EQ(pivots[0].back(), 3);
    EXPECT_EQ(pivots[2].back(), 5);
    by_value<void>(name + "getri_oop_batch", &n[0], a.data(), &n[0], ipiv.data(), inverse.data(), &n[0],
                   &groups, &sizes[0], info.data(), narrow);
    EXPECT_EQ(info, (std::array<I, 5>{0, 0, 0, 1, -99}));
    by_value<void>(name + "getrfnp_batch", &n[0], &n[0], a.data(), &n[0], &groups, &sizes[0], info.data(),
                   narrow);
    EXPECT_EQ(info[0], 0);
}

TYPED_TEST(Factors, GroupBatchesInBothWidths)
{
    using T = TypeParam;
    std::vector<std::vector<T>> a{random_vector<T>(9), dominant<T>(3), dominant<T>(5), dominant<T>(5)},
        b = a, before = a;
    before[0] = a[0] = b[0] = dominant<T>(3);
    std::vector<std::vector<T>> inverse(4), inverse_wide(4);
    group_batches<T, int>(a, inverse);
    group_batches<T, core_int>(b, inverse_wide);
    EXPECT_EQ(a, b);
    for (const std::size_t p : {0U, 1U, 2U}) {
        const core_int n = p < 2 ? 3 : 5;
        expect_near(product(before[p], inverse[p], n), identity<T>(n));
        EXPECT_EQ(inverse[p], inverse_wide[p]);
    }
}

// ---- packed triangles

TYPED_TEST(Factors, BlocksOfPackedTriangles)
{
    using T = TypeParam;
    constexpr core_int n = 6, i = 2, j = 3, rows = 3, cols = 2, ld = 4;
    for (const char* uplo : {"U", "L"})
        for (const char* trans : {"N", "T", "C"}) {
            const bool plain = *trans == 'N', upper = *uplo == 'U';
            const std::vector<T> full = random_vector<T>(ld * ld), before = random_vector<T>(n * (n + 1) / 2);
            std::vector<T> packed = before;
            lapack("qnm_" + this->l + "tppack", uplo, trans, n, packed.data(), i, j, rows, cols, full.data(),
                   ld, &this->status);
            EXPECT_EQ(this->status, 0);
            // Column by column, the triangle's elements one behind the other
            std::size_t at = 0;
            for (core_int c = 1; c <= n; ++c)
                for (core_int r = upper ? 1 : c; r <= (upper ? c : n); ++r, ++at) {
                    const core_int down = r - i, across = c - j;
                    const bool inside = down >= 0 && down < rows && across >= 0 && across < cols;
                    T expected = before[at];
                    if (inside)
                        expected = plain ? element(full, ld, down, across) : element(full, ld, across, down);
                    if (inside && *trans == 'C')
                        expected = conjugate(expected);
                    EXPECT_EQ(packed[at], expected) << uplo << trans << r << c;
                }
            // and out of it again
            std::vector<T> back = full;
            lapack("qnm_" + this->l + "tpunpack", uplo, trans, n, packed.data(), i, j, rows, cols,
                   back.data(), ld, &this->status);
            EXPECT_EQ(back, full);
            lapack("qnm_" + this->l + "tpunpack", uplo, trans, n, before.data(), i, j, rows, cols,
                   back.data(), ld, &this->status);
            EXPECT_NE(back, full);
        }
    testing::internal::CaptureStderr();
    std::vector<T> none(36);
    const core_int far = 7;
    lapack("qnm_" + this->l + "tppack", "U", "N", n, none.data(), far, j, rows, cols, none.data(), ld,
           &this->status);
    EXPECT_EQ(this->status, -7); // the rows do not fit there
    EXPECT_NE(testing::internal::GetCapturedStderr().find("TPPACK"), std::string::npos);
}

// ---- scalings

TYPED_TEST(Factors, RowsScaled)
{
    using T = TypeParam;
    constexpr core_int m = 2, n = 2, ld = 3;
    const std::vector<real_t<T>> d{2, 4};
    std::vector<T> x{1, 2, 7, 3, 4, 7};
    lapack(this->l + "lascl2", m, n, d.data(), x.data(), ld);
    EXPECT_EQ(x, (std::vector<T>{2, 8, 7, 6, 16, 7}));
    lapack(this->l + "larscl2", m, n, d.data(), x.data(), ld);
    EXPECT_EQ(x, (std::vector<T>{1, 2, 7, 3, 4, 7}));
    if constexpr (is_complex<T>) {
        const T by(0, 2);
        const core_int two = 2;
        lapack(this->l + "rscl", two, by, x.data(), ld);
        EXPECT_EQ(x, (std::vector<T>{T(0, real_t<T>(-0.5)), 2, 7, T(0, real_t<T>(-1.5)), 4, 7}));
    }
}

// ---- interleaved matrices against the plain routine

TYPED_TEST(Factors, InterleavedMatrices)
{
    using T = TypeParam;
    using R = real_t<T>;
    constexpr core_int n = 4, m = 6, count = 5, format = 32, big = 64 * 64;
    for (const core_int layout : {101, 102})
        for (const std::string routine : {"getrfnp", "potrf", "getrinp", "geqrf"}) {
            const bool tall = routine == "geqrf", by_rows = layout == 101;
            const core_int rows = tall ? m : n, lda = by_rows ? n : rows;
            std::vector<std::vector<T>> matrices;
            std::vector<T*> places;
            for (core_int k = 0; k < count; ++k) {
                std::vector<T> a = random_vector<T>(rows * n);
                for (core_int i = 0; i < n; ++i)
                    a[static_cast<std::size_t>(i + i * lda)] = T(R(20 + k));
                matrices.push_back(a);
            }
            for (auto& a : matrices)
                places.push_back(a.data());
            std::vector<R> packed(big), taup(big), room(big);
            const std::string pack = "qnm_blas_" + this->l + "gepack_compact",
                              unpack = "qnm_blas_" + this->l + "geunpack_compact",
                              name = "qnm_lapack_qnm_" + this->l + routine + "_compact";
            by_value<void>(pack, layout, rows, n, places.data(), lda, packed.data(), lda, format, count);
            core_int* const info = &this->status;
            const core_int upper = 121, lwork = big;
            if (routine == "potrf")
                by_value<void>(name, layout, upper, n, packed.data(), lda, info, format, count);
            else if (routine == "getrfnp")
                by_value<void>(name, layout, n, n, packed.data(), lda, info, format, count);
            else if (routine == "getrinp")
                by_value<void>(name, layout, n, packed.data(), lda, room.data(), lwork, info, format, count);
            else
                by_value<void>(name, layout, rows, n, packed.data(), lda, taup.data(), room.data(), lwork,
                               info, format, count);
            EXPECT_EQ(*info, 0) << name;

            const std::vector<std::vector<T>> before = matrices;
            by_value<void>(unpack, layout, rows, n, places.data(), lda, packed.data(), lda, format, count);
            for (std::size_t k = 0; k < count; ++k) {
                // column by column
                std::vector<T> f(before[k].size()), work(big), tau(n);
                for (core_int i = 0; i < rows; ++i)
                    for (core_int j = 0; j < n; ++j)
                        f[static_cast<std::size_t>(i + j * rows)] =
                            before[k][static_cast<std::size_t>(by_rows ? i * n + j : i + j * rows)];
                if (routine == "potrf")
                    lapack(this->l + "potrf", "U", n, f.data(), n, info);
                else if (routine == "getrfnp")
                    lapack("qnm_" + this->l + "getrfnp", n, n, f.data(), n, info);
                else if (routine == "getrinp")
                    lapack("qnm_" + this->l + "getrinp", n, f.data(), n, work.data(), lwork, info);
                else
                    lapack(this->l + "geqrf", rows, n, f.data(), rows, tau.data(), work.data(), lwork, info);
                EXPECT_EQ(*info, 0) << name;
                std::vector<T> found(f.size());
                for (core_int i = 0; i < rows; ++i)
                    for (core_int j = 0; j < n; ++j)
                        found[static_cast<std::size_t>(i + j * rows)] =
                            matrices[k][static_cast<std::size_t>(by_rows ? i * n + j : i + j * rows)];
                expect_near(found, f, 30);
                if (tall) {
                    std::vector<std::vector<T>> taus(count, std::vector<T>(n));
                    std::vector<T*> tau_places;
                    for (auto& t : taus)
                        tau_places.push_back(t.data());
                    by_value<void>(unpack, core_int{102}, n, core_int{1}, tau_places.data(), n, taup.data(),
                                   n, format, core_int{count});
                    expect_near(taus[k], tau);
                }
            }
        }
    testing::internal::CaptureStderr();
    std::vector<R> none(big);
    const core_int odd = 24, one = 1;
    by_value<void>("qnm_lapack_qnm_" + this->l + "getrfnp_compact", core_int{102}, n, n, none.data(), n,
                   &this->status, odd, one);
    EXPECT_EQ(this->status, -7);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Parameter 7"), std::string::npos);
}

} // namespace
} // namespace qnm::test
