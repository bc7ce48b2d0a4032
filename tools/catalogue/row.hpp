// A row of a routine: its arguments, and what follows from them (names, formats, positions).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "expression.hpp"

namespace qnm::catalogue {

/// The width of integers at the caller's boundary.
enum class Width { narrow, wide };

/// The shape of an entry's frame; each has one template of the same name in the layer.
enum class Class { checked, registered, unregistered, unchecked, scratch, bare, check, matcopy, helper };

/// How an argument travels.
enum class Kind {
    character, // char x: pointer to one option letter, hidden length behind all arguments
    integer,   // int x: pointer to an integer of the caller's width
    value,     // int x value: the integer itself
    handle,    // void x value: an address that is the argument itself
    real,      // T x, T x[], ...: pointer, passed as it is
    integers,  // int x[]: pointer to integers of the caller's width
    letters    // char x[]: pointer to one option letter for each group
};

/// Who reads and writes an array.
enum class Direction { none, in, out, inout, work };

struct Argument {
    Kind kind = Kind::real;
    std::string type; // a word of types(): T, R, C, int, char, double, ...
    std::string name;
    bool pointers = false; // T* x[]: an array of addresses
    bool array = false;
    std::vector<ExpressionPtr> extents; // one for x[n], two for x(m,n), none for x[] or a scalar
    Direction direction = Direction::none;
    ExpressionPtr returned;     // of a work array: how many leading elements carry results
    bool query = false;         // -1 asks for sizes of work arrays
    bool alone = false;         // of a query: it asks for itself, and others do not ask for it
    bool null_at_query = false; // the core gets no array then
    bool cleared = false;       // of a work array: its scratch is zero at first
    bool kept = false;          // for the layer alone: the core does not get it

    // The test of a checked entry: letters, bounds or non-zero.
    std::string letters;   // allowed option letters, in order of testing
    ExpressionPtr minimum; // x >= minimum
    ExpressionPtr maximum; // x <= maximum, besides a minimum
    bool nonzero = false;  // x != 0
    ExpressionPtr barred;  // refused too where this holds
    ExpressionPtr unless;  // the test is left out where this holds
    std::optional<int> code_override;

    bool is_integer() const { return type == "int" || type == "logical"; }
    bool tested() const { return !letters.empty() || minimum || nonzero; }
};

enum class ResultKind { none, value, hidden };

struct Result {
    ResultKind kind = ResultKind::none;
    std::string type;
    int refusal = 0; // what a refused call gives back
};

/// A quantity that tests need, computed ahead of all of them.
struct Definition {
    std::string name;
    ExpressionPtr value;
};

/// Letters of a family's naming: prefix in front of the root, and the types that T, R and C stand for.
struct Precision {
    std::string prefix;
    char element; // T: s d c z
    char real;    // R: s d
    bool is_complex() const { return element == 'c' || element == 'z'; }
};
const Precision* find_precision(const std::string& prefix);

/// A routine of a row and its letters.
struct Head {
    std::string root;
    std::vector<Precision> letters;
};

/// The naming of one family; NAME and name stand for the entry in upper and lower case.
struct Family {
    std::string name;
    std::string frame;      // the folder and namespace of its templates
    std::string core;       // name of the core function
    std::string check;      // name of the check function
    bool one_check = false; // it exists once and reads 64-bit integers
    std::string calls;      // of a C interface: the family whose entries it calls
    std::map<Width, std::vector<std::string>> spellings;
};

struct Row {
    std::string file;
    int line = 0;
    std::string root;
    std::vector<Precision> precisions; // one with an empty prefix where the root is the whole name
    const Family* family = nullptr;
    const Family* also = nullptr; // a second family whose further spellings the entry carries
    Class entry_class = Class::unchecked;
    bool unpadded = false; // the report's name carries no blank, however long it is
    bool groups =
        false; // parameters are arrays with one element for each group, and the core gets a width flag
    std::vector<Argument> arguments;
    Result result;
    std::vector<Definition> definitions;
    std::vector<std::string> tested_last; // arguments whose tests stand behind all others
    std::string leaf;                     // name of the leaf size that the routine asks ilaenv for
    bool settled = false;                 // nobody publishes the routine: its argument list was settled here
    std::string core_root;                // where the core's name has another root
    std::string small_root;               // the kernel for small sizes, with its condition
    ExpressionPtr small_condition;

    std::string where() const { return file + ":" + std::to_string(line); }
    const Argument* find(const std::string& name) const;
    bool has_letter(const Precision& letter) const;
    /// One-based position in the published argument list.
    int position(const Argument& argument) const;
    int code(const Argument& argument) const;
    /// The tested arguments in order of testing.
    std::vector<const Argument*> tests() const;
    bool has_wide() const
    {
        return entry_class != Class::matcopy && (entry_class != Class::bare || small_root.empty());
    }
    /// Whether the row has tests and an exported check.
    bool has_check() const
    {
        return entry_class == Class::checked || entry_class == Class::check || entry_class == Class::matcopy;
    }
};

/// One entry: a row, one of its letters and a width.
struct Entry {
    const Row* row = nullptr;
    Precision precision;
    Width width = Width::narrow;

    /// Upper case with `_64` for wide entries: "DGEMM_64".
    std::string name() const;
    /// Lower case with `_64` for wide entries, as the verbose cell is named: "dgemm_64".
    std::string cell() const;
    std::string core() const;
    std::string small_core() const;
    std::string check() const;
    /// All exported names; the first is name().
    std::vector<std::string> spellings() const;
    /// The fixed name of reports: of a check padded to six characters, or with one blank behind a longer
    /// name; of a failed scratch the exact one.
    std::string report_name() const;
    std::string format() const;
    /// The class whose frame this entry has: wide members of the scratch class are plain unchecked ones.
    Class frame() const;
    /// The name of the C form of a matrix copy, which takes values: "QNM_Domatcopy"; empty in other families.
    std::string c_form() const;
    /// The trace line of the C form.
    std::string c_format() const;
    /// The arguments of this entry that are option letters, which is the number of hidden lengths.
    int hidden_lengths() const;
};

/// The trace line of a matrix copy, with the conversion of its integers.
std::string matcopy_format(const Entry& entry, const char* integer);

/// The C type of an argument's or result's type word, for a letter and a width.
std::string c_type(const std::string& type, const Precision& precision, Width width);
bool is_type(const std::string& word);

std::string to_upper(std::string text);
std::string to_lower(std::string text);

} // namespace qnm::catalogue
