// Entries of data fitting that look at their arguments: tests in order, and what their kernels get.
#include "support/published.hpp"
#include "unbound.hpp"

#include <dlfcn.h>

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A status, and what is good behind it; `coefficients` are the task's.
using Steps = std::vector<std::pair<int, std::string>>;
constexpr const char *interpolated =
                         "task type method nsite site sitehint ndorder dorder datahint r rhint cell left "
                         "left_params right right_params inner inner_params search search_params",
                     *integrated =
                         "task method nlim llim llimhint rlim rlimhint ldatahint rdatahint r rhint left "
                         "left_params right right_params inner inner_params search search_params",
                     *searched = "task method nsite site sitehint datahint cell search search_params";

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
    /// A call by value and the same one by reference, which agree; and the task's arguments that are told.
    class Entry {
    public:
        Entry(const std::string& name, Task& task)
            : calls_{FunctionCall("df" + name), FunctionCall("DF" + catalogue::to_upper(name) + "_")}
        {
            set("task", reinterpret_cast<std::int64_t>(&task));
        }
        int operator()() const
        {
            core().clear();
            const int status = calls_[0].run().int32();
            EXPECT_EQ(calls_[1].run().int32(), status);
            return status;
        }
        int operator()(const std::string& changes) const { return with(changes)(); }
        /// Numbers, and addresses too: "nsite=5 site=0".
        Entry with(const std::string& changes) const
        {
            Entry other = *this;
            for (const std::string& change : words(changes)) {
                const std::size_t mark = change.find('=');
                other.set(change.substr(0, mark), std::stoll(change.substr(mark + 1), nullptr, 0));
            }
            return other;
        }
        std::int64_t operator[](const std::string& name) const
        {
            const FunctionCall& call = calls_[0];
            if (!call.has(name)) // a callback that the entry does not take
                return 0;
            return call.is_integer(call.index(name)) ? call.integer(name)
                                                     : static_cast<std::int64_t>(call.word(name).bits());
        }

    private:
        void set(const std::string& name, std::int64_t value)
        {
            for (FunctionCall& call : calls_)
                if (call.parameters()[call.index(name)].travel == Travel::address)
                    call.point(name, reinterpret_cast<void*>(value));
                else
                    call.set(name, value);
        }
        FunctionCall calls_[2];
    };
    /// Both calls, with these arguments and the threader behind all.
    static void expect_kernel(const std::string& name, const Entry& entry, const char* arguments)
    {
        ASSERT_THAT(story(), ElementsAre("qnm_df_kernel_" + name, "qnm_df_kernel_" + name));
        std::vector<std::int64_t> passed;
        for (const std::string& argument : words(arguments))
            passed.push_back(entry[argument]);
        passed.push_back(reinterpret_cast<std::int64_t>(dlsym(RTLD_DEFAULT, "qnm_df_serv_threader_for")));
        EXPECT_NE(passed.back(), 0);
        for (const Call& call : core().calls())
            for (std::size_t i = 0; i < passed.size(); ++i)
                EXPECT_EQ(call.int64(i), passed[i]) << "word " << i;
    }
    /// Begins with all bad that these name.
    Entry expect_in_order(const Entry& good, const std::string& bad, const Steps& steps)
    {
        Entry entry = good.with(bad);
        task_.coefficients = nullptr;
        EXPECT_EQ(entry("task=0"), -1000);
        for (const auto& [status, change] : steps) {
            EXPECT_EQ(entry(), status);
            EXPECT_THAT(story(), IsEmpty());
            if (change == "coefficients")
                task_.coefficients = coefficients_;
            else
                entry = entry.with(change);
        }
        EXPECT_EQ(entry(), 0);
        return entry;
    }

    const Entry interpolation_ = Entry("dInterpolateEx1D", task_).with(good_),
                plain_ = Entry("dInterpolate1D", task_).with(good_);
    static constexpr const char* good_ = "type=1 method=1 nsite=5 sitehint=0 ndorder=2";
};

TEST_F(Fitting, InterpolationTestsInOrder)
{
    for (const Entry& entry : {interpolation_, plain_}) {
        task_.trusted = 0;
        const Entry good =
            expect_in_order(entry, "type=8 method=0 nsite=0 site=0 sitehint=2 ndorder=0 r=0 cell=0",
                            {{-1003, "type=3"},
                             {-1002, "method=2"},
                             {-1002, "method=1"},
                             {-1022, "site=104"},
                             {-1021, "nsite=-1"},
                             {-1021, "nsite=1"},
                             {-1023, "sitehint=0"},
                             {-1016, "coefficients"},
                             {-1027, "r=109"},
                             {-1024, "ndorder=-1"},
                             {-1024, "dorder=0"},
                             {-1025, "ndorder=1"},
                             {-1025, "ndorder=0"},
                             {-1029, "cell=111"}});
        for (const char* hint : {"sitehint=1", "sitehint=4", "sitehint=0x40", "sitehint=-7"})
            EXPECT_EQ(good(hint), 0) << hint;
        EXPECT_EQ(good("cell=0 type=2"), -1029);
        EXPECT_EQ(good("cell=0 type=5"), 0); // cells that are given
        for (const void*& pointer : coefficients_) {
            pointer = nullptr;
            EXPECT_EQ(good(), -1016);
            pointer = this;
        }
        task_.trusted = 1;
        EXPECT_EQ(good("type=0"), -1003);
        EXPECT_EQ(good("type=8"), -1003);
        const Entry bad = good.with("method=0 nsite=0 site=0 sitehint=2 cell=0");
        EXPECT_EQ(bad(), 0);
        EXPECT_EQ(bad("type=2"), 0);
    }
}

