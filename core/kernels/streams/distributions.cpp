// The kernels of distributions, by the names that the layer looks up: each calls the one that is compiled for
// this processor.
#include "../tables.hpp"
#include "exported.hpp"
#include "stream.hpp"

namespace {

// Known when the library is opened.
template <class F>
F* best_of(F* sse2, F* avx2, F* avx512)
{
    const int best = qnm::vml::best_set();
    return best == qnm::vml::avx512_table ? avx512 : best == qnm::vml::avx2_table ? avx2 : sse2;
}

} // namespace

using qnm::vsl::Stream;

#define QNM_UNPACKED(...) __VA_OPT__(, ) __VA_ARGS__
#define QNM_DISTRIBUTION(letter, name, T, parameters, names)                                                 \
    using letter##name = int(int method, Stream* stream, int n, T* r QNM_UNPACKED parameters);               \
    extern "C" letter##name qnm_##letter##Rng##name##_sse2, qnm_##letter##Rng##name##_avx2,                  \
        qnm_##letter##Rng##name##_avx512;                                                                    \
    static letter##name* const letter##name##_best = best_of(                                                \
        qnm_##letter##Rng##name##_sse2, qnm_##letter##Rng##name##_avx2, qnm_##letter##Rng##name##_avx512);   \
    QNM_STREAMS int _vsl##letter##Rng##name(int method, Stream* stream, int n, T* r QNM_UNPACKED parameters) \
    {                                                                                                        \
        return letter##name##_best(method, stream, n, r QNM_UNPACKED names);                                 \
    }

#define QNM_INVERTED QNM_DISTRIBUTION
#define QNM_NORMAL QNM_DISTRIBUTION
#include "distributions.inc"
