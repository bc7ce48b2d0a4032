// Kernels of which both engines and the C library have the function under one name.
#pragma once

#include "engines.hpp"
#include "exact.hpp"
#include "kernel.hpp"

namespace qnm::vml::QNM_NAMESPACE {

/// Bounds of a range, of each type its own.
struct Bounds {
    double low, high;
    float low_s, high_s;
};
#if QNM_SET == 3
/// The processor's own masks: as vectors they would be made only to be taken apart.
struct Held {
    unsigned lanes;
};
inline unsigned bits(Held held)
{
    return held.lanes;
}
inline Held operator&(Held x, auto y)
{
    return {x.lanes & bits(y)};
}
inline Held within(Doubles x, Bounds bounds)
{
    const __mmask8 above = _mm512_cmp_pd_mask((__m512d)x, _mm512_set1_pd(bounds.low), _CMP_GE_OQ);
    return {_mm512_mask_cmp_pd_mask(above, (__m512d)x, _mm512_set1_pd(bounds.high), _CMP_LE_OQ)};
}
inline Held within(Floats x, Bounds bounds)
{
    const __mmask16 above = _mm512_cmp_ps_mask((__m512)x, _mm512_set1_ps(bounds.low_s), _CMP_GE_OQ);
    return {_mm512_mask_cmp_ps_mask(above, (__m512)x, _mm512_set1_ps(bounds.high_s), _CMP_LE_OQ)};
}
#else
inline auto within(Doubles x, Bounds bounds)
{
    return (x >= bounds.low) & (x <= bounds.high);
}
inline auto within(Floats x, Bounds bounds)
{
    return (x >= bounds.low_s) & (x <= bounds.high_s);
}
#endif
inline constexpr double most = __DBL_MAX__, least = __DBL_MIN__;
inline constexpr float most_s = __FLT_MAX__, least_s = __FLT_MIN__;
inline constexpr Bounds all_finite = {-most, most, -most_s, most_s};
inline constexpr Bounds normal_above_zero = {least, most, least_s, most_s};

inline constexpr unsigned domain_only = 1U << domain, domain_and_pole = domain_only | 1U << pole;

/// Of engines that raise no flags in their whole range.
template <class K>
struct Quiet : K {
    static auto quiet(auto... x) { return K::holds(x...); }
};

template <class K, unsigned told = domain_only>
struct OfDomain : K {
    static constexpr unsigned codes = told;
};

/// Lanes of single precision by those of double, rounded once.
template <class K>
struct InDoubles : K {
    template <class V, class... W>
    static V high(V x, W... y)
    {
        if constexpr (sizeof(x[0]) == sizeof(double))
            return K::high(x, y...);
        else
            return narrowed(K::high(lower(x), lower(y)...), K::high(upper(x), upper(y)...));
    }
};
/// The same where lanes of double are of low accuracy only.
template <class K>
struct SingleInDoubles : K {
    static Doubles low(Doubles x) { return K::low(x); }
    static Floats low(Floats x) { return high(x); }
    static Floats high(Floats x) { return narrowed(K::low(lower(x)), K::low(upper(x))); }
};

} // namespace qnm::vml::QNM_NAMESPACE

// What is bounded is x or magnitude(x).
#define QNM_FUNCTION(root, name, ulp, bounded, ...)                                                          \
    struct root {                                                                                            \
        static auto high(auto x) { return name##_##ulp(x); }                                                 \
        static auto low(auto x) { return name##_quick(x); }                                                  \
        static auto holds(auto x) { return within(bounded, __VA_ARGS__); }                                   \
        static auto exact(auto x) { return exact::name(x); }                                                 \
    };

// Kernels without lanes, by the C library or an element.
#define QNM_ONLY_EXACT(root, name)                                                                           \
    struct root {                                                                                            \
        static auto exact(auto... x) { return exact::name(x...); }                                           \
    };

// The same, of which the element in double is enough for low accuracy between two magnitudes.
#define QNM_BY_ELEMENTS(root, name, from, to)                                                                \
    struct root {                                                                                            \
        static auto exact(auto... x) { return exact::name(x...); }                                           \
        static double quick(double x)                                                                        \
        {                                                                                                    \
            const double size = exact::fabs(x);                                                              \
            return size >= (from) && size < (to) ? element::name(x) : __builtin_nan("");                     \
        }                                                                                                    \
        static double quick(float) = delete;                                                                 \
    };
