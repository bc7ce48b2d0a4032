// Sums, products and what the processor rounds once.
#include "function.hpp"

namespace qnm::vml::QNM_NAMESPACE {

#define QNM_EACH_1(name, element)                                                                            \
    struct name {                                                                                            \
        template <class T>                                                                                   \
        static T of(T x)                                                                                     \
        {                                                                                                    \
            return element;                                                                                  \
        }                                                                                                    \
    };
#define QNM_EACH_2(name, element)                                                                            \
    struct name {                                                                                            \
        template <class T>                                                                                   \
        static T of(T x, T y)                                                                                \
        {                                                                                                    \
            return element;                                                                                  \
        }                                                                                                    \
    };
QNM_EACH_2(Add, x + y)
QNM_EACH_2(Sub, x - y)
QNM_EACH_2(Mul, x* y)
QNM_EACH_1(Sqr, x* x)
QNM_EACH_1(Abs, x < 0 ? -x : x + 0)
QNM_EACH_2(CopySign, exact::copysign(x, y))
QNM_EACH_2(Fdim, is_nan(x) ? x : x <= y ? 0 : x - y)
QNM_EACH_2(Fmax, is_nan(x) || x < y ? y : x)
QNM_EACH_2(Fmin, is_nan(x) || x > y ? y : x)
QNM_EACH_1(Floor, exact::floor(x))
QNM_EACH_1(Ceil, exact::ceil(x))
QNM_EACH_1(Trunc, exact::trunc(x))
QNM_EACH_1(Rint, exact::rint(x))
QNM_EACH_1(NearbyInt, exact::rint(x))

struct ByMagnitude {
    template <class T>
    static T larger(T x, T y)
    {
        const T a = exact::fabs(x), b = exact::fabs(y);
        return a > b || is_nan(y) ? x : a < b || is_nan(x) ? y : x > y ? x : y;
    }
    template <class T>
    static T smaller(T x, T y)
    {
        const T a = exact::fabs(x), b = exact::fabs(y);
        return a < b || is_nan(y) ? x : a > b || is_nan(x) ? y : x < y ? x : y;
    }
};
QNM_EACH_2(MaxMag, ByMagnitude::larger(x, y))
QNM_EACH_2(MinMag, ByMagnitude::smaller(x, y))
// Halves away from zero: a whole part's remainder is exact.
QNM_EACH_1(Round,
           exact::trunc(x) + exact::copysign(exact::fabs(x - exact::trunc(x)) >= T(0.5) ? T(1) : T(0), x))
QNM_EACH_1(Frac, exact::copysign(exact::fabs(x) == exact::infinity<T> ? T(0) : x - exact::trunc(x), x))

struct Modf {
    template <class T>
    static Two<T> of(T x)
    {
        return {exact::trunc(x), Frac::of(x)};
    }
};

// A quotient whose size is usual has no error; others are looked at.
template <class V>
auto usual(V x)
{
    using T = std::remove_cvref_t<decltype(x[0])>;
    return (magnitude(x) >= std::numeric_limits<T>::min()) & (magnitude(x) <= std::numeric_limits<T>::max());
}
struct Div {
    static auto high(auto x, auto y) { return x / y; }
    static auto holds_of(auto result, auto, auto) { return usual(result); }
    static auto quiet(auto x, auto y)
    {
        constexpr Bounds middle = {1e-150, 1e150, 1e-18F, 1e18F};
        return within(magnitude(x), middle) & within(magnitude(y), middle);
    }
    template <class T>
    static T exact(T x, T y)
    {
        return x / y;
    }
};
struct Inv {
    static auto high(auto x) { return 1 / x; }
    static auto holds(auto x) { return within(magnitude(x), {1e-300, 1e300, 1e-37F, 1e37F}); }
    template <class T>
    static T exact(T x)
    {
        return 1 / x;
    }
};
QNM_ONLY_EXACT(Fmod, fmod)
QNM_ONLY_EXACT(Remainder, remainder)
using FmodTold = OfDomain<Fmod>;
using RemainderTold = OfDomain<Remainder>;
struct NextAfter {
    static double of(double x, double y) { return ::nextafter(x, y); }
    static float of(float x, float y) { return ::nextafterf(x, y); }
};
struct Logb {
    static constexpr unsigned codes = 1U << pole;
    static double exact(double x) { return ::logb(x); }
    static float exact(float x) { return ::logbf(x); }
};
struct LinearFrac {
    template <class T>
    static T of(T x, T y, T scale_x, T shift_x, T scale_y, T shift_y)
    {
        return exact::fma(scale_x, x, shift_x) / exact::fma(scale_y, y, shift_y);
    }
};

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Add, Add, 2, 0, 1, 0.2F)
QNM_REAL(Sub, Sub, 2, 0, 1, 0.2F)
QNM_REAL(Mul, Mul, 2, 0, 1, 0.2F)
QNM_REAL(Div, Div, 2, 0, 1, 0.3F)
QNM_REAL(Sqr, Sqr, 1, 0, 1, 0.1F)
QNM_REAL(Inv, Quiet<Inv>, 1, 0, 1, 0.3F)
QNM_REAL(Abs, Abs, 1, 0, 1, 0.3F)
QNM_REAL(CopySign, CopySign, 2, 0, 1, 0.2F)
QNM_REAL(Fdim, Fdim, 2, 0, 1, 0.2F)
QNM_REAL(Fmax, Fmax, 2, 0, 1, 0.2F)
QNM_REAL(Fmin, Fmin, 2, 0, 1, 0.2F)
QNM_REAL(MaxMag, MaxMag, 2, 0, 1, 0.3F)
QNM_REAL(MinMag, MinMag, 2, 0, 1, 0.3F)
QNM_REAL(Floor, Floor, 1, 0, 1, 0.1F)
QNM_REAL(Ceil, Ceil, 1, 0, 1, 0.1F)
QNM_REAL(Trunc, Trunc, 1, 0, 1, 0.1F)
QNM_REAL(Rint, Rint, 1, 0, 1, 0.1F)
QNM_REAL(NearbyInt, NearbyInt, 1, 0, 1, 0.1F)
QNM_REAL(Round, Round, 1, 0, 1, 0.2F)
QNM_REAL(Frac, Frac, 1, 0, 1, 0.2F)
QNM_REAL(Modf, Modf, 1, 0, 2, 0.2F)
QNM_REAL(Fmod, FmodTold, 2, 0, 1, 10.0F)
QNM_REAL(Remainder, RemainderTold, 2, 0, 1, 10.0F)
QNM_REAL(NextAfter, NextAfter, 2, 0, 1, 4.0F)
QNM_REAL(Logb, Logb, 1, 0, 1, 2.0F)
QNM_REAL(LinearFrac, LinearFrac, 2, 4, 1, 0.3F)
