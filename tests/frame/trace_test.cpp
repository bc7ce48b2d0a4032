// Tracing: the verbose cell in all its states, the decision whether a call is traced, its time and its line.
#include "telling.hpp"

#include <cmath>
#include <limits>

namespace qnm {
namespace {

class Cells : public recording::RecordedTest {};

TEST_F(Cells, BindAtTheFirstCallAndFollowTheModeFromThen)
{
    for (const Telling& entry : all_calls)
        for (const int first : {0, 1}) {
            SCOPED_TRACE(entry.name);
            cell(entry.name) = unknown(entry.name);
            core().mode(first);
            EXPECT_EQ(story(entry.name, entry.words),
                      first == 0 ? joined({entry.ahead, asks, entry.at_core})
                                 : joined({entry.ahead, asks, clock, entry.at_core, clock, prints}));
            EXPECT_EQ(cell(entry.name), core().mode_word());
            for (const int mode : {1, 0, 2, 0, std::numeric_limits<int>::min()}) {
                core().mode(mode);
                EXPECT_EQ(story(entry.name, entry.words), mode == 0 ? entry.untraced() : entry.traced());
                if (mode != 0 && !entry.line.empty()) {
                    EXPECT_THAT(core().calls().back(), Printed(entry.line));
                }
            }
        }
}

TEST_F(Cells, AreOneForEachWidthAndStayUnknownWhereNothingIsDecided)
{
    for (const char* name : {"dgemm", "dgemm_64", "daxpyi"})
        cell(name) = unknown(name);
    story("dgemm", good("dgemm"));
    EXPECT_EQ(cell("dgemm_64"), unknown("dgemm_64"));
    core().mode(1);
    core().fail_allocation(1);
    EXPECT_EQ(story("daxpyi", good("daxpyi")),
              joined({allocates, registers, reports})); // not traced, at that
    EXPECT_EQ(cell("daxpyi"), unknown("daxpyi"));
    // A live word of -1 cannot be told from an unbound cell. It is on, and asked for again each time.
    core().mode(-1);
    cell("dscal") = core().mode_word();
    EXPECT_EQ(story("dscal", good("dscal")), joined({asks, clock, {"qnm_blas_dscal"}, clock, prints}));
}

/// Begins with cells as they stand after first calls.
class Trace : public recording::RecordedTest {
protected:
    Trace()
    {
        for (const Telling& entry : telling)
            cell(entry.name) = core().mode_word();
    }
};

TEST_F(Trace, IsDecidedAtItsPlaceInTheCall)
{
    constexpr const char* lsame = "qnm_serv_lsame";
    const Telling &gemm = good_call("dgemm"), &wide_gemm = good_call("dgemm_64"),
                  &axpyi = good_call("daxpyi"), &scal = good_call("dscal");
    const struct {
        Telling entry;
        const char* where; // the mode is switched while the core serves this call
        int before, after;
        bool traced;
    } all[]{
        // A call found untraced stays so; the snapshot is older than scratch, and younger than the
        // registration.
        {gemm, lsame, 0, 1, false},
        {wide_gemm, lsame, 0, 1, false},
        {axpyi, "qnm_serv_allocate", 0, 1, false},
        {gemm, "qnm_serv_set_xerbla_interface", 0, 1, true},
        // One found traced may be called off until it has begun.
        {gemm, lsame, 1, 0, false},
        {axpyi, "qnm_serv_allocate", 1, 0, false},
        {scal, "qnm_blas_dscal", 1, 0, true},
        // A refused call follows the live mode.
        {refused[0], lsame, 0, 1, true},
        {refused[0], lsame, 1, 0, false},
        {refused[0], "qnm_serv_xerbla", 0, 1, true},
        {refused[0], "qnm_serv_xerbla", 1, 0, false},
        {refused[1], lsame, 0, 1, true},
        {refused[1], "qnm_serv_xerbla", 1, 0, false},
    };
    for (const auto& [entry, where, before, after, traced] : all) {
        SCOPED_TRACE(entry.name + " switched at " + where);
        core().reset();
        core().mode(before);
        core().answers(where).calling([mode = after](Call& call, Answer& answer) {
            core().mode(mode);
            core().serve(call, answer);
        });
        EXPECT_EQ(story(entry.name, entry.words), traced ? entry.traced() : entry.untraced());
    }
}

// A narrow entry has read its integers before it decides.
TEST_F(Trace, IsDecidedWithIntegersWidened)
{
    int m = 2;
    core().answers("qnm_serv_verbose_mode").calling([&](Call& call, Answer& answer) {
        m = 99;
        core().serve(call, answer);
    });
    for (const int mode : {0, 1})
        for (const auto& [name, place] : {std::pair{"dgemm", 2U}, {"dscal", 0U}, {"daxpyi", 0U}}) {
            SCOPED_TRACE(name);
            core().mode(mode);
            m = 2;
            cell(name) = unknown(name);
            story(name, good(name, place, &m));
            EXPECT_EQ(m, 99);
            const Call call = core().calls(std::string("qnm_blas_") + name).at(0);
            EXPECT_EQ(call.behind(place), 2);
            if (name == std::string("daxpyi")) {
                EXPECT_EQ(call.behind(3), indices[0]);
            }
        }
}

TEST_F(Trace, TimeLiesBetweenTwoReadings)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        std::vector<double> clock;
        double seconds;
        std::size_t readings; // a clock that answers zero is not read again
    } all[]{{{1.25, 3.5, 1000}, 2.25, 2}, {{5, 2}, -3, 2},   {{-3, 1}, 4, 2},
            {{0.0, 7}, -0.0, 1},          {{-0.0, 7}, 0, 1}, {{nan, 7}, nan, 2}};
    core().mode(1);
    for (const Telling& entry : all_calls)
        for (const auto& [clock, seconds, readings] : all) {
            SCOPED_TRACE(entry.name + " at " + std::to_string(clock[0]));
            core().clock(clock);
            const auto line = printed(entry.name, entry.words);
            ASSERT_TRUE(line);
            if (std::isnan(seconds)) {
                EXPECT_TRUE(std::isnan(line->real(0)));
            } else {
                EXPECT_EQ(std::bit_cast<std::uint64_t>(line->real(0)), std::bit_cast<std::uint64_t>(seconds));
            }
            EXPECT_EQ(core().calls("qnm_serv_dsecnd").size(), readings);
        }
}

class Line : public Trace {
protected:
    Line() { core().mode(1); }

    static std::string of(const std::string& name, const std::vector<Word>& words)
    {
        const auto line = printed(name, words);
        return line ? line->text : "not printed";
    }
};

TEST_F(Line, IsBoundedAndAlwaysEnds)
{
    // A formatter that pays no heed to the bound: the end of the buffer is the layer's own care.
    core().answers("qnm_serv_snprintf_s").calling([](Call& call, Answer& answer) {
        std::fill_n(call.pointer<char>(0), 450, 'x');
        answer.returns(450);
    });
    for (const Telling& entry : all_calls) {
        SCOPED_TRACE(entry.name);
        of(entry.name, entry.words);
        const auto& calls = core().calls();
        EXPECT_THAT(calls.back(), Printed(std::string(449, 'x')));
        const Call& formatted = calls.at(calls.size() - 2);
        EXPECT_EQ(formatted.int32(1), 450);
        EXPECT_EQ(formatted.int32(2), 449);
        EXPECT_EQ(formatted.word(0), calls.back().word(1));
    }
}

} // namespace
} // namespace qnm
