// The names of this library as its documentation publishes them, written down by hand and independently of
// the tables: a row that is lost, misspelt or put into the wrong class there differs from these lists.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace qnm::published {

using Names = std::vector<std::string>;

/// Routines in lower case, without `_64`, by their class. "bare" is narrow only, "jit" is bare in both
/// widths.
const std::map<std::string, Names>& classes();
/// Every entry that has a verbose cell: lower case, with `_64` for a wide one.
Names traced();
/// The spellings that the C interface calls, but for those of names that are one jump.
Names cblas_callees();

/// A service with a Fortran form (three spellings), which reads its arguments through pointers, and a C form
/// that takes values.
struct TwoForms {
    Names fortran;
    std::string c;
    std::vector<int> widths; // bits of each argument that the Fortran form reads
    std::string core;
    std::string c_core;
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

/// Every function of the library but for those of LAPACK and matrix copy: the names that one address has.
std::vector<Names> bodies();

} // namespace qnm::published
