// GEMM over other element formats, and packed operands: one description for all members of the family.
#include "core.hpp"

#include <cmath>
#include <cstring>
#include <limits>

namespace qnm::test {
namespace {

// The value of a small floating-point number, from the definition of its format.
double decoded(unsigned bits, int exponent_bits, int mantissa_bits, bool infinities)
{
    const int bias = (1 << (exponent_bits - 1)) - 1, top = (1 << exponent_bits) - 1;
    const int exponent = static_cast<int>(bits >> mantissa_bits) & top;
    const int mantissa = static_cast<int>(bits) & ((1 << mantissa_bits) - 1);
    const double sign = (bits >> (exponent_bits + mantissa_bits)) & 1 ? -1 : 1;
    if (infinities && exponent == top)
        return mantissa == 0 ? sign * std::numeric_limits<double>::infinity() : std::nan("");
    if (!infinities && exponent == top && mantissa == (1 << mantissa_bits) - 1)
        return std::nan("");
    const double fraction = std::ldexp(mantissa, -mantissa_bits);
    return sign * std::ldexp(exponent == 0 ? fraction : 1 + fraction, (exponent == 0 ? 1 : exponent) - bias);
}

enum class Format { f16, bf16, e5m2, e4m3, s8, u8, s16, s32, f32, f64 };

unsigned one_in(Format f)
{
    return f == Format::f16 ? 0x3c00 : f == Format::bf16 ? 0x3f80 : f == Format::e5m2 ? 0x3c : 0x38;
}

// Elements of one format in memory, padded so that the next buffer's data are never mistaken for it.
struct Numbers {
    Format format;
    std::size_t bytes;
    std::vector<unsigned char> memory;

