// Level 1 of the C interface where it is more than a call of the Fortran routine, and sparse level 1, which
// computes here on zero-based indices.
#pragma once

#include "frame/complex.hpp"
#include "frame/types.hpp"

namespace qnm::cblas {

/// The zero-based index of an element; where the Fortran routine would find none, the first.
template <auto* Entry, class I>
QNM_INLINE core_int zero_based(I n, const void* x, I incx)
{
    if (n <= 0 || incx <= 0)
        return 0;
    return core_int{Entry(&n, x, &incx)} - 1;
}

/// A complex product, by the core at once: no check and no line.
template <auto* Core, class I>
QNM_INLINE void dot_sub(I n, const void* x, I incx, const void* y, I incy, const void* result)
{
    const core_int wide[]{n, incx, incy};
    Core(result, &wide[0], x, &wide[1], y, &wide[2]);
}

namespace sparse {

template <class T>
QNM_INLINE const T* in(const void* array)
{
    return static_cast<const T*>(array);
}

template <class T>
QNM_INLINE T* out(const void* array)
{
    return const_cast<T*>(static_cast<const T*>(array));
}

/// A real scalar comes by value, a complex one by address.
template <class T>
QNM_INLINE T scalar(T value)
{
    return value;
}
template <class T>
QNM_INLINE T scalar(const void* value)
{
    return *in<T>(value);
}

template <class T>
QNM_INLINE T conjugate(T z)
{
    return {z.re, -z.im};
}

template <class T, class I, class A>
void axpyi(I n, A alpha, const void* x, const I* indx, const void* y)
{
    const T a = scalar<T>(alpha);
    if (a == T{})
        return;
    for (I i = 0; i < n; ++i)
        out<T>(y)[indx[i]] = out<T>(y)[indx[i]] + a * in<T>(x)[i];
}

template <class T, class I>
T doti(I n, const void* x, const I* indx, const void* y)
{
    T sum{};
    for (I i = 0; i < n; ++i)
        sum = sum + in<T>(x)[i] * in<T>(y)[indx[i]];
    return sum;
}

/// The result is zero first: it may be an element of y.
template <class T, class I>
void dotui(I n, const void* x, const I* indx, const void* y, const void* result)
{
    *out<T>(result) = T{};
    const T sum = doti<T>(n, x, indx, y);
    *out<T>(result) = sum;
}

template <class T, class I>
void dotci(I n, const void* x, const I* indx, const void* y, const void* result)
{
    *out<T>(result) = T{};
    T sum{};
    for (I i = 0; i < n; ++i)
        sum = sum + conjugate(in<T>(x)[i]) * in<T>(y)[indx[i]];
    *out<T>(result) = sum;
}

template <class T, class I>
void gthr(I n, const void* y, const void* x, const I* indx)
{
    for (I i = 0; i < n; ++i)
        out<T>(x)[i] = in<T>(y)[indx[i]];
}

/// An index that comes twice finds zero at its second use.
template <class T, class I>
void gthrz(I n, const void* y, const void* x, const I* indx)
{
    for (I i = 0; i < n; ++i) {
        out<T>(x)[i] = in<T>(y)[indx[i]];
        out<T>(y)[indx[i]] = T{};
    }
}

template <class T, class I>
void sctr(I n, const void* x, const I* indx, const void* y)
{
    for (I i = 0; i < n; ++i)
        out<T>(y)[indx[i]] = in<T>(x)[i];
}

template <class T, class I>
void roti(I n, const void* x, const I* indx, const void* y, T c, T s)
{
    if (c == 1 && s == 0)
        return;
    for (I i = 0; i < n; ++i) {
        const T old = in<T>(x)[i];
        const T t = in<T>(y)[indx[i]];
        out<T>(x)[i] = c * old + s * t;
        out<T>(y)[indx[i]] = c * t - s * old;
    }
}

} // namespace sparse
} // namespace qnm::cblas
