// Threads that find the same entries unused, and a mode that comes and goes under them.
#include "layer.hpp"
#include "published.hpp"

#include <array>
#include <barrier>
#include <thread>

namespace qnm {
namespace {

class Race : public recording::RecordedTest {
protected:
    Race() { core().quiet(true); }
};

TEST_F(Race, FirstCallsOfAllEntriesFromManyThreads)
{
    constexpr int threads = 8, rounds = 4;
    // Good for every argument list: sizes and counts of zero, option letters that are refused.
    alignas(64) static std::array<unsigned char, 64> zeros{};
    const std::vector<Word> words(24, zeros.data());
    const auto names = published::traced();
    ASSERT_EQ(names.size(), 654U);
    std::vector<void*> entries;
    for (const std::string& name : names)
        entries.push_back(layer()[name]);
    for (int round = 0; round < rounds; ++round) {
        core().mode(round % 2);
        for (const std::string& name : names)
            cell(name) = unknown(name);
        std::barrier start(threads);
        std::vector<std::jthread> crowd;
        for (int t = 0; t < threads; ++t)
            crowd.emplace_back([&, t] {
                start.arrive_and_wait();
                // Half of them walk from the other end; neighbours meet at the same entry.
                for (std::size_t i = 0; i < entries.size(); ++i)
                    support::invoke(entries[t % 2 == 0 ? i : entries.size() - 1 - i], words);
            });
        crowd.clear();
        for (const std::string& name : names)
            EXPECT_EQ(cell(name), core().mode_word());
    }
}

// While the mode comes and goes, calls are traced or not, and nothing else happens to them.
TEST_F(Race, TheModeChangesUnderRunningCalls)
{
    const int n = 3, inc = 1;
    std::atomic<int> wrong = 0;
    core().answers("qnm_blas_ddot").with(6.5);
    const std::jthread toggler([&](const std::stop_token& stop) {
        while (!stop.stop_requested())
            for (const int mode : {1, 0})
                __atomic_store_n(core().mode_word(), mode, __ATOMIC_RELAXED);
    });
    std::vector<std::jthread> crowd;
    for (int t = 0; t < 4; ++t)
        crowd.emplace_back([&] {
            for (int i = 0; i < 2000; ++i)
                wrong +=
                    support::invoke(layer()["ddot_"], {&n, nullptr, &inc, nullptr, &inc}).float64() != 6.5;
        });
    crowd.clear();
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace qnm
