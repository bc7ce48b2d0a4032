// Direct solvers: who is registered, in which order, and that the core gets every word as it came.
#include "solvers/members.hpp"
#include "support/function_call.hpp"

#include <algorithm>
#include <stdexcept>

/// A program's own, in the place of the layer's.
extern "C" [[gnu::visibility("default")]] int cdecl_pardiso_pivot(void* /*ai*/, void* /*bi*/, void* /*eps*/)
{
    return 0;
}

namespace qnm::tests {
namespace {

using support::Word;

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

class Direct : public recording::RecordedTest {};

TEST_F(Direct, EntriesRegisterInOrderAndTheCoreGetsEveryWord)
{
    EXPECT_EQ(direct_routines().size(), 86U);
    void* const pivot = reinterpret_cast<void*>(&cdecl_pardiso_pivot);
    EXPECT_NE(pivot, layer()["cdecl_pardiso_pivot"]);
    const std::vector<std::pair<std::string, void*>> all{
        {"qnm_serv_set_xerbla_interface", layer()["cdecl_xerbla"]},
        {"qnm_serv_set_progress_interface", layer()["cdecl_progress"]},
        {"qnm_serv_set_pardiso_pivot", pivot}};
    constexpr std::size_t hidden_lengths = 2;
    std::vector<Word> words;
    for (const DirectRoutine& routine : direct_routines()) {
        SCOPED_TRACE(routine.name);
        const std::string called = "qnm_pds_lp64_" + lower(routine.name);
        const Signature& told = signature(routine.name);
        EXPECT_EQ(told.parameters.size(), routine.arguments);
        EXPECT_EQ(is_narrow(told), routine.name.find("_64") == std::string::npos);
        const std::vector<std::pair<std::string, void*>> registered(
            all.begin() + (routine.distributed() ? 1 : 0), all.end() - (routine.distributed() ? 1 : 0));
        for (const std::string& base : {routine.name, lower(routine.name)})
            for (const char* underscores : {"", "_", "__"}) {
                words.clear();
                for (std::size_t i = 0; i < routine.arguments + hidden_lengths; ++i)
                    words.emplace_back(untouchable_address(i));
                core().clear();
                core().answers(called).with(std::int64_t{0x1234'5678'9ABC});
                EXPECT_EQ(support::call_words(layer()[base + underscores], words).int64(), 0x1234'5678'9ABC);
                const std::vector<Call>& calls = core().calls();
                ASSERT_EQ(calls.size(), registered.size() + 1);
                for (std::size_t i = 0; i < registered.size(); ++i) {
                    EXPECT_EQ(calls[i].name, registered[i].first);
                    EXPECT_EQ(calls[i].pointer<void>(0), registered[i].second);
                }
                EXPECT_EQ(calls.back().name, called);
                for (std::size_t i = 0; i < words.size(); ++i)
                    EXPECT_EQ(calls.back().word(i), words[i].bits()) << "word " << i;
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
