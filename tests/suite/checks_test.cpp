// What calls are refused, over all functions that test their arguments: every test alone, in each layout and
// for all letters, and in the company of others.
#include "suite/line.hpp"
#include "suite/routine.hpp"
#include "support/published.hpp"

#include <set>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Those with tests of arguments by the tables' own facts; of generators and streams they are told by hand.
template <class Visit>
void each_checked(Visit visit)
{
    each_call(all(), [&](const FunctionCall& call) {
        if (!call.signature().tests.empty() && !lists("vsl_generators vsl_streams", call.signature().family))
            visit(call);
    });
}

/// Whether the letters d or z have the same tests.
bool has_twin(const FunctionCall& call)
{
    const char letter = call.signature().letter.element;
    return letter == 's' || letter == 'c';
}

class Checks : public CoreTest {
protected:
    Checks() { core().ignore(registration); } // noted as often as all else together
    static constexpr const char* registration = "qnm_serv_set_xerbla_interface";

    /// The codes that a call reports under the name of their test, through the function and through its
    /// exported check, which agree. A refused call gets no further, and tells the code in INFO if it has one.
    static std::vector<int> judged(FunctionCall call)
    {
        const Signature& s = call.signature();
        if (call.has("info"))
            call.set("info", 4711);
        FunctionCall check = call;
        if (!s.check.empty() && tests::signature(s.check).form != s.form) // takes values
            check = FunctionCall(s.check).assign(call);
        core().clear();
        const support::Returned returned = call.run();
        std::vector<int> codes;
        for (const auto& [name, code] : reports())
            if (std::ranges::any_of(s.tests, [&, &name = name, &code = code](const catalogue::Test& test) {
                    return test.code == code && name == (test.name.empty() ? s.report_name : test.name);
                }))
                codes.push_back(code);
        EXPECT_LE(core().calls(called(call)).size(), codes.empty() ? 1U : 0U);
        for (const Call& report : core().calls("qnm_serv_xerbla")) {
            EXPECT_EQ(report.int32(2), static_cast<int>(report.text.size()));
            if (!call.narrow() && s.family != "vml") { // whose code has 32 bits
                EXPECT_EQ(report.code64(), report.code());
            }
        }
        if (!codes.empty() && s.result != "void" && s.result != "int") {
            EXPECT_EQ(s.result == "float"    ? returned.float32()
                      : s.result == "double" ? returned.float64()
                                             : static_cast<double>(returned.int64()),
                      0);
        }
        if (call.has("info") && (!codes.empty() || !call.narrow())) {
            EXPECT_EQ(call.integer("info"), codes.empty() ? 0 : -codes.front());
        }
        if (s.check.empty())
            return codes;
        core().clear();
        EXPECT_EQ(check.run(layer()[s.check]).int32(), codes.empty() ? 0 : 1);
        const Reports expected(codes.size(), {s.report_name, codes.empty() ? 0 : codes.front()});
        EXPECT_EQ(reports(), expected);
        EXPECT_EQ(core().calls().size() - core().calls("qnm_serv_strnlen_s").size(), codes.size());
        if (call.has("info")) {
            EXPECT_EQ(check.integer("info"), codes.empty() ? 0 : -codes.front());
        }
        return codes;
    }
};

TEST_F(Checks, EachTestFailsAloneAndItsBoundPasses)
{
    each_checked([&](const FunctionCall& valid) {
        const Signature& s = valid.signature();
        const bool wide = !valid.narrow() && !lists("trans vml", s.family);
        for (int sizes = 0; sizes < (has_twin(valid) ? 1
                                     : wide          ? 3
                                                     : 2);
             ++sizes) // as they come, none, beyond 32 bits
            valid.each_choice([&](const FunctionCall& chosen) {
                FunctionCall good = chosen;
                if (good.may_conjugate() && sizes == 2)
                    return; // vectors are not as long
                if (sizes != 0)
                    good.resize(sizes == 1 ? 0 : std::int64_t{1} << 32);
                ASSERT_THAT(judged(good), IsEmpty());
                for (const FunctionCall::Step& step : good.steps()) {
                    SCOPED_TRACE(step.argument + " of " + std::to_string(sizes));
                    if (s.family == "trans" && step.argument.starts_with("stride") &&
                        good.is_bounded(step.argument) && good.bound(step.argument) == 0)
                        continue; // nothing is less: they are unsigned
                    FunctionCall bad = good;
                    bad.spoil(step.argument);
                    const bool exempt = bad.is_exempt(step.argument);
                    EXPECT_EQ(judged(bad), std::vector<int>(exempt ? 0 : 1, step.code));
                    FunctionCall at = good;
                    if (good.is_bounded(step.argument)) {
                        EXPECT_THAT(judged(at.set(step.argument, good.bound(step.argument)).make_valid()),
                                    IsEmpty());
                    }
                    const Argument* a = good.facts(good.index(step.argument));
                    if (a != nullptr && a->maximum) {
                        EXPECT_THAT(judged(at.set(step.argument, good.value(*a->maximum) + 1)),
                                    ElementsAre(step.code));
                    }
                }
            });
    });
}

