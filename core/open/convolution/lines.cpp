// Compiled once for each instruction set, which gives ENGINE a name; all else is this file's own.
#include "lines.hpp"

#include <cstring>

namespace qnm::core::convolution {
namespace {

#if defined(__AVX512F__)
constexpr core_int vector_bytes = 64;
#elif defined(__AVX2__)
constexpr core_int vector_bytes = 32;
#else
constexpr core_int vector_bytes = 16;
#endif

template <class R>
struct VectorOf;
template <>
struct VectorOf<float> {
    using type [[gnu::vector_size(vector_bytes)]] = float;
};
template <>
struct VectorOf<double> {
    using type [[gnu::vector_size(vector_bytes)]] = double;
};

template <class R>
typename VectorOf<R>::type at(const R* place)
{
    typename VectorOf<R>::type v;
    std::memcpy(&v, place, sizeof(v));
    return v;
}

core_int floor_of(core_int a, core_int b)
{
    return b == 1 ? a : a / b - (a % b < 0 ? 1 : 0);
}

template <class R, bool complex>
class Adder {
    using V = typename VectorOf<R>::type;
    static constexpr core_int lanes = vector_bytes / sizeof(R);
    static constexpr int sums = complex ? 4 : 8; // as many as registers hold, beside what is loaded
    static constexpr core_int wide = sums * lanes;
    static_assert(block % wide == 0);

public:
    Adder(const Line<R>& x, const Line<R>& y, core_int step)
        : x_(x), y_(y), step_(step), phase_((y.count + step - 1) / step)
    {
    }

    void operator()(R* re, R* im, core_int count, core_int first) const
    {
        for (; count >= wide; count -= wide, re += wide, im += wide, first += wide * step_)
            whole(re, im, first);
        if (count > 0)
            edges(re, im, count, first, lowest(first), highest(first, count));
    }

private:
    core_int lowest(core_int first) const { return std::max<core_int>(0, first - (y_.count - 1)); }
    core_int highest(core_int first, core_int count) const
    {
        return std::min(x_.count - 1, first + (count - 1) * step_);
    }

    // Terms that all results of a wide block have, and those that some have, on either side.
    void whole(R* re, R* im, core_int first) const
    {
        const core_int low = lowest(first), high = highest(first, wide);
        const core_int from = lowest(first + (wide - 1) * step_), to = highest(first, 1);
        if (from > to) {
            edges(re, im, wide, first, low, high);
            return;
        }
        edges(re, im, wide, first, low, from - 1);
        middle(re, im, first, from, to);
        edges(re, im, wide, first, to + 1, high);
    }

    void middle(R* re, R* im, core_int first, core_int from, core_int to) const
    {
        V sum[sums], sum_im[sums];
        for (int i = 0; i < sums; ++i) {
            sum[i] = at(re + i * lanes);
            if constexpr (complex)
                sum_im[i] = at(im + i * lanes);
        }
        core_int remainder = (first - from) % step_;
        const R* y = y_.re + remainder * phase_ + (first - from) / step_;
        for (core_int j = from; j <= to; ++j) {
            const R a = x_.re[j];
            if constexpr (complex) {
                const R b = x_.im()[j];
                for (int i = 0; i < sums; ++i) {
                    const V u = at(y + i * lanes), v = at(y + y_.imaginary + i * lanes);
                    sum[i] += a * u - b * v;
                    sum_im[i] += a * v + b * u;
                }
            } else {
                for (int i = 0; i < sums; ++i)
                    sum[i] += a * at(y + i * lanes);
            }
            if (remainder-- == 0) { // the last phase of the elements before
                remainder = step_ - 1;
                y += remainder * phase_ - 1;
            } else {
                y -= phase_;
            }
        }
        for (int i = 0; i < sums; ++i) {
            std::memcpy(re + i * lanes, &sum[i], sizeof(V));
            if constexpr (complex)
                std::memcpy(im + i * lanes, &sum_im[i], sizeof(V));
        }
    }

    void edges(R* re, R* im, core_int count, core_int first, core_int from, core_int to) const
    {
        for (core_int j = from; j <= to; ++j) {
            const core_int k_first = std::max<core_int>(0, -floor_of(first - j, step_));
            const core_int k_last = std::min(count - 1, floor_of(y_.count - 1 + j - first, step_));
            const core_int quotient = floor_of(first - j, step_);
            const R* const y = y_.re + (first - j - quotient * step_) * phase_ + quotient;
            const R a = x_.re[j];
            if constexpr (complex) {
                const R b = x_.im()[j];
                for (core_int k = k_first; k <= k_last; ++k) {
                    const R u = y[k], v = y[y_.imaginary + k];
                    re[k] += a * u - b * v;
                    im[k] += a * v + b * u;
                }
            } else {
                for (core_int k = k_first; k <= k_last; ++k)
                    re[k] += a * y[k];
            }
        }
    }

    const Line<R>& x_;
    const Line<R>& y_;
    core_int step_, phase_;
};

template <class R, bool complex>
void add(Block<R>& z, core_int count, const Line<R>& x, const Line<R>& y, core_int first, core_int step)
{
    Adder<R, complex>(x, y, step)(z.re, z.im, count, first);
}

} // namespace

const Engine ENGINE{add<float, false>, add<double, false>, add<float, true>, add<double, true>};

} // namespace qnm::core::convolution
