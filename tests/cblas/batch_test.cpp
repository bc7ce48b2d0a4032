// Group batches: arrays of codes that become letters, blocks of groups, memory, reports.
#include "c_call.hpp"

#include <set>

namespace qnm::tests {
namespace {

using recording::Answer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

bool is_address_array(const std::string& name)
{
    return name.size() == 1 && std::string("abcxy").find(name) != std::string::npos;
}

bool is_integer_array(const std::string& name)
{
    return name == "m" || name == "n" || name == "k" || name.starts_with("ld") || name.starts_with("inc");
}

/// A call of a group form. Sizes and codes are those of one plain call in each group, but where told.
class GroupCall {
public:
    GroupCall(const Member& member, int layout, int groups) : base_(member, layout), groups_(groups)
    {
        for (const std::string& name : base_.names()) {
            if (option_of(name) != nullptr)
                for (int g = 0; g < groups; ++g)
                    codes_[name].push_back(static_cast<int>(base_.value(name)));
            else if (is_integer_array(name))
                integers_[name].assign(at(groups), base_.value(name));
            else if (is_address_array(name))
                for (int p = 0; p < 2 * groups + 1; ++p)
                    addresses_[name].push_back(base_.address(name));
            else if (name == "alpha" || name == "beta")
                scalars_[name].resize(4 * at(groups));
        }
        for (int g = 0; g < groups; ++g)
            sizes_.push_back(g % 2 + 1); // at most two problems in a group
        count_ = groups;
    }

    const Member& member() const { return base_.member(); }
    const CCall& base() const { return base_; }
    int groups() const { return groups_; }
    int problems_before(int group) const
    {
        int before = 0;
        for (int g = 0; g < group; ++g)
            before += static_cast<int>(sizes_[at(g)]);
        return before;
    }

    GroupCall& count(std::int64_t value)
    {
        count_ = value;
        return *this;
    }
    GroupCall& null(const std::string& name)
    {
        nulls_.insert(name);
        return *this;
    }
    GroupCall& set(const std::string& name, int group, std::int64_t value)
    {
        if (option_of(name) != nullptr)
            codes_.at(name)[at(group)] = static_cast<int>(value);
        else
            integers_.at(name)[at(group)] = value;
        return *this;
    }
    GroupCall& point(const std::string& name, int problem, const void* address)
    {
        addresses_.at(name)[at(problem)] = address;
        return *this;
    }
    GroupCall& spoil(const std::string& name, int group)
    {
        if (name == "layout")
            base_.set("layout", 0);
        else if (name == "group_count")
            count(-1);
        else if (is_address_array(name))
            null(name);
        else
            set(name, group, CCall(base_).spoil(name).value(name));
        return *this;
    }

    std::vector<double>& scalars(const std::string& name) { return scalars_.at(name); }

    void run()
    {
        std::vector<support::Word> list;
        if (member().has_layout())
            list.emplace_back(static_cast<std::int32_t>(base_.value("layout")));
        for (auto& [name, values] : integers_)
            narrow_[name].assign(values.begin(), values.end());
        narrow_sizes_.assign(sizes_.begin(), sizes_.end());
        for (const std::string& name : base_.names()) {
            if (name == "group_count" && member().wide)
                list.emplace_back(count_);
            else if (name == "group_count")
                list.emplace_back(static_cast<std::int32_t>(count_));
            else
                list.emplace_back(array(name));
        }
        support::call_words(layer()[member().name()], list);
    }

    const char* array(const std::string& name) const
    {
        if (nulls_.count(name) != 0)
            return nullptr;
        const void* found = nullptr;
        if (option_of(name) != nullptr)
            found = codes_.at(name).data();
        else if (is_integer_array(name))
            found =
                member().wide ? static_cast<const void*>(integers_.at(name).data()) : narrow_.at(name).data();
        else if (is_address_array(name))
            found = addresses_.at(name).data();
        else if (name == "group_size")
            found = member().wide ? static_cast<const void*>(sizes_.data()) : narrow_sizes_.data();
        else
            found = scalars_.at(name).data();
        return static_cast<const char*>(found);
    }

