// Covariance that outliers hardly move (Maronna, Zamar 2002): scales of sums and differences of components,
// made orthogonal, then means and covariances of what is near. From there on, if that is asked for, the
// S-estimate with a translated biweight (Rocke 1996).
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

/// A translated biweight: half the square of a distance up to `near`, then rising ever less, up to
/// near + slope.
struct Biweight {
    double near, slope;

    double most() const { return near * near / 2 + 8 * near * slope / 15 + slope * slope / 6; }
    double at(double distance) const
    {
        if (distance <= near)
            return distance * distance / 2;
        const double t = distance - near, s = t * t / (slope * slope);
        return t >= slope ? most()
                          : near * near / 2 + near * t * (1 - s * (2.0 / 3 - s / 5)) +
                                t * t / 2 * (1 - s * (1 - s / 3));
    }
    /// Its slope by the distance.
    double weight(double distance) const
    {
        if (distance <= near)
            return 1;
        const double u = (distance - near) / slope;
        return u >= 1 ? 0 : (1 - u * u) * (1 - u * u);
    }
    /// Its mean for normal observations, by its greatest value: the part of outliers that it stands.
    double breakdown(std::int64_t p) const
    {
        const double freedom = static_cast<double>(p);
        const double unit = (freedom / 2 - 1) * std::log(2.0) + std::lgamma(freedom / 2);
        const auto missing_at = [&](double d) { // what it lacks, by the density of the distance
            const double log = std::log(std::max(d, 1e-300));
            return (most() - at(d)) * std::exp((freedom - 1) * log - d * d / 2 - unit);
        };
        const auto simpson = [&](double from, double width) {
            constexpr int steps = 512;
            double sum = missing_at(from) + missing_at(from + width);
            for (int i = 1; i < steps; ++i)
                sum += (i % 2 == 0 ? 2 : 4) * missing_at(from + width * i / steps);
            return sum * width / (3 * steps);
        };
        return 1 - (simpson(0, near) + simpson(near, slope)) / most();
    }
};

/// That which stands such a part of outliers and gives weight to all but such a part of normal observations.
/// Where both cannot be, the first is kept, or exceeded.
Biweight biweight_for(std::int64_t p, double outliers, double rejected)
{
    const double end = std::sqrt(chi_square_above(p, rejected));
    const bool plain = Biweight{0, end}.breakdown(p) < outliers;
    double low = 0, high = end; // of what is greater for a smaller breakdown
    const auto with = [=](double x) { return plain ? Biweight{0, x} : Biweight{x, end - x}; };
    constexpr int halvings = 52;
    for (int i = 0; i < halvings; ++i) {
        const double middle = (low + high) / 2;
        (with(middle).breakdown(p) > outliers ? low : high) = middle;
    }
    return with((low + high) / 2);
}

/// What distances are to be divided by, so that the biweight has this mean.
double scale_for(const Biweight& biweight, double mean, std::int64_t n, const double* squares, double scale)
{
    constexpr int most_steps = 200;
    constexpr double enough = 1e-14;
    for (int step = 0; step < most_steps; ++step) {
        double sum = 0;
        for (std::int64_t i = 0; i < n; ++i)
            sum += biweight.at(std::sqrt(squares[i]) / scale);
        const double ratio = sum / (static_cast<double>(n) * mean);
        scale *= std::sqrt(ratio);
        if (std::abs(ratio - 1) < enough)
            break;
    }
    return scale;
}

/// What robust covariance is told.
struct Choice {
    double chance = usual_chance;
    // Of the S-estimate: outliers to stand, normal observations without weight, the change that ends, steps.
    bool biweight = false;
    double outliers = 0, rejected = 0, tolerance = 0, steps = 0;

    template <class T>
    int open(const Task& task)
    {
        const T* const given = array<T>(task, of_robust_parameters);
        if (given == nullptr)
            return ok;
        const std::int64_t count = integer_or(task, of_robust_count, 1);
        biweight = count == 4;
        if (biweight) {
            outliers = static_cast<double>(given[0]);
            rejected = static_cast<double>(given[1]);
            tolerance = static_cast<double>(given[2]);
            steps = static_cast<double>(given[3]);
            return outliers > 0 && outliers <= 0.5 && rejected > 0 && rejected < 1 && tolerance > 0 &&
                           steps >= 1
                       ? ok
                       : unfit(of_robust_parameters);
        }
        chance = static_cast<double>(given[0]);
        return count != 1                 ? unfit(of_robust_count)
               : chance > 0 && chance < 1 ? ok
                                          : unfit(of_robust_parameters);
    }
};

