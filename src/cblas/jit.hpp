// Making a product at run time.
#pragma once

#include "cblas/layout.hpp"

namespace qnm::cblas {

inline constexpr int no_transpose = 111;
inline constexpr int transpose = 112;
/// Behind the published codes: the letter O, which only the two shapes below get.
inline constexpr int outer = 114;
inline constexpr int not_made = 2;

/// As in by_layout, but a report is answered by a status; and a result of one row (column-major) or one
/// column (row-major), contiguous, with the transpose of what lies across it, is told in letters of its own.
template <auto* Entry, class Row>
QNM_INLINE int made(const char* name, Row row)
{
    const auto refused = [&](int position) {
        cblas_xerbla(name, position);
        return not_made;
    };
    if (const int position = row.ahead(name); unlikely(position != 0))
        return refused(position);
    if (row.layout == column_major) {
        if (const int position = row.columns_tests(name); unlikely(position != 0))
            return refused(position);
        if (row.m == 1 && row.n != 0 && row.ldc == 1 && row.transb == transpose) {
            row.transb = row.transa == no_transpose ? transpose : no_transpose;
            row.transa = outer;
        }
        return row.columns(Entry);
    }
    if (row.layout == row_major) {
        if (const int position = row.rows_tests(name); unlikely(position != 0))
            return refused(position);
        if (row.n == 1 && row.m != 0 && row.ldc == 1 && row.transa == transpose) {
            row.transa = row.transb == no_transpose ? transpose : no_transpose;
            row.transb = no_transpose;
        }
        return row.rows(Entry);
    }
    return refused(Row::layout_position);
}

} // namespace qnm::cblas
