// What helpers read of their options and matrices.
#pragma once

#include "lapacke/exported.hpp"

#include <cstddef>

namespace qnm::helpers {

using size = std::size_t;

/// Reals in an element.
template <class T>
inline constexpr core_int parts = sizeof(T) / sizeof(real<T>);

#define QNM_OMATCOPY(LETTER, T)                                                                              \
    extern "C" QNM_EXPORT void QNM_##LETTER##omatcopy(char, char, size, size, T, const T*, size, T*, size);  \
    QNM_INLINE void omatcopy(char ordering, char trans, size rows, size cols, T alpha, const T* a, size lda, \
                             T* b, size ldb)                                                                 \
    {                                                                                                        \
        QNM_##LETTER##omatcopy(ordering, trans, rows, cols, alpha, a, lda, b, ldb);                          \
    }
QNM_OMATCOPY(S, float)
QNM_OMATCOPY(D, double)
QNM_OMATCOPY(C, qnm_complex8)
QNM_OMATCOPY(Z, qnm_complex16)

/// An option letter that has two values.
struct Option {
    bool first, second;
    Option(char given, char one, char other)
        : first(LAPACKE_lsame(given, one) != 0), second(!first && LAPACKE_lsame(given, other) != 0)
    {
    }
    bool good() const { return first || second; }
};

/// Which triangle, as it lies in memory.
struct Triangle {
    bool good;
    bool growing;  // lines are those of an upper triangle by columns, or of a lower one by rows
    core_int unit; // 1: the diagonal is not there

    Triangle(int layout, char uplo, char diag)
    {
        const Option lower(uplo, 'l', 'u'), ones(diag, 'u', 'n');
        good = is_layout(layout) && lower.good() && ones.good();
        growing = (layout == column_major) != lower.first;
        unit = ones.first ? 1 : 0;
    }
    /// Line j of a triangle of order n: its first element and the one behind its last.
    core_int begin(core_int j) const { return growing ? 0 : j + unit; }
    core_int end(core_int j, core_int n) const { return growing ? j + 1 - unit : n; }
};

inline core_int least(core_int a, core_int b)
{
    return b < a ? b : a;
}
inline core_int most(core_int a, core_int b)
{
    return a < b ? b : a;
}

/// The triangles and the square of the full packed form, as offsets into its rectangle, which lies by
/// columns.
struct FullPacked {
    core_int ld;
    core_int first, first_n;   // the triangle that is lower if the rectangle is not turned
    core_int second, second_n; // the other one
    core_int square, rows, columns;

    FullPacked(bool turned, bool lower, core_int n)
    {
        const core_int half = n / 2, rest = n - half;
        const bool even = n % 2 == 0;
        const core_int n1 = lower ? rest : half, n2 = n - n1;
        const core_int height = even ? n + 1 : n; // of the rectangle as it is not turned
        first_n = n1;
        second_n = n2;
        // Rows and columns at which the parts begin.
        const core_int first_row = lower ? (even ? 1 : 0) : (even ? half + 1 : n2);
        const core_int second_row = lower ? 0 : (even ? half : n1);
        const core_int second_column = lower && !even ? 1 : 0;
        const core_int square_row = lower ? (even ? half + 1 : n1) : 0;
        rows = lower ? n2 : n1;
        columns = lower ? n1 : n2;
        const core_int down = turned ? rest : 1, right = turned ? 1 : height;
        ld = turned ? rest : height;
        first = first_row * down;
        second = second_row * down + second_column * right;
        square = square_row * down;
        if (turned) {
            const core_int r = rows;
            rows = columns;
            columns = r;
        }
    }
};

/// Where the parts of a trapezoid begin: a triangle of the smaller order, and a rectangle beside or below it.
struct Trapezoid {
    bool good;
    core_int order;
    core_int triangle, rectangle; // offsets
    core_int rows, columns;       // of the rectangle, 0 if it holds nothing

    Trapezoid(int layout, char direct, char uplo, char diag, core_int m, core_int n, core_int ld)
    {
        const Option forward(direct, 'f', 'b'), lower(uplo, 'l', 'u'), ones(diag, 'u', 'n');
        good = is_layout(layout) && forward.good() && lower.good() && ones.good();
        const core_int down = layout == column_major ? 1 : ld, right = layout == column_major ? ld : 1;
        order = least(m, n);
        const core_int past = m > n ? (m - n) * down : (n - m) * right; // what the triangle leaves over
        const bool beside = forward.first == (m > n ? lower.first : !lower.first);
        rows = !beside || m == n ? 0 : m > n ? m - n : m;
        columns = !beside || m == n ? 0 : m > n ? n : n - m;
        triangle = forward.first ? 0 : past;
        rectangle = !forward.first ? 0 : m > n ? order * down : order * right;
    }
};

} // namespace qnm::helpers
