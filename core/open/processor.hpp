// What is compiled once for each instruction set: that of this processor.
#pragma once

namespace qnm::core {

template <class T>
T& best_of(T& sse2, T& avx2, T& avx512)
{
    return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 ? avx512
           : __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0       ? avx2
                                                                                             : sse2;
}

} // namespace qnm::core
