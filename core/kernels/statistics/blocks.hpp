// What is done with a block of observations, compiled once for each instruction set. A block holds a column
// for each component, `stride` numbers apart, filled up with zeros.
#pragma once

#include "../tables.hpp"

#include <cstdint>

namespace qnm::vsl::statistics {

/// Sums of powers of distances from the mean.
struct Central {
    double mean, second, third, fourth;
};

struct BlockRoutines {
    /// Turns observations of so many components, which lie one behind the other, into columns.
    void (*turn_floats)(const float* x, std::int64_t columns, std::int64_t count, std::int64_t stride,
                        double* to);
    void (*turn_doubles)(const double* x, std::int64_t columns, std::int64_t count, std::int64_t stride,
                         double* to);
    /// Of `count` numbers with weights that add up to `weight` (null: all are 1); leaves the distances in the
    /// column.
    Central (*central)(double* column, std::int64_t count, const double* weights, double weight, int degree);
    /// Adds the products of all pairs of columns to the lower triangle of `sums`, with the second factor of
    /// each from `weighted`.
    void (*products)(std::int64_t columns, std::int64_t stride, const double* column, const double* weighted,
                     double* sums);
    /// The least and the greatest, as far as they are beyond those; what is not a number is left out.
    void (*extremes)(const double* column, std::int64_t count, double& least, double& greatest);
};
inline constexpr std::int64_t block_unit = 8; // strides are multiples of it

extern "C" const BlockRoutines qnm_ss_blocks_sse2, qnm_ss_blocks_avx2, qnm_ss_blocks_avx512;

inline const BlockRoutines& block_routines()
{
    const int best = vml::best_set();
    return best == vml::avx512_table ? qnm_ss_blocks_avx512
           : best == vml::avx2_table ? qnm_ss_blocks_avx2
                                     : qnm_ss_blocks_sse2;
}

} // namespace qnm::vsl::statistics
