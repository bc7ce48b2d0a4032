// Entries of data fitting that look at their arguments: tests in order, and what their kernels get.
#include "unbound.hpp"

#include <dlfcn.h>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Words = std::vector<std::int64_t>;

/// A status, and the argument that is good behind it; `coefficients` are the task's.
struct Step {
    int status, place;
    std::int64_t good;
};
constexpr int coefficients = -1;

class Fitting : public Unbound {
protected:
    struct Task {
        std::int64_t head[5]{}, functions = 3, y[2]{}, order = 4, type = 2, conditions[4]{};
        const void* const* coefficients = nullptr;
        std::int64_t hint = 0;
        int trusted = 0;
    } task_;
    const void* coefficients_[3]{this, this, this};
    static_assert(offsetof(Task, functions) == 40 && offsetof(Task, type) == 72 &&
                  offsetof(Task, coefficients) == 112 && offsetof(Task, trusted) == 128);

    void SetUp() override
    {
        task_.coefficients = coefficients_;
        core().ignore("dlsym");
        core().ignore("qnm_serv_load_vml");
    }
    std::int64_t task() const { return reinterpret_cast<std::int64_t>(&task_); }

    /// A call by value and one by reference, with junk above integers, whose places are told.
    struct Entry {
        std::string name;
        Words words;
        std::set<std::size_t> integers;

        int operator()() const
        {
            Words places = words;
            std::vector<support::Word> by_value, by_reference;
            for (std::size_t i = 0; i < words.size(); ++i) {
                const bool integer = integers.contains(i);
                integer ? by_value.emplace_back(static_cast<int>(words[i])) : by_value.emplace_back(words[i]);
                if (integer)
                    places[i] = 0x5A5A5A5A00000000 | static_cast<std::uint32_t>(words[i]);
                integer || i == 0 ? by_reference.emplace_back(&places[i])
                                  : by_reference.emplace_back(words[i]);
            }
            core().clear();
            const int status = support::call_words(layer()["df" + name], by_value).int32();
            void* const other = layer()["DF" + catalogue::to_upper(name) + "_"];
            EXPECT_EQ(support::call_words(other, by_reference).int32(), status);
            return status;
        }
        int operator()(std::size_t place, std::int64_t value) const { return with(place, value)(); }
        Entry with(std::size_t place, std::int64_t value) const
        {
            Entry other = *this;
            other.words[place] = value;
            return other;
        }
        /// The entry without callbacks, which its kernel gets as nulls.
        Entry plain(std::size_t callbacks) const
        {
            Entry other = *this;
            other.name.erase(other.name.find("Ex"), 2);
            other.words.resize(words.size() - callbacks);
            return other;
        }
    };
    /// Both calls, with the threader behind all.
    static void expect_kernel(const std::string& name, Words words)
    {
        ASSERT_THAT(story(), ElementsAre("qnm_df_kernel_" + name, "qnm_df_kernel_" + name));
        words.push_back(reinterpret_cast<std::int64_t>(dlsym(RTLD_DEFAULT, "qnm_df_serv_threader_for")));
        EXPECT_NE(words.back(), 0);
        for (const Call& call : core().calls())
            for (std::size_t i = 0; i < words.size(); ++i)
                EXPECT_EQ(call.int64(i), words[i]) << "word " << i;
    }
    /// Begins with all arguments bad that these name.
    Entry expect_in_order(Entry entry, const std::vector<std::pair<std::size_t, std::int64_t>>& bad,
                          const std::vector<Step>& steps)
    {
        for (const auto& [place, value] : bad)
            entry.words[place] = value;
        task_.coefficients = nullptr;
        EXPECT_EQ(entry(0, 0), -1000);
        for (const auto& [status, place, good] : steps) {
            EXPECT_EQ(entry(), status);
            EXPECT_THAT(story(), IsEmpty());
            if (place == coefficients)
                task_.coefficients = coefficients_;
            else
                entry.words[static_cast<std::size_t>(place)] = good;
        }
        EXPECT_EQ(entry(), 0);
        return entry;
    }

    Entry interpolation_{
        "dInterpolateEx1D",
        {task(), 1, 1, 5, 104, 0, 2, 107, 108, 109, -10, 111, 112, 113, 114, 115, 116, 117, 118, 119},
        {1, 2, 3, 5, 6, 10}};
};

TEST_F(Fitting, InterpolationTestsInOrder)
{
    for (const Entry& entry : {interpolation_, interpolation_.plain(8)}) {
        task_.trusted = 0;
        const Entry good =
            expect_in_order(entry, {{1, 8}, {2, 0}, {3, 0}, {4, 0}, {5, 2}, {6, 0}, {9, 0}, {11, 0}},
                            {{-1003, 1, 3},
                             {-1002, 2, 2},
                             {-1002, 2, 1},
                             {-1022, 4, 104},
                             {-1021, 3, -1},
                             {-1021, 3, 1},
                             {-1023, 5, 0},
                             {-1016, coefficients, 0},
                             {-1027, 9, 109},
                             {-1024, 6, -1},
                             {-1024, 7, 0},
                             {-1025, 6, 1},
                             {-1025, 6, 0},
                             {-1029, 11, 111}});
        for (const int hint : {1, 4, 0x40, -7})
            EXPECT_EQ(good(5, hint), 0) << hint;
        EXPECT_EQ(good.with(11, 0)(1, 2), -1029);
        EXPECT_EQ(good.with(11, 0)(1, 5), 0); // cells that are given
        for (const void*& pointer : coefficients_) {
            pointer = nullptr;
            EXPECT_EQ(good(), -1016);
            pointer = this;
        }
        task_.trusted = 1;
        EXPECT_EQ(good(1, 0), -1003);
        EXPECT_EQ(good(1, 8), -1003);
        const Entry bad = good.with(2, 0).with(3, 0).with(4, 0).with(5, 2).with(11, 0);
        EXPECT_EQ(bad(), 0);
        EXPECT_EQ(bad(1, 2), 0);
    }
}

