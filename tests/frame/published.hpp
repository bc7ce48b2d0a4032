// The names of this library as its documentation publishes them: members from the lists of facts that tests
// have by hand, and the spellings of each family told here, independently of the tables.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace qnm::published {

using Names = std::vector<std::string>;

/// Every entry of the BLAS that has a verbose cell: lower case, with `_64` for a wide one.
Names traced();

/// A service with a Fortran form (three spellings), which reads its arguments through pointers, and a C form
/// that takes values.
struct TwoForms {
    std::string c;
    int result;              // its bits, in a register; 0: none
    std::vector<int> widths; // bits that the Fortran form reads behind arguments; 0: it goes on as it came
    Names fortran = {};
    std::string core = {}, c_core = {};
};
const std::vector<TwoForms>& two_forms();

/// All spellings of one body, which hands everything on as it came.
struct Forward {
    Names spellings;
    std::string core;
};
const std::vector<Forward>& forwards();

/// The links of a chain in the order of the walk, the core's default at the end.
struct Chain {
    Names links;
    std::string core;
};
const std::vector<Chain>& chains();

/// Those that are no functions.
const Names& variables();

/// What a distributed layer takes over: the library's weak symbols.
const Names& replaceable();

/// The names that a function of the C interface to LAPACK has, by the routine's.
std::set<std::string> of_lapacke(const std::string& routine, bool has_work_level);

/// Every other function of the library: the names that one address has.
std::vector<Names> bodies();

} // namespace qnm::published
