// Sums and products whose result is a matrix. Indices count from 1, and a result's ascend in each row.
#include "build.hpp"
#include "classic.hpp"

namespace qnm::core::sparse {
namespace {

template <class T>
using Rows = Compressed<T, int>;

enum Request { everything = 0, only_starts = 1, all_but_starts = 2 };
/// Sorts A or B, `operand` 1 or 2, where values are computed and `sort` asks for it; 7 is none.
template <class T>
void sort_operand(int request, int sort, int operand, core_int lines, const Rows<T>& x)
{
    if (request != only_starts && sort > 0 && sort < 7 && (sort & operand) != 0)
        sort_lines(lines, x);
}

/// op(X) of `lines` rows, which has memory of its own if it is not X itself, and values if they are wanted.
template <class T>
struct Operand {
    Scratch<T> values;
    Scratch<int> indices;
    Rows<T> rows;
    bool made = true;

    Operand(const char* routine, const char* trans, core_int x_lines, core_int lines, const Rows<T>& x,
            bool valued)
        : rows(x)
    {
        if (is_letter(trans, 'N'))
            return;
        const core_int count = x_lines == 0 ? 0 : x.start[x_lines] - x.start[0];
        indices = Scratch<int>(routine, lines + 1 + count);
        if (indices && valued)
            values = Scratch<T>(routine, count);
        made = indices && (values || !valued);
        if (!made)
            return;
        rows = {indices.get(), indices.get() + lines + 1, values.get(), 1};
        const bool conjugates = is_letter(trans, 'C');
        gather(
            lines, rows, [&](core_int p) { return conjugates ? conjugate(x.values[p]) : x.values[p]; },
            [&](const auto& visit) {
                x.each_of(x_lines, [&](core_int line, core_int index, core_int p) { visit(index, line, p); });
            });
    }
};

/// C row by row: each(row, visit) calls visit(column, term), where term() is added to the element.
template <class T, class Each>
void make(const char* routine, int request, core_int lines, core_int columns, Rows<T> c, int most, int* info,
          const Each& each)
{
    const Scratch<int> places(routine, columns);
    if (!places) {
        *info = -memory_failure;
        return;
    }
    std::fill_n(places.get(), columns, 0);
    if (request == only_starts)
        c.index = nullptr;
    else if (request == everything)
        c.most = most;
    *info = static_cast<int>(build(
        lines, c, places.get(),
        [&](core_int row, const auto& add) { each(row, [&](core_int column, const auto&) { add(column); }); },
        [&](core_int row, core_int first, core_int behind, const auto& place) {
            std::fill(c.values + first, c.values + behind, T{});
            each(row, [&](core_int column, const auto& term) { c.values[place(column)] += term(); });
        }));
}

bool refused(const char* routine, int request)
{
    const bool known = request >= everything && request <= all_but_starts;
    if (!known)
        refuse(routine, "request");
    return !known;
}

/// C := A + beta op(B)
template <class T>
void csradd(const char* routine, const char* trans, int request, int sort, int m, int n, const Rows<T>& a,
            T beta, const Rows<T>& b, const Rows<T>& c, int nzmax, int* info)
{
    if (refused(routine, request))
        return;
    const int b_rows = is_letter(trans, 'N') ? m : n;
    const Operand<T> op(routine, trans, b_rows, m, b, request != only_starts);
    if (!op.made) {
        *info = -memory_failure;
        return;
    }
    sort_operand(request, sort, 1, m, a);
    sort_operand(request, sort, 2, b_rows, b);
    make(routine, request, m, n, c, nzmax, info, [&](core_int row, const auto& visit) {
        a.each(row, [&](core_int j, core_int p) { visit(j, [&] { return a.values[p]; }); });
        op.rows.each(
            row, [&](core_int j, core_int p) { visit(j, [&] { return times(beta, op.rows.values[p]); }); });
    });
}

/// C := op(A) B
template <class T>
void csrmultcsr(const char* routine, const char* trans, int request, int sort, int m, int n, int k,
                const Rows<T>& a, const Rows<T>& b, const Rows<T>& c, int nzmax, int* info)
{
    if (refused(routine, request))
        return;
    const int rows = is_letter(trans, 'N') ? m : n;
    const Operand<T> op(routine, trans, m, rows, a, request != only_starts);
    if (!op.made) {
        *info = -memory_failure;
        return;
    }
    sort_operand(request, sort, 1, m, a);
    sort_operand(request, sort, 2, is_letter(trans, 'N') ? n : m, b);
    make(routine, request, rows, k, c, nzmax, info, [&](core_int row, const auto& visit) {
        op.rows.each(row, [&](core_int l, core_int p) {
            b.each(l, [&](core_int j, core_int q) {
                visit(j, [&] { return times(op.rows.values[p], b.values[q]); });
            });
        });
    });
}

/// The same, into a dense matrix by columns.
template <class T>
void csrmultd(const char* trans, int m, int n, int k, const Rows<T>& a, const Rows<T>& b, T* c, int ldc)
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

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core::sparse;

#define RESULTS(l, L, T)                                                                                     \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csradd(                                                           \
        const char* trans, const int* request, const int* sort, const int* m, const int* n, T* a, int* ja,   \
        int* ia, const T* beta, T* b, int* jb, int* ib, T* c, int* jc, int* ic, const int* nzmax, int* info) \
    {                                                                                                        \
        csradd<T>("QNM_" #L "CSRADD", trans, *request, *sort, *m, *n, {ia, ja, a, 1}, *beta, {ib, jb, b, 1}, \
                  {ic, jc, c, 1}, *nzmax, info);                                                             \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csrmultcsr(                                                       \
        const char* trans, const int* request, const int* sort, const int* m, const int* n, const int* k,    \
        T* a, int* ja, int* ia, T* b, int* jb, int* ib, T* c, int* jc, int* ic, const int* nzmax, int* info) \
    {                                                                                                        \
        csrmultcsr<T>("QNM_" #L "CSRMULTCSR", trans, *request, *sort, *m, *n, *k, {ia, ja, a, 1},            \
                      {ib, jb, b, 1}, {ic, jc, c, 1}, *nzmax, info);                                         \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csrmultd(const char* trans, const int* m, const int* n,           \
                                                    const int* k, T* a, int* ja, int* ia, T* b, int* jb,     \
                                                    int* ib, T* c, const int* ldc)                           \
    {                                                                                                        \
        csrmultd<T>(trans, *m, *n, *k, {ia, ja, a, 1}, {ib, jb, b, 1}, c, *ldc);                             \
    }
QNM_ALL_LETTERS(RESULTS)
