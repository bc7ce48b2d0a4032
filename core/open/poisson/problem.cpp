#include "problem.hpp"

#include <cmath>
#include <limits>
#include <numbers>

namespace qnm::core::poisson {

Basis Axis::basis() const
{
    const bool level = ends[0] == 'N', level_end = ends[1] == 'N';
    if (ends[0] == 'P')
        return Basis::circle;
    return level       ? level_end ? Basis::cosine : Basis::cosine_half
           : level_end ? Basis::sine_half
                       : Basis::sine;
}

Points Axis::points() const
{
    const core_int first = ends[0] == 'D' ? 1 : 0, last = ends[1] == 'D' || ends[1] == 'P' ? n - 1 : n;
    return {first, last - first + 1};
}

bool Problem::is_singular() const
{
    bool free = q == 0;
    for (int k = 0; k < rank(); ++k)
        free = free && axis[k].ends[0] != 'D' && axis[k].ends[1] != 'D';
    return free;
}

namespace {
constexpr int first_size = 3, first_letter = 8, place_of_q = 6;
} // namespace

template <class R>
void store(const Problem& problem, core_int* ipar, R* par)
{
    ipar[0] = static_cast<core_int>(problem.shape);
    for (int k = 0; k < most_axes; ++k) {
        const Axis& axis = problem.axis[k];
        ipar[first_size + k] = axis.n;
        par[2 * k] = static_cast<R>(axis.from);
        par[2 * k + 1] = static_cast<R>(axis.to);
        for (int end = 0; end < 2; ++end)
            ipar[first_letter + 2 * k + end] = axis.ends[end];
    }
    par[place_of_q] = static_cast<R>(problem.q);
    par[place_of_q + 1] = 0;
}

template <class R>
Stat load(Problem& problem, const core_int* ipar, const R* par)
{
    problem = {};
    problem.shape = static_cast<Shape>(ipar[0]);
    if (problem.shape != Shape::rectangle && problem.shape != Shape::box && !problem.is_sphere())
        return not_initialised;
    for (int k = 0; k < most_axes; ++k) {
        Axis& axis = problem.axis[k];
        axis.n = ipar[first_size + k];
        axis.from = par[2 * k];
        axis.to = par[2 * k + 1];
        for (int end = 0; end < 2; ++end)
            axis.ends[end] = static_cast<char>(ipar[first_letter + 2 * k + end]);
    }
    problem.q = par[place_of_q];
    return settle<R>(problem) ? ok : altered;
}

template <class R>
bool settle(Problem& problem)
{
    constexpr double pi = std::numbers::pi, near = 16 * std::numeric_limits<R>::epsilon();
    core_int points = 1;
    bool good = std::isfinite(problem.q);
    for (int k = 0; k < problem.rank(); ++k) {
        Axis& axis = problem.axis[k];
        for (char& end : axis.ends)
            end = upper_case(end);
        const auto known = [&](char end) {
            return end == 'D' || end == 'N' || end == 'P' || (end == 'O' && problem.is_sphere());
        };
        good = good && axis.n >= 1 && std::isfinite(axis.to - axis.from) && axis.to > axis.from &&
               known(axis.ends[0]) && known(axis.ends[1]) && (axis.ends[0] == 'P') == (axis.ends[1] == 'P') &&
               !__builtin_mul_overflow(points, axis.n + 1, &points) &&
               points <= std::numeric_limits<core_int>::max() / 64;
    }
    if (!good || !problem.is_sphere())
        return good;
    const Axis& around = problem.axis[0];
    Axis& down = problem.axis[1];
    const bool whole = problem.shape == Shape::sphere;
    if (whole)
        for (int end = 0; end < 2; ++end) {
            double& limit = end == 0 ? down.from : down.to;
            const double pole = end == 0 ? 0 : pi;
            const bool there = std::abs(limit - pole) <= near;
            down.ends[end] = there ? 'O' : 'D';
            limit = there ? pole : limit;
        }
    const double turns = (around.to - around.from) / (2 * pi);
    return (whole ? std::abs(turns - 1) <= near : turns <= 1 + near) && down.from >= -near &&
           down.to <= pi + near;
}

#define FOR(R)                                                                                               \
    template void store(const Problem& problem, core_int* ipar, R* par);                                     \
    template Stat load(Problem& problem, const core_int* ipar, const R* par);                                \
    template bool settle<R>(Problem & problem);
FOR(float)
FOR(double)
#undef FOR

} // namespace qnm::core::poisson
