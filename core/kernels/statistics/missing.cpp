// Values that are missing (not a number) in normal data: expectation and maximization, then data augmentation
// from there for each imputation (Schafer 1997).
#include "../streams/stream.hpp"
#include "matrices.hpp"
#include "sample.hpp"

#include <algorithm>
#include <cmath>

extern "C" {
int __vslNewStreamEx(qnm::vsl::Stream** slot, int id, int n, const std::uint32_t* parameters);
int __vslDeleteStream(qnm::vsl::Stream** slot);
int _vsldRngGaussian(int method, qnm::vsl::Stream* stream, int n, double* r, double a, double sigma);
int _vsldRngChiSquare(int method, qnm::vsl::Stream* stream, int n, double* r, int v);
}

namespace qnm::vsl::statistics {
namespace {

constexpr int mt19937 = 0x800000;
constexpr int of_start = of_missing + 2, of_prior = of_missing + 4, of_simulated = of_missing + 6,
              of_estimates = of_missing + 8; // their counts; addresses follow

/// A stream that deletes itself.
class Random {
public:
    explicit Random(std::uint32_t seed) : status_(__vslNewStreamEx(&stream_, mt19937, 1, &seed)) {}
    Random(const Random&) = delete;
    Random& operator=(const Random&) = delete;
    ~Random()
    {
        if (stream_ != nullptr)
            __vslDeleteStream(&stream_);
    }
    explicit operator bool() const { return status_ >= 0; }
    void normal(std::int64_t n, double* r) { _vsldRngGaussian(1, stream_, static_cast<int>(n), r, 0, 1); }
    /// The root of a chi-square variate.
    double chi(double freedom)
    {
        double r = 0;
        _vsldRngChiSquare(0, stream_, 1, &r, static_cast<int>(freedom));
        return std::sqrt(r);
    }

private:
    Stream* stream_ = nullptr;
    int status_;
};

/// A normal distribution's parameters behind each other: means, and the lower triangle by rows.
constexpr std::int64_t numbers_of(std::int64_t q)
{
    return q + q * (q + 1) / 2;
}

/// What is believed of mean and covariance ahead of the data; nothing, if weight is 0 and freedom -1.
struct Prior {
    double weight = 0, freedom = -1;
    Room<double> mean, products;
};

class Imputation {
public:
    template <class T>
    Imputation(const Sample<T>& sample)
        : n_(sample.n),
          q_(sample.chosen),
          x_(n_ * q_),
          gone_(n_ * q_),
          rows_(n_),
          known_(q_),
          unknown_(q_),
          mean_(q_),
          cov_(q_ * q_),
          products_(q_ * q_),
          factor_(q_ * q_),
          slopes_(q_ * q_),
          rest_(q_ * q_),
          drawn_(q_)
    {
        good_ = x_ && gone_ && rows_ && known_ && unknown_ && mean_ && cov_ && products_ && factor_ &&
                slopes_ && rest_ && drawn_;
        if (!good_)
            return;
        for (std::int64_t i = 0; i < n_; ++i) {
            rows_[i] = i;
            for (std::int64_t k = 0; k < q_; ++k) {
                x_[i * q_ + k] = static_cast<double>(sample.at(sample.component[k], i));
                gone_[i * q_ + k] = std::isnan(x_[i * q_ + k]);
                missing_ += gone_[i * q_ + k] ? 1 : 0;
            }
        }
        // Observations that lack the same components share their regressions.
        std::sort(rows_.get(), rows_.get() + n_, [this](std::int64_t i, std::int64_t j) {
            return std::lexicographical_compare(pattern(i), pattern(i) + q_, pattern(j), pattern(j) + q_);
        });
    }
    explicit operator bool() const { return good_; }
    std::int64_t missing() const { return missing_; }

