// The work level of a member of the C interface to LAPACK.
#include "lapacke.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

using EKind = Expression::Kind;
using Role = LapackeArgument::Role;

class WorkLevel {
public:
    explicit WorkLevel(const LapackeMember& member) : m_(member), plan_(member.plan()), text_(member, false)
    {
    }

    std::string function() const
    {
        return exported(m_.result() + " " + m_.work_name() + m_.parameters(false), "return " + body());
    }

private:
    bool has_value() const { return !m_.value_type().empty(); }
    std::string quoted_name() const { return quoted(m_.work_name()); }
    std::string misused() const { return "misused<" + m_.result() + ">(" + quoted_name() + ", 1)"; }

    /// A call whose INFO, if it has no value, becomes one by a template.
    std::string returned(const std::string& by, const std::string& call) const
    {
        return has_value() ? call : by + "<" + m_.integer() + ">([&](" + m_.info() + ") { " + call + "; })";
    }

    std::string body() const
    {
        switch (plan_.c->shape) {
        case LapackeShape::flat:
            return returned("plain", m_.call());
        case LapackeShape::options:
            return "is_layout(matrix_layout) ? by_option<" + m_.integer() +
                   ">(matrix_layout, trans, [&](const char* told, " + m_.info() + ") { " +
                   m_.call({{"trans", "told"}}) + "; }) : " + misused();
        default:
            return "matrix_layout == column_major ? " + returned("passed_on", m_.call()) +
                   "\n        : matrix_layout == row_major ? " +
                   (plan_.c->shape == LapackeShape::turned ? turned() : transposed()) +
                   "\n        : " + misused();
        }
    }

    // Row-major by copies.

    std::string transposed() const
    {
        std::string lambda = "[&](" + m_.info();
        std::string matrices;
        Places copies;
        for (const LapackeArgument& a : plan_.arguments) {
            const std::string& name = a.argument->name;
            if (a.role == Role::leading)
                copies[name] = "lent(" + matrix_of(a).argument->name + "_t.copy_ld())";
            if (a.role != Role::matrix)
                continue;
            copies[name] = name + "_t.place";
            lambda += ", auto& " + name + "_t";
            matrices += ",\n            " + matrix(a);
        }
        const std::string call = m_.call(copies);
        if (has_value())
            return "transposed_value<" + m_.integer() + ", " + m_.value_type() + ">(" + quoted_name() + ", " +
                   lambda + ") { return " + call + "; }" + matrices + ")";
        return "transposed<" + m_.integer() + ">(" + joined({quoted_name(), asks(), refused()}) +
               ",\n            " + lambda + ") { " + call + "; }" + matrices + ")";
    }

    const LapackeArgument& matrix_of(const LapackeArgument& leading) const
    {
        return plan_.arguments[static_cast<std::size_t>(leading.matrix)];
    }

    /// The object that takes a matrix's copy, brings in and back.
    std::string matrix(const LapackeArgument& a) const
    {
        const auto [back_type, back] = way_back(a);
        return "Matrix<" + joined({m_.element(a), m_.integer(), form_type(a.form), back_type}) + ">{" +
               joined({a.argument->name, leading_of(a), text_.when(a.facts.when), moves_when(a.in, a),
                       moves_when(a.out, a), form_value(a.form), back}) +
               "}";
    }