    /// Expects one call of the core for some groups. Letters are read while it is under way.
    void expect_block(const Call& noted, int first, int count) const
    {
        const std::vector<std::string> places = base_.layout() == row_major && member().has_layout()
                                                    ? words(member().family->rows)
                                                    : base_.names();
        const int integer = member().wide ? 8 : 4;
        for (std::size_t i = 0; i < places.size(); ++i) {
            const std::string name = places[i].substr(0, places[i].find(':'));
            SCOPED_TRACE(name);
            const char* passed = noted.pointer<const char>(i);
            if (option_of(name) != nullptr) {
                std::string letters, expected;
                for (int g = first; g < first + count; ++g) {
                    letters += passed[g - first];
                    expected += CCall(base_).set(name, codes_.at(name)[at(g)]).expected_letter(name);
                }
                EXPECT_EQ(letters, expected);
            } else if (name == "group_count") {
                EXPECT_EQ(member().wide ? *noted.pointer<std::int64_t>(i) : *noted.pointer<int>(i), count);
            } else {
                const int size = is_address_array(name) ? 8 * problems_before(first)
                                 : name == "alpha" || name == "beta"
                                     ? first * (member().single() ? 4 : 8) * (member().complex() ? 2 : 1)
                                     : first * integer;
                EXPECT_EQ(passed, array(name) + size);
            }
        }
        EXPECT_EQ(noted.int32(places.size()), member().wide ? 0 : 1) << "the width flag";
    }

private:
    static std::size_t at(int i) { return static_cast<std::size_t>(i); }

    CCall base_;
    int groups_;
    std::int64_t count_ = 0;
    std::set<std::string> nulls_;
    std::map<std::string, std::vector<int>> codes_, narrow_;
    std::map<std::string, std::vector<std::int64_t>> integers_;
    std::map<std::string, std::vector<const void*>> addresses_;
    std::map<std::string, std::vector<double>> scalars_;
    std::vector<int> narrow_sizes_;
    std::vector<std::int64_t> sizes_;
};

class Groups : public recording::RecordedTest {
protected:
    Groups() { core().ignore("qnm_serv_verbose_mode"); }
};

template <class Visit>
void each(Visit visit)
{
    for (const Member& member : members_in(group_families()))
        for (const int layout : {column_major, row_major}) {
            if (layout == row_major && !member.has_layout())
                continue;
            SCOPED_TRACE(member.name() + " " + std::to_string(layout));
            visit(member, layout);
            if (::testing::Test::HasFatalFailure())
                return;
        }
}

bool in_blocks(const Member& member)
{
    return member.routine.find("gemm") != std::string::npos ||
           member.routine.find("trsm") != std::string::npos;
}

/// Blocks that the family has for its letters.
std::size_t letter_blocks(const Member& member)
{
    return in_blocks(member) || !member.has_layout()          ? 0U
           : member.routine.find("syrk") != std::string::npos ? 2U
                                                              : 1U;
}

/// Codes that vary from group to group, without the one that conjugates.
void vary_codes(GroupCall& call)
{
    for (const std::string& name : call.base().names())
        if (const Option* option = option_of(name))
            for (int g = 0; g < call.groups(); ++g)
                call.set(name, g, option->first + (g + static_cast<int>(name.size())) % 2);
}

TEST_F(Groups, CountAsPublished)
{
    EXPECT_EQ(members_in(group_families()).size(), 2U * 30);
}

TEST_F(Groups, TheCoreGetsLettersAndTheCallersArrays)
{
    each([](const Member& member, int layout) {
        GroupCall call(member, layout, 3);
        vary_codes(call);
        int calls = 0;
        core().answers(member.core()).calling([&](Call& noted, Answer&) {
            ++calls;
            call.expect_block(noted, 0, 3);
        });
        core().clear();
        call.run();
        EXPECT_EQ(calls, 1);
        const auto blocks = core().calls("qnm_serv_malloc");
        EXPECT_EQ(blocks.size(), letter_blocks(member));
        for (const Call& block : blocks) {
            EXPECT_EQ(block.int64(0), 3);
            EXPECT_EQ(block.int32(1), 64);
        }
        EXPECT_EQ(core().calls("qnm_serv_free").size(), blocks.size());
        EXPECT_THAT(reports(), IsEmpty());
    });
}

TEST_F(Groups, ManyGroupsGoInBlocksOf1024)
{
    each([](const Member& member, int layout) {
        if (!in_blocks(member))
            return;
        for (const int groups : {1024, 1025, 2049}) {
            GroupCall call(member, layout, groups);
            vary_codes(call);
            int first = 0;
            core().answers(member.core()).calling([&](Call& noted, Answer&) {
                const int count = std::min(1024, groups - first);
                call.expect_block(noted, first, count);
                first += count;
            });
            core().clear();
            call.run();
            EXPECT_EQ(first, groups);
            EXPECT_EQ(core().calls(member.core()).size(), static_cast<std::size_t>((groups + 1023) / 1024));
            EXPECT_THAT(core().calls("qnm_serv_malloc"), IsEmpty());
        }
    });
}

TEST_F(Groups, EachBadElementAndEachMissingArrayIsReported)
{
    each([](const Member& member, int layout) {
        for (const Step& step : CCall(member, layout).steps())
            for (const bool missing : {false, true}) {
                if (missing && (step.argument == "layout" || step.argument == "group_count"))
                    continue;
                for (const int group : {0, 4}) {
                    SCOPED_TRACE(step.argument + " of group " + std::to_string(group));
                    GroupCall call(member, layout, 5);
                    if (missing)
                        call.null(step.argument);
                    else
                        call.spoil(step.argument, group);
                    core().clear();
                    call.run();
                    EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), step.code)));
                    EXPECT_THAT(core().calls(member.core()), IsEmpty());
                    EXPECT_EQ(core().live_blocks(), 0U);
                }
            }
    });
}

