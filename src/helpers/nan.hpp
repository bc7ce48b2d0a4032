// Whether reals in a row hold a NaN. A sum that is none proves that there is none; one that is may come of
// infinities, and then each element is asked.
#pragma once

#include "helpers/options.hpp"

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

/// Sums elements up, eight vectors of partial sums side by side. Elements are asked for `ahead` of their
/// turn, unless they lie behind the last.
template <class R>
class Sums {
public:
    /// Further than memory delivers before an answer comes, and little beside the nearest cache.
    static constexpr core_int near = 4096 / sizeof(R);

    explicit Sums(const R* last, core_int ahead = near) : last_(last), ahead_(ahead) {}

    void add(const R* x, core_int n)
    {
        const core_int asked = last_ - x - ahead_;
        core_int i = 0;
        for (; i + sums * lanes <= n; i += sums * lanes) {
            if (i < asked) {
                __builtin_prefetch(x + i + ahead_);
                __builtin_prefetch(x + i + ahead_ + sums * lanes / 2);
            }
#pragma GCC unroll 8
            for (core_int k = 0; k < sums; ++k)
                sum_[k] += *reinterpret_cast<const Vector*>(x + i + k * lanes);
        }
        for (; i + lanes <= n; i += lanes)
            sum_[0] += *reinterpret_cast<const Vector*>(x + i);
        for (; i < n; ++i)
            rest_ += x[i];
    }
    void add(const Complex<R>* x, core_int n)
    {
        add(reinterpret_cast<const R*>(x), 2 * n);
    }

    bool nan() const
    {
        Vector all = sum_[0];
#pragma GCC unroll 8 // so that all sums stay in registers
        for (core_int k = 1; k < sums; ++k)
            all += sum_[k];
        R sum = rest_;
        for (core_int lane = 0; lane < lanes; ++lane)
            sum += all[lane];
        return is_nan(sum);
    }

private:
    using Vector = typename Lanes<R>::Vector;
    static constexpr core_int lanes = Lanes<R>::count, sums = 8;
    const R* last_;
    core_int ahead_;
    Vector sum_[sums] = {};
    R rest_ = 0;
};

/// Whether any of n reals side by side is a NaN.
template <class R>
inline bool any_nan_in_row(const R* x, core_int n)
{
    using Vector = typename Lanes<R>::Vector;
    constexpr core_int lanes = Lanes<R>::count;
    core_int i = 0;
    if (n >= 4 * lanes) { // elements of a shorter row were often stored one by one just now
        decltype(Vector{} != Vector{}) found = {};
        for (; i + lanes <= n; i += lanes) {
            const Vector v = *reinterpret_cast<const Vector*>(x + i);
            found |= v != v;
        }
        for (core_int lane = 0; lane < lanes; ++lane)
            if (found[lane] != 0)
                return true;
    }
    for (; i < n; ++i)
        if (is_nan(x[i]))
            return true;
    return false;
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

/// Whether any line holds a NaN. `line(j)` gives the first element of line j and how many there are: some
/// `length`, `ld` apart. Where that pays, all are summed up first, and only a sum that is a NaN sends for
/// each element.
template <class T, class Line>
inline bool any_nan_in_lines(core_int lines, core_int length, core_int ld, bool summed, Line&& line)
{
    if (summed && lines > 0) {
        using S = Sums<real<T>>;
        const auto [end, rest] = line(lines - 1);
        // Of short lines, what is ahead is not in the gap behind one but in the lines to come.
        S sums(reinterpret_cast<const real<T>*>(end + rest),
               length * parts<T> < 2 * S::near ? 8 * ld * parts<T> : S::near);
        for (core_int j = 0; j < lines; ++j) {
            const auto [x, n] = line(j);
            sums.add(x, n);
        }
        if (!sums.nan())
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
