// Promised bounds in units of the last place, of every instruction set that this processor has and both
// levels.
#include "kernels/contract.hpp"

#include <bit>
#include <cmath>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <limits>
#include <mpfr.h>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace qnm::vml;

void* library()
{
    static void* const opened = dlopen(QNM_KERNELS_FILE, RTLD_NOW | RTLD_LOCAL);
    return opened;
}
template <class T>
T symbol(const std::string& name)
{
    return reinterpret_cast<T>(dlsym(library(), ("qnm_vml_kernel_" + name).c_str()));
}

/// What the exact value is, to more digits than any type here has.
class Exact {
public:
    Exact() { mpfr_init2(value_, 128); }
    ~Exact() { mpfr_clear(value_); }
    Exact(const Exact&) = delete;
    Exact& operator=(const Exact&) = delete;
    operator mpfr_ptr() { return value_; }

    /// Distance of a result in units of the last place that T has at the exact value.
    template <class T>
    double ulps(T result)
    {
        const auto rounded = static_cast<T>(mpfr_get_d(value_, MPFR_RNDN));
        if (std::isnan(rounded) || std::isnan(result))
            return std::isnan(rounded) && std::isnan(result) ? 0 : HUGE_VAL;
        if (std::isinf(rounded) || std::isinf(result))
            return rounded == result ? 0 : HUGE_VAL;
        if (mpfr_zero_p(value_) != 0)
            return result == 0 && std::signbit(result) == std::signbit(rounded) ? 0 : HUGE_VAL;
        const int least = std::numeric_limits<T>::min_exponent - std::numeric_limits<T>::digits;
        const int exponent = static_cast<int>(mpfr_get_exp(value_)) - std::numeric_limits<T>::digits;
        Exact difference;
        mpfr_sub_d(difference, value_, static_cast<double>(result), MPFR_RNDN);
        mpfr_mul_2si(difference, difference, -std::max(exponent, least), MPFR_RNDN);
        return std::abs(mpfr_get_d(difference, MPFR_RNDN));
    }

private:
    mpfr_t value_;
};

using Of1 = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using Of2 = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);
struct Promise {
    const char* root;
    Of1 exact;
    Of2 exact_of_two;
    double low, high; // of arguments
    double bound;
    double bound_of_low_accuracy;
};
constexpr double all = 1e308;
// Functions that MPFR has in other words.
constexpr mpfr_rnd_t nearest = MPFR_RNDN;
int inv_sqrt(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    mpfr_rec_sqrt(y, x, nearest);
    return mpfr_zero_p(x) != 0 ? mpfr_setsign(y, y, mpfr_signbit(x), nearest) : 0;
}
int inv_cbrt(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    mpfr_cbrt(y, x, nearest);
    return mpfr_ui_div(y, 1, y, nearest);
}
int pow_2_3(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    mpfr_cbrt(y, x, nearest);
    return mpfr_sqr(y, y, nearest);
}
int pow_3_2(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    mpfr_sqrt(y, x, nearest);
    return mpfr_mul(y, y, x, nearest);
}
int cdf(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    mpfr_sqrt_ui(y, 2, nearest);
    mpfr_div(y, x, y, nearest);
    mpfr_neg(y, y, nearest);
    mpfr_erfc(y, y, nearest);
    return mpfr_div_2ui(y, y, 1, nearest);
}
int scaled_erfc(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    Exact square;
    if (mpfr_cmp_d(x, 1e12) >
        0) { // the exponential would be out of range: what is left out is below 1e-24 of it
        mpfr_const_pi(y, nearest);
        mpfr_sqrt(y, y, nearest);
        mpfr_mul(y, y, x, nearest);
        return mpfr_ui_div(y, 1, y, nearest);
    }
    mpfr_sqr(square, x, nearest);
    mpfr_exp(square, square, nearest);
    mpfr_erfc(y, x, nearest);
    return mpfr_mul(y, y, square, nearest);
}
int log_of_gamma(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    int sign = 0;
    return mpfr_lgamma(y, &sign, x, nearest);
}
template <int (*of)(mpfr_ptr, mpfr_srcptr, unsigned long, mpfr_rnd_t)>
int degrees(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    return of(y, x, 360, nearest);
}

template <int (*of)(mpfr_ptr, mpfr_srcptr)>
int whole(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    return of(y, x);
}
int magnitude(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    return mpfr_abs(y, x, nearest);
}

