// Services of a core, tried one by one.
#pragma once

#include <string>
#include <vector>

namespace qnm::core_check {

struct Trial {
    const char* name;
    std::string (*run)(void* core); // what is wrong; empty: nothing
};

/// Each is to run in a process of its own: a core may do what it likes.
const std::vector<Trial>& service_trials();

} // namespace qnm::core_check
