// How many entries there are, against a list of the members and numbers written by hand.
#include "suite/routine.hpp"
#include "support/published.hpp"

namespace qnm::tests {
namespace {

using Names = std::set<std::string>;

TEST(Census, EachClassHasItsMembers)
{
    std::map<std::string, Names> classes;
    std::size_t hidden = 0, functions = 0;
    EXPECT_EQ(lapack_members().size(), 2249U);
    for (const Signature* s : entries()) {
        if (!is_narrow(*s))
            continue;
        classes[frame(*s)].insert(bare_name(*s));
        const bool is_hidden = !s->parameters.empty() && s->parameters[0].name == "result";
        hidden += is_hidden ? 1 : 0;
        functions += s->result != "void" ? 1 : 0;
    }
    EXPECT_EQ(classes.size(), 3U);
    EXPECT_EQ(classes["checked"].size(), 84U);
    EXPECT_EQ(classes["registered"].size(), 2253U - 84 - 12);
    EXPECT_EQ(classes["unregistered"],
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
    for (const Signature* s : entries()) {
        const auto told = copies.find(bare_name(*s));
        if (!is_narrow(*s) || told == copies.end())
            continue;
        QNM_TRACE_SIGNATURE(*s);
        const FortranCall call(*s);
        EXPECT_EQ(std::ranges::any_of(call.copied(),
                                      [&](std::size_t i) {
                                          const auto& extents = call.facts(i)->extents;
                                          return extents.empty() ||
                                                 extents[0]->kind != Expression::Kind::number;
                                      }),
                  told->second);
    }
}

} // namespace
} // namespace qnm::tests
