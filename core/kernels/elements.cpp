#include "elements.hpp"

#include <boost/math/special_functions/bessel.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/expint.hpp>
#include <cmath>
#include <limits>
#include <numbers>

namespace qnm::vml::element {
namespace {

using real = long double;
constexpr real pi = std::numbers::pi_v<real>;
constexpr real infinity = std::numeric_limits<real>::infinity();

// Errors are values with their flags, and nothing is computed in a wider type than this.
using Values = boost::math::policies::policy<
    boost::math::policies::domain_error<boost::math::policies::ignore_error>,
    boost::math::policies::pole_error<boost::math::policies::ignore_error>,
    boost::math::policies::overflow_error<boost::math::policies::ignore_error>,
    boost::math::policies::evaluation_error<boost::math::policies::ignore_error>,
    boost::math::policies::promote_double<false>>;

real outside()
{
    volatile real zero = 0;
    return zero / zero;
}
real pole_of(real sign)
{
    volatile real zero = 0;
    return sign / zero;
}
template <class R>
R underflow_of()
{
    volatile R least = std::numeric_limits<R>::min();
    return least * least;
}

/// Sine and cosine of an angle whose quarter of a circle is given; the remainder is exact.
struct Angle {
    real sine, cosine;

    Angle(real x, real quarter)
    {
        int quadrant = 0;
        const real rest = std::remquo(x, quarter, &quadrant) / quarter * (pi / 2);
        const real s = std::sin(rest), c = std::cos(rest);
        switch (quadrant & 3) {
        case 0:
            sine = s, cosine = c;
            break;
        case 1:
            sine = c, cosine = -s;
            break;
        case 2:
            sine = -s, cosine = -c;
            break;
        default:
            sine = -c, cosine = s;
        }
        if (sine == 0)
            sine = std::copysign(sine, x);
        cosine += 0; // never -0
    }
    real tangent() const { return sine / cosine; }
};

} // namespace

real inv_sqrt(real x)
{
    return 1 / std::sqrt(x);
}
real inv_cbrt(real x)
{
    return 1 / std::cbrt(x);
}
real pow_2_3(real x)
{
    return std::cbrt(x) * std::cbrt(x);
}
real pow_3_2(real x)
{
    return x * std::sqrt(x);
}

real sin_deg(real x)
{
    return Angle(x, 90).sine;
}
real cos_deg(real x)
{
    return Angle(x, 90).cosine;
}
real tan_deg(real x)
{
    return Angle(x, 90).tangent();
}
real sin_pi(real x)
{
    return Angle(x, 0.5L).sine;
}
real cos_pi(real x)
{
    return Angle(x, 0.5L).cosine;
}
real tan_pi(real x)
{
    return Angle(x, 0.5L).tangent();
}
real asin_pi(real x)
{
    return std::asin(x) / pi;
}
real acos_pi(real x)
{
    return std::acos(x) / pi;
}
real atan_pi(real x)
{
    return std::atan(x) / pi;
}
real atan2_pi(real y, real x)
{
    return std::atan2(y, x) / pi;
}

// The power of a real base by its logarithm: no whole exponents, and no value where the logarithm's product
// has none.
real pow_real(real x, real y)
{
    if (std::isnan(x) || std::isnan(y))
        return x + y;
    if (x < 0 || (x == 0 && y == 0) || (std::isinf(x) && y == 0) || (x == 1 && std::isinf(y)))
        return outside();
    return std::pow(std::fabs(x), y);
}

// Each in long double and in double.
namespace {

template <class R>
R erf_inv_of(R x)
{
    if (!(std::fabs(x) < 1) || x == 0)
        return std::isnan(x) || x == 0 ? x : static_cast<R>(std::fabs(x) > 1 ? outside() : pole_of(x));
    return boost::math::erf_inv(x, Values());
}
template <class R>
R erfc_inv_of(R x)
{
    if (!(x > 0 && x < 2))
        return std::isnan(x) ? x : static_cast<R>(x == 0 ? pole_of(1) : x == 2 ? pole_of(-1) : outside());
    return boost::math::erfc_inv(x, Values());
}
template <class R>
R cdf_inv_of(R x)
{
    return -std::numbers::sqrt2_v<R> * erfc_inv_of(2 * x);
}
template <class R>
R exp_int_1_of(R x)
{
    if (!(x > 0))
        return std::isnan(x) ? x : static_cast<R>(x == 0 ? pole_of(1) : outside());
    if (std::isinf(x))
        return 0;
    const R value = boost::math::expint(1, x, Values());
    return value != 0 ? value : underflow_of<R>();
}
template <class R>
R bessel_i0_of(R x)
{
    return std::isinf(x) ? std::fabs(x) : boost::math::cyl_bessel_i(0, std::fabs(x), Values());
}
template <class R>
R bessel_i1_of(R x)
{
    return std::isinf(x) ? x : std::copysign(boost::math::cyl_bessel_i(1, std::fabs(x), Values()), x);
}

// Whole orders go to the C library.
#define QNM_WHOLE_ORDERS(of_0, of_1, of_n, name)                                                             \
    real of_0(real x)                                                                                        \
    {                                                                                                        \
        return ::name##0l(x);                                                                                \
    }                                                                                                        \
    double of_0(double x)                                                                                    \
    {                                                                                                        \
        return ::name##0(x);                                                                                 \
    }                                                                                                        \
    real of_1(real x)                                                                                        \
    {                                                                                                        \
        return ::name##1l(x);                                                                                \
    }                                                                                                        \
    double of_1(double x)                                                                                    \
    {                                                                                                        \
        return ::name##1(x);                                                                                 \
    }                                                                                                        \
    real of_n(int order, real x)                                                                             \
    {                                                                                                        \
        return ::name##nl(order, x);                                                                         \
    }                                                                                                        \
    double of_n(int order, double x)                                                                         \
    {                                                                                                        \
        return ::name##n(order, x);                                                                          \
    }
QNM_WHOLE_ORDERS(bessel_j0_of, bessel_j1_of, first_kind, j)
QNM_WHOLE_ORDERS(y0_of, y1_of, second_kind, y)
#undef QNM_WHOLE_ORDERS

template <class R>
bool is_whole(R order)
{
    return order == std::trunc(order) && std::fabs(order) < R{1e9};
}
template <class R>
R bessel_jn_of(R x, R order)
{
    if (std::isnan(x) || std::isnan(order))
        return x + order;
    if (is_whole(order))
        return first_kind(static_cast<int>(order), x);
    return x < 0 || std::isinf(order) ? static_cast<R>(outside())
           : std::isinf(x)            ? 0
                                      : boost::math::cyl_bessel_j(order, x, Values());
}
template <class R>
R bessel_yn_of(R x, R order)
{
    if (std::isnan(x) || std::isnan(order))
        return x + order;
    if (x < 0 || std::isinf(order))
        return static_cast<R>(outside());
    if (x == 0)
        return static_cast<R>(pole_of(-1));
    if (is_whole(order))
        return second_kind(static_cast<int>(order), x);
    return std::isinf(x) ? 0 : boost::math::cyl_neumann(order, x, Values());
}
template <class R>
R bessel_y0_of(R x)
{
    return x > 0 ? y0_of(x) : std::isnan(x) ? x : static_cast<R>(x < 0 ? outside() : pole_of(-1));
}
template <class R>
R bessel_y1_of(R x)
{
    return x > 0 ? y1_of(x) : std::isnan(x) ? x : static_cast<R>(x < 0 ? outside() : pole_of(-1));
}

} // namespace

#define QNM_BOTH(name)                                                                                       \
    real name(real x)                                                                                        \
    {                                                                                                        \
        return name##_of(x);                                                                                 \
    }                                                                                                        \
    double name(double x)                                                                                    \
    {                                                                                                        \
        return name##_of(x);                                                                                 \
    }
#define QNM_BOTH_OF_2(name)                                                                                  \
    real name(real x, real y)                                                                                \
    {                                                                                                        \
        return name##_of(x, y);                                                                              \
    }                                                                                                        \
    double name(double x, double y)                                                                          \
    {                                                                                                        \
        return name##_of(x, y);                                                                              \
    }
QNM_QUICK_ELEMENTS(QNM_BOTH)
QNM_QUICK_ELEMENTS_OF_2(QNM_BOTH_OF_2)
#undef QNM_BOTH
#undef QNM_BOTH_OF_2

// Half of erfc(t + e), where t is -x / sqrt(2) rounded and e is what the rounding lost.
real cdf(real x)
{
    constexpr real high = std::numbers::sqrt2_v<real> / 2, low = 1.895032558893257183359e-20L;
    const real t = -x * high;
    const real e = std::fma(-x, high, -t) - x * low;
    const real value = std::erfc(t) / 2;
    return std::isfinite(t) && t > 1 ? value - std::exp(-t * t) * std::numbers::inv_sqrtpi_v<real> * e
                                     : value;
}

real erfcx(real x)
{
    if (x > 12) { // the asymptotic series, to its fifteenth term
        const real part = 1 / (2 * x * x);
        real sum = 1;
        for (int k = 29; k > 0; k -= 2)
            sum = 1 - static_cast<real>(k) * part * sum;
        return sum / x * std::numbers::inv_sqrtpi_v<real>;
    }
    const real square = x * x;
    return std::isinf(x) ? infinity : std::exp(square) * (1 + std::fma(x, x, -square)) * std::erfc(x);
}

real gamma_true(real x)
{
    return x == 0 ? pole_of(std::copysign(real{1}, x)) : std::tgamma(x);
}
real gamma_log(real x)
{
    int sign = 0;
    return lgammal_r(x, &sign);
}
real fmod(real x, real y)
{
    return ::fmodl(x, y);
}
real remainder(real x, real y)
{
    return ::remainderl(x, y);
}

} // namespace qnm::vml::element
