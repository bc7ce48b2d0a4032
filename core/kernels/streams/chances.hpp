// Logarithms of chances, to some ten digits also where the numbers are large: by the distance from the mean,
// not by differences of factorials (Loader 2000).
#pragma once

#include <cmath>

namespace qnm::vsl {

/// ln n! without Stirling's formula.
inline double beyond_stirling(double n)
{
    constexpr double half_of_log_2_pi = 0.91893853320467274178;
    if (n < 16)
        return std::lgamma(n + 1) - (n + 0.5) * std::log(n) + n - half_of_log_2_pi;
    const double square = n * n;
    return (1.0 / 12 - (1.0 / 360 - (1.0 / 1260 - 1.0 / 1680 / square) / square) / square) / n;
}

/// x ln(x/mean) + mean - x.
inline double deviance(double x, double mean)
{
    const double difference = x - mean, sum = x + mean;
    if (std::abs(difference) >= 0.1 * sum)
        return x * std::log(x / mean) - difference;
    const double v = difference / sum, square = v * v;
    double term = 2 * x * v, result = difference * v;
    for (int i = 3;; i += 2) {
        term *= square;
        const double more = result + term / i;
        if (more == result)
            return more;
        result = more;
    }
}

inline constexpr double log_2_pi = 1.8378770664093454836;

inline double log_poisson(double k, double mean)
{
    if (k == 0)
        return -mean;
    return -beyond_stirling(k) - deviance(k, mean) - 0.5 * (log_2_pi + std::log(k));
}

inline double log_binomial(double k, double n, double p)
{
    if (k == 0)
        return n * std::log1p(-p);
    if (k == n)
        return n * std::log(p);
    return beyond_stirling(n) - beyond_stirling(k) - beyond_stirling(n - k) - deviance(k, n * p) -
           deviance(n - k, n * (1 - p)) + 0.5 * (std::log(n / k / (n - k)) - log_2_pi);
}

/// k marked among `drawn` of marked + unmarked.
inline double log_hypergeometric(double k, double marked, double unmarked, double drawn)
{
    const double p = drawn / (marked + unmarked);
    return log_binomial(k, marked, p) + log_binomial(drawn - k, unmarked, p) -
           log_binomial(drawn, marked + unmarked, p);
}

} // namespace qnm::vsl
