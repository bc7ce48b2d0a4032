// What people read of a routine beside its row: one sentence, and words that stand for longer ones.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "family.hpp"

namespace qnm::catalogue {

/// `title ROOT... "..." [positive WORD] [source WORD EDITION]`: routines of one title share a page.
struct Documentation {
    std::string table;
    int line = 0;
    std::string family;
    std::vector<std::string> roots;
    std::string title;
    std::string positive; // what a positive INFO means, a word that was told; empty: there is none
    std::string source;   // the publication, "lapack 3.12"

    std::string where() const { return table + ":" + std::to_string(line); }
};

/// Words and what they stand for: `positive WORD "..."`, `source WORD "..."`.
using Phrases = std::map<std::string, std::string>;

/// Reads a title behind its word; `source` is that of the rows around it.
Documentation read_title(Lexer& lexer, const Family& family, const std::string& source);

/// The publication that "lapack 3.12" names; refuses a word that was not told.
std::string source_text(const Phrases& sources, const std::string& source);

} // namespace qnm::catalogue
