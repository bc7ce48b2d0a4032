// Statements of the tables' language. docs/tables.md is its manual.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "lexer.hpp"
#include "row.hpp"

namespace qnm::catalogue {

/// Arguments that several rows have in common.
using Lists = std::map<std::string, std::vector<Argument>>;

/// `list NAME ARGUMENTS`, behind its first word.
void read_list(Lexer& lexer, Lists& lists);
/// The rows of one statement, one for each root.
std::vector<Row> read_rows(Lexer& lexer, const std::string& root, const Family& family,
                           const Families& families, const Lists& lists);

// Parts of statements.

/// Reads `gemm s d c z, gemm3m c z` up to a word that ends it, which it leaves. Where rows may exist in one
/// form of a family, `in FORM` stands behind letters.
std::vector<Head> read_heads(Lexer& lexer, const std::string& root,
                             const std::function<bool(const std::string&)>& is_end,
                             const std::string& expected, const Family* family = nullptr);
/// The same up to a class, ahead of which each root has letters.
std::vector<Head> read_heads_of_class(Lexer& lexer, const std::string& root,
                                      const std::function<bool(const std::string&)>& is_class,
                                      const std::string& classes, const Family* family = nullptr);
std::string read_type(Lexer& lexer, const std::string& expected = "a type");
/// `name = expression`.
Definition read_definition(Lexer& lexer);

} // namespace qnm::catalogue
