// Numbers in order.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>

namespace qnm::vsl::statistics {

/// Those that are none come last.
template <class T>
bool less(T x, T y)
{
    return x < y || (std::isnan(y) && !std::isnan(x));
}

/// Destroys the order; of one number at least.
template <class T>
T median(std::int64_t n, T* x)
{
    T* const middle = x + n / 2;
    std::nth_element(x, middle, x + n, less<T>);
    return n % 2 != 0 ? *middle : std::midpoint(*std::max_element(x, middle, less<T>), *middle);
}

} // namespace qnm::vsl::statistics
