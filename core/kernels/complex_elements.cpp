#include "complex_elements.hpp"

#include <algorithm>
#include <cfenv>
#include <cmath>

namespace qnm::vml::element {
namespace {

template <class T>
struct WiderThan;
template <>
struct WiderThan<float> {
    using Type = double;
};
template <>
struct WiderThan<double> {
    using Type = long double;
};
template <class T>
using Wider = std::complex<typename WiderThan<T>::Type>;

template <class T>
Wider<T> wide(std::complex<T> x)
{
    return {x.real(), x.imag()};
}
template <class T, class W>
std::complex<T> narrow(std::complex<W> x)
{
    return {static_cast<T>(x.real()), static_cast<T>(x.imag())};
}

template <class W>
bool is_nan(std::complex<W> x)
{
    return std::isnan(x.real()) || std::isnan(x.imag());
}
template <class W>
bool is_finite(std::complex<W> x)
{
    return std::isfinite(x.real()) && std::isfinite(x.imag());
}

/// The power by a logarithm whose product with the exponent is so large that its error would be seen. A size
/// beyond all ranges overflows in the narrower type, and leaves a zero zero.
std::complex<long double> power_of_far(std::complex<long double> x, std::complex<long double> y)
{
    const _Float128 a = fabsf128(x.real()), b = fabsf128(x.imag()), c = y.real(), d = y.imag();
    const _Float128 size = hypotf128(a, b), m = std::max(a, b), n = std::min(a, b);
    const _Float128 log = size > 0.5L && size < 2 ? log1pf128((m - 1) * (m + 1) + n * n) / 2 : logf128(size);
    const _Float128 angle = atan2f128(x.imag(), x.real());
    const _Float128 exponent = std::clamp<_Float128>(c * log - d * angle, -11000, 11000);
    const auto whole = static_cast<long double>(exponent);
    const long double power = std::exp(whole) * (1 + static_cast<long double>(exponent - whole));
    _Float128 sine, cosine;
    sincosf128(c * angle + d * log, &sine, &cosine);
    return {power * static_cast<long double>(cosine), power * static_cast<long double>(sine)};
}

template <class W>
std::complex<W> power(std::complex<W> x, std::complex<W> y)
{
    if (y == W(0))
        return 1;
    if (is_nan(x) || is_nan(y))
        return {x.real() + y.real(), x.imag() + y.imag()};
    if (x == W(0) && is_finite(y)) {
        if (y.real() > 0)
            return 0;
        std::feraiseexcept(y.real() < 0 ? FE_DIVBYZERO : FE_INVALID);
        return y.real() < 0 ? std::complex<W>(HUGE_VAL, 0) : std::complex<W>(NAN, NAN);
    }
    const std::complex<W> log = std::log(x);
    constexpr W near = sizeof(W) > sizeof(double) ? 100 : 1e6;
    const W far =
        (std::fabs(log.real()) + std::fabs(log.imag())) * (std::fabs(y.real()) + std::fabs(y.imag()));
    if (far > near && is_finite(x) && is_finite(y))
        return static_cast<std::complex<W>>(power_of_far(x, y));
    return std::exp(y * log);
}

} // namespace

#define QNM_BY_STANDARD(name)                                                                                \
    std::complex<float> name(std::complex<float> x)                                                          \
    {                                                                                                        \
        return narrow<float>(std::name(wide(x)));                                                            \
    }                                                                                                        \
    std::complex<double> name(std::complex<double> x)                                                        \
    {                                                                                                        \
        return narrow<double>(std::name(wide(x)));                                                           \
    }
QNM_COMPLEX_ELEMENTS(QNM_BY_STANDARD)

#define QNM_OF_TWO(name, result)                                                                             \
    std::complex<float> name(std::complex<float> a, std::complex<float> b)                                   \
    {                                                                                                        \
        const Wider<float> x = wide(a), y = wide(b);                                                         \
        return narrow<float>(result);                                                                        \
    }                                                                                                        \
    std::complex<double> name(std::complex<double> a, std::complex<double> b)                                \
    {                                                                                                        \
        const Wider<double> x = wide(a), y = wide(b);                                                        \
        return narrow<double>(result);                                                                       \
    }
QNM_OF_TWO(pow, power(x, y))
QNM_OF_TWO(mul, x* y)
QNM_OF_TWO(mul_by_conj, x* std::conj(y))
QNM_OF_TWO(div, x / y)

#define QNM_MODULUS(name)                                                                                    \
    float name(std::complex<float> x)                                                                        \
    {                                                                                                        \
        return static_cast<float>(std::name(wide(x)));                                                       \
    }                                                                                                        \
    double name(std::complex<double> x)                                                                      \
    {                                                                                                        \
        return static_cast<double>(std::name(wide(x)));                                                      \
    }
QNM_MODULUS(abs)
QNM_MODULUS(arg)

} // namespace qnm::vml::element
