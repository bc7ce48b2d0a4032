// What the core computes beside the engine, against the engine's plain routines on whole numbers.
#include "core.hpp"

namespace qnm::test {
namespace {

QNM_TYPED(Linear, GemmtIsOneTriangleOfGemmWhateverItsName)
{
    for (int round = 0; round < 100; ++round) {
        const std::string names[] = {"?gemm", "x?gemm", "qnm_?gemm_jit", "qnm_?gemm_direct_jit"};
        const char uplo = pick("UL"), transa = pick("NTC"), transb = pick("NTC");
        const core_int n = any_size(), k = any_size();
        const T alpha = any_factor<T>(), beta = any_factor<T>();
        const auto a = stored<T>(transa, n, k), b = stored<T>(transb, k, n);
        Matrix<T> c(n, n), expected = c;
        blas<T>(names[round % 4], transa, transb, n, n, k, alpha, a, b, beta, expected);
        for (core_int j = 0; j < n; ++j)
            for (core_int i = 0; i < n; ++i)
                if (!c.holds(uplo, i, j))
                    expected(i, j) = c(i, j);
        blas<T>("?gemmt", uplo, transa, transb, n, k, alpha, a, b, beta, c);
        ASSERT_EQ(c.data, expected.data) << uplo << transa << transb << n;
    }
}

QNM_TYPED(Linear, TriangularOutOfPlaceAndPacked)
{
    for (int round = 0; round < 60; ++round) {
        const char side = core::upper_case(pick("LR")), uplo = pick("UL"), trans = pick("NTC"),
                   diag = pick("NU");
        const core_int m = any_size(), n = any_size();
        const T alpha = any_factor<T>(), beta = any_factor<T>();
        Matrix<T> a(side == 'L' ? m : n, side == 'L' ? m : n);
        a.take('N', a, T(static_cast<real_t<T>>(0.002))).fill_diagonal(T(2)); // solutions do not grow
        const Matrix<T> b(m, n), before(m, n, 5);
        for (const std::string routine : {"?trmm", "?trsm"}) {
            Matrix<T> plain = b, x = b, c = before, expected = before;
            blas<T>(routine, side, uplo, trans, diag, m, n, alpha, a, plain);
            expected.take('N', plain, T(1), beta);
            if (beta == T(0)) // then C may hold anything
                c.spoil();
            blas<T>(routine + "_oop", side, uplo, trans, diag, m, n, alpha, a, b, beta, c);
            expect_near(c.data, expected.data);
            if (is_complex<T> || routine != "?trmm")
                continue;
            blas<T>("?ptrmm", side, uplo, trans, diag, m, n, alpha, a.packed(uplo), x);
            expect_near(x.data, plain.data);
        }
    }
}

QNM_TYPED_OF(Linear, ARealMatrixIsAComplexOne, cfloat, cdouble)
{
    const std::string mixed = letter<real_t<T>> + "?";
    for (int round = 0; round < 60; ++round) {
        const char transa = pick("NTC"), transb = pick("NTC");
        const core_int m = any_size(), n = any_size(), k = any_size(), inc = random_integer(1, 3);
        const T alpha = any_factor<T>(), beta = any_factor<T>();
        const auto a = stored<real_t<T>>(transa, m, k);
        const auto b = stored<T>(transb, k, n);
        Matrix<T> wide(a.rows, a.columns), c(m, n), expected = c;
        wide.data.assign(a.data.begin(), a.data.end());
        blas<T>(mixed + "gemm", transa, transb, m, n, k, alpha, a, b, beta, c);
        blas<T>("?gemm", transa, transb, m, n, k, alpha, wide, b, beta, expected);
        ASSERT_EQ(c.data, expected.data);
        if (m == 0 || k == 0)
            continue;
        Matrix<T> x(k, 1, 0, inc - 4), y(m, 1, 0, round % 2 == 0 ? inc : -inc), expected_y = y;
        if (beta == T(0)) // then y may hold anything
            y.spoil();
        blas<T>(mixed + "gemv", transa, a.rows, a.columns, alpha, a, x.data, x.inc, beta, y.data, y.inc);
        blas<T>("?gemv", transa, a.rows, a.columns, alpha, wide, x.data, x.inc, beta, expected_y.data, y.inc);
        ASSERT_EQ(y.data, expected_y.data) << transa << y.inc;
    }
}

QNM_TYPED(Linear, TwoProductsWithOneMatrix)
{
    const Matrix<T> a(6, 4);
    const T alpha = T(2), beta = T(3);
    const auto x1 = random_vector<T>(20), x2 = random_vector<T>(20);
    auto y1 = random_vector<T>(20), y2 = y1, expected1 = y1, expected2 = y1;
    const core_int two = 2, back = -1, one = 1, far = -3;
    blas<T>(is_complex<T> ? "?gem2vc" : "?gem2vu", a.rows, a.columns, alpha, a, x1, two, x2, back, beta, y1,
            one, y2, far);
    blas<T>("?gemv", 'N', a.rows, a.columns, alpha, a, x1, two, beta, expected1, one);
    blas<T>("?gemv", 'C', a.rows, a.columns, alpha, a, x2, back, beta, expected2, far);
    EXPECT_EQ(y1, expected1);
    EXPECT_EQ(y2, expected2);
}

// A sparse routine does what is told here to each element of x, and to that of y that its index names.
QNM_TYPED(Linear, SparseVectorsAreDenseOnes)
{
    const std::vector<core_int> indx{4, 1, 7}; // from one
    const core_int nz = 3, none = -1;
    const T alpha = T(4), c = T(2), s = T(3);
    const auto x0 = random_vector<T>(nz), y0 = random_vector<T>(8);
    auto x = x0, y = y0;
    const auto expect = [&](auto on_elements) {
        auto expected_x = x0, expected_y = y0;
        for (std::size_t i = 0; i < indx.size(); ++i)
            on_elements(expected_x[i], expected_y[static_cast<std::size_t>(indx[i] - 1)]);
        EXPECT_EQ(std::exchange(x, x0), expected_x);
        EXPECT_EQ(std::exchange(y, y0), expected_y);
    };
    blas<T>("?sctr", nz, x, indx, y);
    expect([](T& xi, T& yi) { yi = xi; });
    blas<T>("?gthr", nz, y, x, indx);
    expect([](T& xi, T& yi) { xi = yi; });
    blas<T>("?gthrz", nz, y, x, indx);
    expect([](T& xi, T& yi) { xi = std::exchange(yi, T{}); });
    blas<T>("?axpyi", nz, alpha, x, indx, y);
    expect([&](T& xi, T& yi) { yi += alpha * xi; });
    blas<T>("?sctr", none, x, indx, y);
    T dot{}, dotc{}, found{}, foundc{};
    expect([&](T& xi, T& yi) { dot += xi * yi, dotc += conjugate(xi) * yi; });
    if constexpr (is_complex<T>) {
        blas<T>("?dotui", &found, nz, x0, indx, y0);
        blas<T>("?dotci", &foundc, nz, x0, indx, y0);
        EXPECT_EQ(foundc, dotc);
    } else {
        found = blas<T, T>("?doti", nz, x0, indx, y0);
        blas<T>("?roti", nz, x, indx, y, c, s);
        expect([&](T& xi, T& yi) { std::tie(xi, yi) = std::pair(c * xi + s * yi, c * yi - s * xi); });
    }
    EXPECT_EQ(found, dot);
}

} // namespace
} // namespace qnm::test
