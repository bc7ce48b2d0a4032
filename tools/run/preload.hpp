#pragma once

#include <string>

namespace qnm::run {

/// What a run has ahead of the layer beside what every run has.
struct Asked {
    bool cluster = false;
    bool wide_integers = false; // 64-bit integers under plain names
};

/// The value of LD_PRELOAD that puts adapter, watch, layer and open core, in this order, ahead of a program's
/// own libraries; what LD_PRELOAD holds already follows behind. For a cluster, transforms on several
/// processes stand ahead of the layer; jumps to wide entries stand ahead of all. The libraries are found
/// relative to this program. Throws Refusal with status 125 if one is missing.
std::string preload_list(const Asked& asked);

} // namespace qnm::run
