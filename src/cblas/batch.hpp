// Group batches: options come as arrays of codes and go on as arrays of letters.
#pragma once

#include "cblas/conjugated_batch.hpp"

namespace qnm::cblas {

/// The letters of some groups' codes; texts as in letter().
template <class I>
QNM_INLINE void spell(char* to, const int* codes, I groups, const char* texts, int first)
{
    for (I g = 0; g < groups; ++g)
        to[g] = *letter(texts, codes[g] - first);
}

/// The tests of the layout in question, with the layout among them where the row says.
template <class Row>
QNM_INLINE int group_tests(const char* name, Row row)
{
    return row.layout == column_major ? row.columns_tests(name)
           : row.layout == row_major  ? row.rows_tests(name)
                                      : Row::layout_position;
}

/// gemm_batch, trsm_batch: no allocation. The Fortran entry gets at most 1024 groups at a time.
template <auto* Entry, class Row>
QNM_INLINE void blocks(const char* name, Row row)
{
    using I = typename Row::integer;
    constexpr I most = 1024;
    if (const int position = group_tests(name, row); unlikely(position != 0))
        return cblas_xerbla(name, position);
    char letters[Row::options][most];
    const auto pass = [&](int i) { return &letters[i][0]; };
    I left = row.group_count;
    while (left > 0) {
        I count = smaller<I>(most, left);
        const I size = problems(row.group_size, count);
        row.group_count = count;
        if (row.layout == column_major) {
            row.columns_letters(pass, count);
            row.columns(Entry, pass);
        } else {
            row.rows_letters(pass, count);
            row.rows(Entry, pass);
        }
        row.advance(count, size);
        left -= count;
    }
}

/// The call of a group form, once its letters are there.
struct ToldGroups {
    template <auto* Entry, class Row, class Letters>
    static void rows(const char* /*name*/, Row row, Letters letters)
    {
        row.rows(Entry, letters);
    }
};

template <class RowMajor, auto* Entry, class Row, class Letters>
QNM_INLINE void call_groups(const char* name, Row row, Letters letters)
{
    if (row.layout == column_major) {
        row.columns_letters(letters, row.group_count);
        row.columns(Entry, letters);
    } else {
        row.rows_letters(letters, row.group_count);
        RowMajor::template rows<Entry>(name, row, letters);
    }
}

/// syrk_batch, dgmm_batch: all tests, then memory for the letters, then the call. No groups, no call.
template <class RowMajor, auto* Entry, class Row>
QNM_INLINE void groups(const char* name, Row row)
{
    if (const int position = group_tests(name, row); unlikely(position != 0))
        return cblas_xerbla(name, position);
    if (row.group_count == 0)
        return;
    GroupBlock<char> letters[Row::options];
    for (GroupBlock<char>& block : letters)
        if (!block.take(row.group_count))
            return cblas_xerbla_malloc_error(name);
    call_groups<RowMajor, Entry>(name, row, [&](int i) { return letters[i].get(); });
}

/// gemv_batch: the number of groups, memory for the letters, then all other tests.
template <class RowMajor, auto* Entry, class Row>
QNM_INLINE void allocated_first(const char* name, Row row)
{
    if (const int position = row.ahead(name); unlikely(position != 0))
        return cblas_xerbla(name, position);
    GroupBlock<char> letters;
    if (!letters.take(row.group_count))
        return cblas_xerbla_malloc_error(name);
    if (const int position = group_tests(name, row); unlikely(position != 0))
        return cblas_xerbla(name, position);
    call_groups<RowMajor, Entry>(name, row, [&](int) { return letters.get(); });
}

} // namespace qnm::cblas
