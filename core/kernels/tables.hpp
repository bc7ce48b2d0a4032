// A kernel as each instruction set compiles it, and the table pairs that hold them.
#pragma once

namespace qnm::vml {

enum Table : int { sse2_table = 0, avx2_table = 1, best_table = 2, avx512_table = 3, table_count = 4 };

/// The best set that this processor and its system have.
inline int best_set()
{
    static const int best =
        __builtin_cpu_supports("avx512f") != 0 && (__builtin_cpu_supports("avx512dq") != 0) &&
                __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0
            ? avx512_table
        : __builtin_cpu_supports("avx2") != 0 && (__builtin_cpu_supports("fma") != 0) ? avx2_table
                                                                                      : sse2_table;
    return best;
}

using AnyKernel = void (*)();
struct Compiled {
    AnyKernel kernel;
    float cost; // nanoseconds an element
};

} // namespace qnm::vml
