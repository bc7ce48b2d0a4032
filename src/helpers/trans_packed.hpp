// Changes of layout of packed storage, and of the full packed form.
#pragma once

#include "helpers/options.hpp"

namespace qnm::helpers {

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
