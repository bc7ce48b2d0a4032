// A row of a routine: its arguments, and what follows from them (names, formats, positions).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "expression.hpp"
#include "family.hpp"
#include "types.hpp"

namespace qnm::catalogue {

/// The shape of an entry's frame; each has one template of the same name in the layer, or needs none.
enum class Class {
    checked,
    registered,
    unregistered,
    unchecked,
    scratch,
    bare,
    carried, // arrays of integers too are widened, on the stack, and come back
    check,
    relayed, // checked, then a jump to the core with everything as it came
    handed,  // references turned into values, values into addresses, as the core's function takes them
    passed,  // a jump to the core with everything as it came
    chain,   // jumps from each name to the next through the dynamic symbol table, the last to the core
    called,  // no entry: the layer calls the core's function itself
    own      // a body written by hand, or a variable
};

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
    std::vector<std::pair<Precision, Direction>> but; // of some letters it is another
    ExpressionPtr present;                            // of an array that is copied only where this holds
    ExpressionPtr returned;     // of a work array: how many leading elements carry results
    bool query = false;         // -1 asks for sizes of work arrays
    bool alone = false;         // of a query: it asks for itself, and others do not ask for it
    bool null_at_query = false; // the core gets no array then
    bool cleared = false;       // of a work array: its scratch is zero at first
    bool kept = false;          // for the layer alone: the core does not get it

    // The test of a checked entry: letters, bounds or non-zero.
    std::string letters;   // allowed option letters, in order of testing
    ExpressionPtr minimum; // x >= minimum
    ExpressionPtr above;   // x > above; what compares with nothing passes
    ExpressionPtr maximum; // x <= maximum, besides a minimum
    bool nonzero = false;  // x != 0
    ExpressionPtr barred;  // refused too where this holds
    ExpressionPtr unless;  // the test is left out where this holds
    std::optional<int> code_override;

    bool is_integer() const { return type == "int" || type == "logical"; }
    bool is_real() const { return type == "R" || type == "float" || type == "double"; }
    bool tested() const { return !letters.empty() || minimum || above || nonzero; }
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

/// A routine of a row and its letters.
struct Head {
    std::string root;
    std::vector<Precision> letters;
    const Form* only = nullptr; // the one form in which it exists; null: all
};

struct Row {
    std::string file; // with its folder: "blas/level2.tab"
    int line = 0;
    std::string root;
    std::vector<Precision> precisions; // one with an empty prefix where the root is the whole name
    const Family* family = nullptr;
    const Family* also = nullptr; // a second family whose further spellings the entry carries
    const Form* only = nullptr;   // the one form in which it has entries
    Class entry_class = Class::unchecked;
    bool narrow_only = false;
    bool unpadded = false; // the report's name carries no blank, however long it is
    bool groups =
        false; // parameters are arrays with one element for each group, and the core gets a width flag
    std::vector<Argument> arguments;
    Result result;
    std::vector<Definition> definitions;
    std::vector<std::string> tested_last; // arguments whose tests stand behind all others
    std::string leaf;                     // name of the leaf size that the routine asks ilaenv for
    std::string core_root;                // where the core's name has another root
    bool core_without_letter = false;
    std::string value_core_root;     // the same, of the form that takes values
    std::vector<std::string> places; // what the core gets, where that is not the arguments in their order
    std::string small_root;          // the kernel for small sizes, with its condition
    ExpressionPtr small_condition;
    std::vector<std::string> ahead; // of a passed row: functions that are called ahead of the jump
    std::vector<std::string> links; // of a chain: the further names
    std::string source;             // of a body by hand: its file
    bool data = false;              // and that it is a variable
    bool variadic = false;          // further arguments, which a format tells

    std::string where() const { return file + ":" + std::to_string(line); }
    const Argument* find(const std::string& name) const;
    bool has_letter(const Precision& letter) const;
    /// One-based position in the published argument list.
    int position(const Argument& argument) const;
    int code(const Argument& argument) const;
    /// The tested arguments in order of testing.
    std::vector<const Argument*> tests() const;
    /// The forms in which the row has entries.
    std::vector<const Form*> forms() const;
    /// Whether one function has the names of all forms.
    bool is_one_body() const
    {
        return only == nullptr && (entry_class == Class::passed || entry_class == Class::chain ||
                                   (entry_class == Class::own && !source.empty()));
    }
    /// Whether the row has tests and an exported check.
    bool has_check() const
    {
        return entry_class == Class::checked || entry_class == Class::check ||
               entry_class == Class::relayed || (entry_class == Class::handed && !tests().empty());
    }
};

/// One entry: a row, one of its letters and a form.
struct Entry {
    const Row* row = nullptr;
    Precision precision;
    const Form* form = nullptr;
    Width width = Width::narrow;

    Entry(const Row& of, const Precision& letter, const Form& as);
    /// In the first form of that width.
    Entry(const Row& of, const Precision& letter, Width integers);

    /// The first of all exported names: "DGEMM_64".
    std::string name() const { return spellings().front(); }
    /// In lower case, as the verbose cell is named: "dgemm_64".
    std::string cell() const { return to_lower(name()); }
    std::string core() const;
    std::string small_core() const;
    std::string check() const;
    std::vector<std::string> spellings() const;
    /// The fixed name of reports: of a check padded to six characters, or with one blank behind a longer
    /// name; of a failed scratch the exact one.
    std::string report_name() const;
    std::string format() const;
    /// The class whose frame this entry has: wide members of the scratch class are plain unchecked ones.
    Class frame() const;
    /// The arguments of this entry that are option letters, which is the number of hidden lengths.
    int hidden_lengths() const;
};

/// A word for a place of a call whose number letter and form tell: `field` and `precision`, 1 and 2 of s d
/// and c z, of s c and d z; `wide`, 1 in a wide form. Null: it is none.
const int* told_number(const std::string& word, const Precision& precision, Width width);
bool is_told(const std::string& word);

/// The routine of a row and a letter, in lower case.
std::string routine_name(const Row& row, const Precision& precision);

} // namespace qnm::catalogue