TEST_F(Groups, TestsStandInTheirOrder)
{
    each([](const Member& member, int layout) {
        const std::vector<Step> all = CCall(member, layout).steps();
        for (std::size_t first = 0; first < all.size(); ++first)
            for (std::size_t second = first + 1; second < all.size(); ++second) {
                SCOPED_TRACE(all[first].argument + " and " + all[second].argument);
                // A negative number of groups has no elements; then a missing array stands for a bad one.
                const bool negative =
                    all[first].argument == "group_count" || all[second].argument == "group_count";
                GroupCall call(member, layout, 5);
                for (const std::size_t bad : {first, second}) {
                    const std::string& name = all[bad].argument;
                    if (negative && name != "group_count" && name != "layout")
                        call.null(name);
                    else
                        call.spoil(name, bad == first ? 4 : 0);
                }
                core().clear();
                call.run();
                EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), all[first].code)));
            }
    });
}

TEST_F(Groups, WithoutGroupsArraysMustStillBeThere)
{
    each([](const Member& member, int layout) {
        GroupCall none(member, layout, 1);
        core().clear();
        none.count(0).run();
        EXPECT_THAT(reports(), IsEmpty());
        const bool calls = !member.has_layout() || member.routine.find("gemv") != std::string::npos;
        EXPECT_EQ(core().calls(member.core()).size(), calls ? 1U : 0U);
        for (const Step& step : none.base().steps()) {
            if (step.argument == "layout" || step.argument == "group_count")
                continue;
            GroupCall call(member, layout, 1);
            core().clear();
            call.count(0).null(step.argument).run();
            EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), step.code)));
        }
    });
}

TEST_F(Groups, WithoutMemoryNothingIsCalledAndNothingLost)
{
    each([](const Member& member, int layout) {
        for (std::size_t failing = 1; failing <= letter_blocks(member); ++failing) {
            GroupCall call(member, layout, 3);
            // gemv asks for memory ahead of its other tests.
            if (member.routine.find("gemv") != std::string::npos)
                call.spoil("layout", 0).null("m");
            core().clear();
            core().fail_allocation(failing);
            call.run();
            EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), 1000)));
            EXPECT_THAT(core().calls(member.core()), IsEmpty());
            EXPECT_EQ(core().live_blocks(), 0U);
        }
    });
}

/// Complex gemv_batch, row-major: groups 0 and 2 of three conjugate. Group 1 has two problems, the others
/// one.
template <class R>
struct ConjugatedGroups {
    explicit ConjugatedGroups(const Member& member) : call(member, row_major, 3)
    {
        call.set("trans", 0, 113)
            .set("trans", 1, 112)
            .set("trans", 2, 113)
            .set("incx", 2, -3)
            .set("incy", 2, -2);
        call.set("m", 2, 2).set("n", 0, 0); // group 0 has an empty y
        for (std::size_t p = 0; p < 4; ++p)
            for (auto* vectors : {&x, &y}) {
                for (std::size_t i = 0; i < 40; ++i)
                    (*vectors)[p][i] = static_cast<R>(100 * (p + 1) + i + (vectors == &y ? 1000 : 0));
                call.point(vectors == &x ? "x" : "y", static_cast<int>(p), (*vectors)[p].data());
            }
        R* alpha = reinterpret_cast<R*>(call.scalars("alpha").data());
        R* beta = reinterpret_cast<R*>(call.scalars("beta").data());
        for (int i = 0; i < 6; ++i) {
            alpha[i] = static_cast<R>(i + 1);
            beta[i] = static_cast<R>(i + 11);
        }
    }

