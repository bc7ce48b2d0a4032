// Elements that are computed at once: how they are taken from memory and put there, whole or in part.
#pragma once

#include "lanes.hpp"

#include <complex>
#include <type_traits>
#include <utility>

namespace qnm::vml::QNM_NAMESPACE {

/// Elements of T, one in each lane.
template <class T>
struct Group {
    using Type = Lanes<T>;
    static constexpr int count = LanesOf<T>::count;

    static Type load(const T* from) { return QNM_NAMESPACE::load(from); }
    static void store(T* to, Type x) { QNM_NAMESPACE::store(to, x); }
    static Type same(T value) { return all(value); }
    static T lane(const Type& x, int k) { return x[k]; }

    // The lanes behind the part hold its first element.
#if QNM_SET == 0
    static Type load(const T* from, int part)
    {
        Type x = all(*from);
        for (int k = 1; k < count - 1; ++k)
            if (k < part)
                x[k] = from[k];
        return x;
    }
    static void store(T* to, Type x, int part)
    {
        for (int k = 0; k < count - 1; ++k)
            if (k < part)
                to[k] = x[k];
    }
#elif QNM_SET == 1
    static Type load(const T* from, int part)
    {
        const auto wanted = mask(part);
        if constexpr (sizeof(T) == 8)
            return wanted ? (Type)_mm256_maskload_pd(from, (__m256i)wanted) : all(*from);
        else
            return wanted ? (Type)_mm256_maskload_ps(from, (__m256i)wanted) : all(*from);
    }
    static void store(T* to, Type x, int part)
    {
        if constexpr (sizeof(T) == 8)
            _mm256_maskstore_pd(to, (__m256i)mask(part), (__m256d)x);
        else
            _mm256_maskstore_ps(to, (__m256i)mask(part), (__m256)x);
    }

private:
    using Integer = std::conditional_t<sizeof(T) == 8, std::int64_t, std::int32_t>;
    static Lanes<Integer> mask(int part)
    {
        Lanes<Integer> place{};
        for (int k = 0; k < count; ++k)
            place[k] = k;
        return place < all(static_cast<Integer>(part));
    }
#else
    static Type load(const T* from, int part)
    {
        const auto wanted = (1U << static_cast<unsigned>(part)) - 1U;
        if constexpr (sizeof(T) == 8)
            return (Type)_mm512_mask_loadu_pd((__m512d)all(*from), static_cast<__mmask8>(wanted), from);
        else
            return (Type)_mm512_mask_loadu_ps((__m512)all(*from), static_cast<__mmask16>(wanted), from);
    }
    static void store(T* to, Type x, int part)
    {
        const auto wanted = (1U << static_cast<unsigned>(part)) - 1U;
        if constexpr (sizeof(T) == 8)
            _mm512_mask_storeu_pd(to, static_cast<__mmask8>(wanted), (__m512d)x);
        else
            _mm512_mask_storeu_ps(to, static_cast<__mmask16>(wanted), (__m512)x);
    }
#endif
};

/// Real and imaginary parts of complex elements, lane by lane.
template <class T>
struct Parts {
    Lanes<T> re, im;
};

template <class T>
struct Group<std::complex<T>> {
    using Type = Parts<T>;
    using Element = std::complex<T>;
    static constexpr int count = LanesOf<T>::count;

    static Type load(const Element* from)
    {
        const T* const parts = reinterpret_cast<const T*>(from);
        return split(QNM_NAMESPACE::load(parts), QNM_NAMESPACE::load(parts + count),
                     std::make_integer_sequence<int, count>());
    }
    static void store(Element* to, Type x)
    {
        join(reinterpret_cast<T*>(to), x, std::make_integer_sequence<int, count>());
    }
    static Type load(const Element* from, int part)
    {
        Element whole[count];
        for (int k = 0; k < count; ++k)
            whole[k] = from[k < part ? k : 0];
        return load(whole);
    }
    static void store(Element* to, Type x, int part)
    {
        Element whole[count];
        store(whole, x);
        for (int k = 0; k < part; ++k)
            to[k] = whole[k];
    }
    static Type same(Element value) { return {all(value.real()), all(value.imag())}; }
    static Element lane(const Type& x, int k) { return {x.re[k], x.im[k]}; }

private:
    template <int... k>
    static Type split(Lanes<T> a, Lanes<T> b, std::integer_sequence<int, k...>)
    {
        return {__builtin_shufflevector(a, b, (2 * k)...), __builtin_shufflevector(a, b, (2 * k + 1)...)};
    }
    template <int... k>
    static void join(T* to, Type x, std::integer_sequence<int, k...>)
    {
        constexpr int next = count / 2; // the first element of the upper half
        QNM_NAMESPACE::store(to, __builtin_shufflevector(x.re, x.im, (k / 2 + k % 2 * count)...));
        QNM_NAMESPACE::store(to + count,
                             __builtin_shufflevector(x.re, x.im, (next + k / 2 + k % 2 * count)...));
    }
};

} // namespace qnm::vml::QNM_NAMESPACE
