// Lanes of one instruction set: this header is compiled once for each, in a namespace of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

#if QNM_SET == 0
#define QNM_NAMESPACE sse2
#elif QNM_SET == 1
#define QNM_NAMESPACE avx2
#elif QNM_SET == 3
#define QNM_NAMESPACE avx512
#else
#error "no such instruction set"
#endif

namespace qnm::vml::QNM_NAMESPACE {

#if QNM_SET == 0
inline constexpr std::size_t bytes = 16;
#elif QNM_SET == 1
inline constexpr std::size_t bytes = 32;
#else
inline constexpr std::size_t bytes = 64;
#endif

template <class T>
struct LanesOf {
    typedef T Type __attribute__((vector_size(bytes)));
    typedef T Loose __attribute__((vector_size(bytes), aligned(alignof(T)), may_alias));
    static constexpr int count = static_cast<int>(bytes / sizeof(T));
};
template <class T>
using Lanes = typename LanesOf<T>::Type;
using Doubles = Lanes<double>;
using Floats = Lanes<float>;

template <class T>
Lanes<T> load(const T* from)
{
    return *reinterpret_cast<const typename LanesOf<T>::Loose*>(from);
}
template <class T>
void store(T* to, Lanes<T> lanes)
{
    *reinterpret_cast<typename LanesOf<T>::Loose*>(to) = lanes;
}
template <class T>
Lanes<T> all(T value)
{
    return value - Lanes<T>{};
}

/// A bit for each lane of a comparison.
template <class M>
[[gnu::always_inline]] inline unsigned bits(M mask)
{
    constexpr bool wide = sizeof(mask[0]) == 8;
#if QNM_SET == 0
    return static_cast<unsigned>(wide ? _mm_movemask_pd((__m128d)mask) : _mm_movemask_ps((__m128)mask));
#elif QNM_SET == 1
    return static_cast<unsigned>(wide ? _mm256_movemask_pd((__m256d)mask) : _mm256_movemask_ps((__m256)mask));
#else
    return wide ? _mm512_movepi64_mask((__m512i)mask) : _mm512_movepi32_mask((__m512i)mask);
#endif
}

inline Doubles magnitude(Doubles x)
{
    return (Doubles)((Lanes<std::int64_t>)x & INT64_MAX);
}
inline Floats magnitude(Floats x)
{
    return (Floats)((Lanes<std::int32_t>)x & INT32_MAX);
}

/// Halves of single precision, and back again.
#if QNM_SET == 0
inline Doubles lower(Floats x)
{
    return (Doubles)_mm_cvtps_pd((__m128)x);
}
inline Doubles upper(Floats x)
{
    return (Doubles)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x));
}
inline Floats narrowed(Doubles low, Doubles high)
{
    return (Floats)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)low), _mm_cvtpd_ps((__m128d)high));
}
#else
typedef float HalfOfFloats __attribute__((vector_size(bytes / 2)));
template <int from, int... k>
Doubles half(Floats x, std::integer_sequence<int, k...>)
{
    return __builtin_convertvector(__builtin_shufflevector(x, x, from + k...), Doubles);
}
inline Doubles lower(Floats x)
{
    return half<0>(x, std::make_integer_sequence<int, LanesOf<double>::count>());
}
inline Doubles upper(Floats x)
{
    return half<LanesOf<double>::count>(x, std::make_integer_sequence<int, LanesOf<double>::count>());
}
template <int... k>
Floats joined(HalfOfFloats low, HalfOfFloats high, std::integer_sequence<int, k...>)
{
    return __builtin_shufflevector(low, high, k...);
}
inline Floats narrowed(Doubles low, Doubles high)
{
    return joined(__builtin_convertvector(low, HalfOfFloats), __builtin_convertvector(high, HalfOfFloats),
                  std::make_integer_sequence<int, LanesOf<float>::count>());
}
#endif

} // namespace qnm::vml::QNM_NAMESPACE
