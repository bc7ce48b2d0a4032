#include "lapacke/room/forms.hpp"

namespace qnm::catalogue {

namespace {

using EKind = Expression::Kind;

const std::map<std::string, Shape> shapes{
    {"ge", {2, 0, 0, 1, false}},  {"gb", {4, 0, -2, 1, false}}, {"hs", {1, 0, 0, 0, false}},
    {"sy", {2, 1, 1, 1, false}},  {"he", {2, 1, 1, 1, false}},  {"po", {2, 1, 1, 1, false}},
    {"tr", {3, 2, 2, 2, false}},  {"tz", {5, 3, 3, 4, false}},  {"pb", {3, 1, -1, 1, false}},
    {"sb", {3, 1, -1, 1, false}}, {"hb", {3, 1, -1, 1, false}}, {"tb", {4, 2, -1, 2, false}},
    {"pp", {2, 1, 1, 1, true}},   {"sp", {2, 1, 1, 1, true}},   {"hp", {2, 1, 1, 1, true}},
    {"tp", {3, 2, 2, 2, true}},   {"pf", {3, 2, 2, 2, true}},   {"tf", {4, 3, 3, 3, true}}};

/// The letters that name the kind of matrix in a routine's name, behind the precision.
std::string kind_of(const Row& row)
{
    const std::size_t at = row.root.find('?');
    return row.root.substr(at == std::string::npos ? 0 : at + 1, 2);
}

ExpressionPtr option(const char* name)
{
    return make_expression(EKind::name, name);
}

ExpressionPtr sum(const ExpressionPtr& a, const ExpressionPtr& b)
{
    return make_expression(EKind::binary, "+", {a, b});
}

/// The form of a packed triangle of order n.
StorageForm packed_form(const Row& row, const Argument& a, const ExpressionPtr& n)
{
    const std::string kind = kind_of(row);
    const Shape* own = find_shape(kind);
    const bool packed = own != nullptr && own->packed;
    const bool has_diag = row.find("diag") != nullptr;
    if (a.name == "arf" && row.find("transr") != nullptr)
        return {"pf", {option("transr"), option("uplo"), n}};
    if (a.name.rfind("ap", 0) == 0 && (!packed || kind == "tf"))
        return {"pp", {option("uplo"), n}};
    std::vector<ExpressionPtr> options;
    if (kind == "pf" || kind == "tf")
        options.push_back(option("transr"));
    options.push_back(option("uplo"));
    if ((kind == "tp" || kind == "tf") && has_diag)
        options.push_back(option("diag"));
    options.push_back(n);
    if (kind == "tp" && !has_diag)
        return {"pp", options};
    return packed && own->options == options.size() ? StorageForm{kind, options} : StorageForm{};
}

StorageForm matrix_form(const Row& row, const Argument& a)
{
    const std::string kind = kind_of(row);
    const std::string& name = a.name;
    const ExpressionPtr& rows = a.extents[0];
    const ExpressionPtr& columns = a.extents[1];
    const bool has_uplo = row.find("uplo") != nullptr;
    const bool has_diag = row.find("diag") != nullptr;
    const bool square = to_text(*rows) == to_text(*columns) && rows->kind == EKind::name;
    const bool first = name == "a" || name == "af";
    if (has_uplo && square && first && (kind == "sy" || kind == "he" || kind == "po"))
        return {kind, {option("uplo"), columns}};
    if (has_uplo && has_diag && square && name == "a" && kind == "tr")
        return {kind, {option("uplo"), option("diag"), columns}};
    if (kind == "gb" && (name == "ab" || name == "afb"))
        return {"gb",
                {option(row.find("m") != nullptr ? "m" : "n"), option("n"), option("kl"),
                 to_text(*rows).find("2 *") == std::string::npos ? option("ku")
                                                                 : sum(option("kl"), option("ku"))}};
    if (has_uplo && (name == "ab" || name == "afb" || name == "bb") && rows->kind == EKind::binary &&
        rows->text == "+") {
        if (kind == "pb" || kind == "sb" || kind == "hb")
            return {kind, {option("uplo"), columns, rows->operands[0]}};
        if (kind == "tb" && has_diag)
            return {kind, {option("uplo"), option("diag"), columns, rows->operands[0]}};
    }
    return {"ge", {rows, columns}};
}

} // namespace

const Shape* find_shape(const std::string& name)
{
    const auto found = shapes.find(name);
    return found == shapes.end() ? nullptr : &found->second;
}

bool StorageForm::is_packed() const
{
    return !is_vector() && shapes.at(name).packed;
}

std::size_t StorageForm::letters() const
{
    return shapes.at(name).letters;
}

ExpressionPtr StorageForm::rows() const
{
    const Shape& shape = shapes.at(name);
    if (shape.rows == -1) // a triangle's band: the diagonal and its neighbours
        return sum(options.back(), make_number(1));
    if (shape.rows == -2)
        return sum(sum(options[2], options[3]), make_number(1));
    return options[static_cast<std::size_t>(shape.rows)];
}

ExpressionPtr StorageForm::columns() const
{
    return options[static_cast<std::size_t>(shapes.at(name).columns)];
}

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

StorageForm derived_form(const Row& row, const Argument& a)
{
    const ExpressionPtr n = packed_order(a);
    return n ? packed_form(row, a, n) : matrix_form(row, a);
}

} // namespace qnm::catalogue
