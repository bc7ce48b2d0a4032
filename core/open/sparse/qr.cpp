// Least squares by the engine's sparse QR, of real matrices with narrow integers. The engine's memory is its
// own.
#include "handle.hpp"

#include <Eigen/OrderingMethods>
#include <Eigen/SparseCore>
#include <Eigen/SparseQR>

namespace qnm::core::sparse {
namespace {

using Narrow = std::int32_t;
template <class T>
using Vectors = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;

template <class T>
struct Factors final : Kept {
    using Columns = Eigen::SparseMatrix<T, Eigen::ColMajor, Narrow>;
    Eigen::SparseQR<Columns, Eigen::COLAMDOrdering<Narrow>> qr;
    Eigen::SparseMatrix<T, Eigen::RowMajor, Narrow> r; // in ascending order, as solves need it
    bool factored = false;
};

template <class T>
auto engines_matrix(const Matrix<T, Narrow>& m, const T* other_values)
{
    Arrays<T, Narrow> a = m.a;
    if (other_values != nullptr)
        a.values = const_cast<T*>(other_values); // which nobody writes
    const Rows<T, Narrow> rows = Matrix<T, Narrow>(a).stored(
        [](const auto& view) { return sorted<Narrow>(view, Operation::plain, general); });
    return typename Factors<T>::Columns(Eigen::Map<const Eigen::SparseMatrix<T, Eigen::RowMajor, Narrow>>(
        rows.rows, rows.columns, rows.count(), rows.start.get(), rows.index.get(), rows.value.get()));
}

/// A block of the caller's vectors, there and back.
template <class T>
Vectors<T> engines_vectors(Dense<const T> b, core_int rows)
{
    Vectors<T> made(rows, b.columns);
    for (core_int c = 0; c < b.columns; ++c)
        for (core_int i = 0; i < rows; ++i)
            made(i, c) = b.at[b.layout == Layout::by_rows ? i * b.ld + c : i + c * b.ld];
    return made;
}
template <class T>
void store(const Vectors<T>& from, Dense<T> x)
{
    for (core_int c = 0; c < x.columns; ++c)
        for (core_int i = 0; i < from.rows(); ++i)
            x.at[x.layout == Layout::by_rows ? i * x.ld + c : i + c * x.ld] = from(i, c);
}

template <class T, class Work>
Status of_real(Handle* handle, const Work& work)
{
    return with_width<T, Narrow>(handle,
                                 [&](Matrix<T, Narrow>& m) { return m.complete ? work(m) : invalid; });
}

template <class T>
Status reorder(Matrix<T, Narrow>& m, Descriptor d)
{
    if (!fits(m, d))
        return invalid;
    if (d.type != Type::general || m.a.rows < m.a.columns || m.a.columns == 0)
        return unsupported;
    auto made = std::make_unique<Factors<T>>();
    made->qr.analyzePattern(engines_matrix<T>(m, nullptr));
    m.factors = std::move(made);
    return ok;
}

template <class T>
Status factorize(Matrix<T, Narrow>& m, const T* other_values)
{
    if (dynamic_cast<Factors<T>*>(m.factors.get()) == nullptr)
        if (const Status status = reorder(m, general); status != ok)
            return status;
    auto& f = static_cast<Factors<T>&>(*m.factors);
    f.factored = false;
    f.qr.factorize(engines_matrix(m, other_values));
    if (f.qr.info() != Eigen::Success)
        return failed;
    f.r = f.qr.matrixR().topRows(m.a.columns);
    f.factored = true;
    return ok;
}

/// x := Q b, its transpose's product, or with `solves` x := P R^-1 b; with both, the least-squares solution.
template <class T>
Status apply(Matrix<T, Narrow>& m, Operation op, bool multiplies, bool solves, Dense<T> x, Dense<const T> b)
{
    const core_int rows = m.a.rows, columns = m.a.columns;
    if (!is_operation(op) || !is_block(x, solves ? columns : rows) ||
        !is_block(b, multiplies ? rows : columns))
        return invalid;
    auto* const f = dynamic_cast<Factors<T>*>(m.factors.get());
    if (f == nullptr || !f->factored)
        return not_initialised;
    if (solves && op != Operation::plain)
        return unsupported;
    Vectors<T> now = engines_vectors(b, multiplies ? rows : columns);
    if (multiplies) {
        Vectors<T> product;
        if (solves || op != Operation::plain)
            product = f->qr.matrixQ().transpose() * now;
        else
            product = f->qr.matrixQ() * now;
        now = std::move(product);
    }
    if (solves) {
        if (f->qr.rank() < columns)
            return failed; // R has no inverse
        const Vectors<T> solved = f->r.template triangularView<Eigen::Upper>().solve(now.topRows(columns));
        now = f->qr.colsPermutation() * solved;
    }
    store(now, x);
    return ok;
}

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core;
using namespace qnm::core::sparse;

#define QNM_QR(l, L, T)                                                                                      \
    QNM_CORE int qnm_sparse_##l##_qr_factorize_i4(Handle* a, const T* values)                                \
    {                                                                                                        \
        return of_real<T>(a, [&](auto& m) { return factorize(m, values); });                                 \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_qr_solve_i4(Operation op, Handle* a, const T* values, Layout layout,       \
                                              Narrow columns, T* x, Narrow ldx, const T* b, Narrow ldb)      \
    {                                                                                                        \
        return of_real<T>(a, [&](auto& m) {                                                                  \
            if (values != nullptr)                                                                           \
                if (const Status status = factorize(m, values); status != ok)                                \
                    return status;                                                                           \
            return apply<T>(m, op, true, true, {x, columns, ldx, layout}, {b, columns, ldb, layout});        \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_qr_qmult_i4(Operation op, Handle* a, Layout layout, Narrow columns, T* x,  \
                                              Narrow ldx, const T* b, Narrow ldb)                            \
    {                                                                                                        \
        return of_real<T>(a, [&](auto& m) {                                                                  \
            return apply<T>(m, op, true, false, {x, columns, ldx, layout}, {b, columns, ldb, layout});       \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_qr_rsolve_i4(Operation op, Handle* a, Layout layout, Narrow columns, T* x, \
                                               Narrow ldx, const T* b, Narrow ldb)                           \
    {                                                                                                        \
        return of_real<T>(a, [&](auto& m) {                                                                  \
            return apply<T>(m, op, false, true, {x, columns, ldx, layout}, {b, columns, ldb, layout});       \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_qr_i4(Operation op, Handle* a, Descriptor d, Layout layout,                \
                                        Narrow columns, T* x, Narrow ldx, const T* b, Narrow ldb)            \
    {                                                                                                        \
        return of_real<T>(a, [&](auto& m) {                                                                  \
            Status status = reorder(m, d);                                                                   \
            if (status == ok)                                                                                \
                status = factorize<T>(m, nullptr);                                                           \
            return status != ok                                                                              \
                       ? status                                                                              \
                       : apply<T>(m, op, true, true, {x, columns, ldx, layout}, {b, columns, ldb, layout});  \
        });                                                                                                  \
    }
QNM_REAL_LETTERS(QNM_QR)

QNM_CORE int qnm_sparse_qr_reorder_i4(Handle* a, Descriptor d)
{
    return with_any(a, [&]<class T, class I>(Matrix<T, I>& m) {
        if constexpr (is_complex<T> || !std::is_same_v<I, Narrow>)
            return unsupported;
        else
            return reorder(m, d);
    });
}
QNM_CORE int qnm_sparse_set_qr_hint_i4(Handle* a, int hint)
{
    return a == nullptr ? not_initialised : hint == 0 ? ok : invalid;
}
