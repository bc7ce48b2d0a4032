// Whether reals in a row hold a NaN. A sum that is none proves that there is none; one that is may come of
// infinities, and then each element is asked.
#pragma once

#include "lapacke/helpers/options.hpp"

namespace qnm::helpers {

template <class R>
inline bool is_nan(R x)
{
    return x != x;
}
template <class R>
inline bool is_nan(Complex<R> x)
{
    return x.re != x.re || x.im != x.im;
}

template <class R>
struct Lanes {
    using Vector [[gnu::vector_size(16), gnu::aligned(sizeof(R)), gnu::may_alias]] = R;
    static constexpr core_int count = 16 / sizeof(R);
};

/// Whether the sum of n reals is a NaN, in eight interleaved sums of vectors.
template <class R>
inline bool sum_is_nan(const R* x, core_int n)
{
    using Vector = typename Lanes<R>::Vector;
    constexpr core_int lanes = Lanes<R>::count, sums = 8, ahead = 512 / sizeof(R);
    Vector sum[sums] = {};
    core_int i = 0;
    for (; i + sums * lanes <= n; i += sums * lanes) {
        __builtin_prefetch(x + i + ahead);
        __builtin_prefetch(x + i + ahead + sums * lanes / 2);
#pragma GCC unroll 8
        for (core_int k = 0; k < sums; ++k)
            sum[k] += *reinterpret_cast<const Vector*>(x + i + k * lanes);
    }
    R rest = 0;
    for (; i < n; ++i)
        rest += x[i];
    for (core_int k = 1; k < sums; ++k)
        sum[0] += sum[k];
    for (core_int lane = 0; lane < lanes; ++lane)
        rest += sum[0][lane];
    return is_nan(rest);
}

template <class T>
inline bool sum_is_nan_of(const T* x, core_int n)
{
    return sum_is_nan(reinterpret_cast<const real<T>*>(x), n * parts<T>);
}

/// Whether any of n reals side by side is a NaN.
template <class R>
inline bool any_nan_in_row(const R* x, core_int n)
{
    using Vector = typename Lanes<R>::Vector;
    constexpr core_int lanes = Lanes<R>::count;
    decltype(Vector{} != Vector{}) found = {};
    core_int i = 0;
    for (; i + lanes <= n; i += lanes) {
        const Vector v = *reinterpret_cast<const Vector*>(x + i);
        found |= v != v;
    }
    bool any = false;
    for (core_int lane = 0; lane < lanes; ++lane)
        any = any || found[lane] != 0;
    for (; i < n; ++i)
        any = any || is_nan(x[i]);
    return any;
}

/// Whether any of n elements, which stand `step` apart, is a NaN.
template <class T>
inline bool any_nan(const T* x, core_int n, core_int step = 1)
{
    if (step == 1)
        return any_nan_in_row(reinterpret_cast<const real<T>*>(x), n * parts<T>);
    for (core_int i = 0; i < n; ++i)
        if (is_nan(x[i * step]))
            return true;
    return false;
}

/// Whether any line holds a NaN. `line(j)` gives the first element of line j and how many there are; long
/// lines are summed up first, and the first sum that is a NaN sends all lines to be looked at one by one.
template <class Line>
inline bool any_nan_in_lines(core_int lines, bool summed, Line&& line)
{
    if (summed) {
        core_int j = 0;
        while (j < lines) {
            const auto [x, n] = line(j);
            if (sum_is_nan_of(x, n))
                break;
            ++j;
        }
        if (j == lines)
            return false;
    }
    for (core_int j = 0; j < lines; ++j) {
        const auto [x, n] = line(j);
        if (any_nan(x, n))
            return true;
    }
    return false;
}

/// A piece of a line.
template <class T>
struct Piece {
    const T* x;
    core_int n;
};

} // namespace qnm::helpers
