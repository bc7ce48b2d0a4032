// What follows from a statement of the C interface and the Fortran rows that it is about.
#include <algorithm>
#include <set>

#include "catalogue/reader.hpp"
#include "cblas/room/cblas.hpp"

namespace qnm::catalogue {

namespace {

bool contains(const std::vector<std::string>& list, const std::string& name)
{
    return std::find(list.begin(), list.end(), name) != list.end();
}

/// Whether the classes's entries begin with a layout.
bool has_layout(const CRow& row)
{
    static const std::set<std::string> with{"level2", "level3", "made", "blocks", "groups"};
    return with.count(row.form) != 0;
}

CRole role(const Argument& a, const Row& fortran)
{
    switch (a.kind) {
    case Kind::character:
        return CRole::option;
    case Kind::letters:
        return CRole::options;
    case Kind::integer:
        return fortran.groups && a.array ? CRole::integers : CRole::integer;
    case Kind::integers:
        return CRole::integers;
    default:
        break;
    }
    const bool complex = a.type == "C" || a.type == "T";
    return a.array || a.pointers || a.type == "void" || (complex && a.type == "C") ? CRole::address
                                                                                   : CRole::scalar;
}

void add_arguments(CRow& row, const std::string& ahead_of_layout)
{
    const auto add_layout = [&] {
        CArgument layout{CRole::layout, {}};
        layout.as.name = "layout";
        row.arguments.push_back(std::move(layout));
    };
    if (has_layout(row) && ahead_of_layout.empty())
        add_layout();
    for (const Argument& a : row.fortran.arguments) {
        CArgument argument{role(a, row.fortran), a};
        if (argument.role == CRole::scalar && a.type == "T" && row.precisions.front().is_complex())
            argument.role = CRole::address;
        row.arguments.push_back(std::move(argument));
        if (a.name == ahead_of_layout)
            add_layout();
    }
    if (row.fortran.result.kind == ResultKind::hidden) {
        CArgument result{CRole::address, {}};
        result.as.name = "result";
        result.as.type = row.fortran.result.type;
        result.as.direction = Direction::out;
        result.as.array = true;
        row.arguments.push_back(std::move(result));
    }
}

/// The order of testing: what the row tells, and what its class says of the rest.
void add_steps(CRow& row, std::vector<std::string> told)
{
    std::vector<std::string> options;
    std::vector<std::string> signs; // tests of sizes for negative values, which need no layout
    std::vector<std::string> rest;
    for (const CArgument& a : row.arguments) {
        const bool option = a.role == CRole::option;
        if (a.role == CRole::layout || !(option || a.as.tested()) || contains(told, a.as.name))
            continue;
        const bool sign = a.as.minimum && a.as.minimum->kind == Expression::Kind::number;
        (option ? options : sign ? signs : rest).push_back(a.as.name);
    }
    const auto add = [&](const std::vector<std::string>& names) {
        row.steps.insert(row.steps.end(), names.begin(), names.end());
    };
    if (row.form == "level2") {
        row.steps.emplace_back("layout");
        add(options);
        if (!row.stops)
            row.goes_on.insert(row.goes_on.end(), options.begin(), options.end());
        if (told.empty())
            for (const CArgument& a : row.arguments)
                if (contains(signs, a.as.name) || contains(rest, a.as.name))
                    told.push_back(a.as.name);
        add(told);
    } else if (row.form == "level3" || row.form == "made" || row.form == "sized") {
        add(options);
        if (told.empty()) {
            add(signs);
            if (has_layout(row))
                row.steps.emplace_back("layout");
            add(rest);
        }
        add(told);
    } else {
        add(told);
        if (row.form == "regardless")
            row.goes_on = told;
    }
}

void check_row(const Lexer& lexer, const CRow& row)
{
    const auto known = [&](const std::string& name) {
        if (row.find(name) == nullptr)
            lexer.fail_at(row.line, "'" + name + "'", "an argument of the row");
    };
    std::for_each(row.steps.begin(), row.steps.end(), known);
    std::for_each(row.goes_on.begin(), row.goes_on.end(), known);
    std::for_each(row.copied.begin(), row.copied.end(), known);
    for (const std::string& size : row.quick)
        if (size != "scalars")
            known(size);
    for (const Rewrite* rewrite : {&row.columns, &row.rows}) {
        for (const auto& [a, b] : rewrite->exchanged)
            known(a);
        for (const auto& [option, letters] : rewrite->letters) {
            known(option);
            if (row.find(option)->as.letters.empty())
                lexer.fail_at(row.line, "'" + option + "'", "an option");
        }
        std::for_each(rewrite->conjugated.begin(), rewrite->conjugated.end(), known);
        std::for_each(rewrite->goes_on.begin(), rewrite->goes_on.end(), known);
    }
    for (const CArgument& a : row.arguments)
        if (a.role == CRole::option && !row.has(row.steps, a.as.name))
            lexer.fail_at(row.line, "'" + a.as.name + "'", "a place among the tests for each option");
}

std::string reversed(std::string text)
{
    std::reverse(text.begin(), text.end());
    return text;
}

/// A flipped option's letters are those of its codes the other way round.
void settle_letters(CRow& row, Rewrite& rewrite)
{
    for (auto& [option, letters] : rewrite.letters)
        if (const CArgument* a = row.find(option); letters.empty() && a != nullptr)
            letters = reversed(code_group(a->as.letters).letters);
}

const Row& fortran_row(const CRow& row, const Precision& letter, const std::deque<Row>& rows,
                       const Lexer& lexer)
{
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& r) {
        return r.root == row.fortran_root && r.family->name == row.family->calls && r.has_letter(letter);
    });
    if (found == rows.end())
        lexer.fail_at(row.line, "'" + row.fortran_root + "'",
                      "a Fortran row with the letters '" + letter.prefix + "'");
    return *found;
}