    /// Leading dimension, its position and its bound.
    std::string leading_of(const LapackeArgument& matrix) const
    {
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::leading && &matrix_of(a) == &matrix)
                return joined({a.argument->name, std::to_string(a.position), text_.size(*a.bound)});
        return matrix.form.is_packed()
                   ? "0, 0, 0"
                   : m_.narrowed("room(" + text_.text(*matrix.form.columns()) + ")") + ", 0, 0";
    }

    /// Type and value of the form in which a matrix comes back.
    std::pair<std::string, std::string> way_back(const LapackeArgument& a) const
    {
        if (a.out.empty())
            return {form_type(a.form), form_value(a.form)};
        const Form& first = a.out[0].form;
        if (a.out.size() == 1)
            return {form_type(first, is_late(first)), form_value(first)};
        const Form& second = a.out[1].form;
        const std::string type = "Either<" + form_type(first) + ", " + form_type(second) + ">";
        return {type, type + "{" +
                          joined({text_.when(a.out[0].when), form_value(first), form_value(second)}) + "}"};
    }

    std::string form_type(const Form& form, bool late = false) const
    {
        return to_upper(form.name.substr(0, 1)) + form.name.substr(1) + (late ? "Behind" : "") + "<" +
               m_.integer() + ">";
    }

    /// Whether a form's columns are known after the call only.
    bool is_late(const Form& form) const
    {
        const LapackeArgument* a = form.name == "ge" && form.options[1]->kind == EKind::name
                                       ? plan_.find(form.options[1]->text)
                                       : nullptr;
        return a != nullptr && a->address;
    }

    std::string form_value(const Form& form) const
    {
        const bool late = is_late(form);
        Words list;
        for (std::size_t i = 0; i < form.options.size(); ++i)
            list.push_back(late && i == 1 ? form.options[1]->text : text_.option(form, i));
        return form_type(form, late) + "{" + joined(list) + "}";
    }

    /// A condition of a move, where the copy exists.
    std::string moves_when(const std::vector<FormUse>& uses, const LapackeArgument& a) const
    {
        const auto told = [](const ExpressionPtr& e) { return e ? to_text(*e) : std::string{}; };
        if (uses.empty())
            return "false";
        if (uses.size() > 1 || told(uses[0].when) == told(a.facts.when))
            return "true";
        return text_.when(uses[0].when);
    }

    std::string asks() const
    {
        if (plan_.c->asks)
            return text_.text(*plan_.c->asks);
        Words any;
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::size)
                any.push_back(a.argument->name + " == -1");
        return any.empty() ? "false" : joined(any, " || ");
    }

    std::string refused() const
    {
        if (!plan_.c->refused)
            return "0";
        return "(" + text_.text(*plan_.c->refused) + " ? " +
               std::to_string(plan_.find(plan_.c->refused_as)->position) + " : 0)";
    }

    // Row-major as the same operation on the transpose.

    /// The test of leading dimensions alone: the position of the first that is too small, or 0.
    std::string bad_leading() const
    {
        std::string text;
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::leading)
                text += a.argument->name + " < " + text_.text(*a.bound) + " ? " + std::to_string(a.position) +
                        " : ";
        return text + "0";
    }

    std::string turned() const
    {
        Places exchanged;
        for (const auto& [a, b] : plan_.c->exchanged) {
            exchanged[a] = b;
            exchanged[b] = a;
        }
        Places places;
        for (const auto& [a, b] : exchanged)
            places[a] = "&" + b;
        const LapackeText text(m_, false, exchanged);
        std::string length = "0";
        std::string element = "char";
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::workspace) {
                length = text.text(*a.room);
                element = m_.element(a);
                places[a.argument->name] = "own_work";
            }
        Words given{quoted_name(), bad_leading()};
        Words taken;
        for (const std::string option : {"norm", "uplo"}) {
            const bool has = plan_.find(option) != nullptr;
            if (has)
                places[option] = "other_" + option;
            given.push_back(has ? option : "' '");
            taken.push_back("const char* " + (has ? places[option] : "/*" + option + "*/"));
        }
        given.push_back(length);
        taken.push_back(element + "* " + (length == "0" ? "/*work*/" : "own_work"));
        return "turned<" + joined({m_.integer(), m_.result(), element}) + ">(" + joined(given) +
               ",\n            [&](" + joined(taken) + ") { return " +
               returned("passed_on", m_.call(places)) + "; })";
    }

    const LapackeMember& m_;
    const LapackePlan& plan_;
    LapackeText text_;
};

} // namespace

std::string lapacke_work(const LapackeMember& member)
{
    return WorkLevel(member).function();
}

} // namespace qnm::generate
