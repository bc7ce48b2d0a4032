// Threads that find the same entries unused.
#include "layer.hpp"
#include "published.hpp"

#include <array>
#include <barrier>
#include <thread>

namespace qnm {
namespace {

class Race : public LayerTest {};

TEST_F(Race, FirstCallsOfAllEntriesFromManyThreads)
{
    constexpr int threads = 8, rounds = 4;
    // Good for every argument list: sizes and counts of zero, option letters that are refused.
    alignas(64) static std::array<unsigned char, 64> zeros{};
    const std::vector<Word> words(24, zeros.data());
    struct First {
        void* entry;
        const int** cell;
        const int* unknown;
    };
    std::vector<First> all;
    for (const std::string& name : published::traced()) {
        all.push_back({layer()[name], &cell(name), layer().local<const int>(name + ".verbose_unknown")});
    }
    ASSERT_EQ(all.size(), 654U);
    core().quiet(true);
    for (int round = 0; round < rounds; ++round) {
        core().mode(round % 2);
        for (const First& first : all)
            *first.cell = first.unknown;
        std::barrier start(threads);
        std::vector<std::thread> crowd;
        for (int t = 0; t < threads; ++t)
            crowd.emplace_back([&, t] {
                start.arrive_and_wait();
                for (std::size_t i = 0; i < all.size(); ++i) {
                    // Half of them walk from the other end; neighbours meet at the same entry.
                    const First& first = all[t % 2 == 0 ? i : all.size() - 1 - i];
                    support::invoke(first.entry, words);
                }
            });
        for (std::thread& thread : crowd)
            thread.join();
        for (const First& first : all)
            EXPECT_EQ(*first.cell, core().mode_word());
    }
    EXPECT_EQ(core().live_blocks(), 0U);
}

// While the mode comes and goes, calls are traced or not, and nothing else happens to them.
TEST_F(Race, TheModeChangesUnderRunningCalls)
{
    const int n = 3, inc = 1;
    core().quiet(true);
    std::vector<std::thread> crowd;
    std::atomic<int> wrong = 0;
    std::atomic<bool> done = false;
    core().answers("qnm_blas_ddot").with(6.5);
    for (int t = 0; t < 4; ++t)
        crowd.emplace_back([&] {
            for (int i = 0; i < 2000; ++i)
                wrong +=
                    support::invoke(layer()["ddot_"], {&n, nullptr, &inc, nullptr, &inc}).float64() != 6.5;
        });
    std::thread toggler([&] {
        while (!done)
            for (const int mode : {1, 0})
                __atomic_store_n(core().mode_word(), mode, __ATOMIC_RELAXED);
    });
    for (std::thread& thread : crowd)
        thread.join();
    done = true;
    toggler.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace qnm
