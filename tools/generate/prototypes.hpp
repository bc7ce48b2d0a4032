// Prototypes as the public headers have them.
#pragma once

#include "catalogue/cblas.hpp"
#include "text.hpp"

namespace qnm::generate {

/// A prototype, its lines broken.
std::string prototype(const std::string& type, const std::string& name, const Words& parameters);

/// The prototypes of all entries of a row, and of all spellings of a service.
std::string prototypes(const catalogue::Row& row);
std::string prototypes(const catalogue::CRow& row);
std::string prototypes(const catalogue::Service& s);

/// Those of the C interface to LAPACK of one table, and what a program of 64-bit integers calls in place of
/// each name.
std::string lapacke_prototypes(const catalogue::Catalogue& tables, const std::string& file);
std::string lapacke_renames(const catalogue::Catalogue& tables);
/// The names under which C programs call the LAPACK routines themselves.
std::string lapacke_routines(const catalogue::Catalogue& tables, catalogue::Width width);

} // namespace qnm::generate
