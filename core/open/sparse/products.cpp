// Products of a handle's matrix with vectors, and solves with its triangles.
#include "handle.hpp"

namespace qnm::core::sparse {
namespace {

constexpr core_int of_vector = -1; // as a leading dimension: what the matrix makes of it

template <class T>
Status product(Handle* handle, Operation op, Descriptor d, T alpha, Dense<const T> x, T beta, Dense<T> y,
               T* dot = nullptr, bool wants_dot = false)
{
    return with_letter<T>(handle, [&](const auto& m) {
        const core_int inputs = columns_of(m, op), outputs = rows_of(m, op);
        if (x.ld == of_vector)
            x = vector(x.at, inputs), y = vector(y.at, outputs);
        if (!is_operation(op) || !fits(m, d) || !is_block(x, inputs) || !is_block(y, outputs) ||
            (wants_dot && dot == nullptr))
            return invalid;
        m.viewed([&](const auto& view) { multiply(view, op, d, alpha, x, beta, y); });
        if (wants_dot) {
            T sum{};
            for (core_int i = 0; i < std::min(inputs, outputs); ++i)
                sum += times(conjugate(x.at[i]), y.at[i]);
            *dot = sum;
        }
        return ok;
    });
}

template <class T>
Status substitution(Handle* handle, Operation op, Descriptor d, T alpha, Dense<const T> x, Dense<T> y)
{
    return with_letter<T>(handle, [&]<class I>(const Matrix<T, I>& m) {
        const core_int n = m.a.rows;
        if (x.ld == of_vector)
            x = vector(x.at, n), y = vector(y.at, n);
        if (!is_operation(op) || !is_descriptor(d) || n != m.a.columns || !is_block(x, n) || !is_block(y, n))
            return invalid;
        if (!is_solvable(d.type))
            return unsupported;
        m.viewed([&](const auto& view) {
            if constexpr (std::remove_cvref_t<decltype(view)>::once)
                solve(view, op, d, alpha, x, y);
            else
                solve(sorted<I>(view, Operation::plain, general).view(), op, d, alpha, x, y);
        });
        return ok;
    });
}

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core;
using namespace qnm::core::sparse;

#define QNM_PRODUCTS(l, T, w, I)                                                                             \
    QNM_CORE int qnm_sparse_##l##_mv_##w(Operation op, T alpha, Handle* a, Descriptor d, const T* x, T beta, \
                                         T* y)                                                               \
    {                                                                                                        \
        return product<T>(a, op, d, alpha, {x, 1, of_vector}, beta, {y, 1, of_vector});                      \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_dotmv_##w(Operation op, T alpha, Handle* a, Descriptor d, const T* x,      \
                                            T beta, T* y, T* dot)                                            \
    {                                                                                                        \
        return product<T>(a, op, d, alpha, {x, 1, of_vector}, beta, {y, 1, of_vector}, dot, true);           \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_mm_##w(Operation op, T alpha, Handle* a, Descriptor d, Layout layout,      \
                                         const T* x, I columns, I ldx, T beta, T* y, I ldy)                  \
    {                                                                                                        \
        return product<T>(a, op, d, alpha, {x, columns, std::max<I>(ldx, 0), layout}, beta,                  \
                          {y, columns, ldy, layout});                                                        \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_trsv_##w(Operation op, T alpha, Handle* a, Descriptor d, const T* x, T* y) \
    {                                                                                                        \
        return substitution<T>(a, op, d, alpha, {x, 1, of_vector}, {y, 1, of_vector});                       \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_trsm_##w(Operation op, T alpha, Handle* a, Descriptor d, Layout layout,    \
                                           const T* x, I columns, I ldx, T* y, I ldy)                        \
    {                                                                                                        \
        return substitution<T>(a, op, d, alpha, {x, columns, std::max<I>(ldx, 0), layout},                   \
                               {y, columns, ldy, layout});                                                   \
    }
QNM_SPARSE_EACH(QNM_PRODUCTS)
