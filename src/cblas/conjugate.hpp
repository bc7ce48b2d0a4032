// Conjugates of scalars and of vectors, which come as pairs of reals.
#pragma once

#include "frame/check.hpp"
#include "frame/complex.hpp"
#include "frame/scratch.hpp"

namespace qnm::cblas {

/// A scalar's conjugate.
template <class R>
class Conjugated {
public:
    QNM_INLINE explicit Conjugated(const void* z)
        : value_{static_cast<const Complex<R>*>(z)->re, -static_cast<const Complex<R>*>(z)->im}
    {
    }
    QNM_INLINE const void* pass() const { return &value_; }

private:
    Complex<R> value_;
};

/// Conjugates a vector in place. An increment of zero is an error that its vector must survive: the one
/// element is conjugated once.
template <class R>
[[gnu::noinline]] void conjugate(const void* vector, core_int n, core_int increment)
{
    R* element = const_cast<R*>(static_cast<const R*>(vector));
    const core_int stride = 2 * magnitude(increment);
    const core_int count = increment == 0 && n > 0 ? 1 : n;
    for (core_int i = 0; i < count; ++i, element += stride)
        element[1] = -element[1];
}

/// Copies the conjugate of a vector read forward, filling a dense copy from its first element or its last.
template <class R>
[[gnu::noinline]] void copy_conjugate(R* to, const void* vector, core_int n, core_int increment,
                                      bool backward)
{
    const R* from = static_cast<const R*>(vector);
    const core_int stride = 2 * magnitude(increment);
    if (backward)
        to += 2 * (n - 1);
    for (core_int i = 0; i < n; ++i, from += stride, to += backward ? -2 : 2) {
        to[0] = from[0];
        to[1] = -from[1];
    }
}

/// Scratch for the conjugate of a vector.
template <class R>
using VectorCopy = Block<R, Allocated<128>>;

/// How many reals a vector has, counted in its own width.
template <class I>
QNM_INLINE I reals(I n)
{
    return 2 * n;
}

} // namespace qnm::cblas
