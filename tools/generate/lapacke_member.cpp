// Names, types and expressions of a member of the C interface to LAPACK.
#include "lapacke.hpp"

namespace qnm::generate {

using namespace catalogue;

using EKind = Expression::Kind;

std::string LapackeMember::type(const std::string& word) const
{
    return word == "int" || word == "logical" ? integer() : c_type(word, precision_, width_);
}

std::string LapackeMember::fortran() const
{
    return "qnm_lapack__" + to_lower(Entry{plan_.row, precision_, Width::narrow}.name()) + suffix() + "_";
}

std::string LapackeMember::element(const LapackeArgument& a) const
{
    return type(a.argument->type);
}

std::string LapackeMember::value_type() const
{
    return plan_.row->result.kind == ResultKind::value ? type(plan_.row->result.type) : "";
}

std::string LapackeMember::parameters(bool high) const
{
    Words list;
    if (plan_.has_layout())
        list.emplace_back("int matrix_layout");
    for (const LapackeArgument& a : plan_.arguments)
        if (!high || !a.hidden)
            list.push_back(element(a) + (a.address ? "* " : " ") + a.argument->name);
    if (high)
        for (const Addition& add : plan_.c->additions)
            list.push_back(type(add.type) + "* " + add.name);
    return "(" + joined(list) + ")";
}

std::string LapackeMember::value(const LapackeArgument& a)
{
    return (a.address ? "*" : "") + a.argument->name;
}

std::string LapackeMember::declaration() const
{
    const Words types(plan_.arguments.size() + (plan_.has_info ? 1 : 0), "const void*");
    return "extern \"C\" " + (value_type().empty() ? "void" : value_type()) + " " + fortran() + "(" +
           joined(types) + ");\n";
}

std::string LapackeMember::call(const Places& places) const
{
    Words list;
    for (const LapackeArgument& a : plan_.arguments) {
        const auto other = places.find(a.argument->name);
        list.push_back(other != places.end() ? other->second : (a.address ? "" : "&") + a.argument->name);
    }
    if (plan_.has_info)
        list.emplace_back("info");
    return fortran() + "(" + joined(list) + ")";
}

const Expression* LapackeText::find(const std::string& name) const
{
    const Expression* own = defined(member_.plan().c->definitions, name);
    return own != nullptr ? own : defined(member_.plan().row->definitions, name);
}

std::string LapackeText::name(const std::string& name) const
{
    if (name == "row_major")
        return "(matrix_layout == row_major)";
    if (const LapackeArgument* a = member_.plan().find(name)) {
        if (high_ && a->facts.given)
            return text(*a->facts.given);
        const std::string value = LapackeMember::value(*a);
        return a->argument->type == "char" ? value : "core_int{" + value + "}";
    }
    const Expression* value = find(name);
    return value != nullptr ? text(*value) : "'" + to_lower(name.substr(0, 1)) + "'"; // a fixed letter
}

std::string LapackeText::letter(const Expression& e) const
{
    Words any;
    for (const char c : e.letters)
        any.push_back("option(" + LapackeMember::value(*member_.plan().find(e.text)) + ", '" + c + "')");
    return "(" + joined(any, " || ") + ")";
}

std::string LapackeText::call(const Expression& e) const
{
    if (e.text == "nonzero" || e.text == "reached") { // of arguments as they are
        Words names;
        for (const ExpressionPtr& operand : e.operands)
            names.push_back(operand->text);
        return e.text + (e.text == "reached" ? "<" + member_.integer() + ">(" : "(") + joined(names) + ")";
    }
    if (e.text == "odd")
        return "((1 & " + text(*e.operands[0]) + ") != 0)";
    return ExpressionText::call(e);
}

/// An expression whose value is a letter.
std::string LapackeText::letter_value(const Expression& e) const
{
    if (e.kind == EKind::condition)
        return condition(text(*e.operands[0]), letter_value(*e.operands[1]), letter_value(*e.operands[2]));
    if (e.kind != EKind::name)
        return text(e);
    if (const Expression* value = find(e.text); value != nullptr && member_.plan().find(e.text) == nullptr)
        return letter_value(*value);
    return text(e);
}

std::string LapackeText::option(const Form& form, std::size_t i) const
{
    const Expression& e = *form.options[i];
    const LapackeArgument* a = e.kind == EKind::name ? member_.plan().find(e.text) : nullptr;
    if (a != nullptr && !(high_ && a->facts.given))
        return LapackeMember::value(*a);
    return i < form.letters() ? letter_value(e) : size(e);
}

std::string LapackeText::when(const ExpressionPtr& e) const
{
    return !e ? "true" : e->kind == EKind::name ? e->text + " != 0" : text(*e);
}

} // namespace qnm::generate
