#include "documentation.hpp"

namespace qnm::catalogue {

Documentation read_title(Lexer& lexer, const Family& family, const std::string& source)
{
    constexpr std::size_t longest = 80;
    Documentation d;
    d.table = lexer.file();
    d.line = lexer.first_line();
    d.family = family.name;
    d.source = source;
    do
        d.roots.push_back(lexer.identifier("the root of a routine's name"));
    while (is_identifier(lexer.peek().text));
    d.title = lexer.quoted("the routine's title");
    if (d.title.empty() || d.title.size() > longest || d.title.back() == '.')
        lexer.fail_at(d.line,
                      "the title of '" + d.roots.front() + "', " + std::to_string(d.title.size()) +
                          " characters",
                      "1 to " + std::to_string(longest) + " of them, without a full stop");
    while (!lexer.at_end()) {
        if (lexer.accept("positive"))
            d.positive = lexer.identifier("a word for what a positive INFO means");
        else if (lexer.accept("source"))
            d.source = read_source(lexer);
        else
            lexer.fail("'positive', 'source' or the end of the title");
    }
    return d;
}

std::string source_text(const Phrases& sources, const std::string& source)
{
    const std::size_t blank = source.find(' ');
    return sources.at(source.substr(0, blank)) + source.substr(blank);
}

} // namespace qnm::catalogue