TEST_F(Fitting, LookUpAndStepsNeedNoCoefficients)
{
    task_.coefficients = nullptr;
    for (task_.type = 0; task_.type < 12; ++task_.type) {
        const int status = task_.type >= 6 && task_.type <= 8 ? 0 : -1016;
        EXPECT_EQ(interpolation_(), status) << task_.type;
        EXPECT_EQ(Entry("sConstruct1D", task_)(), status) << task_.type;
    }
    task_.coefficients = coefficients_;
    task_.functions = 0;
    coefficients_[0] = nullptr;
    EXPECT_EQ(interpolation_(), 0);
}

TEST_F(Fitting, InterpolationGetsEveryArgument)
{
    for (const Entry& entry : {interpolation_, plain_}) {
        for (const auto& [type, passed] : {std::pair{1, 1}, {3, 3}, {9, 9}, {4, 4}, {7, 4}, {13, 4}}) {
            EXPECT_EQ(entry("type=" + std::to_string(type)), 0);
            expect_kernel("dDFInterpolate1D", entry.with("type=" + std::to_string(passed)), interpolated);
        }
        expect_ended("qnm_df_kernel_dDFInterpolate1D", [&] { entry(); });
        expect_ended("qnm_df_kernel_dDFSearch1D", [&] { entry("type=2"); });
        core().answers("qnm_df_kernel_dDFSearch1D").with(-77);
        EXPECT_EQ(entry("type=2"), -77);
        expect_kernel("dDFSearch1D", entry, searched);
    }
}

TEST_F(Fitting, Integration)
{
    for (const char* name : {"sIntegrateEx1D", "sIntegrate1D"}) {
        const Entry entry(name, task_);
        task_.trusted = 0;
        const Entry good = expect_in_order(entry, "nlim=0 llim=0 rlim=0 r=0",
                                           {{-1031, "llim=103"},
                                            {-1032, "rlim=105"},
                                            {-1030, "nlim=5"},
                                            {-1016, "coefficients"},
                                            {-1033, "r=109"}});
        expect_kernel("sDFIntegrate1D", good, integrated);
        expect_ended("qnm_df_kernel_sDFIntegrate1D", [&] { good(); });
        task_.trusted = 1;
        EXPECT_EQ(entry("nlim=0 llim=0 rlim=0"), 0);
    }
}

TEST_F(Fitting, Search)
{
    for (const char* name : {"dSearchCellsEx1D", "dSearchCells1D"}) {
        const Entry entry = Entry(name, task_).with("method=0 sitehint=0x40 nsite=5");
        task_.trusted = 0;
        const Entry good = expect_in_order(entry, "method=2 nsite=0 site=0 sitehint=2 cell=0",
                                           {{-1002, "method=-1"},
                                            {-1002, "method=1"},
                                            {-1022, "site=103"},
                                            {-1021, "nsite=5"},
                                            {-1023, "sitehint=4"},
                                            {-1029, "cell=106"}});
        expect_kernel("dDFSearch1D", good, searched);
        expect_ended("qnm_df_kernel_dDFSearch1D", [&] { good(); });
        EXPECT_EQ(entry(), 0);
        task_.trusted = 1;
        EXPECT_EQ(entry("method=7 nsite=0 site=0 sitehint=2"), 0);
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
                const Entry construct(letter + "Construct1D", task_);
                const int status = construct();
                if (const auto kernel = kernels.find({task_.type, task_.order}); kernel != kernels.end()) {
                    EXPECT_EQ(status, 0);
                    const std::string name = letter + "DF" + kernel->second + "Spline1D";
                    expect_kernel(name, construct, "task s_format method");
                    expect_ended("qnm_df_kernel_" + name, [&] { construct(); });
                } else {
                    EXPECT_THAT(story(), IsEmpty());
                    const bool none = task_.type >= 6 && task_.type <= 8;
                    EXPECT_EQ(status, none ? 0 : task_.type < 0 || task_.type > 9 ? -1011 : -1010);
                }
                EXPECT_EQ(construct("task=0"), -1000);
            }
}

} // namespace
} // namespace qnm::tests
