// Factorisations that the core computes itself: without pivots, packed, scaled.
#include "core.hpp"

namespace qnm::test {
namespace {

// Where the diagonal is large, pivoting finds nothing to exchange.
QNM_TYPED(Factors, WithoutPivots)
{
    constexpr core_int n = 70, half = 40, rest = n - half; // more than two panels
    Matrix<T> a(n, n);
    a.fill_diagonal(T(4 * n));
    Matrix<T> f = a, parts = a;
    std::vector<core_int> pivots(n);
    std::vector<T> room(n);
    lapack<T>("?getrf", n, n, a, pivots);
    EXPECT_EQ(lapack<T>("qnm_?getrfnp", n, n, f), 0);
    expect_near(f.data, a.data);
    // Stopped half way and taken up again at the rest, the factors are the same.
    lapack<T>("qnm_?getrfnpi", n, n, half, parts);
    EXPECT_NE(parts.data, f.data);
    EXPECT_EQ(lapack<T>("qnm_?getrfnp", rest, rest, &parts(half, half), parts.ld), 0);
    expect_near(parts.data, a.data);
    lapack<T>("?getri", n, a, pivots, room, n);
    EXPECT_EQ(lapack<T>("qnm_?getrinp", n, f, room, n), 0);
    expect_near(f.data, a.data);
}

QNM_TYPED(Factors, OfADominantTridiagonalMatrix)
{
    constexpr core_int n = 6, nrhs = 3;
    auto dl = random_vector<T>(n), du = random_vector<T>(n), d = std::vector<T>(n, T(20));
    Matrix<T> b(n, nrhs), x = b;
    auto below = dl, above = du, diagonal = d;
    lapack<T>("?gtsv", n, nrhs, below, diagonal, above, x);
    EXPECT_EQ(lapack<T>("?dtsvb", n, nrhs, dl, d, du, b), 0);
    expect_near(b.data, x.data);
    d[1] = dl[0] = 0;
    EXPECT_EQ(lapack<T>("?dtsvb", n, nrhs, dl, d, du, b), 2);
}

QNM_TYPED(Factors, ZeroPivotAndBadArguments)
{
    const core_int two = 2, one = 1, minus = -1, none = 0, far = 7;
    const std::vector<T> f{1, 2, 2, 4}, zeros(49);
    T size{};
    EXPECT_EQ(lapack<T>("qnm_?getrfnp", two, two, f, two), 2);
    EXPECT_EQ(lapack<T>("qnm_?getrfnp", two, two, zeros, two), 1);
    EXPECT_EQ(lapack<T>("qnm_?getrinp", none, &size, one, &size, minus), 0);
    EXPECT_EQ(size, T(1));
    EXPECT_EQ(lapack<T>("qnm_?getrinp", none, &size, one, &size, none), 0);
    const Reports reports;
    EXPECT_EQ(lapack<T>("qnm_?getrfnp", two, minus, f, two), -2);
    EXPECT_EQ(lapack<T>("qnm_?getrfnpi", two, two, two, f, one), -5);
    EXPECT_EQ(lapack<T>("qnm_?tppack", "U", "N", far, zeros, far, one, two, one, zeros, far), -7);
    reports.expect<T>({"QNM_?GETRFNP 2", "QNM_?GETRFNPI 5", "QNM_?TPPACK 7"});
}

QNM_TYPED(Factors, BlocksOfPackedTriangles)
{
    for (int round = 0; round < 20; ++round) {
        constexpr core_int n = 6, i = 2, j = 3, rows = 3, cols = 2;
        const char uplo = pick("UL"), trans = pick("NTC");
        const Matrix<T> whole(n, n), full = stored<T>(trans, rows, cols);
        Matrix<T> expected = whole, back = full;
        for (core_int c = 0; c < cols; ++c)
            for (core_int r = 0; r < rows; ++r)
                expected(i - 1 + r, j - 1 + c) = full.op(trans, r, c);
        auto packed = whole.packed(uplo);
        EXPECT_EQ(lapack<T>("qnm_?tppack", uplo, trans, n, packed, i, j, rows, cols, full), 0);
        EXPECT_EQ(packed, expected.packed(uplo));
        lapack<T>("qnm_?tpunpack", uplo, trans, n, packed, i, j, rows, cols, back);
        EXPECT_EQ(back.data, full.data);
        lapack<T>("qnm_?tpunpack", uplo, trans, n, whole.packed(uplo), i, j, rows, cols, back);
        EXPECT_NE(back.data, full.data);
    }
}

QNM_TYPED(Factors, RowsScaled)
{
    constexpr core_int m = 2, n = 2, ld = 3;
    const std::vector<real_t<T>> d{2, 4};
    const std::vector<T> before{1, 2, 7, 3, 4, 7};
    std::vector<T> x = before;
    lapack<T>("?lascl2", m, n, d, x, ld);
    EXPECT_EQ(x, (std::vector<T>{2, 8, 7, 6, 16, 7}));
    lapack<T>("?larscl2", m, n, d, x, ld);
    EXPECT_EQ(x, before);
    if constexpr (is_complex<T>) {
        lapack<T>("?rscl", n, T(0, 2), x, ld);
        EXPECT_EQ(x, (std::vector<T>{T(0, real_t<T>(-0.5)), 2, 7, T(0, real_t<T>(-1.5)), 4, 7}));
    }
}

} // namespace
} // namespace qnm::test
