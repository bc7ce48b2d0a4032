// Entries of data fitting that look at their arguments: tests in order, and what their kernels get.
#include "entry.hpp"

#include <dlfcn.h>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Words = std::vector<std::int64_t>;

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
    /// By the name of C and by reference, where `integers` are the places of such; they have 32 bits.
    static int run(const std::string& name, Words words, const std::set<std::size_t>& integers)
    {
        std::vector<support::Word> by_value, by_reference;
        for (std::size_t i = 0; i < words.size(); ++i)
            if (integers.contains(i)) {
                by_value.emplace_back(static_cast<int>(words[i]));
                words[i] =
                    static_cast<std::int64_t>(0x5A5A5A5A00000000U | static_cast<std::uint32_t>(words[i]));
                by_reference.emplace_back(&words[i]);
            } else {
                by_value.emplace_back(words[i]);
                by_reference.emplace_back(i == 0 ? support::Word(&words[i]) : support::Word(words[i]));
            }
        core().clear();
        const int status = support::call_words(layer()["df" + name], by_value).int32();
        EXPECT_EQ(support::call_words(layer()["DF" + catalogue::to_upper(name) + "_"], by_reference).int32(),
                  status);
        return status;
    }
    static void expect_kernel(const std::string& name, Words words)
    {
        ASSERT_THAT(story(), ElementsAre("qnm_df_kernel_" + name, "qnm_df_kernel_" + name));
        words.push_back(reinterpret_cast<std::int64_t>(dlsym(RTLD_DEFAULT, "qnm_df_serv_threader_for")));
        EXPECT_NE(words.back(), 0);
        for (const Call& call : core().calls())
            for (std::size_t i = 0; i < words.size(); ++i)
                EXPECT_EQ(call.int64(i), words[i]) << "word " << i;
    }
    std::int64_t task() const { return reinterpret_cast<std::int64_t>(&task_); }

    /// A call whose arguments are changed one by one.
    struct Entry {
        std::string name;
        Words words;
        std::set<std::size_t> integers;
        int operator()(std::size_t place, std::int64_t value) const
        {
            Entry other = *this;
            other.words[place] = value;
            return run(name, other.words, integers);
        }
        int operator()() const { return run(name, words, integers); }
    };
    Entry interpolate() const
    {
        return {"dInterpolateEx1D",
                {task(), 1, 1, 5, 104, 0, 2, 107, 108, 109, -10, 111, 112, 113, 114, 115, 116, 117, 118, 119},
                {1, 2, 3, 5, 6, 10}};
    }
    static Entry plain(Entry entry, std::size_t callbacks)
    {
        entry.name.erase(entry.name.find("Ex"), 2);
        entry.words.resize(entry.words.size() - callbacks);
        return entry;
    }
};

