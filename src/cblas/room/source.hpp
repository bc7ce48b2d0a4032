// What the parts of the C interface's generator share.
#pragma once

#include "cblas/room/cblas.hpp"
#include "generate/text.hpp"

namespace qnm::generate {

/// The struct of a row, if its class has one: references to the arguments, tests in both layouts, and the
/// calls.
bool has_layout(const catalogue::CRow& row);
std::string struct_name(const catalogue::CRow& row);
std::string row_text(const catalogue::CRow& row);

/// The tests of some steps in one layout, as a chain of conditions that ends in 0.
std::string test_chain(const catalogue::CRow& row, const Words& steps, bool row_major,
                       const std::string& behind_trans = {});

/// Whether an argument has one element for each group.
bool is_array(const catalogue::CArgument& a);
/// What an argument's letters become in a layout, in the order of its codes.
std::string letters_of(const catalogue::CArgument& a, const catalogue::Rewrite& rewrite);

/// An argument's type inside the library, and that of a scalar for a letter.
std::string c_parameter_type(const catalogue::CArgument& a, const std::string& integer,
                             const std::string& real);
std::string scalar_type(const catalogue::CArgument& a, const catalogue::Precision& precision);

/// All entries of one table.
std::string cblas_text(const catalogue::Catalogue& tables, const std::string& table);

} // namespace qnm::generate
