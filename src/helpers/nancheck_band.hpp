// NaN checks of band storage.
#pragma once

#include "helpers/nan.hpp"

namespace qnm::helpers {

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

} // namespace qnm::helpers
