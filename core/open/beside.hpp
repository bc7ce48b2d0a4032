// Libraries that lie beside the core and are opened when they are first needed.
#pragma once

#include <string>

namespace qnm::core {

/// The library `file` of the core's own folder, by its absolute name: no variable has a part in where it is
/// looked for. If it cannot be had, null, and the dynamic loader tells why. Throws without memory.
void* library_beside(const char* file);

/// The function `entry` of the library `file` in the core's own folder; null with a reason if it cannot be
/// had. Nothing of the library is seen by others, and it stays. Throws without memory.
void* opened_beside(const char* file, const char* entry, std::string& why);

} // namespace qnm::core
