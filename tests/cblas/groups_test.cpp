// Group batches by rows over the open core: what each matrix comes to is what a single call makes of it. All
// numbers are small integers, so that results are exact and have to be equal.
#include <complex>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include <qnm/cblas.h>

namespace qnm::tests {
namespace {

using Complex = std::complex<double>;

/// Two groups, of two problems and of one, with their own sizes and options.
constexpr int groups = 2, problems = 3;
constexpr int group_of[problems] = {0, 0, 1};
constexpr int m[groups] = {3, 2}, n[groups] = {2, 4}, k[groups] = {4, 3}, ld[groups] = {5, 6};
constexpr int inc[groups] = {1, -2};
constexpr CBLAS_TRANSPOSE plain_then_turned[groups] = {CblasNoTrans, CblasTrans};
constexpr CBLAS_TRANSPOSE turned_then_plain[groups] = {CblasTrans, CblasNoTrans};
constexpr CBLAS_UPLO uplo[groups] = {CblasUpper, CblasLower};
constexpr CBLAS_SIDE side[groups] = {CblasLeft, CblasRight};
constexpr CBLAS_DIAG unit[groups] = {CblasUnit, CblasUnit};
template <class I>
constexpr I size[groups] = {2, 1};
template <class T>
const T alpha[groups] = {T(2), T(-1)};
template <class T>
const T beta[groups] = {T(1), T(3)};

/// The same constants in either width.
template <class I>
struct Sizes {
    I of[groups];
    explicit Sizes(const int (&narrow)[groups]) : of{narrow[0], narrow[1]} {}
};

/// One array for each problem, filled with small integers.
template <class T>
struct Arrays {
    std::vector<std::vector<T>> values;
    explicit Arrays(unsigned seed) : values(problems, std::vector<T>(64))
    {
        std::mt19937 random(seed);
        for (auto& array : values)
            for (T& value : array) {
                value = T(static_cast<int>(random() % 7) - 3);
                if constexpr (!std::is_floating_point_v<T>)
                    value += T(0, static_cast<int>(random() % 5) - 2);
            }
    }
    T* operator[](int p) { return values[static_cast<std::size_t>(p)].data(); }
    template <class P = const T*>
    std::vector<P> addresses()
    {
        std::vector<P> all;
        for (auto& array : values)
            all.push_back(array.data());
        return all;
    }
};

/// Runs a batch on one copy of the results and single calls on another.
template <class T, class Batch, class Single>
void compare(const char* what, Batch batch, Single single)
{
    SCOPED_TRACE(what);
    Arrays<T> together(3), alone(3);
    ASSERT_EQ(together.values, alone.values);
    const auto before = together.values;
    batch(together);
    for (int p = 0; p < problems; ++p)
        single(alone, p, group_of[p]);
    EXPECT_EQ(together.values, alone.values);
    EXPECT_NE(together.values, before);
}

template <class I, class Gemm, class Trsm, class Syrk, class Gemv>
void compare_all(Gemm gemm, Trsm trsm, Syrk syrk, Gemv gemv)
{
    const Sizes<I> ms(m), ns(n), ks(k), lds(ld), incs(inc);
    Arrays<double> a(1), b(2);
    Arrays<Complex> za(4), zx(5);
    compare<double>(
        "gemm",
        [&](Arrays<double>& c) {
            gemm(CblasRowMajor, plain_then_turned, turned_then_plain, ms.of, ns.of, ks.of, alpha<double>,
                 a.addresses().data(), lds.of, b.addresses().data(), lds.of, beta<double>,
                 c.addresses<double*>().data(), lds.of, I{groups}, size<I>);
        },
        [&](Arrays<double>& c, int p, int g) {
            cblas_dgemm(CblasRowMajor, plain_then_turned[g], turned_then_plain[g], m[g], n[g], k[g],
                        alpha<double>[g], a[p], ld[g], b[p], ld[g], beta<double>[g], c[p], ld[g]);
        });
    compare<double>(
        "trsm",
        [&](Arrays<double>& c) {
            trsm(CblasRowMajor, side, uplo, plain_then_turned, unit, ms.of, ns.of, alpha<double>,
                 a.addresses().data(), lds.of, c.addresses<double*>().data(), lds.of, I{groups}, size<I>);
        },
        [&](Arrays<double>& c, int p, int g) {
            cblas_dtrsm(CblasRowMajor, side[g], uplo[g], plain_then_turned[g], unit[g], m[g], n[g],
                        alpha<double>[g], a[p], ld[g], c[p], ld[g]);
        });
    compare<double>(
        "syrk",
        [&](Arrays<double>& c) {
            syrk(CblasRowMajor, uplo, plain_then_turned, ns.of, ks.of, alpha<double>, a.addresses().data(),
                 lds.of, beta<double>, c.addresses<double*>().data(), lds.of, I{groups}, size<I>);
        },
        [&](Arrays<double>& c, int p, int g) {
            cblas_dsyrk(CblasRowMajor, uplo[g], plain_then_turned[g], n[g], k[g], alpha<double>[g], a[p],
                        ld[g], beta<double>[g], c[p], ld[g]);
        });
    // The second group is conjugated.
    constexpr CBLAS_TRANSPOSE conjugated[groups] = {CblasNoTrans, CblasConjTrans};
    compare<Complex>(
        "gemv, complex",
        [&](Arrays<Complex>& y) {
            gemv(CblasRowMajor, conjugated, ms.of, ns.of, alpha<Complex>, za.addresses<const void*>().data(),
                 lds.of, zx.addresses<const void*>().data(), incs.of, beta<Complex>,
                 y.addresses<void*>().data(), incs.of, I{groups}, size<I>);
        },
        [&](Arrays<Complex>& y, int p, int g) {
            cblas_zgemv(CblasRowMajor, conjugated[g], m[g], n[g], &alpha<Complex>[g], za[p], ld[g], zx[p],
                        inc[g], &beta<Complex>[g], y[p], inc[g]);
        });
}

TEST(Groups, ByRowsComeToWhatSingleCallsMake)
{
    compare_all<int>(cblas_dgemm_batch, cblas_dtrsm_batch, cblas_dsyrk_batch, cblas_zgemv_batch);
}

TEST(Groups, OfTheWideInterfaceComeToTheSame)
{
    compare_all<qnm_int64>(cblas_dgemm_batch_64, cblas_dtrsm_batch_64, cblas_dsyrk_batch_64,
                           cblas_zgemv_batch_64);
}

/// By rows the signed operand is the second, since operands change places on the way to the column-major
/// routine.
TEST(Variants, IntegerProductsByRowsAreWhatTheyShouldBe)
{
    constexpr int rows = 3, columns = 2, inner = 4;
    constexpr unsigned char a[rows * inner] = {1, 200, 3, 4, 0, 5, 6, 7, 2, 2, 250, 3};
    constexpr signed char b[inner * columns] = {1, -2, 3, 4, -5, 6, 7, -8};
    constexpr qnm_int32 by_column[columns] = {10, 20};
    qnm_int32 c[rows * columns] = {};
    int expected[rows * columns];
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j) {
            int sum = 0;
            for (int l = 0; l < inner; ++l)
                sum += (a[i * inner + l] + 1) * (b[l * columns + j] + 2);
            expected[i * columns + j] = sum + by_column[j];
        }
    cblas_gemm_s8u8s32(CblasRowMajor, CblasNoTrans, CblasNoTrans, CblasRowOffset, rows, columns, inner, 1.0F,
                       a, inner, 1, b, columns, 2, 0.0F, c, columns, by_column);
    EXPECT_TRUE(std::equal(c, c + rows * columns, expected)) << c[0] << " " << expected[0];
}

} // namespace
} // namespace qnm::tests
