// Scaled copies, transpositions and sums of matrices. Inside, all is column-major: a row-major matrix of rows
// by cols is a column-major one of cols by rows.
#pragma once

#include "services.hpp"
#include "transpose.hpp"

#include <cstring>

namespace qnm::core {

/// What a trans letter asks for.
struct Operation {
    bool transposed;
    bool conjugated;
    explicit Operation(char trans)
        : transposed(same_letter(trans, 'T') || same_letter(trans, 'C')),
          conjugated(same_letter(trans, 'R') || same_letter(trans, 'C'))
    {
    }
};

/// alpha*x as it is written: no recovery of infinities.
template <class T>
T times(T alpha, T x)
{
    if constexpr (is_complex<T>)
        return {alpha.real() * x.real() - alpha.imag() * x.imag(),
                alpha.real() * x.imag() + alpha.imag() * x.real()};
    else
        return alpha * x;
}

/// Elements that change nothing but their place.
struct Same {
    template <class T>
    T operator()(T x) const
    {
        return x;
    }
};

/// Calls `work` with what happens to each element: as little as alpha and the letter allow.
template <class T, class Work>
void with_change(T alpha, bool conjugated, Work&& work)
{
    if (is_complex<T> && conjugated)
        work([alpha](T x) { return times(alpha, conjugate(x)); });
    else if (alpha == T(1))
        work(Same{});
    else
        work([alpha](T x) { return times(alpha, x); });
}

/// The distances from an element to the next of its column, and to the next of its row.
struct Steps {
    core_int down, right;
};
inline Steps steps(bool transposed, core_int stride, core_int ld)
{
    return transposed ? Steps{ld, stride} : Steps{stride, ld};
}

/// Visits all i below m and j below n, by blocks that the cache holds whichever way the matrices lie.
template <class Visit>
void blocks(core_int m, core_int n, Visit&& visit)
{
    constexpr core_int block = 32;
    for (core_int jj = 0; jj < n; jj += block)
        for (core_int ii = 0; ii < m; ii += block)
            for (core_int j = jj; j < std::min(jj + block, n); ++j)
                for (core_int i = ii; i < std::min(ii + block, m); ++i)
                    visit(i, j);
}

/// b(i,j) := change(a(i,j)).
template <class T, class Change>
void copy(core_int m, core_int n, Change change, const T* a, Steps sa, T* b, Steps sb)
{
    if (std::is_same_v<Change, Same> && sa.down == 1 && sb.down == 1)
        for (core_int j = 0; j < n; ++j)
            std::memcpy(static_cast<void*>(b + j * sb.right), a + j * sa.right,
                        static_cast<std::size_t>(m) * sizeof(T));
    else if (std::is_same_v<Change, Same> && sa.down == 1 && sb.right == 1)
        transpose(m, n, a, sa.right, b, sb.down);
    else
        blocks(m, n, [&](core_int i, core_int j) {
            b[i * sb.down + j * sb.right] = change(a[i * sa.down + j * sa.right]);
        });
}

/// Lines from one leading dimension to another in the same place: no element is overwritten ahead of its
/// turn.
template <class T, class Change>
void move_lines(core_int m, core_int n, Change change, T* ab, core_int lda, core_int ldb)
{
    if (std::is_same_v<Change, Same> && lda == ldb)
        return;
    for (core_int k = 0; k < n; ++k) {
        const core_int j = ldb <= lda ? k : n - 1 - k;
        T* const line = ab + j * lda;
        for (core_int i = 0; i < m; ++i)
            line[i] = change(line[i]);
        std::memmove(static_cast<void*>(ab + j * ldb), line, static_cast<std::size_t>(m) * sizeof(T));
    }
}

/// A square in its place: a pair of blocks changes places across the diagonal.
template <class T, class Change>
void turn_square(core_int n, Change change, T* ab, core_int ld)
{
    constexpr core_int block = 32;
    T kept[block * block];
    for (core_int j = 0; j < n; j += block)
        for (core_int i = j; i < n; i += block) {
            const core_int rows = std::min(block, n - i), columns = std::min(block, n - j);
            T *const below = ab + i + j * ld, *const above = ab + j + i * ld;
            copy(rows, columns, change, below, {1, ld}, kept, {block, 1});
            if (i != j)
                copy(columns, rows, change, above, {1, ld}, below, {ld, 1});
            copy(columns, rows, Same{}, kept, {1, block}, above, {1, ld});
        }
}

/// ab := change(op(ab)), m by n before. Any other transposition than that of a square takes scratch.
template <class T, class Change>
void copy_in_place(const char* routine, core_int m, core_int n, bool transposed, Change change, T* ab,
                   core_int lda, core_int ldb)
{
    if (!transposed)
        return move_lines(m, n, change, ab, lda, ldb);
    if (m == n && lda == ldb)
        return turn_square(n, change, ab, lda);
    const Scratch<T> turned(routine, m * n);
    if (!turned)
        return;
    copy(m, n, change, ab, {1, lda}, turned.get(), {n, 1});
    copy(n, m, Same{}, turned.get(), {1, n}, ab, {1, ldb});
}

} // namespace qnm::core
