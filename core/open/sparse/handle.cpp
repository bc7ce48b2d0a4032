// Handles: made, shown, changed, converted, laid out, ended.
#include "handle.hpp"

#include <numeric>

namespace qnm::core::sparse {
namespace {

template <class T, class I>
bool is_whole(const Arrays<T, I>& a)
{
    return (a.base == 0 || a.base == 1) && a.rows >= 0 && a.columns >= 0 && a.block >= 1 &&
           is_layout(a.layout) && a.count >= 0 && a.are_there();
}

template <class T, class I>
Status create(Handle** made, const Arrays<T, I>& a)
{
    if (made == nullptr || !is_whole(a))
        return invalid;
    return guarded([&] {
        *made = new Matrix<T, I>(a);
        return ok;
    });
}

template <class T, class I>
Status set_arrays(Handle* handle, const Arrays<T, I>& a)
{
    return with_width<T, I>(handle, [&](Matrix<T, I>& m) {
        if (m.a.format != a.format || !is_whole(a))
            return invalid;
        m.changed();
        m.own(Array<I>(), Array<I>(), Array<I>(), Array<T>());
        m.a = a;
        m.complete = true;
        return ok;
    });
}

/// Sizes in blocks become sizes in elements; one that no integer holds is as good as negative.
core_int in_elements(core_int blocks, core_int block)
{
    core_int all = 0;
    return __builtin_mul_overflow(blocks, block, &all) ? -1 : all;
}

template <class T, class I>
Status export_lines(Handle* handle, Format format, int* base, Layout* layout, I* rows, I* columns, I* block,
                    I** start, I** end, I** index, T** values)
{
    return with_width<T, I>(handle, [&](Matrix<T, I>& m) {
        const bool blocks = format == Format::blocks;
        if (m.a.format != format || base == nullptr || rows == nullptr || columns == nullptr ||
            start == nullptr || end == nullptr || index == nullptr || values == nullptr ||
            (blocks && (layout == nullptr || block == nullptr)))
            return invalid;
        *base = static_cast<int>(m.a.base);
        *rows = static_cast<I>(m.a.rows / m.a.block);
        *columns = static_cast<I>(m.a.columns / m.a.block);
        *start = m.a.start;
        *end = m.a.end;
        *index = m.a.index;
        *values = m.a.values;
        if (blocks) {
            *layout = m.a.layout;
            *block = static_cast<I>(m.a.block);
        }
        return ok;
    });
}

/// Calls found(address) for each stored element of this place, counted from 0.
template <class T, class I, class Found>
void for_each_at(const Matrix<T, I>& m, core_int row, core_int column, const Found& found)
{
    if (row < 0 || row >= m.a.rows || column < 0 || column >= m.a.columns)
        return;
    m.stored([&](const auto& view) {
        using View = std::remove_cvref_t<decltype(view)>;
        const core_int line = view.turned ? column : row, other = (view.turned ? row : column) + view.base;
        const auto look = [&](core_int k) {
            view.each(k, [&](core_int at, const T& v) {
                if (at == other)
                    found(const_cast<T*>(&v)); // into an array that its owner gave for this
            });
        };
        if constexpr (View::once)
            look(line);
        else
            for (core_int k = 0; k < view.count; ++k)
                if (view.line(k) == line)
                    look(k);
    });
}

template <class T, class I>
bool is_stored(const Matrix<T, I>& m, core_int row, core_int column)
{
    bool any = false;
    for_each_at(m, row, column, [&](const T*) { any = true; });
    return any;
}

/// Of several elements of the place the others become zero: they add up.
template <class T, class I>
void set(const Matrix<T, I>& m, core_int row, core_int column, T value)
{
    for_each_at(m, row, column, [&](T* at) { *at = std::exchange(value, T{}); });
}

template <class T, class I>
Status set_value(Handle* handle, I row, I column, T value)
{
    return with_width<T, I>(handle, [&](Matrix<T, I>& m) {
        if (!m.complete || !is_stored(m, row - m.a.base, column - m.a.base))
            return invalid;
        set(m, row - m.a.base, column - m.a.base, value);
        m.changed();
        return ok;
    });
}

/// Without places all values are new, in the order in which they stand.
template <class T, class I>
Status update_values(Handle* handle, I count, const I* row, const I* column, const T* values)
{
    return with_width<T, I>(handle, [&](Matrix<T, I>& m) {
        if (!m.complete || count < 0 || (count != 0 && values == nullptr))
            return invalid;
        if (row == nullptr && column == nullptr) {
            if (count != m.a.stored() * m.a.elements_of_one())
                return invalid;
            const core_int each = m.a.elements_of_one();
            if (m.a.has_coordinates())
                std::copy_n(values, count, m.a.values);
            for (core_int k = 0; !m.a.has_coordinates() && k < m.a.lines(); ++k)
                for (core_int p = (m.a.start[k] - m.a.base) * each; p < (m.a.end[k] - m.a.base) * each; ++p)
                    m.a.values[p] = *values++;
        } else {
            if (row == nullptr || column == nullptr)
                return invalid;
            for (core_int i = 0; i < count; ++i)
                if (!is_stored(m, row[i] - m.a.base, column[i] - m.a.base))
                    return invalid;
            for (core_int i = 0; i < count; ++i)
                set(m, row[i] - m.a.base, column[i] - m.a.base, values[i]);
        }
        m.changed();
        return ok;
    });
}

/// All that is stored, in the same places.
template <class T, class I>
Status copy(const Matrix<T, I>& m, Handle** to)
{
    if (to == nullptr)
        return invalid;
    Arrays<T, I> a = m.a;
    const core_int reach = a.reach();
    const core_int starts = a.has_coordinates() ? reach : a.lines() + 1;
    Array<I> start(starts), end(a.has_coordinates() ? 0 : a.lines()), index(reach);
    Array<T> values(reach * a.elements_of_one());
    const bool in_one = !a.has_coordinates() && a.end == a.start + 1;
    std::copy_n(a.start, a.has_coordinates() ? reach : a.lines() + (in_one ? 1 : 0), start.get());
    if (!a.has_coordinates())
        std::copy_n(a.end, a.lines(), end.get());
    std::copy_n(a.index, reach, index.get());
    std::copy_n(a.values, reach * a.elements_of_one(), values.get());
    a.start = start.get();
    a.end = in_one ? start.get() + 1 : end.get();
    a.index = index.get();
    a.values = values.get();
    auto made = std::make_unique<Matrix<T, I>>(a);
    made->own(std::move(start), std::move(end), std::move(index), std::move(values));
    *to = made.release();
    return ok;
}

template <class T, class I>
Status convert_rows(const Matrix<T, I>& m, Operation op, Handle** to)
{
    if (!is_operation(op))
        return invalid;
    return hand_out(to, m.stored([&](const auto& view) { return sorted<I>(view, op, general); }), m.a.base);
}

template <class T, class I>
Status convert_blocks(const Matrix<T, I>& m, core_int block, Layout layout, Operation op, Handle** to)
{
    if (to == nullptr || !is_operation(op) || !is_layout(layout) || block < 1 || m.a.rows % block != 0 ||
        m.a.columns % block != 0)
        return invalid;
    const Rows<T, I> rows = m.stored([&](const auto& view) { return sorted<I>(view, op, general); });
    const core_int lines = rows.rows / block, across = rows.columns / block, each = block * block;
    const bool by_rows = layout == Layout::by_rows;
    const Array<I> places(across);
    Compressed<T, I> blocks{nullptr, nullptr, nullptr, static_cast<I>(m.a.base)};
    const auto pass = [&] {
        std::fill_n(places.get(), across, I{});
        return build_blocks(
            rows.rows, block, each, blocks, places.get(),
            [&](core_int i, core_int j) { return by_rows ? i * block + j : j * block + i; },
            [&](core_int i, const auto& visit) {
                for (core_int p = rows.start[i]; p < rows.start[i + 1]; ++p)
                    visit(core_int{rows.index[p]}, p);
            },
            [&](core_int p) { return rows.value[p]; });
    };
    Array<I> start(lines + 1);
    blocks.start = start.get();
    if (pass() != 0)
        throw std::bad_alloc(); // no integer of this width counts them
    const core_int count = start[lines] - blocks.base;
    Array<I> index(count);
    Array<T> values(count * each);
    blocks.index = index.get();
    blocks.values = values.get();
    pass();
    auto made = std::make_unique<Matrix<T, I>>(Arrays<T, I>{Format::blocks, m.a.base, rows.rows, rows.columns,
                                                            block, layout, 0, start.get(), start.get() + 1,
                                                            index.get(), values.get()});
    made->own(std::move(start), Array<I>(), std::move(index), std::move(values));
    *to = made.release();
    return ok;
}

template <class T, class I>
bool is_sorted(const Matrix<T, I>& m)
{
    const Arrays<T, I>& a = m.a;
    if (a.has_coordinates()) {
        for (core_int k = 1; k < a.count; ++k)
            if (std::pair(a.start[k - 1], a.index[k - 1]) > std::pair(a.start[k], a.index[k]))
                return false;
        return true;
    }
    for (core_int k = 0; k < a.lines(); ++k)
        if (!std::is_sorted(a.index + (a.start[k] - a.base), a.index + (a.end[k] - a.base)))
            return false;
    return true;
}

/// Each line in ascending order, where it stands; elements of one place keep theirs.
template <class T, class I>
Status order(Matrix<T, I>& m)
{
    const Arrays<T, I>& a = m.a;
    if (is_sorted(m))
        return ok;
    m.changed();
    const core_int each = a.elements_of_one(), lines = a.has_coordinates() ? 1 : a.lines();
    core_int longest = 0;
    for (core_int k = 0; k < lines; ++k)
        longest = std::max<core_int>(longest, a.has_coordinates() ? a.count : a.end[k] - a.start[k]);
    const Array<core_int> place(longest);
    const Array<I> rows(a.has_coordinates() ? longest : 0), indices(longest);
    const Array<T> values(longest * each);
    for (core_int k = 0; k < lines; ++k) {
        const core_int first = a.has_coordinates() ? 0 : a.start[k] - a.base;
        const core_int count = a.has_coordinates() ? a.count : a.end[k] - a.start[k];
        std::iota(place.get(), place.get() + count, first);
        std::sort(place.get(), place.get() + count, [&](core_int x, core_int y) {
            if (a.has_coordinates() && a.start[x] != a.start[y])
                return a.start[x] < a.start[y];
            return std::pair(a.index[x], x) < std::pair(a.index[y], y);
        });
        for (core_int p = 0; p < count; ++p) {
            if (a.has_coordinates())
                rows[p] = a.start[place[p]];
            indices[p] = a.index[place[p]];
            std::copy_n(a.values + place[p] * each, each, values.get() + p * each);
        }
        if (a.has_coordinates())
            std::copy_n(rows.get(), count, a.start);
        std::copy_n(indices.get(), count, a.index + first);
        std::copy_n(values.get(), count * each, a.values + first * each);
    }
    return ok;
}

/// Products read rows sooner than coordinates, and than columns, unless they are transposed.
template <class T, class I>
Status optimize(Matrix<T, I>& m)
{
    m.changed();
    const auto made = [&](Descriptor d) {
        return m.stored([&](const auto& view) {
            return std::make_unique<Rows<T, I>>(sorted<I>(view, Operation::plain, d));
        });
    };
    if (m.a.has_coordinates() || (m.a.format == Format::columns && !m.hints.transposed_products))
        m.laid_out = made(general);
    if (m.hints.sweeps)
        m.whole_rows = made(m.hints.swept);
    return ok;
}

enum class Hinted { product, sweep, nothing };
Status hint(Handle* handle, Hinted kind, Operation op, Descriptor d, core_int calls)
{
    return with_any(handle, [&](auto& m) {
        if (!is_operation(op) || !fits(m, d) || calls < 0)
            return invalid;
        if (kind == Hinted::product)
            m.hints.transposed_products = op != Operation::plain;
        if (kind == Hinted::sweep) {
            m.hints.sweeps = true;
            m.hints.swept = d;
        }
        return ok;
    });
}

constexpr auto ordered = [](auto& m) { return order(m); };
Status sorted_property(Handle* handle, int* answer)
{
    return with_any(handle, [&](auto& m) {
        if (answer == nullptr)
            return invalid;
        *answer = is_sorted(m) ? 1 : 0;
        return ok;
    });
}
/// Choices that change nothing here.
Status flag(Handle* handle)
{
    return handle == nullptr ? not_initialised : ok;
}
template <class T>
Status lettered(Handle* handle, const auto& then)
{
    return handle == nullptr ? not_initialised : handle->letter != letter_of<T> ? invalid : then(handle);
}

} // namespace
} // namespace qnm::core::sparse

