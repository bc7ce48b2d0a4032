// Interleaved batches and kernels made ahead of their calls.
#include "core.hpp"

#include <limits>

namespace qnm::test {
namespace {

constexpr core_int row_major = 101, column_major = 102;
constexpr core_int left = 141, right = 142, upper = 121, lower = 122, non_unit = 131, unit = 132;

// A batch of matrices of one size, and the same batch interleaved.
template <class T>
struct Interleaved {
    core_int layout, rows, columns, ld, ldp, format;
    std::vector<std::vector<T>> matrices;
    std::vector<real_t<T>> packs;

    Interleaved(core_int order, core_int m, core_int n, core_int form, core_int nm)
        : layout(order), rows(m), columns(n), ld((order == row_major ? n : m) + 1), ldp(ld + 1), format(form)
    {
        for (core_int i = 0; i < nm; ++i)
            matrices.push_back(random_vector<T>(ld * (order == row_major ? m : n)));
    }
    static Interleaved for_op(core_int order, core_int op, core_int m, core_int n, core_int form, core_int nm)
    {
        return op == 111 ? Interleaved(order, m, n, form, nm) : Interleaved(order, n, m, form, nm);
    }
    core_int nm() const { return static_cast<core_int>(matrices.size()); }
    T& at(std::size_t which, core_int i, core_int j)
    {
        return matrices[which][static_cast<std::size_t>(layout == row_major ? i * ld + j : i + j * ld)];
    }
    T op(std::size_t which, core_int code, core_int i, core_int j)
    {
        const T x = code == 111 ? at(which, i, j) : at(which, j, i);
        return code == 113 ? conjugate(x) : x;
    }
    void pack()
    {
        const core_int lanes = format / static_cast<core_int>(sizeof(real_t<T>));
        const core_int parts = is_complex<T> ? 2 : 1;
        const core_int elements = ldp * (layout == row_major ? rows : columns);
        packs.assign(static_cast<std::size_t>((nm() + lanes - 1) / lanes * lanes * parts * elements), -99);
        move("gepack");
    }
    void unpack() { move("geunpack"); }

private:
    void move(const std::string& routine)
    {
        std::vector<T*> pointers;
        for (auto& matrix : matrices)
            pointers.push_back(matrix.data());
        by_value<void>("qnm_blas_" + letter<T>() + routine + "_compact", layout, rows, columns,
                       pointers.data(), ld, packs.data(), ldp, format, nm());
    }
};

template <class T>
class SmallMatrices : public testing::Test {
};
TYPED_TEST_SUITE(SmallMatrices, Types);

TYPED_TEST(SmallMatrices, PackPutsEachMatrixIntoItsLane)
{
    using T = TypeParam;
    for (const core_int layout : {row_major, column_major}) {
        Interleaved<T> a(layout, 3, 2, 32, 5);
        a.pack();
        constexpr core_int lanes = 32 / sizeof(real_t<T>), parts = is_complex<T> ? 2 : 1;
        const core_int place = layout == row_major ? 2 * a.ldp + 1 : 2 + a.ldp; // of element (2,1)
        const core_int pack = 4 / lanes, lane = 4 % lanes;
        const core_int step = a.ldp * (layout == row_major ? 3 : 2);
        const auto at = static_cast<std::size_t>((pack * step + place) * lanes * parts + lane);
        const T got = [&] {
            if constexpr (is_complex<T>)
                return T(a.packs[at], a.packs[at + lanes]);
            else
                return a.packs[at];
        }();
        EXPECT_EQ(got, a.at(4, 2, 1));
        const auto original = a.matrices;
        for (auto& matrix : a.matrices)
            matrix.back() = T(55);
        auto changed = a;
        changed.unpack();
        changed.pack();
        EXPECT_EQ(changed.packs, a.packs);
    }
}

TYPED_TEST(SmallMatrices, GemmOfInterleavedMatrices)
{
    using T = TypeParam;
    const core_int m = 3, n = 4, k = 5, nm = 9;
    const T alpha = T(2), beta = T(3);
    for (const core_int layout : {row_major, column_major})
        for (const core_int transa : {111, 112, 113})
            for (const core_int transb : {111, 112, 113})
                for (const core_int format : {16, 32, 64}) {
                    auto a = Interleaved<T>::for_op(layout, transa, m, k, format, nm);
                    auto b = Interleaved<T>::for_op(layout, transb, k, n, format, nm);
                    Interleaved<T> c(layout, m, n, format, nm);
                    a.pack(), b.pack(), c.pack();
                    auto expected = c;
                    for (std::size_t which = 0; which < static_cast<std::size_t>(nm); ++which)
                        for (core_int i = 0; i < m; ++i)
                            for (core_int j = 0; j < n; ++j)
                                expected.at(which, i, j) = product_element(
                                    k, alpha, [&](core_int h) { return a.op(which, transa, i, h); },
                                    [&](core_int h) { return b.op(which, transb, h, j); }, beta,
                                    c.at(which, i, j));
                    by_value<void>("qnm_blas_" + letter<T>() + "gemm_compact", layout, transa, transb, m, n,
                                   k, &alpha, a.packs.data(), a.ldp, b.packs.data(), b.ldp, &beta,
                                   c.packs.data(), c.ldp, format, nm);
                    c.unpack();
                    ASSERT_EQ(c.matrices, expected.matrices) << layout << " " << transa << " " << transb;
                }
}

// B = op(A) * X or X * op(A) with whole numbers: X / alpha comes back exactly, since the diagonal is 2 or 1.
TYPED_TEST(SmallMatrices, TrsmOfInterleavedMatrices)
{
    using T = TypeParam;
    const core_int m = 4, n = 3, nm = 5, format = 32;
    const T alpha = T(2);
    for (const core_int layout : {row_major, column_major})
        for (const core_int side : {left, right})
            for (const core_int uplo : {upper, lower})
                for (const core_int transa : {111, 112, 113})
                    for (const core_int diag : {non_unit, unit}) {
                        const core_int order = side == left ? m : n;
                        Interleaved<T> a(layout, order, order, format, nm), x(layout, m, n, format, nm);
                        auto b = x, expected = x;
                        for (std::size_t which = 0; which < static_cast<std::size_t>(nm); ++which) {
                            auto element = [&](core_int i, core_int j) { // of op(A)
                                const bool stored = (uplo == upper) == (transa == 111) ? i <= j : i >= j;
                                return i == j && diag == unit ? T(1)
                                       : stored               ? a.op(which, transa, i, j)
                                                              : T{};
                            };
                            for (core_int i = 0; i < order; ++i)
                                a.at(which, i, i) = T(2);
                            for (core_int i = 0; i < m; ++i)
                                for (core_int j = 0; j < n; ++j) {
                                    T sum{};
                                    for (core_int h = 0; h < order; ++h)
                                        sum += side == left ? element(i, h) * x.at(which, h, j)
                                                            : x.at(which, i, h) * element(h, j);
                                    b.at(which, i, j) = sum;
                                    expected.at(which, i, j) = alpha * x.at(which, i, j);
                                }
                        }
                        a.pack(), b.pack();
                        by_value<void>("qnm_blas_" + letter<T>() + "trsm_compact", layout, side, uplo, transa,
                                       diag, m, n, &alpha, a.packs.data(), a.ldp, b.packs.data(), b.ldp,
                                       format, nm);
                        b.unpack();
                        ASSERT_EQ(b.matrices, expected.matrices)
                            << layout << " " << side << " " << uplo << " " << transa << " " << diag;
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
    by_value<void>("qnm_blas_dgepack_compact", column_major, core_int{1}, core_int{1}, null, core_int{1},
                   null, core_int{1}, core_int{48}, core_int{1});
    by_value<void*>("qnm_serv_set_xerbla", nullptr);
    EXPECT_EQ(reported_position, 8);
}

TYPED_TEST(SmallMatrices, KernelsCarryTheirParameters)
{
    using T = TypeParam;
    const std::string name = letter<T>() + "gemm";
    const std::string extended = is_complex<T> ? "NTCOUV" : "NTOU", plain = is_complex<T> ? "NTCNTC" : "NTNT";
    const core_int m = 3, n = 4, k = 5, lda = 6, ldb = 7, ldc = 8;
    const T alpha = T(2), beta = T(3);
    const auto a = random_vector<T>(64), b = random_vector<T>(64), before = random_vector<T>(64);
    for (std::size_t i = 0; i < extended.size(); ++i)
        for (const char transb : {'N', 'T'}) {
            void* jitter = nullptr;
            const int status = blas<int>("qnm_jit_create_" + name, &jitter, extended[i], transb, m, n, k,
                                         alpha, lda, ldb, beta, ldc);
            EXPECT_EQ(status, 1);
            using Function = void (*)(void*, const T*, const T*, T*);
            const auto function = by_value<Function>("qnm_blas_qnm_jit_get_" + name + "_ptr", jitter);
            ASSERT_NE(function, nullptr);
            auto c = before, expected = before;
            blas(name, plain[i], transb, m, n, k, alpha, a.data(), lda, b.data(), ldb, beta, expected.data(),
                 ldc);
            if (std::string("OUV").find(extended[i]) == std::string::npos)
                function(jitter, a.data(), b.data(), c.data());
            else // the product's first matrix comes second
                function(jitter, b.data(), a.data(), c.data());
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
