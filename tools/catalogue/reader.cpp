// The reader of the tables' language. docs/tables.md is its manual.
#include <algorithm>
#include <fstream>
#include <sstream>

#include "catalogue.hpp"

namespace qnm::catalogue {

namespace {

const std::map<std::string, Class> classes{
    {"check", Class::check},         {"checked", Class::checked},       {"matcopy", Class::matcopy},
    {"helper", Class::helper},       {"registered", Class::registered}, {"unregistered", Class::unregistered},
    {"unchecked", Class::unchecked}, {"scratch", Class::scratch},       {"bare", Class::bare}};

const std::map<std::string, Direction> directions{
    {"in", Direction::in}, {"out", Direction::out}, {"inout", Direction::inout}, {"work", Direction::work}};

bool is_integer(const Argument& a)
{
    return a.type == "int" || a.type == "logical";
}

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
    while (!lexer.at_end()) {
        const std::string word = lexer.peek().text;
        if (word == "in" && is_letters(lexer.peek(1).text) && a.type == "char") {
            lexer.next();
            a.letters = lexer.next().text;
        } else if (directions.count(word) != 0 &&
                   (a.array || (word != "work" && (word != "in" || a.type != "char")))) {
            a.direction = directions.at(lexer.next().text);
        } else if (word == "returns" && (a.direction == Direction::work || a.direction == Direction::out)) {
            lexer.next();
            a.returned = parse_expression(lexer);
        } else if (word == "query" && a.kind == Kind::integer) {
            lexer.next();
            a.query = true;
            a.alone = lexer.accept("alone");
        } else if (word == "null_at_query" && a.direction == Direction::work) {
            lexer.next();
            a.null_at_query = true;
        } else if (word == "cleared" && a.direction == Direction::work) {
            lexer.next();
            a.cleared = true;
        } else if (word == ">=" && is_integer(a)) {
            lexer.next();
            a.minimum = parse_bound(lexer);
        } else if (word == "<=" && a.minimum) {
            lexer.next();
            a.maximum = parse_bound(lexer);
        } else if (word == "barred" && a.tested()) {
            lexer.next();
            a.barred = parse_expression(lexer);
        } else if (word == "!=" && is_integer(a)) {
            lexer.next();
            lexer.expect("0");
            a.nonzero = true;
        } else if (word == "unless" && a.tested()) {
            lexer.next();
            a.unless = parse_expression(lexer);
        } else if (word == "code" && a.tested()) {
            lexer.next();
            a.code_override = lexer.number("the reported code");
        } else if (word == "kept" && a.kind == Kind::integer) {
            lexer.next();
            a.kept = true;
        } else {
            return;
        }
    }
}

Argument read_argument(Lexer& lexer)
{
    Argument a;
    if (!is_type(lexer.peek().text))
        lexer.fail("a type of argument (char, int, T, R, C, void, float, ...)");
    a.type = lexer.next().text;
    a.pointers = lexer.accept("*");
    a.name = lexer.identifier("the argument's name");
    const bool by_value = lexer.accept("value");
    read_extents(lexer, a);
    if (by_value && (a.array || (!is_integer(a) && a.type != "void")))
        lexer.fail_at(lexer.peek().line, "'value'", "it behind an int or a void that is no array");
    if (a.type == "char")
        a.kind = a.array ? Kind::letters : Kind::character;
    else if (is_integer(a))
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
        if (e.kind != Expression::Kind::name || (a != nullptr && is_integer(*a)) || e.text == row.leaf)
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
        for (const ExpressionPtr& e : {a.minimum, a.maximum, a.barred, a.unless, a.returned})
            if (e)
                check_names(lexer, row, *e, row.definitions.size());
        if (row.entry_class == Class::scratch && a.kind == Kind::integers &&
            (a.extents.size() != 1 || a.direction != Direction::in))
            refuse("'" + a.name + "'", "an extent and 'in' for the index array of a scratch entry");
    }
    if (any_test != row.has_check())
        refuse(any_test ? "a test" : "no test",
               "tests in rows of class checked, check or matcopy, and only there");
    for (const std::string& name : row.tested_last)
        if (const Argument* a = row.find(name); a == nullptr || !a->tested())
            refuse("'" + name + "'", "a tested argument behind 'tested last'");
    if (row.groups && (row.find("group_count") == nullptr || row.find("group_size") == nullptr))
        refuse("'groups'", "the arguments group_count and group_size");
    if (row.small_condition)
        check_names(lexer, row, *row.small_condition, row.definitions.size());
}

} // namespace

void Catalogue::read(const std::string& path)
{
    std::ifstream in(path);
    if (!in)
        throw TableError(path + ":0: cannot be read: expected a table");
    std::ostringstream text;
    text << in.rdbuf();
    read_text(text.str(), path.substr(path.rfind('/') + 1));
}

