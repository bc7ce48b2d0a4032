// Complex elements, computed in the next wider type: their kernels round once more. They are compiled once,
// as the real ones.
#pragma once

#include <complex>

// clang-format off
#define QNM_COMPLEX_ELEMENTS(M)                                                                              \
    M(exp) M(log) M(log10) M(sqrt) M(sin) M(cos) M(tan) M(asin) M(acos) M(atan) M(sinh) M(cosh) M(tanh)      \
    M(asinh) M(acosh) M(atanh)
#define QNM_COMPLEX_ELEMENTS_OF_2(M) M(pow) M(mul) M(mul_by_conj) M(div)
// clang-format on

namespace qnm::vml::element {

#define QNM_DECLARE_1(name)                                                                                  \
    std::complex<float> name(std::complex<float> x);                                                         \
    std::complex<double> name(std::complex<double> x);
#define QNM_DECLARE_2(name)                                                                                  \
    std::complex<float> name(std::complex<float> x, std::complex<float> y);                                  \
    std::complex<double> name(std::complex<double> x, std::complex<double> y);
QNM_COMPLEX_ELEMENTS(QNM_DECLARE_1)
QNM_COMPLEX_ELEMENTS_OF_2(QNM_DECLARE_2)
#undef QNM_DECLARE_1
#undef QNM_DECLARE_2
float abs(std::complex<float> x);
double abs(std::complex<double> x);
float arg(std::complex<float> x);
double arg(std::complex<double> x);

} // namespace qnm::vml::element
