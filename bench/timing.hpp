// Time of one call beside the same call made directly.
#pragma once

#include "cases.hpp"

namespace qnm::bench {

/// One way to reach a routine.
struct Road {
    Loop* loop;
    void* function; // null: there is no such road
};

/// Nanoseconds per call, medians over many rounds.
struct Times {
    double direct = 0, layer = 0;
    double engine = 0; // 0 if not taken
    double added = 0;  // layer less direct, within a round
    double ratio = 0;  // layer by direct, within a round
};

Times measure(const Road& direct, const Road& layer, const Road& engine);

} // namespace qnm::bench