void Catalogue::read_text(const std::string& text, const std::string& file)
{
    family_ = nullptr;
    std::istringstream in(text);
    std::optional<Lexer> lexer;
    const auto finish = [&] {
        if (lexer && !lexer->at_end())
            statement(*lexer);
    };
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const bool continues = line.empty() || line[0] == ' ' || line[0] == '#';
        if (!continues) {
            finish();
            lexer.emplace(file, number);
        } else if (!lexer) {
            if (line.find_first_not_of(' ') != std::string::npos && line[line.find_first_not_of(' ')] != '#')
                throw TableError(file + ":" + std::to_string(number) +
                                 ": an indented line: expected a row to go on");
            continue;
        }
        lexer->add_line(line, number);
    }
    finish();
}

void Catalogue::statement(Lexer& lexer)
{
    if (lexer.accept("family"))
        return read_family(lexer);
    for (const auto& [word, kind] :
         {std::pair{"forward", ServiceKind::forward}, std::pair{"service", ServiceKind::service},
          std::pair{"internal", ServiceKind::internal}, std::pair{"chain", ServiceKind::chain}})
        if (lexer.accept(word))
            return read_service(lexer, kind);
    const std::string root = lexer.identifier(
        "the root of a routine's name, 'family', 'service', 'forward', 'internal' or 'chain'");
    if (family_ != nullptr && !family_->calls.empty())
        return read_c_row(lexer, root);
    if (family_ != nullptr && family_->frame == "lapacke")
        return read_lapacke_row(lexer, root);
    read_row(lexer, root);
}

void Catalogue::read_family(Lexer& lexer)
{
    const std::string name = lexer.identifier("the family's name");
    if (lexer.at_end()) { // which family the rows below belong to
        if (families_.count(name) == 0)
            lexer.fail("a family that was told before");
        family_ = &families_.at(name);
        return;
    }
    const auto [place, fresh] = families_.try_emplace(name);
    if (!fresh)
        lexer.fail("a family that was not told before");
    Family& family = place->second;
    family.name = name;
    family.frame = lexer.accept("frame") ? lexer.identifier("the folder of the family's templates") : name;
    if (lexer.accept("calls")) {
        family.calls = lexer.identifier("the family whose entries are called");
    } else if (lexer.accept("core")) {
        family.core = lexer.identifier("the pattern of core names");
    }
    if (lexer.accept("check"))
        family.check = lexer.identifier("the pattern of check names");
    for (const auto& [word, width] : {std::pair{"narrow", Width::narrow}, std::pair{"wide", Width::wide}}) {
        lexer.expect(word);
        while (!lexer.at_end() && lexer.peek().text != "wide")
            family.spellings[width].push_back(lexer.identifier("a spelling"));
    }
}

std::vector<Head> read_heads(Lexer& lexer, const std::string& root,
                             const std::function<bool(const std::string&)>& is_class,
                             const std::string& classes_text)
{
    std::vector<Head> heads{{root, {}}};
    while (!is_class(lexer.peek().text)) {
        std::vector<Precision>& letters = heads.back().letters;
        if (lexer.accept(","))
            heads.push_back({lexer.identifier("the root of a routine's name"), {}});
        else if (lexer.accept("-"))
            letters.push_back({"", ' ', ' '});
        else if (const Precision* precision = find_precision(lexer.peek().text))
            letters.push_back((lexer.next(), *precision));
        else
            lexer.fail("letters (s d c z sc dz cs zd is id ic iz ds sds, or -) and a class (" + classes_text +
                       ")");
    }
    for (const Head& head : heads)
        if (head.letters.empty())
            lexer.fail_at(lexer.first_line(), "'" + head.root + "'", "letters ahead of the class");
    return heads;
}

