// Rows of the C interface: what a C entry adds to the Fortran entry that it calls.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/catalogue.hpp"

namespace qnm::catalogue {

/// A set of enumerated codes. Codes follow each other from the first, in the order of the letters.
struct CodeGroup {
    const char* type; // the C type
    const char* letters;
    int first;
};

/// The code that stands for an option letter of an argument that takes these letters; P, the packed operand,
/// has one of its own.
const CodeGroup& code_group(const std::string& letters);
int option_code(const CodeGroup& group, char letter);

/// How a C argument comes.
enum class CRole {
    layout,
    option,   // a code
    options,  // codes, one for each group
    integer,  // an integer of the caller's width, by value
    integers, // an array of them
    scalar,   // a real number by value, which the Fortran routine takes by reference
    address   // an address that goes on as it is
};

struct CArgument {
    CRole role = CRole::address;
    Argument as; // what it is to the Fortran routine; of the layout the name only
};

/// What becomes of the arguments in one of the two layouts.
struct Rewrite {
    std::map<std::string, std::string> exchanged; // both ways; an argument stands in the place of another
    std::map<std::string, std::string> letters;   // what the codes of an option become, in their order
    std::vector<std::string> conjugated;          // scalars
    std::vector<std::string> goes_on;             // tests that do not end the entry, in this layout alone
    std::map<std::string, int> codes;             // reported numbers that are no positions
    std::string callee;                           // another root to call

    /// The C argument that takes the place of a Fortran argument.
    const std::string& source(const std::string& fortran) const;
};

/// One row for the letters that share a Fortran row.
struct CRow {
    std::string file; // with the family's folder: "cblas/level3.tab"
    int line = 0;
    std::string root;
    std::string fortran_root;
    std::vector<Precision> precisions;
    const Family* family = nullptr;
    std::string form;       // the word of its class, which is its template
    std::string conjugated; // how a row-major call of complex numbers is conjugated; empty: not at all
    std::vector<std::string> copied;  // vectors of which that takes copies
    std::vector<std::string> steps;   // tested arguments and the layout, in order of testing
    std::vector<std::string> goes_on; // tests that report and do not end the entry
    std::vector<std::string>
        quick;          // sizes of which one that is zero ends the call; `scalars`: alpha 0, beta 1
    bool plain = false; // the narrow entry too calls the spelling in lower case
    bool stops = false; // (level2) a bad option ends the entry
    bool narrow_only = false;
    bool allocated_first = false; // (groups) memory is asked for ahead of most tests
    Rewrite columns;
    Rewrite rows;
    Row fortran;
    std::vector<CArgument> arguments;

    std::string where() const { return file + ":" + std::to_string(line); }
    const CArgument* find(const std::string& name) const;
    int position(const std::string& name) const;
    bool has(const std::vector<std::string>& list, const std::string& name) const;
    const Rewrite& rewrite(bool row_major) const { return row_major ? rows : columns; }
};

/// One entry of the C interface.
struct CEntry {
    const CRow* row = nullptr;
    Precision precision;
    const Form* form = nullptr;
    Width width = Width::narrow;

    std::string name() const;
    /// The Fortran spelling that it calls, or the core function that it calls at once.
    std::string callee(const Rewrite& rewrite) const;
};

std::vector<CEntry> c_entries(const CRow& row);

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

/// Those of a catalogue with a room of the C interface.
const std::deque<CRow>& c_rows(const Catalogue& tables);

/// The letter that an option's becomes in a layout.
char becoming(char letter, const CArgument& option, const Rewrite& rewrite);
/// An expression of the routine in the arguments of a call in one layout: what stands in the place of each,
/// and of its letters those that become the routine's. Names of `where` are written out.
ExpressionPtr in_layout(const Expression& expression, const CRow& row, const Rewrite& rewrite);

/// What an entry is.
Signature c_signature(const CEntry& entry);

} // namespace qnm::catalogue
