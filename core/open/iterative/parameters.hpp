// Iterative solvers by reverse communication: what their arrays of parameters hold. All state lies in the
// caller's arrays, so that solves may be interleaved.
#pragma once

#include "../engine.hpp"

#include <cmath>

namespace qnm::core::iterative {

enum Request : core_int {
    done = 0,
    multiply = 1,
    test = 2,
    precondition = 3,
    test_norm = 4,
    too_many = -1,
    zero_division = -2,
    bad_residual = -10,
    endless = -11,
    warned = -1001,
    mended = -1010,
    warned_and_mended = -1011,
    refused = -1100,
    no_size = -10000
};

/// Places in `ipar`, from 0.
enum Word : core_int {
    size = 0,
    unit = 1,
    stage = 2,
    iterations = 3,
    most_iterations = 4,
    tells_errors = 5,
    tells_warnings = 6,
    stops_at_most = 7,
    stops_by_residual = 8,
    asks_user = 9,
    preconditioned = 10,
    stops_by_norm = 11,
    destination = 12, ///< of FGMRES's solution
    system = 12,      ///< of conjugate gradients: the right-hand side that is solved now
    inner = 13,
    restart = 14,
    source = 21,
    product = 22,
    replaces_pivots = 30,
    words = 128
};

/// Places in `dpar`, from 0.
enum Number : core_int {
    relative = 0,
    absolute = 1,
    first_residual = 2,
    bound = 3,
    residual = 4,
    residual_before = 5,
    alpha = 6,
    beta = 7,
    rho = 8, ///< the residual times the preconditioned one
    norm = 6,
    least_norm = 7,
    least_pivot = 30,
    other_pivot = 31,
    numbers = 128
};

/// What both methods do with their parameters.
struct Parameters {
    core_int* ipar;
    double* dpar;

    core_int& operator[](Word word) const { return ipar[word]; }
    double& operator[](Number number) const { return dpar[number]; }

    bool is_endless() const
    {
        return ipar[stops_at_most] == 0 && ipar[stops_by_residual] == 0 && ipar[asks_user] == 0;
    }
    bool is_exhausted() const
    {
        return ipar[stops_at_most] != 0 && ipar[iterations] >= ipar[most_iterations];
    }
    /// Goes on at `next` when the caller has done what is asked for.
    Request ask(Request request, core_int next) const
    {
        ipar[stage] = next;
        return request;
    }
    /// The next call begins anew.
    Request end(Request request) const { return ask(request, 1); }
    /// Notes a residual, of the first approximation or a later one; `multiply` if it goes on.
    Request judge(double found, bool first) const
    {
        if (first) {
            dpar[first_residual] = found;
            dpar[bound] = dpar[relative] * found + dpar[absolute];
        }
        dpar[residual_before] = first ? found : dpar[residual];
        dpar[residual] = found;
        if (!std::isfinite(found))
            return end(bad_residual);
        const bool small = ipar[stops_by_residual] != 0 && found <= dpar[bound];
        return small || found == 0 ? end(done) : multiply;
    }
};

Request set_defaults(core_int n, const Parameters& p, bool by_restarts);
/// Mends what can be mended.
Request check(core_int n, const Parameters& p, bool by_restarts);

inline double dot(core_int n, const double* x, const double* y)
{
    const core_int one = 1;
    return ddot_(&n, x, &one, y, &one);
}
inline double norm_of(core_int n, const double* x)
{
    return std::sqrt(dot(n, x, x));
}
/// y += factor x
inline void add(core_int n, double factor, const double* x, double* y)
{
    const core_int one = 1;
    daxpy_(&n, &factor, x, &one, y, &one);
}

} // namespace qnm::core::iterative