TEST_F(Fitting, LookUpAndStepsNeedNoCoefficients)
{
    task_.coefficients = nullptr;
    for (task_.type = 0; task_.type < 12; ++task_.type) {
        const int status = task_.type >= 6 && task_.type <= 8 ? 0 : -1016;
        EXPECT_EQ(interpolation_(), status) << task_.type;
        EXPECT_EQ((Entry{"sConstruct1D", {task(), 0, 0}, {1, 2}}()), status) << task_.type;
    }
    task_.coefficients = coefficients_;
    task_.functions = 0;
    coefficients_[0] = nullptr;
    EXPECT_EQ(interpolation_(), 0);
}

TEST_F(Fitting, InterpolationGetsEveryArgument)
{
    for (const auto& [type, passed] : {std::pair{1, 1}, {3, 3}, {9, 9}, {4, 4}, {7, 4}, {13, 4}}) {
        Words words = interpolation_.with(1, passed).words;
        EXPECT_EQ(interpolation_(1, type), 0);
        expect_kernel("dDFInterpolate1D", words);
        EXPECT_EQ(interpolation_.plain(8)(1, type), 0);
        std::fill(words.begin() + 12, words.end(), 0);
        expect_kernel("dDFInterpolate1D", words);
    }
    core().answers("qnm_df_kernel_dDFSearch1D").with(-77);
    EXPECT_EQ(interpolation_(1, 2), -77);
    expect_kernel("dDFSearch1D", {task(), 1, 5, 104, 0, 108, 111, 118, 119});
    EXPECT_EQ(interpolation_.plain(8)(1, 2), -77);
    expect_kernel("dDFSearch1D", {task(), 1, 5, 104, 0, 108, 111, 0, 0});
}

TEST_F(Fitting, Integration)
{
    const Entry with{
        "sIntegrateEx1D",
        {task(), -1, 5, 103, -4, 105, -6, 107, 108, 109, -10, 111, 112, 113, 114, 115, 116, 117, 118},
        {1, 2, 4, 6, 10}};
    for (const Entry& entry : {with, with.plain(8)}) {
        task_.trusted = 0;
        Entry good = expect_in_order(
            entry, {{2, 0}, {3, 0}, {5, 0}, {9, 0}},
            {{-1031, 3, 103}, {-1032, 5, 105}, {-1030, 2, 5}, {-1016, coefficients, 0}, {-1033, 9, 109}});
        good.words.resize(with.words.size());
        expect_kernel("sDFIntegrate1D", good.words);
        task_.trusted = 1;
        EXPECT_EQ(entry.with(2, 0).with(3, 0)(5, 0), 0);
    }
}

TEST_F(Fitting, Search)
{
    const Entry with{"dSearchCellsEx1D", {task(), 0, 5, 103, 0x40, 105, 106, 107, 108}, {1, 2, 4}};
    for (const Entry& entry : {with, with.plain(2)}) {
        task_.trusted = 0;
        Entry good = expect_in_order(
            entry, {{1, 2}, {2, 0}, {3, 0}, {4, 2}, {6, 0}},
            {{-1002, 1, -1}, {-1002, 1, 1}, {-1022, 3, 103}, {-1021, 2, 5}, {-1023, 4, 4}, {-1029, 6, 106}});
        good.words.resize(with.words.size());
        expect_kernel("dDFSearch1D", good.words);
        EXPECT_EQ(entry(), 0);
        task_.trusted = 1;
        EXPECT_EQ(entry.with(1, 7).with(2, 0).with(3, 0)(4, 2), 0);
    }
}

TEST_F(Fitting, TypeAndOrderChooseAKernel)
{
    const std::map<std::pair<std::int64_t, std::int64_t>, const char*> kernels{
        {{0, 2}, "Linear"},      {{0, 3}, "Quadratic"},    {{0, 4}, "DefaultCubic"},
        {{1, 3}, "Quadratic"},   {{2, 4}, "NaturalCubic"}, {{3, 4}, "HermiteCubic"},
        {{4, 4}, "BesselCubic"}, {{5, 4}, "AkimaCubic"},   {{9, 4}, "HymanCubic"}};
    for (task_.type = -1; task_.type < 12; ++task_.type)
        for (task_.order = 0; task_.order < 7; ++task_.order)
            for (const std::string letter : {"s", "d"}) {
                SCOPED_TRACE(std::to_string(task_.type) + " of order " + std::to_string(task_.order));
                const Entry construct{letter + "Construct1D", {task(), -5, 7}, {1, 2}};
                const int status = construct();
                if (const auto kernel = kernels.find({task_.type, task_.order}); kernel != kernels.end()) {
                    EXPECT_EQ(status, 0);
                    expect_kernel(letter + "DF" + kernel->second + "Spline1D", construct.words);
                } else {
                    EXPECT_THAT(story(), IsEmpty());
                    const bool none = task_.type >= 6 && task_.type <= 8;
                    EXPECT_EQ(status, none ? 0 : task_.type < 0 || task_.type > 9 ? -1011 : -1010);
                }
                EXPECT_EQ(construct(0, 0), -1000);
            }
}

} // namespace
} // namespace qnm::tests
