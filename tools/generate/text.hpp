// Pieces of text that all outputs are made of.
#pragma once

#include <string>
#include <vector>

#include "catalogue/catalogue.hpp"

namespace qnm::generate {

using Words = std::vector<std::string>;

std::string joined(const Words& parts, const char* between = ", ");

/// A C string literal.
std::string quoted(const std::string& text);

/// The caller's integer inside the library.
std::string integer_type(catalogue::Width width);

/// A root as part of a C++ name: the place of the letter is an x.
std::string stem(std::string root);

/// How a source made from a table begins: it includes its folder's templates and, behind what it declares,
/// opens their namespace.
std::string source_head(const std::string& table, const std::string& folder, const std::string& space,
                        const std::string& declarations = {});

/// An exported function of one statement; `head` is its result, name and parameters.
std::string exported(const std::string& head, const std::string& statement);

} // namespace qnm::generate
