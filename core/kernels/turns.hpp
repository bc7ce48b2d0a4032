// Angles in degrees and half turns, which lanes reduce exactly.
#pragma once

#include "twofold.hpp"

namespace qnm::vml::QNM_NAMESPACE {

/// Coefficients of sine and cosine between -45 and 45 degrees, as the unit has it that a quarter of a circle
/// is given in. What is left out is below 2e-19 of the value.
template <int quarter_by_2>
struct Series {
    double sine[10], cosine[10];
    double sine_low, cosine_low; // what rounding lost of the first term that is not 1

    static constexpr Series make()
    {
        constexpr long double unit = 3.14159265358979323846264338327950288L / quarter_by_2;
        Series made{};
        long double term = 1;
        for (int n = 0; n < 10; ++n) {
            made.cosine[n] = static_cast<double>(term);
            if (n == 1)
                made.cosine_low = static_cast<double>(term - made.cosine[1]);
            term *= unit / (2 * n + 1);
            made.sine[n] = static_cast<double>(term);
            if (n == 0)
                made.sine_low = static_cast<double>(term - made.sine[0]);
            term *= -unit / (2 * n + 2);
        }
        return made;
    }
};

/// Where an angle lies on the circle of radius 1.
struct Point {
    Twofold sine, cosine;
};

[[gnu::always_inline]] inline Doubles polynomial(Doubles x, const double* coefficients, int first, int last)
{
    Doubles value = all(coefficients[last]);
    for (int n = last - 1; n >= first; --n)
        value = value * x + coefficients[n];
    return value;
}

/// Of an angle below 1e9 quarters: the remainder is exact.
template <int quarter_by_2>
Point point_of(Doubles angle)
{
    static constexpr Series<quarter_by_2> series = Series<quarter_by_2>::make();
    constexpr double quarter = quarter_by_2 / 2.0, whole = 0x1.8p52;
    using Bits = Lanes<std::int64_t>;
    const Doubles shifted = angle * (1 / quarter) + whole;
    const Bits quadrant = (Bits)shifted;
    const Doubles r = angle - (shifted - whole) * quarter;

    const Twofold z = product(r, r), t = product(r, all(series.sine[0]));
    const Twofold sine = {t.high,
                          r * z.high * polynomial(z.high, series.sine, 1, 8) + (t.low + r * series.sine_low)};
    const Twofold p = product(z.high, all(series.cosine[1])), c = sum(all(1.0), p.high);
    const Twofold cosine = {c.high,
                            z.high * z.high * polynomial(z.high, series.cosine, 2, 9) +
                                (c.low + p.low + z.high * series.cosine_low + z.low * series.cosine[1])};

    const Bits odd = -(quadrant & 1);
    const auto signed_by = [](Bits sign, Doubles x) { return (Doubles)((Bits)x ^ ((sign & 2) << 62)); };
    const auto chosen = [&](Bits sign, const Twofold& x, const Twofold& y) {
        return Twofold{signed_by(sign, odd ? y.high : x.high), signed_by(sign, odd ? y.low : x.low)};
    };
    return {chosen(quadrant, sine, cosine), chosen(quadrant + 1, cosine, sine)};
}
inline Doubles rounded(const Twofold& x)
{
    return x.high + x.low;
}

/// The angle of a point (x, y) in half turns, of what is close to it.
inline Doubles half_turns(Doubles about, const Twofold& y, const Twofold& x)
{
    constexpr double of_pi = 0.318309886183790671537767526745028724;
    const Point there = point_of<1>(about);
    const Twofold a = product(y.high, there.cosine.high), b = product(x.high, there.sine.high);
    const Doubles across =
        (a.high - b.high) + ((a.low - b.low) + (y.high * there.cosine.low + y.low * there.cosine.high) -
                             (x.high * there.sine.low + x.low * there.sine.high));
    const Doubles along = y.high * there.sine.high + x.high * there.cosine.high;
    return about + across / along * of_pi;
}

} // namespace qnm::vml::QNM_NAMESPACE
