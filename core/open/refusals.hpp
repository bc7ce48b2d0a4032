#pragma once

#include <string_view>

namespace qnm::core {

/// Tells the reader of a trace, if there is one, that the engine refuses the call at hand: its line does not
/// say so.
void note_refusal(std::string_view routine, int position);

} // namespace qnm::core