void PrintTo(const Promise& promise, std::ostream* out)
{
    *out << promise.root;
}
const Promise promises[] = {
    {"Exp", mpfr_exp, nullptr, -760, 720, 1.0, 4.0},
    {"Exp2", mpfr_exp2, nullptr, -1090, 1030, 1.0, 4.0},
    {"Exp10", mpfr_exp10, nullptr, -330, 310, 1.0, 4.0},
    {"Expm1", mpfr_expm1, nullptr, -760, 720, 1.0, 4.0},
    {"Ln", mpfr_log, nullptr, 0, all, 1.0, 4.0},
    {"Log2", mpfr_log2, nullptr, 0, all, 1.0, 4.0},
    {"Log10", mpfr_log10, nullptr, 0, all, 1.0, 4.0},
    {"Log1p", mpfr_log1p, nullptr, -1, all, 1.0, 4.0},
    {"Sqrt", mpfr_sqrt, nullptr, 0, all, 0.5, 0.5},
    {"Cbrt", mpfr_cbrt, nullptr, -all, all, 1.0, 4.0},
    {"Sqr", mpfr_sqr, nullptr, -all, all, 0.5, 0.5},
    {"Sin", mpfr_sin, nullptr, -all, all, 1.0, 4.0},
    {"Cos", mpfr_cos, nullptr, -all, all, 1.0, 4.0},
    {"Tan", mpfr_tan, nullptr, -all, all, 1.0, 4.0},
    {"Asin", mpfr_asin, nullptr, -1.01, 1.01, 1.0, 4.0},
    {"Acos", mpfr_acos, nullptr, -1.01, 1.01, 1.0, 4.0},
    {"Atan", mpfr_atan, nullptr, -all, all, 1.0, 4.0},
    {"Sinh", mpfr_sinh, nullptr, -720, 720, 1.0, 4.0},
    {"Cosh", mpfr_cosh, nullptr, -720, 720, 1.0, 4.0},
    {"Tanh", mpfr_tanh, nullptr, -all, all, 1.0, 4.0},
    {"Asinh", mpfr_asinh, nullptr, -all, all, 1.0, 4.0},
    {"Acosh", mpfr_acosh, nullptr, 0.99, all, 1.0, 4.0},
    {"Atanh", mpfr_atanh, nullptr, -1.01, 1.01, 1.0, 4.0},
    {"Erf", mpfr_erf, nullptr, -30, 30, 1.0, 4.0},
    {"Erfc", mpfr_erfc, nullptr, -30, 30, 1.0, 4.0},
    {"Sinpi", mpfr_sinpi, nullptr, -all, all, 1.0, 4.0},
    {"Cospi", mpfr_cospi, nullptr, -all, all, 1.0, 4.0},
    {"Tanpi", mpfr_tanpi, nullptr, -all, all, 1.0, 4.0},
    {"Asinpi", mpfr_asinpi, nullptr, -1.01, 1.01, 1.0, 4.0},
    {"Acospi", mpfr_acospi, nullptr, -1.01, 1.01, 1.0, 4.0},
    {"Atanpi", mpfr_atanpi, nullptr, -all, all, 1.0, 4.0},
    {"Sind", degrees<mpfr_sinu>, nullptr, -all, all, 1.0, 4.0},
    {"Cosd", degrees<mpfr_cosu>, nullptr, -all, all, 1.0, 4.0},
    {"Tand", degrees<mpfr_tanu>, nullptr, -all, all, 1.0, 4.0},
    {"InvSqrt", inv_sqrt, nullptr, 0, all, 1.0, 4.0},
    {"InvCbrt", inv_cbrt, nullptr, -all, all, 1.0, 4.0},
    {"Pow2o3", pow_2_3, nullptr, -all, all, 1.0, 4.0},
    {"Pow3o2", pow_3_2, nullptr, 0, all, 1.0, 4.0},
    {"TGamma", mpfr_gamma, nullptr, -180, 175, 1.0, 4.0},
    {"LGamma", log_of_gamma, nullptr, -200, 1e300, 1.0, 4.0},
    {"CdfNorm", cdf, nullptr, -39, 40, 1.0, 4.0},
    {"Erfcx", scaled_erfc, nullptr, -27, 1e4, 1.0, 4.0},
    {"J0", mpfr_j0, nullptr, 0, 2, 1.0, 4.0},
    {"Add", nullptr, mpfr_add, -all, all, 0.5, 0.5},
    {"Mul", nullptr, mpfr_mul, -all, all, 0.5, 0.5},
    {"Div", nullptr, mpfr_div, -all, all, 0.5, 0.5},
    {"Sub", nullptr, mpfr_sub, -all, all, 0.5, 0.5},
    {"Fmod", nullptr, mpfr_fmod, -1e5, 1e5, 0.5, 0.5},
    {"Remainder", nullptr, mpfr_remainder, -1e5, 1e5, 0.5, 0.5},
    {"Fdim", nullptr, mpfr_dim, -all, all, 0.5, 0.5},
    {"Fmax", nullptr, mpfr_max, -all, all, 0, 0},
    {"Fmin", nullptr, mpfr_min, -all, all, 0, 0},
    {"Floor", whole<mpfr_floor>, nullptr, -1e9, 1e9, 0, 0},
    {"Ceil", whole<mpfr_ceil>, nullptr, -1e9, 1e9, 0, 0},
    {"Trunc", whole<mpfr_trunc>, nullptr, -1e9, 1e9, 0, 0},
    {"Round", whole<mpfr_round>, nullptr, -1e9, 1e9, 0, 0},
    {"Rint", mpfr_rint, nullptr, -1e9, 1e9, 0, 0},
    {"Frac", mpfr_frac, nullptr, -1e9, 1e9, 0, 0},
    {"Abs", magnitude, nullptr, -all, all, 0, 0},
    {"Powr", nullptr, mpfr_powr, 0, 1000, 1.0, 4.0},
    {"Atan2pi", nullptr, mpfr_atan2pi, -all, all, 1.0, 4.0},
    {"Pow", nullptr, mpfr_pow, -1000, 1000, 1.0, 4.0},
    {"Hypot", nullptr, mpfr_hypot, -all, all, 1.0, 4.0},
    {"Atan2", nullptr, mpfr_atan2, -all, all, 1.0, 4.0},
};

