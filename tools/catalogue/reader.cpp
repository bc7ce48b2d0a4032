// Parts that several kinds of statement have.
#include "reader.hpp"

namespace qnm::catalogue {

std::vector<Head> read_heads(Lexer& lexer, const std::string& root,
                             const std::function<bool(const std::string&)>& is_end,
                             const std::string& expected, const Family* family)
{
    std::vector<Head> heads{{root, {}}};
    while (!is_end(lexer.peek().text)) {
        std::vector<Precision>& letters = heads.back().letters;
        if (lexer.accept(","))
            heads.push_back({lexer.identifier("the root of a routine's name"), {}});
        else if (lexer.accept("-"))
            letters.push_back({"", ' ', ' '});
        else if (family != nullptr && !letters.empty() && lexer.accept("in")) {
            heads.back().only = family->find(lexer.peek().text);
            if (heads.back().only == nullptr)
                lexer.fail("a form of the family");
            lexer.next();
        } else if (const Precision letter = find_precision(lexer.peek().text); letter.element != ' ')
            letters.push_back((lexer.next(), letter));
        else
            lexer.fail(expected);
    }
    return heads;
}

std::vector<Head> read_heads_of_class(Lexer& lexer, const std::string& root,
                                      const std::function<bool(const std::string&)>& is_class,
                                      const std::string& classes, const Family* family)
{
    std::vector<Head> heads = read_heads(
        lexer, root, is_class,
        "letters (s d c z sc dz cs zd is id ic iz ds sds, or -) and a class (" + classes + ")", family);
    for (const Head& head : heads)
        if (head.letters.empty())
            lexer.fail_at(lexer.first_line(), "'" + head.root + "'", "letters ahead of the class");
    return heads;
}

std::string read_type(Lexer& lexer, const std::string& expected)
{
    if (find_type(lexer.peek().text) == nullptr)
        lexer.fail(expected);
    return lexer.next().text;
}

Definition read_definition(Lexer& lexer)
{
    Definition d;
    d.name = lexer.identifier("a name to define");
    lexer.expect("=");
    d.value = parse_expression(lexer);
    return d;
}

} // namespace qnm::catalogue
