#include "transpose.hpp"

namespace qnm::core {

const Transposes& transposes()
{
    static const Transposes& best = __builtin_cpu_supports("avx512f") != 0 ? transposes_avx512
                                    : __builtin_cpu_supports("avx2") != 0  ? transposes_avx2
                                                                           : transposes_sse2;
    return best;
}

} // namespace qnm::core
