// GEMM over other element formats, and packed operands: one description for all members of the family.
#include "core.hpp"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace qnm::test {
namespace {

enum Format { f64, f32, f16, bf16, e5m2, e4m3, s32, s16, s8, u8 };
constexpr int bits[] = {64, 32, 16, 16, 8, 8, 32, 16, 8, 8};

constexpr bool whole(Format format)
{
    return format >= s32;
}
constexpr int code_of_one(Format format)
{
    return format == f16 ? 0x3c00 : format == bf16 ? 0x3f80 : format == e5m2 ? 0x3c : 0x38;
}

// Two of the formats are the upper half of others, and one is like none that the compiler has.
double decoded(Format format, std::uint64_t code)
{
    const auto as = [](auto from, auto type) {
        return static_cast<double>(std::bit_cast<decltype(type)>(from));
    };
    const auto low = static_cast<std::uint16_t>(code);
    const int exponent = low >> 3 & 15, mantissa = low & 7;
    return format == f64    ? as(code, double{})
           : format == f32  ? as(static_cast<std::uint32_t>(code), float{})
           : format == bf16 ? as(static_cast<std::uint32_t>(code << 16), float{})
           : format == f16  ? as(low, _Float16{})
           : format == e5m2 ? as(static_cast<std::uint16_t>(code << 8), _Float16{})
           : format == s32  ? static_cast<std::int32_t>(code)
           : format == s16  ? static_cast<std::int16_t>(code)
           : format == s8   ? static_cast<std::int8_t>(code)
           : format == u8   ? static_cast<std::uint8_t>(code)
           : (code & 127) == 127
               ? std::nan("")
               : std::ldexp((exponent == 0 ? 0 : 8) + mantissa, std::max(exponent, 1) - 10) *
                     (code < 128 ? 1 : -1);
}

// Elements of one format in memory.
struct Numbers {
    Format format;
    std::vector<unsigned char> memory;

    Numbers(Format f, core_int n) : format(f), memory(static_cast<std::size_t>(n * bits[f] / 8)) {}
    explicit Numbers(Format f, double value) : Numbers(f, core_int{1}) { set_value(0, value); }
    const void* data() const { return memory.data(); }
    std::size_t at(core_int i) const { return static_cast<std::size_t>(i * bits[format] / 8); }
    template <class X>
    void set(core_int i, X x) // its lower bytes
    {
        std::memcpy(&memory[at(i)], &x, at(1));
    }
    void set_value(core_int i, double value)
    {
        bits[format] == 64   ? set(i, value)
        : bits[format] == 32 ? set(i, static_cast<float>(value))
                             : set(i, static_cast<_Float16>(value));
    }
    double operator[](core_int i) const
    {
        std::uint64_t code = 0;
        std::memcpy(&code, &memory[at(i)], at(1));
        return decoded(format, code);
    }
    // Integers over their whole range, 32 bits a part of it; small formats from 0 to 1; others whole numbers.
    static Numbers random(Format f, core_int n)
    {
        Numbers x(f, n);
        for (core_int i = 0; i < n; ++i)
            if (whole(f))
                x.set(i, bits[f] == 32 ? random_integer(-100000, 100000) : random_integer(0, 65535));
            else if (bits[f] > 16)
                x.set_value(i, random_integer(-3, 3));
            else
                x.set(i, random_integer(0, code_of_one(f)));
        return x;
    }
};

struct Member {
    const char* name;
    Format a, b, c, scalar;
    bool alpha_at_packing, offsets;
};
constexpr Member members[] = {
    {"sgemm", f32, f32, f32, f32, true, false},
    {"dgemm", f64, f64, f64, f64, true, false},
    {"hgemm", f16, f16, f16, f16, true, false},
    {"gemm_f16f16f32", f16, f16, f32, f32, false, false},
    {"gemm_bf16bf16f32", bf16, bf16, f32, f32, false, false},
    {"gemm_e5m2e5m2f32", e5m2, e5m2, f32, f32, false, false},
    {"gemm_e4m3e4m3f32", e4m3, e4m3, f32, f32, false, false},
    {"gemm_s8u8s32", s8, u8, s32, f32, false, true},
    {"gemm_s16s16s32", s16, s16, s32, f32, false, true},
};

// How far a right result may lie from the exact one.
double tolerance(Format c, double exact)
{
    return whole(c) ? 0.5 : (bits[c] == 16 ? 4.9e-4 : bits[c] == 32 ? 1e-6 : 1e-14) * (std::abs(exact) + 4);
}

// The arguments that a member has: the others are null.
template <class... A>
std::vector<const void*> present(A... arguments)
{
    std::vector<const void*> all{arguments...};
    std::erase(all, nullptr);
    return all;
}

// One product of a member, called in each of its forms.
struct Problem {
    Member member;
    char transa, transb, offsetc;
    double alpha;
    core_int m = 5, n = 4, k = 6, lda = 8, ldb = 9, ldc = 7;
    Numbers a = Numbers::random(member.a, 64), b = Numbers::random(member.b, 72);
    Numbers before = Numbers::random(member.c, ldc* n);
    Numbers ao = Numbers::random(member.a, 1), bo = Numbers::random(member.a, 1),
            co = Numbers::random(s32, 5);
    double beta = -0.25;

