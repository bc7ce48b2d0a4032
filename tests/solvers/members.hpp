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

/// An argument, and what an entry does with it: `.` goes on as it is, `+` widened, `<` comes back, `=` both.
/// An array of integers has a length: a number, or
///     r  128 and two of each right-hand side        p  n + 1, row pointers        c  as many as those tell
///     L  n + 1, and J as much as maxfil asks for: results that come back if ierr is 0
struct CarriedArgument {
    std::string name;
    char way;
    std::string length;
    bool goes_in() const { return way == '+' || way == '='; }
    bool comes_back() const { return way == '<' || way == '='; }
};

/// An entry that carries integers over: its name in lower case, the word in the core's names, the arguments.
struct CarriedRoutine {
    std::string name, family;
    std::vector<CarriedArgument> arguments;
};
const std::vector<CarriedRoutine>& carried_routines();

} // namespace qnm::tests
