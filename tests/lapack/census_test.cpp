// How many entries there are, against a list of the members and numbers written by hand.
#include "lapack_call.hpp"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace qnm::tests {
namespace {

using Names = std::set<std::string>;

/// Each member, and whether it has arrays to copy: members.txt tells how.
std::map<std::string, bool> members()
{
    std::map<std::string, bool> found;
    std::ifstream file(QNM_MEMBERS);
    EXPECT_TRUE(file) << QNM_MEMBERS;
    bool copies = false;
    std::string letters, word;
    while (file >> word) {
        if (word.starts_with('#')) {
            std::getline(file, word);
        } else if (word.starts_with('[')) {
            copies = word == "[some";
            file >> letters;
            letters.pop_back();
        } else {
            for (const char letter : letters) {
                std::string name = word;
                if (const auto at = name.find('?'); at != std::string::npos)
                    name[at] = letter;
                else if (letter != '-')
                    name.insert(0, 1, letter);
                EXPECT_TRUE(found.emplace(name, copies).second) << name << " twice";
            }
        }
    }
    return found;
}

Names difference(const Names& a, const Names& b)
{
    Names only;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(only, only.end()));
    return only;
}

TEST(Census, TheTablesHoldTheMembersAndSevenMore)
{
    Names listed, narrow, wide, unregistered;
    std::map<Class, std::size_t> classes;
    std::size_t hidden = 0, functions = 0;
    for (const auto& [name, copies] : members())
        listed.insert(name);
    for (const Entry& e : entries()) {
        EXPECT_TRUE((e.width == Width::narrow ? narrow : wide).insert(bare_name(e)).second) << e.name();
        if (e.width == Width::wide)
            continue;
        ++classes[e.frame()];
        if (e.frame() == Class::unregistered)
            unregistered.insert(bare_name(e));
        hidden += e.row->result.kind == catalogue::ResultKind::hidden ? 1 : 0;
        functions += e.row->result.kind == catalogue::ResultKind::value ? 1 : 0;
    }
    EXPECT_EQ(listed.size(), 2246U);
    EXPECT_EQ(difference(listed, narrow), Names{});
    EXPECT_EQ(difference(narrow, listed),
              (Names{"dlarfx", "clarfx", "cspr", "sdtsvb", "ddtsvb", "cdtsvb", "zdtsvb"}))
        << "for the C interface, and private ones";
    EXPECT_EQ(wide, narrow) << "each has its wide twin";
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
    const auto copies = members();
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