/// Goes on from means and products to those of the S-estimate; `divisor` makes a covariance of them.
template <class T>
int find_s_estimate(const Choice& choice, Sample<T>& sample, Threader* threader, Moments& moments,
                    double& divisor)
{
    const std::int64_t n = sample.n, p = sample.chosen;
    const Room<double> factored(p * p), squares(n), last(p * (p + 1));
    const Room<T> weights(n);
    if (!factored || !squares || !last || !weights)
        return out_of_memory;
    const Biweight biweight = biweight_for(p, choice.outliers, choice.rejected);
    const double mean = biweight.breakdown(p) * biweight.most();
    sample.rows = nullptr;
    sample.count = n;
    sample.weights = weights.get();
    std::fill_n(last.get(), p * (p + 1), 0.0);
    for (double step = 0;; ++step) {
        std::copy_n(moments.products.get(), p * p, factored.get());
        const double freedom = moments.weight.sum;
        if (const int status = find_distances(sample, threader, moments.central.get(), factored.get(),
                                              freedom, squares.get());
            status < 0)
            return status == no_factor ? unfit(of_x) : status;
        const double scale = scale_for(biweight, mean, n, squares.get(), 1);
        divisor = freedom / (scale * scale);
        double change = 0;
        const auto moved = [&](double value, double unit, double& from) {
            change = std::max(change, std::abs(value - from) / unit);
            from = value;
        };
        const auto deviation = [&](std::int64_t i) {
            return std::sqrt(moments.products[i * (p + 1)] / divisor);
        };
        for (std::int64_t i = 0; i < p; ++i) {
            moved(moments.central[i].mean, deviation(i), last[p * p + i]);
            for (std::int64_t j = 0; j <= i; ++j)
                moved(moments.products[i * p + j] / divisor, deviation(i) * deviation(j), last[i * p + j]);
        }
        if (change <= choice.tolerance || step >= choice.steps)
            return ok;
        for (std::int64_t i = 0; i < n; ++i)
            weights[i] = static_cast<T>(biweight.weight(std::sqrt(squares[i]) / scale));
        if (const int status = find_moments(sample, 1, true, threader, moments); status < 0)
            return status;
    }
}

template <class T>
int find_robust(Task& task, Mask asked, std::int64_t, Threader* threader)
{
    const Asked results[] = {{robust, of_robust_cov}};
    Sample<T> sample;
    Matrix<T> cov;
    Choice choice;
    int status = tested(task, asked, results);
    if (status < 0 || (status = sample.open(task)) < 0 ||
        (status = open_matrix(task, of_robust_cov, of_robust_cov_storage, sample.p, true, cov)) < 0 ||
        (status = choice.open<T>(task)) < 0)
        return status;
    sample.weights = nullptr;
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
    const double bound =
        median(n, spare.get()) * chi_square_above(p, 1 - choice.chance) / chi_square_above(p, 0.5);
    std::int64_t count = 0;
    for (std::int64_t i = 0; i < n; ++i)
        if (distances[i] <= bound)
            rows[count++] = i;
    sample.rows = rows.get();
    sample.count = count;
    Moments moments;
    if ((status = find_moments(sample, 1, true, threader, moments)) < 0)
        return status;
    double divisor = moments.weight.freedom();
    if (choice.biweight && (status = find_s_estimate(choice, sample, threader, moments, divisor)) < 0)
        return status;
    for (std::int64_t i = 0; i < p; ++i) {
        if (T* const mean = array<T>(task, of_robust_mean); mean != nullptr)
            mean[sample.component[i]] = static_cast<T>(moments.central[i].mean);
        for (std::int64_t j = 0; j <= i; ++j)
            cov.set(sample.component[i], sample.component[j], moments.products[i * p + j] / divisor);
    }
    return ok;
}

} // namespace
} // namespace qnm::vsl::statistics

QNM_STAGE(SSRobustCovariance, qnm::vsl::statistics::find_robust)
