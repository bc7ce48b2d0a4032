// Words of one statement of a table, with the place of each for error messages.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace qnm::catalogue {

/// A refusal: "file:line: what was found: what was expected".
class TableError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Token {
    std::string text; // empty at the end of the statement
    int line = 0;
};

/// A statement: a line that begins in column 1 and the indented lines that follow it, comments cut off.
class Lexer {
public:
    Lexer(std::string file, int line);

    /// Cuts one more line of text into tokens.
    void add_line(const std::string& text, int line);

    const std::string& file() const { return file_; }
    int first_line() const { return first_line_; }

    bool at_end() const { return position_ == tokens_.size(); }
    const Token& peek(std::size_t ahead = 0) const;
    Token next();

    bool accept(const std::string& text);
    void expect(const std::string& text);
    /// An identifier: letters, digits, `_`, and `?` for the place of the precision letter.
    std::string identifier(const std::string& what);
    /// One or more of them, commas in between.
    std::vector<std::string> identifiers(const std::string& what);
    /// What stands between quotation marks, in one line.
    std::string quoted(const std::string& what);
    /// At most six digits, decimal or behind 0x, a minus ahead of them or none.
    int number(const std::string& what);

    /// One level deeper, and so many back: what is read of a text has to fit its readers' stacks.
    void nest();
    void unnest(int levels = 1) { levels_ -= levels; }

    [[noreturn]] void fail(const std::string& expected) const;
    [[noreturn]] void fail_at(int line, const std::string& found, const std::string& expected) const;

private:
    std::string file_;
    int first_line_;
    std::vector<Token> tokens_;
    std::size_t position_ = 0;
    int levels_ = 0;
    Token end_;
};

bool is_identifier(const std::string& text);
bool is_number(const std::string& text);

} // namespace qnm::catalogue
