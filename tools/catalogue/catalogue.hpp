// What the tables say, read in order: families and their rooms, rows, and whose each name is.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <set>

#include "documentation.hpp"
#include "lexer.hpp"
#include "room.hpp"
#include "row.hpp"

namespace qnm::catalogue {

class Catalogue {
public:
    /// Reads one table, which is known by its folder and its name; throws TableError on the first word that
    /// it does not know.
    void read(const std::string& path);
    /// Reads a table's text; `table` is its name: "blas/level2.tab".
    void read_text(const std::string& text, const std::string& table);

    const std::deque<Row>& rows() const { return rows_; }
    /// All entries of a row, narrow before wide, letters in the row's order. A row of class check has none.
    static std::vector<Entry> entries(const Row& row);
    /// The exported checks of a row; some families have each once, for 64-bit integers.
    static std::vector<Entry> checks(const Row& row);
    std::vector<Entry> entries() const;

    /// The tables read, in order.
    const std::vector<std::string>& tables() const { return tables_; }
    /// The functions of one table, or of all in order.
    std::vector<Signature> signatures(const std::string& table) const;
    std::vector<Signature> signatures() const;
    /// The source of one table.
    std::string source(const std::string& table) const;
    /// The room of a folder; null if no family of the tables is its.
    const Room* room(const std::string& name) const;

    /// The titles, in order.
    const std::deque<Documentation>& titles() const { return titles_; }
    /// What is told of a function's routine: by its own family, or by one whose entries that calls. Null if
    /// nothing is.
    const Documentation* documentation(const Signature& signature) const;
    /// Refuses a published function of a table without a title, and a title that no row of its table has.
    void check_titles(const std::string& table) const;
    const Phrases& positives() const { return positives_; }
    const Phrases& sources() const { return sources_; }

    // For rooms.
    const Families& families() const { return families_; }
    const Row& add(Row row) { return rows_.emplace_back(std::move(row)); }
    /// Takes a name that a row exports, and refuses one that is taken.
    void claim(const std::string& spelling, const std::string& where);

private:
    void statement(Lexer& lexer);
    void family(Lexer& lexer);
    void title(Lexer& lexer);
    void phrase(Lexer& lexer, Phrases& phrases);
    void check_source(const Lexer& lexer, const std::string& source) const;
    Room& room_of(const Family& family);
    const Room& room_of_table(const std::string& table) const;

    Families families_;
    std::map<std::string, std::unique_ptr<Room>> rooms_;
    std::map<std::string, std::set<Room*>> room_of_tables_;
    std::vector<std::string> tables_;
    const Family* family_ = nullptr;
    std::string source_; // of the rows below
    std::deque<Documentation> titles_;
    std::map<std::pair<std::string, std::string>, const Documentation*> title_of_; // by family and root
    Phrases positives_, sources_;
    std::deque<Row> rows_;                       // entries and plans point at them
    std::map<std::string, std::string> claimed_; // each exported name and where it was told
};

/// Reads every table named, in order.
Catalogue read_tables(const std::vector<std::string>& paths);

} // namespace qnm::catalogue
