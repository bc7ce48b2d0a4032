// Changes of layout by storage form: `in` has the layout given, `out` gets the other. Options that are none,
// and arrays that are not there, change nothing. Places are counted in 64 bits.
#pragma once

#include "lapacke/helpers/options.hpp"

namespace qnm::helpers {

template <class T>
inline T one()
{
    if constexpr (parts<T> == 2)
        return {1, 0};
    else
        return 1;
}

// ---- general matrices

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

/// Diagonals stand in rows of their own: columns keep their places within them.
template <class T, class I>
inline void gb_trans(int layout, I m, I n, I kl, I ku, const T* in, I ldin, T* out, I ldout)
{
    if (in == nullptr || out == nullptr || !is_layout(layout))
        return;
    const bool by_columns = layout == column_major;
    const core_int rows_ld = by_columns ? ldout : ldin, columns_ld = by_columns ? ldin : ldout;
    const core_int in_down = by_columns ? 1 : ldin, in_right = by_columns ? ldin : 1;
    const core_int out_down = by_columns ? ldout : 1, out_right = by_columns ? 1 : ldout;
    for (core_int j = 0; j < least(n, rows_ld); ++j) {
        const core_int end = least(columns_ld, least(core_int{m} + ku - j, core_int{kl} + ku + 1));
        for (core_int i = most(ku - j, 0); i < end; ++i)
            out[i * out_down + j * out_right] = in[i * in_down + j * in_right];
    }
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

// ---- one triangle

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

template <class T, class I>
inline void pb_trans(int layout, char uplo, I n, I kd, const T* in, I ldin, T* out, I ldout)
{
    const Option lower(uplo, 'l', 'u');
    if (lower.good())
        Exported<T, I>::gb_trans(layout, n, n, lower.first ? kd : 0, lower.first ? 0 : kd, in, ldin, out,
                                 ldout);
}

template <class T, class I>
inline void sb_trans(int layout, char uplo, I n, I kd, const T* in, I ldin, T* out, I ldout)
{
    pb_trans<T>(layout, uplo, n, kd, in, ldin, out, ldout);
}

template <class T, class I>
inline void hb_trans(int layout, char uplo, I n, I kd, const T* in, I ldin, T* out, I ldout)
{
    pb_trans<T>(layout, uplo, n, kd, in, ldin, out, ldout);
}

/// Without its diagonal of ones a band is one of order n-1, which begins one place further.
template <class T, class I>
inline void tb_trans(int layout, char uplo, char diag, I n, I kd, const T* in, I ldin, T* out, I ldout)
{
    const Triangle triangle(layout, uplo, diag);
    if (in == nullptr || out == nullptr || !triangle.good)
        return;
    if (triangle.unit == 0)
        return pb_trans<T>(layout, uplo, n, kd, in, ldin, out, ldout);
    pb_trans<T, I>(layout, uplo, n - 1, kd - 1, in + (triangle.growing ? core_int{ldin} : core_int{1}), ldin,
                   out + (triangle.growing ? core_int{1} : core_int{ldout}), ldout);
}

template <class T, class I>
inline void tp_trans(int layout, char uplo, char diag, I n, const T* in, T* out)
{
    const Triangle triangle(layout, uplo, diag);
    if (in == nullptr || out == nullptr || !triangle.good)
        return;
    const core_int order = n;
    const auto growing = [](core_int i, core_int j) { return i + j * (j + 1) / 2; };
    const auto shrinking = [order](core_int i, core_int j) { return i - j + j * (2 * order - j + 1) / 2; };
    for (core_int j = 0; j < order; ++j)
        for (core_int i = triangle.begin(j); i < triangle.end(j, order); ++i)
            if (triangle.growing)
                out[shrinking(j, i)] = in[growing(i, j)];
            else
                out[growing(j, i)] = in[shrinking(i, j)];
}

template <class T, class I>
inline void pp_trans(int layout, char uplo, I n, const T* in, T* out)
{
    Exported<T, I>::tp_trans(layout, uplo, 'n', n, in, out);
}

template <class T, class I>
inline void sp_trans(int layout, char uplo, I n, const T* in, T* out)
{
    Exported<T, I>::tp_trans(layout, uplo, 'n', n, in, out);
}

template <class T, class I>
inline void hp_trans(int layout, char uplo, I n, const T* in, T* out)
{
    Exported<T, I>::tp_trans(layout, uplo, 'n', n, in, out);
}

/// The full packed form is a rectangle, whatever triangle it holds.
template <class T, class I>
inline void tf_trans(int layout, char transr, char uplo, char diag, I n, const T* in, T* out)
{
    const Triangle triangle(layout, uplo, diag);
    const bool normal = LAPACKE_lsame(transr, 'n') != 0;
    if (in == nullptr || out == nullptr || !triangle.good ||
        (!normal && LAPACKE_lsame(transr, 't') == 0 && LAPACKE_lsame(transr, 'c') == 0))
        return;
    if (n <= 0) // a rectangle without columns would have no leading dimension
        return;
    const I height = n | 1, width = (n + 1) / 2;
    const I rows = normal ? height : width, columns = normal ? width : height;
    const bool by_columns = layout == column_major;
    Exported<T, I>::ge_trans(layout, rows, columns, in, by_columns ? rows : columns, out,
                             by_columns ? columns : rows);
}

template <class T, class I>
inline void pf_trans(int layout, char transr, char uplo, I n, const T* in, T* out)
{
    Exported<T, I>::tf_trans(layout, transr, uplo, 'n', n, in, out);
}

} // namespace qnm::helpers
