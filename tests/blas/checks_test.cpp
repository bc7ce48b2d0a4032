// Every test of every check, alone and in the company of others.
#include "checks.hpp"

#include <algorithm>
#include <cctype>
#include <limits>

namespace qnm::tests {
namespace {

class Checks : public BlasTest {};

bool left_out(const SampleCall& call, const Argument& a)
{
    return a.unless && call.holds(*a.unless);
}

TEST_F(Checks, BoundsHoldToTheLastUnitForEveryCombinationOfLetters)
{
    for (const Entry* e : checked_entries()) {
        QNM_TRACE_ENTRY(*e);
        for_each_letters(*e, [&](const SampleCall& good) {
            ASSERT_EQ(judged(good), 0);
            for (const Argument* a : testing_order(*e)) {
                SCOPED_TRACE(a->name);
                if (a->minimum) {
                    SampleCall at = good;
                    EXPECT_EQ(judged(at.set(a->name, at.bound(*a), 0)), 0);
                }
                SampleCall bad = good;
                spoil(bad, *a);
                EXPECT_EQ(judged(bad), left_out(good, *a) ? 0 : e->row->code(*a));
            }
        });
    }
}

TEST_F(Checks, ZeroSizesPassWithLeadingDimensionsOfOne)
{
    for (const Entry* e : checked_entries()) {
        QNM_TRACE_ENTRY(*e);
        SampleCall call(*e);
        for (const Argument& a : e->row->arguments)
            if (a.minimum && a.name != "group_count")
                call.set(a.name, std::max<std::int64_t>(0, call.bound(a)));
        EXPECT_EQ(judged(call), 0);
    }
}

TEST_F(Checks, LettersPassInEitherCaseAndNoOtherCharacterDoes)
{
    for (const Entry* e : checked_entries())
        for (const Argument& a : e->row->arguments) {
            if (a.letters.empty())
                continue;
            QNM_TRACE_ENTRY(*e);
            SampleCall call(*e);
            for (int c = 1; c < 128; ++c) {
                core().clear();
                const char upper = static_cast<char>(std::toupper(c));
                const bool good = a.letters.find(upper) != std::string::npos;
                call.choose(a.name, static_cast<char>(c)).settle();
                EXPECT_EQ(call.run_check().int32(), good ? 0 : 1) << a.name << ' ' << static_cast<char>(c);
            }
            call.choose(a.name, static_cast<char>(std::tolower(a.letters.back()))).settle();
            EXPECT_EQ(judged(call), 0) << a.name;
        }
}

TEST_F(Checks, OfTwoBadArgumentsTheOneTestedFirstIsReported)
{
    for (const Entry* e : checked_entries()) {
        QNM_TRACE_ENTRY(*e);
        const auto order = testing_order(*e);
        for (std::size_t second = 1; second < order.size(); ++second)
            for (std::size_t first = 0; first < second; ++first) {
                SampleCall call(*e);
                spoil(spoil(call, *order[second]), *order[first]);
                EXPECT_EQ(judged(call), e->row->code(*order[first]))
                    << order[first]->name << " and " << order[second]->name;
            }
    }
}

TEST_F(Checks, NothingBehindTheFirstBadArgumentIsTouched)
{
    for (const Entry* e : checked_entries()) {
        QNM_TRACE_ENTRY(*e);
        for (const Argument* bad : testing_order(*e)) {
            SampleCall call(*e);
            spoil(call, *bad);
            const std::set<std::string> needed = read_up_to(*e, *bad);
            for (const Argument& a : e->row->arguments)
                if (!needed.contains(a.name))
                    call.point(a.name, nullptr);
            EXPECT_EQ(judged(call), e->row->code(*bad)) << bad->name;
        }
    }
}

TEST_F(Checks, GroupBatchesLookAtEveryGroupAndNoFurther)
{
    for (const Entry* e : checked_entries()) {
        if (!e->row->groups)
            continue;
        QNM_TRACE_ENTRY(*e);
        for (const Argument* a : testing_order(*e)) {
            if (a->name == "group_count")
                continue;
            for (int group = 0; group < SampleCall::groups; ++group) {
                SampleCall call(*e);
                spoil(call, *a, group);
                EXPECT_EQ(judged(call), e->row->code(*a)) << a->name << " of group " << group;
                call.set("group_count", group);
                EXPECT_EQ(judged(call), 0) << a->name << " behind " << group << " groups";
            }
        }
        SampleCall none(*e);
        none.set("group_count", 0);
        for (const Argument& a : e->row->arguments)
            if (a.name != "group_count")
                none.point(a.name, nullptr);
        EXPECT_EQ(judged(none), 0);
    }
}

TEST_F(Checks, WideMembersCompareIn64Bits)
{
    constexpr std::int64_t carry = std::int64_t{1} << 32;
    for (const Entry* e : checked_entries()) {
        if (e->width == Width::narrow)
            continue;
        QNM_TRACE_ENTRY(*e);
        for (const Argument* a : testing_order(*e)) {
            SCOPED_TRACE(a->name);
            if (!a->letters.empty() || a->name == "group_count")
                continue;
            SampleCall below(*e);
            if (a->minimum) {
                for (const std::int64_t value : {std::int64_t{-1}, below.bound(*a) - carry})
                    EXPECT_EQ(judged(below.set(a->name, value)), e->row->code(*a)) << value;
            }
            // Zero in its low half; whatever is measured against it has to be as large.
            SampleCall large(*e);
            large.set(a->name, carry);
            for (const Argument* b : testing_order(*e))
                if (b != a && b->minimum && b->name != "group_count" && !b->name.starts_with("stride"))
                    large.set(b->name, std::max(large.integer(*b), large.bound(*b)));
            for (const Argument* b : testing_order(*e))
                if (b != a && b->name.starts_with("stride"))
                    large.set(b->name, std::numeric_limits<std::int64_t>::max());
            EXPECT_EQ(judged(large), 0);
        }
    }
}

} // namespace
} // namespace qnm::tests
