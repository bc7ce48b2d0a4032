// The line of every entry.
#include "lapack_call.hpp"
#include "support/line.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

using Names = std::vector<std::string>;

class Trace : public LapackTest {
protected:
    static void run(const LapackCall& call)
    {
        core().mode(0);
        call.run(); // binds the cell, and that of ilaenv
        core().mode(1);
        core().clear();
        core().clock({2, 5, 2, 5});
        call.run();
    }
};

/// Puts the clock in front of a call of the core, and the line behind it or at the end.
void add_line(Names& names, const std::string& function, bool at_end)
{
    const auto at = std::find(names.begin(), names.end(), function) - names.begin();
    names.insert(at_end ? names.end() : names.begin() + at + 1,
                 {"qnm_serv_dsecnd", "qnm_serv_snprintf_s", "qnm_serv_print_verbose_info"});
    names.insert(names.begin() + at, "qnm_serv_dsecnd");
}

TEST_F(Trace, EveryEntryPrintsItsLineWithInfoAsTheCoreLeftIt)
{
    for (const Entry& e : entries()) {
        QNM_TRACE_ENTRY(e);
        LapackCall call(e, 17);
        const Routine routine(call);
        run(call);
        Names expected = Routine::story(call);
        add_line(expected, lapack_core(e), true);
        if (call.needs_leaf()) { // whose line stands before this one's
            add_line(expected, "qnm_lapack_ilaenv", false);
            EXPECT_THAT(
                core().calls("qnm_serv_print_verbose_info")[0],
                recording::Printed("ILAENV(9," + call.entry().name().substr(0, 1) + ", ,0,0,0,0)", 3.0));
        }
        ASSERT_EQ(story(), expected);
        expect_line(call);
        EXPECT_EQ(layer().file().locals().count(catalogue::to_lower(e.name()) + ".verbose_ptr"), 1U);
    }
}

TEST_F(Trace, ALongLineIsCut)
{
    const LapackCall call("ZUNCSD_64", -1'000'000'000'000'000'000);
    run(call);
    EXPECT_EQ(line_of(call).size(), 449U);
    expect_line(call);
}

TEST_F(Trace, ARefusedCallPrintsItsLineWithTheCodeInInfo)
{
    std::size_t refused = 0;
    for (const Entry& e : entries()) {
        if (e.frame() != Class::checked)
            continue;
        QNM_TRACE_ENTRY(e);
        LapackCall call(e, 2);
        const Argument& first = *e.row->tests().front();
        call.give(first.name + (first.letters.empty() ? "=-5" : "=X"));
        run(call);
        EXPECT_EQ(story(), refused_story);
        expect_line(call);
        EXPECT_EQ(call.integer("info"), -1);
        ++refused;
    }
    EXPECT_EQ(refused, 2 * 84U);
}

} // namespace
} // namespace qnm::tests
