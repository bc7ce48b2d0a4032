// How many entries there are, against a list of the members and numbers written by hand.
#include "lapack_call.hpp"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace qnm::tests {
namespace {

using Names = std::set<std::string>;

std::string lower_name(const Entry& entry)
{
    return lapack_core(entry).substr(std::string_view("qnm_lapack_").size());
}

/// Name and form of each member: members.txt tells how.
std::map<std::string, char> members()
{
    std::map<std::string, char> found;
    std::ifstream file(QNM_MEMBERS);
    EXPECT_TRUE(file) << QNM_MEMBERS;
    char form = '\0';
    std::string letters, line;
    while (std::getline(file, line)) {
        if (line.starts_with('#'))
            continue;
        if (line.starts_with('[')) {
            form = line.at(1);
            letters = line.substr(3, line.find(']') - 3);
            continue;
        }
        std::istringstream roots(line);
        for (std::string root; roots >> root;)
            for (const char letter : letters) {
                const std::string name = letter == '-' ? root : letter + root;
                EXPECT_TRUE(found.emplace(name, form).second) << name << " twice";
            }
    }
    return found;
}

Names names_of(Width width)
{
    Names names;
    for (const Entry& e : entries())
        if (e.width == width) {
            EXPECT_TRUE(names.insert(lower_name(e)).second) << e.name();
        }
    return names;
}

Names difference(const Names& a, const Names& b)
{
    Names only;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(only, only.end()));
    return only;
}

TEST(Census, TheTablesHoldTheMembersAndThreeMore)
{
    Names listed;
    for (const auto& [name, form] : members())
        listed.insert(name);
    EXPECT_EQ(listed.size(), 2246U);
    const Names narrow = names_of(Width::narrow);
    EXPECT_EQ(difference(listed, narrow), Names{});
    EXPECT_EQ(difference(narrow, listed), (Names{"dlarfx", "clarfx", "cspr"})) << "for the C interface";
    EXPECT_EQ(names_of(Width::wide), narrow) << "each has its wide twin";
}

TEST(Census, Classes)
{
    std::map<Class, std::size_t> classes;
    Names unregistered, functions;
    std::size_t hidden = 0;
    for (const Entry& e : entries()) {
        if (e.width == Width::wide)
            continue;
        ++classes[e.frame()];
        if (e.frame() == Class::unregistered)
            unregistered.insert(lower_name(e));
        hidden += e.row->result.kind == catalogue::ResultKind::hidden ? 1 : 0;
        if (e.row->result.kind == catalogue::ResultKind::value)
            functions.insert(lower_name(e));
    }
    EXPECT_EQ(classes[Class::checked], 80U);
    EXPECT_EQ(classes[Class::unregistered], 12U);
    EXPECT_EQ(classes[Class::registered], 2249U - 80 - 12);
    EXPECT_EQ(unregistered,
              (Names{"lsamen", "crscl", "dlag2s", "dlat2s", "qnm_sspffrt2", "qnm_dspffrt2", "qnm_cspffrt2",
                     "qnm_zspffrt2", "qnm_sspffrtx", "qnm_dspffrtx", "qnm_cspffrtx", "qnm_zspffrtx"}));
    // Norms and growth factors, machine constants, condition numbers, elements of test matrices, the
    // environment; complex ones and one letter come through a hidden argument.
    EXPECT_EQ(functions.size(), 144U);
    EXPECT_EQ(hidden, 9U) << "ladiv, larnd, latm2 and latm3 of c and z, chla_transtype";
}

// A form tells whether an entry copies arrays whose length varies, and in which directions.
TEST(Census, FormsAgreeWithTheDirectionsOfArrays)
{
    // Pivots and an info for each problem are arrays here.
    const Names strided{"gels", "gesvda", "getrf", "getrfnp", "getri_oop", "getrs", "getrsnp"};
    std::map<char, std::size_t> forms;
    const auto all = members();
    for (const Entry& e : entries()) {
        const std::string name = lower_name(e);
        if (e.width == Width::wide || !all.contains(name))
            continue;
        QNM_TRACE_ENTRY(e);
        const char form = all.at(name);
        ++forms[form];
        const bool is_strided = name.ends_with("_batch_strided");
        if (is_strided) {
            EXPECT_TRUE(strided.contains(name.substr(1, name.find("_batch") - 1)));
        }
        std::size_t copied = 0;
        for (const Argument& a : e.row->arguments)
            if (a.kind == Kind::integers && !e.row->groups)
                copied +=
                    a.extents.empty() || a.extents[0]->kind == catalogue::Expression::Kind::number ? 0 : 1;
        EXPECT_EQ(copied > 0, form != '1' || is_strided);
    }
    EXPECT_EQ(forms,
              (std::map<char, std::size_t>{{'1', 1436}, {'2', 302}, {'3', 320}, {'4', 146}, {'5', 42}}));
}

} // namespace
} // namespace qnm::tests
