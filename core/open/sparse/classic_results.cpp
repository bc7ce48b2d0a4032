// Sums and products whose result is a matrix. Indices count from 1, and a result's ascend in each row.
#include "assemble.hpp"
#include "build.hpp"
#include "classic.hpp"

namespace qnm::core::sparse {
namespace {

/// A, B or C in three arrays.
template <class T>
using Stored = Compressed<T, int>;

enum Request { everything = 0, only_starts = 1, all_but_starts = 2 };

bool refused(const char* routine, int request)
{
    const bool known = request >= everything && request <= all_but_starts;
    if (!known)
        refuse(routine, "request");
    return !known;
}

template <class T>
Lines<T, int> lines(const Stored<T>& x, core_int rows, core_int columns)
{
    return {rows, columns, x.start, x.start + 1, x.index, x.values, x.base, x.base};
}

/// op(X), rows of which are X's own unless they have to be made.
template <class T>
struct Operand {
    Rows<T, int> made;
    Lines<T, int> rows;

    Operand(const char* trans, const Lines<T, int>& x) : rows(x)
    {
        if (is_letter(trans, 'N'))
            return;
        const bool conjugates = is_letter(trans, 'C');
        made = collected<T, int>(x.others, x.count, [&](const auto& visit) {
            for_each_element(
                x, [&](core_int i, core_int j, T v) { visit(j, i, conjugates ? conjugate(v) : v); });
        });
        rows = made.view();
    }
};

/// C, whose rows are what sum_row(row, add) gives to add(column, value). Returns 0, or the first row, counted
/// from 1, that has no more room.
template <class T, class SumRow>
int make(int request, core_int rows, core_int columns, const Stored<T>& c, int most, const SumRow& sum_row)
{
    Rows<T, int> all;
    int* start = c.start;
    if (request != all_but_starts) {
        all = counted<T, int>(rows, columns, sum_row);
        start = all.start.get();
        const int* const full = std::upper_bound(start, start + rows + 1, most);
        if (request == everything && full != start + rows + 1)
            return static_cast<int>(full - start);
        std::for_each(start, start + rows + 1, [&](int& first) { first += c.base; });
    }
    if (request != only_starts)
        fill(rows, columns, start, c.base, c.index, c.values, sum_row);
    if (request != all_but_starts) // now that all memory was there
        std::copy_n(start, rows + 1, c.start);
    return 0;
}

/// Sorts A or B, 1 or 2, where values are computed and `sort` asks for it; 7 is none.
template <class T>
void sort_operand(int request, int sort, int operand, core_int rows, const Stored<T>& x)
{
    if (request != only_starts && sort > 0 && sort < 7 && (sort & operand) != 0)
        sort_lines(rows, x);
}

/// C := A + beta op(B)
template <class T>
int csradd(const char* trans, int request, int sort, int m, int n, const Stored<T>& a, T beta,
           const Stored<T>& b, const Stored<T>& c, int nzmax)
{
    const bool turns = !is_letter(trans, 'N');
    sort_operand(request, sort, 1, m, a);
    sort_operand(request, sort, 2, turns ? n : m, b);
    const Operand<T> op(trans, lines(b, turns ? n : m, turns ? m : n));
    return make(request, m, n, c, nzmax, [&](core_int row, const auto& add) {
        a.each(row, [&](core_int j, core_int p) { add(j, a.values[p]); });
        op.rows.each(row, [&](core_int j, T v) { add(j - op.rows.base, times(beta, v)); });
    });
}

/// C := op(A) B
template <class T>
int csrmultcsr(const char* trans, int request, int sort, int m, int n, int k, const Stored<T>& a,
               const Stored<T>& b, const Stored<T>& c, int nzmax)
{
    const bool turns = !is_letter(trans, 'N');
    sort_operand(request, sort, 1, m, a);
    sort_operand(request, sort, 2, turns ? m : n, b);
    const Operand<T> op(trans, lines(a, m, n));
    return make(request, turns ? n : m, k, c, nzmax, [&](core_int row, const auto& add) {
        op.rows.each(row, [&](core_int l, T v) {
            b.each(l - op.rows.base, [&](core_int j, core_int p) { add(j, times(v, b.values[p])); });
        });
    });
}

/// The same, into a dense matrix by columns.
template <class T>
void csrmultd(const char* trans, int m, int n, int k, const Stored<T>& a, const Stored<T>& b, T* c, int ldc)
{
    const bool plain = is_letter(trans, 'N'), conjugates = is_letter(trans, 'C');
    for (core_int j = 0; j < k; ++j)
        std::fill_n(c + j * ldc, plain ? m : n, T{});
    a.each_of(m, [&](core_int i, core_int l, core_int p) {
        const T element = conjugates ? conjugate(a.values[p]) : a.values[p];
        b.each(plain ? l : i,
               [&](core_int j, core_int q) { c[(plain ? i : l) + j * ldc] += times(element, b.values[q]); });
    });
}

/// Where memory fails, outputs are as they were.
template <class Work>
void told(const char* routine, int request, int* info, const Work& work)
{
    if (refused(routine, request))
        return;
    try {
        *info = work();
    } catch (const std::bad_alloc&) {
        report(routine, memory_failure);
        *info = -memory_failure;
    }
}

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core::sparse;

#define RESULTS(l, L, T)                                                                                     \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csradd(                                                           \
        const char* trans, const int* request, const int* sort, const int* m, const int* n, T* a, int* ja,   \
        int* ia, const T* beta, T* b, int* jb, int* ib, T* c, int* jc, int* ic, const int* nzmax, int* info) \
    {                                                                                                        \
        told("QNM_" #L "CSRADD", *request, info, [&] {                                                       \
            return csradd<T>(trans, *request, *sort, *m, *n, {ia, ja, a, 1}, *beta, {ib, jb, b, 1},          \
                             {ic, jc, c, 1}, *nzmax);                                                        \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csrmultcsr(                                                       \
        const char* trans, const int* request, const int* sort, const int* m, const int* n, const int* k,    \
        T* a, int* ja, int* ia, T* b, int* jb, int* ib, T* c, int* jc, int* ic, const int* nzmax, int* info) \
    {                                                                                                        \
        told("QNM_" #L "CSRMULTCSR", *request, info, [&] {                                                   \
            return csrmultcsr<T>(trans, *request, *sort, *m, *n, *k, {ia, ja, a, 1}, {ib, jb, b, 1},         \
                                 {ic, jc, c, 1}, *nzmax);                                                    \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csrmultd(const char* trans, const int* m, const int* n,           \
                                                    const int* k, T* a, int* ja, int* ia, T* b, int* jb,     \
                                                    int* ib, T* c, const int* ldc)                           \
    {                                                                                                        \
        csrmultd<T>(trans, *m, *n, *k, {ia, ja, a, 1}, {ib, jb, b, 1}, c, *ldc);                             \
    }
QNM_ALL_LETTERS(RESULTS)
