// The line that tells of one transform.
#pragma once

#include "dft/compute.hpp"

namespace qnm::dft {

/// Prints what the descriptor says of a transform that was computed, well or not. The second array is null
/// where there is none.
QNM_COLD void report(dft_descriptor* d, Direction way, const void* first, const void* second, double seconds);

} // namespace qnm::dft
