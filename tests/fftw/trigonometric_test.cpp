// Real-to-real plans: the transform of each kind, its integers and numbers, and where data are copied.
#include "transforms.hpp"

namespace qnm::tests {
namespace {

class Trigonometric : public Fftw {};

// Of five elements; `seen`: what the transform finds, where the array has 1 to 6.
const struct {
    int kind, type, size;
    std::string runs, seen = "1 2 3 4 5";
} roads[]{{3, 1, 4, "backward"},
          {4, 2, 5, "forward"},
          {5, 2, 5, "backward"},
          {6, 4, 5, "backward"},
          {7, 0, 6, "backward", "0 1 2 3 4 5"}, // shifted, behind a zero
          {8, 3, 5, "forward"},
          {9, 3, 5, "backward"},
          {10, 5, 5, "backward"},
          {413, 0, 6, "backward", "1 2 3 4 5 6"}};

template <class R>
void expect_road(const std::string& prefix, const std::string& letter, const std::string& out)
{
    for (const auto& [kind, type, size, runs, seen] : roads)
        for (const int verbose : {0, -1}) {
            const std::string call_text = "plan_r2r_1d 5 in " + out + " " + std::to_string(kind) + " 4";
            SCOPED_TRACE(prefix + call_text);
            const bool direct = kind == 413;
            fftw3_qnm.verbose = verbose;
            core().clear();
            Record* const plan = planned(prefix, call_text);
            ASSERT_NE(plan, nullptr);
            EXPECT_EQ(asked(), letter + "_init " + std::to_string(size) + " " + std::to_string(type) +
                                   (verbose != 0 ? " 11 1; " : " 00 1; ") + letter + "_commit " + out +
                                   (direct ? " 1 5 1" : " 1 5 0"));
            const auto blocks = core().calls("qnm_serv_malloc");
            ASSERT_EQ(blocks.size(), 3U);
            EXPECT_EQ(blocks[0].word(0), 88U);
            EXPECT_EQ(blocks[1].word(0), (5U * static_cast<unsigned>(size) / 2 + 2) * sizeof(R));
            EXPECT_EQ(blocks[2].word(0), 512U);
            EXPECT_TRUE((plan->doubles == nullptr) == (letter == "s") &&
                        (plan->floats == nullptr) == (letter == "d"));
            R *const from = fresh<R>("in"), *const to = fresh<R>(out);
            call(prefix, "execute", {plan});
            EXPECT_EQ(asked(), letter + "_" + runs + " " + seen);
            for (int i = 0; i < 7; ++i) // none behind the array
                EXPECT_EQ(to[i], static_cast<R>((i < (direct ? 6 : 5) ? 10 : 1) * (i + 1))) << i;
            EXPECT_TRUE(from == to || from[1] == 2);
            call(prefix, "destroy_plan", {plan});
            EXPECT_EQ(asked(), "free");
        }
    fftw3_qnm.verbose = 0;
}

TEST_F(Trigonometric, EachKindHasItsTransformOfEitherPrecision)
{
    for (const char* out : {"in", "out"}) {
        expect_road<double>("fftw_", "d", out);
        expect_road<float>("fftwf_", "s", out);
    }
}

TEST_F(Trigonometric, RunsOnOtherArrays)
{
    Record* const plan = planned("fftw_", "plan_r2r_1d 5 in in 7 0");
    const double *const a = fresh<double>("a"), *const b = fresh<double>("b");
    call("fftw_", "execute_r2r a b", {plan});
    EXPECT_TRUE(a[0] == 1 && b[4] == 50 && b[5] == 6);
    asked();
    plan->integers[0] = 0; // a size that is none: nothing runs
    call("fftw_", "execute", {plan});
    EXPECT_EQ(asked(), "");
    call("fftw_", "destroy_plan", {plan});
}

TEST_F(Trigonometric, GivesUpAtAnyStepAndRefusesWhatIsNotALine)
{
    for (const std::string letter : {"d", "s"}) {
        const std::string prefix = letter == "d" ? "fftw_" : "fftwf_";
        const auto expect_null = [&](const std::string& text, const std::string& story = "") {
            EXPECT_EQ(planned(prefix, text), nullptr) << text;
            EXPECT_EQ(asked(), story) << text;
        };
        for (const std::size_t block : {1U, 2U, 3U}) {
            core().fail_allocation(block);
            expect_null("plan_r2r_1d 5 in out 4 0");
        }
        fail(1, -100);
        expect_null("plan_r2r_1d 5 in out 4 0", letter + "_init 5 2 00 1");
        fail(2, 1);
        expect_null("plan_r2r_1d 5 in out 4 0", letter + "_init 5 2 00 1; " + letter + "_commit out 1 5 0");
        core().clear();
        for (const char* kind : {"0", "1", "2", "11", "412", "-1"})
            expect_null("plan_r2r_1d 5 in out " + std::string(kind) + " 0");
        for (const char* call :
             {"_r2r_1d 2147483647 in out 7 0", "_r2r_1d 2147483647 in out 413 0",
              "_r2r_1d -2147483648 in out 3 0", "_guru64_r2r 1 {2147483648:1:1} 0 null in out [4] 0",
              "_guru64_r2r 1 {5:2:1} 0 null in out [4] 0", "_guru64_r2r 1 {5:1:2} 0 null in out [4] 0",
              "_guru64_r2r 1 {5:1:1} 1 {1:5:5} in out [4] 0", "_guru64_r2r 1 {5:1:1} -1 null in out [4] 0",
              "_guru64_r2r 1 {5:1:1} 0 null in out null 0",
              "_guru64_r2r 2 {5:1:1,5:1:1} 0 null in out [4] 0"})
            expect_null("plan" + std::string(call));
        EXPECT_TRUE(core().calls().empty());
        // No size is too small to be asked for, and the largest is counted in 64 bits.
        fail(1);
        expect_null("plan_r2r_1d 1 in out 3 0", letter + "_init 0 1 00 1");
        core().clear();
        core().fail_allocation(2);
        expect_null("plan_r2r_1d 2147483647 in out 4 0");
        EXPECT_EQ(core().calls("qnm_serv_malloc")[1].word(0),
                  (5ULL * 2147483647 / 2 + 2) * (letter == "d" ? 8 : 4));
    }
}

} // namespace
} // namespace qnm::tests