    /// From what is there of each component; false if there is nothing.
    bool begin()
    {
        std::fill_n(cov_.get(), q_ * q_, 0.0);
        for (std::int64_t k = 0; k < q_; ++k) {
            double count = 0, sum = 0, squares = 0;
            const auto each = [&](auto body) {
                for (std::int64_t i = 0; i < n_; ++i)
                    if (!gone_[i * q_ + k])
                        body(x_[i * q_ + k]);
            };
            each([&](double x) { count += 1, sum += x; });
            mean_[k] = sum / count;
            each([&](double x) { squares += (x - mean_[k]) * (x - mean_[k]); });
            cov_[k * q_ + k] = squares / count;
            if (!(squares > 0))
                return false;
        }
        return true;
    }
    template <class T>
    void begin(const T* from)
    {
        for (std::int64_t k = 0; k < q_; ++k)
            mean_[k] = static_cast<double>(*from++);
        each_of_triangle([&](double& x) { x = static_cast<double>(*from++); });
    }
    template <class T>
    void show(T* to)
    {
        for (std::int64_t k = 0; k < q_; ++k)
            *to++ = static_cast<T>(mean_[k]);
        each_of_triangle([&](double& x) { *to++ = static_cast<T>(x); });
    }
    /// The values in the place of missing ones, by observations.
    template <class T>
    void show_missing(T* to) const
    {
        for (std::int64_t i = 0; i < n_ * q_; ++i)
            if (gone_[i])
                *to++ = static_cast<T>(x_[i]);
    }

    /// Fills what is missing: with what is expected or, if there is one, by chance. Then mean_ and products_
    /// are those of the data, with what is uncertain in expected values. False if the covariance is singular.
    bool fill(Random* random)
    {
        std::fill_n(products_.get(), q_ * q_, 0.0);
        for (std::int64_t first = 0, end; first < n_; first = end) {
            const bool* const lacks = pattern(rows_[first]);
            end = first + 1;
            while (end < n_ && std::equal(lacks, lacks + q_, pattern(rows_[end])))
                ++end;
            if (!regress(lacks, random != nullptr ? 0 : static_cast<double>(end - first)))
                return false;
            if (unknowns_ > 0 && random != nullptr && !factor(unknowns_, rest_.get()))
                return false;
            for (std::int64_t i = first; i < end; ++i)
                fill(x_.get() + rows_[i] * q_, random);
        }
        std::fill_n(mean_.get(), q_, 0.0);
        for (std::int64_t i = 0; i < n_ * q_; ++i)
            mean_[i % q_] += x_[i] / static_cast<double>(n_);
        for (std::int64_t i = 0; i < n_; ++i)
            for (std::int64_t j = 0; j < q_; ++j)
                for (std::int64_t k = 0; k <= j; ++k)
                    products_[j * q_ + k] += (x_[i * q_ + j] - mean_[j]) * (x_[i * q_ + k] - mean_[k]);
        return true;
    }

    /// The most likely parameters of the data; how much the covariance changed, in parts of variances.
    double maximize()
    {
        double change = 0;
        for (std::int64_t j = 0; j < q_; ++j)
            for (std::int64_t k = 0; k <= j; ++k) {
                double& was = cov_[j * q_ + k];
                const double is = products_[j * q_ + k] / static_cast<double>(n_);
                change = std::max(change, std::abs(is - was) /
                                              std::sqrt(products_[j * q_ + j] * products_[k * q_ + k]) *
                                              static_cast<double>(n_));
                was = is;
            }
        return change;
    }

