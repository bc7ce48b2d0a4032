// Circular functions and their inverses: they tell of arguments outside the domain, of nothing else.
#include "function.hpp"

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
QNM_ONLY_EXACT(Tanpi, tan_pi)
QNM_ONLY_EXACT(Asinpi, asin_pi)
QNM_ONLY_EXACT(Acospi, acos_pi)
QNM_ONLY_EXACT(Atanpi, atan_pi)
QNM_ONLY_EXACT(Atan2pi, atan2_pi)
QNM_ONLY_EXACT(Sind, sin_deg)
QNM_ONLY_EXACT(Cosd, cos_deg)
QNM_ONLY_EXACT(Tand, tan_deg)
using TandTold = OfDomain<Tand, domain_and_pole>;
using TanpiTold = OfDomain<Tanpi, domain_and_pole>;

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Sin, OfDomain<Sin>, 1, 0, 1, 2.5F)
QNM_REAL(Cos, OfDomain<Cos>, 1, 0, 1, 2.5F)
QNM_REAL(Tan, OfDomain<Tan>, 1, 0, 1, 3.5F)
QNM_REAL(SinCos, OfDomain<SinCos>, 1, 0, 2, 4.0F)
QNM_REAL(Asin, OfDomain<Asin>, 1, 0, 1, 2.5F)
QNM_REAL(Acos, OfDomain<Acos>, 1, 0, 1, 2.5F)
QNM_REAL(Atan, OfDomain<Atan>, 1, 0, 1, 3.0F)
QNM_REAL(Atan2, OfDomain<Atan2>, 2, 0, 1, 5.0F)
QNM_REAL(Sinpi, OfDomain<Sinpi>, 1, 0, 1, 2.5F)
QNM_REAL(Cospi, OfDomain<Cospi>, 1, 0, 1, 2.5F)
QNM_REAL(SinCospi, OfDomain<SinCospi>, 1, 0, 2, 4.0F)
QNM_REAL(Tanpi, TanpiTold, 1, 0, 1, 150.0F)
QNM_REAL(Asinpi, OfDomain<Asinpi>, 1, 0, 1, 120.0F)
QNM_REAL(Acospi, OfDomain<Acospi>, 1, 0, 1, 120.0F)
QNM_REAL(Atanpi, OfDomain<Atanpi>, 1, 0, 1, 120.0F)
QNM_REAL(Atan2pi, OfDomain<Atan2pi>, 2, 0, 1, 150.0F)
QNM_REAL(Sind, OfDomain<Sind>, 1, 0, 1, 150.0F)
QNM_REAL(Cosd, OfDomain<Cosd>, 1, 0, 1, 150.0F)
QNM_REAL(Tand, TandTold, 1, 0, 1, 150.0F)
