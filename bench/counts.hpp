// Instructions in the layer, as callgrind counted them.
#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <string>

namespace qnm::bench {

constexpr long counted_calls = 1000;

/// Addresses of the layer's linkage table while it was counted.
struct Section {
    std::uint64_t begin = 0, end = 0;
};

struct Count {
    double own = 0;     // compiled code
    double linkage = 0; // jumps of the linkage table
    double all = 0;     // wherever
    double binding = 0; // in the dynamic loader: nothing, if all names were bound before
};

using Counts = std::map<std::string, Count>;

/// Instructions per call by the label of the part, from a callgrind file with plain object names, addresses
/// and positions (--dump-instr=yes --skip-plt=no --compress-strings=no --compress-pos=no).
Counts read_counts(std::istream& file, const Section& linkage_table);

} // namespace qnm::bench
