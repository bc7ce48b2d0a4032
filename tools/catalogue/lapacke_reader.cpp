// Statements of the C interface to LAPACK.
#include <set>

#include "forms.hpp"
#include "reader.hpp"

namespace qnm::catalogue {

namespace {

using EKind = Expression::Kind;

const std::map<std::string, LapackeShape> words{{"flat", LapackeShape::flat},
                                                {"options", LapackeShape::options},
                                                {"turned", LapackeShape::turned},
                                                {"one_level", LapackeShape::one_level}};

const std::set<std::string> fact_words{"as",      "when",      "bound", "in",    "out",   "not",
                                       "checked", "unchecked", "room",  "asked", "given", "kept",
                                       "value",   "address",   "const", "takes"};

Form read_form(Lexer& lexer)
{
    Form form;
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
    FormUse use;
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

/// What is said of an argument, up to a comma.
void read_facts(Lexer& lexer, LapackeFacts& f)
{
    for (;;) {
        if (lexer.accept("as")) {
            f.form = read_form(lexer);
            f.has_form = true;
        } else if (lexer.accept("when")) {
            f.when = parse_expression(lexer);
        } else if (lexer.accept("bound")) {
            f.bound = parse_expression(lexer);
        } else if (lexer.accept("in")) {
            f.also_in = true;
            f.in_when = read_when(lexer);
        } else if (lexer.accept("out")) {
            f.also_out = true;
            const bool other = lexer.accept("as");
            Form form = other ? read_form(lexer) : Form{};
            if (ExpressionPtr when = read_when(lexer); when || other)
                f.outs.push_back({std::move(form), when, nullptr, nullptr});
        } else if (lexer.accept("not")) {
            (lexer.accept("in") ? f.no_in : f.no_out) = true;
            if (f.no_out && !f.no_in)
                lexer.expect("out");
        } else if (lexer.accept("checked")) {
            read_checked(lexer, f);
        } else if (lexer.accept("unchecked")) {
            f.unchecked = true;
        } else if (lexer.accept("room")) {
            if (lexer.peek().text != "when")
                f.room = parse_expression(lexer);
            f.room_when = read_when(lexer);
        } else if (lexer.accept("asked")) {
            f.asked = true;
            f.room_when = read_when(lexer);
        } else if (lexer.accept("given")) {
            f.given = parse_expression(lexer);
        } else if (lexer.accept("kept")) {
            f.kept = true;
        } else if (lexer.accept("value")) {
            f.by_value = true;
        } else if (lexer.accept("address")) {
            f.by_address = true;
        } else if (lexer.accept("const")) {
            f.constant = true;
        } else if (lexer.accept("takes")) {
            f.takes = lexer.number("how many arguments the function takes");
        } else {
            return;
        }
    }
}

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
    while (is_identifier(lexer.peek().text) && fact_words.count(lexer.peek().text) == 0);
    LapackeFacts facts;
    read_facts(lexer, facts);
    for (const std::string& name : names)
        if (!c.facts.emplace(name, facts).second)
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
    c.file = "lapacke/" + lexer.file();
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

void check_lapacke_names(const Lexer& lexer, const LapackeRow& c, const Row& row)
{
    std::vector<ExpressionPtr> all{c.stops, c.refused, c.asks};
    const auto take = [&](const Form& form) {
        all.insert(all.end(), form.options.begin(), form.options.end());
    };
    for (const auto& [name, f] : c.facts) {
        if (row.find(name) == nullptr)
            lexer.fail_at(c.line, "'" + name + "'", "an argument of " + row.root);
        for (const ExpressionPtr& e :
             {f.when, f.bound, f.in_when, f.checked_when, f.room, f.room_when, f.given})
            all.push_back(e);
        take(f.form);
        for (const auto* uses : {&f.outs, &f.checks})
            for (const FormUse& use : *uses) {
                take(use.form);
                all.insert(all.end(), {use.when, use.offset, use.increment});
            }
    }
    std::vector<std::string> named = c.checked_in_order;
    if (c.refused)
        named.push_back(c.refused_as);
    for (const Addition& add : c.additions)
        named.push_back(add.workspace);
    for (const auto& [one, other] : c.exchanged)
        named.insert(named.end(), {one, other});
    for (const std::string& name : named)
        if (row.find(name) == nullptr)
            lexer.fail_at(c.line, "'" + name + "'", "an argument of " + row.root);
    std::set<std::string> known{"row_major"};
    for (const Definition& d : row.definitions)
        known.insert(d.name);
    for (const Definition& d : c.definitions) {
        known.insert(d.name);
        all.push_back(d.value);
    }
    for (const ExpressionPtr& e : all)
        if (e)
            walk(*e, [&](const Expression& node) {
                const bool letter = node.text.size() == 1 && node.text[0] >= 'A' && node.text[0] <= 'Z';
                if ((node.kind == EKind::name || node.kind == EKind::letter) &&
                    row.find(node.text) == nullptr && known.count(node.text) == 0 && !letter)
                    lexer.fail_at(c.line, "'" + node.text + "'",
                                  "an argument of " + row.root +
                                      ", a name of 'where', row_major or one letter");
            });
}

} // namespace qnm::catalogue
