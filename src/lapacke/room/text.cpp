// Names, types and expressions of a plan of the C interface to LAPACK.
#include "lapacke/room/text.hpp"

namespace qnm::generate {

using namespace catalogue;

using EKind = Expression::Kind;

std::string plan_name(const LapackePlan& plan)
{
    std::string name = stem(plan.row->root);
    for (const Precision& precision : plan.precisions)
        name += (&precision == &plan.precisions[0] ? "_" : "") + precision.prefix;
    return name;
}

std::string plan_type(const std::string& word)
{
    static const std::map<std::string, std::string> by_letter{
        {"T", "T"}, {"R", "real<T>"}, {"C", "Complex<real<T>>"}, {"int", "I"}, {"logical", "I"}};
    const auto found = by_letter.find(word);
    return found != by_letter.end() ? found->second : c_type(word, {"", 's', 's'}, Width::narrow);
}

std::string element(const LapackeArgument& a)
{
    return plan_type(a.argument->type);
}

bool has_value(const LapackePlan& plan)
{
    return plan.row->result.kind == ResultKind::value;
}

std::string value_type(const LapackePlan& plan)
{
    return has_value(plan) ? plan_type(plan.row->result.type) : "void";
}

std::string result_type(const LapackePlan& plan)
{
    return has_value(plan) || plan.c->shape == LapackeShape::one_level ? value_type(plan) : "I";
}

std::string value(const LapackeArgument& a)
{
    return (a.address ? "*" : "") + a.argument->name;
}

std::string fortran_arguments(const LapackePlan& plan, const Places& places)
{
    Words list;
    for (const LapackeArgument& a : plan.arguments) {
        const auto other = places.find(a.argument->name);
        list.push_back(other != places.end() ? other->second : (a.address ? "" : "&") + a.argument->name);
    }
    return joined(list);
}

const Expression* LapackeText::find(const std::string& name) const
{
    const Expression* own = defined(plan_.c->definitions, name);
    return own != nullptr ? own : defined(plan_.row->definitions, name);
}

std::string LapackeText::name(const std::string& name) const
{
    if (name == "row_major")
        return "(matrix_layout == row_major)";
    if (const LapackeArgument* a = plan_.find(name)) {
        if (high_ && a->facts.given)
            return text(*a->facts.given);
        return a->argument->type == "char" ? value(*a) : "core_int{" + value(*a) + "}";
    }
    const Expression* other = find(name);
    return other != nullptr ? text(*other) : "'" + to_lower(name.substr(0, 1)) + "'"; // a fixed letter
}

std::string LapackeText::letter(const Expression& e) const
{
    Words any;
    for (const char c : e.letters)
        any.push_back("option(" + value(*plan_.find(e.text)) + ", '" + c + "')");
    return any_of(any);
}

std::string LapackeText::call(const Expression& e) const
{
    if (e.text == "nonzero" || e.text == "reached") { // of arguments as they are
        Words names;
        for (const ExpressionPtr& operand : e.operands)
            names.push_back(operand->text);
        return e.text + (e.text == "reached" ? "<I>(" : "(") + joined(names) + ")";
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
    if (const Expression* other = find(e.text); other != nullptr && plan_.find(e.text) == nullptr)
        return letter_value(*other);
    return text(e);
}

/// The argument that an expression is, if the caller gives it.
const LapackeArgument* LapackeText::plain(const Expression& e) const
{
    const LapackeArgument* a = e.kind == EKind::name ? plan_.find(e.text) : nullptr;
    return a != nullptr && !(high_ && a->facts.given) ? a : nullptr;
}

std::string LapackeText::option(const StorageForm& form, std::size_t i) const
{
    const Expression& e = *form.options[i];
    return i < form.letters() && plain(e) == nullptr ? letter_value(e) : size(e);
}

Words LapackeText::options(const StorageForm& form) const
{
    Words all;
    for (std::size_t i = 0; i < form.options.size(); ++i)
        all.push_back(option(form, i));
    return all;
}

std::string LapackeText::when(const ExpressionPtr& e) const
{
    return !e ? "true" : e->kind == EKind::name ? e->text + " != 0" : text(*e);
}

std::string LapackeText::size(const Expression& e) const
{
    const LapackeArgument* a = plain(e);
    return a != nullptr ? value(*a) : e.kind == EKind::number ? text(e) : "static_cast<I>(" + text(e) + ")";
}

} // namespace qnm::generate
