#include "statement.hpp"

#include <algorithm>

#include "catalogue/types.hpp"

namespace qnm::catalogue::vsl {

namespace {

bool is_word(const std::string& word)
{
    static const std::vector<std::string> own{"int64", "brng", "seed", "stream", "source"};
    return find_type(word) != nullptr || std::find(own.begin(), own.end(), word) != own.end();
}

void expect_words(Lexer& lexer, std::initializer_list<const char*> words)
{
    for (const char* word : words)
        lexer.expect(word);
}

void read_rule(Lexer& lexer, Told& a)
{
    if (a.array || a.is("text") || a.is("memory")) {
        a.rule = lexer.accept("given") ? Rule::given : Rule::none;
    } else if (a.is("slot")) {
        a.rule = lexer.accept("valid") ? Rule::valid : Rule::none;
    } else if (lexer.accept("in")) {
        a.rule = Rule::among;
        for (a.last = -1; is_number(lexer.peek().text); lexer.expect(std::to_string(a.last)))
            ++a.last;
    } else if (lexer.accept("from")) {
        expect_words(lexer, {"0", "to", "1"});
        a.rule = Rule::from_to;
    } else if (lexer.accept("inside")) {
        expect_words(lexer, {"0", "1"});
        a.rule = Rule::inside;
    } else {
        a.rule = lexer.accept(">=")  ? Rule::at_least
                 : lexer.accept(">") ? Rule::above
                 : lexer.accept("<") ? Rule::below
                                     : Rule::none;
        if (a.rule != Rule::none)
            a.bound = parse_bound(lexer);
    }
}

Told read_argument(Lexer& lexer)
{
    Told a;
    if (!is_word(lexer.peek().text))
        lexer.fail("a type of argument");
    a.type = lexer.next().text;
    a.name = lexer.identifier("the argument's name");
    a.array = lexer.accept("[");
    if (a.array)
        lexer.expect("]");
    read_rule(lexer, a);
    if (a.is("stream"))
        a.rule = Rule::valid;
    if (a.is("brng"))
        a.rule = Rule::at_least;
    return a;
}

Precision read_letter(Lexer& lexer)
{
    return lexer.accept("-") ? find_precision("") : find_precision(lexer.next().text);
}

void read_clauses(Lexer& lexer, Statement& s)
{
    while (!lexer.accept(":")) {
        if (lexer.accept("methods")) {
            for (; is_number(lexer.peek().text); lexer.expect(std::to_string(s.methods)))
                ++s.methods;
            s.accurate = lexer.accept("accurate");
        } else if (lexer.accept("bits")) {
            s.bits = lexer.number("32 or 64");
        } else if (lexer.accept("also")) {
            s.also = lexer.identifier("a further name");
        } else if (lexer.accept("creates")) {
            s.creates = true;
        } else if (lexer.accept("narrow_only")) {
            s.narrow_only = true;
        } else if (lexer.accept("kernel")) {
            s.kernel = lexer.identifier("the root of the kernel's name");
        } else if (lexer.accept("shown")) {
            s.shown = lexer.identifier("the name in the line");
        } else if (lexer.accept("shown_alone")) {
            s.shown_alone = true;
        } else {
            lexer.fail(
                "'methods', 'bits', 'also', 'creates', 'narrow_only', 'kernel', 'shown', 'shown_alone' "
                "or ':'");
        }
    }
}

} // namespace

Statement read_statement(Lexer& lexer, const std::string& root, const Family& family)
{
    Statement s;
    s.file = lexer.file();
    s.line = lexer.first_line();
    s.family = &family;
    s.root = root;
    for (static const std::vector<std::string> letters{"s", "d", "i", "-"};
         std::find(letters.begin(), letters.end(), lexer.peek().text) != letters.end();)
        s.letters.push_back(read_letter(lexer));
    if (s.letters.empty())
        lexer.fail("letters (s d i, or -)");
    read_clauses(lexer, s);
    if (!lexer.accept("nothing"))
        do
            s.arguments.push_back(read_argument(lexer));
        while (lexer.accept(","));
    if (lexer.accept("tested")) {
        lexer.expect("last");
        s.tested_last = lexer.identifier("an argument's name");
    }
    if (!lexer.at_end())
        lexer.fail("',', 'tested last' or the end of the row");
    const auto has = [&](const std::string& name) {
        return std::any_of(s.arguments.begin(), s.arguments.end(),
                           [&](const Told& a) { return a.name == name && !a.array; });
    };
    if (!s.tested_last.empty() && !has(s.tested_last))
        lexer.fail_at(s.line, "'" + s.tested_last + "'", "a number of the row");
    for (const Told& a : s.arguments)
        if (a.bound)
            walk(*a.bound, [&](const Expression& e) {
                if (e.kind == Expression::Kind::name && !has(e.text))
                    lexer.fail_at(s.line, "'" + e.text + "'", "a number of the row");
            });
    return s;
}

std::vector<std::size_t> test_order(const Statement& s)
{
    std::vector<std::size_t> order;
    for (const bool last : {false, true})
        for (std::size_t i = 0; i < s.arguments.size(); ++i)
            if (s.arguments[i].rule != Rule::none && (s.arguments[i].name == s.tested_last) == last)
                order.push_back(i);
    return order;
}

std::string rule_text(const Told& a)
{
    switch (a.rule) {
    case Rule::at_least:
        return a.name + " >= " + (a.bound ? bound_text(*a.bound) : "0");
    case Rule::above:
        return a.name + " > " + bound_text(*a.bound);
    case Rule::below:
        return a.name + " < " + bound_text(*a.bound);
    case Rule::among:
        return a.name + " in 0 to " + std::to_string(a.last);
    case Rule::from_to:
        return "0 <= " + a.name + " <= 1";
    case Rule::inside:
        return "0 < " + a.name + " < 1";
    case Rule::given:
        return a.name + " != null";
    case Rule::valid:
        return a.name + " is a stream";
    default:
        return {};
    }
}

} // namespace qnm::catalogue::vsl
