// What the two halves of the C interface's generator share.
#pragma once

#include "catalogue/cblas.hpp"

namespace qnm::generate {

using Words = std::vector<std::string>;

std::string joined(const Words& parts, const char* between);

/// The struct of a row, if its class has one: references to the arguments, tests in both layouts, and the
/// calls.
bool has_layout(const catalogue::CRow& row);
std::string struct_name(const catalogue::CRow& row);
std::string row_text(const catalogue::CRow& row);

/// An argument's type inside the library, and that of a scalar for a letter.
std::string c_parameter_type(const catalogue::CArgument& a, const std::string& integer,
                             const std::string& real);
std::string scalar_type(const catalogue::CArgument& a, const catalogue::Precision& precision);

} // namespace qnm::generate
