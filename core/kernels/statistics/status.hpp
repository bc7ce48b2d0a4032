// What kernels of summary statistics return.
#pragma once

namespace qnm::vsl::statistics {

constexpr int ok = 0, no_kernel = -1, bad_argument = -3, out_of_memory = -4000, no_task = -4031;
constexpr int no_factor = -4099; // inside: a covariance is singular

/// Something is asked for, and the address of this parameter is null.
constexpr int missing(int parameter)
{
    return -4100 - parameter;
}
/// What lies at the address of this parameter cannot be.
constexpr int unfit(int parameter)
{
    return -4200 - parameter;
}

} // namespace qnm::vsl::statistics
