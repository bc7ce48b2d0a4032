// The Fortran module of the family, as far as it is made of tables.
#pragma once

#include <string>
#include <vector>

#include "catalogue/catalogue.hpp"

namespace qnm::catalogue {

/// What a mark of the module's template stands for: `interfaces TABLE`, how the Fortran entries of a table
/// are called; `generic NAME TABLE PREFIX`, the name for those whose own begin so; `procedures TABLE PREFIX`,
/// what programs call of these.
std::string module_text(const std::vector<Signature>& entries, const std::vector<std::string>& words);

} // namespace qnm::catalogue
