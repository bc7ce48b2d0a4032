// Function declarations as a C header's text has them, without a compiler.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace qnm::headers {

/// `const double* const* a_array`: element "double", constant, two stars.
struct Type {
    std::string element;
    int stars = 0;
    bool constant = false; // what the first star leads to
};

struct Prototype {
    std::string name;
    Type result;
    std::vector<Type> arguments;
};

/// All declarations of functions in the text, in every branch of its conditions.
std::vector<Prototype> read_prototypes(const std::string& source);

std::ostream& operator<<(std::ostream& out, const Prototype& prototype);

} // namespace qnm::headers
