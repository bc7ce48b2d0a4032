// What the C interface adds to the Fortran routines, written by hand: orders of tests and row-major calls.
#pragma once

#include "support/published.hpp"

namespace qnm::tests {

/// What routines with one behaviour have in common.
struct CFacts {
    const char* members;
    /// Of testing, those arguments that a routine has: `ldb@11` is reported as 11, `uplo+` does not end the
    /// entry, `rows:n` stands in one layout only.
    const char* order;
    /// A row-major call: `m,n` change places, `trans:TNN` are the letters of codes in their order.
    const char* rows = "";
    const char* idle = "";   // sizes of which one that is 0 ends the entry; `scalars`: alpha 0 and beta 1
    const char* bounds = ""; // where the Fortran routine has others; `!` is not raised to 1
    const char* arguments = nullptr; // the same
    bool narrow_only = false;
};

/// One routine in one width.
struct Member {
    const CFacts* facts;
    std::string routine, name; // "dgemm", "cblas_dgemm_64"
};
const std::vector<Member>& members();

} // namespace qnm::tests
