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
QNM_BY_ELEMENTS(ErfInv, erf_inv, 0, most)
QNM_BY_ELEMENTS(ErfcInv, erfc_inv, 0, most)
QNM_BY_ELEMENTS(CdfNormInv, cdf_inv, 0, most)
QNM_BY_ELEMENTS(ExpInt1, exp_int_1, 1, most)
QNM_BY_ELEMENTS(I0, bessel_i0, 0, 5)
QNM_BY_ELEMENTS(I1, bessel_i1, 0, 5)
QNM_BY_ELEMENTS(J0, bessel_j0, 0, 100)
QNM_BY_ELEMENTS(J1, bessel_j1, 0, 100)
QNM_BY_ELEMENTS(Y0, bessel_y0, 0, 100)
QNM_BY_ELEMENTS(Y1, bessel_y1, 0, 100)
QNM_ONLY_EXACT(Jn, bessel_jn)
QNM_ONLY_EXACT(Yn, bessel_yn)
using ErfInvTold = OfDomain<ErfInv, domain_and_pole>;
using ErfcInvTold = OfDomain<ErfcInv, domain_and_pole>;
using CdfNormInvTold = OfDomain<CdfNormInv, domain_and_pole>;

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
QNM_REAL(ErfInv, ErfInvTold, 1, 0, 1, 50.0F)
QNM_REAL(ErfcInv, ErfcInvTold, 1, 0, 1, 40.0F)
QNM_REAL(CdfNormInv, CdfNormInvTold, 1, 0, 1, 40.0F)
QNM_REAL(Jn, Jn, 1, 1, 1, 2000.0F)
QNM_REAL(Yn, Yn, 1, 1, 1, 2000.0F)
