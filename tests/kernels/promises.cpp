#include "promises.hpp"

#include <cmath>
#include <numbers>
#include <type_traits>
#include <vector>

namespace qnm::witness {
namespace {

constexpr mpfr_rnd_t nearest = MPFR_RNDN;

/// A function of MPFR or MPC, whatever its operands are.
template <auto f>
void of(Number* y, const Number* x)
{
    using F = decltype(f);
    if constexpr (std::is_invocable_v<F, mpfr_ptr, mpfr_srcptr, mpfr_rnd_t>)
        f(y[0].real(), x[0].real(), nearest);
    else if constexpr (std::is_invocable_v<F, mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t>)
        f(y[0].real(), x[0].real(), x[1].real(), nearest);
    else if constexpr (std::is_invocable_v<F, mpfr_ptr, mpfr_ptr, mpfr_srcptr, mpfr_rnd_t>)
        f(y[0].real(), y[1].real(), x[0].real(), nearest);
    else if constexpr (std::is_invocable_v<F, mpfr_ptr, mpfr_srcptr>)
        f(y[0].real(), x[0].real());
    else if constexpr (std::is_invocable_v<F, mpfr_ptr, mpc_srcptr, mpfr_rnd_t>)
        f(y[0].real(), x[0].whole(), nearest);
    else if constexpr (std::is_invocable_v<F, mpc_ptr, mpc_srcptr, mpc_rnd_t>)
        f(y[0].whole(), x[0].whole(), MPC_RNDNN);
    else
        f(y[0].whole(), x[0].whole(), x[1].whole(), MPC_RNDNN);
}

// Functions that MPFR has in other words.
template <int (*f)(mpfr_ptr, mpfr_srcptr, unsigned long, mpfr_rnd_t)>
int degrees(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    return f(y, x, 360, nearest);
}
int magnitude(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    return mpfr_abs(y, x, nearest);
}
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
    // Further out the exponential would be out of range: what is left out is below 1e-24 of the result.
    if (mpfr_cmp_d(x, 1e12) > 0) {
        mpfr_const_pi(y, nearest);
        mpfr_sqrt(y, y, nearest);
        mpfr_mul(y, y, x, nearest);
        return mpfr_ui_div(y, 1, y, nearest);
    }
    mpfr_t square; // large enough for an exponent of 2e24
    mpfr_init2(square, 320);
    mpfr_sqr(square, x, nearest);
    mpfr_exp(square, square, nearest);
    mpfr_erfc(y, x, nearest);
    mpfr_mul(y, y, square, nearest);
    mpfr_clear(square);
    return 0;
}
int log_of_gamma(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    int sign = 0;
    return mpfr_lgamma(y, &sign, x, nearest);
}
int sign_of(mpfr_ptr y, mpfr_srcptr x, mpfr_srcptr sign, mpfr_rnd_t)
{
    return mpfr_setsign(y, x, mpfr_signbit(sign), nearest);
}
template <int sense>
int by_magnitude(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t)
{
    if (mpfr_nan_p(a) != 0 || mpfr_nan_p(b) != 0)
        return mpfr_set(y, mpfr_nan_p(a) != 0 ? b : a, nearest);
    const int order = mpfr_cmpabs(a, b);
    return mpfr_set(y, (order != 0 ? order : mpfr_cmp(a, b)) * sense > 0 ? a : b, nearest);
}
int inverse(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    return mpfr_ui_div(y, 1, x, nearest);
}
int exponent_of(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    if (mpfr_regular_p(x) != 0)
        return mpfr_set_si(y, mpfr_get_exp(x) - 1, nearest);
    mpfr_abs(y, x, nearest);
    return mpfr_log(y, y, nearest);
}
int sine_and_cosine_pi(mpfr_ptr sine, mpfr_ptr cosine, mpfr_srcptr x, mpfr_rnd_t)
{
    mpfr_sinpi(sine, x, nearest);
    return mpfr_cospi(cosine, x, nearest);
}
void linear_fraction(Number* y, const Number* x)
{
    Number over;
    mpfr_fma(y->real(), x[0].real(), x[2].real(), x[3].real(), nearest);
    mpfr_fma(over.real(), x[1].real(), x[4].real(), x[5].real(), nearest);
    mpfr_div(y->real(), y->real(), over.real(), nearest);
}
int exp_int_1(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    if (mpfr_cmp_ui(x, 0) < 0)
        return mpfr_set_nan(y), 0;
    if (mpfr_zero_p(x) != 0)
        return mpfr_set_inf(y, 1), 0;
    mpfr_neg(y, x, nearest);
    mpfr_eint(y, y, nearest);
    return mpfr_neg(y, y, nearest);
}

// By their series, of which all terms have one sign.
template <unsigned order>
int bessel_i(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    if (mpfr_number_p(x) == 0)
        return order == 0 ? mpfr_abs(y, x, nearest) : mpfr_set(y, x, nearest);
    if (mpfr_cmpabs(x, Number(1000).real()) > 0)
        return mpfr_set_ui_2exp(y, 1, 20000, nearest),
               order == 1 ? mpfr_setsign(y, y, mpfr_signbit(x), nearest) : 0;
    Number square, term;
    mpfr_sqr(square.real(), x, nearest);
    mpfr_div_2ui(square.real(), square.real(), 2, nearest);
    mpfr_set_ui(term.real(), 1, nearest);
    if (order == 1)
        mpfr_div_2ui(term.real(), x, 1, nearest);
    mpfr_set(y, term.real(), nearest);
    for (unsigned long k = 1;
         mpfr_regular_p(term.real()) != 0 && mpfr_get_exp(term.real()) > mpfr_get_exp(y) - 170; ++k) {
        mpfr_mul(term.real(), term.real(), square.real(), nearest);
        mpfr_div_ui(term.real(), term.real(), k * (k + order), nearest);
        mpfr_add(y, y, term.real(), nearest);
    }
    return 0;
}
// Behind their first zero errors count in units of the amplitude.
void amplitude(Number* size, const Number* x, long order)
{
    mpfr_ptr y = size->real();
    mpfr_abs(y, x->real(), nearest);
    if (mpfr_cmp_d(y, static_cast<double>(std::labs(order)) + 0.8) < 0)
        return void(mpfr_set_zero(y, 1));
    mpfr_mul(y, y, Number(std::numbers::pi).real(), nearest);
    mpfr_ui_div(y, 2, y, nearest);
    mpfr_sqrt(y, y, nearest);
}
int bessel_j1(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    mpfr_j1(y, x, nearest);
    return mpfr_inf_p(x) != 0 ? mpfr_setsign(y, y, mpfr_signbit(x), nearest) : 0;
}
template <long order>
void amplitude_of(Number* size, const Number* x)
{
    amplitude(size, x, order);
}
void amplitude_of_order(Number* size, const Number* x)
{
    amplitude(size, x, mpfr_get_si(x[1].real(), nearest));
}
template <int (*f)(mpfr_ptr, long, mpfr_srcptr, mpfr_rnd_t)>
void of_order(Number* y, const Number* x)
{
    f(y->real(), mpfr_get_si(x[1].real(), nearest), x->real(), nearest);
}

// Newton's steps: the last of them, from the digits of long double, in full.
int erfc_inv(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t);
int erf_inv(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    if (mpfr_nan_p(x) != 0 || mpfr_zero_p(x) != 0)
        return mpfr_set(y, x, nearest);
    if (mpfr_cmpabs(x, Number(0.5).real()) > 0) {
        Number rest;
        mpfr_abs(rest.real(), x, nearest);
        mpfr_ui_sub(rest.real(), 1, rest.real(), nearest);
        erfc_inv(y, rest.real(), nearest);
        return mpfr_setsign(y, y, mpfr_signbit(x), nearest);
    }
    constexpr long double slope = 2 * std::numbers::inv_sqrtpi_v<long double>;
    const long double target = mpfr_get_ld(x, nearest);
    long double about = target / slope;
    for (int k = 0; k < 5; ++k)
        about -= (std::erf(about) - target) / (slope * std::exp(-about * about));
    mpfr_set_ld(y, about, nearest);
    Number error, step;
    for (int k = 0; k < 2; ++k) {
        mpfr_erf(error.real(), y, nearest);
        mpfr_sub(error.real(), error.real(), x, nearest);
        mpfr_sqr(step.real(), y, nearest);
        mpfr_exp(step.real(), step.real(), nearest);
        mpfr_mul(error.real(), error.real(), step.real(), nearest);
        mpfr_const_pi(step.real(), nearest);
        mpfr_sqrt(step.real(), step.real(), nearest);
        mpfr_mul(error.real(), error.real(), step.real(), nearest);
        mpfr_div_2ui(error.real(), error.real(), 1, nearest);
        mpfr_sub(y, y, error.real(), nearest);
    }
    return 0;
}
int erfc_inv(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    if (mpfr_nan_p(x) != 0 || mpfr_sgn(x) < 0 || mpfr_cmp_ui(x, 2) > 0)
        return mpfr_set_nan(y), 0;
    if (mpfr_zero_p(x) != 0 || mpfr_cmp_ui(x, 2) == 0)
        return mpfr_set_inf(y, mpfr_zero_p(x) != 0 ? 1 : -1), 0;
    Number other;
    if (mpfr_cmp_d(x, 1.5) > 0) {
        mpfr_ui_sub(other.real(), 2, x, nearest);
        erfc_inv(y, other.real(), nearest);
        return mpfr_neg(y, y, nearest);
    }
    if (mpfr_cmp_d(x, 0.5) >= 0) {
        mpfr_ui_sub(other.real(), 1, x, nearest);
        return erf_inv(y, other.real(), nearest);
    }
    // Of the logarithm, which is nearly a parabola.
    const long double target = std::log(mpfr_get_ld(x, nearest));
    long double about = std::sqrt(-target);
    const auto steps = [](long double at) {
        return std::erfc(at) * std::exp(at * at) / (2 * std::numbers::inv_sqrtpi_v<long double>);
    };
    for (int k = 0; k < 8; ++k)
        about += (std::log(std::erfc(about)) - target) * steps(about);
    mpfr_set_ld(y, about, nearest);
    for (int k = 0; k < 3; ++k) { // the slope has the digits of a double
        mpfr_erfc(other.real(), y, nearest);
        mpfr_div(other.real(), other.real(), x, nearest);
        mpfr_log(other.real(), other.real(), nearest);
        mpfr_mul_d(other.real(), other.real(), static_cast<double>(steps(mpfr_get_ld(y, nearest))), nearest);
        mpfr_add(y, y, other.real(), nearest);
    }
    return 0;
}
int cdf_inv(mpfr_ptr y, mpfr_srcptr x, mpfr_rnd_t)
{
    Number root;
    mpfr_mul_2ui(root.real(), x, 1, nearest);
    erfc_inv(y, root.real(), nearest);
    mpfr_sqrt_ui(root.real(), 2, nearest);
    mpfr_mul(y, y, root.real(), nearest);
    return mpfr_neg(y, y, nearest);
}

/// Of complex numbers. What infinities and zero divisors give is told by C, not by a limit: no value here.
template <auto f>
void complex_of(Number* y, const Number* x)
{
    constexpr bool unary = std::is_invocable_v<decltype(f), mpc_ptr, mpc_srcptr, mpc_rnd_t>;
    bool is_number = true;
    for (const Number* each = x; each != x + (unary ? 1 : 2); ++each)
        is_number = is_number && mpfr_number_p(each->real()) != 0 && mpfr_number_p(each->imaginary()) != 0;
    if (is_number)
        of<f>(y, x);
    else
        mpfr_set_nan(y->real());
}
int by_conj(mpc_ptr z, mpc_srcptr x, mpc_srcptr y, mpc_rnd_t)
{
    mpc_conj(z, y, MPC_RNDNN);
    return mpc_mul(z, x, z, MPC_RNDNN);
}
// Where a greater exponent leads is not promised.
void power(Number* y, const Number* x)
{
    if (mpfr_cmpabs_ui(x[1].real(), 1000000000000) > 0 || mpfr_cmpabs_ui(x[1].imaginary(), 1000000000000) > 0)
        mpfr_set_nan(y->real());
    else
        complex_of<mpc_pow>(y, x);
}
void cis(Number* y, const Number* x)
{
    mpfr_sin_cos(y->imaginary(), y->real(), x->real(), nearest);
}

constexpr double all = 1e308;
constexpr double right = std::numbers::pi / 2;
constexpr Form one{1, 0, 1}, two{2, 0, 1}, to_two{1, 0, 2}, with_scalar{1, 1, 1};
constexpr Range everywhere{-all, all}, positive{0, all}, angles{-all, all, -all, all, right},
    degrees_{-1e6, 1e6, -1e6, 1e6, 15}, half_turns{-1e6, 1e6, -1e6, 1e6, 0.25}, sines{-1.01, 1.01},
    sizes{1e-3, 1e9, 1e-3, 1e9, 0, false, false}, numbers{-1e9, 1e9, -1e9, 1e9, 0.5};
constexpr Form complex{1, 0, 1, true, true}, complex_two{2, 0, 1, true, true},
    complex_scalar{1, 1, 1, true, true}, to_real{1, 0, 1, true, false}, to_complex{1, 0, 1, false, true};
constexpr Range exponents{-760, 720, -106, 90}, plane{-20, 20}, near_one{-1.5, 1.5};
constexpr Bounds exactly{0, 0}, rounded{0.5, 0.5}, usual{1.0, 4.0}, compensated{1.0, 4.0, 0.51, 4.0},
    by_elements{0.6, 4.0, 0.51, 4.0}, of_complex{0.6, 4.0, 0.6, 0.6}, power_of_complex{1.0, 1.0, 0.6, 0.6},
    angle_of_complex{1.0, 1.0, 0.6, 0.6};

std::vector<Promise> make()
{
    // clang-format off
    return {
    {"Add", two, of<mpfr_add>, {everywhere, everywhere}, rounded},
    {"Sub", two, of<mpfr_sub>, {everywhere, everywhere}, rounded},
    {"Mul", two, of<mpfr_mul>, {everywhere, everywhere}, rounded},
    {"Div", two, of<mpfr_div>, {everywhere, everywhere}, rounded},
    {"Sqr", one, of<mpfr_sqr>, {everywhere}, rounded},
    {"Abs", one, of<magnitude>, {everywhere}, exactly},
    {"Fdim", two, of<mpfr_dim>, {everywhere, everywhere}, rounded},
    {"Fmax", two, of<mpfr_max>, {everywhere, everywhere}, exactly},
    {"Fmin", two, of<mpfr_min>, {everywhere, everywhere}, exactly},
    {"MaxMag", two, of<by_magnitude<1>>, {everywhere, everywhere}, exactly},
    {"MinMag", two, of<by_magnitude<-1>>, {everywhere, everywhere}, exactly},
    {"CopySign", two, of<sign_of>, {everywhere, everywhere}, exactly},
    {"Inv", one, of<inverse>, {everywhere}, rounded},
    {"Logb", one, of<exponent_of>, {everywhere}, exactly},
    {"LinearFrac", {2, 4, 1}, linear_fraction, {sizes, sizes}, {2.5, 2.5, 2.5, 2.5, 1.5}},
    {"Fmod", two, of<mpfr_fmod>, {{-1e5, 1e5}, {-1e5, 1e5}}, rounded},
    {"Remainder", two, of<mpfr_remainder>, {{-1e5, 1e5}, {-1e5, 1e5}}, rounded},
    {"Floor", one, of<mpfr_floor>, {numbers}, exactly},
    {"Ceil", one, of<mpfr_ceil>, {numbers}, exactly},
    {"Trunc", one, of<mpfr_trunc>, {numbers}, exactly},
    {"Round", one, of<mpfr_round>, {numbers}, exactly},
    {"Rint", one, of<mpfr_rint>, {numbers}, exactly},
    {"NearbyInt", one, of<mpfr_rint>, {numbers}, exactly},
    {"Modf", to_two, of<mpfr_modf>, {numbers}, exactly},
    {"Frac", one, of<mpfr_frac>, {numbers}, exactly},

    {"Sqrt", one, of<mpfr_sqrt>, {positive}, rounded},
    {"Cbrt", one, of<mpfr_cbrt>, {everywhere}, usual},
    {"InvSqrt", one, of<inv_sqrt>, {positive}, compensated},
    {"InvCbrt", one, of<inv_cbrt>, {everywhere}, compensated},
    {"Pow2o3", one, of<pow_2_3>, {everywhere}, compensated},
    {"Pow3o2", one, of<pow_3_2>, {positive}, compensated},
    {"Pow", two, of<mpfr_pow>, {{-1000, 1000}, {-1000, 1000}}, usual},
    {"Powx", with_scalar, of<mpfr_pow>, {{-1000, 1000}, {-100, 100}}, usual},
    {"Powr", two, of<mpfr_powr>, {{0, 1000}, {-1000, 1000}}, usual},
    {"Hypot", two, of<mpfr_hypot>, {everywhere, everywhere}, usual},

    {"Exp", one, of<mpfr_exp>, {{-760, 720, -106, 90}}, usual},
    {"Exp2", one, of<mpfr_exp2>, {{-1090, 1030, -152, 130}}, usual},
    {"Exp10", one, of<mpfr_exp10>, {{-330, 310, -47, 40}}, usual},
    {"Expm1", one, of<mpfr_expm1>, {{-760, 720, -106, 90}}, usual},
    {"Ln", one, of<mpfr_log>, {positive}, usual},
    {"Log2", one, of<mpfr_log2>, {positive}, usual},
    {"Log10", one, of<mpfr_log10>, {positive}, usual},
    {"Log1p", one, of<mpfr_log1p>, {{-1, all}}, usual},

    {"Sin", one, of<mpfr_sin>, {angles}, usual},
    {"Cos", one, of<mpfr_cos>, {angles}, usual},
    {"Tan", one, of<mpfr_tan>, {angles}, usual},
    {"SinCos", to_two, of<mpfr_sin_cos>, {angles}, usual},
    {"Asin", one, of<mpfr_asin>, {sines}, usual},
    {"Acos", one, of<mpfr_acos>, {sines}, usual},
    {"Atan", one, of<mpfr_atan>, {everywhere}, usual},
    {"Atan2", two, of<mpfr_atan2>, {everywhere, everywhere}, usual},
    {"Sind", one, of<degrees<mpfr_sinu>>, {degrees_}, compensated},
    {"Cosd", one, of<degrees<mpfr_cosu>>, {degrees_}, compensated},
    {"Tand", one, of<degrees<mpfr_tanu>>, {degrees_}, compensated},
    {"Sinpi", one, of<mpfr_sinpi>, {half_turns}, usual},
    {"Cospi", one, of<mpfr_cospi>, {half_turns}, usual},
    {"SinCospi", to_two, of<sine_and_cosine_pi>, {half_turns}, usual},
    {"Tanpi", one, of<mpfr_tanpi>, {half_turns}, compensated},
    {"Asinpi", one, of<mpfr_asinpi>, {sines}, compensated},
    {"Acospi", one, of<mpfr_acospi>, {sines}, compensated},
    {"Atanpi", one, of<mpfr_atanpi>, {everywhere}, compensated},
    {"Atan2pi", two, of<mpfr_atan2pi>, {everywhere, everywhere}, compensated},

    {"Sinh", one, of<mpfr_sinh>, {{-720, 720, -90, 90}}, usual},
    {"Cosh", one, of<mpfr_cosh>, {{-720, 720, -90, 90}}, usual},
    {"Tanh", one, of<mpfr_tanh>, {{-25, 25}}, usual},
    {"Asinh", one, of<mpfr_asinh>, {everywhere}, usual},
    {"Acosh", one, of<mpfr_acosh>, {{0.99, all}}, usual},
    {"Atanh", one, of<mpfr_atanh>, {sines}, usual},

    {"Erf", one, of<mpfr_erf>, {{-7, 7}}, usual},
    {"Erfc", one, of<mpfr_erfc>, {{-7, 30, -7, 11}}, usual},
    {"Erfcx", one, of<scaled_erfc>, {{-27, 1e4, -10, 1e4}}, compensated},
    {"CdfNorm", one, of<cdf>, {{-39, 10, -15, 7}}, compensated},
    {"TGamma", one, of<mpfr_gamma>, {{-180, 175, -40, 36}}, usual},
    {"LGamma", one, of<log_of_gamma>, {{-200, 1000}}, usual},
    {"ErfInv", one, of<erf_inv>, {sines}, by_elements},
    {"ErfcInv", one, of<erfc_inv>, {{0, 2}}, by_elements},
    {"CdfNormInv", one, of<cdf_inv>, {{0, 1}}, by_elements},
    {"ExpInt1", one, of<exp_int_1>, {{0, 750, 0, 105}}, by_elements},
    {"I0", one, of<bessel_i<0>>, {{-720, 720, -95, 95}}, by_elements},
    {"I1", one, of<bessel_i<1>>, {{-720, 720, -95, 95}}, by_elements},
    {"J0", one, of<mpfr_j0>, {{-1000, 1000}}, by_elements, amplitude_of<0>},
    {"J1", one, of<bessel_j1>, {{-1000, 1000}}, by_elements, amplitude_of<1>},
    {"Y0", one, of<mpfr_y0>, {{0, 1000}}, by_elements, amplitude_of<0>},
    {"Y1", one, of<mpfr_y1>, {{0, 1000}}, by_elements, amplitude_of<1>},
    {"Jn", with_scalar, of_order<mpfr_jn>, {{0, 200}, {-20, 100, -20, 100, 1, true}}, by_elements, amplitude_of_order},
    {"Yn", with_scalar, of_order<mpfr_yn>, {{0, 200}, {-20, 100, -20, 100, 1, true}}, by_elements, amplitude_of_order},

    {"Add", complex_two, complex_of<mpc_add>, {everywhere, everywhere}, rounded},
    {"Sub", complex_two, complex_of<mpc_sub>, {everywhere, everywhere}, rounded},
    {"Mul", complex_two, complex_of<mpc_mul>, {plane, plane}, of_complex},
    {"MulByConj", complex_two, complex_of<by_conj>, {plane, plane}, of_complex},
    {"Div", complex_two, complex_of<mpc_div>, {plane, plane}, of_complex},
    {"Abs", to_real, of<mpc_abs>, {plane}, of_complex},
    {"Arg", to_real, of<mpc_arg>, {plane}, angle_of_complex},
    {"CIS", to_complex, cis, {angles}, usual},
    {"Sqrt", complex, complex_of<mpc_sqrt>, {plane}, of_complex},
    {"Exp", complex, complex_of<mpc_exp>, {exponents}, of_complex},
    {"Ln", complex, complex_of<mpc_log>, {near_one}, of_complex},
    {"Log10", complex, complex_of<mpc_log10>, {near_one}, of_complex},
    {"Pow", complex_two, power, {plane, plane}, power_of_complex},
    {"Powx", complex_scalar, power, {plane, plane}, power_of_complex},
    {"Sin", complex, complex_of<mpc_sin>, {exponents}, of_complex},
    {"Cos", complex, complex_of<mpc_cos>, {exponents}, of_complex},
    {"Tan", complex, complex_of<mpc_tan>, {plane}, of_complex},
    {"Sinh", complex, complex_of<mpc_sinh>, {exponents}, of_complex},
    {"Cosh", complex, complex_of<mpc_cosh>, {exponents}, of_complex},
    {"Tanh", complex, complex_of<mpc_tanh>, {plane}, of_complex},
    {"Asin", complex, complex_of<mpc_asin>, {plane}, of_complex},
    {"Acos", complex, complex_of<mpc_acos>, {plane}, of_complex},
    {"Atan", complex, complex_of<mpc_atan>, {plane}, of_complex},
    {"Asinh", complex, complex_of<mpc_asinh>, {plane}, of_complex},
    {"Acosh", complex, complex_of<mpc_acosh>, {plane}, of_complex},
    {"Atanh", complex, complex_of<mpc_atanh>, {plane}, of_complex},
    };
    // clang-format on
}

} // namespace

std::span<const Promise> promises()
{
    static const std::vector<Promise> made = make();
    return made;
}

} // namespace qnm::witness
