// Direct solvers: who is registered, in which order, and that the core gets every word as it came.
#include "solvers/members.hpp"
#include "support/function_call.hpp"

#include <dlfcn.h>
#include <stdexcept>

#if QNM_OWN_CALLBACKS
/// A program's own, in the place of the layer's.
#define QNM_OWN(NAME)                                                                                        \
    extern "C" [[gnu::visibility("default")]] void NAME() {}
QNM_OWN(cdecl_xerbla)
QNM_OWN(cdecl_progress)
QNM_OWN(cdecl_pardiso_pivot)
#endif

namespace qnm::tests {
namespace {

using Direct = recording::RecordedTest;

TEST_F(Direct, EntriesRegisterInOrderAndTheCoreGetsEveryWord)
{
    EXPECT_EQ(direct_routines().size(), 86U);
    std::vector<std::pair<std::string, void*>> all;
    for (const auto& [setter, head] : {std::pair{"qnm_serv_set_xerbla_interface", "cdecl_xerbla"},
                                       {"qnm_serv_set_progress_interface", "cdecl_progress"},
                                       {"qnm_serv_set_pardiso_pivot", "cdecl_pardiso_pivot"}}) {
        all.emplace_back(setter, dlsym(RTLD_DEFAULT, head));
        EXPECT_EQ(all.back().second == layer()[head], !QNM_OWN_CALLBACKS) << head;
    }
    for (const DirectRoutine& routine : direct_routines()) {
        SCOPED_TRACE(routine.name);
        std::string lower = routine.name;
        std::transform(lower.begin(), lower.end(), lower.begin(), ::tolower);
        const std::string called = "qnm_pds_lp64_" + lower;
        const Signature& told = signature(routine.name);
        EXPECT_EQ(told.parameters.size(), routine.arguments);
        EXPECT_EQ(is_narrow(told), lower.find("_64") == std::string::npos);
        auto expected = routine.distributed() ? decltype(all){all[1]} : all;
        expected.emplace_back(called, const_cast<void*>(untouchable_address(0)));
        std::vector<support::Word> words;
        for (std::size_t i = 0; i < routine.arguments + 2; ++i) // and hidden lengths
            words.emplace_back(untouchable_address(i));
        for (const std::string& base : {routine.name, lower})
            for (const char* underscores : {"", "_", "__"}) {
                core().clear();
                core().answers(called).with(std::int64_t{0x1234'5678'9ABC});
                EXPECT_EQ(support::call_words(layer()[base + underscores], words).int64(), 0x1234'5678'9ABC);
                decltype(all) noted;
                for (const Call& call : core().calls()) {
                    noted.emplace_back(call.name, call.pointer<void>(0));
                    EXPECT_TRUE(call.aligned()) << call.name;
                }
                ASSERT_EQ(noted, expected);
                for (std::size_t i = 0; i < words.size(); ++i)
                    EXPECT_EQ(core().calls().back().word(i), words[i].bits()) << "word " << i;
            }
    }
}

TEST_F(Direct, AnExceptionOfTheCoreReachesTheCaller)
{
    for (const char* raises : {"qnm_serv_set_progress_interface", "qnm_pds_lp64_dss_create"}) {
        core().answers(raises).calling([](Call& call, Answer&) { throw std::runtime_error(call.name); });
        EXPECT_THROW(support::call_words(layer()["dss_create_"], {1UL, 2UL}), std::runtime_error) << raises;
    }
}

} // namespace
} // namespace qnm::tests