    /// Parameters as likely as the data and the prior make them: an inverted Wishart matrix, by Bartlett's
    /// decomposition, and a mean around the data's.
    bool draw(Random& random, const Prior& prior)
    {
        const double n = static_cast<double>(n_), weight = prior.weight + n;
        for (std::int64_t j = 0; prior.weight > 0 && j < q_; ++j)
            for (std::int64_t k = 0; k <= j; ++k)
                products_[j * q_ + k] +=
                    prior.weight * n / weight * (mean_[j] - prior.mean[j]) * (mean_[k] - prior.mean[k]);
        for (std::int64_t j = 0; prior.products && j < q_; ++j)
            for (std::int64_t k = 0; k <= j; ++k)
                products_[j * q_ + k] += prior.products[j * (j + 1) / 2 + k];
        for (std::int64_t k = 0; prior.weight > 0 && k < q_; ++k)
            mean_[k] = (n * mean_[k] + prior.weight * prior.mean[k]) / weight;
        if (!factor(q_, products_.get()))
            return false;
        // The factor L of the products, and Bartlett's A: X = L A^-T, and the covariance is X X'.
        double *const bartlett = factor_.get(), *const x = slopes_.get();
        for (std::int64_t j = 0; j < q_; ++j) {
            random.normal(j, bartlett + j * q_);
            bartlett[j * q_ + j] = random.chi(prior.freedom + n - static_cast<double>(j));
        }
        for (std::int64_t j = 0; j < q_; ++j) { // each row by A
            std::copy_n(products_.get() + j * q_, j + 1, x + j * q_);
            std::fill(x + j * q_ + j + 1, x + (j + 1) * q_, 0.0);
            solve(q_, bartlett, x + j * q_);
        }
        random.normal(q_, drawn_.get());
        for (std::int64_t j = 0; j < q_; ++j) {
            double shift = 0;
            for (std::int64_t k = 0; k < q_; ++k)
                shift += x[j * q_ + k] * drawn_[k];
            mean_[j] += shift / std::sqrt(weight);
            for (std::int64_t k = 0; k <= j; ++k) {
                double& sum = cov_[j * q_ + k];
                sum = 0;
                for (std::int64_t i = 0; i < q_; ++i)
                    sum += x[j * q_ + i] * x[k * q_ + i];
            }
        }
        return true;
    }

private:
    const bool* pattern(std::int64_t row) const { return gone_.get() + row * q_; }
    double cov(std::int64_t i, std::int64_t j) const { return cov_[std::max(i, j) * q_ + std::min(i, j)]; }
    void each_of_triangle(auto body)
    {
        for (std::int64_t j = 0; j < q_; ++j)
            for (std::int64_t k = 0; k <= j; ++k)
                body(cov_[j * q_ + k]);
    }

    /// Of the missing components on the others; what is left of their covariance counts `uncertain` times.
    bool regress(const bool* lacks, double uncertain)
    {
        knowns_ = unknowns_ = 0;
        for (std::int64_t k = 0; k < q_; ++k)
            (lacks[k] ? unknown_[unknowns_++] : known_[knowns_++]) = k;
        for (std::int64_t i = 0; i < knowns_; ++i)
            for (std::int64_t j = 0; j <= i; ++j)
                factor_[i * knowns_ + j] = cov(known_[i], known_[j]);
        if (!factor(knowns_, factor_.get()))
            return false;
        for (std::int64_t i = 0; i < unknowns_; ++i) {
            double* const row = slopes_.get() + i * knowns_;
            for (std::int64_t j = 0; j < knowns_; ++j)
                row[j] = cov(unknown_[i], known_[j]);
            solve(knowns_, factor_.get(), row);
            for (std::int64_t j = 0; j <= i; ++j) {
                double left = cov(unknown_[i], unknown_[j]);
                for (std::int64_t k = 0; k < knowns_; ++k)
                    left -= row[k] * slopes_[j * knowns_ + k];
                rest_[i * unknowns_ + j] = left;
                products_[unknown_[i] * q_ + unknown_[j]] += uncertain * left;
            }
        }
        return true;
    }
    void fill(double* x, Random* random)
    {
        for (std::int64_t j = 0; j < knowns_; ++j)
            drawn_[j] = x[known_[j]] - mean_[known_[j]];
        solve(knowns_, factor_.get(), drawn_.get());
        for (std::int64_t i = 0; i < unknowns_; ++i) {
            double value = mean_[unknown_[i]];
            for (std::int64_t j = 0; j < knowns_; ++j)
                value += slopes_[i * knowns_ + j] * drawn_[j];
            x[unknown_[i]] = value;
        }
        if (random == nullptr || unknowns_ == 0)
            return;
        random->normal(unknowns_, drawn_.get());
        for (std::int64_t i = 0; i < unknowns_; ++i)
            for (std::int64_t j = 0; j <= i; ++j)
                x[unknown_[i]] += rest_[i * unknowns_ + j] * drawn_[j];
    }

