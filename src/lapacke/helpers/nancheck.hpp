// NaN checks by storage form. Options that are none, and no array, hold no NaN.
#pragma once

#include "lapacke/helpers/nan.hpp"

namespace qnm::helpers {

// ---- vectors

template <class T, class I>
inline I nancheck(I n, const T* x, I incx)
{
    if (x == nullptr)
        return 0;
    if (incx == 0)
        return is_nan(x[0]);
    const core_int step = incx < 0 ? -core_int{incx} : core_int{incx};
    constexpr I limit = 32; // below it, a sum costs more than it saves
    if (n >= limit && step == 1) {
        Sums<real<T>> sums(reinterpret_cast<const real<T>*>(x + n));
        sums.add(x, n);
        if (!sums.nan())
            return 0;
    } else if (n >= limit) {
        const auto* const reals = reinterpret_cast<const real<T>*>(x);
        real<T> sum = 0, other = 0;
        for (core_int i = 0; i < n; ++i) {
            sum += reals[i * step * parts<T>];
            other += reals[i * step * parts<T> + parts<T> - 1];
        }
        if (!is_nan(sum) && !is_nan(other))
            return 0;
    }
    return any_nan(x, n, step);
}

template <class T, class I>
inline I st_nancheck(I n, const T* d, const T* e)
{
    return Exported<T, I>::nancheck(n, d, 1) != 0 || Exported<T, I>::nancheck(n - 1, e, 1) != 0;
}

template <class T, class I>
inline I pt_nancheck(I n, const real<T>* d, const T* e)
{
    return Exported<real<T>, I>::nancheck(n, d, 1) != 0 || Exported<T, I>::nancheck(n - 1, e, 1) != 0;
}

template <class T, class I>
inline I gt_nancheck(I n, const T* dl, const T* d, const T* du)
{
    return Exported<T, I>::nancheck(n - 1, dl, 1) != 0 || Exported<T, I>::nancheck(n, d, 1) != 0 ||
           Exported<T, I>::nancheck(n - 1, du, 1) != 0;
}

// ---- general matrices

/// Out of line, so that what is small and has no gaps saves no registers.
template <class T>
[[gnu::noinline]] bool any_nan_in_rectangle(const T* a, core_int lines, core_int length, core_int ld,
                                            bool summed)
{
    return any_nan_in_lines<T>(lines, length, ld, summed, [=](core_int j) {
        return Piece<T>{a + j * ld, length};
    });
}

template <class T, class I>
inline I ge_nancheck(int layout, I m, I n, const T* a, I lda)
{
    if (a == nullptr || !is_layout(layout))
        return 0;
    const bool rows = layout == row_major;
    const core_int length = least(rows ? n : m, lda), lines = rows ? m : n;
    const bool summed = rows ? n >= 5 : m >= 16;
    if (length != lda || lines <= 0)
        return any_nan_in_rectangle(a, lines, length, core_int{lda}, summed);
    // One line after the other, without a gap.
    return summed ? any_nan_in_rectangle(a, core_int{1}, length * lines, core_int{lda}, true)
                  : any_nan(a, length * lines);
}

template <class T, class I>
inline I gg_nancheck(int layout, I m, I n, const T* a, I lda)
{
    return Exported<T, I>::ge_nancheck(layout, m, n, a, lda);
}

template <class T, class I>
inline I gb_nancheck(int layout, I m, I n, I kl, I ku, const T* ab, I ldab)
{
    if (ab == nullptr || !is_layout(layout))
        return 0;
    const bool rows = layout == row_major;
    const core_int ld = ldab, down = rows ? ld : 1, right = rows ? 1 : ld;
    const core_int columns = rows ? least(n, ld) : n;
    for (core_int j = 0; j < columns; ++j) {
        const core_int begin = most(ku - j, 0);
        core_int end = least(core_int{m} + ku - j, core_int{kl} + ku + 1);
        if (!rows)
            end = least(end, ld);
        if (any_nan(ab + begin * down + j * right, end - begin, down))
            return 1;
    }
    return 0;
}

template <class T, class I>
inline I tr_nancheck(int layout, char uplo, char diag, I n, const T* a, I lda)
{
    const Triangle triangle(layout, uplo, diag);
    if (a == nullptr || !triangle.good)
        return 0;
    const core_int limit = parts<T> == 1 ? 20 : 19;
    return any_nan_in_lines<T>(n, n / 2, lda, n >= limit, [&](core_int j) {
        const core_int begin = triangle.begin(j), end = least(triangle.end(j, n), lda);
        return Piece<T>{a + begin + j * core_int{lda}, end - begin};
    });
}

template <class T, class I>
inline I hs_nancheck(int layout, I n, const T* a, I lda)
{
    if (a == nullptr || !is_layout(layout))
        return 0;
    const T* const below = a + (layout == column_major ? core_int{1} : core_int{lda});
    return Exported<T, core_int>::nancheck(core_int{n} - 1, below, core_int{lda} + 1) != 0 ||
           Exported<T, I>::tr_nancheck(layout, 'u', 'n', n, a, lda) != 0;
}

template <class T, class I>
inline I tz_nancheck(int layout, char direct, char uplo, char diag, I m, I n, const T* a, I lda)
{
    const Trapezoid parts_of(layout, direct, uplo, diag, m, n, lda);
    if (a == nullptr || !parts_of.good)
        return 0;
    const I rows = static_cast<I>(parts_of.rows), columns = static_cast<I>(parts_of.columns);
    return (rows > 0 &&
            Exported<T, I>::ge_nancheck(layout, rows, columns, a + parts_of.rectangle, lda) != 0) ||
           Exported<T, I>::tr_nancheck(layout, uplo, diag, static_cast<I>(parts_of.order),
                                       a + parts_of.triangle, lda) != 0;
}

// ---- one triangle

template <class T, class I>
inline I sy_nancheck(int layout, char uplo, I n, const T* a, I lda)
{
    return Exported<T, I>::tr_nancheck(layout, uplo, 'n', n, a, lda);
}

template <class T, class I>
inline I he_nancheck(int layout, char uplo, I n, const T* a, I lda)
{
    return Exported<T, I>::tr_nancheck(layout, uplo, 'n', n, a, lda);
}

template <class T, class I>
inline I po_nancheck(int layout, char uplo, I n, const T* a, I lda)
{
    return Exported<T, I>::tr_nancheck(layout, uplo, 'n', n, a, lda);
}

/// The band of one triangle, by its diagonals below and above.
template <class T, class I>
inline I pb_nancheck(int layout, char uplo, I n, I kd, const T* ab, I ldab)
{
    const Option lower(uplo, 'l', 'u');
    return lower.good() ? Exported<T, I>::gb_nancheck(layout, n, n, lower.first ? kd : 0,
                                                      lower.first ? 0 : kd, ab, ldab)
                        : 0;
}

template <class T, class I>
inline I sb_nancheck(int layout, char uplo, I n, I kd, const T* ab, I ldab)
{
    return pb_nancheck<T>(layout, uplo, n, kd, ab, ldab);
}

template <class T, class I>
inline I hb_nancheck(int layout, char uplo, I n, I kd, const T* ab, I ldab)
{
    return pb_nancheck<T>(layout, uplo, n, kd, ab, ldab);
}

/// Without its diagonal of ones a band is one of order n-1, which begins one place further.
template <class T, class I>
inline I tb_nancheck(int layout, char uplo, char diag, I n, I kd, const T* ab, I ldab)
{
    const Triangle triangle(layout, uplo, diag);
    if (ab == nullptr || !triangle.good)
        return 0;
    if (triangle.unit == 0)
        return pb_nancheck<T>(layout, uplo, n, kd, ab, ldab);
    return pb_nancheck<T, I>(layout, uplo, n - 1, kd - 1,
                             ab + (triangle.growing ? core_int{ldab} : core_int{1}), ldab);
}

/// All elements of a packed triangle. There may be more than a narrow integer counts.
template <class T, class I>
inline I pp_nancheck(I n, const T* ap)
{
    return Exported<T, core_int>::nancheck(core_int{n} * (core_int{n} + 1) / 2, ap, 1) != 0;
}

template <class T, class I>
inline I sp_nancheck(I n, const T* ap)
{
    return pp_nancheck<T>(n, ap);
}

template <class T, class I>
inline I hp_nancheck(I n, const T* ap)
{
    return pp_nancheck<T>(n, ap);
}

template <class T, class I>
inline I pf_nancheck(I n, const T* ap)
{
    return pp_nancheck<T>(n, ap);
}

template <class T, class I>
inline I tp_nancheck(int layout, char uplo, char diag, I n, const T* ap)
{
    const Triangle triangle(layout, uplo, diag);
    if (ap == nullptr || !triangle.good)
        return 0;
    if (triangle.unit == 0)
        return pp_nancheck<T>(n, ap);
    const T* line = ap; // diagonal included
    for (core_int j = 0; j < n; ++j) {
        const core_int length = triangle.growing ? j + 1 : n - j;
        if (Exported<T, core_int>::nancheck(length - 1, triangle.growing ? line : line + 1, 1) != 0)
            return 1;
        line += length;
    }
    return 0;
}

template <class T, class I>
inline I tf_nancheck(int layout, char transr, char uplo, char diag, I n, const T* a)
{
    const Triangle triangle(layout, uplo, diag);
    const bool normal = LAPACKE_lsame(transr, 'n') != 0;
    if (a == nullptr || !triangle.good ||
        (!normal && LAPACKE_lsame(transr, 't') == 0 && LAPACKE_lsame(transr, 'c') == 0))
        return 0;
    if (triangle.unit == 0)
        return pp_nancheck<T>(n, a);
    const bool turned = normal == (layout == row_major); // the rectangle by rows is the turned one by columns
    const FullPacked form(turned, LAPACKE_lsame(uplo, 'l') != 0, n);
    const auto check = [&](core_int at, core_int order, char part) {
        return Exported<T, core_int>::tr_nancheck(column_major, part, diag, order, a + at, form.ld) != 0;
    };
    return check(form.first, form.first_n, turned ? 'u' : 'l') ||
           check(form.second, form.second_n, turned ? 'l' : 'u') ||
           Exported<T, core_int>::ge_nancheck(column_major, form.rows, form.columns, a + form.square,
                                              form.ld) != 0;
}

} // namespace qnm::helpers
