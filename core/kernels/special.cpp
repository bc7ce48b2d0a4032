// Functions of probability and their kin.
#include "function.hpp"

namespace qnm::vml::QNM_NAMESPACE {

QNM_FUNCTION(Erf, erf, u10, magnitude(x), {1e-290, most, 1e-30F, most_s})
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
QNM_ONLY_EXACT(Erfcx, erfcx)
QNM_ONLY_EXACT(ErfInv, erf_inv)
QNM_ONLY_EXACT(ErfcInv, erfc_inv)
QNM_ONLY_EXACT(CdfNorm, cdf)
QNM_ONLY_EXACT(CdfNormInv, cdf_inv)
QNM_ONLY_EXACT(ExpInt1, exp_int_1)
QNM_ONLY_EXACT(I0, bessel_i0)
QNM_ONLY_EXACT(I1, bessel_i1)
QNM_ONLY_EXACT(J0, bessel_j0)
QNM_ONLY_EXACT(J1, bessel_j1)
QNM_ONLY_EXACT(Y0, bessel_y0)
QNM_ONLY_EXACT(Y1, bessel_y1)
QNM_ONLY_EXACT(Jn, bessel_jn)
QNM_ONLY_EXACT(Yn, bessel_yn)
using ErfInvTold = OfDomain<ErfInv, domain_and_pole>;
using ErfcInvTold = OfDomain<ErfcInv, domain_and_pole>;
using CdfNormInvTold = OfDomain<CdfNormInv, domain_and_pole>;

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Erf, Erf, 1, 0, 1, 3.0F)
QNM_REAL(Erfc, Erfc, 1, 0, 1, 4.0F)
QNM_REAL(TGamma, TGamma, 1, 0, 1, 8.0F)
QNM_REAL(LGamma, LGamma, 1, 0, 1, 10.0F)
QNM_REAL(Erfcx, Erfcx, 1, 0, 1, 200.0F)
QNM_REAL(CdfNorm, CdfNorm, 1, 0, 1, 200.0F)
QNM_REAL(ExpInt1, ExpInt1, 1, 0, 1, 300.0F)
QNM_REAL(I0, I0, 1, 0, 1, 300.0F)
QNM_REAL(I1, I1, 1, 0, 1, 300.0F)
QNM_REAL(J0, J0, 1, 0, 1, 250.0F)
QNM_REAL(J1, J1, 1, 0, 1, 250.0F)
QNM_REAL(Y0, Y0, 1, 0, 1, 400.0F)
QNM_REAL(Y1, Y1, 1, 0, 1, 400.0F)
QNM_REAL(ErfInv, ErfInvTold, 1, 0, 1, 300.0F)
QNM_REAL(ErfcInv, ErfcInvTold, 1, 0, 1, 300.0F)
QNM_REAL(CdfNormInv, CdfNormInvTold, 1, 0, 1, 300.0F)
QNM_REAL(Jn, Jn, 1, 1, 1, 500.0F)
QNM_REAL(Yn, Yn, 1, 1, 1, 500.0F)
