// Statements of the C interface.
#include <set>

#include "catalogue/reader.hpp"
#include "cblas/room/cblas.hpp"

namespace qnm::catalogue {

namespace {

const std::set<std::string> forms{"level2",  "level3",     "made",  "sized",  "blocks", "groups",
                                  "forward", "regardless", "index", "direct", "jump",   "here"};
const std::set<std::string> conjugations{"general",        "product",  "copies",
                                         "copies_in_step", "triangle", "batch"};

/// `exchange m n`, `flip uplo`, `trans as TNN`, `conjugate alpha`, `go_on n`, `call geru`, `code ldb 11`.
void read_rewrite(Lexer& lexer, Rewrite& rewrite)
{
    do {
        if (lexer.accept("exchange")) {
            const std::string a = lexer.identifier("an argument's name");
            const std::string b = lexer.identifier("an argument's name");
            rewrite.exchanged[a] = b;
            rewrite.exchanged[b] = a;
        } else if (lexer.accept("flip")) {
            rewrite.letters[lexer.identifier("an option's name")] = {};
        } else if (lexer.accept("conjugate")) {
            rewrite.conjugated.push_back(lexer.identifier("a scalar's name"));
        } else if (lexer.accept("go_on")) {
            rewrite.goes_on.push_back(lexer.identifier("a tested argument"));
        } else if (lexer.accept("call")) {
            rewrite.callee = lexer.identifier("the root of another routine's name");
        } else if (lexer.accept("code")) {
            const std::string name = lexer.identifier("a tested argument");
            rewrite.codes[name] = lexer.number("the reported code");
        } else {
            const std::string name =
                lexer.identifier("exchange, flip, conjugate, go_on, call, code or an option");
            lexer.expect("as");
            rewrite.letters[name] = lexer.identifier("letters");
        }
    } while (lexer.accept(","));
}

CTest read_test(Lexer& lexer)
{
    CTest test;
    test.argument = lexer.identifier("an argument's name");
    if (lexer.accept("in")) {
        test.letters = lexer.identifier("letters");
    } else {
        lexer.expect(">=");
        test.minimum = parse_bound(lexer);
    }
    return test;
}

/// A clause behind the class.
void read_clause(Lexer& lexer, CStatement& c)
{
    CRow& row = c.row;
    if (lexer.accept("plain")) {
        row.plain = true;
    } else if (lexer.accept("stops")) {
        row.stops = true;
    } else if (lexer.accept("narrow_only")) {
        row.narrow_only = true;
    } else if (lexer.accept("allocated_first")) {
        row.allocated_first = true;
    } else if (lexer.accept("of")) {
        row.fortran_root = lexer.identifier("the root of the Fortran routine's name");
    } else if (lexer.accept("layout_behind")) {
        c.ahead_of_layout = lexer.identifier("an argument's name");
    } else if (lexer.accept("tested")) {
        c.tested = lexer.identifiers("an argument's name");
    } else if (lexer.accept("goes_on")) {
        row.goes_on = lexer.identifiers("an argument's name");
    } else if (lexer.accept("quick")) {
        row.quick = lexer.identifiers("an argument's name");
    } else if (lexer.accept("conjugated")) {
        if (conjugations.count(lexer.peek().text) == 0)
            lexer.fail("general, product, copies, copies_in_step, triangle or batch");
        row.conjugated = lexer.next().text;
        if (row.conjugated.rfind("copies", 0) == 0)
            row.copied = lexer.identifiers("an argument's name");
    } else if (lexer.accept("types")) {
        do {
            const std::string name = lexer.identifier("an argument's name");
            c.types.emplace_back(name, read_type(lexer));
        } while (lexer.accept(","));
    } else if (lexer.accept("with")) {
        do
            c.tests.push_back(read_test(lexer));
        while (lexer.accept(","));
    } else if (lexer.accept("columns")) {
        read_rewrite(lexer, row.columns);
    } else if (lexer.accept("rows")) {
        read_rewrite(lexer, row.rows);
    } else {
        lexer.fail("a clause of the C interface (plain, stops, narrow_only, allocated_first, of, "
                   "layout_behind, tested, goes_on, quick, conjugated, types, with, columns, rows) "
                   "or the end of the row");
    }
}

} // namespace

CStatement read_c_statement(Lexer& lexer, const std::string& root, const Family& family)
{
    CStatement c;
    c.row.line = lexer.first_line();
    c.row.family = &family;
    c.row.file = lexer.file();
    c.heads = read_heads_of_class(
        lexer, root, [](const std::string& word) { return forms.count(word) != 0; },
        "level2, level3, made, sized, blocks, groups, forward, regardless, index, direct, jump, here");
    c.row.form = lexer.next().text;
    while (!lexer.at_end())
        read_clause(lexer, c);
    return c;
}

} // namespace qnm::catalogue
