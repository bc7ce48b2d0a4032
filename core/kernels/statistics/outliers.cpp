// Outliers by BACON (Billor, Hadi, Velleman 2000): a small subset that is surely good grows until it stays as
// it is.
#include "distances.hpp"

#include <boost/math/distributions/chi_squared.hpp>
#include <cmath>
#include <numeric>

namespace qnm::vsl::statistics {

double chi_square_above(std::int64_t freedom, double chance)
{
    const boost::math::chi_squared_distribution<double> distribution(static_cast<double>(freedom));
    return boost::math::quantile(boost::math::complement(distribution, chance));
}

namespace {

constexpr Mask outliers = 0x80000;
constexpr double by_distances = 0, by_medians = 1;
constexpr std::int64_t parameter_number = 3;
constexpr int most_steps = 100;

constexpr bool is(double choice, double one)
{
    return !(choice < one) && !(choice > one);
}

/// How much the bound is raised for small samples and small subsets.
double correction(double n, double p, double subset)
{
    const double half = std::floor((n + p + 1) / 2);
    return 1 + (p + 1) / (n - p) + 2 / (n - 1 - 3 * p) + std::max(0.0, (half - subset) / (half + subset));
}

template <class T>
int distances_from_medians(const Sample<T>& sample, double* result)
{
    const Room<double> x(sample.n);
    if (!x)
        return out_of_memory;
    std::fill_n(result, sample.n, 0.0);
    for (std::int64_t k = 0; k < sample.chosen; ++k) {
        const auto at = [&](std::int64_t i) {
            return static_cast<double>(sample.at(sample.component[k], i));
        };
        for (std::int64_t i = 0; i < sample.n; ++i)
            x[i] = at(i);
        const double centre = median(sample.n, x.get());
        for (std::int64_t i = 0; i < sample.n; ++i)
            result[i] += (at(i) - centre) * (at(i) - centre);
    }
    return ok;
}

template <class T>
int find_outliers(Task& task, Mask asked, std::int64_t, Threader* threader)
{
    const Asked results[] = {{outliers, of_outliers_weights}};
    Sample<T> sample;
    int status = tested(task, asked, results);
    if (status < 0 || (status = sample.open(task)) < 0)
        return status;
    sample.weights = nullptr;
    // Where it starts, the chance of a good observation to be called an outlier, the part of observations
    // that may still change sides at the end.
    double parameters[parameter_number] = {by_medians, 0.05, 0};
    if (const T* const given = array<T>(task, of_outliers_parameters); given != nullptr) {
        if (integer_or(task, of_outliers_count, parameter_number) != parameter_number)
            return unfit(of_outliers_count);
        std::copy_n(given, parameter_number, &parameters[0]);
    }
    const auto [start, chance, change] = parameters;
    if ((!is(start, by_distances) && !is(start, by_medians)) || !(chance > 0 && chance < 1) ||
        !(change >= 0 && change < 1))
        return unfit(of_outliers_parameters);
    const std::int64_t n = sample.n, columns = sample.chosen;
    if (n <= 3 * columns + 1)
        return unfit(of_observations);
    for (std::int64_t k = 0; k < columns; ++k)
        for (std::int64_t i = 0; i < n; ++i)
            if (!std::isfinite(sample.at(sample.component[k], i)))
                return unfit(of_x);
    const Room<double> distances(n);
    const Room<std::int64_t> rows(n);
    const Room<bool> inside(n);
    if (!distances || !rows || !inside)
        return out_of_memory;

    Moments moments;
    const auto distances_by_rows = [&](std::int64_t count) {
        sample.rows = count == n ? nullptr : rows.get();
        sample.count = count;
        const int failed = find_moments(sample, 1, true, threader, moments);
        return failed < 0 ? failed
                          : find_distances(sample, threader, moments.central.get(), moments.products.get(),
                                           static_cast<double>(count - 1), distances.get());
    };
    status = is(start, by_distances) ? distances_by_rows(n) : distances_from_medians(sample, distances.get());
    if (status < 0)
        return status == no_factor ? unfit(of_x) : status;
    std::iota(rows.get(), rows.get() + n, std::int64_t{0});
    std::sort(rows.get(), rows.get() + n,
              [&](std::int64_t i, std::int64_t j) { return distances[i] < distances[j]; });
    // The first subset grows until it has a covariance.
    std::int64_t count = std::min(n, 4 * columns);
    while ((status = distances_by_rows(count)) == no_factor && count < n)
        count = std::min(n, count + columns);
    for (std::int64_t i = 0; i < count; ++i)
        inside[rows[i]] = true;
    const double bound = chi_square_above(columns, chance / static_cast<double>(n));
    for (int step = 0; status == ok && step < most_steps; ++step) {
        const double raised =
            correction(static_cast<double>(n), static_cast<double>(columns), static_cast<double>(count));
        std::int64_t changed = 0;
        count = 0;
        for (std::int64_t i = 0; i < n; ++i) {
            const bool near = distances[i] < raised * raised * bound;
            changed += near != inside[i] ? 1 : 0;
            inside[i] = near;
            if (near)
                rows[count++] = i;
        }
        if (static_cast<double>(changed) <= change * static_cast<double>(n))
            break;
        status = distances_by_rows(count);
    }
    if (status < 0)
        return status == no_factor ? unfit(of_x) : status;
    T* const result = array<T>(task, of_outliers_weights);
    for (std::int64_t i = 0; i < n; ++i)
        result[i] = inside[i] ? 1 : 0;
    return ok;
}

} // namespace
} // namespace qnm::vsl::statistics

QNM_STAGE(SSOutliersDetection, qnm::vsl::statistics::find_outliers)
