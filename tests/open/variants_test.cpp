// GEMM over other element formats, packed operands, kernels made ahead: one description for the whole family.
#include "core.hpp"

#include <bit>
#include <cmath>
#include <cstring>

namespace qnm::test {
namespace {

// What has a mantissa is floating point.
struct Format {
    int bits, mantissa = 0;
    bool is_signed = true;
    bool whole() const { return mantissa == 0; }
    bool operator==(const Format&) const = default;
};
constexpr Format f64{64, 52}, f32{32, 23}, f16{16, 10}, bf16{16, 7}, e5m2{8, 2}, e4m3{8, 3}, s32{32}, s16{16},
    s8{8}, u8{8, 0, false};

// The exponents of all ones are those of infinities and NaNs, but in e4m3 it is one number of them.
double decoded(Format f, std::uint64_t code)
{
    const std::uint64_t one = 1, sign = code >> (f.bits - 1);
    if (f.whole())
        return static_cast<double>(code) - (f.is_signed && sign == 1 ? std::ldexp(1, f.bits) : 0);
    const int width = f.bits - 1 - f.mantissa, all_ones = (1 << width) - 1, bias = all_ones / 2;
    const int exponent = static_cast<int>(code >> f.mantissa) & all_ones;
    const std::uint64_t mantissa = code & ((one << f.mantissa) - 1);
    double size = std::ldexp(static_cast<double>(mantissa + (exponent == 0 ? 0 : one << f.mantissa)),
                             std::max(exponent, 1) - bias - f.mantissa);
    if (exponent == all_ones && (f == e4m3 ? mantissa == 7 : true))
        size = f != e4m3 && mantissa == 0 ? INFINITY : NAN;
    return sign == 1 ? -size : size;
}
// Of a number that the format has.
std::uint64_t encoded(Format f, double value)
{
    const auto shifted = std::bit_cast<std::uint64_t>(std::abs(value)) >> (52 - f.mantissa);
    const std::uint64_t bias = (std::uint64_t{1} << (f.bits - 2 - f.mantissa)) - 1;
    return std::uint64_t{value < 0} << (f.bits - 1) |
           (value == 0 ? 0 : shifted - ((1023 - bias) << f.mantissa));
}

// Elements of one format in memory.
struct Numbers {
    Format format;
    std::vector<unsigned char> memory;

    Numbers(Format f, core_int n, auto code_of) : format(f), memory(static_cast<std::size_t>(n * f.bits / 8))
    {
        for (core_int i = 0; i < n; ++i) {
            const std::uint64_t code = code_of(i); // its lower bytes
            std::memcpy(&memory[static_cast<std::size_t>(i * f.bits / 8)], &code,
                        static_cast<std::size_t>(f.bits / 8));
        }
    }
    Numbers(Format f, double value) : Numbers(f, 1, [&](core_int) { return encoded(f, value); }) {}
    // Integers over their whole range, 32 bits a part of it; small formats from 0 to 1; others whole numbers.
    Numbers(Format f, core_int n)
        : Numbers(f, n, [&](core_int) {
              const auto one = static_cast<int>(encoded(f, 1) & 0xffff);
              return f.whole() ? static_cast<std::uint64_t>(random_integer(f.bits == 32 ? -100000 : 0, 65535))
                     : f.bits < 32 ? static_cast<std::uint64_t>(random_integer(0, one))
                                   : encoded(f, random_integer(-3, 3));
          })
    {
    }
    const void* data() const { return memory.data(); }
    double operator[](core_int i) const
    {
        std::uint64_t code = 0;
        std::memcpy(&code, &memory[static_cast<std::size_t>(i * format.bits / 8)],
                    static_cast<std::size_t>(format.bits / 8));
        return decoded(format, code);
    }
};

struct Member {
    std::string name;
    Format a, b, c, scalar;
    bool alpha_at_packing = false, offsets = false;
};
const Member members[] = {
    {"sgemm", f32, f32, f32, f32, true},
    {"dgemm", f64, f64, f64, f64, true},
    {"hgemm", f16, f16, f16, f16, true},
    {"gemm_f16f16f32", f16, f16, f32, f32},
    {"gemm_bf16bf16f32", bf16, bf16, f32, f32},
    {"gemm_e5m2e5m2f32", e5m2, e5m2, f32, f32},
    {"gemm_e4m3e4m3f32", e4m3, e4m3, f32, f32},
    {"gemm_s8u8s32", s8, u8, s32, f32, false, true},
    {"gemm_s16s16s32", s16, s16, s32, f32, false, true},
};

// How far a right result may lie from the exact one.
double tolerance(Format c, double exact)
{
    return c == s32 ? 0.5 : (c == f16 ? 4.9e-4 : c == f32 ? 1e-6 : 1e-14) * (std::abs(exact) + 4);
}

// One product of a member, called in each of its forms.
struct Problem {
    Member member;
    char transa, transb, offsetc;
    double alpha, beta = -0.25;
    core_int m = any_size() % 41, n = any_size() % 41, k = any_size() % 41, lda = 42, ldb = 43, ldc = 44;
    Numbers a{member.a, core_int{42 * 41}}, b{member.b, core_int{43 * 41}}, before{member.c, ldc*n + 1},
        ao{member.a, core_int{1}}, bo{member.a, core_int{1}}, co{s32, core_int{41}};

