// Some eigenvalues and singular values of real matrices with narrow integers, by the engine's Lanczos
// iteration; all at once where the matrix is small. The engine's memory is its own.
#include "handle.hpp"

#include <Eigen/Dense>
#include <Eigen/SparseCore>
#include <Spectra/MatOp/SparseCholesky.h>
#include <Spectra/SymEigsSolver.h>
#include <Spectra/SymGEigsSolver.h>
#include <cmath>

namespace qnm::core::sparse {
namespace {

using Narrow = std::int32_t;
template <class T>
using Full = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;
template <class T>
using Column = Eigen::Matrix<T, Eigen::Dynamic, 1>;
template <class T>
using Sparse = Eigen::SparseMatrix<T, Eigen::ColMajor, Narrow>;

/// Of the parameters' array. The others are for other algorithms.
enum Parameter { tolerance = 1, basis = 3, most_iterations = 4, wants_vectors = 6, parameters = 128 };

constexpr core_int small = 64; // rows of a matrix that is solved as a dense one

template <class T>
struct Pairs {
    Column<T> values;
    Full<T> vectors;
    bool converged = true;
};

struct Wish {
    bool largest;
    core_int count;
    const Narrow* pm;

    bool is_whole(core_int n) const
    {
        return pm != nullptr && count >= 1 && count <= n && pm[tolerance] >= 0 && pm[most_iterations] >= 1;
    }
    /// Whether a basis of vectors that finds them is as large as the matrix.
    bool is_dense(core_int n) const { return n <= small || n < 2 * count + 1; }
    core_int basis_of(core_int n) const
    {
        const core_int least = std::max<core_int>(2 * count + 1, 20);
        return std::min(n, std::max<core_int>(pm[basis], least));
    }
    /// Of a dense solution in ascending order: the wished ones, largest first or smallest first.
    template <class T>
    Pairs<T> of(const Column<T>& values, const Full<T>& vectors) const
    {
        Pairs<T> some{values.head(count), vectors.leftCols(count)};
        if (largest) {
            some.values = values.tail(count).reverse();
            some.vectors = vectors.rightCols(count).rowwise().reverse();
        }
        return some;
    }
};

/// A symmetric matrix by its products.
template <class T, class Multiply>
struct Operator {
    using Scalar = T;
    core_int n;
    const Multiply& multiply;

