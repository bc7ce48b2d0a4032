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
    void* const task = this;
    support::call_words(layer()["dfdeditppspline1d_"],
                        {&task, nullptr, nullptr, nullptr, 4UL, nullptr, 6UL, 7UL, nullptr});
    const Call kernel = core().calls("qnm_df_kernel_dEditPPSpline1D").at(0);
    EXPECT_EQ(kernel.pointer<void>(0), task);
    for (const std::size_t integer : {1, 2, 3, 5, 8})
        EXPECT_EQ(kernel.int64(integer), 0) << integer;
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
