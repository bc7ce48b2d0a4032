#include "lexer.hpp"

#include <algorithm>
#include <array>
#include <cctype>

namespace qnm::catalogue {

namespace {

bool word_character(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

} // namespace

bool is_identifier(const std::string& text)
{
    return !text.empty() && std::isdigit(static_cast<unsigned char>(text[0])) == 0 &&
           std::all_of(text.begin(), text.end(), [](char c) { return word_character(c) || c == '?'; }) &&
           text != "?";
}

bool is_number(const std::string& text)
{
    const bool hexadecimal = text.compare(0, 2, "0x") == 0;
    const auto digit = [&](unsigned char c) {
        return (hexadecimal ? std::isxdigit(c) : std::isdigit(c)) != 0;
    };
    const std::size_t digits = text.size() - (hexadecimal ? 2 : 0);
    return digits > 0 && digits <= text.size() &&
           std::all_of(text.end() - static_cast<std::ptrdiff_t>(digits), text.end(), digit);
}

Lexer::Lexer(std::string file, int line) : file_(std::move(file)), first_line_(line)
{
    end_.line = line;
}

void Lexer::add_line(const std::string& text, int line)
{
    static constexpr std::array<const char*, 5> pairs{"->", ">=", "<=", "==", "!="};
    end_.line = line;
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (c == '#')
            return;
        if (std::isspace(static_cast<unsigned char>(c)) != 0) {
            ++i;
            continue;
        }
        std::size_t length = 1;
        if (c == '"') {
            length = text.find('"', i + 1) - i + 1;
            if (text.find('"', i + 1) == std::string::npos)
                fail_at(line, text.substr(i), "a closing quotation mark in its line");
        }
        // A `?` with a word character beside it is the place of the precision letter; alone it is an
        // operator.
        if (word_character(c) || (c == '?' && i + 1 < text.size() && word_character(text[i + 1]))) {
            while (i + length < text.size() &&
                   (word_character(text[i + length]) ||
                    (text[i + length] == '?' && word_character(text[i + length - 1]) &&
                     i + length + 1 < text.size() && word_character(text[i + length + 1]))))
                ++length;
        } else if (std::any_of(pairs.begin(), pairs.end(),
                               [&](const char* pair) { return text.compare(i, 2, pair) == 0; })) {
            length = 2;
        }
        tokens_.push_back({text.substr(i, length), line});
        i += length;
    }
}

const Token& Lexer::peek(std::size_t ahead) const
{
    return position_ + ahead < tokens_.size() ? tokens_[position_ + ahead] : end_;
}

Token Lexer::next()
{
    Token token = peek();
    if (position_ < tokens_.size())
        ++position_;
    return token;
}

bool Lexer::accept(const std::string& text)
{
    if (peek().text != text)
        return false;
    next();
    return true;
}

void Lexer::expect(const std::string& text)
{
    if (!accept(text))
        fail("'" + text + "'");
}

std::string Lexer::identifier(const std::string& what)
{
    if (!is_identifier(peek().text))
        fail(what);
    return next().text;
}

std::vector<std::string> Lexer::identifiers(const std::string& what)
{
    std::vector<std::string> all;
    do
        all.push_back(identifier(what));
    while (accept(","));
    return all;
}

std::string Lexer::quoted(const std::string& what)
{
    if (peek().text.empty() || peek().text.front() != '"')
        fail(what + ", in quotation marks");
    const std::string text = next().text;
    return text.substr(1, text.size() - 2);
}

int Lexer::number(const std::string& what)
{
    const bool negative = peek().text == "-" && is_number(peek(1).text);
    if (negative)
        next();
    const bool hexadecimal = peek().text.compare(0, 2, "0x") == 0;
    if (!is_number(peek().text) || peek().text.size() > (hexadecimal ? 8 : 6))
        fail(what);
    const int value = std::stoi(next().text, nullptr, hexadecimal ? 16 : 10);
    return negative ? -value : value;
}

void Lexer::nest()
{
    constexpr int deepest = 100;
    if (++levels_ > deepest)
        fail("at most " + std::to_string(deepest) + " levels of nesting");
}

void Lexer::fail(const std::string& expected) const
{
    fail_at(peek().line, at_end() ? "end of the row" : "'" + peek().text + "'", expected);
}

void Lexer::fail_at(int line, const std::string& found, const std::string& expected) const
{
    throw TableError(file_ + ":" + std::to_string(line) + ": " + found + ": expected " + expected);
}

} // namespace qnm::catalogue
