// The arguments of an entry: their types inside the library, and what its template and the core take for
// them.
#pragma once

#include "text.hpp"

namespace qnm::generate {

/// Whether arrays of integers are copied to 64 bits and back by the direction that their row tells.
bool copies_arrays(const catalogue::Entry& entry);

/// Types inside the library: reals and pass-through arrays are all `const void*`, so that letters share code.
/// The length of a character result has no name: what stands for it in a call says that the core gets 1.
std::string result_type(const catalogue::Entry& entry);
Words parameters(const catalogue::Entry& entry);
Words parameter_types(const catalogue::Entry& entry);
Words core_parameters(const catalogue::Entry& entry);

/// Parameters and the hidden lengths behind them.
Words with_lengths(Words parameters, const catalogue::Entry& entry);

/// The arguments as they are handed to the template.
Words arguments(const catalogue::Entry& entry);

} // namespace qnm::generate
