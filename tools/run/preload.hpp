#pragma once

#include <string>

namespace qnm::run {

/// The value of LD_PRELOAD that puts adapter, watch, layer and open core, in this order, ahead of a program's
/// own libraries; what LD_PRELOAD holds already follows behind. For a cluster, transforms on several
/// processes stand ahead of the layer. The libraries are found relative to this program. Throws Refusal
/// with status 125 if one is missing.
std::string preload_list(bool cluster);

} // namespace qnm::run
