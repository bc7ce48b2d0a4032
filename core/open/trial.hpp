// Which of several ways to do the same work is the quickest on this processor, found by doing it.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iterator>

namespace qnm::core {

/// The first calls take all ways in turn and are timed; from then on the quickest is taken. Any thread may
/// call.
template <int ways>
class Trial {
public:
    /// Each way some times at every place of a period of calls: a caller may repeat a few that differ.
    static constexpr int turns = 8 * ways * ways;

    /// Calls `way(k)`, which does an amount of work.
    template <class Way>
    void operator()(double amount, Way&& way)
    {
        if (turn_.load(std::memory_order_relaxed) >= turns)
            return way(quickest_.load(std::memory_order_relaxed));
        const int turn = turn_.fetch_add(1, std::memory_order_relaxed);
        const int tried = (turn + turn / ways) % ways;
        const auto start = clock::now();
        way(tried);
        const std::chrono::duration<double> taken = clock::now() - start;
        // What another thread notes in between is lost: one sample less.
        const double pace = taken.count() / amount, least = least_[tried].load(std::memory_order_relaxed);
        if (least == 0 || pace < least)
            least_[tried].store(pace, std::memory_order_relaxed);
        quickest_.store(static_cast<int>(std::min_element(std::begin(least_), std::end(least_)) - least_),
                        std::memory_order_relaxed);
    }

private:
    using clock = std::chrono::steady_clock;
    std::atomic<int> turn_{0}, quickest_{0};
    std::atomic<double> least_[ways] = {}; // seconds for one of the amount; 0 while a way was not tried
};

} // namespace qnm::core