    Numbers(Format f, core_int n)
        : format(f),
          bytes(f == Format::f64                                            ? 8
                : f == Format::f32 || f == Format::s32                      ? 4
                : f == Format::f16 || f == Format::bf16 || f == Format::s16 ? 2
                                                                            : 1),
          memory(bytes * static_cast<std::size_t>(n))
    {
    }
    const void* data() const { return memory.data(); }
    template <class X>
    X as(core_int i) const
    {
        X x{};
        std::memcpy(&x, &memory[static_cast<std::size_t>(i) * bytes], bytes);
        return x;
    }
    template <class X>
    void set(core_int i, X x)
    {
        std::memcpy(&memory[static_cast<std::size_t>(i) * bytes], &x, bytes);
    }
    double operator[](core_int i) const
    {
        switch (format) {
        case Format::f16:
            return decoded(as<std::uint16_t>(i), 5, 10, true);
        case Format::bf16:
            return decoded(as<std::uint16_t>(i), 8, 7, true);
        case Format::e5m2:
            return decoded(as<std::uint8_t>(i), 5, 2, true);
        case Format::e4m3:
            return decoded(as<std::uint8_t>(i), 4, 3, false);
        case Format::s8:
            return as<std::int8_t>(i);
        case Format::u8:
            return as<std::uint8_t>(i);
        case Format::s16:
            return as<std::int16_t>(i);
        case Format::s32:
            return as<std::int32_t>(i);
        case Format::f32:
            return static_cast<double>(as<float>(i));
        default:
            return as<double>(i);
        }
    }
    // Integers over their whole range, 32 bits a part of it; small formats from 0 to 1; others whole numbers.
    static Numbers random(Format f, core_int n)
    {
        Numbers x(f, n);
        for (core_int i = 0; i < n; ++i)
            if (f == Format::f64)
                x.set(i, random_value<double>());
            else if (f == Format::f32)
                x.set(i, random_value<float>());
            else if (f == Format::s32)
                x.set(i, random_integer(-100000, 100000));
            else if (f == Format::s8 || f == Format::u8 || f == Format::s16)
                x.set(i, random_integer(0, 65535));
            else
                x.set(i, random_integer(0, static_cast<int>(one_in(f))));
        return x;
    }
    // alpha and beta come as half, double or float.
    static Numbers scalar(Format f, double value)
    {
        Numbers x(f, 1);
        if (f == Format::f16)
            x.set(0, static_cast<_Float16>(value));
        else if (f == Format::f64)
            x.set(0, value);
        else
            x.set(0, static_cast<float>(value));
        return x;
    }
};

struct Member {
    const char* name;
    Format a, b, c, scalar;
    bool alpha_at_packing, offsets;
};
constexpr Member members[] = {
    {"sgemm", Format::f32, Format::f32, Format::f32, Format::f32, true, false},
    {"dgemm", Format::f64, Format::f64, Format::f64, Format::f64, true, false},
    {"hgemm", Format::f16, Format::f16, Format::f16, Format::f16, true, false},
    {"gemm_f16f16f32", Format::f16, Format::f16, Format::f32, Format::f32, false, false},
    {"gemm_bf16bf16f32", Format::bf16, Format::bf16, Format::f32, Format::f32, false, false},
    {"gemm_e5m2e5m2f32", Format::e5m2, Format::e5m2, Format::f32, Format::f32, false, false},
    {"gemm_e4m3e4m3f32", Format::e4m3, Format::e4m3, Format::f32, Format::f32, false, false},
    {"gemm_s8u8s32", Format::s8, Format::u8, Format::s32, Format::f32, false, true},
    {"gemm_s16s16s32", Format::s16, Format::s16, Format::s32, Format::f32, false, true},
};

// How far a right result may lie from the exact one.
double tolerance(Format c, double exact)
{
    return c == Format::s32 ? 0.5
                            : (c == Format::f16   ? 4.9e-4
                               : c == Format::f32 ? 1e-6
                                                  : 1e-14) *
                                  (std::abs(exact) + 4);
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
            co = Numbers::random(Format::s32, 5);
    double beta = -0.25;

    double exact(core_int i, core_int j, double scale) const
    {
        double sum = 0;
        for (core_int h = 0; h < k; ++h)
            sum += (a[transa == 'N' ? i + h * lda : h + i * lda] + (member.offsets ? ao[0] : 0)) *
                   (b[transb == 'N' ? h + j * ldb : j + h * ldb] + (member.offsets ? bo[0] : 0));
        return scale * sum + beta * before[i + j * ldc] +
               (member.offsets ? co[offsetc == 'F'   ? 0
                                    : offsetc == 'C' ? i
                                                     : j]
                               : 0);
    }
    void check(const Numbers& c, double scale) const
    {
        for (core_int j = 0; j < n; ++j)
            for (core_int i = 0; i < ldc; ++i)
                if (i < m) {
                    const double expected = member.c == Format::s32
                                                ? std::clamp(exact(i, j, scale), -2147483648.0, 2147483647.0)
                                                : exact(i, j, scale);
                    ASSERT_NEAR(c[i + j * ldc], expected, tolerance(member.c, expected)) << i << "," << j;
                } else {
                    ASSERT_EQ(c[i + j * ldc], before[i + j * ldc]) << "below C";
                }
    }

    void call(bool compute, char ta, const void* x, char tb, const void* y, double scale) const
    {
        Numbers c = before;
        const Numbers s = Numbers::scalar(member.scalar, alpha), t = Numbers::scalar(member.scalar, beta);
        std::vector<const void*> given{&ta, &tb};
        if (member.offsets)
            given.push_back(&offsetc);
        given.insert(given.end(), {&m, &n, &k});
        if (!compute || member.offsets)
            given.push_back(s.data());
        given.insert(given.end(), {x, &lda});
        if (member.offsets)
            given.push_back(ao.data());
        given.insert(given.end(), {y, &ldb});
        if (member.offsets)
            given.push_back(bo.data());
        given.insert(given.end(), {t.data(), c.data(), &ldc});
        if (member.offsets)
            given.push_back(co.data());
        blas_pointers(member.name + std::string(compute ? "_compute" : ""), given);
        check(c, scale);
    }

    // A buffer of the size that the core tells, with guards behind it.
    std::vector<double> packed(char identifier, double factor) const
    {
        const std::string name = member.name;
        const auto bytes =
            static_cast<std::size_t>(blas<core_int>(name + "_pack_get_size", identifier, m, n, k));
        std::vector<double> buffer(bytes / 8 + 2, -77);
        const Numbers s = Numbers::scalar(member.scalar, factor);
        std::vector<const void*> given{&identifier, identifier == 'A' ? &transa : &transb, &m, &n, &k};
        if (member.alpha_at_packing)
            given.push_back(s.data());
        given.insert(given.end(), {identifier == 'A' ? a.data() : b.data(), identifier == 'A' ? &lda : &ldb,
                                   buffer.data()});
        blas_pointers(name + "_pack", given);
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

class Variants : public testing::TestWithParam<Member> {};
INSTANTIATE_TEST_SUITE_P(All, Variants, testing::ValuesIn(members),
                         [](const auto& member_info) { return std::string(member_info.param.name); });

TEST_P(Variants, PlainAndPackedProducts)
{
    const Member member = GetParam();
    for (const char transa : {'N', 'T', 'C'})
        for (const char transb : {'N', 'T', 'C'})
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
    for (const Format format : {Format::f16, Format::bf16, Format::e5m2, Format::e4m3}) {
        Numbers one(format, 1);
        one.set(0, one_in(format));
        const core_int m = one.bytes == 1 ? 256 : 65536, single = 1;
        Numbers a(format, m);
        for (core_int code = 0; code < m; ++code)
            a.set(code, code);
        std::vector<float> c(static_cast<std::size_t>(m));
        const float alpha = 1, beta = 0;
        const char* name = format == Format::f16    ? "gemm_f16f16f32"
                           : format == Format::bf16 ? "gemm_bf16bf16f32"
                           : format == Format::e5m2 ? "gemm_e5m2e5m2f32"
                                                    : "gemm_e4m3e4m3f32";
        blas(name, 'N', 'N', m, single, single, alpha, a.data(), m, one.data(), single, beta, c.data(), m);
        for (core_int code = 0; code < m; ++code) {
            const double got = static_cast<double>(c[static_cast<std::size_t>(code)]);
            ASSERT_TRUE(got == a[code] || (std::isnan(got) && std::isnan(a[code]))) << name << " " << code;
        }
    }
    // Published extremes of the formats, for the decoder of this test.
    EXPECT_EQ(decoded(0x7e, 4, 3, false), 448);
    EXPECT_EQ(decoded(0x7b, 5, 2, true), 57344);
    EXPECT_EQ(decoded(0x7bff, 5, 10, true), 65504);
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
    const Problem p{members[1], 'N', 'N', 'F', 1};
    const auto pa = p.packed('A', 1);
    const double beta = 0;
    std::vector<double> c(40, 7);
    const auto untouched = c;
    // A's buffer in B's place, and under a size that it was not packed for.
    blas("dgemm_compute", 'N', 'P', p.m, p.n, p.k, p.a.data(), p.lda, pa.data(), p.ldb, beta, c.data(),
         p.ldc);
    EXPECT_EQ(last_report, "DGEMM_COMPUTE 8");
    const core_int smaller = p.k - 1;
    blas("dgemm_compute", 'P', 'N', p.m, p.n, smaller, pa.data(), p.lda, p.b.data(), p.ldb, beta, c.data(),
         p.ldc);
    EXPECT_EQ(last_report, "DGEMM_COMPUTE 6");
    EXPECT_EQ(c, untouched);
    by_value<void*>("qnm_serv_set_xerbla", nullptr);
}

} // namespace
} // namespace qnm::test
