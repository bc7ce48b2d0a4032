// Circular functions and their inverses: they tell of arguments outside the domain, of nothing else.
#include "function.hpp"
#include "turns.hpp"

namespace qnm::vml::QNM_NAMESPACE {

QNM_FUNCTION(Sin, sin, u10, x, all_finite)
QNM_FUNCTION(Cos, cos, u10, x, all_finite)
QNM_FUNCTION(Tan, tan, u10, x, all_finite)
QNM_FUNCTION(Asin, asin, u10, magnitude(x), {0, 1, 0, 1})
QNM_FUNCTION(Acos, acos, u10, magnitude(x), {0, 1, 0, 1})
QNM_FUNCTION(Atan, atan, u10, x, all_finite)

struct Atan2 {
    static auto high(auto x, auto y) { return atan2_u10(x, y); }
    static auto low(auto x, auto y) { return atan2_quick(x, y); }
    static auto holds(auto x, auto y)
    {
        constexpr Bounds usual = {1e-150, 1e150, 1e-18F, 1e18F};
        return within(magnitude(x), usual) & within(magnitude(y), usual);
    }
    static auto exact(auto x, auto y) { return exact::atan2(x, y); }
};
struct SinCos {
    static auto high(auto x) { return sincos_u10(x); }
    static auto holds(auto x) { return within(x, all_finite); }
    template <class T>
    static Two<T> exact(T x)
    {
        return {exact::sin(x), exact::cos(x)};
    }
};

// Whole and half arguments are exact by the elements.
struct Sinpi {
    static auto high(auto x) { return sinpi_u05(x); }
    static auto holds_of(auto result, auto x)
    {
        return within(magnitude(x), {1e-290, 1e8, 1e-30F, 1e4F}) & (result != 0);
    }
    static auto exact(auto x) { return exact::sin_pi(x); }
};
struct Cospi {
    static auto high(auto x) { return cospi_u05(x); }
    static auto holds_of(auto result, auto x)
    {
        return within(magnitude(x), {0, 1e8, 0, 1e4F}) & (result != 0);
    }
    static auto exact(auto x) { return exact::cos_pi(x); }
};
struct SinCospi {
    static auto high(auto x) { return sincospi_u05(x); }
    static auto holds_of(auto result, auto x)
    {
        return within(magnitude(x), {1e-290, 1e8, 1e-30F, 1e4F}) & (result.x != 0) & (result.y != 0);
    }
    template <class T>
    static Two<T> exact(T x)
    {
        return {exact::sin_pi(x), exact::cos_pi(x)};
    }
};
// Degrees and half turns: quarters, where results are exact, are for the elements.
#define QNM_OF_TURNS(root, name, quarter_by_2, of_point)                                                     \
    struct root {                                                                                            \
        static Doubles high(Doubles x)                                                                       \
        {                                                                                                    \
            const Point there = point_of<quarter_by_2>(x);                                                   \
            return of_point;                                                                                 \
        }                                                                                                    \
        static auto holds_of(auto result, auto x)                                                            \
        {                                                                                                    \
            return within(magnitude(x), {1e-250, 1e9, 1e-30F, 1e9F}) &                                       \
                   within(magnitude(result), {least, most, least_s, most_s});                                \
        }                                                                                                    \
        static auto exact(auto x) { return exact::name(x); }                                                 \
    };
QNM_OF_TURNS(Sind, sin_deg, 180, rounded(there.sine))
QNM_OF_TURNS(Cosd, cos_deg, 180, rounded(there.cosine))
QNM_OF_TURNS(Tand, tan_deg, 180, quotient(there.sine, there.cosine))
QNM_OF_TURNS(Tanpi, tan_pi, 1, quotient(there.sine, there.cosine))

inline constexpr double inverse_of_pi = 0.318309886183790671537767526745028724;
inline constexpr Bounds below_1 = {0, 1 - 0x1p-53, 0, 1 - 0x1p-24F}, //
    some_below_1 = {1e-140, 1 - 0x1p-53, 1e-30F, 1 - 0x1p-24F};

/// The other coordinate of a point on the circle.
inline Twofold across(Doubles x)
{
    const Twofold square = product(x, x), left = sum(all(1.0), -square.high);
    return root(Twofold{left.high, left.low - square.low});
}
struct Asinpi {
    static Doubles high(Doubles x)
    {
        return half_turns(asin_u10(x) * inverse_of_pi, {x, Doubles{}}, across(x));
    }
    static auto low(auto x) { return asin_u10(x) * static_cast<decltype(x[0] + x[0])>(inverse_of_pi); }
    static auto holds(auto x) { return within(magnitude(x), some_below_1); }
    static auto exact(auto x) { return exact::asin_pi(x); }
    static constexpr bool noisy = true;
};
struct Acospi {
    static Doubles high(Doubles x)
    {
        return half_turns(acos_u10(x) * inverse_of_pi, across(x), {x, Doubles{}});
    }
    static auto low(auto x) { return acos_u10(x) * static_cast<decltype(x[0] + x[0])>(inverse_of_pi); }
    static auto holds(auto x) { return within(magnitude(x), below_1); }
    static auto exact(auto x) { return exact::acos_pi(x); }
    static constexpr bool noisy = true;
};
struct Atanpi {
    static Doubles high(Doubles x)
    {
        return half_turns(atan_u10(x) * inverse_of_pi, {x, Doubles{}}, {all(1.0), Doubles{}});
    }
    static auto low(auto x) { return atan_u10(x) * static_cast<decltype(x[0] + x[0])>(inverse_of_pi); }
    static auto holds(auto x) { return within(magnitude(x), {1e-140, 1e140, 1e-30F, 1e30F}); }
    static auto exact(auto x) { return exact::atan_pi(x); }
};
struct Atan2pi {
    static Doubles high(Doubles y, Doubles x)
    {
        return half_turns(atan2_u10(y, x) * inverse_of_pi, {y, Doubles{}}, {x, Doubles{}});
    }
    static auto low(auto y, auto x)
    {
        return atan2_u10(y, x) * static_cast<decltype(x[0] + x[0])>(inverse_of_pi);
    }
    static auto holds(auto y, auto x) { return Atan2::holds(y, x); }
    static auto exact(auto y, auto x) { return exact::atan2_pi(y, x); }
};
using TandTold = OfDomain<InDoubles<Tand>, domain_and_pole>;
using TanpiTold = OfDomain<InDoubles<Tanpi>, domain_and_pole>;

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Sin, OfDomain<Sin>, 1, 0, 1, 2.0F)
QNM_REAL(Cos, OfDomain<Cos>, 1, 0, 1, 2.0F)
QNM_REAL(Tan, OfDomain<Tan>, 1, 0, 1, 2.0F)
QNM_REAL(SinCos, OfDomain<SinCos>, 1, 0, 2, 2.0F)
QNM_REAL(Asin, OfDomain<Asin>, 1, 0, 1, 2.0F)
QNM_REAL(Acos, OfDomain<Acos>, 1, 0, 1, 3.0F)
QNM_REAL(Atan, OfDomain<Atan>, 1, 0, 1, 3.0F)
QNM_REAL(Atan2, OfDomain<Atan2>, 2, 0, 1, 4.0F)
QNM_REAL(Sinpi, OfDomain<Sinpi>, 1, 0, 1, 3.0F)
QNM_REAL(Cospi, OfDomain<Cospi>, 1, 0, 1, 3.0F)
QNM_REAL(SinCospi, OfDomain<SinCospi>, 1, 0, 2, 5.0F)
QNM_REAL(Tanpi, TanpiTold, 1, 0, 1, 3.0F)
QNM_REAL(Asinpi, OfDomain<InDoubles<Asinpi>>, 1, 0, 1, 8.0F)
QNM_REAL(Acospi, OfDomain<InDoubles<Acospi>>, 1, 0, 1, 9.0F)
QNM_REAL(Atanpi, OfDomain<InDoubles<Atanpi>>, 1, 0, 1, 9.0F)
QNM_REAL(Atan2pi, OfDomain<InDoubles<Atan2pi>>, 2, 0, 1, 10.0F)
QNM_REAL(Sind, OfDomain<InDoubles<Sind>>, 1, 0, 1, 3.0F)
QNM_REAL(Cosd, OfDomain<InDoubles<Cosd>>, 1, 0, 1, 2.0F)
QNM_REAL(Tand, TandTold, 1, 0, 1, 3.0F)
