// Real-to-real plans: the transform of each kind, its integers and numbers, and where data are copied.
#include "transforms.hpp"

#include <sstream>

namespace qnm::tests {
namespace {

class Trigonometric : public Fftw {};

const struct {
    int kind, type, longer;
    bool forward;
} roads[]{{3, 1, -1, false}, {4, 2, 0, true},  {5, 2, 0, false},  {6, 4, 0, false},  {7, 0, 1, false},
          {8, 3, 0, true},   {9, 3, 0, false}, {10, 5, 0, false}, {413, 0, 1, false}};

template <class R>
void expect_road(const std::string& prefix, const std::string& letter, bool in_place)
{
    constexpr int n = 5;
    for (const auto& [kind, type, longer, forward] : roads)
        for (const int verbose : {0, -1}) {
            SCOPED_TRACE(prefix + std::to_string(kind));
            const std::string number = std::to_string(kind), out = in_place ? "in" : "out";
            const bool direct = kind == 413;
            fftw3_qnm.verbose = verbose;
            core().clear();
            Record* const plan = planned(prefix, "plan_r2r_1d 5 in " + out + " " + number + " 4");
            ASSERT_NE(plan, nullptr);
            const int size = n + longer;
            std::ostringstream made;
            made << letter << "_init " << size << " " << type << (verbose != 0 ? " 11" : " 00")
                 << " 1; commit " << out << " 1 5 " << direct;
            EXPECT_EQ(asked(), made.str());
            const auto blocks = core().calls("qnm_serv_malloc");
            ASSERT_EQ(blocks.size(), 3U);
            EXPECT_EQ(blocks[0].word(0), sizeof(Record));
            EXPECT_EQ(blocks[1].word(0), (5U * static_cast<unsigned>(size) / 2 + 2) * sizeof(R));
            EXPECT_EQ(blocks[2].word(0), 512U);
            EXPECT_TRUE(sizeof(R) == 8 ? plan->doubles != nullptr && plan->floats == nullptr
                                       : plan->doubles == nullptr && plan->floats != nullptr);
            R *const from = fresh<R>("in"), *const to = in_place ? from : fresh<R>("out");
            const bool shifted = type == 0 && !direct;
            if (direct) // the one in front is the caller's
                from[0] = 0;
            call(prefix, "execute", {plan});
            std::string seen = direct && in_place ? " 0 2 3 4 5 6"
                               : direct           ? " 0 2 3 4 5 6"
                               : shifted          ? " 0 1 2 3 4 5"
                                                  : " 1 2 3 4 5";
            EXPECT_EQ(asked(), letter + (forward ? "_forward" : "_backward") + seen);
            for (int i = shifted ? 0 : direct ? 1 : 0; i < n; ++i)
                EXPECT_EQ(to[i], static_cast<R>(10 * (i + 1))) << i;
            EXPECT_EQ(to[n], static_cast<R>(direct ? 60 : n + 1)); // none behind the array
            EXPECT_TRUE(in_place || from[1] == 2);
            call(prefix, "destroy_plan", {plan});
            EXPECT_EQ(asked(), "free");
        }
    fftw3_qnm.verbose = 0;
}

TEST_F(Trigonometric, EachKindHasItsTransformOfEitherPrecision)
{
    for (const bool in_place : {false, true}) {
        expect_road<double>("fftw_", "d", in_place);
        expect_road<float>("fftwf_", "s", in_place);
    }
}

TEST_F(Trigonometric, RunsOnOtherArraysOfItsOwnCopy)
{
    Record* const plan = planned("fftw_", "plan_r2r_1d 5 in in 7 0");
    double *const a = fresh<double>("a"), *const b = fresh<double>("b");
    call("fftw_", "execute_r2r a b", {plan});
    EXPECT_EQ(a[0], 1);
    EXPECT_EQ(b[4], 50);
    EXPECT_EQ(b[5], 6);
    plan->integers[0] = 0; // a size that is none: nothing runs
    asked();
    call("fftw_", "execute", {plan});
    EXPECT_EQ(asked(), "");
    call("fftw_", "destroy_plan", {plan});
}

TEST_F(Trigonometric, GivesUpAtAnyStepAndRefusesWhatIsNotALine)
{
    for (const auto& [prefix, letter] : {std::pair{"fftw_", "d"}, {"fftwf_", "s"}}) {
        for (const std::size_t block : {1U, 2U, 3U}) {
            core().fail_allocation(block);
            EXPECT_EQ(planned(prefix, "plan_r2r_1d 5 in out 4 0"), nullptr);
            EXPECT_EQ(asked(), "");
        }
        for (const int step : {1, 2}) {
            fail(step, -100);
            EXPECT_EQ(planned(prefix, "plan_r2r_1d 5 in out 4 0"), nullptr);
            const std::string story = letter + std::string("_init 5 2 00 1; commit out 1 5 0");
            EXPECT_EQ(asked(), story.substr(0, step == 1 ? story.find(';') : story.npos));
        }
        core().clear();
        for (const std::string text :
             {"plan_r2r_1d 5 in out 0 0", "plan_r2r_1d 5 in out 1 0", "plan_r2r_1d 5 in out 2 0",
              "plan_r2r_1d 5 in out 11 0", "plan_r2r_1d 5 in out 412 0", "plan_r2r_1d 5 in out -1 0",
              "plan_r2r_1d 2147483647 in out 7 0", "plan_r2r_1d 2147483647 in out 413 0",
              "plan_r2r_1d -2147483648 in out 3 0", "plan_guru64_r2r 1 {2147483648:1:1} 0 null in out [4] 0",
              "plan_guru64_r2r 1 {5:2:1} 0 null in out [4] 0",
              "plan_guru64_r2r 1 {5:1:2} 0 null in out [4] 0",
              "plan_guru64_r2r 1 {5:1:1} 1 {1:5:5} in out [4] 0",
              "plan_guru64_r2r 1 {5:1:1} -1 null in out [4] 0",
              "plan_guru64_r2r 1 {5:1:1} 0 null in out null 0",
              "plan_guru64_r2r 2 {5:1:1,5:1:1} 0 null in out [4] 0"})
            EXPECT_EQ(planned(prefix, text), nullptr) << text;
        EXPECT_TRUE(core().calls().empty());
        // No size is too small to be asked for, and the largest is counted in 64 bits.
        fail(1);
        EXPECT_EQ(planned(prefix, "plan_r2r_1d 1 in out 3 0"), nullptr);
        EXPECT_EQ(asked(), letter + std::string("_init 0 1 00 1"));
        core().fail_allocation(2);
        EXPECT_EQ(planned(prefix, "plan_r2r_1d 2147483647 in out 4 0"), nullptr);
        const std::uint64_t numbers = 5ULL * 2147483647 / 2 + 2;
        EXPECT_EQ(core().calls("qnm_serv_malloc")[4].word(0), numbers * (letter[0] == 'd' ? 8 : 4));
    }
}

} // namespace
} // namespace qnm::tests