using namespace qnm::core;
using namespace qnm::core::sparse;

#define QNM_LINES(l, T, w, I, format, kind)                                                                  \
    QNM_CORE int qnm_sparse_##l##_create_##format##_##w(Handle** made, int base, I rows, I columns,          \
                                                        I* start, I* end, I* index, T* values)               \
    {                                                                                                        \
        return create(made, Arrays<T, I>{Format::kind, base, rows, columns, 1, Layout::by_rows, 0, start,    \
                                         end, index, values});                                               \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_set_##format##_data_arrays_##w(                                            \
        Handle* handle, int base, I rows, I columns, I* start, I* end, I* index, T* values)                  \
    {                                                                                                        \
        return set_arrays(handle, Arrays<T, I>{Format::kind, base, rows, columns, 1, Layout::by_rows, 0,     \
                                               start, end, index, values});                                  \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_export_##format##_##w(Handle* handle, int* base, I* rows, I* columns,      \
                                                        I** start, I** end, I** index, T** values)           \
    {                                                                                                        \
        return export_lines<T, I>(handle, Format::kind, base, nullptr, rows, columns, nullptr, start, end,   \
                                  index, values);                                                            \
    }
#define QNM_HANDLES(l, T, w, I)                                                                              \
    QNM_LINES(l, T, w, I, csr, rows)                                                                         \
    QNM_LINES(l, T, w, I, csc, columns)                                                                      \
    QNM_CORE int qnm_sparse_##l##_create_coo_##w(Handle** made, int base, I rows, I columns, I count,        \
                                                 I* row, I* column, T* values)                               \
    {                                                                                                        \
        return create(made, Arrays<T, I>{Format::coordinates, base, rows, columns, 1, Layout::by_rows,       \
                                         count, row, nullptr, column, values});                              \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_set_coo_data_arrays_##w(Handle* handle, int base, I rows, I columns,       \
                                                          I count, I* row, I* column, T* values)             \
    {                                                                                                        \
        return set_arrays(handle, Arrays<T, I>{Format::coordinates, base, rows, columns, 1, Layout::by_rows, \
                                               count, row, nullptr, column, values});                        \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_create_bsr_##w(Handle** made, int base, Layout layout, I rows, I columns,  \
                                                 I block, I* start, I* end, I* index, T* values)             \
    {                                                                                                        \
        return create(made, Arrays<T, I>{Format::blocks, base, in_elements(rows, block),                     \
                                         in_elements(columns, block), block, layout, 0, start, end, index,   \
                                         values});                                                           \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_set_bsr_data_arrays_##w(Handle* handle, int base, Layout layout, I rows,   \
                                                          I columns, I block, I* start, I* end, I* index,    \
                                                          T* values)                                         \
    {                                                                                                        \
        return set_arrays(handle, Arrays<T, I>{Format::blocks, base, in_elements(rows, block),               \
                                               in_elements(columns, block), block, layout, 0, start, end,    \
                                               index, values});                                              \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_export_bsr_##w(Handle* handle, int* base, Layout* layout, I* rows,         \
                                                 I* columns, I* block, I** start, I** end, I** index,        \
                                                 T** values)                                                 \
    {                                                                                                        \
        return export_lines<T, I>(handle, Format::blocks, base, layout, rows, columns, block, start, end,    \
                                  index, values);                                                            \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_set_value_##w(Handle* handle, I row, I column, T value)                    \
    {                                                                                                        \
        return set_value(handle, row, column, value);                                                        \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_update_values_##w(Handle* handle, I count, const I* row, const I* column,  \
                                                    const T* values)                                         \
    {                                                                                                        \
        return update_values(handle, count, row, column, values);                                            \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_do_order_##w(Handle* handle)                                               \
    {                                                                                                        \
        return with_letter<T>(handle, ordered);                                                              \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_do_get_sorted_property_##w(Handle* handle, int* answer)                    \
    {                                                                                                        \
        return lettered<T>(handle, [&](Handle* of) { return sorted_property(of, answer); });                 \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_do_set_inplace_copy_##w(Handle* handle, int)                               \
    {                                                                                                        \
        return lettered<T>(handle, flag);                                                                    \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_##l##_do_set_is_sycl_cpu_##w(Handle* handle, int)                                \
    {                                                                                                        \
        return lettered<T>(handle, flag);                                                                    \
    }
QNM_SPARSE_EACH(QNM_HANDLES)

#define QNM_HINT(name, kind, w, I)                                                                           \
    QNM_CORE int qnm_sparse_set_##name##_hint_##w(Handle* handle, Operation op, Descriptor d, I calls)       \
    {                                                                                                        \
        return hint(handle, Hinted::kind, op, d, calls);                                                     \
    }
#define QNM_DENSE_HINT(name, kind, w, I)                                                                     \
    QNM_CORE int qnm_sparse_set_##name##_hint_##w(Handle* handle, Operation op, Descriptor d, Layout layout, \
                                                  I columns, I calls)                                        \
    {                                                                                                        \
        if (handle != nullptr && (!is_layout(layout) || columns < 0))                                        \
            return invalid;                                                                                  \
        return hint(handle, Hinted::kind, op, d, calls);                                                     \
    }
#define QNM_UNLETTERED(w, I)                                                                                 \
    QNM_HINT(mv, product, w, I)                                                                              \
    QNM_HINT(dotmv, product, w, I)                                                                           \
    QNM_HINT(sv, nothing, w, I)                                                                              \
    QNM_HINT(symgs, sweep, w, I)                                                                             \
    QNM_HINT(lu_smoother, sweep, w, I)                                                                       \
    QNM_DENSE_HINT(mm, product, w, I)                                                                        \
    QNM_DENSE_HINT(sm, nothing, w, I)                                                                        \
    QNM_CORE int qnm_sparse_set_sorv_hint_##w(int type, Handle* handle, Descriptor d, I calls)               \
    {                                                                                                        \
        if (handle != nullptr && (type < 110 || type > 112))                                                 \
            return invalid;                                                                                  \
        return hint(handle, Hinted::sweep, Operation::plain, d, calls);                                      \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_copy_##w(Handle* handle, Descriptor d, Handle** to)                              \
    {                                                                                                        \
        return with_any(handle, [&](const auto& m) { return fits(m, d) ? copy(m, to) : invalid; });          \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_destroy_##w(Handle* handle)                                                      \
    {                                                                                                        \
        delete handle;                                                                                       \
        return handle == nullptr ? not_initialised : ok;                                                     \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_get_error_info_##w(Handle* handle, I* info)                                      \
    {                                                                                                        \
        if (handle == nullptr)                                                                               \
            return not_initialised;                                                                          \
        if (info == nullptr)                                                                                 \
            return invalid;                                                                                  \
        *info = 0;                                                                                           \
        return ok;                                                                                           \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_convert_csr_##w(Handle* handle, Operation op, Handle** to)                       \
    {                                                                                                        \
        return with_any(handle, [&](const auto& m) { return convert_rows(m, op, to); });                     \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_convert_bsr_##w(Handle* handle, I block, Layout layout, Operation op,            \
                                            Handle** to)                                                     \
    {                                                                                                        \
        return with_any(handle, [&](const auto& m) { return convert_blocks(m, block, layout, op, to); });    \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_optimize_##w(Handle* handle)                                                     \
    {                                                                                                        \
        return with_any(handle, [](auto& m) { return optimize(m); });                                        \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_order_##w(Handle* handle)                                                        \
    {                                                                                                        \
        return with_any(handle, ordered);                                                                    \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_get_sorted_property_##w(Handle* handle, int* answer)                             \
    {                                                                                                        \
        return sorted_property(handle, answer);                                                              \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_set_verbose_mode_##w(int mode)                                                   \
    {                                                                                                        \
        return mode >= 70 && mode <= 72 ? ok : invalid;                                                      \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_set_memory_hint_##w(Handle* handle, int policy)                                  \
    {                                                                                                        \
        return handle != nullptr && policy != 80 && policy != 81 ? invalid : flag(handle);                   \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_set_inplace_copy_##w(Handle* handle, int)                                        \
    {                                                                                                        \
        return flag(handle);                                                                                 \
    }                                                                                                        \
    QNM_CORE int qnm_sparse_set_is_sycl_cpu_##w(Handle* handle, int)                                         \
    {                                                                                                        \
        return flag(handle);                                                                                 \
    }
QNM_SPARSE_BOTH_WIDTHS(QNM_UNLETTERED)
