// Every test of every check: alone, against what is published, and in the company of others.
#include "checks.hpp"
#include "support/published.hpp"

#include <algorithm>
#include <cctype>
#include <limits>

namespace qnm::tests {
namespace {

class Checks : public BlasTest {};

std::string signature(const Entry& entry)
{
    std::string kinds;
    for (const Argument& a : entry.row->arguments)
        kinds += a.kind == Kind::character || a.kind == Kind::letters ? 'c'
                 : a.kind == Kind::value                              ? 'v'
                 : a.kind == Kind::integer && !entry.row->groups      ? 'i'
                                                                      : 'p';
    return kinds;
}

std::string signature(const Published& facts)
{
    const std::string arguments = facts.arguments;
    const bool groups = arguments.find("group_size") != std::string::npos;
    std::string kinds;
    for (const Parameter& p : parameters(arguments))
        kinds += p.by_value                                 ? 'v'
                 : !p.letters.empty() || p.name == "srname" ? 'c'
                 : is_integer(p.name) && !groups            ? 'i'
                                                            : 'p';
    return kinds;
}

/// Every letter, every other character, and the code of what is no letter.
void expect_letters(const Entry& entry, const Argument& a, const Parameter& p)
{
    SampleCall call(entry);
    for (int c = 1; c < 128; ++c) {
        core().clear();
        const bool good = p.letters.find(static_cast<char>(std::toupper(c))) != std::string::npos;
        call.choose(a.name, static_cast<char>(c)).settle();
        EXPECT_EQ(call.run_check().int32(), good ? 0 : 1) << static_cast<char>(c);
    }
    EXPECT_EQ(judged(call.choose(a.name, static_cast<char>(std::tolower(a.letters.back()))).settle()), 0);
    EXPECT_EQ(judged(call.choose(a.name, 'X')), p.code);
}

/// The last good value and the first bad one of an integer, for the letters and sizes of a call.
void expect_bound(const SampleCall& good, const Published& facts, const Argument& a, const Parameter& p)
{
    const std::vector<Parameter> all = parameters(facts.arguments);
    const auto argument = [&](const std::string& name) -> const Argument& {
        const auto found =
            std::find_if(all.begin(), all.end(), [&](const auto& q) { return q.name == name; });
        return good.row().arguments.at(static_cast<std::size_t>(found - all.begin()));
    };
    const auto letter = [&](const std::string& option) { return good.letter(argument(option)); };
    const auto with = [&](std::int64_t value) { return judged(SampleCall(good).set(a.name, value, 0)); };
    if (!p.tested) {
        for (const int value : {-1'000'000, -1, 0, 1})
            EXPECT_NE(with(value), p.code) << value;
        return;
    }
    if (p.name.starts_with("inc")) {
        EXPECT_EQ(with(0), p.code);
        return;
    }
    const std::int64_t bound = least(
        facts.bounds, p.name, [&](const std::string& name) { return good.integer(argument(name)); },
        [&](const std::string& option) {
            return std::string("NOLA").find(letter(option)) != std::string::npos;
        });
    const std::string option = "trans" + p.name.substr(std::min<std::size_t>(2, p.name.size()));
    const bool packed = (p.name == "lda" || p.name == "ldb") && option_of(option) != nullptr &&
                        std::string(facts.arguments).find(option) != std::string::npos &&
                        letter(option) == 'P';
    EXPECT_EQ(with(bound), 0);
    EXPECT_EQ(with(bound - 1), packed ? 0 : p.code);
}

TEST_F(Checks, AreThePublishedOnes)
{
    std::set<std::string> all;
    std::size_t checked = 0;
    const std::map<std::string, Class> classes{{"checked", Class::checked},
                                               {"unchecked", Class::unchecked},
                                               {"registered", Class::registered},
                                               {"scratch", Class::scratch},
                                               {"bare", Class::bare}};
    for (const Published& facts : published())
        for (const auto& member : expand(facts.members))
            for (const char* width : {"", "_64"}) {
                const std::string name = catalogue::to_upper(member.first) + width;
                if (name.ends_with("_DIRECT_64"))
                    continue; // these have no wide member
                SCOPED_TRACE(name);
                EXPECT_TRUE(all.insert(name).second);
                const Entry& e = entry(name);
                ASSERT_EQ(signature(e), signature(facts));
                EXPECT_EQ(e.row->entry_class, classes.at(facts.entry_class));
                if (e.row->entry_class != Class::checked)
                    continue;
                ++checked;
                const std::vector<Parameter> told = parameters(facts.arguments);
                const auto each = [&](auto visit) {
                    for (std::size_t i = 0; i < told.size(); ++i) {
                        SCOPED_TRACE(told[i].name);
                        visit(e.row->arguments[i], told[i]);
                    }
                };
                each([&](const Argument& a, const Parameter& p) {
                    if (!p.letters.empty())
                        expect_letters(e, a, p);
                });
                for_each_letters(e, [&](const SampleCall& good) {
                    SampleCall empty = good;
                    each([&](const Argument& a, const Parameter& p) {
                        if (is_integer(p.name) && p.name.size() <= 2 && p.name != "ld" && p.tested)
                            empty.set(a.name, 0);
                    });
                    each([&](const Argument& a, const Parameter& p) {
                        for (const SampleCall* call : {&good, static_cast<const SampleCall*>(&empty)})
                            if (is_integer(p.name))
                                expect_bound(*call, facts, a, p);
                    });
                });
            }
    EXPECT_EQ(checked, 420U);
    EXPECT_EQ(checked_entries().size(), 420U);
    for (const Entry& e : entries())
        EXPECT_TRUE(all.contains(e.name())) << e.name();
}

TEST_F(Checks, OfTwoBadArgumentsTheOneTestedFirstIsReported)
{
    for (const Entry* e : checked_entries()) {
        QNM_TRACE_ENTRY(*e);
        const auto order = testing_order(*e);
        for (std::size_t second = 1; second < order.size(); ++second)
            for (std::size_t first = 0; first < second; ++first) {
                SampleCall call(*e);
                const bool each_group =
                    order[first]->kind == Kind::integers || order[first]->kind == Kind::letters;
                spoil(spoil(call, *order[second]), *order[first], each_group ? SampleCall::groups - 1 : 0);
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

// The product of a stride's bound wraps in the caller's width.
TEST_F(Checks, ABoundByProductIsFormedInTheCallersWidth)
{
    const auto code = [](const char* name, std::int64_t size, std::int64_t stridec) {
        SampleCall call(name);
        call.set("m", 1).set("k", 1).set("n", size).set("ldc", size).set("stridec", stridec);
        return judged(call);
    };
    constexpr std::int64_t half = std::int64_t{1} << 32;
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED", 65536, 1), 0);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", 65536, 1), 16);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", 65536, half - 1), 16);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", 65536, half), 0);
    EXPECT_EQ(code("DGEMM_BATCH_STRIDED_64", half, 1), 0);
}

// The letters that sizes depend on are asked for first, the others only as they are needed.
TEST_F(Checks, DgemmAsksForItsLettersInOrder)
{
    core().listen("qnm_serv_lsame");
    const auto asked = [](char transa, char transb) {
        SampleCall call("DGEMM");
        call.choose("transa", transa).choose("transb", transb).set("lda", 500).set("ldb", 500);
        core().clear();
        call.run_check();
        std::string letters;
        for (const Call& noted : core().calls("qnm_serv_lsame")) {
            const bool first = noted.word(0) == call.word(*call.row().find("transa")).bits();
            letters += std::string(letters.empty() ? "" : " ") + (first ? "a" : "b") + noted.letter(1);
            EXPECT_EQ(noted.word(2), 1U);
            EXPECT_EQ(noted.word(3), 1U);
        }
        return letters;
    };
    EXPECT_EQ(asked('n', 'N'), "aN bN");
    EXPECT_EQ(asked('T', 'N'), "aN bN aC aT");
    EXPECT_EQ(asked('c', 't'), "aN bN aC bC bT");
    EXPECT_EQ(asked('X', 'T'), "aN bN aC aT");
}

} // namespace
} // namespace qnm::tests