    std::int64_t n_, q_, missing_ = 0, knowns_ = 0, unknowns_ = 0;
    Room<double> x_;
    Room<bool> gone_;
    Room<std::int64_t> rows_, known_, unknown_;
    Room<double> mean_, cov_, products_, factor_, slopes_, rest_, drawn_;
    bool good_ = false;
};

template <class T>
int impute(Task& task, Mask, std::int64_t, Threader*)
{
    constexpr std::int64_t parameter_number = 5;
    const T* const given = array<T>(task, of_missing + 1);
    T *const simulated = array<T>(task, of_simulated + 1), *const estimates =
                                                               array<T>(task, of_estimates + 1);
    for (const int parameter : {int{of_missing}, of_missing + 1, of_simulated + 1})
        if (address(task, parameter) == nullptr)
            return missing(parameter);
    if (integer(task, of_missing) != parameter_number)
        return unfit(of_missing);
    // Steps to the most likely parameters at most, steps of augmentation, the change that ends the first
    // ones, imputations, missing values.
    const auto most_steps = static_cast<std::int64_t>(given[0]), steps = static_cast<std::int64_t>(given[1]),
               imputations = static_cast<std::int64_t>(given[3]),
               values = static_cast<std::int64_t>(given[4]);
    const double accuracy = static_cast<double>(given[2]);
    if (most_steps < 1 || steps < 1 || imputations < 1 || values < 0 || !(accuracy >= 0))
        return unfit(of_missing + 1);
    Sample<T> sample;
    if (const int status = sample.open(task); status < 0)
        return status;
    const std::int64_t q = sample.chosen, numbers = numbers_of(q);
    const T *const start = array<T>(task, of_start + 1), *const believed = array<T>(task, of_prior + 1);
    if (start != nullptr && integer_or(task, of_start, numbers) < numbers)
        return unfit(of_start);
    if (believed != nullptr && integer_or(task, of_prior, numbers + 2) < numbers + 2)
        return unfit(of_prior);
    if (integer_or(task, of_simulated, imputations * values) < imputations * values)
        return unfit(of_simulated);
    if (estimates != nullptr && integer_or(task, of_estimates, imputations * numbers) < imputations * numbers)
        return unfit(of_estimates);
    if (sample.n <= q)
        return unfit(of_observations);
    Prior prior;
    if (believed != nullptr) {
        prior = {static_cast<double>(believed[0]), static_cast<double>(believed[1]), Room<double>(q),
                 Room<double>(numbers - q)};
        if (!prior.mean || !prior.products)
            return out_of_memory;
        std::copy_n(believed + 2, q, prior.mean.get());
        std::copy_n(believed + 2 + q, numbers - q, prior.products.get());
        if (!(prior.weight >= 0) ||
            !(prior.freedom + static_cast<double>(sample.n) >= static_cast<double>(q)))
            return unfit(of_prior + 1);
    }
    Imputation data(sample);
    Random random(1);
    if (!data || !random)
        return out_of_memory;
    if (data.missing() != values)
        return unfit(of_missing + 1);
    if (start != nullptr)
        data.begin(start);
    else if (!data.begin())
        return unfit(of_x);
    for (std::int64_t step = 0; step < most_steps; ++step) {
        if (!data.fill(nullptr))
            return unfit(of_x);
        if (data.maximize() <= accuracy)
            break;
    }
    Room<T> likeliest(numbers);
    if (!likeliest)
        return out_of_memory;
    data.show(likeliest.get());
    for (std::int64_t k = 0; k < imputations; ++k) {
        data.begin(likeliest.get());
        for (std::int64_t step = 0; step < steps; ++step)
            if (!data.fill(&random) || !data.draw(random, prior))
                return unfit(of_x);
        data.show_missing(simulated + k * values);
        if (estimates != nullptr)
            data.show(estimates + k * numbers);
    }
    return ok;
}

} // namespace
} // namespace qnm::vsl::statistics

QNM_STAGE(SSMissingValues, qnm::vsl::statistics::impute)
