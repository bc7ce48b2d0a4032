// What lines have in common, whatever the instruction set.
#include "lines.hpp"

#include "../processor.hpp"

namespace qnm::core::poisson {

Points points_of(Basis basis, core_int n)
{
    switch (basis) {
    case Basis::sine:
        return {1, n - 1};
    case Basis::cosine:
        return {0, n + 1};
    case Basis::sine_half:
        return {1, n};
    default:
        return {0, n};
    }
}

double half_waves(Basis basis, core_int k)
{
    switch (basis) {
    case Basis::sine:
        return static_cast<double>(k + 1);
    case Basis::cosine:
        return static_cast<double>(k);
    case Basis::circle:
        return static_cast<double>((k + 1) / 2 * 2);
    default:
        return static_cast<double>(k) + 0.5;
    }
}

Status Held::run(bool, const dft::Arrays&) const noexcept
{
    return dft::failed;
}

template <class R>
Transform<R>::~Transform() = default;
template class Transform<float>;
template class Transform<double>;

namespace {
const Engine& engine()
{
    static const Engine& best = best_of(engine_sse2, engine_avx2, engine_avx512);
    return best;
}
} // namespace

template <>
const Kernels<float>& kernels<float>()
{
    return engine().single;
}
template <>
const Kernels<double>& kernels<double>()
{
    return engine().full;
}

} // namespace qnm::core::poisson
