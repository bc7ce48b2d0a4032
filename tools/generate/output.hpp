// The generator's outputs, one file of this folder for each kind.
#pragma once

#include <string>

#include "text.hpp"

namespace qnm::generate {

/// Writes a file only when its text changes, so that nothing is compiled anew for a comment in a table.
void write_if_changed(const std::string& path, const std::string& text);

/// An expression of a test as C++; that of a batch is for group `g`.
std::string test_text(const catalogue::Expression& expression, const catalogue::Row& row);

/// An expression of arguments as a size of 64 bits, and the number of elements of an array.
std::string size_text(const catalogue::Expression& expression, const catalogue::Row& row);
std::string extent_text(const catalogue::Argument& array, const catalogue::Row& row);

/// The struct that holds a row's tests, and its name.
std::string tests_name(const catalogue::Row& row);
std::string tests_text(const catalogue::Row& row);

/// All entries and checks of one table.
std::string entries_text(const catalogue::Catalogue& tables, const std::string& file);
/// The helpers of one table, which have no core and no frame.
std::string helpers_text(const catalogue::Catalogue& tables, const std::string& file);
/// A header with the prototypes of a family's helpers, and how templates find them; and how sources include
/// it.
std::string helper_declarations(const catalogue::Catalogue& tables, const std::string& family);
std::string helpers_header();
/// The check and both forms of a matrix copy.
std::string matcopy_text(const catalogue::Entry& entry);
/// All entries of the C interface of one table, "cblas/level3.tab".
std::string cblas_text(const catalogue::Catalogue& tables, const std::string& file);
/// The C interface to LAPACK of one table.
std::string lapacke_text(const catalogue::Catalogue& tables, const std::string& file);
/// What follows from the rows of one of its names; empty for other names.
std::string lapacke_explanation(const catalogue::Catalogue& tables, const std::string& name);
/// All services of one table.
std::string services_text(const catalogue::Catalogue& tables, const std::string& file);
/// A public header: the template's text, with `@prototypes FILE ROOT... @` replaced by the prototypes of
/// those rows of a table, or of all its rows. Refuses a row that is asked for twice or, of such a table, not
/// at all.
std::string header_text(const catalogue::Catalogue& tables, const std::string& path);
/// What a name is and what follows from its row, for people.
std::string explanation(const catalogue::Catalogue& tables, const std::string& name);

} // namespace qnm::generate
