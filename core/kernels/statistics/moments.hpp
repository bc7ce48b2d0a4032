// Weights, means, sums of central powers and cross-products of a sample: by blocks, which are joined as Chan,
// Golub and LeVeque (1983) and Pébay (2008) do.
#pragma once

#include "blocks.hpp"
#include "sample.hpp"

namespace qnm::vsl::statistics {

struct Weight {
    double sum = 0, squares = 0;

    Weight& operator+=(Weight other)
    {
        sum += other.sum;
        squares += other.squares;
        return *this;
    }
    /// What unbiased variances are divided by.
    double freedom() const { return sum - squares / sum; }
};

/// The moments of two samples together.
inline Central joined(double weight, const Central& one, double other_weight, const Central& other)
{
    if (weight == 0)
        return other;
    if (other_weight == 0)
        return one;
    const double sum = weight + other_weight, far = other.mean - one.mean;
    const double a = weight / sum, b = other_weight / sum;
    const double square = far * far * weight * b;
    return {one.mean + far * b, one.second + other.second + square,
            one.third + other.third + square * far * (a - b) + 3 * far * (a * other.second - b * one.second),
            one.fourth + other.fourth + square * far * far * (a * a - a * b + b * b) +
                6 * far * far * (a * a * other.second + b * b * one.second) +
                4 * far * (a * other.third - b * one.third)};
}

struct Moments {
    Weight weight;
    Room<Central> central; // of each chosen component
    Room<double> products; // lower triangle of a square of them, by rows; if it is asked for
};

/// `degree`: up to which power.
template <class T>
int find_moments(const Sample<T>& sample, int degree, bool products, Threader* threader, Moments& result);
extern template int find_moments(const Sample<float>&, int, bool, Threader*, Moments&);
extern template int find_moments(const Sample<double>&, int, bool, Threader*, Moments&);

/// The least and greatest of each chosen component, which go on from what is there.
template <class T>
int find_extremes(const Sample<T>& sample, Threader* threader, double* least, double* greatest,
                  Weight& weight);
extern template int find_extremes(const Sample<float>&, Threader*, double*, double*, Weight&);
extern template int find_extremes(const Sample<double>&, Threader*, double*, double*, Weight&);

} // namespace qnm::vsl::statistics
