// The members of the Fortran BLAS layer as they are published, written by hand: what the tables are held
// against.
#pragma once

#include "catalogue/catalogue.hpp"

#include <string>
#include <vector>

namespace qnm::tests {

struct Published {
    const char* members;   // narrow names; ? is S, D, C, Z
    const char* signature; // one letter each: c option, i integer, v integer by value, p else
    const char* letters;   // that each option argument takes, in alphabetical order
    const char* codes;     // that bad arguments get; none for members without a check
    catalogue::Class frame = catalogue::Class::checked;
};
const std::vector<Published>& published();

/// The names that a list of members stands for.
std::vector<std::string> expand(const char* members);

} // namespace qnm::tests
