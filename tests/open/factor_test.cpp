// Factorisations that the core computes itself: without pivots, packed, scaled.
#include "core.hpp"

namespace qnm::test {
namespace {

template <class T>
class Factors : public testing::Test {
protected:
    const std::string l = letter<T>();
    core_int status = -99;
};
TYPED_TEST_SUITE(Factors, Types);

// Where the diagonal is large, pivoting finds nothing to exchange.
TYPED_TEST(Factors, WithoutPivots)
{
    using T = TypeParam;
    constexpr core_int n = 70, half = 40, rest = n - half; // more than two panels
    Matrix<T> a(n, n), f = a;
    for (core_int i = 0; i < n; ++i)
        f(i, i) = a(i, i) = static_cast<real_t<T>>(4 * n);
    Matrix<T> parts = a;
    f = a;
    std::vector<core_int> pivots(n);
    std::vector<T> room(n);
    core_int* const info = &this->status;
    lapack(this->l + "getrf", n, n, a, pivots, info);
    lapack("qnm_" + this->l + "getrfnp", n, n, f, info);
    EXPECT_EQ(*info, 0);
    expect_near(f.data, a.data);
    // Stopped half way and taken up again at the rest, the factors are the same.
    lapack("qnm_" + this->l + "getrfnpi", n, n, half, parts, info);
    EXPECT_NE(parts.data, f.data);
    lapack("qnm_" + this->l + "getrfnp", rest, rest, &parts(half, half), parts.ld, info);
    EXPECT_EQ(*info, 0);
    expect_near(parts.data, a.data);
    lapack(this->l + "getri", n, a, pivots, room, n, info);
    lapack("qnm_" + this->l + "getrinp", n, f, room, n, info);
    EXPECT_EQ(*info, 0);
    expect_near(f.data, a.data);
}

TYPED_TEST(Factors, OfADominantTridiagonalMatrix)
{
    using T = TypeParam;
    constexpr core_int n = 6, nrhs = 3;
    Matrix<T> b(n, nrhs), dl(n, 1), d(n, 1), du(n, 1);
    for (T& element : d.data)
        element = static_cast<real_t<T>>(20);
    Matrix<T> x = b, below = dl, diagonal = d, above = du;
    core_int* const info = &this->status;
    lapack(this->l + "gtsv", n, nrhs, below.data, diagonal.data, above.data, x, info);
    lapack(this->l + "dtsvb", n, nrhs, dl.data, d.data, du.data, b, info);
    EXPECT_EQ(*info, 0);
    expect_near(b.data, x.data);
    d.data[1] = dl.data[0] = 0;
    lapack(this->l + "dtsvb", n, nrhs, dl.data, d.data, du.data, b, info);
    EXPECT_EQ(*info, 2);
}

TYPED_TEST(Factors, ZeroPivotAndBadArguments)
{
    using T = TypeParam;
    const core_int two = 2, one = 1, minus = -1;
    std::vector<T> f{1, 2, 2, 4}, zeros(4);
    const auto getrfnp = [&](core_int n, const std::vector<T>& a) {
        lapack("qnm_" + this->l + "getrfnp", two, n, a, two, &this->status);
        return this->status;
    };
    EXPECT_EQ(getrfnp(two, f), 2);
    EXPECT_EQ(getrfnp(two, zeros), 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(getrfnp(minus, f), -2);
    lapack("qnm_" + this->l + "getrfnpi", two, two, two, f, one, &this->status);
    EXPECT_EQ(this->status, -5);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("Parameter 5 was incorrect on entry to QNM_"), std::string::npos) << told;
}

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

TYPED_TEST(Factors, RowsScaled)
{
    using T = TypeParam;
    constexpr core_int m = 2, n = 2, ld = 3;
    const std::vector<real_t<T>> d{2, 4};
    const std::vector<T> before{1, 2, 7, 3, 4, 7};
    std::vector<T> x = before;
    lapack(this->l + "lascl2", m, n, d, x, ld);
    EXPECT_EQ(x, (std::vector<T>{2, 8, 7, 6, 16, 7}));
    lapack(this->l + "larscl2", m, n, d, x, ld);
    EXPECT_EQ(x, before);
    if constexpr (is_complex<T>) {
        lapack(this->l + "rscl", n, T(0, 2), x, ld);
        EXPECT_EQ(x, (std::vector<T>{T(0, real_t<T>(-0.5)), 2, 7, T(0, real_t<T>(-1.5)), 4, 7}));
    }
}

} // namespace
} // namespace qnm::test
