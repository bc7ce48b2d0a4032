// Handles: a matrix by its letter, index width and format, in the caller's arrays or in the core's own.
#pragma once

#include "../guarded.hpp"
#include "rows.hpp"

#include <memory>

// One use of M for each letter and index width: letter, its element, the ending of names, their integers.
#define QNM_SPARSE_WIDTHS(M, l, T) M(l, T, i4, std::int32_t) M(l, T, i8, qnm::core::core_int)
#define QNM_SPARSE_EACH(M)                                                                                   \
    QNM_SPARSE_WIDTHS(M, s, float)                                                                           \
    QNM_SPARSE_WIDTHS(M, d, double)                                                                          \
    QNM_SPARSE_WIDTHS(M, c, qnm::core::cfloat)                                                               \
    QNM_SPARSE_WIDTHS(M, z, qnm::core::cdouble)
/// Where no letter is in the name.
#define QNM_SPARSE_BOTH_WIDTHS(M) M(i4, std::int32_t) M(i8, qnm::core::core_int)

namespace qnm::core::sparse {

enum Status : int {
    ok = 0,
    not_initialised = 1,
    no_memory = 2,
    invalid = 3,
    failed = 4,
    internal = 5,
    unsupported = 6,
};

enum class Format { coordinates, rows, columns, blocks };
enum class Request : int { whole = 90, count, finish, structure, values };

/// What is told of coming calls, as far as a layout depends on it.
struct Hints {
    bool transposed_products = false;
    bool sweeps = false; // over whole rows, for a smoother
    Descriptor swept = general;
};

/// What an operation leaves with a handle for others of its kind.
struct Kept {
    Kept() = default;
    virtual ~Kept() = default;
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;
};

class Handle {
public:
    Handle(char letter_of, bool wide_indices) : letter(letter_of), wide(wide_indices) {}
    virtual ~Handle() = default;
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    static void* operator new(std::size_t bytes)
    {
        void* const block = qnm_serv_malloc(bytes, 64);
        return block != nullptr ? block : throw std::bad_alloc();
    }
    static void operator delete(void* block) noexcept { qnm_serv_free(block); }

    const char letter;
    const bool wide;
    bool complete = true; // else a product that is under way
    Hints hints;
    std::unique_ptr<Kept> factors;
};

template <class T>
inline constexpr char letter_of = is_complex<T> ? (sizeof(T) == 8 ? 'c' : 'z') : (sizeof(T) == 4 ? 's' : 'd');

/// The arrays of a matrix: `start` holds rows where elements have coordinates.
template <class T, class I>
struct Arrays {
    Format format;
    core_int base, rows, columns; // of elements, also where blocks are stored
    core_int block = 1;
    Layout layout = Layout::by_rows;
    core_int count = 0; // of elements with coordinates
    I *start, *end, *index;
    T* values;

    core_int lines() const { return (format == Format::columns ? columns : rows) / block; }
    core_int elements_of_one() const { return block * block; }
    bool has_coordinates() const { return format == Format::coordinates; }
    /// Stored elements, or blocks.
    core_int stored() const
    {
        if (has_coordinates())
            return count;
        core_int sum = 0;
        for (core_int k = 0; k < lines(); ++k)
            sum += end[k] - start[k];
        return sum;
    }
    /// How far the arrays reach: lines may stand apart.
    core_int reach() const
    {
        if (has_coordinates())
            return count;
        core_int far = 0;
        for (core_int k = 0; k < lines(); ++k)
            far = std::max<core_int>(far, end[k] - base);
        return far;
    }
    bool are_there() const
    {
        if (has_coordinates())
            return count == 0 || (start != nullptr && index != nullptr && values != nullptr);
        if (lines() != 0 && (start == nullptr || end == nullptr))
            return false;
        return (index != nullptr && values != nullptr) || stored() == 0;
    }
};

template <class T, class I>
class Matrix final : public Handle {
public:
    explicit Matrix(const Arrays<T, I>& of_caller)
        : Handle(letter_of<T>, sizeof(I) == sizeof(core_int)), a(of_caller)
    {
    }
    /// Takes over what the core has made.
    Matrix(Rows<T, I>&& made, core_int base) : Matrix(arrays_of(made, base)) { adopt(std::move(made), base); }

    Arrays<T, I> a;

    /// work(view of the arrays as they are)
    template <class Work>
    auto stored(const Work& work) const
    {
        switch (a.format) {
        case Format::coordinates:
            return work(Coordinates<T, I>{a.rows, a.columns, a.count, a.start, a.index, a.values, a.base});
        case Format::blocks:
            return work(Blocks<T, I>{a.rows, a.columns, a.block, a.start, a.end, a.index, a.values, a.base,
                                     a.base, a.layout});
        default:
            return work(lines());
        }
    }
    /// The same for products: by what `optimize` has laid out, if it has.
    template <class Work>
    auto viewed(const Work& work) const
    {
        return laid_out != nullptr ? work(laid_out->view()) : stored(work);
    }
    /// Where elements stand in lines that are no blocks.
    Lines<T, I> lines() const
    {
        const bool turned = a.format == Format::columns;
        return {turned ? a.columns : a.rows,
                turned ? a.rows : a.columns,
                a.start,
                a.end,
                a.index,
                a.values,
                a.base,
                a.base,
                turned};
    }

