// The table pairs, by the names that the layer looks up; plain and strided roots share their kernels. A root
// without a kernel does not link.
#include "tables.hpp"

#include <cstddef>

#define QNM_EXPORTED extern "C" __attribute__((visibility("default")))

#define QNM_ROOT(root, kernel)                                                                               \
    extern "C" const qnm::vml::Compiled qnm_##kernel##_sse2, qnm_##kernel##_avx2, qnm_##kernel##_avx512;     \
    QNM_EXPORTED qnm::vml::AnyKernel qnm_vml_kernel_##root##_ttab[qnm::vml::table_count];                    \
    QNM_EXPORTED float qnm_vml_kernel_##root##_ctab[qnm::vml::table_count];                                  \
    qnm::vml::AnyKernel qnm_vml_kernel_##root##_ttab[qnm::vml::table_count];                                 \
    float qnm_vml_kernel_##root##_ctab[qnm::vml::table_count];
#include "roots.inc"
#undef QNM_ROOT

namespace qnm::vml {
namespace {

struct Pair {
    AnyKernel* kernels;
    float* costs;
    const Compiled* sets[table_count];
};

constexpr Pair pairs[] = {
#define QNM_ROOT(root, kernel)                                                                               \
    {qnm_vml_kernel_##root##_ttab,                                                                           \
     qnm_vml_kernel_##root##_ctab,                                                                           \
     {&qnm_##kernel##_sse2, &qnm_##kernel##_avx2, nullptr, &qnm_##kernel##_avx512}},
#include "roots.inc"
#undef QNM_ROOT
};

// Which kernel is the best is known when the library is opened.
[[gnu::constructor]] void fill()
{
    const int best = best_set();
    for (const Pair& pair : pairs)
        for (int table = 0; table < table_count; ++table) {
            const Compiled& compiled = *pair.sets[table == best_table ? best : table];
            pair.kernels[table] = compiled.kernel;
            pair.costs[table] = compiled.cost;
        }
}

} // namespace
} // namespace qnm::vml
