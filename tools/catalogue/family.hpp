// Families: how their members are spelled, and in which forms they exist.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lexer.hpp"

namespace qnm::catalogue {

/// Integers at the caller's boundary: int, 64 bits, size_t.
enum class Width { narrow, wide, size };

/// How a form takes its arguments.
enum class Convention {
    reference, // addresses all, scalars included; lengths of texts hidden behind them
    value,     // scalars by value
    codes      // by value, options as enumerated codes, a layout among them
};

/// A form in which the entries of a family exist. Patterns spell names: NAME and name stand for the routine
/// in upper and lower case, Name for it as its row has it.
struct Form {
    std::string name;
    Convention convention = Convention::reference;
    Width width = Width::narrow;
    std::string level;                  // of an interface with several levels: which of them
    std::vector<std::string> spellings; // of one function at one address
    std::string check;                  // of the exported check; empty: there is none
    std::string calls;                  // of the entry that is called, where it is not the core's function
};

struct Family {
    std::string name;
    std::string room;         // the folder of its templates, and the namespace
    std::string core;         // pattern of the core's functions, or of kernels; empty: there are none
    std::string wide_core;    // of those for 64-bit integers, where the core has functions for either width
    bool kernels = false;     // these are found by name, at the first call
    bool kernel_each = false; // of each form for itself
    int alignment = 0;        // of copies of integers in the core's memory; 0: they lie on the stack
    std::optional<int> null_status;     // what an entry gives back for a null address of integers
    std::optional<int> null_position;   // below which negative positions of null addresses are told in `info`
    std::string calls;                  // of an interface upon another one: the family whose entries it calls
    std::string source;                 // the publication that its routines are of: "lapack 3.12"
    std::vector<std::string> registers; // callbacks that its entries tell the core ahead of their jump
    std::vector<Form> forms;

    /// The form of that name; null if the family has none.
    const Form* find(const std::string& form) const;
    /// Whether the core has a function for each width: it takes integers as they are.
    bool core_has_widths() const { return !wide_core.empty(); }
};

using Families = std::map<std::string, Family>;

/// Reads a family's statement behind its name.
Family read_family(Lexer& lexer, const std::string& name);

/// `lapack 3.12`: a publication that was told, and which edition.
std::string read_source(Lexer& lexer);

/// Letters of a family's naming: prefix in front of the root, and the types that T, R and C stand for.
struct Precision {
    std::string prefix; // as the row has it
    char element;       // T: s d c z
    char real;          // R: s d
    bool is_complex() const { return element == 'c' || element == 'z'; }
};
/// Known by its letters in either case; without an element for other words.
Precision find_precision(const std::string& prefix);

/// A root with its letters, which stand in the place of its `?` or ahead of it.
std::string with_letter(const std::string& root, const Precision& precision);
std::string spell(const std::string& pattern, const std::string& name);

std::string to_upper(std::string text);
std::string to_lower(std::string text);

} // namespace qnm::catalogue
