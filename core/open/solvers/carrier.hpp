// The library of direct solvers, opened when it is first asked for.
#pragma once

#include "plugin.hpp"

namespace qnm::core::solvers {

/// Null where it is not there. Throws without memory.
const Plugin* carrier();

} // namespace qnm::core::solvers