TEST_F(Fitting, InterpolationTestsInOrder)
{
    for (const Entry& entry : {interpolate(), plain(interpolate(), 8)}) {
        task_.trusted = 0;
        Entry bad = entry; // all is, but what is made good on the way
        bad.words[1] = 8, bad.words[2] = 0, bad.words[3] = 0, bad.words[4] = 0, bad.words[5] = 2,
        bad.words[6] = 0, bad.words[9] = 0, bad.words[11] = 0;
        task_.coefficients = nullptr;
        EXPECT_EQ(bad(0, 0), -1000);
        EXPECT_EQ(bad(), -1003);
        bad.words[1] = 3; // values and cells
        EXPECT_EQ(bad(), -1002);
        EXPECT_EQ(bad(2, 2), -1002);
        bad.words[2] = 1;
        EXPECT_EQ(bad(), -1022);
        bad.words[4] = 104;
        EXPECT_EQ(bad(), -1021);
        EXPECT_EQ(bad(3, -1), -1021);
        bad.words[3] = 1;
        EXPECT_EQ(bad(), -1023);
        for (const int hint : {0, 1, 4, 0x40, -7})
            EXPECT_EQ(bad(5, hint), -1016) << hint;
        bad.words[5] = 0;
        EXPECT_EQ(bad(), -1016);
        task_.coefficients = coefficients_;
        for (const void*& pointer : coefficients_) {
            pointer = nullptr;
            EXPECT_EQ(bad(), -1016);
            pointer = this;
        }
        EXPECT_EQ(bad(), -1027);
        bad.words[9] = 109;
        EXPECT_EQ(bad(), -1024);
        EXPECT_EQ(bad(6, -1), -1024);
        bad.words[7] = 0;
        EXPECT_EQ(bad(6, 1), -1025);
        EXPECT_EQ(bad(6, -1), -1025);
        EXPECT_EQ(bad(), -1029);
        EXPECT_THAT(story(), IsEmpty());
        EXPECT_EQ(bad(1, 2), -1029);
        EXPECT_EQ(bad(1, 5), 0); // cells that are given
        bad.words[11] = 111;
        EXPECT_EQ(bad(), 0);
        task_.trusted = 1;
        EXPECT_EQ(bad(1, 0), -1003);
        EXPECT_EQ(bad(1, 8), -1003);
        bad.words[2] = 0, bad.words[3] = 0, bad.words[4] = 0, bad.words[5] = 2, bad.words[11] = 0;
        EXPECT_EQ(bad(), 0);
        EXPECT_EQ(bad(1, 2), 0);
    }
}

TEST_F(Fitting, LookUpAndStepsNeedNoCoefficients)
{
    task_.coefficients = nullptr;
    for (std::int64_t type = 0; type < 12; ++type) {
        task_.type = type;
        const int missing = type >= 6 && type <= 8 ? 0 : -1016;
        EXPECT_EQ(interpolate()(), missing) << type;
        EXPECT_EQ(run("sConstruct1D", {task(), 0, 0}, {1, 2}), missing);
    }
    task_.coefficients = coefficients_;
    task_.functions = 0;
    coefficients_[0] = nullptr;
    EXPECT_EQ(interpolate()(), 0);
}

TEST_F(Fitting, InterpolationGetsEveryArgument)
{
    const Entry entry = interpolate();
    for (const auto& [type, passed] : {std::pair{1, 1}, {3, 3}, {9, 9}, {4, 4}, {7, 4}, {13, 4}}) {
        EXPECT_EQ(entry(1, type), 0);
        Words words = entry.words;
        words[1] = passed;
        expect_kernel("dDFInterpolate1D", words);
        const Entry without = plain(entry, 8);
        EXPECT_EQ(without(1, type), 0);
        std::fill(words.begin() + 12, words.end(), 0);
        expect_kernel("dDFInterpolate1D", words);
    }
    EXPECT_EQ(entry(1, 2), 0);
    expect_kernel("dDFSearch1D", {task(), 1, 5, 104, 0, 108, 111, 118, 119});
    EXPECT_EQ(plain(entry, 8)(1, 2), 0);
    expect_kernel("dDFSearch1D", {task(), 1, 5, 104, 0, 108, 111, 0, 0});
    core().answers("qnm_df_kernel_dDFSearch1D").with(-77);
    EXPECT_EQ(entry(1, 2), -77);
}

TEST_F(Fitting, Integration)
{
    const Entry with{
        "sIntegrateEx1D",
        {task(), -1, 5, 103, -4, 105, -6, 107, 108, 109, -10, 111, 112, 113, 114, 115, 116, 117, 118},
        {1, 2, 4, 6, 10}};
    for (const Entry& entry : {with, plain(with, 8)}) {
        task_.trusted = 0;
        EXPECT_EQ(entry(), 0);
        Words words = with.words;
        if (entry.words.size() != words.size())
            std::fill(words.begin() + 11, words.end(), 0);
        expect_kernel("sDFIntegrate1D", words);
        Entry bad = entry;
        bad.words[2] = 0, bad.words[3] = 0, bad.words[5] = 0, bad.words[9] = 0;
        task_.coefficients = nullptr;
        EXPECT_EQ(bad(0, 0), -1000);
        EXPECT_EQ(bad(), -1031);
        bad.words[3] = 103;
        EXPECT_EQ(bad(), -1032);
        bad.words[5] = 105;
        EXPECT_EQ(bad(), -1030);
        task_.trusted = 1;
        EXPECT_EQ(bad(), -1016);
        task_.coefficients = coefficients_;
        EXPECT_EQ(bad(), -1033);
        bad.words[9] = 109, bad.words[3] = 0, bad.words[5] = 0;
        EXPECT_EQ(bad(), 0);
    }
}

