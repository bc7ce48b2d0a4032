// One page of the reference: what a title and the signatures of its routines say.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/catalogue.hpp"

namespace qnm::reference {

/// What the build knows beside the tables.
struct Build {
    std::map<std::string, std::string> headers; // by table: "qnm/blas.h"
    std::map<std::string, std::string> carried; // by function of the core: "engine", "own", "stub"
    std::string date;                           // "November 1, 2026"
};

struct Page {
    const catalogue::Documentation* told = nullptr;
    std::vector<catalogue::Signature> functions; // in the tables' order
    std::vector<std::string> names;              // every spelling, once

    /// The first spelling, in lower case, and with it the file's, in a section that is a part of the third.
    std::string name() const { return catalogue::to_lower(names.front()); }
    std::string file() const { return name() + ".3qnm"; }
    bool has_info() const;
    /// What INFO may be beside positions.
    std::vector<std::pair<int, std::string>> statuses() const;
    /// The codes that are reported or given back, each with what it says, once.
    std::vector<std::pair<int, std::string>> codes() const;
};

/// The pages of all titles that a function has, in the tables' order.
std::vector<Page> pages_of(const catalogue::Catalogue& tables);

/// What a test asks for, in words: "transa is 111 (N), 113 (C) or 112 (T)".
std::string requirement(const catalogue::Signature& signature, const catalogue::Test& test);
/// The codes of an enumerated argument, "111 (N)"; none of what is no such argument.
std::vector<std::string> codes_of(const catalogue::Signature& signature, std::size_t parameter);
/// "a, b or c".
std::string alternatives(const std::vector<std::string>& words);

/// A page in the mdoc language.
std::string mdoc(const Page& page, const catalogue::Catalogue& tables, const Build& build);

/// The page with the list of all, by chapter, and the search over names, titles and codes.
std::string index_html(const std::vector<Page>& pages);

} // namespace qnm::reference
