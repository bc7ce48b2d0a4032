#include "statement.hpp"

#include <algorithm>

#include "catalogue/types.hpp"

namespace qnm::catalogue::fftw {

namespace {

std::string read_type(Lexer& lexer)
{
    static const std::vector<std::string> own{"plan",     "iodim",           "iodim64",
                                              "r2r_kind", "write_char_func", "read_char_func"};
    const std::string word = lexer.peek().text;
    if (find_type(word) == nullptr && std::find(own.begin(), own.end(), word) == own.end())
        lexer.fail("a type");
    return lexer.next().text;
}

Told read_argument(Lexer& lexer)
{
    Told a;
    a.type = read_type(lexer);
    a.name = lexer.identifier("a name");
    a.array = lexer.accept("[");
    if (a.array)
        lexer.expect("]");
    return a;
}

/// Templates of src/fftw, and whether their calls go to the row behind `to`.
std::string read_class(Lexer& lexer, bool& has_target)
{
    static const std::vector<std::string> aimed{"lengths", "embeds", "widened", "box", "dims", "strides"},
        others{"planned", "arrays", "own", "stub", "held", "answered", "jump"};
    const std::string word = lexer.peek().text;
    has_target = std::find(aimed.begin(), aimed.end(), word) != aimed.end();
    if (!has_target && std::find(others.begin(), others.end(), word) == others.end())
        lexer.fail("a class");
    return lexer.next().text;
}

void read_needs(Lexer& lexer, Statement& s)
{
    while (is_identifier(lexer.peek().text) && lexer.peek().text != "to") {
        const std::string word = lexer.next().text;
        if (word == "in" && s.family->find(lexer.peek().text) != nullptr) {
            s.needs_in = lexer.next().text;
            return;
        }
        s.needs.push_back(word);
    }
}

} // namespace

std::vector<Statement> read_statements(Lexer& lexer, const std::string& first, const Family& family)
{
    std::vector<std::string> names{first};
    while (lexer.accept(","))
        names.push_back(lexer.identifier("a name"));
    Statement s;
    s.file = lexer.file();
    s.line = lexer.first_line();
    s.family = &family;
    if (lexer.accept(":") && !lexer.accept("nothing"))
        do
            s.arguments.push_back(read_argument(lexer));
        while (lexer.accept(","));
    if (lexer.accept("->"))
        s.result = read_type(lexer);
    bool has_target = false;
    s.steps = read_class(lexer, has_target);
    if (lexer.accept("needs"))
        read_needs(lexer, s);
    if (has_target) {
        lexer.expect("to");
        s.target = lexer.identifier("the name of another row");
    }
    if (lexer.accept("batch")) {
        lexer.expect("at_rank");
        s.batch = "at_rank";
    }
    if (!lexer.at_end())
        lexer.fail("the end of the row");
    std::vector<Statement> all;
    for (const std::string& name : names) {
        all.push_back(s);
        all.back().root = name;
    }
    return all;
}

std::vector<Told> fortran_arguments(const std::vector<Told>& arguments)
{
    std::vector<Told> all;
    for (const Told& a : arguments) {
        if (a.type != "iodim") {
            all.push_back(a);
            continue;
        }
        const std::string of = a.name == "dims" ? "" : a.name.substr(0, 1);
        for (const char* part : {"n", "is", "os"})
            all.push_back({"int", of + part, true});
    }
    return all;
}

std::string type_of(const std::string& word, const Form& form)
{
    const auto spelled = [&](const std::string& name) { return spell(form.spellings.front(), name); };
    if (word == "void" || word == "int")
        return word;
    if (word == "C")
        return spelled("complex") + "*";
    if (word == "R")
        return form.name == "single" ? "float*" : "double*";
    const Type* const known = find_type(word);
    return known == nullptr ? spelled(word) : known->single;
}

} // namespace qnm::catalogue::fftw