    core_int rows() const { return n; }
    core_int cols() const { return n; }
    void perform_op(const T* x, T* y) const { multiply(x, y); }
};

template <class T, class Solver>
Pairs<T> iterated(Solver& solver, const Wish& wish)
{
    solver.init();
    const auto rule = wish.largest ? Spectra::SortRule::LargestAlge : Spectra::SortRule::SmallestAlge;
    const T bound = std::max(static_cast<T>(std::pow(T(10), -wish.pm[tolerance])),
                             std::numeric_limits<T>::epsilon() * 10);
    const core_int found = solver.compute(rule, wish.pm[most_iterations], bound, rule);
    return {solver.eigenvalues(), solver.eigenvectors(), found >= wish.count};
}

template <class T, class Multiply>
Full<T> written_out(core_int n, const Multiply& multiply)
{
    Full<T> all(n, n), unit = Full<T>::Identity(n, n);
    for (core_int j = 0; j < n; ++j)
        multiply(unit.col(j).data(), all.col(j).data());
    return all;
}

template <class T, class Multiply>
Pairs<T> eigenpairs(core_int n, const Wish& wish, const Multiply& multiply)
{
    if (wish.is_dense(n)) {
        const Eigen::SelfAdjointEigenSolver<Full<T>> all(written_out<T>(n, multiply));
        return wish.of<T>(all.eigenvalues(), all.eigenvectors());
    }
    Operator<T, Multiply> op{n, multiply};
    Spectra::SymEigsSolver<Operator<T, Multiply>> solver(op, wish.count, wish.basis_of(n));
    return iterated<T>(solver, wish);
}

template <class T>
auto product_with(const Matrix<T, Narrow>& m, Operation op, Descriptor d)
{
    return [&m, op, d](const T* x, T* y) {
        m.viewed([&](const auto& view) {
            multiply(view, op, d, T(1), vector(x, columns_of(m, op)), T(0), vector(y, rows_of(m, op)));
        });
    };
}

/// What a caller gets: as many as were found, their vectors if wanted, and the norms of what is left over.
template <class T, class Left>
Status tell(const Pairs<T>& found, const Wish& wish, Narrow* k, T* values, T* vectors, T* left_over,
            const Left& left)
{
    const core_int count = found.values.size();
    *k = static_cast<Narrow>(count);
    for (core_int i = 0; i < count; ++i) {
        values[i] = found.values[i];
        const core_int n = found.vectors.rows();
        if (wish.pm[wants_vectors] != 0 && vectors != nullptr)
            std::copy_n(found.vectors.col(i).data(), n, vectors + i * n);
        if (left_over != nullptr)
            left_over[i] = left(found.values[i], Column<T>(found.vectors.col(i)));
    }
    return found.converged ? ok : failed;
}

bool is_side(const char* which)
{
    return which != nullptr && (same_letter(*which, 'L') || same_letter(*which, 'S'));
}

/// A symmetric matrix: one triangle of it, or all as it is stored.
template <class T>
bool is_symmetric(const Matrix<T, Narrow>& m, Descriptor d)
{
    return m.complete && fits(m, d) && m.a.rows == m.a.columns &&
           (is_mirrored(d.type) || d.type == Type::general);
}

template <class T>
Status ev(const char* which, const Narrow* pm, Handle* handle, Descriptor d, Narrow count, Narrow* k,
          T* values, T* vectors, T* left_over)
{
    return with_width<T, Narrow>(handle, [&](const Matrix<T, Narrow>& m) {
        if (!is_side(which) || !is_symmetric(m, d) || k == nullptr || values == nullptr)
            return invalid;
        const Wish wish{same_letter(*which, 'L'), count, pm};
        const core_int n = m.a.rows;
        if (!wish.is_whole(n))
            return invalid;
        const auto multiply_a = product_with(m, Operation::plain, d);
        return tell(eigenpairs<T>(n, wish, multiply_a), wish, k, values, vectors, left_over,
                    [&](T value, const Column<T>& x) {
                        Column<T> ax(n);
                        multiply_a(x.data(), ax.data());
                        return (ax - value * x).norm();
                    });
    });
}

template <class T>
Status gv(const char* which, const Narrow* pm, Handle* handle, Descriptor d, Handle* other, Descriptor d_b,
          Narrow count, Narrow* k, T* values, T* vectors, T* left_over)
{
    if (other == nullptr)
        return not_initialised;
    return with_width<T, Narrow>(handle, [&](const Matrix<T, Narrow>& m) {
        if (other->letter != m.letter || other->wide)
            return invalid;
        const auto& b = static_cast<const Matrix<T, Narrow>&>(*other);
        if (!is_side(which) || !is_symmetric(m, d) || !is_symmetric(b, d_b) || m.a.rows != b.a.rows ||
            k == nullptr || values == nullptr)
            return invalid;
        const Wish wish{same_letter(*which, 'L'), count, pm};
        const core_int n = m.a.rows;
        if (!wish.is_whole(n))
            return invalid;
        const auto multiply_a = product_with(m, Operation::plain, d),
                   multiply_b = product_with(b, Operation::plain, d_b);
        Pairs<T> found;
        if (wish.is_dense(n)) {
            const Full<T> full_b = written_out<T>(n, multiply_b);
            if (Eigen::LLT<Full<T>>(full_b).info() != Eigen::Success)
                return failed; // not positive definite
            const Eigen::GeneralizedSelfAdjointEigenSolver<Full<T>> all(written_out<T>(n, multiply_a),
                                                                        full_b);
            found = wish.of<T>(all.eigenvalues(), all.eigenvectors());
        } else {
            const Rows<T, Narrow> rows =
                b.stored([&](const auto& view) { return sorted<Narrow>(view, Operation::plain, d_b); });
            const Sparse<T> engines_b = Eigen::Map<const Eigen::SparseMatrix<T, Eigen::RowMajor, Narrow>>(
                n, n, rows.count(), rows.start.get(), rows.index.get(), rows.value.get());
            Spectra::SparseCholesky<T> root(engines_b);
            if (root.info() != Spectra::CompInfo::Successful)
                return failed;
            using A = Operator<T, decltype(multiply_a)>;
            A op{n, multiply_a};
            Spectra::SymGEigsSolver<A, Spectra::SparseCholesky<T>, Spectra::GEigsMode::Cholesky> solver(
                op, root, wish.count, wish.basis_of(n));
            found = iterated<T>(solver, wish);
        }
        return tell(found, wish, k, values, vectors, left_over, [&](T value, const Column<T>& x) {
            Column<T> ax(n), bx(n);
            multiply_a(x.data(), ax.data());
            multiply_b(x.data(), bx.data());
            return (ax - value * bx).norm();
        });
    });
}

/// By the eigenvalues of A'A or AA', whichever is smaller. Of the other side's vectors each is a product.
template <class T>
Status svd(const char* which, const char* side, const Narrow* pm, Handle* handle, Descriptor d, Narrow count,
           Narrow* k, T* values, T* left, T* right, T* left_over)
{
    return with_width<T, Narrow>(handle, [&](const Matrix<T, Narrow>& m) {
        const core_int rows = m.a.rows, columns = m.a.columns;
        if (!is_side(which) || side == nullptr || !m.complete || !fits(m, d) || k == nullptr ||
            values == nullptr)
            return invalid;
        const Wish wish{same_letter(*which, 'L'), count, pm};
        const bool by_right = columns <= rows;
        const core_int n = std::min(rows, columns), others = std::max(rows, columns);
        if (!wish.is_whole(n))
            return invalid;
        const Operation there = by_right ? Operation::plain : Operation::transposed;
        const Operation back = by_right ? Operation::transposed : Operation::plain;
        const auto across = product_with(m, there, d), return_from = product_with(m, back, d);
        Column<T> between(others);
        Pairs<T> found = eigenpairs<T>(n, wish, [&](const T* x, T* y) {
            across(x, between.data());
            return_from(between.data(), y);
        });
        found.values = found.values.cwiseMax(T(0)).cwiseSqrt();
        T* const own = by_right ? right : left;
        T* const other = by_right ? left : right;
        const bool both = same_letter(*side, 'B');
        const bool wants_own = both || same_letter(*side, by_right ? 'R' : 'L');
        const bool wants_other = both || same_letter(*side, by_right ? 'L' : 'R');
        Full<T> images(others, found.values.size());
        const Status status = tell(found, wish, k, values, wants_own ? own : nullptr, left_over,
                                   [](T, const Column<T>&) { return T(0); });
        for (core_int i = 0; i < found.values.size(); ++i) {
            const Column<T> x = found.vectors.col(i);
            across(x.data(), between.data());
            const T value = found.values[i];
            images.col(i) = value == T(0) ? between : Column<T>(between / value);
            Column<T> again(n);
            return_from(images.col(i).data(), again.data());
            if (left_over != nullptr)
                left_over[i] = (again - value * x).norm();
        }
        if (wants_other && other != nullptr && pm[wants_vectors] != 0)
            std::copy_n(images.data(), images.size(), other);
        return status;
    });
}

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core;
using namespace qnm::core::sparse;

#define QNM_EIGEN(l, L, T)                                                                                   \
    QNM_CORE int qnm_sparse_##l##_ev_i4(const char* which, const Narrow* pm, Handle* a, Descriptor d,        \
                                        Narrow count, Narrow* k, T* values, T* vectors, T* left_over)        \
    {                                                                                                        \
        return ev(which, pm, a, d, count, k, values, vectors, left_over);                                    \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_gv_i4(const char* which, const Narrow* pm, Handle* a, Descriptor d,        \
                                        Handle* b, Descriptor d_b, Narrow count, Narrow* k, T* values,       \
                                        T* vectors, T* left_over)                                            \
    {                                                                                                        \
        return gv(which, pm, a, d, b, d_b, count, k, values, vectors, left_over);                            \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_svd_i4(const char* which, const char* side, const Narrow* pm, Handle* a,   \
                                         Descriptor d, Narrow count, Narrow* k, T* values, T* left,          \
                                         T* right, T* left_over)                                             \
    {                                                                                                        \
        return svd(which, side, pm, a, d, count, k, values, left, right, left_over);                         \
    }
QNM_REAL_LETTERS(QNM_EIGEN)

QNM_CORE int qnm_sparse_ee_init_i4(Narrow* pm)
{
    if (pm == nullptr)
        return invalid;
    std::fill_n(pm, parameters, 0);
    pm[tolerance] = 6;
    pm[most_iterations] = 10000;
    pm[wants_vectors] = 1;
    return ok;
}
