// Calls of the FFTW3 interface as text: "plan_dft_2d 2 3 in out -1 0".
#pragma once

#include "support/invoke.hpp"

#include <string>

namespace qnm::tests {

/// A plan, for those who look into it.
struct Record {
    void *descriptor, *arrays[4];
    int* integers;
    double* doubles;
    float* floats;
    void (*execute)(Record*);
    void (*destroy)(Record*);
    void* reserved;
};

/// Arrays that calls name: in, out, ri, ii, ro, io, a, b.
constexpr std::size_t bytes_of_array = 1 << 16;
void* array(const std::string& name);
/// Whose array this is; "null", or "?".
std::string name_of(const void* address);

/// Of the numbers in `[2,3]`, `(8:1:1)` and the like.
std::vector<std::int64_t> integers(const std::string& text);

/// Calls a function by what stands behind its prefix. A word is an array's name, `null`, a number, numbers
/// `[2,3]`, or dimensions: `(8:1:1)`, of 64 bits `{8:1:1}`. What stands `ahead` is passed ahead. In Fortran
/// numbers go by address. A `!` ahead of a word is the test's own mark.
support::Returned call(const std::string& prefix, const std::string& text,
                       std::vector<support::Word> ahead = {});
Record* planned(const std::string& prefix, const std::string& text);
/// In Fortran, where the variable had a value of its own.
inline Record* const untouched = reinterpret_cast<Record*>(0x77);
Record* fortran_planned(const std::string& prefix, const std::string& text);

} // namespace qnm::tests
