// What one element's error leads to.
#pragma once

#include "contract.hpp"

namespace qnm::vml {

/// Notes the error for the call, and tells it by line and callback; whether a callback may have changed the
/// record's results.
bool tell(Call* call, ErrorRecord* record, const char* name);

} // namespace qnm::vml
