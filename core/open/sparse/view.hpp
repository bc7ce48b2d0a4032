// Sparse matrices as their owner stores them, and the products and solves that read them there. Whatever the
// format, a matrix is a number of lines: rows, columns, or single elements, each with its elements in the
// order in which they are stored. A sum runs along its line in this order, so that the same line gives the
// same bits in every format.
#pragma once

#include "../core.hpp"

#include <limits>

namespace qnm::core::sparse {

enum class Operation : int { plain = 10, transposed = 11, conjugated = 12 };
enum class Type : int {
    general = 20,
    symmetric,
    hermitian,
    triangular,
    diagonal,
    block_triangular,
    block_diagonal,
    skew, // of the classic routines alone
};
enum class Mode : int { lower = 40, upper, full };
enum class Diag : int { stored = 50, unit };
enum class Layout : int { by_rows = 101, by_columns = 102 };

/// How a matrix is to be read. Of what has a mirror image or is triangular one triangle is read, and nothing
/// else.
struct Descriptor {
    Type type;
    Mode mode;
    Diag diag;
};
inline constexpr Descriptor general{Type::general, Mode::full, Diag::stored};

constexpr bool is_mirrored(Type type)
{
    return type == Type::symmetric || type == Type::hermitian || type == Type::skew;
}
/// Whether solves know such matrices.
constexpr bool is_solvable(Type type)
{
    return type == Type::triangular || type == Type::diagonal;
}

/// Whether the diagonal is one of ones, whatever is stored.
constexpr bool adds_unit(Descriptor d)
{
    return d.diag == Diag::unit && d.type != Type::general && d.type != Type::skew;
}

/// Which elements of a line are the matrix's: those ahead of the diagonal, on it and behind it, as far as
/// asked for. In matrices of blocks the diagonal is one of blocks.
struct Part {
    bool ahead, on, behind;
    core_int block;

    struct Bounds {
        core_int from, to;
        bool hold(core_int index) const { return index >= from && index <= to; }
    };
    [[gnu::always_inline]] Bounds of(core_int line, core_int base) const
    {
        const core_int diagonal = block == 1 ? line : line - line % block;
        return {ahead ? 0 : diagonal + (on ? 0 : block) + base,
                behind ? std::numeric_limits<core_int>::max() : diagonal + (on ? block : 0) - 1 + base};
    }
};

/// Of lines that are rows, or columns if `turned`; of blocks of this size where the descriptor asks for them.
constexpr Part part_of(Descriptor d, bool turned, core_int block)
{
    const bool everything = d.type == Type::general;
    const bool only_diagonal = d.type == Type::diagonal || d.type == Type::block_diagonal;
    const bool of_blocks = d.type == Type::block_triangular || d.type == Type::block_diagonal;
    const bool lower = d.mode == Mode::lower;
    return {everything || (!only_diagonal && lower != turned),
            everything || (d.diag != Diag::unit && d.type != Type::skew),
            everything || (!only_diagonal && lower == turned), of_blocks ? block : 1};
}

// The language's own product of complex numbers looks for infinities.
template <class T>
[[gnu::always_inline]] inline T times(T a, T b)
{
    if constexpr (is_complex<T>)
        return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
    else
        return a * b;
}

/// A block of vectors: one, or the columns of a dense matrix.
template <class T>
struct Dense {
    T* at;
    core_int columns = 1, ld = 0;
    Layout layout = Layout::by_columns;
};

/// Rows, or columns if `turned`. A line's elements stand from start - origin on, ahead of end - origin;
/// indices count from `base`. With three arrays in place of four, `end` is `start` + 1.
template <class T, class I>
struct Lines {
    using Element = T;
    static constexpr bool once = true; // no two lines are one row
    core_int count, others;
    const I *start, *end, *index;
    const T* values;
    core_int origin, base;
    bool turned = false;
    static constexpr core_int block = 1;

    core_int line(core_int k) const { return k; }
    /// visit(index within the line, counted from `base`; element)
    template <class Visit>
    [[gnu::always_inline]] void each(core_int k, const Visit& visit) const
    {
        for (core_int p = start[k] - origin, behind = end[k] - origin; p < behind; ++p)
            visit(static_cast<core_int>(index[p]), values[p]);
    }
};

/// Elements with their coordinates: each is a line.
template <class T, class I>
struct Coordinates {
    using Element = T;
    static constexpr bool once = false;
    core_int rows, others, count;
    const I *row, *column;
    const T* values;
    core_int base;
    static constexpr bool turned = false;
    static constexpr core_int block = 1;

