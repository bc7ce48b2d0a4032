#include "open/team.hpp"

#include <array>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace qnm::core {
namespace {

// Several threads call at once, with other numbers of parts and other work from call to call, and look as
// soon as a call returns.
TEST(Team, EachPartOnce)
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 3; ++caller)
        callers.emplace_back([&wrong, caller] {
            for (int call = 0; call < 500; ++call) {
                const int parts = 1 + (call + caller) % 6;
                std::array<int, 6> done{};
                in_parts(parts, [&done, call](int k) {
                    for (int work = 2000 * ((7 * k + call) % 31); work > 0; --work)
                        asm volatile("");
                    ++done.at(static_cast<std::size_t>(k));
                });
                for (int k = 0; k < 6; ++k)
                    wrong += done.at(static_cast<std::size_t>(k)) != (k < parts ? 1 : 0);
            }
        });
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(wrong.load(), 0);
}

// Parts that wait for each other meet only if they run at once: with threads that begin, and that have fallen
// asleep. The caller is done first, and asleep when the others are.
TEST(Team, PartsRunSideBySide)
{
    using namespace std::chrono_literals;
    for (int call = 0; call < 2; ++call) {
        std::atomic<int> begun{0}, met{0};
        in_parts(3, [&begun, &met, caller = std::this_thread::get_id()](int) {
            ++begun;
            const auto end = std::chrono::steady_clock::now() + 20s;
            while (begun.load() < 3 && std::chrono::steady_clock::now() < end)
                std::this_thread::yield();
            met += begun.load() == 3 ? 1 : 0;
            if (std::this_thread::get_id() != caller)
                std::this_thread::sleep_for(20ms);
        });
        EXPECT_EQ(met.load(), 3);
        std::this_thread::sleep_for(20ms);
    }
}

} // namespace
} // namespace qnm::core
