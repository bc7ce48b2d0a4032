// A problem of Poisson's or Helmholtz' kind, as the caller's arrays of parameters have it.
#pragma once

#include "handles.hpp"

namespace qnm::core::poisson {

inline constexpr int most_axes = 3;

enum class Shape : core_int {
    rectangle = 0x504832,
    box = 0x504833,
    sphere = 0x505350,
    sphere_part = 0x50534e
};

/// A direction in equal steps. Its ends are D (the value is given), N (its outward derivative), P (each is
/// the other), O (a pole of a sphere).
struct Axis {
    core_int n = 0;
    double from = 0, to = 0;
    char ends[2] = {'D', 'D'};

    double step() const { return (to - from) / static_cast<double>(n); }
    Basis basis() const;
    Points points() const; ///< those where the solution is not given
    bool operator==(const Axis&) const = default;
};

struct Problem {
    Shape shape = Shape::rectangle;
    Axis axis[most_axes];
    double q = 0;

    int rank() const { return shape == Shape::box ? 3 : 2; }
    bool is_sphere() const { return shape == Shape::sphere || shape == Shape::sphere_part; }
    /// Whether solutions are known up to a constant, and have one where the right side has mean 0.
    bool is_singular() const;
    bool operator==(const Problem&) const = default;
};

/// Limits and q go to `par`, sizes and letters to `ipar`, and come back.
template <class R>
void store(const Problem& problem, core_int* ipar, R* par);
/// None that was stored: not_initialised; one that cannot be: altered.
template <class R>
Stat load(Problem& problem, const core_int* ipar, const R* par);

/// Where the last status stands.
inline constexpr int status_slot = 6;

/// Whether there is such a problem; poles are found in the limits. R is the precision of these.
template <class R>
bool settle(Problem& problem);

/// Everything that a commit makes.
template <class R>
class Solver : public Held {
public:
    explicit Solver(const Problem& of) : problem(of) {}
    ~Solver() override;
    /// The right side becomes the solution. A side that is null is zero.
    virtual Status solve(R* f, const R* const* sides) const noexcept = 0;

    const Problem problem;
};

template <class R>
Status make_solver(const Problem& problem, std::unique_ptr<Held>& made) noexcept;

} // namespace qnm::core::poisson
