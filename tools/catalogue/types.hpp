// Words for types: what stands for each in C, and how an argument of it travels. Tables may tell further
// ones.
#pragma once

#include <string>

#include "family.hpp"
#include "lexer.hpp"

namespace qnm::catalogue {

struct Type {
    std::string word;
    std::string single;     // the C type, for letters s and c
    std::string dbl;        // for letters d and z
    std::string conversion; // of a value in the trace line
    bool address = false;   // the value is an address, which goes on as it came in every form
};

/// Null for a word that is none.
const Type* find_type(const std::string& word);
/// Reads `type WORD C-TYPE`, and adds it. A word may be told again if it means the same.
void read_type_statement(Lexer& lexer);

/// Whether a C type is that of an address, as far as the tables tell.
bool is_address_type(const std::string& c_type);

/// The C type of a word, for a letter and a width.
std::string c_type(const std::string& type, const Precision& precision, Width width);

} // namespace qnm::catalogue