/// What the statement says of arguments that differs from the Fortran row.
void settle_arguments(const CStatement& statement, Row& fortran, const Lexer& lexer)
{
    const auto find = [&](const std::string& name) {
        return std::find_if(fortran.arguments.begin(), fortran.arguments.end(),
                            [&](const Argument& a) { return a.name == name; });
    };
    for (const CTest& test : statement.tests) {
        const auto a = find(test.argument);
        if (a == fortran.arguments.end())
            lexer.fail_at(statement.row.line, "'" + test.argument + "'", "an argument of the Fortran row");
        if (test.minimum)
            a->minimum = test.minimum;
        else
            a->letters = test.letters;
    }
    for (const auto& [argument, type] : statement.types)
        if (const auto a = find(argument); a != fortran.arguments.end())
            a->type = type;
}

} // namespace

char becoming(char letter, const CArgument& option, const Rewrite& rewrite)
{
    const auto told = rewrite.letters.find(option.as.name);
    const std::size_t at = std::string(code_group(option.as.letters).letters).find(letter);
    return told == rewrite.letters.end() || at == std::string::npos ? letter : told->second.at(at);
}

ExpressionPtr in_layout(const Expression& expression, const CRow& row, const Rewrite& rewrite)
{
    const auto made = std::make_shared<Expression>(expression);
    if (made->kind == Expression::Kind::name) {
        for (const Definition& d : row.fortran.definitions)
            if (d.name == expression.text)
                return in_layout(*d.value, row, rewrite);
        made->text = rewrite.source(expression.text);
    } else if (made->kind == Expression::Kind::letter) {
        const CArgument& option = *row.find(rewrite.source(expression.text));
        made->text = option.as.name;
        made->letters.clear();
        for (const char letter : option.as.letters)
            if (expression.letters.find(becoming(letter, option, rewrite)) != std::string::npos)
                made->letters += letter;
    }
    for (ExpressionPtr& operand : made->operands)
        operand = in_layout(*operand, row, rewrite);
    return made;
}

std::vector<CRow> derive_c_rows(const CStatement& statement, const Head& head, const std::deque<Row>& rows,
                                const Lexer& lexer)
{
    std::vector<CRow> all;
    for (const Precision& letter : head.letters) {
        CRow row = statement.row;
        row.root = head.root;
        if (row.fortran_root.empty())
            row.fortran_root = head.root;
        row.precisions = {letter};
        row.fortran = fortran_row(row, letter, rows, lexer);
        const auto same = std::find_if(all.begin(), all.end(), [&](const CRow& r) {
            return r.fortran.where() == row.fortran.where() &&
                   r.precisions.front().is_complex() == letter.is_complex();
        });
        if (same != all.end()) {
            same->precisions.push_back(letter);
            continue;
        }
        settle_arguments(statement, row.fortran, lexer);
        add_arguments(row, statement.ahead_of_layout);
        add_steps(row, statement.tested);
        settle_letters(row, row.columns);
        settle_letters(row, row.rows);
        check_row(lexer, row);
        all.push_back(std::move(row));
    }
    return all;
}

} // namespace qnm::catalogue
