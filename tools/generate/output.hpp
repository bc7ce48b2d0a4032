// The generator's outputs, one file of this folder for each kind.
#pragma once

#include <set>
#include <string>

#include "text.hpp"

namespace qnm::generate {

/// Writes a file only when its text changes, so that nothing is compiled anew for a comment in a table.
void write_if_changed(const std::string& path, const std::string& text);

/// An expression of a test as C++; that of a batch is for group `g`.
std::string test_text(const catalogue::Expression& expression, const catalogue::Row& row);

/// An expression of arguments as a size of 64 bits, and the number of elements of an array.
std::string size_text(const catalogue::Expression& expression, const catalogue::Row& row);
/// A number that the rooms of a call tell.
std::string told_text(const catalogue::Expression& expression, const catalogue::Row& row);
std::string extent_text(const catalogue::Argument& array, const catalogue::Row& row);

/// The struct that holds a row's tests, and its name.
std::string tests_name(const catalogue::Row& row);
std::string tests_text(const catalogue::Row& row);

/// The source of one table.
std::string source_text(const catalogue::Catalogue& tables, const std::string& table);
/// The checks of a row, and its entries in the frame of its class; `declared` holds the core's functions that
/// the text above has.
std::string framed_text(const catalogue::Row& row, std::set<std::string>& declared);
/// The helpers of one table, which have no core and no frame.
std::string helpers_text(const catalogue::Catalogue& tables, const std::string& table);
/// Prototypes of a family's helpers, and how templates find them.
std::string helper_declarations(const catalogue::Catalogue& tables, const std::string& family);
/// What hands its arguments on and does no more.
std::string jumps_text(const catalogue::Row& row, std::set<std::string>& declared);
/// A public header: the template's text, with its marks replaced by the prototypes that they ask for. Refuses
/// a name that is asked for twice or, of a table that is asked for, not at all.
std::string header_text(const catalogue::Catalogue& tables, const std::string& path);
/// The core's functions behind the entries of a folder's tables, for those who write a core. Refuses two
/// entries that call one function with different types. With a macro: that of each one's table and name.
std::string core_prototypes(const catalogue::Catalogue& tables, const std::string& folder,
                            const std::string& macro);
/// What a name of these functions is and what follows from its row, for people.
std::string explanation(const catalogue::Catalogue& tables,
                        const std::vector<catalogue::Signature>& functions, const std::string& name);

} // namespace qnm::generate
