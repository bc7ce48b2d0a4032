// Statements of the tables' language. docs/tables.md is its manual.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "cblas.hpp"
#include "lapacke.hpp"
#include "lexer.hpp"
#include "row.hpp"
#include "service.hpp"

namespace qnm::catalogue {

using Families = std::map<std::string, Family>;

/// The rows of one statement of a family with a core or of helpers, one for each root.
std::vector<Row> read_rows(Lexer& lexer, const std::string& root, const Family* family,
                           const Families& families);

Service read_service(Lexer& lexer, ServiceKind kind);

/// A test of the C interface that differs from the Fortran row's: `transa in NT`, `batch_size >= 0`.
struct CTest {
    std::string argument;
    std::string letters;
    ExpressionPtr minimum; // where there are no letters
};

/// A statement of the C interface, which holds for several roots and the Fortran rows of each.
struct CStatement {
    CRow row; // what all have in common
    std::vector<Head> heads;
    std::vector<std::string> tested;
    std::string ahead_of_layout;
    std::vector<std::pair<std::string, std::string>> types; // of arguments that have another
    std::vector<CTest> tests;
};
CStatement read_c_statement(Lexer& lexer, const std::string& root, const Family& family);
/// The rows of one of its roots, one for each Fortran row.
std::vector<CRow> derive_c_rows(const CStatement& statement, const Head& head, const std::deque<Row>& rows,
                                const Lexer& lexer);

LapackeRow read_lapacke_row(Lexer& lexer, const std::string& root);
/// Refuses names that this routine does not have.
void check_lapacke_names(const Lexer& lexer, const LapackeRow& c, const Row& row);

// Parts of statements.

/// Reads `gemm s d c z, gemm3m c z` up to a word that ends it, which it leaves.
std::vector<Head> read_heads(Lexer& lexer, const std::string& root,
                             const std::function<bool(const std::string&)>& is_end,
                             const std::string& expected);
/// The same up to a class, ahead of which each root has letters.
std::vector<Head> read_heads_of_class(Lexer& lexer, const std::string& root,
                                      const std::function<bool(const std::string&)>& is_class,
                                      const std::string& classes);
std::string read_type(Lexer& lexer, const std::string& expected = "a type");
/// `name = expression`.
Definition read_definition(Lexer& lexer);

} // namespace qnm::catalogue
