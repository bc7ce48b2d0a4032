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

/// An entry that carries integers over: its name in lower case, the core's prefix, and its arguments, each
/// with what is done with it: `.` goes on as it is, `+` widened, `<` comes back, `=` both; an array of
/// integers with its length behind: a number, or
///     r  128 and two of each right-hand side        p  n + 1, row pointers        c  as many as those tell
///     L  n + 1, and J as much as maxfil asks for: results that come back if ierr is 0
struct CarriedRoutine {
    std::string name, core;
    std::vector<std::string> arguments;
};
const std::vector<CarriedRoutine>& carried_routines();

} // namespace qnm::tests
