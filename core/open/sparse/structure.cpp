// Sums and products of two sparse matrices, as sparse matrices in stages or as dense ones.
#include "assemble.hpp"

namespace qnm::core::sparse {
namespace {

template <class T, class I>
Rows<T, I> adjoint(const RowReader<T, I>& a)
{
    return collected<T, I>(a.columns, a.rows, [&](const auto& visit) {
        for (core_int i = 0; i < a.rows; ++i)
            a.each(i, [&](core_int j, T v) { visit(j, i, conjugate(v)); });
    });
}

/// What `counted` and its kin take for a product of rows.
template <class A, class B>
auto product_of(const A& a, const B& b)
{
    return [&](core_int i, const auto& add) {
        a.each(i, [&](core_int k, auto v) { b.each(k, [&](core_int j, auto w) { add(j, times(v, w)); }); });
    };
}
template <class SumRow>
auto upper(const SumRow& sum_row)
{
    return [&](core_int i, const auto& add) {
        sum_row(i, [&](core_int j, auto v) {
            if (j >= i)
                add(j, v);
        });
    };
}

/// A product at once, or what a stage asks for: starts, then places, then values. `model` has its letter and
/// widths.
template <class T, class I, class SumRow>
Status staged(Request request, Handle** to, const Matrix<T, I>& model, core_int rows, core_int columns,
              const SumRow& sum_row)
{
    if (to == nullptr)
        return invalid;
    const core_int base = model.a.base;
    const bool finishes = request == Request::finish || request == Request::values;
    const bool wants_values = request == Request::whole || request == Request::finish;
    if (!finishes) {
        Rows<T, I> made = counted<T, I>(rows, columns, sum_row);
        if (request != Request::count) {
            made.index = Array<I>(made.count());
            if (wants_values)
                made.value = Array<T>(made.count());
            fill(rows, columns, made.start.get(), 0, made.index.get(), made.value.get(), sum_row);
        }
        return hand_out(to, std::move(made), base);
    }
    if (*to == nullptr)
        return not_initialised;
    if ((*to)->letter != model.letter || (*to)->wide != model.wide)
        return invalid;
    auto& c = static_cast<Matrix<T, I>&>(**to);
    if (c.a.format != Format::rows || c.a.rows != rows || c.a.columns != columns)
        return invalid;
    const Rows<T, I> now = counted<T, I>(rows, columns, sum_row); // what is finished must be what was counted
    for (core_int i = 0; i <= rows; ++i)
        if (c.a.start[i] - c.a.base != now.start[i])
            return invalid;
    Array<I> index(now.count());
    Array<T> values = wants_values ? Array<T>(now.count()) : Array<T>();
    fill(rows, columns, c.a.start, c.a.base, index.get(), values.get(), sum_row);
    c.adopt(std::move(index), std::move(values));
    return ok;
}
constexpr bool is_request(Request request)
{
    return request >= Request::whole && request <= Request::values;
}

/// C := alpha * rows + beta * C, or its upper triangle.
template <class T, class SumRow>
void densely(Dense<T> c, core_int rows, T alpha, T beta, bool upper_only, const SumRow& sum_row)
{
    const Array<T> sum(c.columns);
    const core_int down = c.layout == Layout::by_rows ? c.ld : 1,
                   across = c.layout == Layout::by_rows ? 1 : c.ld;
    for (core_int i = 0; i < rows; ++i) {
        std::fill_n(sum.get(), c.columns, T{});
        sum_row(i, [&](core_int j, T v) { sum[j] += v; });
        for (core_int j = upper_only ? i : 0; j < c.columns; ++j) {
            T& to = c.at[i * down + j * across];
            to = times(alpha, sum[j]) + (beta == T{} ? T{} : times(beta, to));
        }
    }
}

Status two_factors(Operation op_a, Descriptor d_a, Handle* a, Operation op_b, Descriptor d_b, Handle* b,
                   const auto& work)
{
    return with_two(a, b, [&]<class T, class I>(const Matrix<T, I>& first, const Matrix<T, I>& second) {
        if (!is_operation(op_a) || !is_operation(op_b) || !fits(first, d_a) || !fits(second, d_b) ||
            columns_of(first, op_a) != rows_of(second, op_b))
            return invalid;
        const RowReader<T, I> rows(first, op_a, d_a), others(second, op_b, d_b);
        return work(first, rows, others);
    });
}

Status sp2m(Operation op_a, Descriptor d_a, Handle* a, Operation op_b, Descriptor d_b, Handle* b,
            Request request, Handle** c)
{
    if (a != nullptr && b != nullptr && !is_request(request))
        return invalid;
    return two_factors(
        op_a, d_a, a, op_b, d_b, b, [&](const auto& model, const auto& rows, const auto& others) {
            return staged(request, c, model, rows.rows, others.columns, product_of(rows, others));
        });
}

template <class T>
Status sp2md(Operation op_a, Descriptor d_a, Handle* a, Operation op_b, Descriptor d_b, Handle* b, T alpha,
             T beta, Dense<T> c)
{
    return two_factors(op_a, d_a, a, op_b, d_b, b,
                       [&]<class E, class I>(const Matrix<E, I>&, const auto& rows, const auto& others) {
                           if constexpr (std::is_same_v<E, T>) {
                               c.columns = others.columns;
                               if (!is_block(c, rows.rows))
                                   return invalid;
                               densely(c, rows.rows, alpha, beta, false, product_of(rows, others));
                               return ok;
                           }
                           return invalid;
                       });
}

template <class T>
Status add(Operation op, Handle* a, T alpha, Handle* b, Handle** c)
{
    return with_two(a, b, [&]<class E, class I>(const Matrix<E, I>& first, const Matrix<E, I>& second) {
        if constexpr (std::is_same_v<E, T>) {
            if (!is_operation(op) || rows_of(first, op) != second.a.rows ||
                columns_of(first, op) != second.a.columns)
                return invalid;
            const RowReader<T, I> rows(first, op, general), others(second, Operation::plain, general);
            const auto sum = [&](core_int i, const auto& to) {
                rows.each(i, [&](core_int j, T v) { to(j, times(alpha, v)); });
                others.each(i, to);
            };
            return staged(Request::whole, c, first, rows.rows, rows.columns, sum);
        }
        return invalid;
    });
}

/// work(matrix, rows of op(A), rows of its adjoint)
template <class Work>
auto with_adjoint(const Work& work)
{
    return [work]<class T, class I>(const Matrix<T, I>& m, Operation op) {
        if (!is_operation(op))
            return invalid;
        const RowReader<T, I> rows(m, op, general);
        const Rows<T, I> turned = adjoint(rows);
        return work(m, rows, turned.view());
    };
}

Status syrk(Operation op, Handle* a, Handle** c)
{
    const auto work = with_adjoint([&](const auto& m, const auto& rows, const auto& turned) {
        return staged(Request::whole, c, m, rows.rows, rows.rows, upper(product_of(rows, turned)));
    });
    return with_any(a, [&](const auto& m) { return work(m, op); });
}

template <class T>
Status syrkd(Operation op, Handle* a, T alpha, T beta, Dense<T> c)
{
    const auto work = with_adjoint([&](const auto&, const auto& rows, const auto& turned) {
        Dense<T> to = c;
        to.columns = rows.rows;
        if (!is_block(to, rows.rows))
            return invalid;
        densely(to, rows.rows, alpha, beta, true, product_of(rows, turned));
        return ok;
    });
    return with_letter<T>(a, [&](const auto& m) { return work(m, op); });
}

Status sypr(Operation op, Handle* a, Handle* b, Descriptor d, Handle** c, Request request)
{
    return with_two(a, b, [&]<class T, class I>(const Matrix<T, I>& first, const Matrix<T, I>& second) {
        if (!is_request(request) || !fits(second, d) || !is_mirrored(d.type) || !is_operation(op) ||
            columns_of(first, op) != second.a.rows)
            return invalid;
        const RowReader<T, I> middle(second, Operation::plain, d);
        const auto work = with_adjoint([&](const auto& m, const auto& rows, const auto& turned) {
            const Rows<T, I> left = assembled<T, I>(rows.rows, rows.columns, product_of(rows, middle));
            return staged(request, c, m, rows.rows, rows.rows, upper(product_of(left.view(), turned)));
        });
        return work(first, op);
    });
}

template <class T>
Status syprd(Operation op, Handle* a, Dense<const T> b, T alpha, T beta, Dense<T> c)
{
    const auto work = with_adjoint([&](const auto&, const auto& rows, const auto& turned) {
        Dense<T> to = c;
        Dense<const T> middle = b;
        to.columns = rows.rows;
        middle.columns = rows.columns;
        if (!is_block(to, rows.rows) || !is_block(middle, rows.columns))
            return invalid;
        const bool by_rows = b.layout == Layout::by_rows;
        const Array<T> left(rows.columns);
        densely(to, rows.rows, alpha, beta, true, [&](core_int i, const auto& add) {
            std::fill_n(left.get(), rows.columns, T{});
            rows.each(i, [&](core_int k, T v) {
                for (core_int j = 0; j < rows.columns; ++j)
                    left[j] += times(v, b.at[by_rows ? k * b.ld + j : k + j * b.ld]);
            });
            for (core_int k = 0; k < rows.columns; ++k)
                turned.each(k, [&](core_int j, T v) { add(j, times(left[k], v)); });
        });
        return ok;
    });
    return with_letter<T>(a, [&](const auto& m) { return work(m, op); });
}

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core;
using namespace qnm::core::sparse;

#define QNM_STRUCTURES(l, T, w, I)                                                                           \
    QNM_CORE int qnm_sparse_##l##_add_##w(Operation op, Handle* a, T alpha, Handle* b, Handle** c)           \
    {                                                                                                        \
        return add(op, a, alpha, b, c);                                                                      \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_spmmd_##w(Operation op, Handle* a, Handle* b, Layout layout, T* c, I ldc)  \
    {                                                                                                        \
        return sp2md<T>(op, general, a, Operation::plain, general, b, T(1), T(0), {c, 0, ldc, layout});      \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_sp2md_##w(Operation op_a, Descriptor d_a, Handle* a, Operation op_b,       \
                                            Descriptor d_b, Handle* b, T alpha, T beta, T* c, Layout layout, \
                                            I ldc)                                                           \
    {                                                                                                        \
        return sp2md<T>(op_a, d_a, a, op_b, d_b, b, alpha, beta, {c, 0, ldc, layout});                       \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_syrkd_##w(Operation op, Handle* a, T alpha, T beta, T* c, Layout layout,   \
                                            I ldc)                                                           \
    {                                                                                                        \
        return syrkd<T>(op, a, alpha, beta, {c, 0, ldc, layout});                                            \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_syprd_##w(Operation op, Handle* a, const T* b, Layout layout_b, I ldb,     \
                                            T alpha, T beta, T* c, Layout layout_c, I ldc)                   \
    {                                                                                                        \
        return syprd<T>(op, a, {b, 0, ldb, layout_b}, alpha, beta, {c, 0, ldc, layout_c});                   \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_do_sp2m_##w(Operation op_a, Descriptor d_a, Handle* a, Operation op_b,     \
                                              Descriptor d_b, Handle* b, Request request, Handle** c)        \
    {                                                                                                        \
        if (a != nullptr && b != nullptr && a->letter != letter_of<T>)                                       \
            return invalid;                                                                                  \
        return sp2m(op_a, d_a, a, op_b, d_b, b, request, c);                                                 \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_do_sp2m_allocate_C_handle_##w(Operation, Handle*, Operation, Handle*,      \
                                                                Handle**)                                    \
    {                                                                                                        \
        return unsupported;                                                                                  \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_update_C_handle_data_for_matmat_##w(Handle*, int, I, I, I*, I*, I*, T*)    \
    {                                                                                                        \
        return unsupported;                                                                                  \
    }
QNM_SPARSE_EACH(QNM_STRUCTURES)

#define QNM_UNLETTERED(w, I)                                                                                 \
    QNM_CORE int qnm_sparse_spmm_##w(Operation op, Handle* a, Handle* b, Handle** c)                         \
    {                                                                                                        \
        return sp2m(op, general, a, Operation::plain, general, b, Request::whole, c);                        \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_sp2m_##w(Operation op_a, Descriptor d_a, Handle* a, Operation op_b,              \
                                     Descriptor d_b, Handle* b, Request request, Handle** c)                 \
    {                                                                                                        \
        return sp2m(op_a, d_a, a, op_b, d_b, b, request, c);                                                 \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_syrk_##w(Operation op, Handle* a, Handle** c)                                    \
    {                                                                                                        \
        return syrk(op, a, c);                                                                               \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_sypr_##w(Operation op, Handle* a, Handle* b, Descriptor d, Handle** c,           \
                                     Request request)                                                        \
    {                                                                                                        \
        return sypr(op, a, b, d, c, request);                                                                \
    }
QNM_SPARSE_BOTH_WIDTHS(QNM_UNLETTERED)