    double exact(core_int i, core_int j, double scale) const
    {
        const auto offset = [&](const Numbers& x, core_int at) { return member.offsets ? x[at] : 0; };
        double sum = 0;
        for (core_int h = 0; h < k; ++h)
            sum += (a[transa == 'N' ? i + h * lda : h + i * lda] + offset(ao, 0)) *
                   (b[transb == 'N' ? h + j * ldb : j + h * ldb] + offset(bo, 0));
        const double added = offset(co, offsetc == 'F' ? 0 : offsetc == 'C' ? i : j);
        // Where C is no integer, nothing comes near its bounds.
        return std::clamp(scale * sum + beta * before[i + j * ldc] + added, -2147483648.0, 2147483647.0);
    }
    void call(bool compute, char ta, const void* x, char tb, const void* y, double scale) const
    {
        Numbers c = before;
        const Numbers s(member.scalar, alpha), t(member.scalar, beta);
        const auto offset = [&](const void* argument) { return member.offsets ? argument : nullptr; };
        by_pointers(std::string("qnm_blas_") + member.name + std::string(compute ? "_compute" : ""),
                    present(&ta, &tb, offset(&offsetc), &m, &n, &k, compute ? offset(s.data()) : s.data(), x,
                            &lda, offset(ao.data()), y, &ldb, offset(bo.data()), t.data(), c.data(), &ldc,
                            offset(co.data())));
        for (core_int j = 0; j < n; ++j) {
            for (core_int i = 0; i < m; ++i) {
                const double expected = exact(i, j, scale);
                ASSERT_NEAR(c[i + j * ldc], expected, tolerance(member.c, expected)) << i << "," << j;
            }
            for (core_int i = m; i < ldc; ++i)
                ASSERT_EQ(c[i + j * ldc], before[i + j * ldc]) << "below C";
        }
    }

    // A buffer of the size that the core tells, with guards behind it.
    std::vector<double> packed(char identifier, double factor) const
    {
        const std::string name = member.name;
        const auto bytes =
            static_cast<std::size_t>(blas<core_int>(name + "_pack_get_size", identifier, m, n, k));
        std::vector<double> buffer(bytes / 8 + 2, -77);
        const Numbers s(member.scalar, factor);
        const bool of_a = identifier == 'A';
        by_pointers("qnm_blas_" + name + "_pack",
                    present(&identifier, of_a ? &transa : &transb, &m, &n, &k,
                            member.alpha_at_packing ? s.data() : nullptr, of_a ? a.data() : b.data(),
                            of_a ? &lda : &ldb, buffer.data()));
        for (std::size_t i = (bytes + 7) / 8; i < buffer.size(); ++i)
            EXPECT_EQ(buffer[i], -77) << "written beyond the buffer";
        return buffer;
    }

