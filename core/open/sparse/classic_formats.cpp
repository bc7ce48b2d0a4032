// Conversions between compressed rows and other formats. In what is stored densely elements of one place add
// up.
#include "build.hpp"
#include "classic.hpp"

#include <qnm/core/sparse.h>

namespace qnm::core::sparse {
namespace {

/// What a conversion is told, by place.
struct Job {
    const int* said;
    int direction() const { return said[0]; } // 0 from rows, or to them from a dense matrix; 1 the other way
    int first_base() const { return said[1]; }
    int second_base() const { return said[2]; }
    int part() const { return said[3]; }
    int room() const { return said[4]; }
    int filled() const { return said[5]; }
    bool known(int directions, bool more) const
    {
        const auto below = [](int value, int bound) { return value >= 0 && value < bound; };
        return below(direction(), directions) && below(first_base(), 2) && below(second_base(), 2) && more;
    }
};
bool refused(const char* routine, bool known)
{
    if (!known)
        refuse(routine, "job");
    return !known;
}

template <class T>
using Rows = Compressed<T, int>;
template <class T>
auto value_in(const T* values)
{
    return [values](core_int place) { return values[place]; };
}

/// Where an element of a dense matrix is; one that counts from 0 is stored by rows.
struct Place {
    core_int down, right;
    Place(int base, core_int ld) : down(base == 0 ? ld : 1), right(base == 0 ? 1 : ld) {}
    core_int of(core_int i, core_int j) const { return i * down + j * right; }
};

/// visit(i, j) for a part of a matrix, in the order in which it is stored.
template <class Visit>
void each_place(int part, core_int m, core_int n, bool by_rows, const Visit& visit)
{
    const auto holds = [part](core_int i, core_int j) {
        return part == 0 ? i >= j : part == 1 ? i <= j : true;
    };
    for (core_int line = 0; line < (by_rows ? m : n); ++line)
        for (core_int other = 0; other < (by_rows ? n : m); ++other)
            if (const core_int i = by_rows ? line : other, j = by_rows ? other : line; holds(i, j))
                visit(i, j);
}

template <class T>
void dnscsr(const char* routine, const Job& job, int m, int n, T* dense, int lda, Rows<T> rows, int* info)
{
    if (refused(routine, job.known(2, job.part() >= 0 && job.part() <= 2)))
        return;
    const Place place(job.first_base(), lda);
    const bool by_rows = job.first_base() == 0;
    *info = 0;
    if (job.direction() == 0) {
        rows.most = job.filled() > 0 ? job.room() : rows.most;
        rows.index = job.filled() > 0 ? rows.index : nullptr;
        *info = static_cast<int>(gather(m, rows, value_in(dense), [&](const auto& visit) {
            each_place(job.part(), m, n, by_rows, [&](core_int i, core_int j) {
                if (const core_int p = place.of(i, j); dense[p] != T{})
                    visit(i, j, p);
            });
        }));
        return;
    }
    each_place(job.part(), m, n, by_rows, [&](core_int i, core_int j) { dense[place.of(i, j)] = T{}; });
    rows.each_of(m, [&](core_int i, core_int j, core_int p) {
        if (job.part() == 2 || (job.part() == 0 ? i >= j : i <= j))
            dense[place.of(i, j)] += rows.values[p];
    });
}

template <class T>
void csrcoo(const char* routine, const Job& job, int n, int* nnz, Rows<T> rows, T* values, int* row,
            int* column, int* info)
{
    enum { only_starts = 1, only_rows = 1, also_columns = 2, everything = 3 };
    const bool to_rows = job.direction() > 0;
    const int least = to_rows ? 0 : only_rows, most = to_rows ? 2 : everything;
    if (refused(routine, job.known(3, job.filled() >= least && job.filled() <= most)))
        return;
    const int base = job.second_base();
    *info = 0;
    if (to_rows) {
        rows.index = job.filled() == only_starts ? nullptr : rows.index;
        gather(n, rows, value_in(values), [&](const auto& visit) {
            for (core_int p = 0; p < *nnz; ++p)
                visit(core_int{row[p]} - base, core_int{column[p]} - base, p);
        });
        if (job.direction() == 2 && rows.index != nullptr)
            sort_lines(n, rows);
        return;
    }
    *nnz = rows.start[n] - rows.start[0];
    if (*nnz > job.room()) {
        *info = 1;
        return;
    }
    rows.each_of(n, [&](core_int i, core_int j, core_int p) {
        row[p] = static_cast<int>(i) + base;
        if (job.filled() >= also_columns)
            column[p] = static_cast<int>(j) + base;
        if (job.filled() == everything)
            values[p] = rows.values[p];
    });
}

template <class T>
void csrcsc(const char* routine, const Job& job, int n, Rows<T> rows, Rows<T> columns, int* info)
{
    if (refused(routine, job.known(2, true)))
        return;
    Rows<T>&from = job.direction() == 0 ? rows : columns, &to = job.direction() == 0 ? columns : rows;
    to.values = job.filled() == 0 ? nullptr : to.values;
    gather(n, to, value_in(from.values), [&](const auto& visit) {
        from.each_of(n, [&](core_int line, core_int index, core_int p) { visit(index, line, p); });
    });
    *info = 0;
}

template <class T>
void csrbsr(const char* routine, const Job& job, int m, int block, int ld, Rows<T> rows, Rows<T> blocks,
            int* info)
{
    if (refused(routine, job.known(2, job.filled() >= 0)))
        return;
    const core_int size = core_int{block} * block;
    if (ld < size) {
        *info = 2;
        return;
    }
    const Place within(job.second_base(), block);
    if (job.direction() == 1) {
        rows.values = job.filled() == 0 ? nullptr : rows.values;
        gather(core_int{m} * block, rows, value_in(blocks.values), [&](const auto& visit) {
            blocks.each_of(m, [&](core_int row, core_int column, core_int p) {
                for (core_int i = 0; i < block; ++i)
                    for (core_int j = 0; j < block; ++j)
                        visit(row * block + i, column * block + j, p * ld + within.of(i, j));
            });
        });
        *info = 0;
        return;
    }
    core_int last = 0;
    rows.each_of(m, [&](core_int, core_int j, core_int) { last = std::max(last, j); });
    const core_int columns = last / block + 1;
    const Scratch<int> places(routine, columns);
    if (!places) {
        *info = -memory_failure;
        return;
    }
    std::fill_n(places.get(), columns, 0);
    blocks.values = job.filled() == 0 ? nullptr : blocks.values;
    build_blocks(
        m, block, ld, blocks, places.get(), [&](core_int i, core_int j) { return within.of(i, j); },
        [&](core_int i, const auto& visit) { rows.each(i, visit); }, value_in(rows.values));
    *info = 0;
}

/// The distances of the most populated diagonals, ascending, into `distance`. `populated` counts for
/// distances from 1 - n on; `order` has room for as many.
int densest(int n, int wanted, const int* populated, int* order, int* distance)
{
    int found = 0;
    for (int d = 1 - n; d < n; ++d)
        if (populated[d + n - 1] != 0)
            order[found++] = d;
    const int taken = std::min(wanted, found);
    std::partial_sort(order, order + taken, order + found, [&](int a, int b) {
        const int more = populated[a + n - 1] - populated[b + n - 1], nearer = std::abs(b) - std::abs(a);
        return more != 0 ? more > 0 : nearer != 0 ? nearer > 0 : a < b;
    });
    std::copy_n(order, taken, distance);
    std::sort(distance, distance + taken);
    return taken;
}

template <class T>
void csrdia(const char* routine, const Job& job, int n, Rows<T> rows, T* values, int ld, int* distance,
            int* diagonals, Rows<T> rest, int* info)
{
    const bool to_rows = job.direction() == 1, has_rest = job.filled() % 10 == 1;
    if (refused(routine, job.known(2, to_rows || ((job.filled() % 10 == 0 || has_rest) &&
                                                  (job.filled() / 10 == 0 || job.filled() / 10 == 1)))))
        return;
    if (to_rows) {
        gather(n, rows, value_in(values), [&](const auto& visit) {
            for (core_int d = 0; d < *diagonals; ++d)
                for (core_int i = std::max<core_int>(0, -distance[d]);
                     i < std::min<core_int>(n, n - core_int{distance[d]}); ++i)
                    if (const core_int p = i + d * ld; job.filled() != 0 || values[p] != T{})
                        visit(i, i + distance[d], p);
        });
        sort_lines(n, rows);
        *info = 0;
        return;
    }
    const int all = std::max(2 * n - 1, 1);
    const Scratch<int> scratch(routine, 2 * core_int{all});
    if (!scratch) {
        *info = -memory_failure;
        return;
    }
    int *const of_distance = scratch.get(), *const order = of_distance + all;
    const auto slot = [&](core_int i, core_int j) -> int& { return of_distance[j - i + n - 1]; };
    std::fill_n(of_distance, all, 0);
    if (job.filled() >= 10) {
        rows.each_of(n, [&](core_int i, core_int j, core_int) { ++slot(i, j); });
        *diagonals = densest(n, *diagonals, of_distance, order, distance);
        std::fill_n(of_distance, all, 0);
    }
    for (int d = 0; d < *diagonals; ++d) {
        std::fill_n(values + core_int{d} * ld, n, T{});
        if (distance[d] > -n && distance[d] < n)
            slot(0, distance[d]) = d + 1;
    }
    rows.each_of(n, [&](core_int i, core_int j, core_int p) {
        if (const core_int d = slot(i, j); d != 0)
            values[i + (d - 1) * ld] += rows.values[p];
    });
    if (has_rest)
        gather(n, rest, value_in(rows.values), [&](const auto& visit) {
            rows.each_of(n, [&](core_int i, core_int j, core_int p) {
                if (slot(i, j) == 0)
                    visit(i, j, p);
            });
        });
    *info = 0;
}

/// Lines of a skyline, each of which ends on the diagonal, are rows of the lower or columns of the upper
/// triangle.
template <class T>
void csrsky(const char* routine, const Job& job, int n, Rows<T> rows, T* values, int* start, int* info)
{
    if (refused(routine, job.known(2, job.part() == 0 || job.part() == 1)))
        return;
    const bool lower = job.part() == 0;
    const int base = job.second_base();
    *info = 0;
    if (job.direction() == 1) {
        gather(n, rows, value_in(values), [&](const auto& visit) {
            for (core_int line = 0; line < n; ++line)
                for (core_int p = start[line] - base, behind = start[line + 1] - base; p < behind; ++p)
                    if (const core_int other = line + 1 - (behind - p); values[p] != T{})
                        visit(lower ? line : other, lower ? other : line, p);
        });
        return;
    }
    const auto each = [&](const auto& visit) {
        rows.each_of(n, [&](core_int i, core_int j, core_int p) {
            if (lower ? j <= i : j >= i)
                visit(lower ? i : j, lower ? i - j : j - i, p);
        });
    };
    std::fill_n(start + 1, n, 1);
    each([&](core_int line, core_int away, core_int) {
        start[line + 1] = std::max(start[line + 1], static_cast<int>(away) + 1);
    });
    start[0] = base;
    for (core_int line = 0; line < n; ++line)
        start[line + 1] += start[line];
    if (job.filled() == 0)
        return;
    if (start[n] - base > job.room()) {
        *info = 1;
        return;
    }
    std::fill_n(values, start[n] - base, T{});
    each([&](core_int line, core_int away, core_int p) {
        values[start[line + 1] - base - 1 - away] += rows.values[p];
    });
}

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core::sparse;

#define CONVERSIONS(l, L, T)                                                                                 \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##dnscsr(const int* job, const int* m, const int* n, T* adns,       \
                                                  const int* lda, T* acsr, int* ja, int* ia, int* info)      \
    {                                                                                                        \
        dnscsr<T>("QNM_" #L "DNSCSR", {job}, *m, *n, adns, *lda, {ia, ja, acsr, job[2]}, info);              \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csrcoo(const int* job, const int* n, int* nnz, T* acsr, int* ja,  \
                                                  int* ia, T* acoo, int* rowind, int* colind, int* info)     \
    {                                                                                                        \
        csrcoo<T>("QNM_" #L "CSRCOO", {job}, *n, nnz, {ia, ja, acsr, job[1]}, acoo, rowind, colind, info);   \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csrcsc(const int* job, const int* n, T* acsr, int* ja, int* ia,   \
                                                  T* acsc, int* ja1, int* ia1, int* info)                    \
    {                                                                                                        \
        csrcsc<T>("QNM_" #L "CSRCSC", {job}, *n, {ia, ja, acsr, job[1]}, {ia1, ja1, acsc, job[2]}, info);    \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csrbsr(const int* job, const int* m, const int* mblk,             \
                                                  const int* ldabsr, T* acsr, int* ja, int* ia, T* absr,     \
                                                  int* jab, int* iab, int* info)                             \
    {                                                                                                        \
        csrbsr<T>("QNM_" #L "CSRBSR", {job}, *m, *mblk, *ldabsr, {ia, ja, acsr, job[1]},                     \
                  {iab, jab, absr, job[2]}, info);                                                           \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csrdia(const int* job, const int* n, T* acsr, int* ja, int* ia,   \
                                                  T* adia, const int* ndiag, int* distance, int* idiag,      \
                                                  T* acsr_rem, int* ja_rem, int* ia_rem, int* info)          \
    {                                                                                                        \
        csrdia<T>("QNM_" #L "CSRDIA", {job}, *n, {ia, ja, acsr, job[1]}, adia, *ndiag, distance, idiag,      \
                  {ia_rem, ja_rem, acsr_rem, job[1]}, info);                                                 \
    }                                                                                                        \
    QNM_CORE void qnm_spblas_lp64_qnm_##l##csrsky(const int* job, const int* n, T* acsr, int* ja, int* ia,   \
                                                  T* asky, int* pointers, int* info)                         \
    {                                                                                                        \
        csrsky<T>("QNM_" #L "CSRSKY", {job}, *n, {ia, ja, acsr, job[1]}, asky, pointers, info);              \
    }
QNM_ALL_LETTERS(CONVERSIONS)
