#include "statement.hpp"

#include <algorithm>

#include "catalogue/types.hpp"

namespace qnm::catalogue::vml {

namespace {

Precision read_letter(Lexer& lexer)
{
    return find_precision(lexer.next().text);
}

bool at_letter(const Lexer& lexer)
{
    return lexer.peek().text.size() == 1 && find_precision(lexer.peek().text).element != ' ';
}

bool has_letter(const Statement& s, char letter)
{
    return std::any_of(s.letters.begin(), s.letters.end(),
                       [letter](const Precision& each) { return each.element == letter; });
}

Told read_argument(Lexer& lexer, bool output)
{
    Told a;
    a.output = output;
    if (lexer.accept("scalar"))
        a.kind = Kind::scalar;
    else if (lexer.accept("increment"))
        a.kind = Kind::increment;
    else if (lexer.accept("index"))
        a.kind = Kind::array;
    else
        a.real = lexer.accept("real");
    a.name = lexer.identifier("an argument's name");
    return a;
}

void read_arguments(Lexer& lexer, Statement& s)
{
    for (const bool output : {false, true}) {
        do
            s.arguments.push_back(read_argument(lexer, output));
        while (lexer.accept(","));
        if (!output)
            lexer.expect("->");
    }
}

void read_clauses(Lexer& lexer, Statement& s)
{
    while (!lexer.at_end()) {
        if (lexer.accept("marked")) {
            s.marked = true;
        } else if (lexer.accept("direct")) {
            s.direct = true;
        } else if (lexer.accept("code")) {
            const std::string name = lexer.identifier("a vector of the row");
            s.plain_codes[name] = lexer.number("a code");
            lexer.expect("plain");
        } else if (lexer.accept("strided")) {
            lexer.expect("codes");
            while (is_number(lexer.peek().text))
                s.strided_codes.push_back(lexer.number("a code"));
        } else if (lexer.accept("status")) {
            lexer.expect("1000");
            do {
                if (!at_letter(lexer) || !has_letter(s, lexer.peek().text[0]))
                    lexer.fail("letters of the row");
                s.accuracy_letters += read_letter(lexer).element;
            } while (at_letter(lexer));
            s.accuracy_plain = lexer.accept("plain");
        } else {
            lexer.fail("'marked', 'direct', 'code', 'strided codes', 'status 1000' or the end of the row");
        }
    }
    const auto vectors = std::count_if(s.arguments.begin(), s.arguments.end(),
                                       [](const Told& a) { return a.kind == Kind::vector; });
    if (!s.strided_codes.empty() && static_cast<long>(s.strided_codes.size()) != vectors)
        lexer.fail_at(s.line, std::to_string(s.strided_codes.size()) + " codes", "a code for each vector");
    for (const auto& code : s.plain_codes)
        if (std::none_of(s.arguments.begin(), s.arguments.end(),
                         [&](const Told& a) { return a.name == code.first && a.kind == Kind::vector; }))
            lexer.fail_at(s.line, "'" + code.first + "'", "a vector of the row");
}

std::string read_type(Lexer& lexer)
{
    if (find_type(lexer.peek().text) == nullptr)
        lexer.fail("a type");
    return lexer.next().text;
}

} // namespace

Statement read_statement(Lexer& lexer, const std::string& first, const Family& family)
{
    Statement s;
    s.file = lexer.file();
    s.line = lexer.first_line();
    s.family = &family;
    s.roots = {first};
    const bool control = family.find("mode") == nullptr;
    while (!control && !at_letter(lexer))
        s.roots.push_back(lexer.identifier("a root, or letters of types"));
    while (at_letter(lexer))
        s.letters.push_back(read_letter(lexer));
    lexer.expect(":");
    if (!control) {
        read_arguments(lexer, s);
        read_clauses(lexer, s);
        return s;
    }
    if (lexer.peek().text != "->")
        s.argument = read_type(lexer);
    lexer.expect("->");
    s.result = read_type(lexer);
    if (!lexer.at_end())
        lexer.fail("the end of the row");
    return s;
}

std::string Member::name() const
{
    return with_letter(root, letter) + (strided ? "I" : "");
}

std::vector<Told> Member::arguments() const
{
    std::vector<Told> all;
    for (const Told& a : told->arguments) {
        all.push_back(a);
        if (strided && a.kind == Kind::vector)
            all.push_back({"inc" + a.name, Kind::increment, false, false});
    }
    return all;
}

int Member::code(std::size_t argument) const
{
    const std::vector<Told> all = arguments();
    if (told->direct || all[argument].kind != Kind::vector)
        return 0;
    if (strided && !told->strided_codes.empty())
        return told->strided_codes[static_cast<std::size_t>(
            std::count_if(all.begin(), all.begin() + static_cast<long>(argument),
                          [](const Told& a) { return a.kind == Kind::vector; }))];
    const auto told_code = told->plain_codes.find(all[argument].name);
    return !strided && told_code != told->plain_codes.end() ? told_code->second
                                                            : static_cast<int>(argument) + 2;
}

bool Member::tells_accuracy() const
{
    return told->accuracy_letters.find(letter.element) != std::string::npos &&
           !(told->accuracy_plain && strided);
}

std::string Member::element(const Told& argument) const
{
    return c_type(argument.real ? "R" : "T", letter, Width::narrow);
}

std::string Member::threader() const
{
    const auto letter_of = [&](bool output) {
        const auto vector = std::find_if(told->arguments.begin(), told->arguments.end(), [&](const Told& a) {
            return a.kind == Kind::vector && a.output == output;
        });
        return std::string(1, vector->real ? letter.real : letter.element);
    };
    const auto outputs =
        std::count_if(told->arguments.begin(), told->arguments.end(), [](const Told& a) { return a.output; });
    const auto inputs = static_cast<long>(told->arguments.size()) - outputs;
    const std::string in = letter_of(false), out = letter_of(true);
    return in + "_" + (told->marked ? "c" + in + "_" : "") + std::to_string(inputs) +
           (strided ? "iI_" : "i_") + (told->marked || out != in ? out + "_" : "") + std::to_string(outputs) +
           (strided ? "oI" : "o");
}

std::vector<Member> members(const Statement& told)
{
    std::vector<Member> all;
    for (const std::string& root : told.roots)
        for (const Precision& letter : told.letters)
            for (const bool strided : {false, true})
                if (!(strided && told.direct))
                    all.push_back({&told, root, letter, strided});
    return all;
}

} // namespace qnm::catalogue::vml
