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

template <class T>
void transpose(core_int m, core_int n, const T* a, core_int lda, T* b, core_int ldb)
{
    const Transposes& all = transposes();
    (sizeof(T) == 4 ? all.of4 : sizeof(T) == 8 ? all.of8 : all.of16)(m, n, a, lda, b, ldb);
}

} // namespace qnm::core
