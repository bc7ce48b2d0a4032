// Smoothers and preconditioners by sweeps over the rows of a square matrix.
#include "assemble.hpp"

namespace qnm::core::sparse {
namespace {

enum class Sweep : int { forward = 110, backward, symmetric };

/// Calls visit(i) for all rows, in this direction.
template <class Visit>
void over_rows(core_int n, bool forwards, const Visit& visit)
{
    for (core_int step = 0; step < n; ++step)
        visit(forwards ? step : n - 1 - step);
}

/// x_i := (1 - omega) x_i + omega (b_i - sum over the other elements of the row) / a_ii, one row after the
/// other.
template <class T, class Reader>
void relax(const Reader& rows, T omega, const T* b, T* x, bool forwards)
{
    over_rows(rows.rows, forwards, [&](core_int i) {
        T diagonal{}, sum{};
        rows.each(i, [&](core_int j, T v) {
            if (j == i)
                diagonal += v;
            else
                sum += times(v, x[j]);
        });
        const T found = (b[i] - sum) / diagonal;
        x[i] = omega == T(1) ? found : times(T(1) - omega, x[i]) + times(omega, found);
    });
}

template <class T, class I>
struct ReadRows { // what was laid out for it
    core_int rows;
    Lines<T, I> lines;
    template <class Visit>
    void each(core_int i, const Visit& visit) const
    {
        lines.each(i, visit);
    }
};

/// work(rows of op(A) as described), by those that `optimize` has laid out if they are these.
template <class T, class I, class Work>
void with_rows(const Matrix<T, I>& m, Operation op, Descriptor d, const Work& work)
{
    const Descriptor laid = m.hints.swept;
    if (m.whole_rows != nullptr && op == Operation::plain && laid.type == d.type &&
        (d.type == Type::general || (laid.mode == d.mode && laid.diag == d.diag)))
        work(ReadRows<T, I>{m.a.rows, m.whole_rows->view()});
    else
        work(RowReader<T, I>(m, op, d));
}

template <class T, class Work>
Status sweep(Handle* handle, Operation op, Descriptor d, const Work& work)
{
    return with_letter<T>(handle, [&](const auto& m) {
        if (!is_operation(op) || !fits(m, d) || m.a.rows != m.a.columns)
            return invalid;
        Status status = ok;
        with_rows(m, op, d, [&](const auto& rows) { status = work(rows); });
        return status;
    });
}

template <class T>
Status relaxation(Handle* handle, Operation op, Descriptor d, Sweep kind, T omega, T alpha, const T* b, T* x)
{
    return sweep<T>(handle, op, d, [&](const auto& rows) {
        if (rows.rows != 0 && (b == nullptr || x == nullptr))
            return invalid;
        for (core_int i = 0; i < rows.rows; ++i)
            x[i] = alpha == T{} ? T{} : times(alpha, x[i]);
        if (kind != Sweep::backward)
            relax(rows, omega, b, x, true);
        if (kind != Sweep::forward)
            relax(rows, omega, b, x, false);
        return ok;
    });
}

/// x := x + d, where (L + D) D^-1 (D + U) d = rhs - A x, by the caller's D for products and its inverse for
/// quotients.
template <class T>
Status lu_smoother(Handle* handle, Operation op, Descriptor d, const T* diagonal, const T* inverse, T* x,
                   const T* rhs)
{
    return sweep<T>(handle, op, d, [&](const auto& rows) {
        const core_int n = rows.rows;
        if (n != 0 && (diagonal == nullptr || inverse == nullptr || x == nullptr || rhs == nullptr))
            return invalid;
        const Array<T> step(n);
        const auto sum_of = [&](core_int i, const T* with, const auto& wanted) {
            T sum{};
            rows.each(i, [&](core_int j, T v) {
                if (wanted(j))
                    sum += times(v, with[j]);
            });
            return sum;
        };
        over_rows(n, true, [&](core_int i) {
            const T residual = rhs[i] - sum_of(i, x, [](core_int) { return true; });
            const T before = sum_of(i, step.get(), [i](core_int j) { return j < i; });
            step[i] = times(residual - before, inverse[i]);
        });
        over_rows(n, false, [&](core_int i) {
            const T behind = sum_of(i, step.get(), [i](core_int j) { return j > i; });
            step[i] = times(times(diagonal[i], step[i]) - behind, inverse[i]);
        });
        for (core_int i = 0; i < n; ++i)
            x[i] += step[i];
        return ok;
    });
}

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core;
using namespace qnm::core::sparse;

#define QNM_SMOOTHERS(l, T, w, I)                                                                            \
    QNM_CORE int qnm_sparse_##l##_mv_##w(Operation, T, Handle*, Descriptor, const T*, T, T*);                \
    QNM_CORE int qnm_sparse_##l##_symgs_##w(Operation op, Handle* a, Descriptor d, T alpha, const T* b,      \
                                            T* x)                                                            \
    {                                                                                                        \
        return relaxation(a, op, d, Sweep::symmetric, T(1), alpha, b, x);                                    \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_symgs_mv_##w(Operation op, Handle* a, Descriptor d, T alpha, const T* b,   \
                                               T* x, T* y)                                                   \
    {                                                                                                        \
        if (a != nullptr && y == nullptr && (b != nullptr || x != nullptr))                                  \
            return invalid;                                                                                  \
        const Status status = relaxation(a, op, d, Sweep::symmetric, T(1), alpha, b, x);                     \
        return status != ok ? static_cast<int>(status)                                                       \
                            : qnm_sparse_##l##_mv_##w(op, T(1), a, d, x, T(0), y);                           \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_sorv_##w(Sweep kind, Descriptor d, Handle* a, T omega, T alpha, T* x,      \
                                           const T* b)                                                       \
    {                                                                                                        \
        if (a != nullptr && (kind < Sweep::forward || kind > Sweep::symmetric))                              \
            return invalid;                                                                                  \
        return relaxation(a, Operation::plain, d, kind, omega, alpha, b, x);                                 \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_lu_smoother_##w(Operation op, Handle* a, Descriptor d, const T* diagonal,  \
                                                  const T* inverse, T* x, const T* rhs)                      \
    {                                                                                                        \
        return lu_smoother(a, op, d, diagonal, inverse, x, rhs);                                             \
    }
QNM_SPARSE_EACH(QNM_SMOOTHERS)
