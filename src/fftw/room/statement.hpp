// A sentence of the FFTW3 interface, as it stands in a table:
//
//     NAME, NAME... [: ARGUMENT, ARGUMENT... [-> TYPE]]  CLASS  [needs ARGUMENT... [in FORM]] [to NAME]
//     [batch WORD]
#pragma once

#include <string>
#include <vector>

#include "catalogue/family.hpp"

namespace qnm::catalogue::fftw {

/// An argument as the row tells it.
struct Told {
    std::string type, name;
    bool array = false;
};

/// Of one name.
struct Statement {
    std::string file, root;
    int line = 0;
    const Family* family = nullptr;
    std::vector<Told> arguments;
    std::string result = "void";
    std::string steps;              // the class: a template
    std::string target;             // what is called, where that is not what the class knows
    std::string batch;              // which element of a batch's dimension is read
    std::vector<std::string> needs; // arguments that must not be null
    std::string needs_in;           // the only form in which they are looked at

    std::string where() const { return file + ":" + std::to_string(line); }
};

/// Reads a sentence behind its first name: a statement for each.
std::vector<Statement> read_statements(Lexer& lexer, const std::string& first, const Family& family);

/// What a Fortran name takes, where this is what the C entry takes: dimensions are three arrays.
std::vector<Told> fortran_arguments(const std::vector<Told>& arguments);

/// The C type of a word, in one of the C forms.
std::string type_of(const std::string& word, const Form& form);

} // namespace qnm::catalogue::fftw
