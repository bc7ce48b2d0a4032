// What follows from a name of the C interface to LAPACK, for people.
#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

using Role = LapackeArgument::Role;

std::string form_text(const Form& form)
{
    std::string text = form.is_vector() ? "vector" : form.name;
    text += "(";
    for (const ExpressionPtr& option : form.options)
        text += (text.back() == '(' ? "" : ", ") + to_text(*option);
    return text + ")";
}

std::string uses_text(const char* what, const std::vector<FormUse>& uses)
{
    std::string text;
    for (const FormUse& use : uses)
        text += std::string(", ") + what + " as " + form_text(use.form) +
                (use.when ? " when " + to_text(*use.when) : "");
    return text;
}

std::string argument_text(const LapackeArgument& a)
{
    std::string text = "    " + std::to_string(a.position) + ": " + a.argument->name;
    switch (a.role) {
    case Role::matrix:
        text += uses_text("goes in", a.in) + uses_text("comes back", a.out);
        break;
    case Role::leading:
        text += ", in row-major >= " + to_text(*a.bound);
        break;
    case Role::workspace:
        text += a.room ? ", of the high level's own: " + to_text(*a.room) + " elements"
                       : ", asked for by the high level";
        break;
    case Role::size:
        text += ", asked for by the high level";
        break;
    case Role::given:
        text += ", " + to_text(*a.facts.given) + " from the high level";
        break;
    case Role::plain:
        break;
    }
    return text + uses_text("looked at for NaN", a.checks) + "\n";
}

} // namespace

std::string lapacke_explanation(const Catalogue& tables, const std::string& name)
{
    for (const LapackePlan& plan : tables.lapacke_plans())
        for (const Precision& precision : plan.precisions)
            for (const Width width : {Width::narrow, Width::wide})
                for (const bool high : {true, false}) {
                    const bool exported = high || plan.c->shape != LapackeShape::one_level;
                    if (!exported || name != lapacke_name(*plan.row, precision, width, high))
                        continue;
                    std::string text = name + "\n  row       " + plan.c->where() + ", on " +
                                       plan.row->where() + "\n  template  src/lapacke/" +
                                       (high ? "high" : "work") + ".hpp\n  arguments\n";
                    for (const LapackeArgument& a : plan.arguments)
                        text += argument_text(a);
                    text += "  looked at for NaN in this order:";
                    for (const int i : plan.checked)
                        text += " " + plan.arguments[static_cast<std::size_t>(i)].argument->name;
                    return text + "\n";
                }
    return {};
}

} // namespace qnm::generate
