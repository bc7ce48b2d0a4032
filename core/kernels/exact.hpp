// Elements by the C library, by the next wider type: rounded once, with the flags of that rounding.
//
// Nothing here comes out of the standard library's inline functions: one that is compiled for each
// instruction set would be one function to the linker, and perhaps that of a processor which is not there.
#pragma once

#include "elements.hpp"
#include "lanes.hpp"

#include <math.h>

namespace qnm::vml::QNM_NAMESPACE::exact {

template <class T>
inline constexpr T infinity = static_cast<T>(__builtin_inf());

#define QNM_BUILTIN_1(name)                                                                                  \
    inline double name(double x)                                                                             \
    {                                                                                                        \
        return __builtin_##name(x);                                                                          \
    }                                                                                                        \
    inline float name(float x)                                                                               \
    {                                                                                                        \
        return __builtin_##name##f(x);                                                                       \
    }
#define QNM_BUILTIN_2(name)                                                                                  \
    inline double name(double x, double y)                                                                   \
    {                                                                                                        \
        return __builtin_##name(x, y);                                                                       \
    }                                                                                                        \
    inline float name(float x, float y)                                                                      \
    {                                                                                                        \
        return __builtin_##name##f(x, y);                                                                    \
    }
#define QNM_LIBM(name)                                                                                       \
    inline double name(double x)                                                                             \
    {                                                                                                        \
        return static_cast<double>(::name##l(static_cast<long double>(x)));                                  \
    }                                                                                                        \
    inline float name(float x)                                                                               \
    {                                                                                                        \
        return static_cast<float>(::name(static_cast<double>(x)));                                           \
    }
#define QNM_LIBM_2(name)                                                                                     \
    inline double name(double x, double y)                                                                   \
    {                                                                                                        \
        return static_cast<double>(::name##l(static_cast<long double>(x), static_cast<long double>(y)));     \
    }                                                                                                        \
    inline float name(float x, float y)                                                                      \
    {                                                                                                        \
        return static_cast<float>(::name(static_cast<double>(x), static_cast<double>(y)));                   \
    }

// Without the instruction, products and sums: what the entries' status says of this processor.
#ifdef __FMA__
inline double fma(double x, double y, double z)
{
    return __builtin_fma(x, y, z);
}
inline float fma(float x, float y, float z)
{
    return __builtin_fmaf(x, y, z);
}
#else
inline double fma(double x, double y, double z)
{
    return x * y + z;
}
inline float fma(float x, float y, float z)
{
    return x * y + z;
}
#endif

// clang-format off
QNM_BUILTIN_1(fabs) QNM_BUILTIN_1(floor) QNM_BUILTIN_1(ceil) QNM_BUILTIN_1(trunc) QNM_BUILTIN_1(rint)
QNM_BUILTIN_1(sqrt) QNM_BUILTIN_2(copysign)

QNM_LIBM(exp)  QNM_LIBM(exp2)  QNM_LIBM(exp10) QNM_LIBM(expm1)
QNM_LIBM(log)  QNM_LIBM(log2)  QNM_LIBM(log10) QNM_LIBM(log1p)
QNM_LIBM(cbrt) QNM_LIBM_2(pow) QNM_LIBM_2(hypot)
QNM_LIBM(sin)  QNM_LIBM(cos)   QNM_LIBM(tan)
QNM_LIBM(asin) QNM_LIBM(acos)  QNM_LIBM(atan)  QNM_LIBM_2(atan2)
QNM_LIBM(sinh) QNM_LIBM(cosh)  QNM_LIBM(tanh)
QNM_LIBM(asinh) QNM_LIBM(acosh) QNM_LIBM(atanh)
QNM_LIBM(erf)  QNM_LIBM(erfc)
// clang-format on

// Of single precision by the element in double, if there is one.
#define QNM_ELEMENT(name)                                                                                    \
    inline double name(double x)                                                                             \
    {                                                                                                        \
        return static_cast<double>(element::name(static_cast<long double>(x)));                              \
    }                                                                                                        \
    inline float name(float x)                                                                               \
    {                                                                                                        \
        return static_cast<float>(element::name(x));                                                         \
    }
#define QNM_ELEMENT_OF_2(name)                                                                               \
    inline double name(double x, double y)                                                                   \
    {                                                                                                        \
        return static_cast<double>(element::name(static_cast<long double>(x), static_cast<long double>(y))); \
    }                                                                                                        \
    inline float name(float x, float y)                                                                      \
    {                                                                                                        \
        return static_cast<float>(element::name(x, y));                                                      \
    }
                            QNM_ELEMENTS(QNM_ELEMENT) QNM_ELEMENTS_OF_2(QNM_ELEMENT_OF_2)

} // namespace qnm::vml::QNM_NAMESPACE::exact