TEST_F(Fitting, Search)
{
    const Entry with{"dSearchCellsEx1D", {task(), 1, 5, 103, 0x40, 105, 106, 107, 108}, {1, 2, 4}};
    task_.coefficients = nullptr; // nobody asks
    for (const Entry& entry : {with, plain(with, 2)}) {
        task_.trusted = 0;
        EXPECT_EQ(entry(1, 0), 0);
        EXPECT_EQ(entry(), 0);
        Words words = with.words;
        if (entry.words.size() != words.size())
            std::fill(words.begin() + 7, words.end(), 0);
        expect_kernel("dDFSearch1D", words);
        Entry bad = entry;
        bad.words[1] = 2, bad.words[2] = 0, bad.words[3] = 0, bad.words[4] = 2, bad.words[6] = 0;
        EXPECT_EQ(bad(0, 0), -1000);
        EXPECT_EQ(bad(), -1002);
        EXPECT_EQ(bad(1, -1), -1002);
        bad.words[1] = 1;
        EXPECT_EQ(bad(), -1022);
        bad.words[3] = 103;
        EXPECT_EQ(bad(), -1021);
        bad.words[2] = 1;
        EXPECT_EQ(bad(), -1023);
        bad.words[4] = 4;
        EXPECT_EQ(bad(), -1029);
        task_.trusted = 1;
        bad.words[1] = 7, bad.words[2] = 0, bad.words[3] = 0, bad.words[4] = 2;
        EXPECT_EQ(bad(), 0);
    }
}

TEST_F(Fitting, TypeAndOrderChooseAKernel)
{
    const std::map<std::int64_t, std::map<std::int64_t, const char*>> kernels{
        {0, {{2, "Linear"}, {3, "Quadratic"}, {4, "DefaultCubic"}}},
        {1, {{3, "Quadratic"}}},
        {2, {{4, "NaturalCubic"}}},
        {3, {{4, "HermiteCubic"}}},
        {4, {{4, "BesselCubic"}}},
        {5, {{4, "AkimaCubic"}}},
        {9, {{4, "HymanCubic"}}}};
    for (task_.type = -1; task_.type < 12; ++task_.type)
        for (task_.order = 0; task_.order < 7; ++task_.order) {
            const auto type = kernels.find(task_.type);
            SCOPED_TRACE(std::to_string(task_.type) + " of order " + std::to_string(task_.order));
            for (const char letter : {'s', 'd'}) {
                const int status = run(std::string(1, letter) + "Construct1D", {task(), -5, 7}, {1, 2});
                if (type != kernels.end() && type->second.contains(task_.order)) {
                    EXPECT_EQ(status, 0);
                    expect_kernel(std::string(1, letter) + "DF" + type->second.at(task_.order) + "Spline1D",
                                  {task(), -5, 7});
                } else {
                    EXPECT_THAT(story(), IsEmpty());
                    EXPECT_EQ(status, type != kernels.end()                ? -1010
                                      : task_.type >= 6 && task_.type <= 8 ? 0
                                                                           : -1011);
                }
            }
        }
    EXPECT_EQ(run("dConstruct1D", {0, 1, 1}, {1, 2}), -1000);
}

} // namespace
} // namespace qnm::tests
