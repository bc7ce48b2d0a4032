// Transposition out of place, at the speed of a copy: kernels for each instruction set.
#pragma once

#include "core.hpp"

namespace qnm::core {

/// b(j,i) := a(i,j) for i below m and j below n; column-major, elements of one size moved as they are. The
/// arrays must not overlap.
using Transpose = void(core_int m, core_int n, const void* a, core_int lda, void* b, core_int ldb);

/// The kernels of one instruction set, by the size of an element.
struct Transposes {
    Transpose* of4;
    Transpose* of8;
    Transpose* of16;
};
extern const Transposes transposes_avx512, transposes_avx2, transposes_sse2;

/// Those of this processor.
const Transposes& transposes();

/// The same for one line: where it is a column of A or of B, its elements stand side by side.
template <class T>
[[gnu::noinline]] void transpose_line(core_int count, const T* a, core_int stepa, T* b, core_int stepb)
{
    for (; count > 0; --count, a += stepa, b += stepb)
        *b = *a;
}

/// The same for few elements, of which the choice of a kernel would take longer than the work.
template <class T>
[[gnu::noinline]] void transpose_few(core_int m, core_int n, const T* a, core_int lda, T* b, core_int ldb)
{
    // Squares of vectors; the last ones begin early enough to fit, and move some elements a second time.
    constexpr core_int width = sizeof(T) == 8 ? 2 : 1;
    using Pair [[gnu::vector_size(16)]] = long long;
    using Loose [[gnu::vector_size(16), gnu::aligned(1), gnu::may_alias]] = long long;
    for (core_int i = 0; i < m; i += width) {
        const core_int row = std::min(i, m - width);
        for (core_int j = 0; j < n; j += width) {
            const core_int column = std::min(j, n - width);
            const T* const from = a + row + column * lda;
            T* const to = b + column + row * ldb;
            if constexpr (width == 1) {
                *to = *from;
            } else {
                const Pair x = *reinterpret_cast<const Loose*>(from);
                const Pair y = *reinterpret_cast<const Loose*>(from + lda);
                *reinterpret_cast<Loose*>(to) = __builtin_shufflevector(x, y, 0, 2);
                *reinterpret_cast<Loose*>(to + ldb) = __builtin_shufflevector(x, y, 1, 3);
            }
        }
    }
}

template <class T>
void transpose(core_int m, core_int n, const T* a, core_int lda, T* b, core_int ldb)
{
    const Transposes& all = transposes();
    (sizeof(T) == 4 ? all.of4 : sizeof(T) == 8 ? all.of8 : all.of16)(m, n, a, lda, b, ldb);
}

} // namespace qnm::core
