// Signatures of what rows export.
#pragma once

#include "signature.hpp"

namespace qnm::catalogue {

/// Checks, then entries; a chain has one for each link.
std::vector<Signature> row_signatures(const Row& row);
Signature check_signature(const Entry& entry);
Signature entry_signature(const Entry& entry);

/// "lda >= max(1,n)".
std::string test_text(const Argument& a);

} // namespace qnm::catalogue
