// Numbers of twice the digits, as unevaluated sums: what a compensating step needs.
#pragma once

#include "lanes.hpp"

namespace qnm::vml::QNM_NAMESPACE {

struct Twofold {
    Doubles high, low;
};

inline Twofold operator-(const Twofold& x)
{
    return {-x.high, -x.low};
}

/// Exact, unless the lower part is below the normal numbers.
inline Twofold product(Doubles x, Doubles y)
{
    const Doubles high = x * y;
#if QNM_SET == 1
    return {high, (Doubles)_mm256_fmsub_pd((__m256d)x, (__m256d)y, (__m256d)high)};
#elif QNM_SET == 3
    return {high, (Doubles)_mm512_fmsub_pd((__m512d)x, (__m512d)y, (__m512d)high)};
#else
    // By halves, of which products are exact.
    constexpr double splitter = 0x1p27 + 1;
    const Doubles a = x * splitter, b = y * splitter;
    const Doubles x_high = a - (a - x), y_high = b - (b - y);
    const Doubles x_low = x - x_high, y_low = y - y_high;
    return {high, ((x_high * y_high - high) + x_high * y_low + x_low * y_high) + x_low * y_low};
#endif
}
/// Exact where the first is not the smaller.
inline Twofold sum(Doubles x, Doubles y)
{
    const Doubles high = x + y;
    return {high, y - (high - x)};
}
/// Exact, whichever is the smaller.
inline Twofold exact_sum(Doubles x, Doubles y)
{
    const Doubles high = x + y, part = high - x;
    return {high, (x - (high - part)) + (y - part)};
}
/// What is left of the whole, which the product of x and y is close to.
inline Doubles rest(Doubles whole, Doubles x, Doubles y)
{
    const Twofold part = product(x, y);
    return (whole - part.high) - part.low;
}
/// The lower part below the last place of the higher, for the step that follows.
inline Twofold settled(const Twofold& x)
{
    return sum(x.high, x.low);
}
/// Rounded once, or nearly.
inline Doubles quotient(const Twofold& unsettled, const Twofold& divisor)
{
    const Twofold x = settled(unsettled), y = settled(divisor);
    const Doubles about = x.high / y.high;
    return about + (rest(x.high, about, y.high) + x.low - about * y.low) / y.high;
}
inline Doubles root(Doubles x)
{
    Doubles y;
    for (int k = 0; k < LanesOf<double>::count; ++k)
        y[k] = __builtin_sqrt(x[k]);
    return y;
}
inline Twofold root(const Twofold& x)
{
    const Doubles high = root(x.high);
    return {high, (rest(x.high, high, high) + x.low) / (2 * high)};
}

} // namespace qnm::vml::QNM_NAMESPACE