/// Edges, and points between the bounds: half of them even in size, half in exponent.
template <class T>
std::vector<T> points(double low, double high, unsigned seed)
{
    using Limits = std::numeric_limits<T>;
    std::vector<T> made;
    for (const T edge : {T(0), Limits::denorm_min(), Limits::min(), Limits::epsilon(), T(0.5), T(1), T(2),
                         T(100), Limits::max(), Limits::infinity(), Limits::quiet_NaN()})
        for (const T x : {edge, -edge, std::nextafter(edge, T(0)), std::nextafter(-edge, T(0))})
            made.push_back(x);
    std::mt19937_64 random(seed);
    const T first = static_cast<T>(std::max(low, -double{Limits::max()}));
    const T last = static_cast<T>(std::min(high, double{Limits::max()}));
    std::uniform_real_distribution<double> part(0, 1),
        exponent(Limits::min_exponent - 3, Limits::max_exponent);
    while (made.size() < 2003) { // no whole number of lanes
        const T even = static_cast<T>(first * (1 - part(random)) + last * part(random));
        const T sized =
            static_cast<T>(std::ldexp(part(random) < 0.5 ? -1.5 : 1.25, static_cast<int>(exponent(random))) *
                           (1 + part(random)));
        for (const T x : {even, sized})
            if (x >= first && x <= last)
                made.push_back(x);
    }
    return made;
}

class Kernels : public testing::TestWithParam<Promise> {
protected:
    template <class T>
    void check(char type)
    {
        const Promise& promise = GetParam();
        ASSERT_NE(library(), nullptr) << dlerror();
        const auto* const kernels = symbol<void (**)()>(type + std::string(promise.root) + "_ttab");
        ASSERT_NE(kernels, nullptr);
        const auto a = points<T>(promise.low, promise.high, 1), b = points<T>(promise.low, promise.high, 2);
        const auto n = static_cast<std::int64_t>(std::min(a.size(), b.size()));
        std::vector<Exact> exact(static_cast<std::size_t>(n));
        for (std::size_t i = 0; i < exact.size(); ++i) {
            Exact x, y;
            mpfr_set_d(x, static_cast<double>(a[i]), MPFR_RNDN);
            mpfr_set_d(y, static_cast<double>(b[i]), MPFR_RNDN);
            if (promise.exact != nullptr)
                promise.exact(exact[i], x, MPFR_RNDN);
            else
                promise.exact_of_two(exact[i], x, y, MPFR_RNDN);
        }
        const int index_of[] = {symbol<int (*)(int)>("GetTTableIndex")(0),
                                symbol<int (*)(int)>("GetTTableIndex")(6),
                                symbol<int (*)(int)>("GetTTableIndex")(7)};
        for (const int index : index_of)
            for (const std::uint32_t level : {low_accuracy, high_accuracy}) {
                std::vector<T> y(a.size());
                Call call{level, ok, 0, nullptr, 0};
                if (promise.exact != nullptr)
                    reinterpret_cast<Shape<T, 1, 0, T, 1>::Kernel*>(kernels[index])(n, {a.data(), 1},
                                                                                    {y.data(), 1}, &call);
                else
                    reinterpret_cast<Shape<T, 2, 0, T, 1>::Kernel*>(kernels[index])(
                        n, {a.data(), 1}, {b.data(), 1}, {y.data(), 1}, &call);
                double greatest = 0;
                std::size_t where = 0;
                for (std::size_t i = 0; i < exact.size(); ++i)
                    if (const double error = exact[i].ulps(y[i]); error > greatest) {
                        greatest = error;
                        where = i;
                    }
                EXPECT_LE(greatest, level == low_accuracy ? promise.bound_of_low_accuracy : promise.bound)
                    << type << promise.root << " of set " << index << ", level " << level << ", at "
                    << std::hexfloat << a[where] << std::defaultfloat << " = " << a[where] << ", " << b[where]
                    << " gives " << y[where];
            }
    }
};

