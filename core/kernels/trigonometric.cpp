// Circular functions and their inverses: they tell of arguments outside the domain, of nothing else.
#include "function.hpp"

namespace qnm::vml::QNM_NAMESPACE {

template <class K>
struct OfDomain : K {
    static constexpr unsigned codes = domain_only;
};

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

} // namespace qnm::vml::QNM_NAMESPACE

QNM_REAL(Sin, OfDomain<Sin>, 1, 0, 1, 2.5F)
QNM_REAL(Cos, OfDomain<Cos>, 1, 0, 1, 2.5F)
QNM_REAL(Tan, OfDomain<Tan>, 1, 0, 1, 3.5F)
QNM_REAL(SinCos, OfDomain<SinCos>, 1, 0, 2, 4.0F)
QNM_REAL(Asin, OfDomain<Asin>, 1, 0, 1, 2.5F)
QNM_REAL(Acos, OfDomain<Acos>, 1, 0, 1, 2.5F)
QNM_REAL(Atan, OfDomain<Atan>, 1, 0, 1, 3.0F)
QNM_REAL(Atan2, OfDomain<Atan2>, 2, 0, 1, 5.0F)
