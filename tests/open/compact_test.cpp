// Interleaved batches and kernels made ahead of their calls.
#include "interleaved.hpp"

#include <cmath>
#include <limits>

namespace qnm::test {
namespace {

template <class T>
class SmallMatrices : public testing::Test {
protected:
    const std::string l = letter<T>();

    static Matrices<T> any(core_int nm, char trans, core_int m, core_int n)
    {
        Matrices<T> all;
        for (core_int k = 0; k < nm; ++k)
            all.push_back(stored<T>(trans, m, n));
        return all;
    }
    static void expect_equal(const Matrices<T>& found, const Matrices<T>& expected)
    {
        for (std::size_t k = 0; k < expected.size(); ++k)
            ASSERT_EQ(found[k].data, expected[k].data) << k;
    }
};
TYPED_TEST_SUITE(SmallMatrices, Types);

TYPED_TEST(SmallMatrices, PackPutsEachMatrixIntoItsLane)
{
    using T = TypeParam;
    for (const core_int layout : {row_major, column_major}) {
        const auto matrices = this->any(5, 'N', 3, 2);
        const Interleaved<T> a(layout, 32, matrices);
        constexpr core_int lanes = 32 / sizeof(real_t<T>), parts = is_complex<T> ? 2 : 1;
        const core_int place = layout == row_major ? 2 * a.ld + 1 : 2 + a.ld; // of element (2,1)
        const core_int pack = 4 / lanes * a.ld * a.lines;
        const auto at = static_cast<std::size_t>((pack + place) * lanes * parts + 4 % lanes);
        EXPECT_EQ(a.packs[at], std::real(matrices[4](2, 1)));
        if constexpr (is_complex<T>) {
            EXPECT_EQ(a.packs[at + lanes], matrices[4](2, 1).imag());
        }
        auto zeros = matrices;
        for (Matrix<T>& each : zeros)
            each.take('N', each, T(0));
        this->expect_equal(a.unpacked(zeros), matrices);
    }
}

TYPED_TEST(SmallMatrices, GemmOfInterleavedMatrices)
{
    using T = TypeParam;
    const core_int m = 3, n = 4, k = 5, nm = 9;
    const T alpha = T(2);
    for (const core_int layout : {row_major, column_major})
        for (const core_int transa : {0, 1, 2})
            for (const core_int transb : {0, 1, 2})
                for (const core_int format : {16, 32, 64})
                    for (const T beta : {T(0), T(3)}) {
                        SCOPED_TRACE(testing::Message() << layout << transa << transb << ' ' << format);
                        const auto a = this->any(nm, transposes[transa], m, k),
                                   b = this->any(nm, transposes[transb], k, n);
                        auto c = this->any(nm, 'N', m, n);
                        if (beta == T(0)) // then C may hold anything
                            for (Matrix<T>& each : c)
                                each.take('N', each, T(std::numeric_limits<real_t<T>>::quiet_NaN()));
                        const Interleaved<T> pa(layout, format, a), pb(layout, format, b);
                        Interleaved<T> pc(layout, format, c);
                        by_value<void>("qnm_blas_" + this->l + "gemm_compact", layout, 111 + transa,
                                       111 + transb, m, n, k, &alpha, pa, pb, &beta, pc, format, nm);
                        auto expected = c;
                        for (std::size_t i = 0; i < c.size(); ++i)
                            expected[i] = product(transposes[transa], a[i], transposes[transb], b[i], alpha,
                                                  beta, c[i]);
                        this->expect_equal(pc.unpacked(c), expected);
                    }
}

// B = op(A) * X or X * op(A) with whole numbers: X comes back exactly, since the diagonal is 1 + i, 2 or 1.
TYPED_TEST(SmallMatrices, TrsmOfInterleavedMatrices)
{
    using T = TypeParam;
    const core_int m = 4, n = 3, nm = 5, format = 32;
    const T alpha = T(2), one = T(1), zero = T(0), of_diagonal = one + std::sqrt(T(is_complex<T> ? -1 : 1));
    for (const core_int layout : {row_major, column_major})
        for (const core_int right : {0, 1})
            for (const core_int lower : {0, 1})
                for (const core_int transa : {0, 1, 2})
                    for (const core_int diag : {0, 1}) {
                        SCOPED_TRACE(testing::Message() << layout << right << lower << transa << diag);
                        const core_int order = right == 1 ? n : m;
                        auto a = this->any(nm, 'N', order, order), x = this->any(nm, 'N', m, n), b = x;
                        for (std::size_t k = 0; k < b.size(); ++k) {
                            for (core_int i = 0; i < order; ++i)
                                a[k](i, i) = of_diagonal;
                            const auto full = triangle("UL"[lower], "NU"[diag], a[k]);
                            b[k] = right == 1 ? product('N', x[k], transposes[transa], full, one, zero, b[k])
                                              : product(transposes[transa], full, 'N', x[k], one, zero, b[k]);
                        }
                        const Interleaved<T> pa(layout, format, a);
                        Interleaved<T> pb(layout, format, b);
                        by_value<void>("qnm_blas_" + this->l + "trsm_compact", layout, left + right,
                                       upper + lower, 111 + transa, unit - 1 + diag, m, n, &alpha, pa, pb,
                                       format, nm);
                        for (Matrix<T>& each : x)
                            each.take('N', each, alpha);
                        this->expect_equal(pb.unpacked(x), x);
                    }
}

int reported_position = 0;
void remember_position(const char*, const int* info, int)
{
    reported_position = *info;
}

TEST(Compact, FormatsAreThoseOfVectors)
{
    const int format = by_value<int>("qnm_blas_get_format_compact");
    EXPECT_TRUE(format == 16 || format == 32 || format == 64);
    by_value<void*>("qnm_serv_set_xerbla", &remember_position);
    const void* null = nullptr;
    const core_int one = 1;
    by_value<void>("qnm_blas_dgepack_compact", column_major, one, one, null, one, null, one, core_int{48},
                   one);
    by_value<void*>("qnm_serv_set_xerbla", nullptr);
    EXPECT_EQ(reported_position, 8);
}

TYPED_TEST(SmallMatrices, KernelsCarryTheirParameters)
{
    using T = TypeParam;
    const std::string name = this->l + "gemm", extended = "NTCOUV", plain = "NTCNTC";
    const core_int m = 3, n = 4, k = 5, lda = 6, ldb = 7, ldc = 8;
    const T alpha = T(2), beta = T(3);
    const auto a = random_vector<T>(64), b = random_vector<T>(64), before = random_vector<T>(64);
    for (std::size_t i = 0; i < extended.size(); ++i)
        for (const char transb : {'N', 'T'}) {
            void* jitter = nullptr;
            EXPECT_EQ(blas<int>("qnm_jit_create_" + name, &jitter, extended[i], transb, m, n, k, alpha, lda,
                                ldb, beta, ldc),
                      1);
            using Function = void (*)(void*, const T*, const T*, const T*);
            const auto function = by_value<Function>("qnm_blas_qnm_jit_get_" + name + "_ptr", jitter);
            ASSERT_NE(function, nullptr);
            auto c = before, expected = before;
            blas(name, plain[i], transb, m, n, k, alpha, a, lda, b, ldb, beta, expected, ldc);
            const bool exchanged = i >= 3; // the product's first matrix comes second
            function(jitter, (exchanged ? b : a).data(), (exchanged ? a : b).data(), c.data());
            EXPECT_EQ(c, expected) << extended[i] << transb;
            EXPECT_EQ(by_value<int>("qnm_blas_qnm_jit_destroy", jitter), 0);
        }
}

TEST(Kernels, AWrongHandleIsRefused)
{
    void* jitter = nullptr;
    const core_int one = 1;
    const float alpha = 1, beta = 0;
    blas<int>("qnm_jit_create_sgemm", &jitter, 'N', 'N', one, one, one, alpha, one, one, beta, one);
    EXPECT_EQ(by_value<void*>("qnm_blas_qnm_jit_get_dgemm_ptr", jitter), nullptr);
    EXPECT_EQ(by_value<int>("qnm_blas_qnm_jit_destroy", jitter), 0);
    const void* null = nullptr;
    EXPECT_EQ(by_value<void*>("qnm_blas_qnm_jit_get_sgemm_ptr", null), nullptr);
    EXPECT_EQ(by_value<int>("qnm_blas_qnm_jit_destroy", null), 2);
}

} // namespace
} // namespace qnm::test
