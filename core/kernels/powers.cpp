// Roots and powers.
#include "function.hpp"
#include "twofold.hpp"

namespace qnm::vml::QNM_NAMESPACE {

QNM_FUNCTION(Cbrt, cbrt, u10, x, normal_above_zero)

struct Sqrt {
    static auto high(Doubles x) { return root(x); }
    static auto high(Floats x)
    {
        Floats y;
        for (int k = 0; k < LanesOf<float>::count; ++k)
            y[k] = __builtin_sqrtf(x[k]);
        return y;
    }
    static auto holds(auto x) { return (x >= 0) & (x - x == 0); }
    static auto exact(auto x) { return exact::sqrt(x); }
};

// A normal base above zero and a normal result: there the engines know no special cases.
struct Pow {
    static auto high(auto x, auto y) { return pow_u10(x, y); }
    static auto low(auto x, auto y) { return pow_quick(x, y); }
    static auto holds_of(auto result, auto x, auto y)
    {
        return within(x, normal_above_zero) & within(result, normal_above_zero) & within(y, all_finite);
    }
    static auto exact(auto x, auto y) { return exact::pow(x, y); }
};
struct Hypot {
    static auto high(auto x, auto y) { return hypot_u05(x, y); }
    static auto low(auto x, auto y) { return hypot_quick(x, y); }
    static auto holds_of(auto result, auto, auto) { return within(result, {1e-150, 1e150, 1e-18F, 1e18F}); }
    static auto exact(auto x, auto y) { return exact::hypot(x, y); }
};

// High accuracy by a step that adds what the last roundings lost; an exponent's room is left for it.
inline constexpr Bounds roomy = {1e-250, 1e250, least_s, most_s};

struct InvSqrt {
    static Doubles high(Doubles x)
    {
        const Doubles s = root(x), r = 1 / s;
        return r + r * (rest(all(1.0), r, s) - rest(x, s, s) * r * r / 2);
    }
    static auto low(auto x) { return 1 / Sqrt::high(x); }
    static auto holds(auto x) { return within(x, roomy); }
    static auto exact(auto x) { return exact::inv_sqrt(x); }
};
struct InvCbrt {
    static Doubles high(Doubles x)
    {
        const Doubles r = 1 / cbrt_u10(x);
        const Twofold a = product(x, r), b = product(r, r);
        return r + r * (rest(all(1.0), a.high, b.high) - (a.high * b.low + a.low * b.high)) * (1 / 3.0);
    }
    static auto low(auto x) { return 1 / cbrt_u10(x); }
    static auto holds(auto x) { return within(magnitude(x), roomy); }
    static auto exact(auto x) { return exact::inv_cbrt(x); }
};
struct Pow2o3 {
    static Doubles high(Doubles x)
    {
        const Doubles c = cbrt_u10(x);
        const Twofold b = product(c, c);
        return b.high + (b.low + (rest(x, b.high, c) - b.low * c) / c * (2 / 3.0));
    }
    static auto low(auto x)
    {
        const auto c = cbrt_u10(x);
        return c * c;
    }
    static auto holds(auto x) { return within(magnitude(x), roomy); }
    static auto exact(auto x) { return exact::pow_2_3(x); }
};
struct Pow3o2 {
    static Doubles high(Doubles x)
    {
        const Doubles s = root(x);
        const Twofold p = product(x, s);
        return p.high + (p.low + s * rest(x, s, s) / 2);
    }
    static auto low(auto x) { return x * Sqrt::high(x); }
    static auto holds(auto x) { return within(x, {1e-160, 1e200, 1e-24F, 1e24F}); }
    static auto exact(auto x) { return exact::pow_3_2(x); }
};
struct Powr : Pow {
    static auto exact(auto x, auto y) { return exact::pow_real(x, y); }
};

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Sqrt, Quiet<Sqrt>, 1, 0, 1, 0.5F)
QNM_REAL(Cbrt, Cbrt, 1, 0, 1, 5.0F)
QNM_REAL(Pow, Pow, 2, 0, 1, 9.0F)
QNM_REAL(Powx, Pow, 1, 1, 1, 9.0F)
QNM_REAL(Hypot, Hypot, 2, 0, 1, 3.0F)
QNM_REAL(InvSqrt, InDoubles<InvSqrt>, 1, 0, 1, 0.8F)
QNM_REAL(InvCbrt, InDoubles<InvCbrt>, 1, 0, 1, 6.0F)
QNM_REAL(Pow2o3, InDoubles<Pow2o3>, 1, 0, 1, 5.0F)
QNM_REAL(Pow3o2, InDoubles<Pow3o2>, 1, 0, 1, 0.6F)
QNM_REAL(Powr, Powr, 2, 0, 1, 9.0F)
