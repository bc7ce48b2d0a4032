// Distances of observations from a centre, as a covariance measures them.
#pragma once

#include "matrices.hpp"
#include "median.hpp"
#include "moments.hpp"

#include <algorithm>

namespace qnm::vsl::statistics {

/// The square of what is exceeded with this chance by a chi-square distribution.
double chi_square_above(std::int64_t freedom, double chance);

/// Squares of distances; `products` by `divisor` is the covariance, and becomes its factor. False if there is
/// none.
template <class T>
int find_distances(const Sample<T>& sample, Threader* threader, const Central* centre, double* products,
                   double divisor, double* result)
{
    const std::int64_t columns = sample.chosen;
    for (std::int64_t k = 0; k < columns * columns; ++k)
        products[k] /= divisor;
    if (!factor(columns, products))
        return no_factor;
    constexpr std::int64_t part = 4096;
    return for_each(threader, (sample.n + part - 1) / part, [&](std::int64_t number) {
        const Room<double> x(columns);
        if (!x)
            return out_of_memory;
        for (std::int64_t i = number * part; i < std::min(sample.n, (number + 1) * part); ++i) {
            for (std::int64_t k = 0; k < columns; ++k)
                x[k] = static_cast<double>(sample.at(sample.component[k], i)) - centre[k].mean;
            solve(columns, products, x.get());
            result[i] = 0;
            for (std::int64_t k = 0; k < columns; ++k)
                result[i] += x[k] * x[k];
        }
        return ok;
    });
}

} // namespace qnm::vsl::statistics
