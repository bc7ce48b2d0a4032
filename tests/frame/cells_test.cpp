// The verbose cell in all its states, and the decision whether a call is traced.
#include "telling.hpp"

#include <limits>

namespace qnm {
namespace {

using recording::Answer;
using recording::Call;
using ::testing::ElementsAre;

class Cells : public LayerTest {};

TEST_F(Cells, BindAtTheFirstCallAndForGood)
{
    for (const Telling& entry : telling()) {
        SCOPED_TRACE(entry.name);
        unbind(entry.name);
        core().clear();
        call_entry(entry.name, entry.words);
        EXPECT_EQ(story(), joined({entry.ahead, asks, entry.at_core}));
        EXPECT_EQ(cell(entry.name), core().mode_word());
        core().clear();
        call_entry(entry.name, entry.words);
        EXPECT_EQ(story(), joined({entry.ahead, entry.at_core}));
    }
}

TEST_F(Cells, BindWhereTheFirstCallIsRefused)
{
    unbind("dgemm");
    unbind("dgemm_64");
    call_entry("dgemm", refused);
    EXPECT_EQ(story(), joined({registers, reports, asks}));
    EXPECT_EQ(cell("dgemm"), core().mode_word());
    EXPECT_NE(cell("dgemm_64"), core().mode_word()); // each width has its own
    core().clear();
    call_entry("dgemm_64", wide_refused);
    EXPECT_EQ(story(), joined({registers, reports, asks}));
}

TEST_F(Cells, StayUnknownWhereNothingIsDecided)
{
    unbind("daxpyi");
    core().mode(1);
    core().fail_allocation(1);
    call_entry("daxpyi", good("daxpyi"));
    EXPECT_EQ(story(), joined({allocates, registers, reports})); // not traced, at that
    EXPECT_NE(cell("daxpyi"), core().mode_word());
}

TEST_F(Cells, AFirstCallInVerboseModeIsTraced)
{
    core().mode(1);
    for (const Telling& entry : telling()) {
        SCOPED_TRACE(entry.name);
        unbind(entry.name);
        core().clear();
        call_entry(entry.name, entry.words);
        EXPECT_EQ(story(), joined({entry.ahead, asks, clock, entry.at_core, clock, prints}));
        if (!entry.line.empty()) {
            EXPECT_THAT(core().calls().back(), Printed(entry.line));
        }
    }
}

TEST_F(Cells, SwitchingTakesEffectAtTheNextCall)
{
    for (const Telling& entry : telling()) {
        SCOPED_TRACE(entry.name);
        bind(entry.name);
        for (const int mode : {1, 0, 2, 0, std::numeric_limits<int>::min()}) {
            core().clear();
            core().mode(mode);
            call_entry(entry.name, entry.words);
            EXPECT_EQ(story(), mode == 0 ? joined({entry.ahead, entry.at_core})
                                         : joined({entry.ahead, clock, entry.at_core, clock, prints}));
        }
    }
}

// A live word of -1 cannot be told from an unbound cell. It is on, and asked for again each time.
TEST_F(Cells, ALiveWordMayLookUnknown)
{
    core().mode(-1);
    bind("dscal");
    call_entry("dscal", good("dscal"));
    EXPECT_EQ(story(), joined({asks, clock, {"qnm_blas_dscal"}, clock, prints}));
}

// The decision
// ----------------------------------------------------------------------------------------------------------

/// Switches the mode whenever the core gets a call of that name.
void switch_at(const std::string& name, int mode)
{
    core().answers(name).calling([=](Call& call, Answer& answer) {
        core().mode(mode);
        core().serve(call, answer);
    });
}
class Decision : public BoundTest {};

TEST_F(Decision, ACallFoundUntracedStaysSo)
{
    for (const char* name : {"dgemm", "dgemm_64"}) {
        SCOPED_TRACE(name);
        core().mode(0);
        switch_at("qnm_serv_lsame", 1);
        call_entry(name, good(name));
        EXPECT_EQ(story(), joined({registers, {"qnm_blas_dgemm"}}));
        EXPECT_EQ(*core().mode_word(), 1);
        core().clear();
    }
    // With scratch, the snapshot is older than the scratch.
    core().mode(0);
    switch_at("qnm_serv_allocate", 1);
    call_entry("daxpyi", good("daxpyi"));
    EXPECT_FALSE(printed());
}

TEST_F(Decision, ARefusedCallFollowsTheLiveMode)
{
    for (const bool wide : {false, true})
        for (const char* where : {"qnm_serv_lsame", "qnm_serv_xerbla"})
            for (const int mode : {0, 1}) {
                SCOPED_TRACE(std::string(where) + (wide ? " wide " : " narrow ") + std::to_string(mode));
                core().reset();
                core().mode(1 - mode);
                switch_at(where, mode);
                call_entry(wide ? "dgemm_64" : "dgemm", wide ? wide_refused : refused);
                EXPECT_EQ(story(), mode == 1 ? joined({registers, reports, clock, clock, prints})
                                             : joined({registers, reports}));
            }
}

TEST_F(Decision, ATracedCallMayStillBeCalledOff)
{
    core().mode(1);
    switch_at("qnm_serv_lsame", 0);
    call_entry("dgemm", good("dgemm"));
    EXPECT_FALSE(printed());
    core().mode(1);
    switch_at("qnm_serv_allocate", 0);
    call_entry("daxpyi", good("daxpyi"));
    EXPECT_FALSE(printed());
    // Not once it has begun.
    core().mode(1);
    switch_at("qnm_blas_dscal", 0);
    call_entry("dscal", good("dscal"));
    EXPECT_TRUE(printed());
}

TEST_F(Decision, TheModeIsLookedAtAfterTheRegistration)
{
    switch_at("qnm_serv_set_xerbla_interface", 1);
    call_entry("dgemm", good("dgemm"));
    EXPECT_TRUE(printed());
    EXPECT_EQ(story(), joined({registers, clock, {"qnm_blas_dgemm"}, clock, prints}));
}

// A narrow entry has read its integers before it decides.
TEST_F(Decision, IntegersAreWidenedBeforeIt)
{
    int m = 2;
    core().answers("qnm_serv_verbose_mode").calling([&](Call& call, Answer& answer) {
        m = 99;
        core().serve(call, answer);
    });
    for (const int mode : {0, 1}) {
        SCOPED_TRACE(mode);
        core().mode(mode);
        const auto expect_old = [&](const std::string& name, std::vector<Word> words, std::size_t place) {
            SCOPED_TRACE(name);
            m = 2;
            words[place] = &m;
            unbind(name);
            core().clear();
            call_entry(name, words);
            EXPECT_EQ(m, 99);
            EXPECT_EQ(core().calls("qnm_blas_" + name).at(0).behind(place), 2);
        };
        expect_old("dgemm", good("dgemm"), 2);
        expect_old("dscal", good("dscal"), 0);
        expect_old("daxpyi", good("daxpyi"), 0);
    }
}

TEST_F(Decision, BareEntriesHaveNone)
{
    core().mode(1);
    const int flag = 0;
    call_entry("daxpy_direct", {&n3, nullptr, nullptr, &one, nullptr, &one, &flag});
    call_entry("QNM_DGEMM_JIT_64",
               {"N", "N", &w1, &w1, &w1, nullptr, nullptr, &w1, nullptr, &w1, nullptr, nullptr, &w1});
    EXPECT_THAT(story(), ElementsAre("qnm_blas_xdaxpy", "qnm_blas_qnm_dgemm_jit"));
}

} // namespace
} // namespace qnm
