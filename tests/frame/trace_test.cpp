// The time and the line of a traced call.
#include "telling.hpp"

#include <cmath>
#include <limits>

namespace qnm {
namespace {

using recording::Answer;
using recording::Call;
using ::testing::IsEmpty;

// The time
// ----------------------------------------------------------------------------------------------------------

class Time : public BoundTest {
protected:
    /// The seconds of the line that was printed, and how often the clock was read for them.
    struct Seconds {
        double value = 0;
        std::size_t readings = 0;
    };

    static Seconds seconds(std::vector<double> readings, const std::string& name,
                           const std::vector<Word>& words)
    {
        core().clear();
        core().mode(1);
        core().clock(std::move(readings));
        call_entry(name, words);
        const auto lines = core().calls("qnm_serv_print_verbose_info");
        EXPECT_EQ(lines.size(), 1U);
        return {lines.empty() ? 0.0 : lines.front().real(0), core().calls("qnm_serv_dsecnd").size()};
    }

    template <class Expect>
    static void for_each_call(Expect expect)
    {
        for (const Telling& entry : telling()) {
            SCOPED_TRACE(entry.name);
            expect(entry.name, entry.words);
        }
        SCOPED_TRACE("refused");
        expect("dgemm", refused);
        expect("dgemm_64", wide_refused);
    }
};

TEST_F(Time, IsThatBetweenTwoReadings)
{
    for_each_call([](const std::string& name, const std::vector<Word>& words) {
        const auto [value, readings] = seconds({1.25, 3.5, 1000}, name, words);
        EXPECT_EQ(value, 2.25);
        EXPECT_EQ(readings, 2U);
        EXPECT_EQ(seconds({5, 2}, name, words).value, -3.0);
        EXPECT_EQ(seconds({-3, 1}, name, words).value, 4.0);
    });
}

TEST_F(Time, OfAClockThatAnswersZeroIsZero)
{
    for_each_call([](const std::string& name, const std::vector<Word>& words) {
        const auto positive = seconds({0.0, 7}, name, words);
        EXPECT_EQ(positive.value, 0.0);
        EXPECT_TRUE(std::signbit(positive.value));
        EXPECT_EQ(positive.readings, 1U);
        const auto negative = seconds({-0.0, 7}, name, words);
        EXPECT_EQ(negative.value, 0.0);
        EXPECT_FALSE(std::signbit(negative.value));
        EXPECT_EQ(negative.readings, 1U);
    });
}

TEST_F(Time, OfAClockThatAnswersNothingSensibleIsReadTwice)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for_each_call([](const std::string& name, const std::vector<Word>& words) {
        const auto [value, readings] = seconds({nan, 7}, name, words);
        EXPECT_TRUE(std::isnan(value));
        EXPECT_EQ(readings, 2U);
    });
}

// The line
// ----------------------------------------------------------------------------------------------------------

class Line : public BoundTest {
protected:
    Line() { core().mode(1); }

