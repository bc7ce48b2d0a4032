// Vector functions of SLEEF and of the C library, overloaded by their lanes.
#pragma once

#include "lanes.hpp"

#include <sleef.h>

#if QNM_SET == 0
#define QNM_SLEEF_D(name, ulp) Sleef_##name##d2_##ulp##sse2
#define QNM_SLEEF_S(name, ulp) Sleef_##name##f4_##ulp##sse2
#define QNM_LIBMVEC_D(arity, name) _ZGVbN2##arity##_##name
#define QNM_LIBMVEC_S(arity, name) _ZGVbN4##arity##_##name##f
#elif QNM_SET == 1
#define QNM_SLEEF_D(name, ulp) Sleef_##name##d4_##ulp##avx2
#define QNM_SLEEF_S(name, ulp) Sleef_##name##f8_##ulp##avx2
#define QNM_LIBMVEC_D(arity, name) _ZGVdN4##arity##_##name
#define QNM_LIBMVEC_S(arity, name) _ZGVdN8##arity##_##name##f
#else
#define QNM_SLEEF_D(name, ulp) Sleef_##name##d8_##ulp##avx512f
#define QNM_SLEEF_S(name, ulp) Sleef_##name##f16_##ulp##avx512f
#define QNM_LIBMVEC_D(arity, name) _ZGVeN8##arity##_##name
#define QNM_LIBMVEC_S(arity, name) _ZGVeN16##arity##_##name##f
#endif

#define QNM_SLEEF(name, ulp)                                                                                 \
    inline Doubles name##_##ulp(Doubles x)                                                                   \
    {                                                                                                        \
        return QNM_SLEEF_D(name, ulp)(x);                                                                    \
    }                                                                                                        \
    inline Floats name##_##ulp(Floats x)                                                                     \
    {                                                                                                        \
        return QNM_SLEEF_S(name, ulp)(x);                                                                    \
    }
#define QNM_SLEEF_2(name, ulp)                                                                               \
    inline Doubles name##_##ulp(Doubles x, Doubles y)                                                        \
    {                                                                                                        \
        return QNM_SLEEF_D(name, ulp)(x, y);                                                                 \
    }                                                                                                        \
    inline Floats name##_##ulp(Floats x, Floats y)                                                           \
    {                                                                                                        \
        return QNM_SLEEF_S(name, ulp)(x, y);                                                                 \
    }
#define QNM_SLEEF_TO_2(name, ulp)                                                                            \
    inline auto name##_##ulp(Doubles x)                                                                      \
    {                                                                                                        \
        return QNM_SLEEF_D(name, ulp)(x);                                                                    \
    }                                                                                                        \
    inline auto name##_##ulp(Floats x)                                                                       \
    {                                                                                                        \
        return QNM_SLEEF_S(name, ulp)(x);                                                                    \
    }
#define QNM_LIBMVEC(name)                                                                                    \
    extern "C" Doubles QNM_LIBMVEC_D(v, name)(Doubles);                                                      \
    extern "C" Floats QNM_LIBMVEC_S(v, name)(Floats);                                                        \
    inline Doubles name##_quick(Doubles x)                                                                   \
    {                                                                                                        \
        return QNM_LIBMVEC_D(v, name)(x);                                                                    \
    }                                                                                                        \
    inline Floats name##_quick(Floats x)                                                                     \
    {                                                                                                        \
        return QNM_LIBMVEC_S(v, name)(x);                                                                    \
    }
#define QNM_LIBMVEC_2(name)                                                                                  \
    extern "C" Doubles QNM_LIBMVEC_D(vv, name)(Doubles, Doubles);                                            \
    extern "C" Floats QNM_LIBMVEC_S(vv, name)(Floats, Floats);                                               \
    inline Doubles name##_quick(Doubles x, Doubles y)                                                        \
    {                                                                                                        \
        return QNM_LIBMVEC_D(vv, name)(x, y);                                                                \
    }                                                                                                        \
    inline Floats name##_quick(Floats x, Floats y)                                                           \
    {                                                                                                        \
        return QNM_LIBMVEC_S(vv, name)(x, y);                                                                \
    }

namespace qnm::vml::QNM_NAMESPACE {

// clang-format off
QNM_SLEEF(exp, u10)   QNM_SLEEF(exp2, u10)  QNM_SLEEF(exp10, u10) QNM_SLEEF(expm1, u10)
QNM_SLEEF(log, u10)   QNM_SLEEF(log2, u10)  QNM_SLEEF(log10, u10) QNM_SLEEF(log1p, u10)
QNM_SLEEF(cbrt, u10)  QNM_SLEEF_2(pow, u10) QNM_SLEEF_2(hypot, u05)
QNM_SLEEF(sin, u10)   QNM_SLEEF(cos, u10)   QNM_SLEEF(tan, u10)   QNM_SLEEF_TO_2(sincos, u10)
QNM_SLEEF(asin, u10)  QNM_SLEEF(acos, u10)  QNM_SLEEF(atan, u10)  QNM_SLEEF_2(atan2, u10)
QNM_SLEEF(sinpi, u05) QNM_SLEEF(cospi, u05) QNM_SLEEF_TO_2(sincospi, u05)
QNM_SLEEF(sinh, u10)  QNM_SLEEF(cosh, u10)  QNM_SLEEF(tanh, u10)
QNM_SLEEF(asinh, u10) QNM_SLEEF(acosh, u10) QNM_SLEEF(atanh, u10)
QNM_SLEEF(erf, u10)   QNM_SLEEF(erfc, u15)  QNM_SLEEF(tgamma, u10) QNM_SLEEF(lgamma, u10)

QNM_LIBMVEC(exp2)  QNM_LIBMVEC(exp10) QNM_LIBMVEC(expm1)
QNM_LIBMVEC(log)  QNM_LIBMVEC(log2)  QNM_LIBMVEC(log10) QNM_LIBMVEC(log1p)
QNM_LIBMVEC(cbrt) QNM_LIBMVEC_2(hypot)
QNM_LIBMVEC(sin)  QNM_LIBMVEC(cos)   QNM_LIBMVEC(tan)
QNM_LIBMVEC(asin) QNM_LIBMVEC(acos)  QNM_LIBMVEC(atan)  QNM_LIBMVEC_2(atan2)
QNM_LIBMVEC(sinh) QNM_LIBMVEC(cosh)  QNM_LIBMVEC(tanh)
QNM_LIBMVEC(asinh) QNM_LIBMVEC(acosh) QNM_LIBMVEC(atanh)
QNM_LIBMVEC(erf)  QNM_LIBMVEC(erfc)
// clang-format on
#if QNM_SET != 3
                                                                        QNM_LIBMVEC(exp) QNM_LIBMVEC_2(pow)
#else
    // As fast as the C library's, or faster.
    inline auto exp_quick(auto x)
{
    return exp_u10(x);
}
inline auto pow_quick(auto x, auto y)
{
    return pow_u10(x, y);
}
#endif

} // namespace qnm::vml::QNM_NAMESPACE
