// The line of every entry, by a formatter of our own.
#include "lapack_call.hpp"

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

std::string address(std::uint64_t bits)
{
    char text[32];
    std::snprintf(text, sizeof text, "%p", reinterpret_cast<void*>(bits));
    return text;
}

/// Arguments as they stand behind the caller's pointers now, cut to the room that a line has; or what they
/// are printed as.
std::string line_of(const LapackCall& call, bool formats = false)
{
    std::string line = call.entry().name() + "(";
    const auto show = [&](const char* format, const std::string& text) {
        line += (formats ? format : text) + ",";
    };
    if (call.words_of_result() > 0)
        show("%p", address(support::Word(SampleCall::hidden_result()).bits()));
    for (const Argument& a : call.row().arguments)
        if (a.kind == Kind::character)
            show("%c", std::string(1, call.letter(a)));
        else if (a.kind == Kind::value || (is_scalar(a) && !call.row().groups))
            show(call.narrow() ? "%d" : "%lli", std::to_string(call.integer(a)));
        else
            show("%p", address(call.word(a).bits()));
    line.back() = ')';
    return line.substr(0, 449);
}

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
        EXPECT_THAT(core().calls().back(), recording::Printed(line_of(call), 3.0));
        EXPECT_EQ(core().calls("qnm_serv_snprintf_s").back().text, line_of(call, true));
        EXPECT_EQ(layer().file().locals().count(catalogue::to_lower(e.name()) + ".verbose_ptr"), 1U);
    }
}

TEST_F(Trace, ALongLineIsCut)
{
    const LapackCall call("ZUNCSD_64", -1'000'000'000'000'000'000);
    run(call);
    EXPECT_EQ(line_of(call).size(), 449U);
    EXPECT_THAT(core().calls().back(), recording::Printed(line_of(call), 3.0));
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
        EXPECT_EQ(story(), (Names{"qnm_serv_set_xerbla_interface", "qnm_serv_xerbla", "qnm_serv_dsecnd",
                                  "qnm_serv_dsecnd", "qnm_serv_snprintf_s", "qnm_serv_print_verbose_info"}));
        EXPECT_THAT(core().calls().back(), recording::Printed(line_of(call), 3.0));
        EXPECT_EQ(call.integer("info"), -1);
        ++refused;
    }
    EXPECT_EQ(refused, 2 * 84U);
}

} // namespace
} // namespace qnm::tests
