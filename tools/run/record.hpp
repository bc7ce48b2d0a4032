#pragma once

#include <cstdint>
#include <string_view>

namespace qnm::run {

/// What a traced process told of one call.
struct Record {
    int process = 0, thread = 0; ///< as the system numbers them
    std::int64_t start = 0;      ///< of the call: nanoseconds of CLOCK_MONOTONIC
    double seconds = -1;         ///< that it took; negative if that is not known
    std::string_view line;       ///< "DGEMM(N,N,4,4,4,0x1,...)"; the heading of a process begins with '#'
};

} // namespace qnm::run
