// Entries that only hand on: to kernels (statistics and fitting) and to the core (convolution).
#include "entry.hpp"

namespace qnm::tests {
namespace {

using ::testing::ElementsAre;

class Forwarders : public Unbound {
protected:
    static std::vector<const Signature*> all(const std::set<std::string>& families)
    {
        return signatures(
            [&](const Signature& s) { return families.contains(s.family) && !s.callees.empty(); });
    }
    static void expect_handed_on(const Signature& s)
    {
        QNM_TRACE_SIGNATURE(s);
        const FunctionCall call(s);
        core().clear();
        core().answers(call.callee().name).with(-0x7'0000'004D);
        EXPECT_EQ(call.run().int32(), -77);
        const auto calls = core().calls(call.callee().name);
        ASSERT_EQ(calls.size(), 1U);
        call.expect_passed(calls[0]);
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
        expect_handed_on(*s);
        std::string name = "__vsl" + catalogue::with_letter(s->root, s->letter);
        for (const auto& [entry, kernel] : shorter)
            if (const std::size_t at = name.find(entry); at != std::string::npos)
                name.replace(at, entry.size(), kernel);
        EXPECT_EQ(looked_up(), std::vector{name}) << s->names.front();
        expect_handed_on(*s);
        EXPECT_THAT(story(), ElementsAre(name));
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
        expect_handed_on(*s);
        const bool first = s->form->name == "value";
        EXPECT_EQ(looked_up(),
                  first ? std::vector{"qnm_df_kernel_" + catalogue::with_letter(s->root, s->letter)}
                        : std::vector<std::string>{});
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
    const int minus = -1;
    support::call_words(layer()["dfieditval_"], {&task, &minus, &minus});
    EXPECT_EQ(core().calls("qnm_df_kernel_iEditVal").at(0).int64(2), -1);
}

TEST_F(Forwarders, ConvolutionIsTheCores)
{
    const auto entries = all({"vsl_convolution"});
    EXPECT_EQ(entries.size(), 76U * 2);
    for (const Signature* s : entries) {
        expect_handed_on(*s);
        EXPECT_EQ(story().size(), 1U);
    }
}

// What a name tells, by hand; and where single numbers stand.
TEST_F(Forwarders, ANameOfConvolutionTellsNumbers)
{
    for (const char letter : {'s', 'd', 'c', 'z'})
        for (const auto& [kind, code] : {std::pair{"Conv", 1}, {"Corr", 2}})
            for (const char* form : {"NewTask", "NewTask1D", "NewTaskX", "NewTaskX1D"})
                for (const char* spelling : {"Name", "NAME_"}) {
                    const std::string name =
                        catalogue::spell(spelling, std::string("vsl") + letter + kind + form);
                    SCOPED_TRACE(name);
                    core().clear();
                    const FunctionCall call(name);
                    call.run();
                    const Call made = core().calls().at(0);
                    const bool line = std::string(form).ends_with("1D"), fixed = std::string(form)[7] == 'X';
                    EXPECT_EQ(made.name, fixed ? "qnm_conv_newtaskx" : "qnm_conv_newtask");
                    EXPECT_EQ(made.int32(1), code);
                    EXPECT_EQ(made.int32(2), 1);
                    EXPECT_EQ(made.int32(4), letter == 's' || letter == 'd' ? 1 : 2);
                    EXPECT_EQ(made.int32(5), letter == 's' || letter == 'c' ? 1 : 2);
                    if (line) {
                        EXPECT_EQ(made.int32(6), 1);
                        expect_local(made, 9, "zshape");
                    }
                }
    for (const auto& [edit, code] :
         {std::pair{"Mode", 3}, {"Start", 5}, {"Decimation", 6}, {"InternalPrecision", 9}})
        for (const char* kind : {"vslConvSet", "vslCorrSet"}) {
            core().clear();
            FunctionCall(std::string(kind) + edit).run();
            EXPECT_EQ(core().calls("qnm_conv_edittask").at(0).int32(1), code) << edit;
            if (code == 3 || code == 9)
                expect_local(core().calls()[0], 2, edit);
        }
    for (const char* run : {"VSLDCONVEXEC1D_", "vslcconvexecx1d", "vslzCorrExec1D"}) {
        core().clear();
        FunctionCall(run).run();
        expect_local(core().calls().at(0), 2, run);
    }
}

} // namespace
} // namespace qnm::tests
