// Entries whose first question is the layout: level 2 and 3, strided batches, variants of GEMM. What is
// tested, in which order, and what a row-major call becomes, is in the row; here stands the order of things.
#pragma once

#include "cblas/checks.hpp"

namespace qnm::cblas {

/// The row-major path of an entry that tells its call by options and by the order of arguments.
struct Told {
    template <auto* Entry, class Row>
    QNM_INLINE static void rows(const char* name, Row row)
    {
        if (const int position = row.rows_tests(name); unlikely(position != 0))
            return cblas_xerbla(name, position);
        if (!row.quick())
            row.rows(Entry);
    }
};

/// Tests that stand ahead of the layout's, the layout, the tests of that layout, the call.
template <class RowMajor, auto* Columns, auto* Rows, class Row>
QNM_INLINE void by_layout(const char* name, Row row)
{
    if (const int position = row.ahead(name); unlikely(position != 0))
        return cblas_xerbla(name, position);
    if (row.layout == column_major) {
        if (const int position = row.columns_tests(name); unlikely(position != 0))
            return cblas_xerbla(name, position);
        if (!row.quick())
            row.columns(Columns);
    } else if (row.layout == row_major) {
        RowMajor::template rows<Rows>(name, row);
    } else {
        cblas_xerbla(name, Row::layout_position);
    }
}

/// Entries without a layout that give back a size, 0 after a report.
template <auto* Entry, class Row>
QNM_INLINE auto sized(const char* name, Row row) -> decltype(row.columns(Entry))
{
    if (const int position = row.ahead(name); unlikely(position != 0)) {
        cblas_xerbla(name, position);
        return 0;
    }
    return row.columns(Entry);
}

/// Entries that report and call in any case.
template <auto* Entry, class Row>
QNM_INLINE void regardless(const char* name, Row row)
{
    row.ahead(name);
    row.columns(Entry);
}

} // namespace qnm::cblas