    static std::string of(const std::string& name, const std::vector<Word>& words)
    {
        core().clear();
        call_entry(name, words);
        return core().calls().empty() ? "" : core().calls().back().text;
    }
};

TEST_F(Line, OfScratchShowsTheCallersIndices)
{
    char text[80];
    std::snprintf(text, sizeof text, "DAXPYI(3,0xa0,0x100,%p,0x200)", static_cast<const void*>(indices));
    EXPECT_EQ(of("daxpyi", good("daxpyi")), text);
}

TEST_F(Line, OfARefusedCallPrintsZeroForWhatIsNotThere)
{
    EXPECT_EQ(of("dgemm", refused), "DGEMM(X,n,2,3,4,(nil),(nil),0,(nil),0,(nil),(nil),0)");
    EXPECT_EQ(of("dgemm_64", wide_refused), "DGEMM_64(X,n,2,3,4,(nil),(nil),0,(nil),0,(nil),(nil),0)");
    EXPECT_THAT(core().calls("qnm_blas_dgemm"), IsEmpty());
    std::vector<Word> negative = good("dgemm");
    negative[3] = &bad;
    EXPECT_EQ(of("dgemm", negative), "DGEMM(N,t,2,-7,4,0xa0,0xa00,2,0xb00,3,0xc0,0xc00,2)");
}

TEST_F(Line, OfAWideCallTestsEachPointer)
{
    EXPECT_EQ(of("dscal_64", {nullptr, address(0xa0), address(0x100), nullptr}), "DSCAL_64(0,0xa0,0x100,0)");
}

// A checked entry reads again what the caller has after the core; an unchecked narrow one shows its copies,
// which the core may have changed, cut back to their width.
TEST_F(Line, ReadsIntegersWhereTheClassSays)
{
    int m = 2;
    wide_int wide_m = 2;
    const auto change = [&](const std::string& name, std::size_t place) {
        core().answers(name).calling([&, place](Call& call, Answer&) {
            m = 77;
            wide_m = 77;
            if (call.pointer<wide_int>(place) != &wide_m)
                *call.pointer<wide_int>(place) = 0x500000063;
        });
    };
    const auto with = [](std::vector<Word> words, std::size_t place, Word word) {
        words[place] = word;
        return words;
    };
    change("qnm_blas_dgemm", 2);
    change("qnm_blas_dscal", 0);
    change("qnm_blas_daxpyi", 0);
    EXPECT_EQ(of("dgemm", with(good("dgemm"), 2, &m)), "DGEMM(N,t,77,3,4,0xa0,0xa00,2,0xb00,3,0xc0,0xc00,2)");
    EXPECT_EQ(of("dgemm_64", with(good("dgemm_64"), 2, &wide_m)),
              "DGEMM_64(N,t,77,3,4,0xa0,0xa00,4000000000,0xb00,3,0xc0,0xc00,2)");
    m = 2;
    EXPECT_EQ(of("dscal", with(good("dscal"), 0, &m)), "DSCAL(99,0xa0,0x100,-1)");
    wide_m = 2;
    EXPECT_EQ(of("dscal_64", with(good("dscal_64"), 0, &wide_m)), "DSCAL_64(77,0xa0,0x100,-1)");
    m = 2;
    EXPECT_TRUE(of("daxpyi", with(good("daxpyi"), 0, &m)).starts_with("DAXPYI(99,"));
    EXPECT_EQ(m, 77); // and the copies are never written back
}

TEST_F(Line, IsBoundedAndAlwaysEnds)
{
    // A formatter that pays no heed to the bound: the end of the buffer is the layer's own care.
    core().answers("qnm_serv_snprintf_s").calling([](Call& call, Answer& answer) {
        std::fill_n(call.pointer<char>(0), 450, 'x');
        answer.returns(450);
    });
    for (const Telling& entry : telling()) {
        SCOPED_TRACE(entry.name);
        EXPECT_EQ(of(entry.name, entry.words), std::string(449, 'x'));
        const auto& calls = core().calls();
        EXPECT_EQ(calls.back().last_byte, '\0');
        const Call& formatted = calls.at(calls.size() - 2);
        EXPECT_EQ(formatted.int32(1), 450);
        EXPECT_EQ(formatted.int32(2), 449);
        EXPECT_EQ(formatted.word(0), calls.back().word(1));
    }
    of("dgemm", refused);
    EXPECT_THAT(core().calls().back(), Printed(std::string(449, 'x')));
}

TEST_F(Line, IsCutWhereItIsTooLong)
{
    // No published list is that long, so the format is made longer.
    core().answers("qnm_serv_snprintf_s").calling([](Call& call, Answer&) {
        std::snprintf(call.pointer<char>(0), call.word(2) + 1, "%s%0600d", "DSCAL", 1);
    });
    const std::string line = of("dscal", good("dscal"));
    EXPECT_EQ(line.size(), 449U);
    EXPECT_EQ(core().calls().back().last_byte, '\0');
}

TEST_F(Line, LeavesResultsAsTheyCame)
{
    bind("ddot");
    bind("sdot");
    bind("dgemm_pack_get_size");
    const std::vector<Word> dot{&n3, nullptr, &one, nullptr, &one};
    core().answers("qnm_blas_ddot").with(-0.1);
    core().answers("qnm_blas_sdot").with(0.1F);
    core().answers("qnm_blas_idamax").with(wide_int{0x500000007});
    core().answers("qnm_blas_dgemm_pack_get_size").with(wide_int{0x123456789});
    for (const int mode : {0, 1}) {
        SCOPED_TRACE(mode);
        core().mode(mode);
        EXPECT_EQ(call_entry("ddot_", dot).float64(), -0.1);
        EXPECT_EQ(call_entry("sdot_", dot).float32(), 0.1F);
        EXPECT_EQ(call_entry("idamax_", good("idamax")).int32(), 7);
        EXPECT_EQ(call_entry("dgemm_pack_get_size_", good("dgemm_pack_get_size")).int64(), 0x123456789);
        core().clear();
        call_entry("zdotu_", good("zdotu"));
        EXPECT_EQ(core().calls("qnm_blas_zdotu").at(0).word(0), 0x500U);
    }
}

} // namespace
} // namespace qnm
