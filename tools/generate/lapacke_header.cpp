// The C interface to LAPACK as the public headers have it.
#include <map>

#include "prototypes.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

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

std::string published_parameter(const LapackeArgument& a, const Precision& precision, Width width)
{
    const Argument& argument = *a.argument;
    if (a.facts.takes != 0) {
        const std::string letter(1, static_cast<char>(std::toupper(precision.element)));
        return "LAPACK_" + letter + "_SELECT" + std::to_string(a.facts.takes) + " " + argument.name;
    }
    const bool read_only =
        argument.array && (argument.direction == Direction::none || argument.direction == Direction::in);
    return std::string(a.facts.constant || read_only ? "const " : "") +
           published_type(argument.type, precision, width) + (a.address ? "* " : " ") + argument.name;
}

std::string published_prototype(const LapackePlan& plan, const Precision& precision, Width width, bool high)
{
    std::vector<std::string> list;
    if (plan.has_layout())
        list.emplace_back("int matrix_layout");
    for (const LapackeArgument& a : plan.arguments)
        if (!high || !a.hidden)
            list.push_back(published_parameter(a, precision, width));
    if (high)
        for (const Addition& add : plan.c->additions)
            list.push_back(published_type(add.type, precision, width) + "* " + add.name);
    const Result& result = plan.row->result;
    const std::string type = plan.c->shape == LapackeShape::one_level ? "void"
                             : result.kind == ResultKind::value
                                 ? published_type(result.type, precision, width)
                                 : published_type("int", precision, width);
    return prototype(type, lapacke_name(*plan.row, precision, width, high), list);
}

} // namespace

std::string lapacke_prototypes(const Catalogue& tables, const std::string& file)
{
    std::string text;
    for (const Width width : {Width::narrow, Width::wide})
        for (const bool high : {true, false})
            for (const LapackePlan& plan : tables.lapacke_plans())
                if (plan.c->file == file && (high || plan.c->shape != LapackeShape::one_level))
                    for (const Precision& precision : plan.precisions)
                        text += published_prototype(plan, precision, width, high);
    return text;
}

std::string lapacke_renames(const Catalogue& tables)
{
    std::string text;
    for (const LapackePlan& plan : tables.lapacke_plans())
        for (const Precision& precision : plan.precisions)
            for (const bool high : {true, false})
                if (high || plan.c->shape != LapackeShape::one_level)
                    text += "#define " + lapacke_name(*plan.row, precision, Width::narrow, high) + " " +
                            lapacke_name(*plan.row, precision, Width::wide, high) + "\n";
    return text;
}

std::string lapacke_routines(const Catalogue& tables, Width width)
{
    std::string text;
    for (const Entry& entry : tables.entries())
        if (entry.row->family->name == "lapack" && entry.width == width) {
            const std::string name = to_lower(Entry{entry.row, entry.precision, Width::narrow}.name());
            text += "#define LAPACK_" + name + " " + to_lower(entry.name()) + "_\n";
        }
    return text;
}

} // namespace qnm::generate
