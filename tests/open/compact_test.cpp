// Interleaved batches, against the plain routine on each matrix; kernels made ahead of their calls.
#include "interleaved.hpp"

namespace qnm::test {
namespace {

int reported_position = 0;
void remember_position(const char*, const int* info, int)
{
    reported_position = *info;
}

template <class T>
class SmallMatrices : public testing::Test {
protected:
    const std::string l = letter<T>();
    static constexpr core_int nm = 9, m = 4, n = 3, k = 5;
    const T alpha = T(2);
    core_int layout = row_major, format = 32, info = 0;

    SmallMatrices() { by_value<void*>("qnm_serv_set_xerbla", &remember_position); }
    ~SmallMatrices() override { by_value<void*>("qnm_serv_set_xerbla", nullptr); }

    static Matrices<T> any(char trans, core_int rows, core_int columns, real_t<T> diagonal = 0)
    {
        Matrices<T> all;
        for (core_int p = 0; p < nm; ++p) {
            all.push_back(stored<T>(trans, rows, columns));
            for (core_int i = 0; diagonal != 0 && i < columns; ++i)
                all.back()(i, i) = T(diagonal + static_cast<real_t<T>>(p));
        }
        return all;
    }
    // `compact` gets the packs of all operands, `plain` the operands of one problem; both come to the same.
    void expect_plain(std::vector<Matrices<T>> x, auto compact, auto plain)
    {
        std::vector<Interleaved<T>> packs;
        for (const auto& each : x)
            packs.emplace_back(layout, format, each);
        info = 0;
        compact(packs);
        EXPECT_EQ(info, 0);
        for (std::size_t p = 0; p < nm; ++p) {
            std::vector<Matrix<T>*> one;
            for (auto& each : x)
                one.push_back(&each[p]);
            plain(one);
        }
        for (std::size_t i = 0; i < x.size(); ++i)
            for (std::size_t p = 0; p < nm; ++p)
                expect_near(packs[i].unpacked(x[i])[p].data, x[i][p].data);
    }
    // The same for all layouts and formats.
    void expect_plain_always(const auto& x, auto compact, auto plain)
    {
        for (const core_int order : {row_major, column_major})
            for (const core_int bytes : {16, 32, 64}) {
                layout = order;
                format = bytes;
                SCOPED_TRACE(testing::Message() << order << ' ' << bytes);
                expect_plain(x, compact, plain);
            }
    }
    template <class... A>
    void compact(const std::string& name, const A&... arguments)
    {
        by_value<void>(name + "_compact", layout, arguments..., format, nm);
    }
};
TYPED_TEST_SUITE(SmallMatrices, Types);

TYPED_TEST(SmallMatrices, PackPutsEachMatrixIntoItsLane)
{
    using T = TypeParam;
    for (const core_int order : {row_major, column_major}) {
        const auto matrices = this->any('N', 3, 2);
        const Interleaved<T> a(order, 32, matrices);
        constexpr core_int lanes = 32 / sizeof(real_t<T>), parts = is_complex<T> ? 2 : 1;
        const core_int place = order == row_major ? 2 * a.ld + 1 : 2 + a.ld; // of element (2,1)
        const core_int pack = 4 / lanes * a.ld * a.lines;
        const auto at = static_cast<std::size_t>((pack + place) * lanes * parts + 4 % lanes);
        EXPECT_EQ(a.packs[at], std::real(matrices[4](2, 1)));
        if constexpr (is_complex<T>) {
            EXPECT_EQ(a.packs[at + lanes], matrices[4](2, 1).imag());
        }
    }
}

TYPED_TEST(SmallMatrices, ProductsAndSolutions)
{
    using T = TypeParam;
    for (int options = 0; options < 18; ++options) {
        const core_int ta = options % 3, tb = options / 3 % 3;
        const char transa = transposes[ta], transb = transposes[tb];
        const T beta = T(static_cast<real_t<T>>(options / 9 * 3));
        SCOPED_TRACE(testing::Message() << transa << transb << options / 9);
        auto c = this->any('N', this->m, this->n);
        if (beta == T(0)) // then C may hold anything
            for (Matrix<T>& each : c)
                each.take('N', each, T(std::numeric_limits<real_t<T>>::quiet_NaN()));
        this->expect_plain_always(
            std::vector{this->any(transa, this->m, this->k), this->any(transb, this->k, this->n), c},
            [&](auto& x) {
                this->compact("qnm_blas_" + this->l + "gemm", 111 + ta, 111 + tb, this->m, this->n, this->k,
                              &this->alpha, x[0], x[1], &beta, x[2]);
            },
            [&](auto& x) {
                blas(this->l + "gemm", transa, transb, this->m, this->n, this->k, this->alpha, *x[0], *x[1],
                     beta, *x[2]);
            });
    }
    for (int options = 0; options < 24; ++options) {
        const core_int r = options % 2, lower = options / 2 % 2, diag = options / 4 % 2, ta = options / 8,
                       order = r == 1 ? this->n : this->m;
        SCOPED_TRACE(testing::Message() << r << lower << diag << ta);
        this->expect_plain_always(
            std::vector{this->any('N', order, order, 1), this->any('N', this->m, this->n)},
            [&](auto& x) {
                this->compact("qnm_blas_" + this->l + "trsm", left + r, upper + lower, 111 + ta,
                              unit - 1 + diag, this->m, this->n, &this->alpha, x[0], x[1]);
            },
            [&](auto& x) {
                blas(this->l + "trsm", "LR"[r], "UL"[lower], transposes[ta], "NU"[diag], this->m, this->n,
                     this->alpha, *x[0], *x[1]);
            });
    }
}

TYPED_TEST(SmallMatrices, Factorisations)
{
    using T = TypeParam;
    constexpr core_int rows = TestFixture::m, order = TestFixture::n, big = 64 * 64;
    const std::string own = "qnm_lapack_qnm_" + this->l;
    core_int* const status = &this->info;
    std::vector<real_t<T>> room(big);
    std::vector<T> work(big);
    const std::vector<Matrices<T>> square{this->any('N', order, order, 20)};
    this->expect_plain_always(
        square, [&](auto& x) { this->compact(own + "getrfnp", order, order, x[0], status); },
        [&](auto& x) { lapack("qnm_" + this->l + "getrfnp", order, order, *x[0], status); });
    this->expect_plain_always(
        square, [&](auto& x) { this->compact(own + "potrf", upper, order, x[0], status); },
        [&](auto& x) { lapack(this->l + "potrf", "U", order, *x[0], status); });
    this->expect_plain_always(
        square, [&](auto& x) { this->compact(own + "getrinp", order, x[0], room, big, status); },
        [&](auto& x) { lapack("qnm_" + this->l + "getrinp", order, *x[0], work, big, status); });
    this->expect_plain_always(
        std::vector{this->any('N', rows, order, 20), this->any('N', order, 1)},
        [&](auto& x) { this->compact(own + "geqrf", rows, order, x[0], x[1].packs, room, big, status); },
        [&](auto& x) { lapack(this->l + "geqrf", rows, order, *x[0], x[1]->data, work, big, status); });
    this->format = 24;
    this->compact(own + "getrfnp", order, order, room, order, status);
    EXPECT_EQ(this->info, -7);
    EXPECT_EQ(reported_position, 7);
    const core_int length = by_value<int>("qnm_blas_get_format_compact");
    EXPECT_TRUE(length == 16 || length == 32 || length == 64);
}

TYPED_TEST(SmallMatrices, KernelsCarryTheirParameters)
{
    using T = TypeParam;
    const std::string name = this->l + "gemm", extended = "NTCOUV", plain = "NTCNTC";
    const core_int lda = 6, ldb = 7, ldc = 8;
    const T beta = T(3);
    const auto a = random_vector<T>(64), b = random_vector<T>(64), before = random_vector<T>(64);
    for (std::size_t i = 0; i < extended.size(); ++i)
        for (const char transb : {'N', 'T'}) {
            void* jitter = nullptr;
            EXPECT_EQ(blas<int>("qnm_jit_create_" + name, &jitter, extended[i], transb, this->m, this->n,
                                this->k, this->alpha, lda, ldb, beta, ldc),
                      1);
            using Function = void (*)(void*, const T*, const T*, const T*);
            const auto function = by_value<Function>("qnm_blas_qnm_jit_get_" + name + "_ptr", jitter);
            ASSERT_NE(function, nullptr);
            auto c = before, expected = before;
            blas(name, plain[i], transb, this->m, this->n, this->k, this->alpha, a, lda, b, ldb, beta,
                 expected, ldc);
            const bool exchanged = i >= 3; // the product's first matrix comes second
            function(jitter, (exchanged ? b : a).data(), (exchanged ? a : b).data(), c.data());
            EXPECT_EQ(c, expected) << extended[i] << transb;
            const std::string other = this->l == "d" ? "s" : "d";
            EXPECT_EQ(by_value<void*>("qnm_blas_qnm_jit_get_" + other + "gemm_ptr", jitter), nullptr);
            EXPECT_EQ(by_value<int>("qnm_blas_qnm_jit_destroy", jitter), 0);
        }
    const void* null = nullptr;
    EXPECT_EQ(by_value<void*>("qnm_blas_qnm_jit_get_" + name + "_ptr", null), nullptr);
    EXPECT_EQ(by_value<int>("qnm_blas_qnm_jit_destroy", null), 2);
}

} // namespace
} // namespace qnm::test
