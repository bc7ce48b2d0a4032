// What the core computes beside the engine, against the engine's plain routines on whole numbers.
#include "core.hpp"

namespace qnm::test {
namespace {

template <class T>
class Linear : public testing::Test {
protected:
    const std::string l = letter<T>();
    const T alpha = T(2);
};
TYPED_TEST_SUITE(Linear, Types);

TYPED_TEST(Linear, GemmtIsOneTriangleOfGemm)
{
    using T = TypeParam;
    const core_int k = 7;
    for (const char uplo : {'U', 'l'})
        for (const char transa : transposes)
            for (const char transb : transposes)
                for (const core_int n : {0, 1, 31, 70})
                    for (const T beta : {T(0), T(2)}) {
                        const auto a = stored<T>(transa, n, k), b = stored<T>(transb, k, n);
                        Matrix<T> c(n, n), whole = c, expected = c;
                        blas(this->l + "gemm", transa, transb, n, n, k, this->alpha, a, b, beta, whole);
                        for (core_int j = 0; j < n; ++j)
                            for (core_int i = 0; i < n; ++i)
                                if (uplo == 'U' ? i <= j : i >= j)
                                    expected(i, j) = whole(i, j);
                        blas(this->l + "gemmt", uplo, transa, transb, n, k, this->alpha, a, b, beta, c);
                        ASSERT_EQ(c.data, expected.data) << uplo << transa << transb << n;
                    }
}

TYPED_TEST(Linear, TriangularOutOfPlaceAndPacked)
{
    using T = TypeParam;
    for (const auto& [m, n] : {std::pair<core_int, core_int>{3, 4}, {67, 130}}) // several panels
        for (int options = 0; options < 24; ++options) {
            const char side = "LR"[options % 2], uplo = "UL"[options / 2 % 2], diag = "NU"[options / 4 % 2],
                       trans = transposes[options / 8];
            SCOPED_TRACE((std::string{side, uplo, trans, diag}));
            Matrix<T> a(side == 'L' ? m : n, side == 'L' ? m : n);
            for (T& x : a.data) // solutions do not grow
                x *= T(static_cast<real_t<T>>(0.125));
            std::vector<T> packed;
            for (core_int j = 0; j < a.columns; ++j) {
                a(j, j) = T(2);
                for (core_int i = uplo == 'U' ? 0 : j; i <= (uplo == 'U' ? j : a.rows - 1); ++i)
                    packed.push_back(a(i, j));
            }
            const Matrix<T> b(m, n), before(m, n, 5);
            for (const std::string routine : {"trmm", "trsm"})
                for (const T beta : {T(0), T(3)}) {
                    Matrix<T> plain = b, c = before, expected = before;
                    blas(this->l + routine, side, uplo, trans, diag, m, n, this->alpha, a, plain);
                    expected.take('N', plain, T(1), beta);
                    if (beta == T(0)) // then C may hold anything
                        c.take('N', c, T(std::numeric_limits<real_t<T>>::quiet_NaN()));
                    blas(this->l + routine + "_oop", side, uplo, trans, diag, m, n, this->alpha, a, b, beta,
                         c);
                    expect_near(c.data, expected.data);
                    if constexpr (!is_complex<T>)
                        if (routine == "trmm") {
                            Matrix<T> x = b;
                            blas(this->l + "ptrmm", side, uplo, trans, diag, m, n, this->alpha, packed, x);
                            expect_near(x.data, plain.data);
                        }
                }
        }
}

TYPED_TEST(Linear, ARealMatrixIsAComplexOne)
{
    using T = TypeParam;
    if constexpr (is_complex<T>) {
        const std::string prefix = this->l == "c" ? "sc" : "dz";
        const core_int m = 6, n = 5, k = 4;
        const T factor(2, -1);
        for (const char transa : transposes)
            for (const T beta : {T(0), T(1, 3)}) {
                const auto a = stored<real_t<T>>(transa, m, k);
                Matrix<T> wide(a.rows, a.columns);
                wide.data.assign(a.data.begin(), a.data.end());
                for (const char transb : transposes) {
                    const auto b = stored<T>(transb, k, n);
                    Matrix<T> c(m, n), expected = c;
                    blas(prefix + "gemm", transa, transb, m, n, k, factor, a, b, beta, c);
                    blas(this->l + "gemm", transa, transb, m, n, k, factor, wide, b, beta, expected);
                    ASSERT_EQ(c.data, expected.data) << transa << transb;
                }
                for (const core_int inc : {1, 3, -2}) {
                    Vector<T> x(k, inc), y(m, -inc), expected = y;
                    blas(prefix + "gemv", transa, a.rows, a.columns, factor, a, x, beta, y);
                    blas(this->l + "gemv", transa, a.rows, a.columns, factor, wide, x, beta, expected);
                    ASSERT_EQ(y.data, expected.data) << transa << inc;
                }
            }
    }
}

TYPED_TEST(Linear, TwoProductsWithOneMatrix)
{
    using T = TypeParam;
    const core_int m = 6, n = 4;
    const Matrix<T> a(m, n);
    const T beta = T(3);
    Vector<T> x1(n, 2), x2(m, -1), y1(m, 1), y2(n, -3), expected1 = y1, expected2 = y2;
    blas(this->l + (is_complex<T> ? "gem2vc" : "gem2vu"), m, n, this->alpha, a, x1, x2, beta, y1, y2);
    blas(this->l + "gemv", 'N', m, n, this->alpha, a, x1, beta, expected1);
    blas(this->l + "gemv", 'C', m, n, this->alpha, a, x2, beta, expected2);
    EXPECT_EQ(y1.data, expected1.data);
    EXPECT_EQ(y2.data, expected2.data);
}

// A sparse routine does what the dense one does on the elements that the indices, from one, name.
TYPED_TEST(Linear, SparseVectorsAreDenseOnes)
{
    using T = TypeParam;
    const std::vector<core_int> indx{4, 1, 7};
    const core_int nz = 3, none = -1;
    const T c = T(2), s = T(3);
    const auto x0 = random_vector<T>(nz), y0 = random_vector<T>(8);
    const auto expect = [&](const char* name, auto call, auto on_elements) {
        auto x = x0, y = y0, expected_x = x0, expected_y = y0;
        for (std::size_t i = 0; i < indx.size(); ++i)
            on_elements(expected_x[i], expected_y[static_cast<std::size_t>(indx[i] - 1)]);
        call(name, x, y);
        EXPECT_EQ(x, expected_x) << name;
        EXPECT_EQ(y, expected_y) << name;
    };
    const auto behind = [&](const char* name, auto& x, auto& y) { blas(this->l + name, nz, x, indx, y); };
    const auto ahead = [&](const char* name, auto& x, auto& y) { blas(this->l + name, nz, y, x, indx); };
    expect("sctr", behind, [](T& x, T& y) { y = x; });
    expect("gthr", ahead, [](T& x, T& y) { x = y; });
    expect("gthrz", ahead, [](T& x, T& y) { x = std::exchange(y, T{}); });
    expect(
        "axpyi",
        [&](const char* name, auto& x, auto& y) { blas(this->l + name, nz, this->alpha, x, indx, y); },
        [&](T& x, T& y) { y += this->alpha * x; });
    T dot{}, dotc{}, found{};
    expect(
        "sctr", [&](const char* name, auto& x, auto& y) { blas(this->l + name, none, x, indx, y); },
        [&](T& x, T& y) { dot += x * y, dotc += conjugate(x) * y; });
    if constexpr (is_complex<T>) {
        blas(this->l + "dotui", &found, nz, x0, indx, y0);
        EXPECT_EQ(found, dot);
        blas(this->l + "dotci", &found, nz, x0, indx, y0);
        EXPECT_EQ(found, dotc);
    } else {
        EXPECT_EQ(blas<T>(this->l + "doti", nz, x0, indx, y0), dot);
        expect(
            "roti", [&](const char* name, auto& x, auto& y) { blas(this->l + name, nz, x, indx, y, c, s); },
            [&](T& x, T& y) {
                const T old = x;
                x = c * x + s * y;
                y = c * y - s * old;
            });
    }
}

} // namespace
} // namespace qnm::test
