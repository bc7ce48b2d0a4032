// Statements of the C interface to LAPACK.
#include <map>

#include "catalogue/reader.hpp"
#include "lapacke/room/forms.hpp"

namespace qnm::catalogue {

namespace {

const std::map<std::string, LapackeShape> words{{"flat", LapackeShape::flat},
                                                {"options", LapackeShape::options},
                                                {"turned", LapackeShape::turned},
                                                {"one_level", LapackeShape::one_level}};

StorageForm read_form(Lexer& lexer)
{
    StorageForm form;
    form.name =
        lexer.identifier("a storage form (ge, gb, sy, he, po, tr, tz, pb, sb, hb, tb, hs, pp, sp, ...)");
    const Shape* shape = find_shape(form.name);
    if (shape == nullptr)
        lexer.fail_at(lexer.first_line(), "'" + form.name + "'",
                      "a storage form (ge, gb, sy, he, po, tr, ...)");
    lexer.expect("(");
    do
        form.options.push_back(parse_expression(lexer));
    while (lexer.accept(","));
    lexer.expect(")");
    if (form.options.size() != shape->options)
        lexer.fail_at(lexer.first_line(), "'" + form.name + "'",
                      std::to_string(shape->options) + " options for this form");
    return form;
}

ExpressionPtr read_when(Lexer& lexer)
{
    return lexer.accept("when") ? parse_expression(lexer) : nullptr;
}

void read_checked(Lexer& lexer, LapackeFacts& f)
{
    if (lexer.accept("when")) {
        f.checked_when = parse_expression(lexer);
        return;
    }
    StorageUse use;
    if (lexer.accept("as"))
        use.form = read_form(lexer);
    else
        use.form.options.push_back(parse_expression(lexer));
    if (lexer.accept("from"))
        use.offset = parse_expression(lexer);
    if (lexer.accept("by"))
        use.increment = parse_expression(lexer);
    use.when = read_when(lexer);
    f.checks.push_back(std::move(use));
}

void read_out(Lexer& lexer, LapackeFacts& f)
{
    f.also_out = true;
    const bool other = lexer.accept("as");
    StorageForm form = other ? read_form(lexer) : StorageForm{};
    if (ExpressionPtr when = read_when(lexer); when || other)
        f.outs.push_back({std::move(form), when, nullptr, nullptr});
}

void read_not(Lexer& lexer, LapackeFacts& f)
{
    (lexer.accept("in") ? f.no_in : f.no_out) = true;
    if (f.no_out && !f.no_in)
        lexer.expect("out");
}

void read_room(Lexer& lexer, LapackeFacts& f)
{
    if (lexer.peek().text != "when")
        f.room = parse_expression(lexer);
    f.room_when = read_when(lexer);
}

/// What can be said of an argument, by its first word.
using Fact = void (*)(Lexer&, LapackeFacts&);
const std::map<std::string, Fact> facts{
    {"as",
     [](Lexer& lexer, LapackeFacts& f) {
         f.form = read_form(lexer);
         f.has_form = true;
     }},
    {"when", [](Lexer& lexer, LapackeFacts& f) { f.when = parse_expression(lexer); }},
    {"bound", [](Lexer& lexer, LapackeFacts& f) { f.bound = parse_expression(lexer); }},
    {"in",
     [](Lexer& lexer, LapackeFacts& f) {
         f.also_in = true;
         f.in_when = read_when(lexer);
     }},
    {"out", read_out},
    {"not", read_not},
    {"checked", read_checked},
    {"unchecked", [](Lexer&, LapackeFacts& f) { f.unchecked = true; }},
    {"room", read_room},
    {"turned", [](Lexer& lexer, LapackeFacts& f) { f.turned = parse_expression(lexer); }},
    {"asked",
     [](Lexer& lexer, LapackeFacts& f) {
         f.asked = true;
         f.room_when = read_when(lexer);
     }},
    {"given", [](Lexer& lexer, LapackeFacts& f) { f.given = parse_expression(lexer); }},
    {"kept", [](Lexer&, LapackeFacts& f) { f.kept = true; }},
    {"value", [](Lexer&, LapackeFacts& f) { f.by_value = true; }},
    {"address", [](Lexer&, LapackeFacts& f) { f.by_address = true; }},
    {"const", [](Lexer&, LapackeFacts& f) { f.constant = true; }},
    {"takes",
     [](Lexer& lexer, LapackeFacts& f) { f.takes = lexer.number("how many arguments the function takes"); }}};

Addition read_addition(Lexer& lexer)
{
    Addition add;
    add.type = read_type(lexer);
    add.name = lexer.identifier("the argument's name");
    if (lexer.accept("[")) {
        add.count = parse_expression(lexer);
        lexer.expect("]");
    }
    lexer.expect("from");
    add.workspace = lexer.identifier("a workspace");
    if (lexer.accept("[")) {
        add.offset = lexer.number("where the values begin");
        lexer.expect("]");
    }
    add.first_goes_in = lexer.accept("first_in");
    return add;
}

/// The word behind the letters that says how row-major is told.
void read_shape(Lexer& lexer, LapackeRow& c)
{
    const auto shape = words.find(lexer.peek().text);
    if (shape == words.end())
        return;
    lexer.next();
    c.shape = shape->second;
    if (c.shape != LapackeShape::turned)
        return;
    lexer.expect("(");
    do {
        const std::string first = lexer.identifier("an argument that changes places");
        c.exchanged.emplace_back(first, lexer.identifier("the argument that it changes places with"));
    } while (lexer.accept(","));
    lexer.expect(")");
}

ExpressionPtr read_condition(Lexer& lexer)
{
    lexer.expect("when");
    return parse_expression(lexer);
}

/// Several arguments may share what is said: `vl vu checked when range is V`.
void read_arguments(Lexer& lexer, LapackeRow& c)
{
    std::vector<std::string> names;
    do
        names.push_back(
            lexer.identifier("an argument's name, 'where', 'order', 'adds', 'stops' or 'refuses'"));
    while (is_identifier(lexer.peek().text) && facts.count(lexer.peek().text) == 0);
    LapackeFacts said;
    for (auto fact = facts.find(lexer.peek().text); fact != facts.end();
         fact = facts.find(lexer.peek().text)) {
        lexer.next();
        fact->second(lexer, said);
    }
    for (const std::string& name : names)
        if (!c.facts.emplace(name, said).second)
            lexer.fail_at(c.line, "'" + name + "'", "each argument once");
}

void read_clause(Lexer& lexer, LapackeRow& c)
{
    if (lexer.accept("where")) {
        c.definitions.push_back(read_definition(lexer));
    } else if (lexer.accept("order")) {
        do
            c.checked_in_order.push_back(lexer.identifier("an argument, in the order of the NaN checks"));
        while (is_identifier(lexer.peek().text));
    } else if (lexer.accept("stops")) {
        c.stops = read_condition(lexer);
    } else if (lexer.accept("refuses")) {
        c.refused_as = lexer.identifier("the argument that is reported");
        c.refused = read_condition(lexer);
        c.refused_with_nan = lexer.accept("checked");
    } else if (lexer.accept("asks")) {
        c.asks = read_condition(lexer);
    } else if (lexer.accept("adds")) {
        c.additions.push_back(read_addition(lexer));
    } else {
        read_arguments(lexer, c);
    }
}

} // namespace

LapackeRow read_lapacke_row(Lexer& lexer, const std::string& root)
{
    LapackeRow c;
    c.file = lexer.file();
    c.line = lexer.first_line();
    const auto is_end = [](const std::string& word) {
        return word.empty() || word == ":" || words.count(word) != 0;
    };
    c.heads = read_heads(lexer, root, is_end,
                         "letters, ',' and a further root, flat, options, turned, one_level or ':'");
    read_shape(lexer, c);
    while (lexer.accept(":") || lexer.accept(","))
        read_clause(lexer, c);
    if (!lexer.at_end())
        lexer.fail("',' or the end of the row");
    return c;
}

} // namespace qnm::catalogue
