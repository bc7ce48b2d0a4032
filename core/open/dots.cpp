// Complex dot products: the engine returns them in registers, the core hands them back through a pointer.
#include "engine.hpp"

#define QNM_DOTS(l, L, T)                                                                                    \
    QNM_CORE void qnm_blas_##l##dotc(T* result, const std::int64_t* n, const T* x, const std::int64_t* incx, \
                                     const T* y, const std::int64_t* incy)                                   \
    {                                                                                                        \
        *result = l##dotc_(n, x, incx, y, incy);                                                             \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##l##dotu(T* result, const std::int64_t* n, const T* x, const std::int64_t* incx, \
                                     const T* y, const std::int64_t* incy)                                   \
    {                                                                                                        \
        *result = l##dotu_(n, x, incx, y, incy);                                                             \
    }
QNM_COMPLEX_LETTERS(QNM_DOTS)
