#include "parameters.hpp"

namespace qnm::core::iterative {
namespace {
constexpr double usual_tolerance = 1e-6, usual_least_norm = 1e-12;

core_int usual_count(core_int n)
{
    return std::min<core_int>(n, 150);
}
} // namespace

Request set_defaults(core_int n, const Parameters& p, bool by_restarts)
{
    if (n < 1)
        return no_size;
    std::fill_n(p.ipar, words, 0);
    std::fill_n(p.dpar, numbers, 0.0);
    p[size] = n;
    p[unit] = 6;
    p[stage] = 1;
    p[most_iterations] = usual_count(n);
    p[tells_errors] = p[tells_warnings] = p[stops_at_most] = p[asks_user] = 1;
    p[relative] = usual_tolerance;
    if (by_restarts) {
        p[restart] = usual_count(n);
        p[least_norm] = usual_least_norm;
    }
    p[least_pivot] = 1e-16;
    p[other_pivot] = 1e-10;
    return done;
}

Request check(core_int n, const Parameters& p, bool by_restarts)
{
    if (n < 1 || p[size] != n)
        return refused;
    bool changed = false;
    const auto mend = [&changed](auto& value, bool good, auto usual) {
        if (good)
            return;
        value = usual;
        changed = true;
    };
    mend(p[stage], p[stage] == 1, core_int{1});
    mend(p[most_iterations], p[most_iterations] >= 1, usual_count(n));
    mend(p[relative], p[relative] >= 0, usual_tolerance);
    mend(p[absolute], p[absolute] >= 0, 0.0);
    if (by_restarts) {
        mend(p[restart], p[restart] >= 1, usual_count(n));
        mend(p[least_norm], p[least_norm] >= 0, usual_least_norm);
    }
    if (p.is_endless())
        return changed ? warned_and_mended : warned;
    return changed ? mended : done;
}

} // namespace qnm::core::iterative
