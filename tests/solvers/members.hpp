// Solvers as they are published, by hand.
#pragma once

#include <string>
#include <vector>

namespace qnm::tests {

/// An entry of direct solvers: its name with the capitals that it is published with, and how many arguments.
struct DirectRoutine {
    std::string name;
    std::size_t arguments;
    bool distributed() const { return name.starts_with("CLUSTER"); }
};
const std::vector<DirectRoutine>& direct_routines();

} // namespace qnm::tests
