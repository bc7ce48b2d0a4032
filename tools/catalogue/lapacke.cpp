// Reads the C tables and derives the C interface of each member. docs/tables.md is the manual.
#include "lapacke.hpp"

#include <algorithm>
#include <set>

#include "catalogue.hpp"

namespace qnm::catalogue {

namespace {

using EKind = Expression::Kind;

ExpressionPtr parsed(const std::string& text)
{
    Lexer lexer("rule", 0);
    lexer.add_line(text, 0);
    return parse_expression(lexer);
}

ExpressionPtr name_of(const std::string& name)
{
    auto node = std::make_shared<Expression>();
    node->kind = EKind::name;
    node->text = name;
    return node;
}

ExpressionPtr plus_1(const ExpressionPtr& e)
{
    auto node = std::make_shared<Expression>();
    node->kind = EKind::binary;
    node->text = "+";
    node->operands = {e, parsed("1")};
    return node;
}

ExpressionPtr sum(const ExpressionPtr& a, const ExpressionPtr& b)
{
    auto node = std::make_shared<Expression>();
    node->kind = EKind::binary;
    node->text = "+";
    node->operands = {a, b};
    return node;
}

/// How many options a form takes, how many of them are letters, and which are its rows and columns.
struct Shape {
    std::size_t options;
    std::size_t letters;
    int rows; // -1 a triangle's band, -2 a general band
    int columns;
    bool packed;
};
const std::map<std::string, Shape> shapes{
    {"ge", {2, 0, 0, 1, false}},  {"gb", {4, 0, -2, 1, false}}, {"hs", {1, 0, 0, 0, false}},
    {"sy", {2, 1, 1, 1, false}},  {"he", {2, 1, 1, 1, false}},  {"po", {2, 1, 1, 1, false}},
    {"tr", {3, 2, 2, 2, false}},  {"tz", {5, 3, 3, 4, false}},  {"pb", {3, 1, -1, 1, false}},
    {"sb", {3, 1, -1, 1, false}}, {"hb", {3, 1, -1, 1, false}}, {"tb", {4, 2, -1, 2, false}},
    {"pp", {2, 1, 1, 1, true}},   {"sp", {2, 1, 1, 1, true}},   {"hp", {2, 1, 1, 1, true}},
    {"tp", {3, 2, 2, 2, true}},   {"pf", {3, 2, 2, 2, true}},   {"tf", {4, 3, 3, 3, true}}};

const std::map<std::string, LapackeShape> words{{"flat", LapackeShape::flat},
                                                {"options", LapackeShape::options},
                                                {"turned", LapackeShape::turned},
                                                {"one_level", LapackeShape::one_level}};

Form read_form(Lexer& lexer)
{
    Form form;
    form.name =
        lexer.identifier("a storage form (ge, gb, sy, he, po, tr, tz, pb, sb, hb, tb, hs, pp, sp, ...)");
    const auto shape = shapes.find(form.name);
    if (shape == shapes.end())
        lexer.fail_at(lexer.first_line(), "'" + form.name + "'",
                      "a storage form (ge, gb, sy, he, po, tr, ...)");
    lexer.expect("(");
    do
        form.options.push_back(parse_expression(lexer));
    while (lexer.accept(","));
    lexer.expect(")");
    if (form.options.size() != shape->second.options)
        lexer.fail_at(lexer.first_line(), "'" + form.name + "'",
                      std::to_string(shape->second.options) + " options for this form");
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

void read_facts(Lexer& lexer, LapackeFacts& f)
{
    while (!lexer.at_end() && lexer.peek().text != ",") {
        const std::string word = lexer.peek().text;
        const auto take = [&](const char* expected) {
            if (word != expected)
                return false;
            lexer.next();
            return true;
        };
        if (take("as")) {
            f.form = read_form(lexer);
            f.has_form = true;
        } else if (take("when")) {
            f.when = parse_expression(lexer);
        } else if (take("bound")) {
            f.bound = parse_expression(lexer);
        } else if (take("in")) {
            f.also_in = true;
            f.in_when = read_when(lexer);
        } else if (take("out")) {
            f.also_out = true;
            if (lexer.accept("as")) {
                Form form = read_form(lexer);
                f.outs.push_back({std::move(form), read_when(lexer), nullptr, nullptr});
            } else if (ExpressionPtr when = read_when(lexer)) {
                f.outs.push_back({{}, when, nullptr, nullptr});
            }
        } else if (take("not")) {
            (lexer.accept("in") ? f.no_in : f.no_out) = true;
            if (f.no_out && !f.no_in)
                lexer.expect("out");
        } else if (take("checked")) {
            read_checked(lexer, f);
        } else if (take("unchecked")) {
            f.unchecked = true;
        } else if (take("room")) {
            if (lexer.peek().text != "when")
                f.room = parse_expression(lexer);
            f.room_when = read_when(lexer);
        } else if (take("asked")) {
            f.asked = true;
            f.room_when = read_when(lexer);
        } else if (take("given")) {
            f.given = parse_expression(lexer);
        } else if (take("kept")) {
            f.kept = true;
        } else if (take("value")) {
            f.by_value = true;
        } else if (take("address")) {
            f.by_address = true;
        } else if (take("const")) {
            f.constant = true;
        } else if (take("takes")) {
            f.takes = lexer.number("how many arguments the function takes");
        } else {
            return;
        }
    }
}

bool is_integer(const Argument& a)
{
    return a.type == "int" || a.type == "logical";
}

/// Whether a row's argument holds numbers that can be NaN.
bool is_number(const Argument& a)
{
    return !is_integer(a) && a.type != "char" && a.type != "procedure" && a.type != "void";
}

bool reads(const Argument& a)
{
    return a.direction == Direction::none || a.direction == Direction::in || a.direction == Direction::inout;
}

bool writes(const Argument& a)
{
    return a.direction == Direction::out || a.direction == Direction::inout;
}

/// n*(n+1)/2: the n of a packed triangle.
ExpressionPtr packed_order(const Argument& a)
{
    if (a.extents.size() != 1)
        return nullptr;
    const Expression& e = *a.extents[0];
    if (e.kind != EKind::binary || e.text != "/" || e.operands[1]->kind != EKind::number ||
        e.operands[0]->kind != EKind::binary || e.operands[0]->text != "*")
        return nullptr;
    return e.operands[0]->operands[0];
}

/// The letters that name the kind of matrix in a routine's name, behind the precision.
std::string kind_of(const Row& row)
{
    const std::size_t at = row.root.find('?');
    return row.root.substr(at == std::string::npos ? 0 : at + 1, 2);
}

Form make_form(const std::string& name, std::vector<ExpressionPtr> options)
{
    Form form;
    form.name = name;
    form.options = std::move(options);
    return form;
}

/// The storage of an array by the naming scheme of LAPACK: the letters of the routine's name say the kind of
/// its first matrices, which are called a, af; ab, afb, bb; ap, afp, bp.
Form derived_form(const Row& row, const Argument& a)
{
    const std::string kind = kind_of(row);
    const auto option = [&](const char* name) { return name_of(name); };
    const bool has_uplo = row.find("uplo") != nullptr;
    const bool has_diag = row.find("diag") != nullptr;
    const std::string& name = a.name;
    if (const ExpressionPtr n = packed_order(a)) {
        if (name == "arf" && row.find("transr") != nullptr)
            return make_form("pf", {option("transr"), option("uplo"), n});
        const auto own = shapes.find(kind);
        if (name.rfind("ap", 0) == 0 && (own == shapes.end() || !own->second.packed || kind == "tf"))
            return make_form("pp", {option("uplo"), n});
        const bool triangle = kind == "tp" || kind == "tf";
        std::vector<ExpressionPtr> options;
        if (kind == "pf" || kind == "tf")
            options.push_back(option("transr"));
        options.push_back(option("uplo"));
        if (triangle && has_diag)
            options.push_back(option("diag"));
        options.push_back(n);
        if (kind == "tp" && !has_diag)
            return make_form("pp", options);
        return own != shapes.end() && own->second.packed && own->second.options == options.size()
                   ? make_form(kind, options)
                   : Form{};
    }
    const ExpressionPtr& rows = a.extents[0];
    const ExpressionPtr& columns = a.extents[1];
    const bool square = to_text(*rows) == to_text(*columns) && rows->kind == EKind::name;
    const bool first = name == "a" || name == "af";
    if (has_uplo && square && first && (kind == "sy" || kind == "he" || kind == "po"))
        return make_form(kind, {option("uplo"), columns});
    if (has_uplo && has_diag && square && name == "a" && kind == "tr")
        return make_form(kind, {option("uplo"), option("diag"), columns});
    if (kind == "gb" && (name == "ab" || name == "afb"))
        return make_form("gb",
                         {option(row.find("m") != nullptr ? "m" : "n"), option("n"), option("kl"),
                          to_text(*rows).find("2 *") == std::string::npos ? option("ku")
                                                                          : sum(option("kl"), option("ku"))});
    if (has_uplo && (name == "ab" || name == "afb" || name == "bb") && rows->kind == EKind::binary &&
        rows->text == "+") {
        if (kind == "pb" || kind == "sb" || kind == "hb")
            return make_form(kind, {option("uplo"), columns, rows->operands[0]});
        if (kind == "tb" && has_diag)
            return make_form(kind, {option("uplo"), option("diag"), columns, rows->operands[0]});
    }
    return make_form("ge", {rows, columns});
}

ExpressionPtr product(const std::vector<ExpressionPtr>& factors)
{
    ExpressionPtr all;
    for (const ExpressionPtr& factor : factors) {
        if (!all) {
            all = factor;
            continue;
        }
        auto node = std::make_shared<Expression>();
        node->kind = EKind::binary;
        node->text = "*";
        node->operands = {all, factor};
        all = node;
    }
    return all;
}

/// One argument's plan, its neighbours in the row being known.
class Deriver {
public:
    Deriver(const Row& row, const LapackeRow& c) : row_(row), c_(c) {}

    LapackePlan plan()
    {
        LapackePlan plan;
        plan.row = &row_;
        plan.c = &c_;
        const int behind = c_.shape == LapackeShape::flat || c_.shape == LapackeShape::one_level ? 1 : 2;
        for (std::size_t i = 0; i < row_.arguments.size(); ++i) {
            const Argument& a = row_.arguments[i];
            if (a.name == "info" && i + 1 == row_.arguments.size() && writes(a)) {
                plan.has_info = true;
                continue;
            }
            LapackeArgument c;
            c.argument = &a;
            c.position = static_cast<int>(i) + behind;
            if (const auto facts = c_.facts.find(a.name); facts != c_.facts.end())
                c.facts = facts->second;
            c.address =
                (a.array || writes(a) || a.type == "procedure" || c.facts.by_address) && !c.facts.by_value;
            derive(c, plan);
            plan.arguments.push_back(std::move(c));
        }
        order_checks(plan);
        return plan;
    }

private:
    bool asked_size(const std::string& name) const
    {
        const Argument* a = row_.find(name);
        const auto facts = c_.facts.find(name);
        return a != nullptr && a->query && (facts == c_.facts.end() || !facts->second.kept);
    }

    void derive(LapackeArgument& c, const LapackePlan& plan)
    {
        const Argument& a = *c.argument;
        const LapackeFacts& f = c.facts;
        if (is_integer(a) && !a.array && (f.given || f.asked || (a.query && !f.kept))) {
            c.role = f.given ? LapackeArgument::Role::given : LapackeArgument::Role::size;
            c.hidden = true;
            return;
        }
        if (!f.kept && (a.direction == Direction::work || f.room || f.asked)) {
            derive_workspace(c);
            return;
        }
        if (is_integer(a) && !a.array && !plan.arguments.empty() && a.name.rfind("ld", 0) == 0 &&
            plan.arguments.back().role == LapackeArgument::Role::matrix &&
            !plan.arguments.back().form.is_packed() &&
            (c_.shape == LapackeShape::split || c_.shape == LapackeShape::turned)) {
            c.role = LapackeArgument::Role::leading;
            c.matrix = static_cast<int>(plan.arguments.size()) - 1;
            c.bound = f.bound ? f.bound : plan.arguments.back().form.columns();
            return;
        }
        derive_matrix(c);
        derive_checks(c);
    }

    void derive_workspace(LapackeArgument& c)
    {
        const Argument& a = *c.argument;
        c.role = LapackeArgument::Role::workspace;
        c.hidden = true;
        bool asked = c.facts.asked;
        for (const ExpressionPtr& e : a.extents)
            walk(*e, [&](const Expression& node) {
                asked = asked || (node.kind == EKind::name && asked_size(node.text));
            });
        if (c.facts.room)
            c.room = c.facts.room;
        else if (!asked)
            c.room = a.extents.empty() ? parsed("1") : product(a.extents);
    }

    void derive_matrix(LapackeArgument& c)
    {
        const Argument& a = *c.argument;
        const LapackeFacts& f = c.facts;
        if (f.has_form)
            c.form = f.form;
        else if (is_number(a) && a.array && (a.extents.size() == 2 || packed_order(a)))
            c.form = derived_form(row_, a);
        if (c.form.is_vector() || (c_.shape != LapackeShape::split && c_.shape != LapackeShape::turned))
            return;
        c.role = LapackeArgument::Role::matrix;
        c.bound = c.form.columns();
        if (c_.shape == LapackeShape::turned)
            return;
        if ((reads(a) || f.also_in) && !f.no_in)
            c.in.push_back({c.form, f.in_when ? f.in_when : f.when, nullptr, nullptr});
        if ((writes(a) || f.also_out) && !f.no_out) {
            for (const FormUse& out : f.outs)
                c.out.push_back({out.form.is_vector() ? c.form : out.form, out.when, nullptr, nullptr});
            if (f.outs.empty())
                c.out.push_back({c.form, f.when, nullptr, nullptr});
        }
    }

    void derive_checks(LapackeArgument& c)
    {
        const Argument& a = *c.argument;
        const LapackeFacts& f = c.facts;
        if (!is_number(a) || f.unchecked)
            return;
        if (!f.checks.empty()) {
            c.checks = f.checks;
            return;
        }
        if (!reads(a) && !f.checked_when)
            return;
        const ExpressionPtr when = f.checked_when ? f.checked_when : f.when ? f.when : f.in_when;
        FormUse use;
        use.form = c.form;
        if (c.form.is_vector())
            use.form.options.push_back(a.extents.size() == 1 ? a.extents[0] : parsed("1"));
        use.when = when;
        c.checks.push_back(std::move(use));
    }

    void order_checks(LapackePlan& plan) const
    {
        std::vector<int> rest;
        for (const std::string& name : c_.checked_in_order)
            for (std::size_t i = 0; i < plan.arguments.size(); ++i)
                if (plan.arguments[i].argument->name == name)
                    plan.checked.push_back(static_cast<int>(i));
        for (std::size_t i = 0; i < plan.arguments.size(); ++i)
            if (!plan.arguments[i].checks.empty() && std::find(plan.checked.begin(), plan.checked.end(),
                                                               static_cast<int>(i)) == plan.checked.end())
                rest.push_back(static_cast<int>(i));
        const auto name = [&](int i) { return plan.arguments[static_cast<std::size_t>(i)].argument->name; };
        std::stable_sort(rest.begin(), rest.end(), [&](int a, int b) { return name(a) < name(b); });
        plan.checked.insert(plan.checked.end(), rest.begin(), rest.end());
    }

    const Row& row_;
    const LapackeRow& c_;
};

/// Names of a C table's expressions are arguments, names of `where` in either row, or row_major.
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

} // namespace

bool Form::is_packed() const
{
    return !is_vector() && shapes.at(name).packed;
}

std::size_t Form::letters() const
{
    return shapes.at(name).letters;
}

ExpressionPtr Form::rows() const
{
    const Shape& shape = shapes.at(name);
    if (shape.rows == -1) // a triangle's band: the diagonal and its neighbours
        return plus_1(options.back());
    if (shape.rows == -2)
        return plus_1(sum(options[2], options[3]));
    return options[static_cast<std::size_t>(shape.rows)];
}

ExpressionPtr Form::columns() const
{
    return options[static_cast<std::size_t>(shapes.at(name).columns)];
}

bool LapackePlan::has_layout() const
{
    return c->shape != LapackeShape::flat && c->shape != LapackeShape::one_level;
}

std::string lapacke_name(const Row& row, const Precision& precision, Width width, bool high)
{
    return "LAPACKE_" + to_lower(Entry{&row, precision, Width::narrow}.name()) + (high ? "" : "_work") +
           (width == Width::wide ? "_64" : "");
}

const LapackeArgument* LapackePlan::find(const std::string& name) const
{
    const auto found = std::find_if(arguments.begin(), arguments.end(),
                                    [&](const LapackeArgument& a) { return a.argument->name == name; });
    return found == arguments.end() ? nullptr : &*found;
}

void Catalogue::read_lapacke_row(Lexer& lexer, const std::string& root)
{
    LapackeRow& c = lapacke_rows_.emplace_back();
    c.file = "lapacke/" + lexer.file();
    c.line = lexer.first_line();
    c.heads.push_back({root, {}});
    while (!lexer.at_end() && lexer.peek().text != ":" && words.count(lexer.peek().text) == 0) {
        if (lexer.accept(","))
            c.heads.emplace_back(lexer.identifier("the root of a routine's name"), std::vector<Precision>{});
        else if (const Precision* precision = find_precision(lexer.peek().text)) {
            c.heads.back().second.push_back(*precision);
            lexer.next();
        } else if (lexer.accept("-")) {
            c.heads.back().second.push_back({"", ' ', ' '});
        } else {
            lexer.fail("letters, ',' and a further root, flat, options, turned, one_level or ':'");
        }
    }
    if (const auto shape = words.find(lexer.peek().text); shape != words.end()) {
        c.shape = shape->second;
        lexer.next();
        if (c.shape == LapackeShape::turned) {
            lexer.expect("(");
            do {
                const std::string first = lexer.identifier("an argument that changes places");
                c.exchanged.emplace_back(first, lexer.identifier("the argument that it changes places with"));
            } while (lexer.accept(","));
            lexer.expect(")");
        }
    }
    while (lexer.accept(":") || lexer.accept(",")) {
        std::vector<std::string> names;
        if (lexer.accept("where")) {
            Definition d;
            d.name = lexer.identifier("a name to define");
            lexer.expect("=");
            d.value = parse_expression(lexer);
            c.definitions.push_back(std::move(d));
            continue;
        }
        if (lexer.accept("order")) {
            do
                c.checked_in_order.push_back(lexer.identifier("an argument, in the order of the NaN checks"));
            while (is_identifier(lexer.peek().text));
            continue;
        }
        if (lexer.accept("stops")) {
            lexer.expect("when");
            c.stops = parse_expression(lexer);
            continue;
        }
        if (lexer.accept("refuses")) {
            c.refused_as = lexer.identifier("the argument that is reported");
            lexer.expect("when");
            c.refused = parse_expression(lexer);
            c.refused_with_nan = lexer.accept("checked");
            continue;
        }
        if (lexer.accept("asks")) {
            lexer.expect("when");
            c.asks = parse_expression(lexer);
            continue;
        }
        if (lexer.accept("adds")) {
            Addition add;
            if (!is_type(lexer.peek().text))
                lexer.fail("a type");
            add.type = lexer.next().text;
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
            c.additions.push_back(std::move(add));
            continue;
        }
        // Several arguments may share what is said: `vl vu checked when range is V`.
        static const std::set<std::string> fact_words{
            "as",   "when",  "bound", "in",   "out",   "not",     "checked", "unchecked",
            "room", "asked", "given", "kept", "value", "address", "const",   "takes"};
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
    if (!lexer.at_end())
        lexer.fail("',' or the end of the row");

    for (const auto& [head, letters] : c.heads)
        for (const Precision& letter : letters) {
            const Row* found = nullptr;
            for (const Row& row : rows_)
                if (row.family->frame == "lapack" && row.root == head && row.entry_class != Class::check)
                    for (const Precision& p : row.precisions)
                        if (p.prefix == letter.prefix)
                            found = &row;
            if (found == nullptr)
                lexer.fail_at(c.line, "'" + letter.prefix + "' of '" + head + "'",
                              "a routine of the LAPACK tables");
            for (const Width width : {Width::narrow, Width::wide})
                for (const bool high : {true, false})
                    if (high || c.shape != LapackeShape::one_level)
                        claim(lapacke_name(*found, letter, width, high), c.where());
            if (!lapacke_plans_.empty() && lapacke_plans_.back().c == &c &&
                lapacke_plans_.back().row == found) {
                lapacke_plans_.back().precisions.push_back(letter);
                continue;
            }
            check_lapacke_names(lexer, c, *found);
            lapacke_plans_.push_back(Deriver(*found, c).plan());
            lapacke_plans_.back().precisions = {letter};
        }
}

} // namespace qnm::catalogue
