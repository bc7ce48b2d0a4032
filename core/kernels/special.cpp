// Functions of probability and their kin.
#include "function.hpp"
#include "twofold.hpp"

namespace qnm::vml::QNM_NAMESPACE {

QNM_FUNCTION(Erf, erf, u10, magnitude(x), {1e-290, most, 1e-30F, most_s})
// (The engine's function of single precision is not within one unit.)
QNM_FUNCTION(Erfc, erfc, u15, x, {-most, 26, -most_s, 9})

struct TGamma {
    static auto high(auto x) { return tgamma_u10(x); }
    static auto holds(auto x) { return within(x, {1e-300, 170, 1e-37F, 34}); }
    static auto exact(auto x) { return exact::gamma_true(x); }
};
struct LGamma {
    static auto high(auto x) { return lgamma_u10(x); }
    static auto holds(auto x) { return within(x, {1e-300, 1e300, 1e-37F, 1e30F}); }
    static auto exact(auto x) { return exact::gamma_log(x); }
};
// What is lost of an argument is made good: it counts where the result is small.
struct Erfcx {
    static Doubles low(Doubles x)
    {
        const Twofold square = product(x, x);
        return exp_u10(square.high) * (1 + square.low) * erfc_u15(x);
    }
    static auto holds(auto x) { return within(x, {-26, 26, -9, 26}); }
    static auto exact(auto x) { return exact::erfcx(x); }
};
struct CdfNorm {
    static Doubles low(Doubles x)
    {
        constexpr double high = 0.707106781186547524400844362104849039,
                         inverse_root_of_pi = 0.564189583547756286948;
        constexpr double lost = -4.833646656726456518593584929348329e-17;
        const Twofold t = product(-x, all(high));
        return erfc_u15(t.high) * 0.5 - exp_quick(-t.high * t.high) * inverse_root_of_pi * (t.low - x * lost);
    }
    static auto holds(auto x) { return within(x, {-37, 30, -12.5F, 30}); }
    static auto exact(auto x) { return exact::cdf(x); }
    static constexpr bool noisy = true;
};

/// A constant and a quotient of polynomials, of which the constant is the greater part: so it is rounded, and
/// not they.
struct Rational {
    static constexpr int terms = 8;
    using Coefficients = const long double (&)[terms];
    double constant, above[terms], below[terms];

