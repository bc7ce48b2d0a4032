// Elements that no vector engine has, in long double: results are rounded once more by their kernels. They
// are compiled once, since templates of libraries would otherwise be shared between instruction sets.
#pragma once

// clang-format off
#define QNM_ELEMENTS(M)                                                                                      \
    M(inv_sqrt) M(inv_cbrt) M(pow_2_3) M(pow_3_2)                                                            \
    M(sin_deg) M(cos_deg) M(tan_deg) M(sin_pi) M(cos_pi) M(tan_pi) M(asin_pi) M(acos_pi) M(atan_pi)          \
    M(erf_inv) M(erfc_inv) M(erfcx) M(cdf) M(cdf_inv) M(gamma_true) M(gamma_log) M(exp_int_1)                \
    M(bessel_i0) M(bessel_i1) M(bessel_j0) M(bessel_j1) M(bessel_y0) M(bessel_y1)
#define QNM_ELEMENTS_OF_2(M) M(pow_real) M(atan2_pi) M(bessel_jn) M(bessel_yn) M(fmod) M(remainder)
// Those that are in double too: all of single precision, and where low accuracy is enough.
#define QNM_QUICK_ELEMENTS(M)                                                                                \
    M(erf_inv) M(erfc_inv) M(cdf_inv) M(exp_int_1) M(bessel_i0) M(bessel_i1)                                 \
    M(bessel_j0) M(bessel_j1) M(bessel_y0) M(bessel_y1)
#define QNM_QUICK_ELEMENTS_OF_2(M) M(bessel_jn) M(bessel_yn)
// clang-format on

namespace qnm::vml::element {

#define QNM_DECLARE(name) long double name(long double x);
#define QNM_DECLARE_2(name) long double name(long double x, long double y);
QNM_ELEMENTS(QNM_DECLARE)
QNM_ELEMENTS_OF_2(QNM_DECLARE_2)
#define QNM_DECLARE_QUICK(name) double name(double x);
#define QNM_DECLARE_QUICK_2(name) double name(double x, double y);
QNM_QUICK_ELEMENTS(QNM_DECLARE_QUICK)
QNM_QUICK_ELEMENTS_OF_2(QNM_DECLARE_QUICK_2)
#undef QNM_DECLARE_QUICK
#undef QNM_DECLARE_QUICK_2
#undef QNM_DECLARE
#undef QNM_DECLARE_2

} // namespace qnm::vml::element
