// The names of this library as its documentation publishes them, written down by hand and independently of
// the tables: a row that is lost, misspelt or put into the wrong class there differs from these lists.
#pragma once

#include <string>
#include <vector>

namespace qnm::published {

/// Routines of one class in lower case, without `_64`.
std::vector<std::string> checked();
std::vector<std::string> unchecked();
std::vector<std::string> scratch();
std::vector<std::string> bare();         // narrow only
std::vector<std::string> bare_as_wide(); // narrow and wide
/// Traced and registered without a check.
inline const std::string xerbla_array = "xerbla_array";

/// The C interface, without `_64`; and what of it is narrow alone.
std::vector<std::string> cblas();
std::vector<std::string> cblas_narrow();
/// The spellings that its narrow entries call: of most the private one, of some the plain one.
std::vector<std::string> cblas_callees();

/// A service with a Fortran form (upper case here; also lower case, and lower case with `_`), which reads its
/// arguments through pointers, and a C form that takes values.
struct TwoForms {
    std::string fortran;
    std::string c;
    std::vector<int> widths; // bits of each argument that the Fortran form reads
    std::string core;
    std::string c_core;
    std::vector<std::string> fortran_spellings() const;
};
const std::vector<TwoForms>& two_forms();

/// All spellings of one body, which hands everything on as it came.
struct Forward {
    std::vector<std::string> spellings;
    std::string core;
};
const std::vector<Forward>& forwards();

/// The links of a chain in the order of the walk, the core's default at the end.
struct Chain {
    std::vector<std::string> links;
    std::string core;
};
const std::vector<Chain>& chains();

/// Bodies that do more than forward.
std::vector<std::vector<std::string>> others();

std::vector<std::string> narrow_spellings(const std::string& name);
std::vector<std::string> wide_spellings(const std::string& name);

/// Every function of the library: the names under which one address is exported.
std::vector<std::vector<std::string>> bodies();
/// Every name that has a verbose cell: lower case, with `_64` for a wide entry.
std::vector<std::string> traced();

} // namespace qnm::published
