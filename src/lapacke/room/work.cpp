// The work level of a plan of the C interface to LAPACK.
#include "lapacke/room/text.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

using EKind = Expression::Kind;
using Role = LapackeArgument::Role;

class WorkLevel {
public:
    explicit WorkLevel(const LapackePlan& plan) : plan_(plan), text_(plan, false) {}

    std::string body() const
    {
        const std::string misused = "misused<" + result_type(plan_) + ">(entry, 1)";
        switch (plan_.c->shape) {
        case LapackeShape::one_level:
            return routine();
        case LapackeShape::flat:
            return called("plain");
        case LapackeShape::options:
            return "is_layout(matrix_layout) ? " +
                   called("passed_on", {{"trans", "lent(told(matrix_layout, trans))"}}) + " : " + misused;
        default:
            return "matrix_layout == column_major ? " + called("passed_on") +
                   "\n        : matrix_layout == row_major ? " +
                   (plan_.c->shape == LapackeShape::turned ? turned() : transposed()) +
                   "\n        : " + misused;
        }
    }

private:
    /// The bare call.
    std::string routine(const Places& places = {}) const
    {
        return "routine(" + fortran_arguments(plan_, places) + (plan_.has_info ? ", info)" : ")");
    }

    /// A call whose INFO, if there is one, becomes the result by a template.
    std::string called(const std::string& by, const Places& places = {}) const
    {
        if (has_value(plan_))
            return routine(places);
        if (!plan_.has_info)
            return "(" + routine(places) + ", I{0})";
        return by + "<I>(routine, " + fortran_arguments(plan_, places) + ")";
    }

    // Row-major by copies.

    std::string transposed() const
    {
        std::string lambda = std::string("[&](") + (plan_.has_info ? "void* info" : "void* /*info*/");
        std::string matrices;
        Places copies;
        for (const LapackeArgument& a : plan_.arguments) {
            const std::string& name = a.argument->name;
            if (a.role == Role::leading)
                copies[name] = "lent(I{" + matrix_of(a).argument->name + "_t.place_ld})";
            if (a.role != Role::matrix)
                continue;
            copies[name] = name + "_t.place";
            lambda += ", auto& " + name + "_t";
            matrices += ",\n        " + matrix(a);
        }
        const std::string call = routine(copies);
        if (has_value(plan_))
            return "transposed_value<I, " + value_type(plan_) + ">(entry, " + lambda + ") { return " + call +
                   "; }" + matrices + ")";
        return "transposed<I>(" + joined({"entry", asks(), refused()}) + ", " + lambda + ") { " + call +
               "; }" + matrices + ")";
    }

    const LapackeArgument& matrix_of(const LapackeArgument& leading) const
    {
        return plan_.arguments[static_cast<std::size_t>(leading.matrix)];
    }

    /// The object that takes a matrix's copy, brings in and back.
    std::string matrix(const LapackeArgument& a) const
    {
        const std::string form = form_type(a.form), value = form_value(a.form);
        const auto [back_type, back] = way_back(a);
        const bool same = back_type == form && back == value;
        return "Matrix<" + element(a) + ", I, " + form + (same ? "" : ", " + back_type) + ">{" +
               joined({a.argument->name, leading_of(a), text_.when(a.facts.when), moves_when(a.in, a),
                       moves_when(a.out, a), value}) +
               (same ? "" : ", " + back) + "}";
    }

    /// Leading dimension, its position and its bound.
    std::string leading_of(const LapackeArgument& matrix) const
    {
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::leading && &matrix_of(a) == &matrix)
                return joined({a.argument->name, std::to_string(a.position), text_.size(*a.bound)});
        return matrix.form.is_packed()
                   ? "0, 0, 0"
                   : "static_cast<I>(room(" + text_.text(*matrix.form.columns()) + ")), 0, 0";
    }

    /// Type and value of the form in which a matrix comes back.
    std::pair<std::string, std::string> way_back(const LapackeArgument& a) const
    {
        if (a.out.empty())
            return {form_type(a.form), form_value(a.form)};
        const StorageForm& first = a.out[0].form;
        if (a.out.size() == 1)
            return {form_type(first, is_late(first)), form_value(first, is_late(first))};
        const StorageForm& second = a.out[1].form;
        return {"Either<" + form_type(first) + ", " + form_type(second) + ">",
                "{" + joined({text_.when(a.out[0].when), form_value(first), form_value(second)}) + "}"};
    }

    static std::string form_type(const StorageForm& form, bool late = false)
    {
        return to_upper(form.name.substr(0, 1)) + form.name.substr(1) + (late ? "Behind" : "") + "<I>";
    }

    /// Whether a form's columns are known after the call only.
    bool is_late(const StorageForm& form) const
    {
        const LapackeArgument* a = form.name == "ge" && form.options[1]->kind == EKind::name
                                       ? plan_.find(form.options[1]->text)
                                       : nullptr;
        return a != nullptr && a->address;
    }

    std::string form_value(const StorageForm& form, bool late = false) const
    {
        Words list = text_.options(form);
        if (late)
            list[1] = form.options[1]->text;
        return "{" + joined(list) + "}";
    }

    /// A condition of a move, where the copy exists.
    std::string moves_when(const std::vector<StorageUse>& uses, const LapackeArgument& a) const
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
        return text_.text(*plan_.c->refused) + " ? " +
               std::to_string(plan_.find(plan_.c->refused_as)->position) + " : 0";
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
        Places places;
        for (const auto& [a, b] : plan_.c->exchanged) {
            places[a] = "&" + b;
            places[b] = "&" + a;
        }
        std::string length = "0";
        std::string work_type = "char";
        for (const LapackeArgument& a : plan_.arguments)
            if (a.role == Role::workspace) {
                length = text_.text(*a.facts.turned);
                work_type = element(a);
                places[a.argument->name] = "own_work";
            }
        Words given{"entry", bad_leading()};
        Words taken;
        for (const std::string option : {"norm", "uplo"}) {
            const bool has = plan_.find(option) != nullptr;
            if (has)
                places[option] = "other_" + option;
            given.push_back(has ? option : "' '");
            taken.push_back("const char* " + (has ? places[option] : "/*" + option + "*/"));
        }
        given.push_back(length);
        taken.push_back(work_type + "* " + (length == "0" ? "/*work*/" : "own_work"));
        return "turned<" + joined({result_type(plan_), work_type}) + ">(" + joined(given) + ", [&](" +
               joined(taken) + ") { return " + called("passed_on", places) + "; })";
    }

    const LapackePlan& plan_;
    LapackeText text_;
};

} // namespace

std::string lapacke_work(const LapackePlan& plan)
{
    return "        return " + WorkLevel(plan).body() + ";\n";
}

} // namespace qnm::generate
