#include "transpose.hpp"

#include "trial.hpp"

#include <bit>

namespace qnm::core {

const Transposes& transposes()
{
    static const Transposes& best = __builtin_cpu_supports("avx512f") != 0 ? transposes_avx512
                                    : __builtin_cpu_supports("avx2") != 0  ? transposes_avx2
                                                                           : transposes_sse2;
    return best;
}

void transpose(core_int element, core_int m, core_int n, const void* a, core_int lda, void* b, core_int ldb)
{
    // Which way is the quickest depends on where the matrices lie, hence on how large they are; below, they
    // lie in the nearest cache. Above, no cache keeps what is written until it is wanted.
    constexpr std::size_t near = 1 << 14, far = 1 << 23;
    static_assert(Transposes::past + 1 == Transposes::ways,
                  "the one that only large matrices try is the last");
    static Trial<Transposes::past> trials[64];
    static Trial<Transposes::ways> large[64];

    const Transposes& all = transposes();
    const Transposes::Ways& of = element == 4 ? all.of4 : element == 8 ? all.of8 : all.of16;
    const std::size_t bytes = static_cast<std::size_t>(m * n * element);
    if (bytes < near)
        return of[Transposes::plain](m, n, a, lda, b, ldb);
    const auto magnitude = std::bit_width(bytes);
    const auto way = [&](int k) { of[k](m, n, a, lda, b, ldb); };
    if (bytes >= far && ldb * element % line_bytes == 0)
        large[magnitude](static_cast<double>(bytes), way);
    else
        trials[magnitude](static_cast<double>(bytes), way);
}

} // namespace qnm::core
