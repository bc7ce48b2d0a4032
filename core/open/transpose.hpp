// Transposition out of place, at the speed of a copy: kernels for each instruction set.
#pragma once

#include "core.hpp"

namespace qnm::core {

/// b(j,i) := a(i,j) for i below m and j below n; column-major, elements of one size moved as they are. The
/// arrays must not overlap.
using Transpose = void(core_int m, core_int n, const void* a, core_int lda, void* b, core_int ldb);

inline constexpr int line_bytes = 64; // of the cache

/// The kernels of one instruction set: for each size of an element, the ways to move it. Which way is
/// the quickest is a matter of the processor.
struct Transposes {
    enum Way {
        ahead, ///< lines of cache are asked for before they are read and written
        plain, ///< that is left to the processor
        past,  ///< stores go past the cache
        ways
    };
    using Ways = Transpose* [ways];
    Ways of4, of8, of16;
};
extern const Transposes transposes_avx512, transposes_avx2, transposes_sse2;

/// Those of this processor.
const Transposes& transposes();

/// Elements of so many bytes, the quickest way.
void transpose(core_int element, core_int m, core_int n, const void* a, core_int lda, void* b, core_int ldb);

/// The same for one line: where it is a column of A or of B, its elements stand side by side.
template <class T>
[[gnu::noinline]] void transpose_line(core_int count, const T* a, core_int stepa, T* b, core_int stepb)
{
    for (; count > 0; --count, a += stepa, b += stepb)
        *b = *a;
}

/// The same for few elements, of which the choice of a kernel would take longer than the work: at least two
/// lines of two. Squares of vectors, the last ones of which begin early enough to fit and move some elements
/// a second time.
template <class T>
[[gnu::noinline]] void transpose_few(core_int m, core_int n, const T* a, core_int lda, T* b, core_int ldb)
{
    constexpr core_int width = sizeof(T) == 8 ? 2 : 1;
    const auto square = [lda, ldb](const T* from, T* to) {
        if constexpr (width == 1) {
            *to = *from;
        } else {
            using Pair [[gnu::vector_size(16)]] = long long;
            using Loose [[gnu::vector_size(16), gnu::aligned(1), gnu::may_alias]] = long long;
            const Pair x = *reinterpret_cast<const Loose*>(from);
            const Pair y = *reinterpret_cast<const Loose*>(from + lda);
            *reinterpret_cast<Loose*>(to) = __builtin_shufflevector(x, y, 0, 2);
            *reinterpret_cast<Loose*>(to + ldb) = __builtin_shufflevector(x, y, 1, 3);
        }
    };
    for (;;) {
        const T* from = a;
        T* to = b;
        T* const last = b + n - width;
        for (; to < last; from += width * lda, to += width)
            square(from, to);
        square(from - (to - last) * lda, last);
        m -= width;
        if (m <= 0)
            return;
        const core_int step = std::min(m, width);
        a += step;
        b += step * ldb;
    }
}

template <class T>
void transpose(core_int m, core_int n, const T* a, core_int lda, T* b, core_int ldb)
{
    transpose(sizeof(T), m, n, a, lda, b, ldb);
}

} // namespace qnm::core
