// Threaders that statistics and data fitting are handed.
#include "core.hpp"

#include <atomic>
#include <chrono>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace qnm::test {
namespace {

using Body = int(core_int k, void* data);
struct Counts {
    std::vector<std::atomic<int>> of;
    std::atomic<int> running{0}, most{0};

    explicit Counts(std::size_t count) : of(count) {}
    // Threads that meet are side by side; alone nobody waits long.
    void meet()
    {
        most = std::max(most.load(), ++running);
        const auto end =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(most.load() > 1 ? 0 : 50);
        while (running.load() < 2 && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        most = std::max(most.load(), running.load());
        --running;
    }
};
constexpr core_int odd_ones =
    1000; // of these each odd number from 301 on fails, and 303 ahead of 301 if it can
int count_one(core_int k, void* data)
{
    auto& of = static_cast<Counts*>(data)->of;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(5);
    while (k == 301 && of.size() > 303 && of[303] == 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    ++of.at(static_cast<std::size_t>(k));
    return k < 301 || k % 2 == 0 ? static_cast<int>(k) : -static_cast<int>(k);
}

class StatisticsThreaders : public testing::TestWithParam<const char*> {
public:
    StatisticsThreaders() { service<int>("domain_set_num_threads", 2, 3); }
    int run(core_int count, Body* body, void* data) const
    {
        return by_value<int>(GetParam(), count, body, data);
    }
    int most_at_once() const
    {
        Counts counts(6);
        const auto meet = [](core_int, void* data) {
            static_cast<Counts*>(data)->meet();
            return 0;
        };
        EXPECT_EQ(run(6, meet, &counts), 0);
        return counts.most;
    }
};

// As one by one: all below a failure are done once, the lowest failure is told, and far behind it nothing is
// done.
TEST_P(StatisticsThreaders, TellTheLowestFailure)
{
    for (int repeated = 0; repeated < 50; ++repeated) {
        Counts counts(odd_ones);
        ASSERT_EQ(run(odd_ones, count_one, &counts), -301);
        for (std::size_t k = 0; k < odd_ones; ++k)
            ASSERT_TRUE(counts.of[k] == 1 || (k > 301 && counts.of[k] == 0)) << k;
        ASSERT_EQ(counts.of.back(), 0);
    }
    Counts counts(301);
    EXPECT_EQ(run(301, count_one, &counts), 0); // what is above 0 is no failure
    EXPECT_TRUE(std::ranges::all_of(counts.of, [](const auto& times) { return times == 1; }));
    EXPECT_EQ(run(0, count_one, nullptr), 0);
}

TEST_P(StatisticsThreaders, AreSerialInsideOfThemselvesInAParallelRegionAndInAChild)
{
    EXPECT_EQ(most_at_once(), 2);
    struct Nested {
        const StatisticsThreaders* outer;
        std::atomic<int> most{0};
    } nested{this};
    const auto again = [](core_int, void* data) {
        auto* const all = static_cast<Nested*>(data);
        all->most = std::max(all->most.load(), all->outer->most_at_once());
        return 1 - by_value<int>("qnm_df_serv_threader_get_num_threads_limit");
    };
    EXPECT_EQ(run(2, again, &nested), 0);
    EXPECT_EQ(nested.most, 1);

    const auto in_parallel =
        reinterpret_cast<void (*)(void (*)(void*), void*, unsigned, unsigned)>(core_symbol("GOMP_parallel"));
    nested.most = 0;
    in_parallel(
        [](void* data) {
            static std::atomic<int> place;
            auto* const all = static_cast<Nested*>(data);
            if (place++ % 2 == 0)
                all->most = all->outer->most_at_once();
        },
        &nested, 2, 0);
    EXPECT_EQ(nested.most, 1);
    EXPECT_EQ(most_at_once(), 2);

    const pid_t child = fork();
    if (child == 0) {
        alarm(10); // whoever waits for threads that are not there waits for ever
        service<int>("domain_set_num_threads", 3, 3); // more than the parent had
        _exit(most_at_once());
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
}
INSTANTIATE_TEST_SUITE_P(Of, StatisticsThreaders,
                         testing::Values("qnm_vsl_serv_threader_for", "qnm_df_serv_threader_for"),
                         [](const auto& name) { return std::string(name.param); });

TEST(FurtherThreaders, JoinInOrderAndDivideSections)
{
    using Order = std::vector<core_int>;
    const auto note = [](core_int k, void* data) {
        static_cast<Order*>(data)->push_back(k);
        return k == 3 ? -3 : 0;
    };
    const auto nothing = [](core_int, void*) { return 0; };
    Order order;
    EXPECT_EQ(by_value<int>("qnm_df_serv_threader_ordered", core_int{9}, static_cast<Body*>(note), &order),
              -3);
    EXPECT_EQ(by_value<int>("qnm_df_serv_threader_for_ordered", core_int{9}, static_cast<Body*>(nothing),
                            static_cast<Body*>(note), &order),
              -3);
    EXPECT_EQ(order, Order({0, 1, 2, 3, 0, 1, 2, 3}));
    EXPECT_EQ(by_value<int>(
                  "qnm_df_serv_threader_for_ordered", core_int{305},
                  static_cast<Body*>([](core_int k, void*) { return k < 301 ? 0 : -static_cast<int>(k); }),
                  static_cast<Body*>(note), &order),
              -301);
    EXPECT_EQ(order.size(), 8U); // nothing is joined of what failed

    Counts counts(2);
    Body* const sections[] = {
        [](core_int k, void* data) { return ++static_cast<Counts*>(data)->of[0], static_cast<int>(k); },
        [](core_int k, void* data) { return ++static_cast<Counts*>(data)->of[1], -static_cast<int>(k); }};
    EXPECT_EQ(by_value<int>("qnm_df_serv_threader_sections", core_int{2}, &sections[0], &counts), -1);
    EXPECT_EQ(counts.of[0] + 10 * counts.of[1], 11);
    service<int>("domain_set_num_threads", 3, 3);
    EXPECT_EQ(by_value<int>("qnm_df_serv_threader_get_num_threads_limit"), 3);
}

} // namespace
} // namespace qnm::test
