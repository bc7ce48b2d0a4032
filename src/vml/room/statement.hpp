// Sentences of vector mathematics, as they stand in a table:
//
//     ROOT ROOT... LETTERS : ARGUMENT, ARGUMENT... -> ARGUMENT, ARGUMENT...  CLAUSES
//     ROOT : TYPE -> TYPE                                                     (of control)
//
// The first has a strided fellow, `ROOTI`, unless it is `direct`.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "catalogue/family.hpp"

namespace qnm::catalogue::vml {

enum class Kind { vector, scalar, increment, array };

/// An argument as the row tells it.
struct Told {
    std::string name;
    Kind kind = Kind::vector;
    bool real = false; // has real elements, whatever the letter
    bool output = false;
};

struct Statement {
    std::string file;
    int line = 0;
    const Family* family = nullptr;
    std::vector<std::string> roots;
    std::vector<Precision> letters;
    std::vector<Told> arguments;
    bool marked = false; // the threader's name tells the type of the scalar
    bool direct = false; // a kernel is called, and no threader
    std::map<std::string, int> plain_codes;
    std::vector<int> strided_codes; // of all vectors; empty: their places
    std::string accuracy_letters;   // of members that leave status 1000 where the index is not 2
    bool accuracy_plain = false;    // not their strided fellows
    std::string argument, result;   // of control

    std::string where() const { return file + ":" + std::to_string(line); }
};

Statement read_statement(Lexer& lexer, const std::string& first, const Family& family);

/// One typed root: a statement, a root and a letter, and whether its vectors have increments.
struct Member {
    const Statement* told;
    std::string root;
    Precision letter;
    bool strided;

    /// "dExpI"
    std::string name() const;
    /// What stands between n and the mode.
    std::vector<Told> arguments() const;
    /// The code under which a null is reported; 0: it is not looked at. Positions count from one, n included.
    int code(std::size_t argument) const;
    bool tells_accuracy() const;
    std::string element(const Told& argument) const;
    /// "d_1iI_1oI"
    std::string threader() const;
};

/// Of all sentences of the family of vector entries, in order.
std::vector<Member> members(const Statement& told);

} // namespace qnm::catalogue::vml
