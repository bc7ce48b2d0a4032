// Entries that only hand on: to kernels (statistics and fitting) and to the core (convolution).
#include "unbound.hpp"

namespace qnm::tests {
namespace {

class Forwarders : public Unbound {
protected:
    static std::vector<const Signature*> all(const std::set<std::string>& families)
    {
        return signatures(
            [&](const Signature& s) { return families.contains(s.family) && !s.callees.empty(); });
    }
};

TEST_F(Forwarders, EachFormOfStatisticsFindsItsKernel)
{
    const auto entries = all({"vsl_tasks", "vsl_statistics"});
    EXPECT_EQ(entries.size(), 98U - 2 * 3); // but for the estimates
    const std::map<std::string, std::string> shorter{{"RobustCovariance", "RCov"},
                                                     {"OutliersDetection", "OutDetect"},
                                                     {"MissingValues", "MissingVals"},
                                                     {"CorParameterization", "MtxParametrz"}};
    for (const Signature* s : entries) {
        expect_handed_on(FunctionCall(*s), true);
        std::string name = "__vsl" + catalogue::with_letter(s->root, s->letter);
        for (const auto& [entry, kernel] : shorter)
            if (const std::size_t at = name.find(entry); at != std::string::npos)
                name.replace(at, entry.size(), kernel);
        EXPECT_EQ(story(), std::vector{name}) << s->names.front();
    }
    int integer = 5;
    for (const auto& [entry, wide] :
         {std::pair{"vsldSSNewTask", 0}, {"vsldSSNewTask_64", 1}, {"VSLDSSNEWTASK_", 0}}) {
        core().clear();
        support::call_words(layer()[entry], {&integer, 1UL, 2UL, 3UL, 4UL, 5UL, 6UL});
        EXPECT_EQ(core().calls("__vsldSSNewTask").at(0).int32(7), wide);
    }
}

TEST_F(Forwarders, FormsOfFittingShareTheirKernel)
{
    const auto entries = all({"df"});
    EXPECT_EQ(entries.size(), 15U * 2); // each under a name of C and by reference
    for (const Signature* s : entries) {
        expect_handed_on(FunctionCall(*s), s->form->name == "value");
        EXPECT_EQ(story(), std::vector{"qnm_df_kernel_" + catalogue::with_letter(s->root, s->letter)});
    }
}

TEST_F(Forwarders, AnIntegerOfFittingMayBeLeftOut)
{
    std::int64_t spline[17]{};
    spline[9] = 6; // of a type that has no coefficients
    void* task = spline;
    core().ignore("dlsym");
    core().ignore("qnm_serv_load_vml");
    std::size_t integers = 0;
    for (const Signature* s :
         signatures([](const Signature& s) { return s.family == "df" && s.form->name == "by_reference"; }))
        for (std::size_t i = 0; i < s->parameters.size(); ++i) {
            const std::string& name = s->parameters[i].name;
            FunctionCall left_out(*s), zero("df" + catalogue::with_letter(s->root, s->letter));
            if (!left_out.is_integer(i))
                continue;
            QNM_TRACE_SIGNATURE(*s);
            SCOPED_TRACE(name);
            core().clear();
            const int status = zero.handle("task", task).set(name, 0).run().int32();
            EXPECT_EQ(left_out.handle("task", task).point(name, nullptr).run().int32(), status);
            const std::vector<Call> calls = core().calls();
            ASSERT_TRUE(calls.empty() || calls.size() == 2);
            for (std::size_t k = 0; k < s->parameters.size() && !calls.empty(); ++k)
                EXPECT_EQ(calls[1].int64(k), calls[0].int64(k)) << k;
            ++integers;
        }
    EXPECT_GT(integers, 90U);
}

TEST_F(Forwarders, NoneGoesOnWithoutItsKernel)
{
    std::map<std::string, std::vector<const Signature*>> callers;
    for (const Signature* s : all({"vsl_generators", "vsl_streams", "vsl_tasks", "vsl_statistics", "df"}))
        callers[s->callees.front().name].push_back(s);
    EXPECT_EQ(callers.size(), 38U + 19 + 30 + 15);
    std::size_t form = 0;
    for (const auto& [kernel, forms] : callers) { // of which each has its turn
        const Signature& s = *forms[++form % forms.size()];
        QNM_TRACE_SIGNATURE(s);
        expect_ended(kernel, [&] { FunctionCall(s).run(); });
    }
    for (const char* name : {"vdRngUniform", "vsRngBeta_64", "vslNewStream", "vsldSSEditCP", "DFDELETETASK_"})
        expect_ended("", [&] { FunctionCall(name).run(); });
}

TEST_F(Forwarders, ConvolutionIsTheCoresAndItsNamesTellNumbers)
{
    const auto entries = all({"vsl_convolution"});
    EXPECT_EQ(entries.size(), 76U * 2);
    for (const Signature* s : entries) {
        expect_handed_on(FunctionCall(*s), false);
        const Call made = core().calls()[0];
        const std::string name = catalogue::to_lower(s->names.front());
        SCOPED_TRACE(name);
        if (name.find("newtask") != std::string::npos) { // vslsconvnewtaskx1d
            EXPECT_EQ(made.name, name[15] == 'x' ? "qnm_conv_newtaskx" : "qnm_conv_newtask");
            EXPECT_EQ(made.int32(1), name.substr(4, 4) == "conv" ? 1 : 2);
            EXPECT_EQ(made.int32(2), 1);
            EXPECT_EQ(made.int32(4), name[3] == 's' || name[3] == 'd' ? 1 : 2);
            EXPECT_EQ(made.int32(5), name[3] == 's' || name[3] == 'c' ? 1 : 2);
            EXPECT_TRUE(name.find("1d") == std::string::npos || made.int32(6) == 1);
        }
        for (const auto& [edit, code] :
             {std::pair{"setmode", 3}, {"setstart", 5}, {"setdecimation", 6}, {"setinternalprecision", 9}})
            EXPECT_TRUE(name.find(edit) == std::string::npos ||
                        (made.name == "qnm_conv_edittask" && made.int32(1) == code))
                << made;
    }
}

} // namespace
} // namespace qnm::tests