TEST_F(Checks, OfTwoBadArgumentsTheOneTestedFirstIsReported)
{
    each_checked([](const FunctionCall& good) {
        const auto steps = good.steps();
        for (std::size_t first = 0; first < steps.size(); ++first)
            for (std::size_t second = first + 1; second < steps.size(); ++second) {
                SCOPED_TRACE(steps[first].argument + " and " + steps[second].argument);
                FunctionCall call = good;
                const bool each = good.is_of_groups(steps[first].argument);
                call.spoil(steps[second].argument);
                if (each && steps[second].argument == "group_count") // a negative number has no elements
                    call.point(steps[first].argument, nullptr);
                else
                    call.spoil(steps[first].argument, each ? 2 : 0);
                std::vector<int> expected{steps[first].code};
                if (steps[first].goes_on)
                    expected.push_back(steps[second].code);
                EXPECT_EQ(judged(call), expected);
            }
    });
}

TEST_F(Checks, EveryGroupIsLookedAtAndNoOther)
{
    each_checked([](const FunctionCall& good) {
        for (const FunctionCall::Step& step : good.steps())
            for (int group = 0; good.is_of_groups(step.argument) && group < 3; ++group) {
                SCOPED_TRACE(step.argument + " of group " + std::to_string(group));
                FunctionCall call = good;
                EXPECT_THAT(judged(call.spoil(step.argument, group)), ElementsAre(step.code));
                if (group > 0) {
                    EXPECT_THAT(judged(call.set("group_count", group)), IsEmpty());
                }
            }
    });
}

// Letters are those of the test in either case, codes those of the option; nothing beside is taken.
TEST_F(Checks, LettersAndCodesBesideTheirSetsAreBad)
{
    each_checked([](const FunctionCall& good) {
        for (const FunctionCall::Step& step : good.steps()) {
            const std::size_t i = good.index(step.argument);
            const Argument* a = good.facts(i);
            if (a == nullptr || a->letters.empty() || has_twin(good) ||
                good.signature().form->width == catalogue::Width::wide)
                continue; // width has no part in it
            std::set<int> accepted;
            for (const char letter : a->letters)
                accepted.merge(good.accepted(i, letter));
            for (int value = 0; value < 256; ++value) {
                SCOPED_TRACE(step.argument + " " + std::to_string(value));
                FunctionCall call = good;
                call.set(step.argument, value);
                if (accepted.contains(value))
                    EXPECT_THAT(judged(call.settle().make_valid()), IsEmpty());
                else
                    EXPECT_THAT(judged(call), ElementsAre(step.code));
            }
        }
    });
}

// A traced call that is refused prints its line, with 0 for an integer that is not there; and nothing behind
// the first bad argument is read.
TEST_F(Checks, NothingBehindTheFirstBadArgumentIsTouched)
{
    core().mode(1);
    core().listen(registration);
    each_checked([](const FunctionCall& good) {
        if (!lists("blas lapack", good.signature().family))
            return;
        for (std::size_t k = 0; k < good.steps().size(); ++k) {
            const FunctionCall::Step step = good.steps()[k];
            SCOPED_TRACE(step.argument);
            const std::set<std::string> needed = needed_for(good.signature(), k);
            FunctionCall call = good;
            call.spoil(step.argument);
            const bool reads_ahead = good.signature().family == "lapack"; // to see whether this is a query
            for (const Parameter& p : good.parameters())
                if (!reads_ahead && !needed.contains(p.name) && p.argument != nullptr &&
                    p.travel != Travel::letter && p.travel != Travel::letters)
                    call.point(p.name, nullptr);
            core().clear();
            core().clock({2, 5, 1000});
            call.run();
            EXPECT_EQ(story(), (std::vector<std::string>{
                                   "qnm_serv_set_xerbla_interface", "qnm_serv_xerbla", "qnm_serv_dsecnd",
                                   "qnm_serv_dsecnd", "qnm_serv_snprintf_s", "qnm_serv_print_verbose_info"}));
            expect_line(call);
            EXPECT_EQ(reports(), (Reports{{good.signature().report_name, step.code}}));
        }
    });
}

} // namespace
} // namespace qnm::tests
