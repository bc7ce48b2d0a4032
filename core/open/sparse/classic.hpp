// Common ground of the classic sparse routines: narrow integers, arrays of the caller, nothing told by
// status.
#pragma once

#include "../services.hpp"

#include <unistd.h>

namespace qnm::core::sparse {

/// An option that nobody knows is no argument with a position: one line, and outputs stay.
[[gnu::cold]] inline void refuse(const char* routine, const char* option)
{
    print_to(STDERR_FILENO, "QNM ERROR: %s: unknown %s.\n", routine, option);
}

} // namespace qnm::core::sparse