void Catalogue::read_row(Lexer& lexer, const std::string& root)
{
    Row row;
    row.file = lexer.file();
    row.line = lexer.first_line();
    row.family = family_;
    if (family_ == nullptr)
        lexer.fail_at(row.line, "'" + root + "'", "a line 'family NAME' above the first row");
    // Several routines may share one argument list: `gemm s d c z, gemm3m c z checked ...`.
    const std::vector<Head> heads = read_heads(
        lexer, root, [](const std::string& word) { return classes.count(word) != 0; },
        "checked, registered, unchecked, scratch, bare, matcopy, helper");
    row.entry_class = classes.at(lexer.next().text);
    if (family_->core.empty() != (row.entry_class == Class::helper))
        lexer.fail_at(row.line, "'" + family_->name + "'",
                      "a family with a core, or without one for helpers");
    row.groups = lexer.accept("groups");
    row.unpadded = lexer.accept("unpadded");

    if (!lexer.accept("nothing"))
        do
            row.arguments.push_back(read_argument(lexer));
        while (lexer.accept(","));
    while (!lexer.at_end()) {
        if (lexer.accept("->")) {
            row.result.kind = lexer.accept("hidden") ? ResultKind::hidden : ResultKind::value;
            if (!is_type(lexer.peek().text) && lexer.peek().text != "index")
                lexer.fail("the result's type");
            row.result.type = lexer.next().text;
            if (lexer.accept("refused"))
                row.result.refusal = lexer.number("what a refused call gives back");
        } else if (lexer.accept("where")) {
            do {
                Definition d;
                d.name = lexer.identifier("a name to define");
                lexer.expect("=");
                d.value = parse_expression(lexer);
                row.definitions.push_back(std::move(d));
            } while (lexer.accept(","));
        } else if (lexer.accept("tested")) {
            lexer.expect("last");
            do
                row.tested_last.push_back(lexer.identifier("an argument's name"));
            while (lexer.accept(","));
        } else if (lexer.accept("leaf")) {
            row.leaf = lexer.identifier("a name for the leaf size");
        } else if (lexer.accept("settled")) {
            row.settled = true;
        } else if (lexer.accept("core")) {
            row.core_root = lexer.identifier("the root of the core's name");
        } else if (lexer.accept("small")) {
            row.small_root = lexer.identifier("the root of the kernel for small sizes");
            lexer.expect("when");
            row.small_condition = parse_expression(lexer);
        } else if (lexer.accept("also")) {
            const std::string name = lexer.identifier("a family's name");
            if (families_.count(name) == 0)
                lexer.fail_at(row.line, "'" + name + "'", "a family that was told before");
            row.also = &families_.at(name);
        } else {
            lexer.fail("',', '->', 'where', 'tested last', 'leaf', 'settled', 'core', 'small', 'also' or the "
                       "end of the row");
        }
    }
    check_row(lexer, row);
    for (const auto& [name, letters] : heads) {
        row.root = name;
        row.precisions = letters;
        rows_.push_back(row);
        for (const Entry& entry : entries(rows_.back())) {
            for (const std::string& spelling : entry.spellings())
                claim(spelling, row.where());
            if (!entry.c_form().empty())
                claim(entry.c_form(), row.where());
        }
    }
}

void Catalogue::read_service(Lexer& lexer, ServiceKind kind)
{
    Service s;
    s.file = lexer.file();
    s.line = lexer.first_line();
    s.kind = kind;
    s.name = lexer.identifier("the service's name");
    const std::string upper = to_upper(s.name);
    const std::string lower = to_lower(s.name);
    s.core = "qnm_serv_" + (lower.rfind("qnm_", 0) == 0 ? lower.substr(4) : lower);
    if (kind == ServiceKind::forward || kind == ServiceKind::service)
        s.spellings = {upper, lower, lower + "_"};
    else
        s.spellings = {s.name};
    if (kind == ServiceKind::forward && s.name != upper)
        s.spellings.push_back(s.name);
    if (kind == ServiceKind::chain || lexer.peek().text == "also") {
        lexer.accept("also");
        while (is_identifier(lexer.peek().text) && lexer.peek().text != "core")
            s.spellings.push_back(lexer.next().text);
    }
    if (lexer.accept("core"))
        s.core = lexer.identifier("the core's function");
    s.c_core = lexer.accept("but") ? lexer.identifier("the core's function of the C form") : s.core;
    const auto type = [&] {
        if (service_type(lexer.peek().text).empty())
            lexer.fail("a type of the services (int, int64, address, text, buffer, double, ...)");
        return lexer.next().text;
    };
    if (lexer.accept(":"))
        do {
            ServiceArgument a;
            a.type = type();
            a.name = lexer.identifier("the argument's name");
            a.untouched = lexer.accept("untouched");
            s.arguments.push_back(std::move(a));
        } while (lexer.accept(","));
    if (lexer.accept("->"))
        s.result = type();
    if (!lexer.at_end())
        lexer.fail("'core', 'but', ': arguments', '-> result' or the end of the row");
    for (const std::string& spelling : s.spellings)
        claim(spelling, s.where());
    if (kind == ServiceKind::service)
        claim(s.name, s.where());
    services_.push_back(std::move(s));
}

void Catalogue::claim(const std::string& spelling, const std::string& where)
{
    const auto [at, fresh] = claimed_.emplace(spelling, where);
    if (!fresh)
        throw TableError(where + ": '" + spelling + "': expected a name that " + at->second +
                         " does not export");
}

std::vector<Entry> Catalogue::entries(const Row& row)
{
    std::vector<Entry> all;
    for (const Width width : {Width::narrow, Width::wide})
        for (const Precision& precision : row.precisions)
            if (row.entry_class != Class::check && (width == Width::narrow || row.has_wide()))
                all.push_back({&row, precision, width});
    return all;
}

std::vector<Entry> Catalogue::checks(const Row& row)
{
    std::vector<Entry> all;
    if (row.entry_class == Class::checked || row.entry_class == Class::matcopy)
        return entries(row);
    if (row.entry_class == Class::check)
        for (const Precision& precision : row.precisions)
            all.push_back({&row, precision, Width::wide});
    return all;
}

std::vector<Entry> Catalogue::entries() const
{
    std::vector<Entry> all;
    for (const Row& row : rows_)
        for (const Entry& entry : entries(row))
            all.push_back(entry);
    return all;
}

Catalogue read_tables(const std::vector<std::string>& paths)
{
    Catalogue catalogue;
    for (const std::string& path : paths)
        catalogue.read(path);
    return catalogue;
}

} // namespace qnm::catalogue
