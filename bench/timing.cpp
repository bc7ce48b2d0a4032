#include "timing.hpp"

#include <algorithm>
#include <chrono>
#include <vector>

namespace qnm::bench {
namespace {

double nanoseconds(const Road& road, long calls)
{
    using clock = std::chrono::steady_clock;
    const auto start = clock::now();
    road.loop(road.function, calls);
    const std::chrono::duration<double, std::nano> taken = clock::now() - start;
    return taken.count() / static_cast<double>(calls);
}

double median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

long calls_in_a_batch(const Road& road)
{
    constexpr double batch = 10'000; // ns: far above the clock's grain, far below a time slice
    long calls = 16;
    while (nanoseconds(road, calls) * static_cast<double>(calls) < batch)
        calls *= 2;
    return calls;
}

} // namespace

// The roads are taken in turn, a short batch each, so that a change of the processor's speed or a neighbour's
// load meets them all; what is compared are batches of one round.
Times measure(const Road& direct, const Road& layer, const Road& engine)
{
    constexpr int rounds = 6001;
    const long calls = calls_in_a_batch(direct);
    layer.loop(layer.function, calls);
    if (engine.function != nullptr)
        engine.loop(engine.function, calls);

    std::vector<double> direct_times, layer_times, engine_times, added, ratio;
    for (int round = 0; round < rounds; ++round) {
        double by_direct = 0, by_layer = 0;
        if (round % 2 == 0)
            by_direct = nanoseconds(direct, calls);
        by_layer = nanoseconds(layer, calls);
        if (round % 2 != 0)
            by_direct = nanoseconds(direct, calls);
        direct_times.push_back(by_direct);
        layer_times.push_back(by_layer);
        engine_times.push_back(engine.function != nullptr ? nanoseconds(engine, calls) : 0.0);
        added.push_back(by_layer - by_direct);
        ratio.push_back(by_layer / by_direct);
    }
    return {median(direct_times), median(layer_times), median(engine_times), median(added), median(ratio)};
}

} // namespace qnm::bench
