// PARDISO's calling sequence over systems of the engine.
#pragma once

#include "open/core.hpp"
#include "open/solvers/plugin.hpp"

namespace qnm::core::solvers {

extern const Host* host; // what the core lends

template <class I>
Pardiso<I> pardiso;

} // namespace qnm::core::solvers
