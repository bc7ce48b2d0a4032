// The C interface to LAPACK. Each plan has a struct with its two levels, written once for all letters and
// both widths, and each exported function is one line, which calls a level.
#include "lapacke/room/text.hpp"

#include "generate/output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

bool has_two_levels(const LapackePlan& plan)
{
    return plan.c->shape != LapackeShape::one_level;
}

/// The list of a level's parameters, each by its type and name.
std::string parameters(const LapackePlan& plan, bool high)
{
    Words list;
    const auto add = [&](const std::string& type, const std::string& name) {
        list.push_back("P(" + type + ", " + name + ")");
    };
    if (plan.has_layout())
        add("int", "matrix_layout");
    for (const LapackeArgument& a : plan.arguments)
        if (!high || !a.hidden)
            add(element(a) + (a.address ? "*" : ""), a.argument->name);
    if (high)
        for (const Addition& addition : plan.c->additions)
            add(plan_type(addition.type) + "*", addition.name);
    return joined(list);
}

std::string lists(const LapackePlan& plan)
{
    const std::string name = plan_name(plan), work = parameters(plan, false), high = parameters(plan, true);
    return "#define " + name + "_work(P, T, I) " + work + "\n#define " + name +
           (high == work ? "_high " + name + "_work" : "_high(P, T, I) " + high) + "\n";
}

std::string plan_text(const LapackePlan& plan)
{
    const std::string name = plan_name(plan), result = result_type(plan);
    const std::size_t arguments = plan.arguments.size() + (plan.has_info ? 1 : 0);
    std::string text = lists(plan) + "template <class T, class I>\nstruct " + name +
                       " {\n    using Result = " + result + ";\n    using Routine = Fortran<" +
                       joined({value_type(plan), std::to_string(arguments)}) + ">;\n    static " + result +
                       " work(QNM_NAME, Routine& routine, " + name + "_work(QNM_REFERENCE, T, I))\n    {\n" +
                       lapacke_work(plan) + "    }\n";
    if (has_two_levels(plan))
        text += "    template <class Work>\n    static " + result + " high(QNM_NAME, Work& work_level, " +
                name + "_high(QNM_TYPED, T, I))\n    {\n" + lapacke_high(plan) + "    }\n";
    return text + "};\n\n";
}

std::string member_text(const LapackePlan& plan, const Precision& precision, Width width)
{
    const Form& high = *lapacke_form(plan, "high", width);
    const auto line = [&](const char* macro, const Form& form, const std::string& called) {
        return std::string(macro) + "(" +
               joined({lapacke_name(plan, precision, form), plan_name(plan), c_type("T", precision, width),
                       integer_type(width), called}) +
               ")\n";
    };
    const std::string routine = spell(high.calls, routine_name(*plan.row, precision));
    if (!has_two_levels(plan))
        return line("QNM_WORK", high, routine);
    const Form& work = *lapacke_form(plan, "work", width);
    return line("QNM_WORK", work, routine) + line("QNM_HIGH", high, lapacke_name(plan, precision, work));
}

} // namespace

std::string lapacke_text(const Catalogue& tables, const std::string& file)
{
    std::string plans, members;
    for (const LapackePlan& plan : lapacke_plans(tables))
        if (plan.c->file == file) {
            plans += plan_text(plan);
            for (const Width width : {Width::narrow, Width::wide})
                for (const Precision& precision : plan.precisions)
                    members += member_text(plan, precision, width);
        }
    return source_head(file, "lapacke", "qnm::lapacke") + "namespace {\n\n" + plans + "} // namespace\n\n" +
           members + "\n} // namespace qnm::lapacke\n";
}

} // namespace qnm::generate
