// What the core computes beside the engine, against plain loops.
#include "core.hpp"

#include <limits>

namespace qnm::test {
namespace {

template <class T>
class AllTypes : public testing::Test {
};
TYPED_TEST_SUITE(AllTypes, Types);
template <class T>
class Complexes : public testing::Test {
};
TYPED_TEST_SUITE(Complexes, ComplexTypes);

TYPED_TEST(AllTypes, GemmtUpdatesOneTriangle)
{
    using T = TypeParam;
    for (const char uplo : {'U', 'l'})
        for (const char transa : {'N', 'T', 'C'})
            for (const char transb : {'N', 'T', 'C'})
                for (const core_int n : {0, 1, 31, 70})
                    for (const T beta : {T(0), T(2)}) {
                        const core_int k = 7;
                        const T alpha = random_value<T>();
                        const auto a = stored<T>(transa, n, k), b = stored<T>(transb, k, n);
                        const Matrix<T> before(n, n);
                        auto c = before, expected = before;
                        for (core_int j = 0; j < n; ++j)
                            for (core_int i = 0; i < n; ++i)
                                if (uplo == 'U' ? i <= j : i >= j)
                                    expected(i, j) = product_element(
                                        k, alpha, [&](core_int h) { return a.op(transa, i, h); },
                                        [&](core_int h) { return b.op(transb, h, j); }, beta, before(i, j));
                        blas(letter<T>() + "gemmt", uplo, transa, transb, n, k, alpha, a.data.data(), a.ld,
                             b.data.data(), b.ld, beta, c.data.data(), c.ld);
                        ASSERT_EQ(c.data, expected.data) << uplo << transa << transb << n;
                    }
}

// B = op(A) * X or X * op(A) with whole numbers is formed by plain loops. Then the product of X and the
// solution for B are known exactly, since all that a solve divides by is 2.
template <class T>
void triangular_routines(char side, char uplo, char trans, char diag, core_int m, core_int n)
{
    SCOPED_TRACE((std::string{side, uplo, trans, diag}));
    Matrix<T> a(side == 'L' ? m : n, side == 'L' ? m : n);
    for (core_int i = 0; i < a.rows; ++i)
        a(i, i) = T(2);
    auto element = [&](core_int i, core_int j) { // of op(A)
        const bool stored = (uplo == 'U') == (trans == 'N') ? i <= j : i >= j;
        return i == j && diag == 'U' ? T(1) : stored ? a.op(trans, i, j) : T{};
    };
    const Matrix<T> x(m, n), before(m, n);
    auto b = x;
    for (core_int j = 0; j < n; ++j)
        for (core_int i = 0; i < m; ++i) {
            b(i, j) = T{};
            for (core_int h = 0; h < a.rows; ++h)
                b(i, j) += side == 'L' ? element(i, h) * x(h, j) : x(i, h) * element(h, j);
        }
    const T alpha = T(2);
    for (const T beta : {T(0), T(3)})
        for (const bool solve : {false, true}) {
            auto c = before, expected = before;
            for (core_int j = 0; j < n; ++j)
                for (core_int i = 0; i < m; ++i) {
                    expected(i, j) = alpha * (solve ? x : b)(i, j) + beta * before(i, j);
                    if (beta == T{}) // then C may hold anything
                        c(i, j) = std::numeric_limits<real_t<T>>::quiet_NaN();
                }
            const auto& given = solve ? b : x;
            blas(letter<T>() + (solve ? "trsm_oop" : "trmm_oop"), side, uplo, trans, diag, m, n, alpha,
                 a.data.data(), a.ld, given.data.data(), given.ld, beta, c.data.data(), c.ld);
            ASSERT_EQ(c.data, expected.data) << "solve " << solve;
        }
    if constexpr (!is_complex<T>) {
        std::vector<T> packed;
        for (core_int j = 0; j < a.columns; ++j)
            for (core_int i = uplo == 'U' ? 0 : j; i < (uplo == 'U' ? j + 1 : a.rows); ++i)
                packed.push_back(a(i, j));
        auto in_place = x, expected = x;
        for (core_int j = 0; j < n; ++j)
            for (core_int i = 0; i < m; ++i)
                expected(i, j) = alpha * b(i, j);
        blas(letter<T>() + "ptrmm", side, uplo, trans, diag, m, n, alpha, packed.data(), in_place.data.data(),
             in_place.ld);
        ASSERT_EQ(in_place.data, expected.data) << "packed";
    }
}

TYPED_TEST(AllTypes, TriangularOutOfPlaceAndPacked)
{
    for (const char side : {'L', 'R'})
        for (const char uplo : {'U', 'L'})
            for (const char trans : {'N', 'T', 'C'})
                for (const char diag : {'N', 'U'}) {
                    triangular_routines<TypeParam>(side, uplo, trans, diag, 3, 4);
                    triangular_routines<TypeParam>(side, uplo, trans, diag, 67, 130); // several panels
                }
}

TYPED_TEST(Complexes, RealMatrixTimesComplexMatrix)
{
    using T = TypeParam;
    const std::string name = sizeof(T) == 8 ? "scgemm" : "dzgemm";
    for (const char transa : {'N', 'T', 'C'})
        for (const char transb : {'N', 'T', 'C'}) {
            const core_int m = 6, n = 5, k = 7;
            const T alpha(2, -1), beta(1, 3);
            const auto a = stored<real_t<T>>(transa, m, k);
            const auto b = stored<T>(transb, k, n);
            const Matrix<T> before(m, n);
            auto c = before, expected = before;
            for (core_int j = 0; j < n; ++j)
                for (core_int i = 0; i < m; ++i)
                    expected(i, j) = product_element(
                        k, alpha, [&](core_int h) { return a.op(transa, i, h); },
                        [&](core_int h) { return b.op(transb, h, j); }, beta, before(i, j));
            blas(name, transa, transb, m, n, k, alpha, a.data.data(), a.ld, b.data.data(), b.ld, beta,
                 c.data.data(), c.ld);
            ASSERT_EQ(c.data, expected.data) << transa << transb;
        }
}

// A vector of n elements in its memory, walked as BLAS walks it.
template <class T>
struct Strided {
    core_int n, inc;
    std::vector<T> data;
    Strided(core_int count, core_int increment)
        : n(count), inc(increment), data(random_vector<T>(std::abs(increment) * (count - 1) + 1))
    {
    }
    T& operator[](core_int i)
    {
        return data[static_cast<std::size_t>(inc > 0 ? i * inc : (i - n + 1) * inc)];
    }
};

// y := alpha * op(A) * x + beta * y
template <class A, class T>
void naive_gemv(char trans, const Matrix<A>& a, T alpha, Strided<T>& x, T beta, Strided<T>& y)
{
    for (core_int i = 0; i < y.n; ++i)
        y[i] = product_element(
            x.n, alpha, [&](core_int h) { return a.op(trans, i, h); }, [&](core_int h) { return x[h]; }, beta,
            y[i]);
}

TYPED_TEST(Complexes, RealMatrixTimesComplexVector)
{
    using T = TypeParam;
    const core_int m = 6, n = 4;
    const Matrix<real_t<T>> a(m, n);
    const T alpha(1, 2);
    for (const char trans : {'N', 'T', 'C'})
        for (const core_int inc : {1, 3, -2})
            for (const T beta : {T(0), T(2, -1)}) {
                Strided<T> x(trans == 'N' ? n : m, inc), y(trans == 'N' ? m : n, -inc);
                auto expected = y;
                naive_gemv(trans, a, alpha, x, beta, expected);
                blas(sizeof(T) == 8 ? "scgemv" : "dzgemv", trans, m, n, alpha, a.data.data(), a.ld,
                     x.data.data(), x.inc, beta, y.data.data(), y.inc);
                ASSERT_EQ(y.data, expected.data) << trans << inc;
            }
}

TYPED_TEST(AllTypes, TwoProductsWithOneMatrix)
{
    using T = TypeParam;
    const core_int m = 6, n = 4;
    const Matrix<T> a(m, n);
    const T alpha = T(2), beta = T(3);
    Strided<T> x1(n, 2), x2(m, -1), y1(m, 1), y2(n, -3);
    auto expected1 = y1, expected2 = y2;
    naive_gemv('N', a, alpha, x1, beta, expected1);
    naive_gemv('C', a, alpha, x2, beta, expected2);
    blas(letter<T>() + (is_complex<T> ? "gem2vc" : "gem2vu"), m, n, alpha, a.data.data(), a.ld,
         x1.data.data(), x1.inc, x2.data.data(), x2.inc, beta, y1.data.data(), y1.inc, y2.data.data(),
         y2.inc);
    EXPECT_EQ(y1.data, expected1.data);
    EXPECT_EQ(y2.data, expected2.data);
}

TYPED_TEST(Complexes, DotsGoThroughThePointer)
{
    using T = TypeParam;
    const core_int n = 9, incx = 1, incy = 1;
    const auto x = random_vector<T>(n), y = random_vector<T>(n);
    T dotu{}, dotc{}, got;
    for (std::size_t i = 0; i < x.size(); ++i) {
        dotu += x[i] * y[i];
        dotc += std::conj(x[i]) * y[i];
    }
    blas(letter<T>() + "dotu", &got, n, x.data(), incx, y.data(), incy);
    EXPECT_EQ(got, dotu);
    blas(letter<T>() + "dotc", &got, n, x.data(), incx, y.data(), incy);
    EXPECT_EQ(got, dotc);
}

TYPED_TEST(AllTypes, SparseVectorsCountFromOne)
{
    using T = TypeParam;
    const std::vector<core_int> indx{4, 1, 7};
    const core_int nz = 3;
    const auto y0 = random_vector<T>(8), x0 = random_vector<T>(nz);
    const T alpha = T(3);
    auto y = y0, expected = y0, x = x0;
    for (std::size_t i = 0; i < 3; ++i)
        expected[static_cast<std::size_t>(indx[i]) - 1] += alpha * x0[i];
    blas(letter<T>() + "axpyi", nz, alpha, x.data(), indx.data(), y.data());
    EXPECT_EQ(y, expected);
    blas(letter<T>() + "gthr", nz, y.data(), x.data(), indx.data());
    EXPECT_EQ(x, (std::vector<T>{expected[3], expected[0], expected[6]}));
    EXPECT_EQ(y, expected);
    blas(letter<T>() + "gthrz", nz, y.data(), x.data(), indx.data());
    expected[3] = expected[0] = expected[6] = T{};
    EXPECT_EQ(y, expected);
    blas(letter<T>() + "sctr", nz, x0.data(), indx.data(), y.data());
    expected[3] = x0[0], expected[0] = x0[1], expected[6] = x0[2];
    EXPECT_EQ(y, expected);
    const core_int none = -1;
    blas(letter<T>() + "sctr", none, x.data(), indx.data(), y.data());
    EXPECT_EQ(y, expected);
}

TYPED_TEST(AllTypes, SparseProducts)
{
    using T = TypeParam;
    const std::vector<core_int> indx{2, 5, 3};
    const core_int nz = 3;
    auto x = random_vector<T>(nz), y = random_vector<T>(5);
    const T dotu = x[0] * y[1] + x[1] * y[4] + x[2] * y[2];
    if constexpr (is_complex<T>) {
        T got;
        blas(letter<T>() + "dotui", &got, nz, x.data(), indx.data(), y.data());
        EXPECT_EQ(got, dotu);
        blas(letter<T>() + "dotci", &got, nz, x.data(), indx.data(), y.data());
        EXPECT_EQ(got, std::conj(x[0]) * y[1] + std::conj(x[1]) * y[4] + std::conj(x[2]) * y[2]);
    } else {
        EXPECT_EQ(blas<T>(letter<T>() + "doti", nz, x.data(), indx.data(), y.data()), dotu);
        const auto x0 = x, y0 = y;
        const T c = 2, s = 3;
        blas(letter<T>() + "roti", nz, x.data(), indx.data(), y.data(), c, s);
        EXPECT_EQ(x, (std::vector<T>{2 * x0[0] + 3 * y0[1], 2 * x0[1] + 3 * y0[4], 2 * x0[2] + 3 * y0[2]}));
        EXPECT_EQ(y, (std::vector<T>{y0[0], 2 * y0[1] - 3 * x0[0], 2 * y0[2] - 3 * x0[2], y0[3],
                                     2 * y0[4] - 3 * x0[1]}));
    }
}

} // namespace
} // namespace qnm::test