    // The arguments that the member has: the others are null.
    void call(const std::string& form, std::vector<const void*> arguments) const
    {
        std::erase(arguments, nullptr);
        by_pointers("qnm_blas_" + member.name + form, arguments);
    }
    double exact(core_int i, core_int j, double scale) const
    {
        const auto offset = [&](const Numbers& x, core_int at) { return member.offsets ? x[at] : 0; };
        double sum = 0;
        for (core_int h = 0; h < k; ++h)
            sum += (a[!turns(transa) ? i + h * lda : h + i * lda] + offset(ao, 0)) *
                   (b[!turns(transb) ? h + j * ldb : j + h * ldb] + offset(bo, 0));
        const double added = offset(co, core::same_letter(offsetc, 'F')   ? 0
                                        : core::same_letter(offsetc, 'C') ? i
                                                                          : j);
        // Where C is no integer, nothing comes near its bounds.
        return std::clamp(scale * sum + beta * before[i + j * ldc] + added, -2147483648.0, 2147483647.0);
    }
    void expect_product(const std::string& form, char ta, const void* x, char tb, const void* y,
                        double scale) const
    {
        Numbers c = before;
        const Numbers s(member.scalar, alpha), t(member.scalar, beta);
        const auto offset = [&](const void* argument) { return member.offsets ? argument : nullptr; };
        call(form,
             {&ta, &tb, offset(&offsetc), &m, &n, &k, form.empty() ? s.data() : offset(s.data()), x, &lda,
              offset(ao.data()), y, &ldb, offset(bo.data()), t.data(), c.data(), &ldc, offset(co.data())});
        for (core_int at = 0; at < ldc * n; ++at) {
            const double expected = at % ldc < m ? exact(at % ldc, at / ldc, scale) : before[at];
            ASSERT_NEAR(c[at], expected, at % ldc < m ? tolerance(member.c, expected) : 0) << form << at;
        }
    }
    // A buffer of the size that the core tells, with guards behind it.
    std::vector<double> packed(char identifier, double factor) const
    {
        const auto bytes = static_cast<std::size_t>(
            blas<double, core_int>(member.name + "_pack_get_size", identifier, m, n, k));
        std::vector<double> buffer(bytes / 8 + 2, -77);
        const Numbers s(member.scalar, factor);
        const bool of_a = identifier == 'A';
        call("_pack",
             {&identifier, of_a ? &transa : &transb, &m, &n, &k, member.alpha_at_packing ? s.data() : nullptr,
              of_a ? a.data() : b.data(), of_a ? &lda : &ldb, buffer.data()});
        for (std::size_t i = (bytes + 7) / 8; i < buffer.size(); ++i)
            EXPECT_EQ(buffer[i], -77) << "written beyond the buffer";
        return buffer;
    }
};

TEST(Variants, PlainAndPackedProducts)
{
    for (int round = 0; round < 300; ++round) {
        const Member& member = members[round % std::ssize(members)];
        const std::string transposes = member.offsets ? "NT" : "NTC";
        const double alpha = random_integer(0, 3) / 2.0;
        const Problem p{member, pick(transposes), pick(transposes), pick("FCR"), alpha};
        SCOPED_TRACE(member.name + p.transa + p.transb + p.offsetc);
        const double unpacked = member.offsets ? alpha : 1; // what C is scaled by where A is not packed
        const double scale = member.alpha_at_packing ? alpha : unpacked;
        const auto pa = p.packed('A', alpha), pb = p.packed('B', 1);
        p.expect_product("", p.transa, p.a.data(), p.transb, p.b.data(), alpha);
        p.expect_product("_compute", p.transa, p.a.data(), p.transb, p.b.data(), unpacked);
        p.expect_product("_compute", 'P', pa.data(), p.transb, p.b.data(), scale);
        p.expect_product("_compute", p.transa, p.a.data(), 'p', pb.data(), unpacked);
        p.expect_product("_compute", 'P', pa.data(), 'P', pb.data(), scale);
    }
}

// A column of all codes times one.
TEST(Variants, EveryCodeHasItsValue)
{
    for (const Member& member : members) {
        if (member.a.bits > 16 || member.c != f32)
            continue;
        const core_int m = core_int{1} << member.a.bits, single = 1;
        const Numbers one(member.a, 1.0),
            a(member.a, m, [](core_int code) { return static_cast<std::uint64_t>(code); });
        std::vector<float> c(static_cast<std::size_t>(m));
        const float alpha = 1, beta = 0;
        blas(member.name, 'N', 'N', m, single, single, alpha, a.data(), m, one.data(), single, beta, c, m);
        for (core_int code = 0; code < m; ++code) {
            const auto got = static_cast<double>(c[static_cast<std::size_t>(code)]);
            ASSERT_TRUE(got == a[code] || (std::isnan(got) && std::isnan(a[code])))
                << member.name << " " << code;
        }
    }
    EXPECT_EQ(decoded(e4m3, 0x7e), 448); // published extremes
    EXPECT_EQ(decoded(e5m2, 0x7b), 57344);
}

TEST(Variants, AForeignBufferIsReportedAndNothingComputed)
{
    const Reports reports;
    const Problem p{members[1], 'N', 'N', 'F', 1, -0.25, 4, 4, 4}; // squares differ in their marks alone
    const auto pa = p.packed('A', 1), pb = p.packed('B', 1), untouched = std::vector<double>(40, 7);
    const core_int smaller = p.k - 1;
    const double beta = 0;
    auto c = untouched;
    // A's buffer in B's place, and buffers under sizes that they were not packed for.
    blas("dgemm_compute", 'N', 'P', p.m, p.n, p.k, p.a.data(), p.lda, pa, p.ldb, beta, c, p.ldc);
    blas("dgemm_compute", 'P', 'N', p.m, p.n, smaller, pa, p.lda, p.b.data(), p.ldb, beta, c, p.ldc);
    EXPECT_EQ(reports.told, (std::vector<std::string>{"DGEMM_COMPUTE 8", "DGEMM_COMPUTE 6"}));
    EXPECT_EQ(c, untouched);
}

QNM_TYPED(Variants, KernelsCarryTheirParameters)
{
    const std::string get = "qnm_blas_qnm_jit_get_", destroy = "qnm_blas_qnm_jit_destroy",
                      own = get + letter<T> + "gemm_ptr",
                      other = get + (letter<T> == "d" ? "s" : "d") + "gemm_ptr", extended = "OUV";
    for (int round = 0; round < 40; ++round) {
        const char letter = pick("NTCOUV"), transb = pick("NT");
        const std::size_t at = extended.find(core::upper_case(letter));
        const bool exchanged = at < 3; // the product's first matrix comes second
        const char transa = exchanged ? "NTC"[at] : letter;
        const core_int m = any_size(), n = any_size(), k = any_size();
        const T alpha = any_factor<T>(), beta = any_factor<T>();
        const auto a = stored<T>(transa, m, k), b = stored<T>(transb, k, n, 5);
        Matrix<T> c(m, n), expected = c;
        void* jitter = nullptr;
        EXPECT_EQ((blas<T, int>("qnm_jit_create_?gemm", &jitter, letter, transb, m, n, k, alpha, a.ld, b.ld,
                                beta, c.ld)),
                  1);
        blas<T>("?gemm", transa, transb, m, n, k, alpha, a, b, beta, expected);
        using Function = void (*)(void*, const T*, const T*, const T*);
        by_value<Function>(own, jitter)(jitter, (exchanged ? b : a).data.data(),
                                        (exchanged ? a : b).data.data(), c.data.data());
        EXPECT_EQ(c.data, expected.data);
        EXPECT_EQ(by_value<void*>(other, jitter), nullptr);
        EXPECT_EQ(by_value<int>(destroy, jitter), 0);
    }
    EXPECT_EQ(by_value<void*>(own, nullptr), nullptr);
    EXPECT_EQ(by_value<int>(destroy, nullptr), 2);
}

} // namespace
} // namespace qnm::test
