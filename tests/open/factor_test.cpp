// Factors and solutions that the core computes itself: without pivots, in batches, interleaved, packed.
#include "interleaved.hpp"

#include <array>
#include <limits>

namespace qnm::test {
namespace {

// Needs no pivots; with the large elements on the other diagonal it needs them all.
template <class T>
Matrix<T> dominant(core_int n, bool across = false)
{
    Matrix<T> a(n, n);
    for (core_int i = 0; i < n; ++i)
        a(across ? n - 1 - i : i, i) = static_cast<real_t<T>>(4 * n);
    return a;
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
void expect_near(const Matrix<T>& found, const Matrix<T>& expected, double scale = 1)
{
    expect_near(found.data, Matrix<T>(found).take('N', expected).data, scale);
}
template <class T>
Matrix<T> product(const Matrix<T>& a, const Matrix<T>& b)
{
    return product('N', a, 'N', b, T(1), T(0), Matrix<T>(a.rows, b.columns));
}
template <class T>
Matrix<T> identity(core_int n)
{
    return triangle('U', 'U', triangle('L', 'U', Matrix<T>(n, n)));
}

// ---- factors

template <class T>
class Factors : public testing::Test {
protected:
    const std::string l = letter<T>();
    static constexpr core_int order = 70; // more than two panels
    const Matrix<T> matrix = dominant<T>(order);
    core_int status = -99;
};
TYPED_TEST_SUITE(Factors, Types);

TYPED_TEST(Factors, WithoutPivots)
{
    using T = TypeParam;
    constexpr core_int n = TestFixture::order, half = 40, rest = n - half;
    Matrix<T> f = this->matrix, parts = f;
    lapack("qnm_" + this->l + "getrfnp", n, n, f, &this->status);
    EXPECT_EQ(this->status, 0);
    expect_near(product(triangle('L', 'U', f), triangle('U', 'N', f)), this->matrix, 4.0 * n);
    // Stopped half way and taken up again at the rest, the factors are the same.
    lapack("qnm_" + this->l + "getrfnpi", n, n, half, parts, &this->status);
    EXPECT_NE(parts.data, f.data);
    lapack("qnm_" + this->l + "getrfnp", rest, rest, &parts(half, half), parts.ld, &this->status);
    EXPECT_EQ(this->status, 0);
    expect_near(parts, f, n);

    std::vector<T> room(static_cast<std::size_t>(n));
    lapack("qnm_" + this->l + "getrinp", n, f, room, n, &this->status);
    EXPECT_EQ(this->status, 0);
    expect_near(product(f, this->matrix), identity<T>(n));
}

TYPED_TEST(Factors, OfADominantTridiagonalMatrix)
{
    using T = TypeParam;
    constexpr core_int n = 6, nrhs = 3;
    Matrix<T> a = dominant<T>(n), b(n, nrhs);
    const Matrix<T> x = b;
    std::vector<T> d, dl, du;
    for (core_int j = 0; j < n; ++j)
        for (core_int i = 0; i < n; ++i)
            if (i >= j - 1 && i <= j + 1)
                (i == j ? d : i > j ? dl : du).push_back(a(i, j));
            else
                a(i, j) = 0;
    b = product(a, x);
    lapack(this->l + "dtsvb", n, nrhs, dl, d, du, b, &this->status);
    EXPECT_EQ(this->status, 0);
    expect_near(b, x, n);
    d[1] = dl[0] = 0;
    lapack(this->l + "dtsvb", n, nrhs, dl, d, du, b, &this->status);
    EXPECT_EQ(this->status, 2);
}

TYPED_TEST(Factors, ZeroPivotAndBadArguments)
{
    using T = TypeParam;
    const core_int two = 2, one = 1, minus = -1;
    std::vector<T> f{1, 2, 2, 4}, zeros(4);
    lapack("qnm_" + this->l + "getrfnp", two, two, f, two, &this->status);
    EXPECT_EQ(this->status, 2);
    lapack("qnm_" + this->l + "getrfnp", two, two, zeros, two, &this->status);
    EXPECT_EQ(this->status, 1);
    testing::internal::CaptureStderr();
    lapack("qnm_" + this->l + "getrfnp", two, minus, f, two, &this->status);
    EXPECT_EQ(this->status, -2);
    lapack("qnm_" + this->l + "getrfnpi", two, two, two, f, one, &this->status);
    EXPECT_EQ(this->status, -5);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("Parameter 5 was incorrect on entry to QNM_"), std::string::npos) << told;
}

// ---- batches against the plain routine

// The arrays of matrices of one size, one behind the other, and out of there again.
template <class T>
std::vector<T> joined(const Matrices<T>& matrices)
{
    std::vector<T> all;
    for (const Matrix<T>& a : matrices)
        all.insert(all.end(), a.data.begin(), a.data.end());
    return all;
}
template <class T>
core_int stride(const Matrices<T>& matrices)
{
    return static_cast<core_int>(matrices[0].data.size());
}

TYPED_TEST(Factors, StridedBatchesAreLoops)
{
    using T = TypeParam;
    constexpr core_int n = 5, m = 7, nrhs = 2, count = 2, stridep = n + 1, query = -1;
    core_int* const info = &this->status;
    const auto batch = [&](const char* routine, const auto&... arguments) {
        std::vector<core_int> infos(count, -99);
        lapack(this->l + routine + "_batch_strided", arguments..., infos);
        EXPECT_EQ(infos, std::vector<core_int>(count, 0)) << routine;
    };
    Matrices<T> a{dominant<T>(n, true), dominant<T>(n)}, inverse{Matrix<T>(n, n, 1), Matrix<T>(n, n, 1)},
        x{Matrix<T>(n, nrhs), Matrix<T>(n, nrhs)}, tall{Matrix<T>(m, n), Matrix<T>(m, n)},
        y{Matrix<T>(m, nrhs), Matrix<T>(m, nrhs)};
    for (core_int i = 0; i < n; ++i)
        tall[0](i, i) = tall[1](i, i) = T(20);
    std::vector<T> f = joined(a), inverses = joined(inverse), xs = joined(x), qr = joined(tall),
                   ys = joined(y);
    std::vector<core_int> pivots(stridep * count), pivots1 = pivots;
    const core_int lda = a[0].ld, ldx = x[0].ld, ldt = tall[0].ld, ldy = y[0].ld;
    batch("getrf", n, n, f, lda, stride(a), pivots, stridep, count);
    batch("getrs", "C", n, nrhs, f, lda, stride(a), pivots, stridep, xs, ldx, stride(x), count);
    batch("getri_oop", n, f, lda, stride(a), pivots, stridep, inverses, inverse[0].ld, stride(inverse),
          count);
    T size{};
    batch("gels", "N", m, n, nrhs, qr, ldt, stride(tall), ys, ldy, stride(y), count, &size, query);
    const auto lwork = static_cast<core_int>(std::real(size));
    ASSERT_GE(lwork, 2 * n);
    std::vector<T> work(static_cast<std::size_t>(lwork));
    batch("gels", "N", m, n, nrhs, qr, ldt, stride(tall), ys, ldy, stride(y), count, work, lwork);
    for (std::size_t p = 0; p < count; ++p) {
        core_int* const ipiv = &pivots1[p * stridep];
        lapack(this->l + "getrf", n, n, a[p], ipiv, info);
        lapack(this->l + "getrs", "C", n, nrhs, a[p], ipiv, x[p], info);
        lapack(this->l + "getri", n, inverse[p].take('N', a[p]), ipiv, work, n, info);
        lapack(this->l + "gels", "N", m, n, nrhs, tall[p], y[p], work, lwork, info);
    }
    EXPECT_EQ(pivots, pivots1);
    expect_near(f, joined(a));
    expect_near(xs, joined(x));
    expect_near(inverses, joined(inverse));
    expect_near(qr, joined(tall));
    expect_near(ys, joined(y));
}

TYPED_TEST(Factors, StridedWithoutPivotsSolves)
{
    using T = TypeParam;
    constexpr core_int n = 9, nrhs = 2, count = 2;
    const Matrices<T> a{dominant<T>(n), dominant<T>(n)};
    std::vector<T> f = joined(a);
    std::vector<core_int> info(count, -99);
    lapack(this->l + "getrfnp_batch_strided", n, n, f, a[0].ld, stride(a), count, info);
    EXPECT_EQ(info, std::vector<core_int>(count, 0));
    for (const char trans : transposes) {
        const Matrices<T> x{Matrix<T>(n, nrhs), Matrix<T>(n, nrhs)};
        Matrices<T> b = x;
        for (std::size_t p = 0; p < count; ++p)
            b[p] = product(trans, a[p], 'N', x[p], T(1), T(0), b[p]);
        std::vector<T> solved = joined(b);
        lapack(this->l + "getrsnp_batch_strided", trans, n, nrhs, f, a[0].ld, stride(a), solved, b[0].ld,
               stride(b), count, info);
        for (std::size_t p = 0; p < count; ++p) {
            std::copy_n(&solved[p * b[p].data.size()], b[p].data.size(), b[p].data.begin());
            expect_near(b[p], x[p]);
        }
    }
}

// Two groups, with the caller's integers: pivots and INFO are of their width. The last matrix is singular.
template <class I, class T>
void expect_loops_of_groups()
{
    const std::string l = letter<T>(), name = "qnm_lapack_" + l;
    Matrices<T> a{dominant<T>(3, true), dominant<T>(3), dominant<T>(5, true), dominant<T>(5)}, plain = a,
                                                                                               inverse;
    a[3].take('N', a[3], T(0));
    plain[0] = dominant<T>(3), plain[2] = dominant<T>(5), plain[3] = a[3];
    for (const Matrix<T>& each : a)
        inverse.emplace_back(each.rows, each.rows, 1);
    Matrices<T> f = a, np = plain, inverted = inverse;
    const I n[] = {3, 5}, lda[] = {static_cast<I>(a[0].ld), static_cast<I>(a[2].ld)}, ldi[] = {4, 6};
    const I groups = 2, sizes[] = {2, 2};
    std::vector<std::vector<I>> pivots(4, std::vector<I>(6, -1));
    std::vector<T*> fs, nps, inverses;
    std::vector<I*> ipiv;
    for (std::size_t p = 0; p < 4; ++p) {
        fs.push_back(f[p].data.data());
        nps.push_back(np[p].data.data());
        inverses.push_back(inverted[p].data.data());
        ipiv.push_back(pivots[p].data());
    }
    const auto batch = [&](const char* routine, const auto&... arguments) {
        std::vector<I> info(5, -99);
        by_value<void>(name + routine, arguments..., &groups, &sizes[0], info, int{sizeof(I) == 4});
        EXPECT_EQ(info, (std::vector<I>{0, 0, 0, 1, -99})) << routine;
    };
    batch("getrf_batch", &n[0], &n[0], fs, &lda[0], ipiv);
    batch("getri_oop_batch", &n[0], fs, &lda[0], ipiv, inverses, &ldi[0]);
    batch("getrfnp_batch", &n[0], &n[0], nps, &lda[0]);
    for (std::size_t p = 0; p < 4; ++p) {
        const core_int order = a[p].rows;
        core_int info = 0;
        std::vector<core_int> one_pivots(6, -1);
        std::vector<T> work(5);
        lapack(l + "getrf", order, order, a[p], one_pivots, &info);
        EXPECT_EQ(std::vector<core_int>(pivots[p].begin(), pivots[p].end()), one_pivots);
        expect_near(f[p].data, a[p].data);
        lapack(l + "getri", order, inverse[p].take('N', a[p]), one_pivots, work, order, &info);
        expect_near(inverted[p].data, inverse[p].data);
        lapack("qnm_" + l + "getrfnp", order, order, plain[p], &info);
        expect_near(np[p].data, plain[p].data);
    }
}

TYPED_TEST(Factors, GroupBatchesInBothWidthsAreLoops)
{
    expect_loops_of_groups<int, TypeParam>();
    expect_loops_of_groups<core_int, TypeParam>();
}

// ---- packed triangles

TYPED_TEST(Factors, BlocksOfPackedTriangles)
{
    using T = TypeParam;
    constexpr core_int n = 6, i = 2, j = 3, rows = 3, cols = 2, far = 7;
    const std::string pack = "qnm_" + this->l + "tppack", unpack = "qnm_" + this->l + "tpunpack";
    core_int* const info = &this->status;
    for (const char uplo : {'U', 'L'})
        for (const char trans : transposes) {
            const Matrix<T> full = stored<T>(trans, rows, cols);
            const std::vector<T> before = random_vector<T>(n * (n + 1) / 2);
            std::vector<T> packed = before, expected;
            // Column by column, the triangle's elements one behind the other
            for (core_int c = 1; c <= n; ++c)
                for (core_int r = uplo == 'U' ? 1 : c; r <= (uplo == 'U' ? c : n); ++r) {
                    const bool inside = r >= i && r < i + rows && c >= j && c < j + cols;
                    expected.push_back(inside ? full.op(trans, r - i, c - j) : before[expected.size()]);
                }
            lapack(pack, uplo, trans, n, packed, i, j, rows, cols, full, info);
            EXPECT_EQ(*info, 0);
            EXPECT_EQ(packed, expected) << uplo << trans;
            Matrix<T> back = full;
            lapack(unpack, uplo, trans, n, packed, i, j, rows, cols, back, info);
            EXPECT_EQ(back.data, full.data);
            lapack(unpack, uplo, trans, n, before, i, j, rows, cols, back, info);
            EXPECT_NE(back.data, full.data);
        }
    testing::internal::CaptureStderr();
    const Matrix<T> none(n, n);
    lapack(pack, "U", "N", n, none.data, far, j, rows, cols, none, info);
    EXPECT_EQ(*info, -7); // the rows do not fit there
    EXPECT_NE(testing::internal::GetCapturedStderr().find("TPPACK"), std::string::npos);
}

// ---- scalings

TYPED_TEST(Factors, RowsScaled)
{
    using T = TypeParam;
    constexpr core_int m = 2, n = 2, ld = 3;
    const std::vector<real_t<T>> d{2, 4};
    std::vector<T> x{1, 2, 7, 3, 4, 7};
    lapack(this->l + "lascl2", m, n, d, x, ld);
    EXPECT_EQ(x, (std::vector<T>{2, 8, 7, 6, 16, 7}));
    lapack(this->l + "larscl2", m, n, d, x, ld);
    EXPECT_EQ(x, (std::vector<T>{1, 2, 7, 3, 4, 7}));
    if constexpr (is_complex<T>) {
        lapack(this->l + "rscl", n, T(0, 2), x, ld);
        EXPECT_EQ(x, (std::vector<T>{T(0, real_t<T>(-0.5)), 2, 7, T(0, real_t<T>(-1.5)), 4, 7}));
    }
}

// ---- interleaved matrices against the plain routine

TYPED_TEST(Factors, InterleavedMatrices)
{
    using T = TypeParam;
    using R = real_t<T>;
    constexpr core_int n = 4, m = 6, count = 5, format = 32, big = 64 * 64;
    core_int* const info = &this->status;
    std::vector<R> room(big);
    std::vector<T> work(big);
    for (const core_int layout : {row_major, column_major})
        for (const std::string routine : {"getrfnp", "potrf", "getrinp", "geqrf"}) {
            SCOPED_TRACE(routine);
            Matrices<T> matrices, taus;
            for (core_int k = 0; k < count; ++k) {
                matrices.emplace_back(routine == "geqrf" ? m : n, n);
                taus.emplace_back(n, 1);
                for (core_int i = 0; i < n; ++i)
                    matrices.back()(i, i) = T(R(20 + k));
            }
            Interleaved<T> packed(layout, format, matrices);
            Interleaved<T> tau(column_major, format, taus, 0);
            const auto compact = [&](const auto&... arguments) {
                by_value<void>("qnm_lapack_qnm_" + this->l + routine + "_compact", layout, arguments..., info,
                               format, count);
                EXPECT_EQ(*info, 0);
            };
            if (routine == "potrf")
                compact(upper, n, packed);
            else if (routine == "getrfnp")
                compact(n, n, packed);
            else if (routine == "getrinp")
                compact(n, packed, room, big);
            else
                compact(m, n, packed, tau.packs, room, big);
            const Matrices<T> found = packed.unpacked(matrices), found_taus = tau.unpacked(taus);
            for (std::size_t k = 0; k < count; ++k) {
                if (routine == "potrf")
                    lapack(this->l + "potrf", "U", n, matrices[k], info);
                else if (routine == "getrfnp")
                    lapack("qnm_" + this->l + "getrfnp", n, n, matrices[k], info);
                else if (routine == "getrinp")
                    lapack("qnm_" + this->l + "getrinp", n, matrices[k], work, big, info);
                else
                    lapack(this->l + "geqrf", m, n, matrices[k], taus[k].data, work, big, info);
                EXPECT_EQ(*info, 0);
                expect_near(found[k], matrices[k], 30);
                expect_near(found_taus[k], taus[k]);
            }
        }
    testing::internal::CaptureStderr();
    const core_int odd = 24, one = 1;
    by_value<void>("qnm_lapack_qnm_" + this->l + "getrfnp_compact", column_major, n, n, room, n, info, odd,
                   one);
    EXPECT_EQ(*info, -7);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Parameter 7"), std::string::npos);
}

} // namespace
} // namespace qnm::test
