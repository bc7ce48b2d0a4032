// Sparse BLAS as it is published: operations on handles and classic routines, with what is done with each of
// their arguments.
#pragma once

#include <string>
#include <vector>

namespace qnm::tests {

struct Operation {
    std::string root;  // "d_mv"
    std::string kinds; // how its arguments travel, a letter each: members.cpp
    char letter;       // of its type; a blank: it has none
    bool wide;
};
/// Those of 32-bit integers, and of 64-bit ones.
std::vector<Operation> operations();

struct ClassicRoutine {
    std::string name;  // in lower case
    std::string tests; // what is looked at, a word for each argument: members.cpp
};
std::vector<ClassicRoutine> classic_routines();

} // namespace qnm::tests
