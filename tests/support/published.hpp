// The Fortran BLAS as it is published, written by hand: what tables and tests are held against.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace qnm::tests {

/// Routines of one argument list.
struct Published {
    /// Roots and their letters: `gemm sdcz gemm3m cz`; `?` is the letter's place, `-` no letter.
    const char* members;
    /// In their order. Options are tested; in brackets stand the letters that they take, if these are not all
    /// of their kind. Integers are tested but for `n~`, and `m=` comes by value. `ldb@11` is reported as 11.
    /// Scalars of another type than the letter's: `r` in front is real, `f` float, `h` of 16 bits.
    const char* arguments;
    /// `lda=trans?m:k`: at least 1 and m, if the letter is the first of its kind, else k. `lda>k`: above k.
    const char* bounds = "";
    const char* entry_class = "checked";
    const char* result = ""; // `real`, `int`, `size` (or an address); `hidden`: behind a pointer in front
};
const std::vector<Published>& published();

/// The members of LAPACK (tests/lapack/members.txt and three for its C interface), and whether an entry
/// copies arrays of integers whose length varies.
const std::map<std::string, bool>& lapack_members();
/// The codes of those that have a check, in the order of testing.
const std::map<std::string, std::vector<int>>& lapack_checks();

/// A word of an argument list.
struct PublishedArgument {
    std::string name, letters; // letters of options
    bool tested = false, by_value = false;
    int code = 0;
};
std::vector<PublishedArgument> parameters(const std::string& arguments);

/// An option's letters in the order of the C interface's codes, of which the first is told.
struct Option {
    int first = 0;
    std::string letters;
};
/// The kind of an argument by its name; none for arguments that are no options.
const Option* option_of(const std::string& name);
bool is_integer(const std::string& name);

/// Name and letter of each member, in lower case.
std::vector<std::pair<std::string, char>> expand(const std::string& members);
std::vector<std::string> words(const std::string& text);
/// Whether a word is one of a list with blanks between.
inline bool lists(const std::string& list, const std::string& word)
{
    return (" " + list + " ").find(" " + word + " ") != std::string::npos;
}

} // namespace qnm::tests
