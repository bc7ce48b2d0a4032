#pragma once

#include <string>
#include <vector>

namespace qnm::run {

struct Program;

/// What a run has ahead of the layer beside what every run has, and what it has otherwise.
struct Asked {
    bool cluster = false;
    bool wide_integers = false; ///< 64-bit integers under plain names
    std::string core;           ///< file of another core; empty: the open one
};

/// The libraries that stand ahead of a program's own: a sanitizer's runtime that it needs, which will be the
/// first of all; jumps to wide entries; adapter; for a cluster, transforms on several processes; watch, layer
/// and core, in this order. They are found relative to this program. Throws Refusal with status 125 if one is
/// missing.
std::vector<std::string> preloaded(const Asked& asked, const Program& program);
/// Without what only a program asks for.
std::vector<std::string> preloaded(const Asked& asked);

/// The value of LD_PRELOAD with them; what it holds already follows behind.
std::string preload_list(const std::vector<std::string>& libraries);

/// Whether a program takes plain names from libraries for 64-bit integers.
bool has_wide_integers(const Program& program);

} // namespace qnm::run
