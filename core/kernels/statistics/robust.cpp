// Covariance that outliers hardly move (Maronna, Zamar 2002): scales of sums and differences of components,
// made orthogonal, then means and covariances of what is near.
#include "distances.hpp"

#include <cmath>

namespace qnm::vsl::statistics {
namespace {

constexpr Mask robust = 0x40000;
constexpr int iterations = 2;
constexpr double usual_chance = 0.9; // of a good observation to be near

struct Place {
    double location, scale;
};

/// The tau-scale of Yohai and Zamar 1988, and the location that goes with it; `spare` has room for as many.
Place place_of_column(std::int64_t n, const double* x, double* spare)
{
    constexpr double near = 4.5, cut = 3;
    std::copy_n(x, n, spare);
    const double centre = median(n, spare);
    for (std::int64_t i = 0; i < n; ++i)
        spare[i] = std::abs(x[i] - centre);
    const double deviation = median(n, spare);
    if (!(deviation > 0))
        return {centre, 0};
    double weight = 0, sum = 0;
    for (std::int64_t i = 0; i < n; ++i) {
        const double u = (x[i] - centre) / (near * deviation),
                     w = std::abs(u) < 1 ? (1 - u * u) * (1 - u * u) : 0;
        weight += w;
        sum += w * x[i];
    }
    const double location = sum / weight;
    double squares = 0;
    for (std::int64_t i = 0; i < n; ++i) {
        const double u = (x[i] - location) / deviation;
        squares += std::min(u * u, cut * cut);
    }
    return {location, deviation * std::sqrt(squares / static_cast<double>(n))};
}

template <class T>
int find_robust(Task& task, Mask asked, std::int64_t, Threader* threader)
{
    const Asked results[] = {{robust, of_robust_cov}};
    Sample<T> sample;
    Matrix<T> cov;
    int status = tested(task, asked, results);
    if (status < 0 || (status = sample.open(task)) < 0 ||
        (status = open_matrix(task, of_robust_cov, of_robust_cov_storage, sample.p, true, cov)) < 0)
        return status;
    sample.weights = nullptr;
    double chance = usual_chance;
    if (const T* const given = array<T>(task, of_robust_parameters); given != nullptr) {
        if (integer_or(task, of_robust_count, 1) != 1)
            return unfit(of_robust_count);
        chance = static_cast<double>(given[0]);
    }
    if (!(chance > 0 && chance < 1))
        return unfit(of_robust_parameters);
    const std::int64_t n = sample.n, p = sample.chosen;
    if (n < 2 * p)
        return unfit(of_observations);
    const Room<double> z(n * p), turned(p), a(p * p), v(p * p), distances(n), spare(n);
    const Room<std::int64_t> rows(n);
    if (!z || !turned || !a || !v || !distances || !spare || !rows)
        return out_of_memory;
    for (std::int64_t k = 0; k < p; ++k)
        for (std::int64_t i = 0; i < n; ++i) {
            z[k * n + i] = static_cast<double>(sample.at(sample.component[k], i));
            if (!std::isfinite(z[k * n + i]))
                return unfit(of_x);
        }
    for (int iteration = 0; iteration < iterations; ++iteration) {
        for (std::int64_t k = 0; k < p; ++k) {
            double* const x = z.get() + k * n;
            const double scale = place_of_column(n, x, spare.get()).scale;
            if (!(scale > 0))
                return unfit(of_x);
            for (std::int64_t i = 0; i < n; ++i)
                x[i] /= scale;
        }
        status = for_each(threader, p, [&](std::int64_t i) {
            const Room<double> both(n), other(n);
            if (!both || !other)
                return out_of_memory;
            for (std::int64_t j = 0; j < i; ++j) {
                double square[2];
                for (int which = 0; which < 2; ++which) {
                    for (std::int64_t k = 0; k < n; ++k)
                        both[k] = z[i * n + k] + (which == 0 ? z[j * n + k] : -z[j * n + k]);
                    const double scale = place_of_column(n, both.get(), other.get()).scale;
                    square[which] = scale * scale;
                }
                a[i * p + j] = a[j * p + i] = (square[0] - square[1]) / 4;
            }
            a[i * p + i] = 1;
            return ok;
        });
        if (status < 0)
            return status;
        find_eigenvalues(p, a.get(), v.get());
        for (std::int64_t i = 0; i < n; ++i) {
            for (std::int64_t k = 0; k < p; ++k) {
                turned[k] = 0;
                for (std::int64_t j = 0; j < p; ++j)
                    turned[k] += v[j * p + k] * z[j * n + i];
            }
            for (std::int64_t k = 0; k < p; ++k)
                z[k * n + i] = turned[k];
        }
    }
    // In the turned components, which are not correlated, distances do not depend on the way back.
    std::fill_n(distances.get(), n, 0.0);
    for (std::int64_t k = 0; k < p; ++k) {
        const Place place = place_of_column(n, z.get() + k * n, spare.get());
        if (!(place.scale > 0))
            return unfit(of_x);
        for (std::int64_t i = 0; i < n; ++i) {
            const double u = (z[k * n + i] - place.location) / place.scale;
            distances[i] += u * u;
        }
    }
    std::copy_n(distances.get(), n, spare.get());
    const double bound = median(n, spare.get()) * chi_square_above(p, 1 - chance) / chi_square_above(p, 0.5);
    std::int64_t count = 0;
    for (std::int64_t i = 0; i < n; ++i)
        if (distances[i] <= bound)
            rows[count++] = i;
    sample.rows = rows.get();
    sample.count = count;
    Moments moments;
    if ((status = find_moments(sample, 1, true, threader, moments)) < 0)
        return status;
    for (std::int64_t i = 0; i < p; ++i) {
        if (T* const mean = array<T>(task, of_robust_mean); mean != nullptr)
            mean[sample.component[i]] = static_cast<T>(moments.central[i].mean);
        for (std::int64_t j = 0; j <= i; ++j)
            cov.set(sample.component[i], sample.component[j],
                    moments.products[i * p + j] / moments.weight.freedom());
    }
    return ok;
}

} // namespace
} // namespace qnm::vsl::statistics

QNM_STAGE(SSRobustCovariance, qnm::vsl::statistics::find_robust)