TEST_P(Kernels, KeepTheirPromise)
{
    check<double>('d');
    check<float>('s');
}

INSTANTIATE_TEST_SUITE_P(All, Kernels, testing::ValuesIn(promises),
                         [](const auto& promise) { return std::string(promise.param.root); });

struct Error {
    const char* kernel;
    double x;
    int code;
    double result;
};
constexpr double infinite = HUGE_VAL, not_a_number = std::numeric_limits<double>::quiet_NaN();
const Error errors[] = {
    {"Exp", 710, overflow, infinite},
    {"Exp", -infinite, ok, 0},
    {"Exp", -746, underflow, 0},
    {"Ln", 0, pole, -infinite},
    {"Ln", -1, domain, not_a_number},
    {"Ln", not_a_number, ok, not_a_number},
    {"Inv", 0, pole, infinite},
    {"Sqrt", -1, domain, not_a_number},
    {"Sin", infinite, domain, not_a_number},
    {"Sin", 1e-310, ok, 1e-310},
    {"Acosh", 0.5, domain, not_a_number},
    {"Atanh", 1, pole, infinite},
    {"ErfInv", 1, pole, infinite},
    {"TGamma", -2, domain, not_a_number},
    {"TGamma", -0.0, pole, -infinite},
    {"LGamma", -3, pole, infinite},
    {"Y0", 0, pole, -infinite},
    {"Y1", -1, domain, not_a_number},
    {"Tanpi", 0.5, pole, infinite},
    {"ExpInt1", 0, pole, infinite},
    {"CdfNorm", -40, underflow, 0},
    {"Erfc", 30, underflow, 0},
    {"Logb", 0, pole, -infinite},
    {"I0", 800, overflow, infinite},
};

// The error's element lies behind a whole vector and in the middle of one, among others without error.
TEST(KernelErrors, HaveTheirCodeAndTheirElement)
{
    static ErrorRecord seen;
    for (const Error& error : errors)
        for (const std::size_t place : {3U, 16U}) {
            const auto* const kernels = symbol<void (**)()>("d" + std::string(error.kernel) + "_ttab");
            std::vector<double> a(17 * 2, error.kernel == std::string("Acosh") ? 1.5 : 0.5), y(17);
            if (error.kernel == std::string("Tanpi"))
                a.assign(a.size(), 0.25);
            a[2 * place] = error.x;
            seen = {};
            Call call{default_mode, ok, 0,
                      [](ErrorRecord* record) {
                          seen = *record;
                          record->result[0] = 42;
                          return 0;
                      },
                      100};
            reinterpret_cast<Shape<double, 1, 0, double, 1>::Kernel*>(kernels[2])(17, {a.data(), 2},
                                                                                  {y.data(), 1}, &call);
            SCOPED_TRACE(error.kernel + std::string(" of ") + std::to_string(error.x));
            EXPECT_EQ(call.status, error.code);
            EXPECT_EQ(seen.code, error.code);
            const double result = error.code == ok ? y[place] : seen.result[0];
            EXPECT_TRUE(std::isnan(error.result)
                            ? std::isnan(result)
                            : std::abs(result - error.result) < 1e-300 || result == error.result)
                << result;
            if (error.code != ok) {
                EXPECT_EQ(seen.index, static_cast<int>(100 + place));
                EXPECT_EQ(seen.name, "vd" + std::string(error.kernel));
                EXPECT_EQ(y[place], 42);
            }
        }
}

} // namespace