    void run() const
    {
        call(false, transa, a.data(), transb, b.data(), alpha);
        const double scale = member.offsets || member.alpha_at_packing ? alpha : 1; // where A is packed
        const double loose = member.offsets ? alpha : 1;                            // where it is not
        const auto pa = packed('A', alpha), pb = packed('B', 1);
        call(true, transa, a.data(), transb, b.data(), loose);
        call(true, 'P', pa.data(), transb, b.data(), scale);
        call(true, transa, a.data(), 'p', pb.data(), loose);
        call(true, 'P', pa.data(), 'P', pb.data(), scale);
    }
};

void PrintTo(const Member& member, std::ostream* out)
{
    *out << member.name;
}

class Variants : public testing::TestWithParam<Member> {};
INSTANTIATE_TEST_SUITE_P(All, Variants, testing::ValuesIn(members),
                         [](const auto& member_info) { return std::string(member_info.param.name); });

TEST_P(Variants, PlainAndPackedProducts)
{
    const Member member = GetParam();
    for (const char transa : transposes)
        for (const char transb : transposes)
            for (const char offsetc : {'F', 'C', 'R'})
                for (const double alpha : {0.5, 3.0}) {
                    if (member.offsets && (transa == 'C' || transb == 'C'))
                        continue;
                    SCOPED_TRACE((std::string{transa, transb, offsetc}));
                    Problem{member, transa, transb, offsetc, alpha}.run();
                }
}

TEST(Variants, EveryCodeHasItsValue)
{
    for (const Member& member : members) {
        const Format format = member.a;
        if (whole(format) || bits[format] > 16 || bits[member.c] != 32)
            continue;
        Numbers one(format, core_int{1});
        one.set(0, code_of_one(format));
        const core_int m = 1 << bits[format], single = 1;
        Numbers a(format, m);
        for (core_int code = 0; code < m; ++code)
            a.set(code, code);
        std::vector<float> c(static_cast<std::size_t>(m));
        const float alpha = 1, beta = 0;
        blas(member.name, 'N', 'N', m, single, single, alpha, a.data(), m, one.data(), single, beta, c, m);
        for (core_int code = 0; code < m; ++code) {
            const double got = static_cast<double>(c[static_cast<std::size_t>(code)]);
            ASSERT_TRUE(got == a[code] || (std::isnan(got) && std::isnan(a[code])))
                << member.name << " " << code;
        }
    }
    EXPECT_EQ(decoded(e4m3, 0x7e), 448); // published extremes
    EXPECT_EQ(decoded(e5m2, 0x7b), 57344);
}

TEST(Variants, IntegersStopAtTheirBounds)
{
    const core_int one = 1;
    const std::int16_t a = 32767, zero = 0;
    const float beta = 0;
    const std::int32_t co = 0;
    std::int32_t c = 5;
    for (const float alpha : {4.F, -4.F}) {
        blas("gemm_s16s16s32", 'N', 'N', 'F', one, one, one, alpha, &a, one, zero, &a, one, zero, beta, &c,
             one, &co);
        EXPECT_EQ(c, alpha > 0 ? std::numeric_limits<std::int32_t>::max()
                               : std::numeric_limits<std::int32_t>::min());
    }
}

std::string last_report;
void remember(const char* srname, const int* info, int len)
{
    last_report = std::string(srname, static_cast<std::size_t>(len)) + " " + std::to_string(*info);
}

TEST(Variants, AForeignBufferIsReportedAndNothingComputed)
{
    by_value<void*>("qnm_serv_set_xerbla", &remember);
    const Problem p{members[1], 'N', 'N', 'F', 1, 4, 4, 4}; // squares differ in their marks alone
    const auto pa = p.packed('A', 1);
    const double beta = 0;
    const std::vector<double> untouched(40, 7);
    auto c = untouched;
    // A's buffer in B's place, and under a size that it was not packed for.
    blas("dgemm_compute", 'N', 'P', p.m, p.n, p.k, p.a.data(), p.lda, pa, p.ldb, beta, c, p.ldc);
    EXPECT_EQ(last_report, "DGEMM_COMPUTE 8");
    const core_int smaller = p.k - 1;
    blas("dgemm_compute", 'P', 'N', p.m, p.n, smaller, pa, p.lda, p.b.data(), p.ldb, beta, c, p.ldc);
    EXPECT_EQ(last_report, "DGEMM_COMPUTE 6");
    EXPECT_EQ(c, untouched);
    by_value<void*>("qnm_serv_set_xerbla", nullptr);
}

} // namespace
} // namespace qnm::test
