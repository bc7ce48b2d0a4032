// What the core computes beside the engine, against plain loops.
#include "core.hpp"

#include <limits>

namespace qnm::test {
namespace {

template <class T>
class AllTypes : public testing::Test {
protected:
    const std::string l = letter<T>();
};
TYPED_TEST_SUITE(AllTypes, Types);
template <class T>
class Complexes : public AllTypes<T> {
};
TYPED_TEST_SUITE(Complexes, ComplexTypes);

TYPED_TEST(AllTypes, GemmtUpdatesOneTriangle)
{
    using T = TypeParam;
    for (const char uplo : {'U', 'l'})
        for (const char transa : transposes)
            for (const char transb : transposes)
                for (const core_int n : {0, 1, 31, 70})
                    for (const T beta : {T(0), T(2)}) {
                        const core_int k = 7;
                        const T alpha = random_value<T>();
                        const auto a = stored<T>(transa, n, k), b = stored<T>(transb, k, n);
                        Matrix<T> c(n, n), expected = c;
                        const auto whole = product(transa, a, transb, b, alpha, beta, c);
                        for (core_int j = 0; j < n; ++j)
                            for (core_int i = 0; i < n; ++i)
                                if (uplo == 'U' ? i <= j : i >= j)
                                    expected(i, j) = whole(i, j);
                        blas(this->l + "gemmt", uplo, transa, transb, n, k, alpha, a, b, beta, c);
                        ASSERT_EQ(c.data, expected.data) << uplo << transa << transb << n;
                    }
}

// B = op(A) * X or X * op(A) is formed by plain loops; a solve for B gives X, since all that it divides by
// is 2.
template <class T>
void triangular_routines(char side, char uplo, char trans, char diag, core_int m, core_int n)
{
    SCOPED_TRACE((std::string{side, uplo, trans, diag}));
    const std::string l = letter<T>();
    Matrix<T> a(side == 'L' ? m : n, side == 'L' ? m : n), x(m, n);
    for (core_int i = 0; i < a.rows; ++i)
        a(i, i) = T(2);
    const Matrix<T> full = triangle(uplo, diag, a), before(m, n, 5);
    const T alpha = T(2), one = T(1), zero = T(0);
    const Matrix<T> b =
        side == 'L' ? product(trans, full, 'N', x, one, zero, x) : product('N', x, trans, full, one, zero, x);
    for (const T beta : {zero, T(3)})
        for (const bool solve : {false, true}) {
            auto c = before, expected = before;
            expected.take('N', solve ? x : b, alpha, beta);
            if (beta == zero) // then C may hold anything
                for (core_int j = 0; j < n; ++j)
                    for (core_int i = 0; i < m; ++i)
                        c(i, j) = std::numeric_limits<real_t<T>>::quiet_NaN();
            blas(l + (solve ? "trsm_oop" : "trmm_oop"), side, uplo, trans, diag, m, n, alpha, a,
                 solve ? b : x, beta, c);
            ASSERT_EQ(c.data, expected.data) << "solve " << solve;
        }
    if constexpr (!is_complex<T>) {
        std::vector<T> packed;
        for (core_int j = 0; j < a.columns; ++j)
            for (core_int i = uplo == 'U' ? 0 : j; i < (uplo == 'U' ? j + 1 : a.rows); ++i)
                packed.push_back(a(i, j));
        const auto expected = Matrix<T>(x).take('N', b, alpha);
        blas(l + "ptrmm", side, uplo, trans, diag, m, n, alpha, packed, x);
        ASSERT_EQ(x.data, expected.data) << "packed";
    }
}

TYPED_TEST(AllTypes, TriangularOutOfPlaceAndPacked)
{
    for (const char side : {'L', 'R'})
        for (const char uplo : {'U', 'L'})
            for (const char trans : transposes)
                for (const char diag : {'N', 'U'}) {
                    triangular_routines<TypeParam>(side, uplo, trans, diag, 3, 4);
                    triangular_routines<TypeParam>(side, uplo, trans, diag, 67, 130); // several panels
                }
}

TYPED_TEST(Complexes, RealMatrixTimesComplexMatrixAndVector)
{
    using T = TypeParam;
    const std::string prefix = this->l == "c" ? "sc" : "dz";
    const core_int m = 6, n = 5, k = 4;
    const T alpha(2, -1);
    for (const char transa : transposes) {
        const auto a = stored<real_t<T>>(transa, m, k);
        for (const T beta : {T(0), T(1, 3)}) {
            for (const char transb : transposes) {
                const auto b = stored<T>(transb, k, n);
                Matrix<T> c(m, n);
                const auto expected = product(transa, a, transb, b, alpha, beta, c);
                blas(prefix + "gemm", transa, transb, m, n, k, alpha, a, b, beta, c);
                ASSERT_EQ(c.data, expected.data) << transa << transb;
            }
            for (const core_int inc : {1, 3, -2}) {
                Vector<T> x(k, inc), y(m, -inc);
                const auto expected = product(transa, a, 'N', x, alpha, beta, y);
                blas(prefix + "gemv", transa, a.rows, a.columns, alpha, a, x, beta, y);
                ASSERT_EQ(y.data, expected.data) << transa << inc;
            }
        }
    }
}

TYPED_TEST(AllTypes, TwoProductsWithOneMatrix)
{
    using T = TypeParam;
    const core_int m = 6, n = 4;
    const Matrix<T> a(m, n);
    const T alpha = T(2), beta = T(3);
    Vector<T> x1(n, 2), x2(m, -1), y1(m, 1), y2(n, -3);
    const auto expected1 = product('N', a, 'N', x1, alpha, beta, y1);
    const auto expected2 = product('C', a, 'N', x2, alpha, beta, y2);
    blas(this->l + (is_complex<T> ? "gem2vc" : "gem2vu"), m, n, alpha, a, x1, x2, beta, y1, y2);
    EXPECT_EQ(y1.data, expected1.data);
    EXPECT_EQ(y2.data, expected2.data);
}

TYPED_TEST(Complexes, ResultsGoThroughThePointer)
{
    using T = TypeParam;
    const core_int n = 9;
    const Vector<T> x(n, 1), y(n, 1);
    T got{};
    for (const char trans : {'T', 'C'}) {
        blas(this->l + (trans == 'T' ? "dotu" : "dotc"), &got, n, x, y);
        EXPECT_EQ(got, product(trans, x, 'N', y, T(1), T(0), Matrix<T>(1, 1))(0, 0));
    }
    lapack(this->l + "ladiv", &got, T(3, 4), T(0, 2));
    EXPECT_EQ(got, T(2, real_t<T>(-1.5)));
}

TYPED_TEST(AllTypes, SparseVectorsCountFromOne)
{
    using T = TypeParam;
    const std::vector<core_int> indx{4, 1, 7};
    const core_int nz = 3, none = -1;
    const auto x0 = random_vector<T>(nz);
    const T alpha = T(3);
    auto y = random_vector<T>(8), expected = y, x = x0, z = x0;
    expected[3] += alpha * x0[0], expected[0] += alpha * x0[1], expected[6] += alpha * x0[2];
    blas(this->l + "axpyi", nz, alpha, x, indx, y);
    EXPECT_EQ(y, expected);
    blas(this->l + "gthr", nz, y, x, indx);
    EXPECT_EQ(x, (std::vector<T>{expected[3], expected[0], expected[6]}));
    blas(this->l + "gthrz", nz, y, z, indx);
    EXPECT_EQ(z, x);
    expected[3] = expected[0] = expected[6] = T{};
    EXPECT_EQ(y, expected);
    blas(this->l + "sctr", nz, x, indx, y);
    expected[3] = x[0], expected[0] = x[1], expected[6] = x[2];
    EXPECT_EQ(y, expected);
    blas(this->l + "sctr", none, random_vector<T>(3), indx, y);
    EXPECT_EQ(y, expected);
}

TYPED_TEST(AllTypes, SparseProducts)
{
    using T = TypeParam;
    const std::vector<core_int> indx{2, 5, 3};
    const core_int nz = 3;
    std::vector<T> x = random_vector<T>(nz), y = random_vector<T>(5), expected_x = x, expected_y = y;
    const T c = T(2), s = T(3);
    T dotu{}, dotc{}, got{};
    for (std::size_t i = 0; i < x.size(); ++i) {
        const auto at = static_cast<std::size_t>(indx[i] - 1);
        dotu += x[i] * y[at];
        dotc += conjugate(x[i]) * y[at];
        expected_x[i] = c * x[i] + s * y[at];
        expected_y[at] = c * y[at] - s * x[i];
    }
    if constexpr (is_complex<T>) {
        blas(this->l + "dotui", &got, nz, x, indx, y);
        EXPECT_EQ(got, dotu);
        blas(this->l + "dotci", &got, nz, x, indx, y);
        EXPECT_EQ(got, dotc);
    } else {
        EXPECT_EQ(blas<T>(this->l + "doti", nz, x, indx, y), dotu);
        blas(this->l + "roti", nz, x, indx, y, c, s);
        EXPECT_EQ(x, expected_x);
        EXPECT_EQ(y, expected_y);
    }
}

} // namespace
} // namespace qnm::test
