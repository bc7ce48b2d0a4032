// Tracing, by an entry of each class: the verbose cell in all its states, the decision whether a call is
// traced, its time. What stands in the lines of all entries, the tests of their families see.
#include "layer.hpp"

#include <cmath>
#include <limits>

namespace qnm {
namespace {

/// The core's functions in the order of their calls, without what all names begin with.
using Story = std::string;
const Story registers = "set_xerbla_interface ", reports = "xerbla ", asks = "verbose_mode ",
            clock = "dsecnd ", prints = "snprintf_s print_verbose_info ", allocates = "allocate ";

/// A call of one entry, what it does ahead of the decision, and at the core.
struct Telling {
    std::string name; // lower case, with _64 for a wide entry
    std::vector<Word> words;
    Story ahead, at_core;

    Story told(bool traced, const Story& first = "") const
    {
        return ahead + first + (traced ? clock + at_core + clock + prints : at_core);
    }
    /// What the call does.
    Story story() const
    {
        core().clear();
        call_entry(name, words);
        Story all;
        for (const Call& call : core().calls())
            all += call.name.substr(call.name.find('_', 4) + 1) + " ";
        return all;
    }
};

const int one = 1, n2 = 2, n3 = 3, n4 = 4, indices[] = {9, 8, 7};
const wide_int w2 = 2, w3 = 3, w4 = 4, huge = 4000000000;
const Word null = nullptr; // for arrays and scalars, which nobody looks at
const Telling gemm{
    "dgemm", {"N", "t", &n2, &n3, &n4, null, null, &n2, null, &n3, null, null, &n2}, registers, "dgemm "},
    wide_gemm{"dgemm_64",
              {"N", "t", &w2, &w3, &w4, null, null, &huge, null, &w3, null, null, &w2},
              registers,
              "dgemm "},
    array{"xerbla_array", {"D", &n3, &one}, registers, "xerbla_array "},
    scal{"dscal", {&n3, null, null, &one}, "", "dscal "},
    wide_scal{"dscal_64", {&huge, null, null, &w2}, "", "dscal "},
    dotu{"zdotu", {null, &n3, null, &one, null, &one}, "", "zdotu "},
    axpyi{"daxpyi", {&n3, null, null, indices, null}, allocates, "daxpyi deallocate "};

/// With a letter that is refused; what lies behind the sizes is not there.
Telling refused_of(Telling call)
{
    call.words[0] = "X";
    std::fill(call.words.begin() + 5, call.words.end(), null);
    return {call.name, call.words, registers + reports, ""};
}
const Telling refused = refused_of(gemm), wide_refused = refused_of(wide_gemm);
const std::vector<Telling> all_calls{gemm, wide_gemm, array,   scal,        wide_scal,
                                     dotu, axpyi,     refused, wide_refused};

class Trace : public recording::RecordedTest {};

TEST_F(Trace, BindsCellsAtTheFirstCallAndFollowsTheModeFromThen)
{
    for (const Telling& entry : all_calls)
        for (const int first : {0, 1}) {
            SCOPED_TRACE(entry.name);
            cell(entry.name) = unknown(entry.name);
            core().mode(first);
            EXPECT_EQ(entry.story(), entry.told(first != 0, asks));
            EXPECT_EQ(cell(entry.name), core().mode_word());
            for (const int mode : {1, 0, 2, std::numeric_limits<int>::min()}) {
                core().mode(mode);
                EXPECT_EQ(entry.story(), entry.told(mode != 0));
            }
        }
    for (const char* name : {"dgemm", "dgemm_64", "daxpyi"})
        cell(name) = unknown(name);
    gemm.story();
    EXPECT_EQ(cell("dgemm_64"), unknown("dgemm_64")); // one for each width
    core().mode(1);
    core().fail_allocation(1);
    EXPECT_EQ(axpyi.story(), allocates + registers + reports); // not traced, at that
    EXPECT_EQ(cell("daxpyi"), unknown("daxpyi"));
    // A live word of -1 cannot be told from an unbound cell. It is on, and asked for again each time.
    core().mode(-1);
    EXPECT_EQ(scal.story(), scal.told(true, asks));
}

TEST_F(Trace, IsDecidedAtItsPlaceInTheCall)
{
    const struct {
        const Telling& entry;
        std::string where; // the mode is switched while the core serves this call
        int after;
        bool traced;
    } cases[]{
        // A call found untraced stays so; the snapshot is older than scratch, and younger than the
        // registration.
        {gemm, "qnm_serv_lsame", 1, false},
        {wide_gemm, "qnm_serv_lsame", 1, false},
        {axpyi, "qnm_serv_allocate", 1, false},
        {gemm, "qnm_serv_set_xerbla_interface", 1, true},
        // One found traced may be called off until it has begun.
        {gemm, "qnm_serv_lsame", 0, false},
        {axpyi, "qnm_serv_allocate", 0, false},
        {scal, "qnm_blas_dscal", 0, true},
        // A refused call follows the live mode.
        {refused, "qnm_serv_lsame", 1, true},
        {refused, "qnm_serv_lsame", 0, false},
        {refused, "qnm_serv_xerbla", 1, true},
        {refused, "qnm_serv_xerbla", 0, false},
        {wide_refused, "qnm_serv_lsame", 1, true},
        {wide_refused, "qnm_serv_xerbla", 0, false},
    };
    for (const auto& [entry, where, after, traced] : cases) {
        SCOPED_TRACE(entry.name + " switched at " + where);
        core().reset();
        cell(entry.name) = core().mode_word();
        core().mode(1 - after);
        core().answers(where).calling([mode = after](Call& call, Answer& answer) {
            core().mode(mode);
            core().serve(call, answer);
        });
        EXPECT_EQ(entry.story(), entry.told(traced));
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
    for (auto [entry, place] : {std::pair{gemm, 2U}, {scal, 0U}, {axpyi, 0U}}) {
        m = 2;
        cell(entry.name) = unknown(entry.name);
        entry.words[place] = &m;
        entry.story();
        EXPECT_EQ(core().calls("qnm_blas_" + entry.name).at(0).behind(place), 2) << entry.name;
    }
    EXPECT_EQ(m, 99);
}

TEST_F(Trace, TimeLiesBetweenTwoReadings)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    core().mode(1);
    for (const Telling& entry : all_calls)
        for (const auto& [first, last, seconds] : // a clock that answers zero is not read again
             {std::tuple{1.25, 3.5, 2.25},
              {-3.0, -5.0, -2.0},
              {0.0, 7.0, -0.0},
              {-0.0, 7.0, 0.0},
              {nan, 7.0, nan}}) {
            SCOPED_TRACE(entry.name + " at " + std::to_string(first));
            core().clock({first, last, 1000});
            EXPECT_TRUE(entry.story().ends_with(prints));
            const double found = core().calls().back().real(0);
            EXPECT_TRUE(std::isnan(seconds)
                            ? std::isnan(found)
                            : found == seconds && std::signbit(found) == std::signbit(seconds))
                << found;
            EXPECT_EQ(core().calls("qnm_serv_dsecnd").size(), first == 0 ? 1U : 2U);
        }
}

// A formatter that pays no heed to the bound: the end of the buffer is the layer's own care.
TEST_F(Trace, LineAlwaysEnds)
{
    core().mode(1);
    core().answers("qnm_serv_snprintf_s").calling([](Call& call, Answer& answer) {
        std::fill_n(call.pointer<char>(0), 450, 'x');
        answer.returns(450);
    });
    for (const Telling& entry : all_calls) {
        entry.story();
        EXPECT_THAT(core().calls().back(), Printed(std::string(449, 'x'))) << entry.name;
    }
}

} // namespace
} // namespace qnm