    /// Ends what depended on values or places as they were.
    void changed()
    {
        laid_out.reset();
        whole_rows.reset();
        factors.reset();
    }
    void own(Array<I>&& starts, Array<I>&& ends, Array<I>&& indices, Array<T>&& numbers)
    {
        start_ = std::move(starts);
        end_ = std::move(ends);
        index_ = std::move(indices);
        values_ = std::move(numbers);
    }
    void adopt(Rows<T, I>&& made, core_int base)
    {
        a = arrays_of(made, base);
        for (core_int i = 0; base != 0 && i <= made.rows; ++i)
            a.start[i] += static_cast<I>(base);
        for (core_int p = 0; base != 0 && made.index.get() != nullptr && p < made.start[made.rows] - base;
             ++p)
            a.index[p] += static_cast<I>(base);
        own(std::move(made.start), Array<I>(), std::move(made.index), std::move(made.value));
        complete = a.values != nullptr;
        changed();
    }
    /// The same for what is still to come of a product; its starts are there.
    void adopt(Array<I>&& indices, Array<T>&& numbers)
    {
        if (indices.get() != nullptr)
            index_ = std::move(indices);
        if (numbers.get() != nullptr)
            values_ = std::move(numbers);
        a.index = index_.get();
        a.values = values_.get();
        complete = a.values != nullptr;
        changed();
    }

    /// Zero-based rows, if products had better read them.
    std::unique_ptr<Rows<T, I>> laid_out;
    /// Rows of the matrix as a hint has described it, for smoothers.
    std::unique_ptr<Rows<T, I>> whole_rows;

private:
    static Arrays<T, I> arrays_of(const Rows<T, I>& made, core_int base)
    {
        return {Format::rows,    base, made.rows,        made.columns,         1,
                Layout::by_rows, 0,    made.start.get(), made.start.get() + 1, made.index.get(),
                made.value.get()};
    }
    Array<I> start_, end_, index_;
    Array<T> values_;
};

// ---- what all operations begin and end with

template <class Work>
Status guarded(const Work& work) noexcept
{
    return core::guarded<no_memory, internal>(work);
}

template <class T>
auto& typed(Handle& handle, auto zero)
{
    return static_cast<Matrix<T, decltype(zero)>&>(handle);
}

/// work(matrix) of a handle with this letter, whatever its integers.
template <class T, class Work>
Status with_letter(Handle* handle, const Work& work)
{
    if (handle == nullptr)
        return not_initialised;
    if (handle->letter != letter_of<T> || !handle->complete)
        return invalid;
    return guarded([&] {
        return handle->wide ? work(typed<T>(*handle, core_int{})) : work(typed<T>(*handle, std::int32_t{}));
    });
}
/// ...and with these integers, complete or not.
template <class T, class I, class Work>
Status with_width(Handle* handle, const Work& work)
{
    if (handle == nullptr)
        return not_initialised;
    if (handle->letter != letter_of<T> || handle->wide != (sizeof(I) == sizeof(core_int)))
        return invalid;
    return guarded([&] { return work(typed<T>(*handle, I{})); });
}
/// Whatever the letter and the integers.
template <class Work>
Status with_any(Handle* handle, const Work& work)
{
    if (handle == nullptr)
        return not_initialised;
    switch (handle->letter) {
    case 's':
        return with_letter<float>(handle, work);
    case 'd':
        return with_letter<double>(handle, work);
    case 'c':
        return with_letter<cfloat>(handle, work);
    default:
        return with_letter<cdouble>(handle, work);
    }
}
/// work(matrix, matrix of the same letter and integers)
template <class Work>
Status with_two(Handle* a, Handle* b, const Work& work)
{
    if (a == nullptr || b == nullptr)
        return not_initialised;
    if (a->letter != b->letter || a->wide != b->wide || !b->complete)
        return invalid;
    return with_any(a, [&](auto& first) {
        return work(first, static_cast<std::remove_reference_t<decltype(first)>&>(*b));
    });
}

constexpr bool is_operation(Operation op)
{
    return op >= Operation::plain && op <= Operation::conjugated;
}
constexpr bool is_layout(Layout layout)
{
    return layout == Layout::by_rows || layout == Layout::by_columns;
}
/// Mode and diagonal are not looked at where nothing depends on them.
constexpr bool is_descriptor(Descriptor d)
{
    const bool diagonal = d.type == Type::diagonal || d.type == Type::block_diagonal;
    return d.type == Type::general || (d.type > Type::general && d.type <= Type::block_diagonal &&
                                       (diagonal || d.mode == Mode::lower || d.mode == Mode::upper) &&
                                       (d.diag == Diag::stored || d.diag == Diag::unit));
}
template <class T, class I>
bool fits(const Matrix<T, I>& m, Descriptor d)
{
    return is_descriptor(d) && (!is_mirrored(d.type) || m.a.rows == m.a.columns);
}
template <class T>
bool is_block(Dense<T> x, core_int rows)
{
    return is_layout(x.layout) && x.columns >= 0 &&
           x.ld >= std::max<core_int>(1, x.layout == Layout::by_rows ? x.columns : rows) &&
           (x.at != nullptr || rows == 0 || x.columns == 0);
}
/// One column of so many rows.
template <class T>
Dense<T> vector(T* at, core_int rows)
{
    return {at, 1, std::max<core_int>(1, rows), Layout::by_columns};
}
template <class T, class I>
core_int rows_of(const Matrix<T, I>& m, Operation op)
{
    return op == Operation::plain ? m.a.rows : m.a.columns;
}
template <class T, class I>
core_int columns_of(const Matrix<T, I>& m, Operation op)
{
    return op == Operation::plain ? m.a.columns : m.a.rows;
}

/// A new handle, or a status and nothing written.
template <class T, class I>
Status hand_out(Handle** to, Rows<T, I>&& made, core_int base = 0)
{
    if (to == nullptr)
        return invalid;
    *to = new Matrix<T, I>(std::move(made), base);
    return ok;
}

} // namespace qnm::core::sparse
