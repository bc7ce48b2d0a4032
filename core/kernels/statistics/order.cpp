// What needs the observations in order: sorted data, quantiles, absolute deviations. Numbers that are none
// come last.
#include "median.hpp"
#include "moments.hpp"

#include <algorithm>

namespace qnm::vsl::statistics {
namespace {

constexpr Mask sorted = Mask{1} << 39, quantiles = 0x10000, order_statistics = 0x20000,
               median_deviation = 0x200000000, mean_deviation = 0x400000000;

/// Calls body(component, its observations) for each component; the observations are a copy.
template <class T, class F>
int for_components(const Sample<T>& sample, Threader* threader, F body)
{
    return for_each(threader, sample.chosen, [&](std::int64_t k) {
        const Room<T> x(sample.n);
        if (!x)
            return out_of_memory;
        const std::int64_t component = sample.component[k];
        for (std::int64_t i = 0; i < sample.n; ++i)
            x[i] = sample.at(component, i);
        return body(component, x.get());
    });
}

/// Where observations go, in order.
template <class T>
struct Ordered {
    T* to = nullptr;
    Strides strides{};

    int open(const Task& task, int parameter, int storage_parameter, bool wanted, const Sample<T>& sample)
    {
        to = wanted ? array<T>(task, parameter) : nullptr;
        const std::int64_t storage = integer_or(task, storage_parameter, integer(task, of_storage));
        strides = strides_of(storage, sample.p, sample.n);
        return to == nullptr || storage == by_components || storage == by_observations
                   ? ok
                   : unfit(storage_parameter);
    }
    void put(std::int64_t component, std::int64_t n, const T* x) const
    {
        for (std::int64_t i = 0; to != nullptr && i < n; ++i)
            to[component * strides.component + i * strides.observation] = x[i];
    }
};

template <class T>
int sort(Task& task, Mask asked, std::int64_t, Threader* threader)
{
    constexpr Asked results[] = {{sorted, of_sorted}};
    Sample<T> sample;
    Ordered<T> to;
    int status = tested(task, asked, results);
    if (status < 0 || (status = sample.open(task)) < 0 ||
        (status = to.open(task, of_sorted, of_sorted_storage, true, sample)) < 0)
        return status;
    return for_components(sample, threader, [&](std::int64_t component, T* x) {
        std::sort(x, x + sample.n, less<T>);
        to.put(component, sample.n, x);
        return ok;
    });
}

template <class T>
int find_quantiles(Task& task, Mask asked, std::int64_t, Threader* threader)
{
    constexpr Asked results[] = {{quantiles, of_quantile_count},
                                 {quantiles, of_quantile_orders},
                                 {quantiles, of_quantiles},
                                 {order_statistics, of_order_statistics}};
    Sample<T> sample;
    Ordered<T> to;
    int status = tested(task, asked, results);
    if (status < 0 || (status = sample.open(task)) < 0 ||
        (status = to.open(task, of_order_statistics, of_order_statistics_storage,
                          (asked & order_statistics) != 0, sample)) < 0)
        return status;
    const std::int64_t count = (asked & quantiles) != 0 ? integer(task, of_quantile_count) : 0;
    const T* const orders = array<T>(task, of_quantile_orders);
    T* const result = array<T>(task, of_quantiles);
    if (count < 1 && (asked & quantiles) != 0)
        return unfit(of_quantile_count);
    for (std::int64_t k = 0; k < count; ++k)
        if (!(orders[k] >= 0 && orders[k] <= 1))
            return unfit(of_quantile_orders);
    return for_components(sample, threader, [&](std::int64_t component, T* x) {
        std::sort(x, x + sample.n, less<T>);
        to.put(component, sample.n, x);
        for (std::int64_t k = 0; k < count; ++k) {
            const double place = static_cast<double>(sample.n - 1) * static_cast<double>(orders[k]);
            const auto at = static_cast<std::int64_t>(place);
            const double rest = place - static_cast<double>(at);
            double value = static_cast<double>(x[at]);
            if (rest > 0 && at + 1 < sample.n)
                value += rest * (static_cast<double>(x[at + 1]) - value);
            result[component * count + k] = static_cast<T>(value);
        }
        return ok;
    });
}

template <class T>
int absolute_deviations(Task& task, Mask asked, std::int64_t, Threader* threader)
{
    constexpr Asked results[] = {{median_deviation, of_mdad}, {mean_deviation, of_mnad}};
    Sample<T> sample;
    int status = tested(task, asked, results);
    if (status < 0 || (status = sample.open(task)) < 0)
        return status;
    T* const of_median = (asked & median_deviation) != 0 ? array<T>(task, of_mdad) : nullptr;
    T* const of_means = (asked & mean_deviation) != 0 ? array<T>(task, of_mnad) : nullptr;
    Moments found;
    if (of_means != nullptr && (status = find_moments(sample, 1, false, threader, found)) < 0)
        return status;
    return for_each(threader, sample.chosen, [&](std::int64_t k) {
        const std::int64_t component = sample.component[k];
        if (of_means != nullptr) {
            double sum = 0;
            for (std::int64_t i = 0; i < sample.n; ++i)
                sum += std::abs(static_cast<double>(sample.at(component, i)) - found.central[k].mean) *
                       (sample.weights == nullptr ? 1 : static_cast<double>(sample.weights[i]));
            of_means[component] = static_cast<T>(sum / found.weight.sum);
        }
        if (of_median == nullptr)
            return ok;
        const Room<T> x(sample.n);
        if (!x)
            return out_of_memory;
        for (std::int64_t i = 0; i < sample.n; ++i)
            x[i] = sample.at(component, i);
        const T centre = median(sample.n, x.get());
        for (std::int64_t i = 0; i < sample.n; ++i)
            x[i] = std::abs(x[i] - centre);
        of_median[component] = median(sample.n, x.get());
        return ok;
    });
}

} // namespace
} // namespace qnm::vsl::statistics

QNM_STAGE(SSSort, qnm::vsl::statistics::sort)
QNM_STAGE(SSQuantiles, qnm::vsl::statistics::find_quantiles)
QNM_STAGE(SSMAD, qnm::vsl::statistics::absolute_deviations)
