// Libraries that lie beside the core and are opened when they are first needed.
#pragma once

#include <string>

namespace qnm::core {

/// The function `entry` of the library `file` in the core's own folder; null with a reason if it cannot be
/// had. Nothing of the library is seen by others, and it stays. Throws without memory.
void* opened_beside(const char* file, const char* entry, std::string& why);

} // namespace qnm::core
