// Lines of reals: their trigonometric transforms, and chains of equations along them. Compiled once for each
// instruction set.
#pragma once

#include "../dft/plan.hpp"

namespace qnm::core::poisson {

using dft::Status;

/// What a line of n steps is a sum of; the first six are types of transforms, with the numbers they have.
/// Points count from 0 to n.
enum class Basis {
    sine,           ///< points 1 to n-1: zero at both ends
    cosine,         ///< 0 to n: level at both ends
    cosine_half,    ///< 0 to n-1: level at the first end, zero at the last
    sine_half,      ///< 1 to n: the other way round
    cosine_quarter, ///< n half steps, level and zero
    sine_quarter,   ///< n half steps, zero and level
    circle          ///< 0 to n-1: the end is the beginning
};
inline constexpr core_int trigonometric_types = 6;

/// Points of a basis.
struct Points {
    core_int first, count;
};
Points points_of(Basis basis, core_int n);

/// The wave number of its k-th coefficient, in half waves on the line.
double half_waves(Basis basis, core_int k);

/// Places: the first element of each of some lines, in up to two dimensions.
struct Places {
    core_int count, step, rows, row_step;
};

/// What stands behind a descriptor that computes nothing by itself.
class Held : public dft::Plan {
public:
    Status run(bool forward, const dft::Arrays& arrays) const noexcept final;
};

/// Forward, then backward, is the line as it was, at scales whose product is that of `inverse_scale`.
template <class R>
class Transform : public Held {
public:
    Transform(Basis of, core_int steps) : basis(of), n(steps) {}
    ~Transform() override;
    /// Lines in their places, from their first point on, elements `along` apart; in place.
    virtual Status lines(bool forward, R* x, core_int along, const Places& places, R scale,
                         int threads) const noexcept = 0;

    const Basis basis;
    const core_int n;
};
extern template class Transform<float>;
extern template class Transform<double>;

/// Symmetric equations along a line, for a number d of the line's own:
///     (base + slope*d) u - off u(next) - off(previous) u(previous) = weight f
/// A closed chain has the same coefficients everywhere, and neighbours at its ends; off is 1, base 2.
template <class R>
struct Chain {
    core_int count;
    bool closed;
    const R *off, *base, *slope, *weight;
};

/// Neighbouring lines, with all d above 0: f is replaced by u.
template <class R>
struct Columns {
    R* x;
    const R* d;
    core_int count, along;
};

template <class R>
struct Kernels {
    Status (*transform)(Basis basis, core_int n, Transform<R>** made) noexcept;
    /// Elements of room for a call.
    core_int (*room)(const Chain<R>& chain);
    void (*solve)(const Chain<R>& chain, const Columns<R>& columns, R* room);
};

struct Engine {
    Kernels<float> single;
    Kernels<double> full;
};
extern const Engine engine_sse2, engine_avx2, engine_avx512;

/// That of this processor.
template <class R>
const Kernels<R>& kernels();

} // namespace qnm::core::poisson