    consteval Rational(double part, Coefficients numerator, Coefficients denominator) : constant(part)
    {
        for (int k = 0; k < terms; ++k) {
            above[k] = static_cast<double>(numerator[k] - part * denominator[k]);
            below[k] = static_cast<double>(denominator[k]);
        }
    }
    [[gnu::always_inline]] Doubles operator()(Doubles x) const
    {
        Doubles numerator = all(above[terms - 1]), denominator = all(below[terms - 1]);
        for (int k = terms - 2; k >= 0; --k) {
            numerator = numerator * x + above[k];
            denominator = denominator * x + below[k];
        }
        return constant + numerator / denominator;
    }
};
/// The normal quantile of 0.5 + q (Wichura 1988, AS 241); `chance` is that of the smaller side, `lost` what q
/// lacks.
inline Doubles normal_quantile(Doubles q, Doubles lost, Doubles chance)
{
    static constexpr Rational middle(
        2.5,
        {3.3871328727963666080e0L, 1.3314166789178437745e2L, 1.9715909503065514427e3L,
         1.3731693765509461125e4L, 4.5921953931549871457e4L, 6.7265770927008700853e4L,
         3.3430575583588128105e4L, 2.5090809287301226727e3L},
        {1, 4.2313330701600911252e1L, 6.8718700749205790830e2L, 5.3941960214247511077e3L,
         2.1213794301586595867e4L, 3.9307895800092710610e4L, 2.8729085735721942674e4L,
         5.2264952788528545610e3L}),
        tail(2,
             {1.42343711074968357734e0L, 4.63033784615654529590e0L, 5.76949722146069140550e0L,
              3.64784832476320460504e0L, 1.27045825245236838258e0L, 2.41780725177450611770e-1L,
              2.27238449892691845833e-2L, 7.74545014278341407640e-4L},
             {1, 2.05319162663775882187e0L, 1.67638483018380384940e0L, 6.89767334985100004550e-1L,
              1.48103976427480074590e-1L, 1.51986665636164571966e-2L, 5.47593808499534494600e-4L,
              1.05075007164441684324e-9L}),
        far_tail(17,
                 {6.65790464350110377720e0L, 5.46378491116411436990e0L, 1.78482653991729133580e0L,
                  2.96560571828504891230e-1L, 2.65321895265761230930e-2L, 1.24266094738807843860e-3L,
                  2.71155556874348757815e-5L, 2.01033439929228813265e-7L},
                 {1, 5.99832206555887937690e-1L, 1.36929880922735805310e-1L, 1.48753612908506148525e-2L,
                  7.86869131145613259100e-4L, 1.84631831751005468180e-5L, 1.42151175831644588870e-7L,
                  2.04426310338993978564e-15L});
    constexpr double inside = 0.425,
                     below_square =
                         static_cast<double>(0.180625L - inside * static_cast<long double>(inside)),
                     near = 5, steep = 6.5;
    const Doubles size = magnitude(q);
    const auto outside = size > inside;
    // The square's difference; what is lost counts most at the end, where the quantile is that steep.
    const Doubles r = (inside - size) * (inside + size) + below_square;
    const Doubles small = q * middle(r) + steep * lost;
    if (bits(outside) == 0)
        return small;
    const Doubles distance = root(-log_u10(chance));
    Doubles large = tail(distance - 1.6);
    if (const auto far = distance > near; bits(far) != 0) [[unlikely]]
        large = far ? far_tail(distance - near) : large;
    return outside ? (q < 0 ? -large : large) : small;
}
inline constexpr double half_of_root = 0.707106781186547524400844362104849039,
                        below_1 = 1 - __DBL_EPSILON__ / 2;
inline constexpr float below_1_s = 1 - __FLT_EPSILON__ / 2;

struct ErfInv {
    static Doubles low(Doubles x)
    {
        return normal_quantile(0.5 * x, all(0.0), 0.5 - 0.5 * magnitude(x)) * half_of_root;
    }
    static auto holds(auto x) { return within(magnitude(x), {1e-300, below_1, 1e-37F, below_1_s}); }
    static auto exact(auto x) { return exact::erf_inv(x); }
};
struct ErfcInv {
    static Doubles low(Doubles x)
    {
        const Doubles half = 0.5 * x, q = 0.5 - half;
        return normal_quantile(q, (0.5 - q) - half, x < 1 ? half : 0.5 + q) * half_of_root;
    }
    static auto holds(auto x) { return within(x, {1e-300, 2 * below_1, 1e-37F, 2 * below_1_s}); }
    static auto exact(auto x) { return exact::erfc_inv(x); }
};
struct CdfNormInv {
    static Doubles low(Doubles x)
    {
        const Doubles q = 0.5 - x;
        return -normal_quantile(q, (0.5 - q) - x, x < 0.5 ? x : 0.5 + q);
    }
    static auto holds(auto x) { return within(x, {1e-300, below_1, 1e-37F, below_1_s}); }
    static auto exact(auto x) { return exact::cdf_inv(x); }
};
QNM_BY_ELEMENTS(ExpInt1, exp_int_1, 1, most)
QNM_BY_ELEMENTS(I0, bessel_i0, 0, 5)
QNM_BY_ELEMENTS(I1, bessel_i1, 0, 5)
QNM_BY_ELEMENTS(J0, bessel_j0, 0, 100)
QNM_BY_ELEMENTS(J1, bessel_j1, 0, 100)
QNM_BY_ELEMENTS(Y0, bessel_y0, 0, 100)
QNM_BY_ELEMENTS(Y1, bessel_y1, 0, 100)
QNM_ONLY_EXACT(Jn, bessel_jn)
QNM_ONLY_EXACT(Yn, bessel_yn)
using ErfInvTold = OfDomain<SingleInDoubles<ErfInv>, domain_and_pole>;
using ErfcInvTold = OfDomain<SingleInDoubles<ErfcInv>, domain_and_pole>;
using CdfNormInvTold = OfDomain<SingleInDoubles<CdfNormInv>, domain_and_pole>;

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Erf, Erf, 1, 0, 1, 9.0F)
QNM_REAL(Erfc, InDoubles<Erfc>, 1, 0, 1, 10.0F)
QNM_REAL(TGamma, TGamma, 1, 0, 1, 20.0F)
QNM_REAL(LGamma, LGamma, 1, 0, 1, 20.0F)
QNM_REAL(Erfcx, SingleInDoubles<Erfcx>, 1, 0, 1, 500.0F)
QNM_REAL(CdfNorm, SingleInDoubles<CdfNorm>, 1, 0, 1, 80.0F)
QNM_REAL(ExpInt1, ExpInt1, 1, 0, 1, 80.0F)
QNM_REAL(I0, I0, 1, 0, 1, 50.0F)
QNM_REAL(I1, I1, 1, 0, 1, 50.0F)
QNM_REAL(J0, J0, 1, 0, 1, 200.0F)
QNM_REAL(J1, J1, 1, 0, 1, 200.0F)
QNM_REAL(Y0, Y0, 1, 0, 1, 300.0F)
QNM_REAL(Y1, Y1, 1, 0, 1, 300.0F)
QNM_KERNEL(s, ErfInv, ErfInvTold, float, 1, 0, float, 1, 4.0F)
QNM_KERNEL(d, ErfInv, ErfInvTold, double, 1, 0, double, 1, 55.0F)
QNM_KERNEL(s, ErfcInv, ErfcInvTold, float, 1, 0, float, 1, 2.0F)
QNM_KERNEL(d, ErfcInv, ErfcInvTold, double, 1, 0, double, 1, 40.0F)
QNM_KERNEL(s, CdfNormInv, CdfNormInvTold, float, 1, 0, float, 1, 2.0F)
QNM_KERNEL(d, CdfNormInv, CdfNormInvTold, double, 1, 0, double, 1, 40.0F)
QNM_REAL(Jn, Jn, 1, 1, 1, 2000.0F)
QNM_REAL(Yn, Yn, 1, 1, 1, 2000.0F)
