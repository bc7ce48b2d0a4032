// The library's own tables, linked into a program.
#pragma once

#include "catalogue.hpp"

namespace qnm::catalogue {

/// Reads all of them, in order; it takes some 100 ms.
Catalogue linked_tables();

} // namespace qnm::catalogue
