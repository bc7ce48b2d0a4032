// The Fortran modules of the family, as far as they are made of tables.
#pragma once

#include <string>
#include <vector>

#include "catalogue/signature.hpp"

namespace qnm::catalogue::vsl {

/// How a Fortran program calls the functions of a table. Arrays that a call is done with are arrays; where
/// tasks keep them
/// (`kept`) they are addresses, which c_loc tells.
std::string interfaces(const std::vector<Signature>& entries, bool kept);

} // namespace qnm::catalogue::vsl
