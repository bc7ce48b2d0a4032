// The line of every traced entry; who is asked for its integers, and when.
#include "suite/line.hpp"
#include "suite/routine.hpp"

#include <algorithm>

namespace qnm::tests {
namespace {

using Names = std::vector<std::string>;

class Trace : public CoreTest {
protected:
    static void run(const FunctionCall& call)
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

// Integers are read behind the core: the caller's as they are then, but in narrow entries of BLAS without a
// check the copies, cut to 32 bits.
TEST_F(Trace, EveryEntryPrintsItsLineWithIntegersAsTheCoreLeftThem)
{
    for (const Signature* s : entries()) {
        QNM_TRACE_SIGNATURE(*s);
        const bool bare = frame(*s) == "bare" || frame(*s) == "carried";
        EXPECT_EQ(layer().file().locals().count(catalogue::to_lower(s->names.front()) + ".verbose_ptr"),
                  bare ? 0U : 1U);
        FortranCall call(*s, 17);
        const Routine routine(call);
        run(call);
        Names expected = call.story();
        if (bare) {
            EXPECT_EQ(story(), expected);
            continue;
        }
        add_line(expected, call.callee().name, true);
        if (call.needs_leaf()) { // whose line stands before this one's
            add_line(expected, "qnm_lapack_ilaenv", false);
            EXPECT_THAT(core().calls("qnm_serv_print_verbose_info")[0],
                        recording::Printed("ILAENV(9," + s->names.front().substr(0, 1) + ", ,0,0,0,0)", 3.0));
        }
        ASSERT_EQ(story(), expected);
        FortranCall shown = call;
        for (std::size_t i = 0; i < s->parameters.size(); ++i)
            if (s->family == "blas" && (frame(*s) == "unchecked" || frame(*s) == "scratch") &&
                call.narrow() && call.is_scalar(i) && !call.has_groups())
                shown.set(s->parameters[i].name, static_cast<int>(2 + i % 3));
        expect_line(call, line_of(call, shown));
    }
}

TEST_F(Trace, AWideCallPrintsZeroForAnIntegerThatIsNotThere)
{
    for (const Signature* s : entries()) {
        const bool tests = frame(*s) == "checked";
        FunctionCall call(*s);
        if (s->family != "blas" || is_narrow(*s) || tests || call.has_groups() || frame(*s) == "bare")
            continue;
        QNM_TRACE_SIGNATURE(*s);
        for (std::size_t i = 0; i < s->parameters.size(); ++i)
            if (call.is_scalar(i))
                call.point(s->parameters[i].name, nullptr);
        run(call);
        expect_line(call);
    }
}

// Of matrix copy the core gets complex scalars of the value form by an address of the layer's.
TEST_F(Trace, MatrixCopiesPrintTheirLine)
{
    for (const Signature* s :
         signatures([](const Signature& s) { return s.family == "trans" && frame(s) != "check"; })) {
        QNM_TRACE_SIGNATURE(*s);
        FunctionCall call(*s);
        run(call);
        for (std::size_t i = 0; i < s->parameters.size(); ++i)
            if (s->callees.front().places[i].fill == Fill::addressed)
                call.point(s->parameters[i].name, core().calls(called(call)).at(0).pointer<void>(i));
        expect_line(call);
    }
}

TEST_F(Trace, ALongLineIsCut)
{
    const FortranCall call("ZUNCSD_64", -1'000'000'000'000'000'000);
    run(call);
    EXPECT_EQ(line_of(call, call).size(), 449U);
    expect_line(call);
}

} // namespace
} // namespace qnm::tests
