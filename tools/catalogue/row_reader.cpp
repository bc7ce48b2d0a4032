// Rows of routines.
#include <algorithm>
#include <map>

#include "reader.hpp"

namespace qnm::catalogue {

namespace {

const std::map<std::string, Class> classes{{"check", Class::check},
                                           {"checked", Class::checked},
                                           {"registered", Class::registered},
                                           {"unregistered", Class::unregistered},
                                           {"unchecked", Class::unchecked},
                                           {"scratch", Class::scratch},
                                           {"bare", Class::bare},
                                           {"carried", Class::carried},
                                           {"relayed", Class::relayed},
                                           {"handed", Class::handed},
                                           {"passed", Class::passed},
                                           {"chain", Class::chain},
                                           {"called", Class::called},
                                           {"own", Class::own}};
constexpr const char* class_words = "checked, registered, unregistered, unchecked, scratch, bare, carried, "
                                    "relayed, check, handed, passed, chain, called, own";

const std::map<std::string, Direction> directions{
    {"in", Direction::in}, {"out", Direction::out}, {"inout", Direction::inout}, {"work", Direction::work}};

bool is_letters(const std::string& word)
{
    return !word.empty() &&
           std::all_of(word.begin(), word.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

void read_extents(Lexer& lexer, Argument& a)
{
    const bool matrix = lexer.peek().text == "(";
    if (!matrix && lexer.peek().text != "[")
        return;
    lexer.next();
    a.array = true;
    const std::string close = matrix ? ")" : "]";
    if (matrix || lexer.peek().text != close)
        a.extents.push_back(parse_expression(lexer));
    if (matrix) {
        lexer.expect(",");
        a.extents.push_back(parse_expression(lexer));
    }
    lexer.expect(close);
}

/// The words behind an argument's name: direction, test, and what is odd about it.
void read_modifiers(Lexer& lexer, Argument& a)
{
    const auto take = [&](const char* word, bool fits) { return fits && lexer.accept(word); };
    for (;;) {
        const std::string word = lexer.peek().text;
        const bool work = a.direction == Direction::work;
        if (word == "in" && is_letters(lexer.peek(1).text) && a.type == "char") {
            lexer.next();
            a.letters = lexer.next().text;
        } else if (directions.count(word) != 0 &&
                   (a.array || (word != "work" && (word != "in" || a.type != "char")))) {
            a.direction = directions.at(lexer.next().text);
        } else if (take("but", a.array && a.direction != Direction::none)) {
            const auto way = directions.find(lexer.next().text);
            const Precision letter = find_precision(lexer.peek().text);
            if (way == directions.end() || letter.element == ' ')
                lexer.fail("a direction and a letter");
            lexer.next();
            a.but.emplace_back(letter, way->second);
        } else if (take("if", a.kind == Kind::integers)) {
            a.present = parse_expression(lexer);
        } else if (take("returns",
                        work || a.direction == Direction::out || a.direction == Direction::inout)) {
            a.returned = parse_expression(lexer);
        } else if (take("query", a.kind == Kind::integer)) {
            a.query = true;
            a.alone = lexer.accept("alone");
        } else if (take("null_at_query", work)) {
            a.null_at_query = true;
        } else if (take("cleared", work)) {
            a.cleared = true;
        } else if (take(">=", a.is_integer())) {
            a.minimum = parse_bound(lexer);
        } else if (take(">", !a.array && (a.is_integer() || a.is_real()))) {
            a.above = parse_bound(lexer);
        } else if (take("<=", a.minimum != nullptr)) {
            a.maximum = parse_bound(lexer);
        } else if (take("barred", a.tested())) {
            a.barred = parse_expression(lexer);
        } else if (take("!=", a.is_integer())) {
            lexer.expect("0");
            a.nonzero = true;
        } else if (take("unless", a.tested())) {
            a.unless = parse_expression(lexer);
        } else if (take("code", a.tested())) {
            a.code_override = lexer.number("the reported code");
        } else if (take("kept", a.kind == Kind::integer)) {
            a.kept = true;
        } else {
            return;
        }
    }
}

Argument read_argument(Lexer& lexer)
{
    Argument a;
    a.type = read_type(lexer, "a type of argument (char, int, T, R, C, void, float, ...)");
    a.pointers = lexer.accept("*");
    a.name = lexer.identifier("the argument's name");
    const bool by_value = lexer.accept("value");
    read_extents(lexer, a);
    if (by_value && (a.array || (!a.is_integer() && a.type != "void")))
        lexer.fail_at(lexer.peek().line, "'value'", "it behind an int or a void that is no array");
    if (a.type == "char")
        a.kind = a.array ? Kind::letters : Kind::character;
    else if (a.is_integer())
        a.kind = a.array ? Kind::integers : by_value ? Kind::value : Kind::integer;
    else
        a.kind = by_value ? Kind::handle : Kind::real;
    read_modifiers(lexer, a);
    return a;
}

/// Every name in an expression must be an argument or a definition, and letters ask character arguments.
void check_names(const Lexer& lexer, const Row& row, const Expression& expression, std::size_t definitions)
{
    walk(expression, [&](const Expression& e) {
        const Argument* a = row.find(e.text);
        if (e.kind == Expression::Kind::letter && (a == nullptr || a->type != "char"))
            lexer.fail_at(row.line, "'" + e.text + "'", "a character argument of the row");
        if (e.kind == Expression::Kind::element && (a == nullptr || a->kind != Kind::integers))
            lexer.fail_at(row.line, "'" + e.text + "'", "an array of integers of the row");
        if (e.kind != Expression::Kind::name || (a != nullptr && a->is_integer()) || e.text == row.leaf)
            return;
        const auto end = row.definitions.begin() + static_cast<std::ptrdiff_t>(definitions);
        if (std::none_of(row.definitions.begin(), end, [&](const Definition& d) { return d.name == e.text; }))
            lexer.fail_at(row.line, "'" + e.text + "'", "an integer argument or an earlier name of 'where'");
    });
}

void check_row(const Lexer& lexer, const Row& row)
{
    const auto refuse = [&](const std::string& found, const std::string& expected) {
        lexer.fail_at(row.line, found, expected);
    };
    for (std::size_t i = 0; i < row.definitions.size(); ++i)
        check_names(lexer, row, *row.definitions[i].value, i);
    bool any_test = false;
    for (const Argument& a : row.arguments) {
        any_test = any_test || a.tested();
        if (row.find(a.name) != &a)
            refuse("'" + a.name + "'", "each argument's name once");
        for (const ExpressionPtr& extent : a.extents)
            check_names(lexer, row, *extent, row.definitions.size());
        for (const ExpressionPtr& e :
             {a.minimum, a.above, a.maximum, a.barred, a.unless, a.returned, a.present})
            if (e)
                check_names(lexer, row, *e, row.definitions.size());
        if (row.entry_class == Class::scratch && a.kind == Kind::integers &&
            (a.extents.size() != 1 || a.direction != Direction::in))
            refuse("'" + a.name + "'", "an extent and 'in' for the index array of a scratch entry");
        const bool carried = row.entry_class == Class::carried && a.kind == Kind::integers;
        const bool on_stack = row.family->alignment == 0;
        if (carried &&
            (a.extents.size() != 1 || a.direction == Direction::none || a.direction == Direction::work))
            refuse("'" + a.name + "'",
                   "an extent and 'in', 'out' or 'inout' for the array of a carried entry");
        if (carried && on_stack &&
            (a.extents[0]->kind != Expression::Kind::number || a.present || a.returned))
            refuse("'" + a.name + "'", "a number as extent where a family tells no alignment");
    }
    if (any_test != row.has_check())
        refuse(any_test ? "a test" : "no test",
               "tests in rows of class checked, relayed or check, where they must be, and handed, where they "
               "may");
    if (any_test && std::all_of(row.family->forms.begin(), row.family->forms.end(),
                                [](const Form& form) { return form.check.empty(); }))
        refuse("a test", "a family with names of checks");
    for (const std::string& place : row.places)
        if (!is_number(place.substr(place.front() == '-' ? 1 : 0)) && !is_told(place) &&
            row.find(place.substr(place.front() == '&' || place.front() == '=' ? 1 : 0)) == nullptr)
            refuse("'" + place + "'", "an argument or a number for each place of the core's call");
    for (const std::string& name : row.tested_last)
        if (const Argument* a = row.find(name); a == nullptr || !a->tested())
            refuse("'" + name + "'", "a tested argument behind 'tested last'");
    if (row.groups && (row.find("group_count") == nullptr || row.find("group_size") == nullptr))
        refuse("'groups'", "the arguments group_count and group_size");
    if (row.small_condition)
        check_names(lexer, row, *row.small_condition, row.definitions.size());
}

/// A file below src/, `frame/exit.cpp`.
std::string read_path(Lexer& lexer)
{
    std::string path = lexer.identifier("a file");
    while (lexer.peek().text == "/" || lexer.peek().text == ".") {
        path += lexer.next().text;
        path += lexer.identifier("the file's name");
    }
    return path;
}

/// What stands behind the class's word.
void read_class(Lexer& lexer, Row& row)
{
    if (row.family->core.empty() && row.entry_class != Class::own)
        lexer.fail_at(row.line, "'" + row.family->name + "'", "a family with a core");
    if (!row.family->registers.empty() && row.entry_class != Class::passed)
        lexer.fail_at(row.line, "'" + row.family->name + "', which registers", "rows of class passed");
    const auto unfit = [](const Form& form) {
        return form.convention != Convention::reference || form.width != Width::narrow;
    };
    if (row.entry_class == Class::relayed &&
        std::any_of(row.family->forms.begin(), row.family->forms.end(), unfit))
        lexer.fail_at(row.line, "'" + row.family->name + "'", "a family of narrow forms by reference");
    if (row.entry_class == Class::passed && lexer.accept("ahead"))
        row.ahead = lexer.identifiers("a function that is called ahead of the jump");
    if (row.entry_class == Class::chain)
        while (find_type(lexer.peek().text) == nullptr && lexer.peek().text != "nothing")
            row.links.push_back(lexer.identifier("a further name of the chain, or its arguments"));
    if (row.entry_class == Class::own) {
        row.data = lexer.accept("data");
        if (lexer.accept("in"))
            row.source = read_path(lexer);
        if (row.data)
            row.result = {ResultKind::value, read_type(lexer), 0};
    }
}

/// `core ROOT`, or `core - ROOT` where letters share it, with what it gets where that is not the arguments;
/// `but ROOT` where values go elsewhere.
void read_core(Lexer& lexer, Row& row)
{
    row.core_without_letter = lexer.accept("-");
    row.core_root = lexer.identifier("the root of the core's name");
    if (row.entry_class == Class::handed && lexer.accept("(")) {
        do
            if (lexer.accept("&"))
                row.places.push_back("&" + lexer.identifier("an argument whose address the core takes"));
            else if (lexer.accept("local"))
                row.places.push_back("=" + lexer.identifier("an argument of which the core gets a copy"));
            else
                row.places.push_back(is_identifier(lexer.peek().text)
                                         ? lexer.next().text
                                         : std::to_string(lexer.number("an argument, & or a number")));
        while (lexer.accept(","));
        lexer.expect(")");
    }
    if (row.entry_class == Class::handed && lexer.accept("but"))
        row.value_core_root = lexer.identifier("the core's function of the form with values");
}

/// The arguments of `list NAME`.
void add_list(Lexer& lexer, Row& row, const Lists& lists)
{
    const auto list = lists.find(lexer.peek().text);
    if (list == lists.end())
        lexer.fail("a list that was told before");
    lexer.next();
    row.arguments.insert(row.arguments.end(), list->second.begin(), list->second.end());
}

/// A row, in two where an argument's direction is another one for a letter.
void add_rows(std::vector<Row>& rows, const Row& row)
{
    Row rest = row;
    for (std::size_t i = 0; i < row.arguments.size(); ++i)
        for (const auto& [letter, direction] : row.arguments[i].but)
            for (auto at = rest.precisions.begin(); at != rest.precisions.end(); ++at)
                if (at->prefix == letter.prefix) {
                    Row odd = row;
                    odd.precisions = {letter};
                    odd.arguments[i].direction = direction;
                    rows.push_back(odd);
                    rest.precisions.erase(at);
                    break;
                }
    if (!rest.precisions.empty())
        rows.push_back(rest);
}

} // namespace

void read_list(Lexer& lexer, Lists& lists)
{
    const std::string name = lexer.identifier("the list's name");
    std::vector<Argument> arguments;
    do
        arguments.push_back(read_argument(lexer));
    while (lexer.accept(","));
    if (!lexer.at_end())
        lexer.fail("',' or the end of the list");
    if (!lists.emplace(name, std::move(arguments)).second)
        lexer.fail_at(lexer.first_line(), "'" + name + "'", "each list's name once");
}

std::vector<Row> read_rows(Lexer& lexer, const std::string& root, const Family& family,
                           const Families& families, const Lists& lists)
{
    Row row;
    row.file = lexer.file();
    row.line = lexer.first_line();
    row.family = &family;
    // Several routines may share one argument list: `gemm s d c z, gemm3m c z checked ...`.
    const std::vector<Head> heads = read_heads_of_class(
        lexer, root, [](const std::string& word) { return classes.count(word) != 0; }, class_words, &family);
    row.entry_class = classes.at(lexer.next().text);
    read_class(lexer, row);
    row.narrow_only = lexer.accept("narrow_only");
    row.groups = lexer.accept("groups");
    row.unpadded = lexer.accept("unpadded");

    if (!lexer.accept("nothing") && !row.data)
        do
            if ((row.variadic = lexer.accept("more")))
                break;
            else if (lexer.accept("list"))
                add_list(lexer, row, lists);
            else
                row.arguments.push_back(read_argument(lexer));
        while (lexer.accept(","));
    while (!lexer.at_end()) {
        if (lexer.accept("->")) {
            row.result.kind = lexer.accept("hidden") ? ResultKind::hidden : ResultKind::value;
            if (find_type(lexer.peek().text) == nullptr && lexer.peek().text != "index")
                lexer.fail("the result's type");
            row.result.type = lexer.next().text;
            if (lexer.accept("refused"))
                row.result.refusal = lexer.number("what a refused call gives back");
        } else if (lexer.accept("where")) {
            do
                row.definitions.push_back(read_definition(lexer));
            while (lexer.accept(","));
        } else if (lexer.accept("tested")) {
            lexer.expect("last");
            row.tested_last = lexer.identifiers("an argument's name");
        } else if (lexer.accept("leaf")) {
            row.leaf = lexer.identifier("a name for the leaf size");
        } else if (lexer.accept("core")) {
            read_core(lexer, row);
        } else if (lexer.accept("small")) {
            row.small_root = lexer.identifier("the root of the kernel for small sizes");
            lexer.expect("when");
            row.small_condition = parse_expression(lexer);
        } else if (lexer.accept("also")) {
            const std::string name = lexer.identifier("a family's name");
            if (families.count(name) == 0)
                lexer.fail_at(row.line, "'" + name + "'", "a family that was told before");
            row.also = &families.at(name);
        } else {
            lexer.fail("',', '->', 'where', 'tested last', 'leaf', 'core', 'small', 'also' or the "
                       "end of the row");
        }
    }
    check_row(lexer, row);
    std::vector<Row> rows;
    for (const Head& head : heads) {
        row.root = head.root;
        row.precisions = head.letters;
        row.only = head.only;
        add_rows(rows, row);
    }
    return rows;
}

} // namespace qnm::catalogue