    GroupCall call;
    std::array<std::array<R, 40>, 4> x{}, y{};
};

template <class R>
void expect_conjugated_groups(const Member& member)
{
    SCOPED_TRACE(member.name());
    ConjugatedGroups<R> groups(member);
    const auto x = groups.x;
    const auto y = groups.y;
    int calls = 0;
    core().answers(member.core()).calling([&](Call& noted, Answer&) {
        ++calls;
        EXPECT_EQ(std::string(noted.pointer<const char>(0), 3), "NNN");
        const R* alpha = noted.pointer<const R>(3);
        EXPECT_EQ(std::vector<R>(alpha, alpha + 6), (std::vector<R>{1, -2, 3, 4, 5, -6}));
        const R* beta = noted.pointer<const R>(8);
        EXPECT_EQ(std::vector<R>(beta, beta + 6), (std::vector<R>{11, -12, 13, 14, 15, -16}));
        const auto* xs = noted.pointer<const R* const>(6);
        auto* const* ys = noted.pointer<R* const>(9);
        EXPECT_EQ(xs[1], groups.x[1].data());
        EXPECT_EQ(xs[2], groups.x[2].data());
        EXPECT_EQ(ys[1], groups.y[1].data());
        EXPECT_EQ(ys[0], groups.y[0].data()) << "an empty vector stays where it is";
        for (std::size_t i = 0; i < 3; ++i) { // m is 3, incx 2
            EXPECT_EQ(xs[0][4 * i], x[0][4 * i]);
            EXPECT_EQ(xs[0][4 * i + 1], -x[0][4 * i + 1]);
        }
        for (std::size_t i = 0; i < 2; ++i) { // m is 2, incx -3
            EXPECT_EQ(xs[3][6 * i], x[3][6 * i]);
            EXPECT_EQ(xs[3][6 * i + 1], -x[3][6 * i + 1]);
        }
        for (std::size_t i = 0; i < 4; ++i) { // n is 4, incy -2
            EXPECT_EQ(ys[3][4 * i], y[3][4 * i]);
            EXPECT_EQ(ys[3][4 * i + 1], -y[3][4 * i + 1]);
            ys[3][4 * i] = static_cast<R>(7 + i);
            ys[3][4 * i + 1] = static_cast<R>(70 + i);
        }
    });
    core().clear();
    groups.call.run();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(groups.x, x);
    auto expected = y;
    for (std::size_t i = 0; i < 4; ++i) {
        expected[3][4 * i] = static_cast<R>(7 + i);
        expected[3][4 * i + 1] = -static_cast<R>(70 + i);
    }
    EXPECT_EQ(groups.y, expected);
    // Letters, alpha, beta, two arrays of addresses, x and y of the groups that conjugate.
    const auto blocks = core().calls("qnm_serv_malloc");
    EXPECT_THAT(blocks, SizeIs(1 + 2 + 2 + 3));
    for (const Call& block : blocks)
        EXPECT_EQ(block.int32(1), 64);
    std::multiset<std::int64_t> bytes;
    for (const Call& block : blocks)
        bytes.insert(block.int64(0));
    const std::int64_t element = 2 * sizeof(R);
    EXPECT_EQ(bytes, (std::multiset<std::int64_t>{3, 3 * element, 3 * element, 32, 32, 5 * element,
                                                  4 * element, 7 * element}));
    for (std::size_t failing = 1; failing <= blocks.size(); ++failing) {
        ConjugatedGroups<R> again(member);
        core().clear();
        core().fail_allocation(failing);
        again.call.run();
        EXPECT_THAT(reports(), ElementsAre(std::pair(member.name(), 1000)));
        EXPECT_THAT(core().calls(member.core()), IsEmpty());
        EXPECT_EQ(core().live_blocks(), 0U);
        EXPECT_EQ(again.y, y);
    }
}

TEST_F(Groups, ConjugatedGroupsWorkOnCopies)
{
    for (const Member& member : members_in(group_families()))
        if (member.routine == "cgemv_batch")
            expect_conjugated_groups<float>(member);
        else if (member.routine == "zgemv_batch")
            expect_conjugated_groups<double>(member);
}

} // namespace
} // namespace qnm::tests
