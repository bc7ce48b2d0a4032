// A sentence of a generator or of a stream's entry, as it stands in a table:
//
//     ROOT LETTERS  CLAUSES : ARGUMENT, ARGUMENT...  [tested last NAME]
//
// Ahead of a generator's arguments stand its method, its stream, how many numbers, and where they go.
#pragma once

#include <string>
#include <vector>

#include "catalogue/expression.hpp"
#include "catalogue/family.hpp"

namespace qnm::catalogue::vsl {

/// What a number or an array must be.
enum class Rule { none, at_least, above, below, among, from_to, inside, given, valid };

struct Told {
    std::string type, name;
    bool array = false;
    Rule rule = Rule::none;
    ExpressionPtr bound = nullptr; // of at_least, above and below
    int last = 0;                  // of among: 0 and all up to this
    bool is(const char* word) const { return type == word; }
};

struct Statement {
    std::string file, root;
    int line = 0;
    const Family* family = nullptr;
    std::vector<Precision> letters; // s d i, or none
    std::vector<Told> arguments;
    std::string tested_last;

    // Of generators: the last method, and whether each may be accurate; the bits of an element that is no
    // number of the letter's type.
    int methods = -1;
    bool accurate = false;
    int bits = 0;
    std::string also; // a further name of the C form

    // Of streams.
    bool creates = false, narrow_only = false;
    std::string kernel; // the root of its name
    std::string shown;  // the name in the line
    bool shown_alone = false;

    std::string where() const { return file + ":" + std::to_string(line); }
    bool is_generator() const { return methods >= 0; }
};

/// Reads a sentence behind its first word, the root.
Statement read_statement(Lexer& lexer, const std::string& root, const Family& family);

/// The arguments in the order of their tests, by place: those that have one.
std::vector<std::size_t> test_order(const Statement& s);

/// "beta > 0".
std::string rule_text(const Told& argument);

} // namespace qnm::catalogue::vsl
