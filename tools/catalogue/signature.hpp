// What one exported function is, whatever made it: its names, what it takes, and what it does with it. A
// signature describes and decides nothing: headers, explanations, lists and tests read it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "row.hpp"

namespace qnm::catalogue {

/// How a parameter comes over the boundary.
enum class Travel {
    letter,   // the address of an option letter
    letters,  // the address of option letters, one for each group
    integer,  // the address of an integer of the caller's width
    integers, // the address of such integers
    address,  // an address that the layer does not look behind, a handle or a function
    number,   // the address of a number, which the layer reads
    value,    // a number itself
    code,     // an enumerated code, the layout among them
    codes     // the address of codes, one for each group
};

struct Parameter {
    std::string name;
    std::string type; // in C, as the public header has it
    Travel travel = Travel::address;
    const Argument* argument = nullptr; // what its row says of it; null if no row has it
    std::string note;                   // what becomes of it beyond its place in the call, for people
};

/// How a place of the function that is called gets filled.
enum class Fill {
    as_it_is,
    widened,   // a copy of 64 bits
    copied,    // an array of such copies
    addressed, // the address of what came by value
    read,      // the value of what came by address
    low,       // the low 32 bits of an integer, by value or by address
    letter,    // a code as a letter
    conjugated,
    constant
};

struct Place {
    Fill fill = Fill::as_it_is;
    int parameter = -1;
    std::string constant = {};        // where there is no parameter
    std::map<int, char> letters = {}; // of codes: what each becomes
    std::string type = {}, name = {}; // of a constant, in the core's prototype
};

/// The name of the constant that tells how wide the integers are behind the addresses of a call.
inline constexpr const char* width_flag = "narrow";

/// A call that the function ends in: of the core, or of another entry.
struct Callee {
    std::string name;
    std::string when; // it is made: a layout, or a condition; empty: always
    std::vector<Place> places;
    ExpressionPtr condition = nullptr; // where `when` is one
};

struct Test {
    int parameter = 0;
    int code = 0;          // that is reported
    std::string text;      // "lda >= max(1,n)"
    std::string when = {}; // a layout in which alone it is made; empty: always
    bool goes_on = false;  // reports, and does not end the call
    std::string name = {}; // under which it reports; empty: the function's
};

struct Signature {
    std::vector<std::string> names; // at one address
    std::string table;
    int line = 0;
    std::string family;
    std::string root;        // what the row is called
    std::string called_root; // and that of the routine it is an interface of; empty: there is none
    Precision letter;
    const Form* form = nullptr;
    std::string source;    // where its steps stand: "checked, src/blas/checked.hpp"
    bool exported = true;  // else it is the core's own, which the layer calls
    bool published = true; // has a place in a public header
    bool data = false;     // is a variable
    bool variadic = false; // takes further arguments
    std::string result = "void";
    bool complex_result = false; // stored behind a first argument
    std::vector<Parameter> parameters;
    int hidden_lengths = 0;
    std::vector<Callee> callees;
    std::string check; // the function that tests, if it is exported
    std::string report_name;
    std::vector<Definition> definitions; // names in the texts of tests, and in extents
    std::vector<Test> tests;             // in their order
    std::string trace;                   // the line's format; empty: there is none
    std::string cell;                    // of the mode of tracing

    std::string where() const { return table + ":" + std::to_string(line); }
    /// The names that a public header declares: not those with `__`, which are for the library's own
    /// interfaces, nor the heads of chains.
    std::vector<std::string> declared() const;
};

/// Where a function stands: its row, of whatever language, its letter and its form.
template <class R>
Signature signature_of(const R& row, const Precision& letter, const Form* form)
{
    Signature s;
    s.table = row.file;
    s.line = row.line;
    s.family = row.family->name;
    s.root = row.root;
    s.letter = letter;
    s.form = form;
    return s;
}

/// `type name(parameters);`, broken where lines get long.
std::string prototype(const Signature& signature, const std::string& name);

} // namespace qnm::catalogue
