// NaN checks of packed storage, and of the full packed form.
#pragma once

#include "helpers/nan.hpp"

namespace qnm::helpers {

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
