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
constexpr Form one{1, 0, 1}, two{2, 0, 1};
constexpr Range everywhere{-all, all}, positive{0, all}, angles{-all, all, -all, all, right},
    degrees_{-1e6, 1e6, -1e6, 1e6, 15}, half_turns{-1e6, 1e6, -1e6, 1e6, 0.25}, sines{-1.01, 1.01},
    numbers{-1e9, 1e9, -1e9, 1e9, 0.5};
constexpr Form complex{1, 0, 1, true, true}, complex_two{2, 0, 1, true, true},
    complex_scalar{1, 1, 1, true, true}, to_real{1, 0, 1, true, false}, to_complex{1, 0, 1, false, true};
constexpr Range exponents{-760, 720, -106, 90}, plane{-20, 20}, near_one{-1.5, 1.5};
constexpr Bounds exactly{0, 0}, rounded{0.5, 0.5}, usual{1.0, 4.0}, of_complex{0.6, 4.0, 0.6, 0.6},
    power_of_complex{1.0, 1.0, 0.6, 0.6}, angle_of_complex{1.0, 1.0, 0.6, 0.6};

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
    {"Fmod", two, of<mpfr_fmod>, {{-1e5, 1e5}, {-1e5, 1e5}}, rounded},
    {"Remainder", two, of<mpfr_remainder>, {{-1e5, 1e5}, {-1e5, 1e5}}, rounded},
    {"Floor", one, of<mpfr_floor>, {numbers}, exactly},
    {"Ceil", one, of<mpfr_ceil>, {numbers}, exactly},
    {"Trunc", one, of<mpfr_trunc>, {numbers}, exactly},
    {"Round", one, of<mpfr_round>, {numbers}, exactly},
    {"Rint", one, of<mpfr_rint>, {numbers}, exactly},
    {"Frac", one, of<mpfr_frac>, {numbers}, exactly},

    {"Sqrt", one, of<mpfr_sqrt>, {positive}, rounded},
    {"Cbrt", one, of<mpfr_cbrt>, {everywhere}, usual},
    {"InvSqrt", one, of<inv_sqrt>, {positive}, usual},
    {"InvCbrt", one, of<inv_cbrt>, {everywhere}, usual},
    {"Pow2o3", one, of<pow_2_3>, {everywhere}, usual},
    {"Pow3o2", one, of<pow_3_2>, {positive}, usual},
    {"Pow", two, of<mpfr_pow>, {{-1000, 1000}, {-1000, 1000}}, usual},
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
    {"Asin", one, of<mpfr_asin>, {sines}, usual},
    {"Acos", one, of<mpfr_acos>, {sines}, usual},
    {"Atan", one, of<mpfr_atan>, {everywhere}, usual},
    {"Atan2", two, of<mpfr_atan2>, {everywhere, everywhere}, usual},
    {"Sind", one, of<degrees<mpfr_sinu>>, {degrees_}, usual},
    {"Cosd", one, of<degrees<mpfr_cosu>>, {degrees_}, usual},
    {"Tand", one, of<degrees<mpfr_tanu>>, {degrees_}, usual},
    {"Sinpi", one, of<mpfr_sinpi>, {half_turns}, usual},
    {"Cospi", one, of<mpfr_cospi>, {half_turns}, usual},
    {"Tanpi", one, of<mpfr_tanpi>, {half_turns}, usual},
    {"Asinpi", one, of<mpfr_asinpi>, {sines}, usual},
    {"Acospi", one, of<mpfr_acospi>, {sines}, usual},
    {"Atanpi", one, of<mpfr_atanpi>, {everywhere}, usual},
    {"Atan2pi", two, of<mpfr_atan2pi>, {everywhere, everywhere}, usual},

    {"Sinh", one, of<mpfr_sinh>, {{-720, 720, -90, 90}}, usual},
    {"Cosh", one, of<mpfr_cosh>, {{-720, 720, -90, 90}}, usual},
    {"Tanh", one, of<mpfr_tanh>, {{-25, 25}}, usual},
    {"Asinh", one, of<mpfr_asinh>, {everywhere}, usual},
    {"Acosh", one, of<mpfr_acosh>, {{0.99, all}}, usual},
    {"Atanh", one, of<mpfr_atanh>, {sines}, usual},

    {"Erf", one, of<mpfr_erf>, {{-7, 7}}, usual},
    {"Erfc", one, of<mpfr_erfc>, {{-7, 30, -7, 11}}, usual},
    {"Erfcx", one, of<scaled_erfc>, {{-27, 1e4, -10, 1e4}}, usual},
    {"CdfNorm", one, of<cdf>, {{-39, 10, -15, 7}}, usual},
    {"TGamma", one, of<mpfr_gamma>, {{-180, 175, -40, 36}}, usual},
    {"LGamma", one, of<log_of_gamma>, {{-200, 1000}}, usual},
    {"J0", one, of<mpfr_j0>, {{0, 2}}, usual},

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
