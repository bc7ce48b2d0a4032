// What the tables say, read in order.
#pragma once

#include <deque>

#include "cblas.hpp"
#include "lapacke.hpp"
#include "lexer.hpp"
#include "row.hpp"
#include "service.hpp"

namespace qnm::catalogue {

class Catalogue {
public:
    /// Reads one table; throws TableError on the first word that it does not know.
    void read(const std::string& path);
    /// Reads a table's text; `file` is for messages.
    void read_text(const std::string& text, const std::string& file);

    const std::deque<Row>& rows() const { return rows_; }
    const std::vector<Service>& services() const { return services_; }
    const std::deque<CRow>& c_rows() const { return c_rows_; }
    /// The members of the C interface to LAPACK.
    const std::vector<LapackePlan>& lapacke_plans() const { return lapacke_plans_; }
    /// All entries of a row, narrow before wide, letters in the row's order. A row of class check has none.
    static std::vector<Entry> entries(const Row& row);
    /// The exported checks of a row; some families have each once, for 64-bit integers.
    static std::vector<Entry> checks(const Row& row);
    std::vector<Entry> entries() const;

private:
    void statement(Lexer& lexer);
    void read_family(Lexer& lexer);
    void add_rows(Lexer& lexer, const std::string& root);
    void add_c_rows(Lexer& lexer, const std::string& root);
    void add_lapacke_row(Lexer& lexer, const std::string& root);
    void add_service(Lexer& lexer, ServiceKind kind);
    void claim(const std::string& spelling, const std::string& where);

    std::map<std::string, Family> families_;
    const Family* family_ = nullptr;
    std::deque<Row> rows_; // entries and plans point at them
    std::vector<Service> services_;
    std::deque<CRow> c_rows_;             // entries point at them
    std::deque<LapackeRow> lapacke_rows_; // plans point at them
    std::vector<LapackePlan> lapacke_plans_;
    std::map<std::string, std::string> claimed_; // each exported name and where it was told
};

/// Reads every table named, in order.
Catalogue read_tables(const std::vector<std::string>& paths);

} // namespace qnm::catalogue
