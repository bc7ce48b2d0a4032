// The innermost loop of a convolution, once for each instruction set.
#pragma once

#include "../core.hpp"

namespace qnm::core::convolution {

/// A line of numbers: real parts, and imaginary ones behind them where there are any.
template <class R>
struct Line {
    const R* re;
    core_int count;
    core_int imaginary; ///< from a real part to its imaginary one; 0: real numbers

    const R* im() const { return re + imaginary; }
};

/// Numbers of one block of results: real parts, then imaginary ones.
inline constexpr core_int block = 128;
template <class R>
struct Block {
    R re[block], im[block];
};

/// Adds to z(k), k below `count`, the sum of x(j) y(first + k step - j) over all j for which both are there,
/// in the order of j. An element e of y stands at (e mod step) * ceil(y.count / step) + e / step, so that
/// neighbours in z need neighbours.
template <class R>
using Add = void(Block<R>& z, core_int count, const Line<R>& x, const Line<R>& y, core_int first,
                 core_int step);

struct Engine {
    Add<float>& single_real;
    Add<double>& double_real;
    Add<float>& single_complex;
    Add<double>& double_complex;

    template <class R>
    Add<R>& add(bool complex) const
    {
        if constexpr (std::is_same_v<R, float>)
            return complex ? single_complex : single_real;
        else
            return complex ? double_complex : double_real;
    }
};
extern const Engine engine_sse2, engine_avx2, engine_avx512;

} // namespace qnm::core::convolution
