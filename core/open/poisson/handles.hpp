// What the handles of solvers and transforms hold: descriptors of Fourier transforms, with something of ours
// in the place of a plan.
#pragma once

#include "lines.hpp"

#include "../dft/descriptor.hpp"

#include <memory>

namespace qnm::core::poisson {

/// What a call says of itself.
enum Stat : core_int {
    ok = 0,
    warned = 1,
    division_by_zero = -2,
    no_memory = -3,
    altered = -100,
    transform_failed = -1000,
    not_initialised = -10000,
    bad_argument = -99999
};

/// An equation that has no pivot is told as a status, too.
inline constexpr Status no_pivot = dft::unable;

Stat stat_of(Status status);

/// A descriptor that is not committed and holds this; null if there is no memory.
Stat hold(dft_handle* made, core_int n, std::unique_ptr<Held> held);
/// Ends what was held; a handle that is null stays so.
Stat release(dft_handle* handle);

Held* held(const dft_handle* handle);
/// What a handle holds, if it is of this kind.
template <class H>
const H* held_as(const dft_handle* handle)
{
    return dynamic_cast<const H*>(held(handle));
}

} // namespace qnm::core::poisson
