// Changes of layout of full storage: `in` has the layout given, `out` gets the other; so in all forms.
// Options that are none, and arrays that are not there, change nothing. Places are counted in 64 bits.
#pragma once

#include "helpers/options.hpp"

namespace qnm::helpers {

template <class T>
inline T one()
{
    if constexpr (parts<T> == 2)
        return {1, 0};
    else
        return 1;
}

template <class T, class I>
inline void ge_trans(int layout, I m, I n, const T* in, I ldin, T* out, I ldout)
{
    if (in == nullptr || out == nullptr || m < 0 ||
        n < 0) // the copy would take less than nothing for very much
        return;
    omatcopy(layout == column_major ? 'c' : 'r', 't', static_cast<size>(m), static_cast<size>(n), one<T>(),
             in, static_cast<size>(ldin), out, static_cast<size>(ldout));
}

template <class T, class I>
inline void gg_trans(int layout, I m, I n, const T* in, I ldin, T* out, I ldout)
{
    Exported<T, I>::ge_trans(layout, m, n, in, ldin, out, ldout);
}

template <class T, class I>
inline void tr_trans(int layout, char uplo, char diag, I n, const T* in, I ldin, T* out, I ldout)
{
    const Triangle triangle(layout, uplo, diag);
    if (in == nullptr || out == nullptr || !triangle.good)
        return;
    constexpr I largest = 64; // that is copied element by element
    if (triangle.unit == 0 && n > largest) {
        const I n1 = n / 2, n2 = n - n1;
        const core_int ldi = ldin, ldo = ldout;
        Exported<T, I>::tr_trans(layout, uplo, diag, n1, in, ldin, out, ldout);
        Exported<T, I>::tr_trans(layout, uplo, diag, n2, in + n1 + n1 * ldi, ldin, out + n1 + n1 * ldo,
                                 ldout);
        if (triangle.growing)
            Exported<T, I>::ge_trans(column_major, n1, n2, in + n1 * ldi, ldin, out + n1, ldout);
        else
            Exported<T, I>::ge_trans(column_major, n2, n1, in + n1, ldin, out + n1 * ldo, ldout);
        return;
    }
    for (core_int j = 0; j < least(n, ldout); ++j)
        for (core_int i = triangle.begin(j); i < least(triangle.end(j, n), ldin); ++i)
            out[j + i * core_int{ldout}] = in[i + j * core_int{ldin}];
}

/// The subdiagonal keeps a distance on both sides, which no transposition does: it is copied element by
/// element.
template <class T, class I>
inline void hs_trans(int layout, I n, const T* in, I ldin, T* out, I ldout)
{
    if (in == nullptr || out == nullptr || !is_layout(layout))
        return;
    const core_int ldi = ldin, ldo = ldout;
    const T* const from = in + (layout == column_major ? 1 : ldi);
    T* const to = out + (layout == column_major ? ldo : 1);
    for (core_int k = 0; k < core_int{n} - 1; ++k)
        to[k * (ldo + 1)] = from[k * (ldi + 1)];
    Exported<T, I>::tr_trans(layout, 'u', 'n', n, in, ldin, out, ldout);
}

template <class T, class I>
inline void tz_trans(int layout, char direct, char uplo, char diag, I m, I n, const T* in, I ldin, T* out,
                     I ldout)
{
    const Trapezoid from(layout, direct, uplo, diag, m, n, ldin);
    if (in == nullptr || out == nullptr || !from.good)
        return;
    const int other = layout == column_major ? row_major : column_major;
    const Trapezoid to(other, direct, uplo, diag, m, n, ldout);
    if (from.rows > 0)
        Exported<T, I>::ge_trans(layout, static_cast<I>(from.rows), static_cast<I>(from.columns),
                                 in + from.rectangle, ldin, out + to.rectangle, ldout);
    Exported<T, I>::tr_trans(layout, uplo, diag, static_cast<I>(from.order), in + from.triangle, ldin,
                             out + to.triangle, ldout);
}

template <class T, class I>
inline void sy_trans(int layout, char uplo, I n, const T* in, I ldin, T* out, I ldout)
{
    Exported<T, I>::tr_trans(layout, uplo, 'n', n, in, ldin, out, ldout);
}

template <class T, class I>
inline void he_trans(int layout, char uplo, I n, const T* in, I ldin, T* out, I ldout)
{
    Exported<T, I>::tr_trans(layout, uplo, 'n', n, in, ldin, out, ldout);
}

template <class T, class I>
inline void po_trans(int layout, char uplo, I n, const T* in, I ldin, T* out, I ldout)
{
    Exported<T, I>::tr_trans(layout, uplo, 'n', n, in, ldin, out, ldout);
}

} // namespace qnm::helpers
