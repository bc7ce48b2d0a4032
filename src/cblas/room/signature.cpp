// What an entry of the C interface is.
#include <map>

#include "catalogue/row_signatures.hpp"
#include "cblas/room/cblas.hpp"

namespace qnm::catalogue {

namespace {

/// The published types: enumerations, `void` for complex numbers, and also for arrays whose type depends on
/// the layout.
std::string parameter_type(const CArgument& a, const CEntry& entry)
{
    const CRow& row = *entry.row;
    const std::string integer = c_type("int", entry.precision, entry.width);
    const auto enumeration = [&]() -> std::string {
        return a.as.letters.find('P') != std::string::npos ? "int" : code_group(a.as.letters).type;
    };
    const auto element = [&]() -> std::string {
        const CArgument* other = row.find(row.rows.source(a.as.name));
        const bool complex = a.as.type == "C" || (entry.precision.is_complex() && a.as.type == "T");
        return complex || other->as.type != a.as.type ? "void"
                                                      : c_type(a.as.type, entry.precision, entry.width);
    };
    switch (a.role) {
    case CRole::layout:
        return "CBLAS_LAYOUT";
    case CRole::option:
        return enumeration();
    case CRole::options:
        return "const " + enumeration() + "*";
    case CRole::integer:
        return integer;
    case CRole::integers:
        return "const " + integer + "*";
    case CRole::scalar:
        return c_type(a.as.type, entry.precision, entry.width);
    case CRole::address:
        break;
    }
    if (a.as.pointers && a.as.type == "void")
        return "void**";
    const bool written = a.as.direction == Direction::out || a.as.direction == Direction::inout ||
                         a.as.direction == Direction::work;
    return (written ? "" : "const ") + element() + "*" + (a.as.pointers ? " const*" : "");
}

/// The letters that codes become in a layout.
std::map<int, char> letters(const CArgument& a, const Rewrite& rewrite)
{
    std::map<int, char> all;
    for (const char letter : a.as.letters)
        all[option_code(code_group(a.as.letters), letter)] = becoming(letter, a, rewrite);
    return all;
}

Callee callee(const CEntry& entry, bool row_major)
{
    static const std::map<CRole, Fill> fills{{CRole::option, Fill::letter},
                                             {CRole::options, Fill::letter},
                                             {CRole::integer, Fill::addressed},
                                             {CRole::scalar, Fill::addressed}};
    const CRow& row = *entry.row;
    const Rewrite& rewrite = row.rewrite(row_major);
    Callee called{entry.callee(rewrite), row_major ? "row-major" : "", {}};
    if (row.fortran.result.kind == ResultKind::hidden)
        called.places.push_back({Fill::as_it_is, row.position("result") - 1});
    for (const Argument& f : row.fortran.arguments) {
        const CArgument& a = *row.find(rewrite.source(f.name));
        const auto fill = fills.find(a.role);
        Place place{fill == fills.end() ? Fill::as_it_is : fill->second, row.position(a.as.name) - 1, "", {}};
        if (place.fill == Fill::letter)
            place.letters = letters(a, rewrite);
        if (row.has(rewrite.conjugated, a.as.name))
            place.fill = Fill::conjugated;
        called.places.push_back(std::move(place));
    }
    return called;
}

/// What a row-major call makes of an argument beyond its place.
std::string row_major_note(const CArgument& a, const CRow& row)
{
    const auto letters = row.rows.letters.find(a.as.name);
    return (letters != row.rows.letters.end() ? ", row-major as " + letters->second : std::string()) +
           (row.has(row.rows.conjugated, a.as.name) ? ", row-major conjugated" : "");
}

/// The same in the words that people expect: a choice asks for an option's first letter, and names added
/// stand in their order.
ExpressionPtr settled(const Expression& expression, const CRow& row)
{
    using Kind = Expression::Kind;
    const auto made = std::make_shared<Expression>(expression);
    std::vector<ExpressionPtr>& operands = made->operands;
    for (ExpressionPtr& operand : operands)
        operand = settled(*operand, row);
    if (made->kind == Kind::condition && operands[0]->kind == Kind::letter) {
        const std::string all = row.find(operands[0]->text)->as.letters, &asked = operands[0]->letters;
        if (asked.find(all.front()) == std::string::npos) {
            const auto other = std::make_shared<Expression>(*operands[0]);
            other->letters.clear();
            for (const char letter : all)
                if (asked.find(letter) == std::string::npos)
                    other->letters += letter;
            operands = {other, operands[2], operands[1]};
        }
    }
    if (made->text == "+" && operands[0]->kind == Kind::name && operands[1]->kind == Kind::name &&
        operands[1]->text < operands[0]->text)
        std::swap(operands[0], operands[1]);
    return made;
}

/// What must hold of an argument in a layout.
std::string layout_test_text(const CRow& row, const std::string& step, const Rewrite& rewrite)
{
    Argument a = row.find(rewrite.source(step))->as; // whose place it takes
    if (!a.tested())
        return step;
    a.name = step;
    for (ExpressionPtr* e : {&a.minimum, &a.unless})
        if (*e)
            *e = settled(*in_layout(**e, row, rewrite), row);
    return test_text(a);
}

/// One test, or one for each layout where they differ.
void add_tests(Signature& s, const CRow& row, const std::string& step)
{
    const CArgument& a = *row.find(step);
    Test by_columns{row.position(step) - 1, row.position(step), step, "", row.has(row.goes_on, step)};
    if (a.as.tested())
        by_columns.text = test_text(a.as);
    Test by_rows = by_columns;
    if (row.find("layout") != nullptr && a.role != CRole::option && a.role != CRole::options)
        if (const std::string text = layout_test_text(row, step, row.rows);
            text != layout_test_text(row, step, row.columns))
            by_rows.text = text;
    for (const auto& [test, rewrite] : {std::pair{&by_columns, &row.columns}, {&by_rows, &row.rows}}) {
        const auto code = rewrite->codes.find(step);
        test->code = code == rewrite->codes.end() ? test->code : code->second;
        test->goes_on = test->goes_on || row.has(rewrite->goes_on, step);
    }
    if (by_columns.code != by_rows.code || by_columns.goes_on != by_rows.goes_on ||
        by_columns.text != by_rows.text) {
        by_columns.when = "column-major";
        by_rows.when = "row-major";
        s.tests.push_back(by_rows);
    }
    s.tests.push_back(by_columns);
}

} // namespace

Signature c_signature(const CEntry& entry)
{
    static const std::map<CRole, Travel> travels{
        {CRole::layout, Travel::code},    {CRole::option, Travel::code},  {CRole::options, Travel::codes},
        {CRole::integer, Travel::value},  {CRole::scalar, Travel::value}, {CRole::integers, Travel::integers},
        {CRole::address, Travel::address}};
    const CRow& row = *entry.row;
    Signature s = signature_of(row, entry.precision, entry.form);
    s.called_root = row.fortran_root;
    s.names = {entry.name()};
    s.source = row.form + ", src/cblas" +
               (row.conjugated.empty() ? "" : ", row-major conjugated: " + row.conjugated);
    const Result& result = row.fortran.result;
    if (result.kind == ResultKind::value)
        s.result = row.form == "index" ? "CBLAS_INDEX" : c_type(result.type, entry.precision, entry.width);
    for (const CArgument& a : row.arguments)
        s.parameters.push_back({a.as.name, parameter_type(a, entry), travels.at(a.role),
                                a.role == CRole::layout ? nullptr : &a.as, row_major_note(a, row)});
    if (row.form != "here")
        s.callees.push_back(callee(entry, false));
    if (row.find("layout") != nullptr)
        s.callees.push_back(callee(entry, true));
    s.report_name = row.form == "made" ? s.callees.front().name : entry.name(); // that of what is called
    s.definitions = row.fortran.definitions;
    for (const std::string& step : row.steps)
        add_tests(s, row, step);
    return s;
}

} // namespace qnm::catalogue
