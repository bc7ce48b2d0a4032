// Control entries: what reaches the kernel, and how results are widened.
#include "entry.hpp"

namespace qnm::tests {
namespace {

using recording::Called;
using ::testing::ElementsAre;

class Control : public Unbound {};

TEST_F(Control, WideResultsKeepTheSignOfAStatusAndNotOfAMode)
{
    core().answers("qnm_vml_kernel_GetErrStatus").with(-2);
    core().answers("qnm_vml_kernel_GetMode").with(std::int32_t(0x80000001));
    for (const char* name : {"vmlGetErrStatus_64", "VMLGETERRSTATUS_64_", "vmlgeterrstatus_64_"})
        EXPECT_EQ(support::call_words(layer()[name], {}).int64(), -2) << name;
    for (const char* name : {"vmlGetMode_64", "VMLGETMODE_64_", "vmlgetmode_64_"})
        EXPECT_EQ(support::call_words(layer()[name], {}).int64(), 0x80000001) << name;
}

TEST_F(Control, TheLowHalfOfAnIntegerReachesTheKernel)
{
    const std::int64_t wide = 0x100000003;
    support::call_words(layer()["vmlSetMode_64"], {wide});
    for (const char* name : {"VMLSETMODE_", "vmlsetmode_", "VMLSETMODE_64_", "vmlsetmode_64_"})
        support::call_words(layer()[name], {&wide});
    const auto calls = core().calls("qnm_vml_kernel_SetMode");
    ASSERT_EQ(calls.size(), 5U);
    for (const Call& call : calls)
        EXPECT_EQ(call.int32(0), 3);
}

TEST_F(Control, CallbacksGoOnAsTheyAre)
{
    int record = 0;
    core().answers("qnm_vml_kernel_SetErrorCallBack").with(&record);
    for (const char* name : {"vmlSetErrorCallBack", "vmlSetErrorCallBack_64", "VMLSETERRORCALLBACK_",
                             "vmlseterrorcallback_64_"}) {
        EXPECT_EQ(support::call_words(layer()[name], {&core()}).rax,
                  reinterpret_cast<std::uint64_t>(&record));
        EXPECT_THAT(core().calls().back(), Called("qnm_vml_kernel_SetErrorCallBack", &core()));
    }
}

TEST_F(Control, TheFirstCallOpensTheLibrary)
{
    *layer().local<void*>("vml_dll_handle") = nullptr;
    *layer().local<void*>("qnm_vml_kernel_ClearErrStatus") = nullptr;
    for (int i = 0; i < 2; ++i)
        support::call_words(layer()["vmlClearErrStatus"], {});
    EXPECT_THAT(story(), ElementsAre("qnm_serv_load_vml", "dlsym", "qnm_vml_kernel_ClearErrStatus",
                                     "qnm_vml_kernel_ClearErrStatus"));
}

} // namespace
} // namespace qnm::tests
