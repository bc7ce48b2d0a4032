// The C interface to LAPACK: for each member and width its work level and its high level, each one call of a
// template.
#include "lapacke.hpp"

#include "output.hpp"

namespace qnm::generate {

using namespace catalogue;

namespace {

std::string member_text(const LapackeMember& member)
{
    if (member.plan().c->shape == LapackeShape::one_level)
        return member.declaration() +
               exported("void " + member.name() + member.parameters(true), member.call());
    return member.declaration() + lapacke_work(member) + lapacke_high(member) + "\n";
}

} // namespace

std::string lapacke_text(const Catalogue& tables, const std::string& file)
{
    std::string text = source_head(file, "lapacke", "qnm::lapacke", helper_declarations(tables));
    for (const Width width : {Width::narrow, Width::wide})
        for (const LapackePlan& plan : tables.lapacke_plans())
            if (plan.c->file == file)
                for (const Precision& precision : plan.precisions)
                    text += member_text({plan, precision, width});
    return text + "} // namespace qnm::lapacke\n";
}

} // namespace qnm::generate