    core_int line(core_int k) const { return row[k] - base; }
    template <class Visit>
    [[gnu::always_inline]] void each(core_int k, const Visit& visit) const
    {
        visit(static_cast<core_int>(column[k]), values[k]);
    }
};

/// Rows of square blocks, each stored by rows or by columns; counts are those of elements.
template <class T, class I>
struct Blocks {
    using Element = T;
    static constexpr bool once = true;
    core_int count, others, block;
    const I *start, *end, *index;
    const T* values;
    core_int origin, index_base;
    Layout layout;
    static constexpr bool turned = false;
    static constexpr core_int base = 0;

    core_int line(core_int k) const { return k; }
    template <class Visit>
    [[gnu::always_inline]] void each(core_int k, const Visit& visit) const
    {
        const core_int row = k / block, within = k % block;
        const bool by_rows = layout == Layout::by_rows;
        const T* const first = values + (by_rows ? within * block : within);
        const core_int step = by_rows ? 1 : block;
        for (core_int p = start[row] - origin, behind = end[row] - origin; p < behind; ++p)
            for (core_int c = 0; c < block; ++c)
                visit((index[p] - index_base) * block + c, first[p * block * block + c * step]);
    }
};

/// Diagonals: the element of row i on diagonal d stands at i + d * ld.
template <class T, class I>
struct Diagonals {
    using Element = T;
    static constexpr bool once = true;
    core_int count, others, ld, diagonals;
    const I* distance;
    const T* values;
    static constexpr bool turned = false;
    static constexpr core_int base = 0, block = 1;

    core_int line(core_int k) const { return k; }
    template <class Visit>
    [[gnu::always_inline]] void each(core_int k, const Visit& visit) const
    {
        for (core_int d = 0; d < diagonals; ++d)
            if (const core_int other = k + distance[d]; other >= 0 && other < others)
                visit(other, values[k + d * ld]);
    }
};

/// A triangle's skyline: line k ends with its diagonal element. Rows of a lower triangle, columns (`turned`)
/// of an upper one.
template <class T, class I>
struct Skyline {
    using Element = T;
    static constexpr bool once = true;
    core_int count, others;
    const I* start;
    const T* values;
    bool turned = false;
    static constexpr core_int base = 0, block = 1;

    core_int line(core_int k) const { return k; }
    template <class Visit>
    [[gnu::always_inline]] void each(core_int k, const Visit& visit) const
    {
        const core_int behind = start[k + 1] - start[0];
        for (core_int p = start[k] - start[0]; p < behind; ++p)
            visit(k + 1 - (behind - p), values[p]);
    }
};

template <class View>
core_int rows_of(const View& a)
{
    if constexpr (View::once)
        return a.turned ? a.others : a.count;
    else
        return a.rows;
}
template <class View>
core_int columns_of(const View& a)
{
    return a.turned ? a.count : a.others;
}

/// y := alpha op(A) x + beta y. Nothing of y is read if beta is 0. What has a mirror image is square.
template <class View, class T = typename View::Element>
void multiply(const View& a, Operation op, Descriptor descr, T alpha, Dense<const T> x, T beta, Dense<T> y);

/// y := alpha inv(op(A)) x for square A, triangular or diagonal; x and y may be the same.
template <class View, class T = typename View::Element>
void solve(const View& a, Operation op, Descriptor descr, T alpha, Dense<const T> x, Dense<T> y);

// Both are made once, of kernels.inc: these sources take the longest.
#define QNM_SPARSE_MULTIPLY(keyword, View, T, I)                                                             \
    keyword template void multiply(const View<T, I>&, Operation, Descriptor, T, Dense<const T>, T, Dense<T>);
#define QNM_SPARSE_BOTH(keyword, View, T, I)                                                                 \
    QNM_SPARSE_MULTIPLY(keyword, View, T, I)                                                                 \
    keyword template void solve(const View<T, I>&, Operation, Descriptor, T, Dense<const T>, Dense<T>);
#define QNM_SPARSE_OF_WIDTH(keyword, T, I)                                                                   \
    QNM_SPARSE_BOTH(keyword, Lines, T, I)                                                                    \
    QNM_SPARSE_BOTH(keyword, Blocks, T, I)                                                                   \
    QNM_SPARSE_MULTIPLY(keyword, Coordinates, T, I)
#define QNM_SPARSE_KERNELS(keyword, T)                                                                       \
    QNM_SPARSE_OF_WIDTH(keyword, T, std::int32_t)                                                            \
    QNM_SPARSE_OF_WIDTH(keyword, T, core_int)                                                                \
    QNM_SPARSE_BOTH(keyword, Diagonals, T, std::int32_t)                                                     \
    QNM_SPARSE_BOTH(keyword, Skyline, T, std::int32_t)
#define QNM_SPARSE_ELSEWHERE(l, L, T) QNM_SPARSE_KERNELS(extern, T)
QNM_ALL_LETTERS(QNM_SPARSE_ELSEWHERE)
#undef QNM_SPARSE_ELSEWHERE

} // namespace qnm::core::sparse
