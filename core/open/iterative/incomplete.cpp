// Incomplete LU factors of sparse rows, after Saad: with the pattern of A, and with fill bounded by size and
// number.
#include "../array.hpp"
#include "../guarded.hpp"
#include "parameters.hpp"

#include <qnm/core/solvers.h>

#include <functional>

namespace qnm::core::iterative {
namespace {

enum Error : core_int {
    none = 0,
    no_diagonal = -101,
    zero_pivot = -102,
    small_pivot = -103,
    no_memory = -104,
    bad_size = -105,
    bad_columns = -106
};

/// Places and columns from 0; rows are stored from 1.
struct Rows {
    core_int n;
    const double* a;
    const core_int *ia, *ja;

    core_int begin(core_int i) const { return ia[i] - 1; }
    core_int end(core_int i) const { return ia[i + 1] - 1; }
    bool is_ascending() const
    {
        if (ia[0] != 1)
            return false;
        for (core_int i = 0; i < n; ++i) {
            core_int before = 0;
            for (core_int k = begin(i); k < end(i); ++k)
                if (std::exchange(before, ja[k]) >= ja[k] || ja[k] > n)
                    return false;
        }
        return true;
    }
};

Error settle(double& pivot, const Parameters& p)
{
    if (!(std::abs(pivot) < p[least_pivot]) && pivot != 0)
        return none;
    if (p[replaces_pivots] == 0)
        return pivot == 0 ? zero_pivot : small_pivot;
    pivot = p[other_pivot];
    return none;
}

Error keep_pattern(const Rows& rows, double* lu, const Parameters& p)
{
    if (rows.n < 1)
        return bad_size;
    if (!rows.is_ascending())
        return bad_columns;
    const auto place = Array<core_int>::zeros(rows.n); // in the present row, from 1
    const Array<core_int> diagonal(rows.n);
    std::copy_n(rows.a, rows.end(rows.n - 1), lu);
    for (core_int i = 0; i < rows.n; ++i) {
        const core_int begin = rows.begin(i), end = rows.end(i);
        for (core_int k = begin; k < end; ++k)
            place[rows.ja[k] - 1] = k + 1;
        if (place[i] == 0)
            return no_diagonal;
        diagonal[i] = place[i] - 1;
        for (core_int k = begin; k < diagonal[i]; ++k) {
            const core_int above = rows.ja[k] - 1;
            const double factor = lu[k] /= lu[diagonal[above]];
            for (core_int t = diagonal[above] + 1; t < rows.end(above); ++t)
                if (const core_int to = place[rows.ja[t] - 1]; to != 0)
                    lu[to - 1] -= factor * lu[t];
        }
        if (const Error error = settle(lu[diagonal[i]], p); error != none)
            return error;
        for (core_int k = begin; k < end; ++k)
            place[rows.ja[k] - 1] = 0;
    }
    return none;
}

/// A row that grows while it is eliminated: its elements by column, and which there are.
struct Growing {
    Array<double> value;
    Array<unsigned char> present;
    Array<core_int> lower,
        upper; // columns left of the diagonal, a heap with the first of them on top; and right of it
    core_int lowers = 0, uppers = 0;

    explicit Growing(core_int n) : value(n), present(Array<unsigned char>::zeros(n)), lower(n), upper(n) {}
    void add(core_int i, core_int column, double more)
    {
        if (present[column] != 0) {
            value[column] += more;
            return;
        }
        present[column] = 1;
        value[column] = more;
        if (column < i) {
            lower[lowers++] = column;
            std::push_heap(lower.get(), lower.get() + lowers, std::greater<>());
        } else if (column > i) {
            upper[uppers++] = column;
        }
    }
    core_int next_lower()
    {
        std::pop_heap(lower.get(), lower.get() + lowers, std::greater<>());
        return lower[--lowers];
    }
    /// Of `count` columns the larger elements, `most` of them, in ascending order.
    core_int largest(core_int* columns, core_int count, core_int most) const
    {
        if (count > most) {
            std::nth_element(columns, columns + most, columns + count, [this](core_int j, core_int k) {
                return std::abs(value[j]) > std::abs(value[k]);
            });
            count = most;
        }
        std::sort(columns, columns + count);
        return count;
    }
};

Error keep_largest(const Rows& rows, double* lu, core_int* start, core_int* index, double tolerance,
                   core_int most, const Parameters& p)
{
    const core_int n = rows.n;
    if (n < 1 || most < 0 || most > n) // with more the factors' room would shrink again
        return bad_size;
    if (!rows.is_ascending())
        return bad_columns;
    Growing row(n);
    const Array<core_int> diagonal(n), kept(n);
    start[0] = 1;
    for (core_int i = 0; i < n; ++i) {
        if (rows.begin(i) == rows.end(i))
            return no_diagonal;
        row.lowers = row.uppers = 0;
        row.add(i, i, 0);
        for (core_int k = rows.begin(i); k < rows.end(i); ++k)
            row.add(i, rows.ja[k] - 1, rows.a[k]);
        const core_int elements = rows.end(i) - rows.begin(i);
        const double least = std::abs(tolerance) * norm_of(elements, rows.a + rows.begin(i));
        const auto is_small = [&](core_int column) { return std::abs(row.value[column]) < least; };
        core_int factors = 0;
        while (row.lowers > 0) {
            const core_int above = row.next_lower();
            row.present[above] = 0;
            row.value[above] /= lu[diagonal[above]];
            if (is_small(above))
                continue;
            kept[factors++] = above;
            for (core_int t = diagonal[above] + 1; t < start[above + 1] - 1; ++t)
                row.add(i, index[t] - 1, -row.value[above] * lu[t]);
        }
        core_int at = start[i] - 1;
        const auto store = [&](core_int column) {
            lu[at] = row.value[column];
            index[at++] = column + 1;
        };
        factors = row.largest(kept.get(), factors, most);
        std::for_each_n(kept.get(), factors, store);
        diagonal[i] = at;
        if (const Error error = settle(row.value[i], p); error != none)
            return error;
        store(i);
        row.present[i] = 0;
        for (core_int k = 0; k < row.uppers; ++k)
            row.present[row.upper[k]] = 0;
        core_int* const end = std::remove_if(row.upper.get(), row.upper.get() + row.uppers, is_small);
        row.uppers = row.largest(row.upper.get(), end - row.upper.get(), most);
        std::for_each_n(row.upper.get(), row.uppers, store);
        start[i + 1] = at + 1;
    }
    return none;
}

} // namespace
} // namespace qnm::core::iterative

using qnm::core::core_int;
using qnm::core::guarded;
using namespace qnm::core::iterative;

QNM_CORE void qnm_iss_dcsrilu0(const core_int* n, const double* a, const core_int* ia, const core_int* ja,
                               double* bilu0, core_int* ipar, double* dpar, core_int* ierr)
{
    *ierr = guarded<no_memory, no_memory>([&] { return keep_pattern({*n, a, ia, ja}, bilu0, {ipar, dpar}); });
}
QNM_CORE void qnm_iss_dcsrilut(const core_int* n, const double* a, const core_int* ia, const core_int* ja,
                               double* bilut, core_int* ibilut, core_int* jbilut, const double* tol,
                               const core_int* maxfil, core_int* ipar, double* dpar, core_int* ierr)
{
    *ierr = guarded<no_memory, no_memory>([&] {
        return keep_largest({*n, a, ia, ja}, bilut, ibilut, jbilut, *tol, *maxfil, {ipar, dpar});
    });
}
