// Changes of layout of band storage.
#pragma once

#include "helpers/options.hpp"

namespace qnm::helpers {

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

} // namespace qnm::helpers
