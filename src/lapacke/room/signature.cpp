// What a function of the C interface to LAPACK is.
#include <cctype>
#include <map>

#include "catalogue/signature.hpp"
#include "lapacke/room/plan.hpp"

namespace qnm::catalogue {

namespace {

using Role = LapackeArgument::Role;

/// A type as the published header has it. Names with _64 take 64 bits; the others lapack_int, which a program
/// may widen.
std::string published_type(const std::string& word, const Precision& precision, Width width)
{
    static const std::map<std::string, std::string> complex{{"qnm_complex8", "lapack_complex_float"},
                                                            {"qnm_complex16", "lapack_complex_double"}};
    if (word == "int" || word == "logical")
        return width == Width::wide ? "int64_t" : word == "int" ? "lapack_int" : "lapack_logical";
    const std::string type = c_type(word, precision, width);
    const auto found = complex.find(type);
    return found == complex.end() ? type : found->second;
}

std::string parameter_type(const LapackeArgument& a, const Precision& precision, Width width)
{
    const Argument& argument = *a.argument;
    if (a.facts.takes != 0)
        return std::string("LAPACK_") + static_cast<char>(std::toupper(precision.element)) + "_SELECT" +
               std::to_string(a.facts.takes);
    const bool read_only =
        argument.array && (argument.direction == Direction::none || argument.direction == Direction::in);
    return std::string(a.facts.constant || read_only ? "const " : "") +
           published_type(argument.type, precision, width) + (a.address ? "*" : "");
}

Travel travel(const LapackeArgument& a)
{
    const Argument& argument = *a.argument;
    if (!a.address)
        return Travel::value;
    return argument.is_integer() ? argument.array ? Travel::integers : Travel::integer : Travel::address;
}

std::string form_text(const StorageForm& form)
{
    std::string text = (form.is_vector() ? "vector" : form.name) + "(";
    for (const ExpressionPtr& option : form.options)
        text += (text.back() == '(' ? "" : ", ") + to_text(*option);
    return text + ")";
}

std::string uses_text(const char* what, const std::vector<StorageUse>& uses)
{
    std::string text;
    for (const StorageUse& use : uses)
        text += std::string(", ") + what + " as " + form_text(use.form) +
                (use.when ? " when " + to_text(*use.when) : "");
    return text;
}

std::string note(const LapackeArgument& a, bool high)
{
    if (high)
        return uses_text("looked at for NaN", a.checks);
    return a.role == Role::matrix ? uses_text("goes in", a.in) + uses_text("comes back", a.out) : "";
}

/// How a place of the call is filled by what the high level does not take from its caller.
std::string own_text(const LapackeArgument& a)
{
    if (a.role == Role::given)
        return to_text(*a.facts.given);
    return a.role == Role::workspace && a.room ? to_text(*a.room) + " elements" : "asked for";
}

Signature signature(const LapackePlan& plan, const Precision& letter, const Form& form)
{
    const bool high = form.level == "high";
    Signature s;
    s.names = {lapacke_name(plan, letter, form)};
    s.table = plan.c->file;
    s.line = plan.c->line;
    s.family = plan.family->name;
    s.root = s.called_root = plan.row->root;
    s.letter = letter;
    s.form = &form;
    s.source =
        std::string(form.level) + " level, src/lapacke/" + form.level + ".hpp, on " + plan.row->where();
    const Result& result = plan.row->result;
    if (plan.c->shape != LapackeShape::one_level)
        s.result = published_type(result.kind == ResultKind::value ? result.type : "int", letter, form.width);
    if (plan.has_layout()) {
        s.parameters.push_back({"matrix_layout", "int", Travel::code, nullptr, ""});
        s.tests.push_back({0, -1, "matrix_layout"});
    }
    Callee called{high && plan.c->shape != LapackeShape::one_level
                      ? lapacke_name(plan, letter, *lapacke_form(plan, "work", form.width))
                      : spell(form.calls, routine_name(*plan.row, letter)),
                  "",
                  {}};
    if (high && plan.has_layout())
        called.places.push_back({Fill::as_it_is, 0, ""});
    for (const LapackeArgument& a : plan.arguments) {
        if (high && a.hidden) {
            called.places.push_back({Fill::constant, -1, own_text(a)});
            continue;
        }
        called.places.push_back({!high && !a.address ? Fill::addressed : Fill::as_it_is,
                                 static_cast<int>(s.parameters.size()), ""});
        if (!high && a.role == Role::leading)
            s.tests.push_back({static_cast<int>(s.parameters.size()), -a.position,
                               a.argument->name + " >= " + bound_text(*a.bound), "row-major"});
        s.parameters.push_back(
            {a.argument->name, parameter_type(a, letter, form.width), travel(a), a.argument, note(a, high)});
    }
    if (plan.c->refused && (plan.c->refused_with_nan || !high)) {
        const LapackeArgument& a = *plan.find(plan.c->refused_as);
        s.tests.push_back({a.position - 1, -a.position,
                           a.argument->name + ", refused if " + to_text(*plan.c->refused),
                           high ? "" : "row-major"});
    }
    if (high)
        for (const Addition& add : plan.c->additions)
            s.parameters.push_back({add.name, published_type(add.type, letter, form.width) + "*",
                                    Travel::address, nullptr, ", from " + add.workspace + " after the call"});
    if (high)
        for (const int i : plan.checked) {
            const LapackeArgument& a = plan.arguments[static_cast<std::size_t>(i)];
            for (std::size_t at = 0; at < s.parameters.size(); ++at)
                if (s.parameters[at].argument == a.argument)
                    s.tests.push_back({static_cast<int>(at), -a.position, a.argument->name + " without NaN"});
        }
    s.callees.push_back(std::move(called));
    s.definitions = plan.c->definitions;
    s.report_name = s.names.front();
    return s;
}

} // namespace

std::vector<const Form*> lapacke_forms(const LapackePlan& plan)
{
    std::vector<const Form*> all;
    for (const Form& form : plan.family->forms)
        if (form.level == "high" || plan.c->shape != LapackeShape::one_level)
            all.push_back(&form);
    return all;
}

const Form* lapacke_form(const LapackePlan& plan, const std::string& level, Width width)
{
    for (const Form* form : lapacke_forms(plan))
        if (form->level == level && form->width == width)
            return form;
    return nullptr;
}

std::string lapacke_name(const LapackePlan& plan, const Precision& letter, const Form& form)
{
    return spell(form.spellings.front(), routine_name(*plan.row, letter));
}

std::vector<Signature> lapacke_signatures(const std::vector<LapackePlan>& plans, const std::string& table)
{
    std::vector<Signature> all;
    if (plans.empty())
        return all;
    for (const Width width : {Width::narrow, Width::wide})
        for (const char* level : {"high", "work"})
            for (const LapackePlan& plan : plans)
                for (const Form* form : lapacke_forms(plan))
                    if (plan.c->file == table && form->width == width && form->level == level)
                        for (const Precision& letter : plan.precisions)
                            all.push_back(signature(plan, letter, *form));
    return all;
}

} // namespace qnm::catalogue
