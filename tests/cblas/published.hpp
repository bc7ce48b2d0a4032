// What the C interface is known to be, written by hand: signatures, orders of tests, bounds and row-major
// calls.
#pragma once

#include <string>
#include <vector>

namespace qnm::tests {

/// Words of `arguments` behind the layout (if `column_order` has one, else all): options (trans..., uplo,
/// side, diag, offsetc, identifier), with the letters that they may be in brackets if these are not all;
/// sizes; `alpha`, `beta` and `sin` of the letter's type, with `r` in front real ones, `f` floats, `h` of 16
/// bits; offsets ao and bo; arrays. `rows` are the
/// places of the Fortran routine as a row-major call fills them, options with the letters of their codes, `*`
/// behind what is conjugated. The orders are those of testing in the two layouts; `word@7` is reported as 7
/// and not by its position; `word+` does not end the entry. A bound is `lda=trans?m:k`: no less than m, and
/// 1, if trans is no transposition (side: left), else k; `lda>k`; `!n` at least the expression as it is.
struct Family {
    std::string members; // "gemm sdcz gemm3m cz"
    std::string arguments;
    std::string rows;
    std::string column_order;
    std::string row_order;
    std::string column_bounds;
    std::string row_bounds;
    bool plain = false; // the narrow entry calls the plain spelling, not the private one
    std::string idle;   // sizes of which one that is 0 makes the entry return; `scalars`: alpha 0 and beta 1
    bool narrow_only = false;
};

const std::vector<Family>& families();
/// Group batches, with plain names for their arrays. An order may have arrays that only must not be null.
const std::vector<Family>& group_families();

std::vector<std::string> words(const std::string& text);

} // namespace qnm::tests
