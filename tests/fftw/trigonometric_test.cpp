// Real-to-real plans: the transform of each kind, its integers and numbers, and what is refused.
#include "transforms.hpp"

namespace qnm::tests {
namespace {

class Trigonometric : public Fftw {
protected:
    /// What is asked for by a call, null if `none`; the plan runs and ends.
    static std::string story(const std::string& prefix, const std::string& text, bool none)
    {
        Record* const plan = planned(prefix, text);
        EXPECT_EQ(plan == nullptr, none) << text;
        return none ? asked() : life(prefix, plan);
    }
};

// Of five elements 1 to 5: what the transform is told, and the first two numbers that it finds.
const struct {
    std::string kind, made;
    unsigned size;
    std::string runs;
} roads[]{
    {"3", "4 1", 4, "backward 1 2"}, {"4", "5 2", 5, "forward 1 2"},   {"5", "5 2", 5, "backward 1 2"},
    {"6", "5 4", 5, "backward 1 2"}, {"7", "6 0", 6, "backward 0 1"},  {"8", "5 3", 5, "forward 1 2"},
    {"9", "5 3", 5, "backward 1 2"}, {"10", "5 5", 5, "backward 1 2"}, {"413", "6 0", 6, "backward 1 2"}};

template <class R>
void expect_roads(const std::string& prefix, const std::string& letter)
{
    for (const auto& [kind, made, size, runs] : roads)
        for (const std::string errors : {"00", "11"}) {
            fftw3_qnm.verbose = errors == "00" ? 0 : -1;
            core().clear();
            Record* const plan = planned(prefix, "plan_r2r_1d 5 in out " + kind + " 4");
            ASSERT_NE(plan, nullptr);
            const auto blocks = core().calls("qnm_serv_malloc");
            ASSERT_EQ(blocks.size(), 3U);
            EXPECT_EQ(blocks[0].word(0), 88U);
            EXPECT_EQ(blocks[1].word(0), (5 * size / 2 + 2) * sizeof(R));
            EXPECT_EQ(blocks[2].word(0), 512U);
            EXPECT_EQ(plan->doubles == nullptr, letter == "s");
            EXPECT_EQ(plan->floats == nullptr, letter == "d");
            fresh<R>("in");
            std::string wanted = letter + "_init " + made;
            wanted += " " + errors + " 1; " + letter + "_commit out 1 5 " + (kind == "413" ? "1" : "0");
            EXPECT_EQ(life(prefix, plan), wanted + " => " + letter + "_" + runs + "; free") << kind;
        }
    fftw3_qnm.verbose = 0;
}

TEST_F(Trigonometric, EachKindHasItsTransformOfEitherPrecision)
{
    expect_roads<double>("fftw_", "d");
    expect_roads<float>("fftwf_", "s");
    Record* const plan = planned("fftw_", "plan_r2r_1d 5 in in 7 0");
    asked();
    plan->integers[0] = 0; // a size that is none: nothing runs
    call("fftw_", "execute", {plan});
    EXPECT_EQ(asked(), "");
    call("fftw_", "destroy_plan", {plan});
}

TEST_F(Trigonometric, GivesUpAtAnyStepAndRefusesWhatIsNotALine)
{
    for (const std::string letter : {"d", "s"}) {
        const std::string prefix = letter == "d" ? "fftw_" : "fftwf_", made = letter + "_init 5 2 00 1",
                          good = "plan_r2r_1d 5 in out 4 0";
        for (const std::size_t block : {1U, 2U, 3U}) {
            core().fail_allocation(block);
            EXPECT_EQ(story(prefix, good, true), "");
        }
        fail(1, -100);
        EXPECT_EQ(story(prefix, good, true), made);
        fail(2, 1);
        EXPECT_EQ(story(prefix, good, true), made + "; " + letter + "_commit out 1 5 0");
        core().clear();
        std::istringstream refused(R"(
_r2r_1d 5 in out 0 0
_r2r_1d 5 in out 1 0
_r2r_1d 5 in out 2 0
_r2r_1d 5 in out 11 0
_r2r_1d 5 in out 412 0
_r2r_1d 5 in out -1 0
_r2r_1d 2147483647 in out 7 0
_r2r_1d 2147483647 in out 413 0
_r2r_1d -2147483648 in out 3 0
_guru64_r2r 1 {2147483648:1:1} 0 null in out [4] 0
_guru64_r2r 1 {5:2:1} 0 null in out [4] 0
_guru64_r2r 1 {5:1:2} 0 null in out [4] 0
_guru64_r2r 1 {5:1:1} 1 {1:5:5} in out [4] 0
_guru64_r2r 1 {5:1:1} -1 null in out [4] 0
_guru64_r2r 1 {5:1:1} 0 null in out null 0
_guru64_r2r 2 {5:1:1,5:1:1} 0 null in out [4] 0)");
        refused.get();
        for (std::string text; std::getline(refused, text);)
            EXPECT_EQ(story(prefix, "plan" + text, true), "");
        EXPECT_TRUE(core().calls().empty());
        // No size is too small to be asked for, and the largest is counted in 64 bits.
        fail(1);
        EXPECT_EQ(story(prefix, "plan_r2r_1d 1 in out 3 0", true), letter + "_init 0 1 00 1");
        core().clear();
        core().fail_allocation(2);
        story(prefix, "plan_r2r_1d 2147483647 in out 4 0", true);
        EXPECT_EQ(core().calls("qnm_serv_malloc")[1].word(0),
                  (5ULL * 2147483647 / 2 + 2) * (letter == "d" ? 8 : 4));
    }
}

} // namespace
} // namespace qnm::tests
