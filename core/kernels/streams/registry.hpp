// Generators by id, and those of programs.
#pragma once

#include "stream.hpp"

namespace qnm::vsl {

/// How many generators there are.
int registered();
/// The id of a new one, or a status.
int add_generator(const Properties& properties);

} // namespace qnm::vsl
