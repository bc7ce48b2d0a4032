// How many entries there are, against a list of the members and numbers written by hand.
#include "lapack_call.hpp"
#include "support/published.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

using Names = std::set<std::string>;

TEST(Census, EachClassHasItsMembers)
{
    Names unregistered;
    std::map<Class, std::size_t> classes;
    std::size_t hidden = 0, functions = 0;
    EXPECT_EQ(lapack_members().size(), 2249U);
    for (const Entry& e : entries()) {
        if (e.width == Width::wide)
            continue;
        ++classes[e.frame()];
        if (e.frame() == Class::unregistered)
            unregistered.insert(bare_name(e));
        hidden += e.row->result.kind == catalogue::ResultKind::hidden ? 1 : 0;
        functions += e.row->result.kind == catalogue::ResultKind::value ? 1 : 0;
    }
    EXPECT_EQ(classes[Class::checked], 84U);
    EXPECT_EQ(classes[Class::registered], 2253U - 84 - 12);
    EXPECT_EQ(unregistered,
              (Names{"lsamen", "crscl", "dlag2s", "dlat2s", "qnm_sspffrt2", "qnm_dspffrt2", "qnm_cspffrt2",
                     "qnm_zspffrt2", "qnm_sspffrtx", "qnm_dspffrtx", "qnm_cspffrtx", "qnm_zspffrtx"}));
    // Norms and growth factors, machine constants, condition numbers, elements of test matrices, the
    // environment; complex ones and one letter come through a hidden argument.
    EXPECT_EQ(functions, 144U);
    EXPECT_EQ(hidden, 9U) << "ladiv, larnd, latm2 and latm3 of c and z, chla_transtype";
}

TEST(Census, ThoseThatCopyHaveArraysWhoseLengthVaries)
{
    const auto& copies = lapack_members();
    for (const Entry& e : entries()) {
        if (e.width == Width::wide || !copies.contains(bare_name(e)))
            continue;
        QNM_TRACE_ENTRY(e);
        const auto varies = [&](const Argument& a) {
            return a.kind == Kind::integers && !e.row->groups &&
                   (a.extents.empty() || a.extents[0]->kind != catalogue::Expression::Kind::number);
        };
        EXPECT_EQ(std::any_of(e.row->arguments.begin(), e.row->arguments.end(), varies),
                  copies.at(bare_name(e)));
    }
}

} // namespace
} // namespace qnm::tests
