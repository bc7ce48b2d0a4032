// Sizes of divide-and-conquer trees.
#include <cmath>

#include "lapack/extent.hpp"

extern "C" QNM_EXPORT int qnm_lapack__ilaenv_(const int* ispec, const char* name, const char* opts,
                                              const int* n1, const int* n2, const int* n3, const int* n4,
                                              qnm::hidden_length name_length, qnm::hidden_length opts_length);

namespace qnm::lapack {

core_int depth(core_int n, core_int leaf)
{
    const core_int part = leaf + 1;
    core_int levels = 0;
    if (n >= part)
        while (levels < 60 && n / part >> (levels + 1) != 0)
            ++levels;
    else
        while (n > 0 && levels > -60 && (n << (1 - levels)) <= part)
            --levels;
    return levels;
}

Extent Extent::n_log_n(core_int n)
{
    const double length = n < 1 ? 0.0 : static_cast<double>(n) * std::log(static_cast<double>(n));
    const auto whole = static_cast<core_int>(std::ceil(length));
    const auto bytes = static_cast<core_int>(static_cast<unsigned long long>(length * sizeof(core_int)));
    constexpr core_int element = sizeof(core_int);
    return {whole, whole > stack_elements ? bytes / element : whole, bytes};
}

core_int LeafSize::ask(const char* name)
{
    const int ispec = 9;
    const int none = 0;
    constexpr hidden_length name_length = 6;
    return qnm_lapack__ilaenv_(&ispec, name, " ", &none, &none, &none, &none, name_length, 1);
}

} // namespace qnm::lapack
