// Sparse level 1: x holds nz values, indx their one-based places in the full vector y. A count below one
// does nothing.
#include "core.hpp"

#include <qnm/core/blas.h>

namespace qnm::core {
namespace {

// Calls visit(x[i], y[indx[i] - 1]) for each stored element, in order.
template <class X, class Y, class Visit>
void for_each_place(const core_int* nz, X* x, const core_int* indx, Y* y, Visit visit)
{
    for (core_int i = 0; i < *nz; ++i)
        visit(x[i], y[indx[i] - 1]);
}

template <class T>
void axpyi(const core_int* nz, const T* alpha, const T* x, const core_int* indx, T* y)
{
    if (*alpha != T{})
        for_each_place(nz, x, indx, y, [a = *alpha](const T& xi, T& yi) { yi += a * xi; });
}

template <class T>
void roti(const core_int* nz, T* x, const core_int* indx, T* y, T c, T s)
{
    for_each_place(nz, x, indx, y, [c, s](T& xi, T& yi) {
        const T rotated = c * xi + s * yi;
        yi = c * yi - s * xi;
        xi = rotated;
    });
}

template <bool conjugated, class T>
T doti(const core_int* nz, const T* x, const core_int* indx, const T* y)
{
    T sum{};
    for_each_place(nz, x, indx, y,
                   [&sum](const T& xi, const T& yi) { sum += (conjugated ? conjugate(xi) : xi) * yi; });
    return sum;
}

} // namespace
} // namespace qnm::core

using namespace qnm::core;

#define QNM_SPARSE(l, L, T)                                                                                  \
    QNM_CORE void qnm_blas_##l##axpyi(const core_int* nz, const T* alpha, const T* x, const core_int* indx,  \
                                      T* y)                                                                  \
    {                                                                                                        \
        axpyi<T>(nz, alpha, x, indx, y);                                                                     \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##l##gthr(const core_int* nz, const T* y, T* x, const core_int* indx)             \
    {                                                                                                        \
        for_each_place(nz, x, indx, y, [](T& xi, const T& yi) { xi = yi; });                                 \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##l##gthrz(const core_int* nz, T* y, T* x, const core_int* indx)                  \
    {                                                                                                        \
        for_each_place(nz, x, indx, y, [](T& xi, T& yi) { xi = std::exchange(yi, T{}); });                   \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##l##sctr(const core_int* nz, const T* x, const core_int* indx, T* y)             \
    {                                                                                                        \
        for_each_place(nz, x, indx, y, [](const T& xi, T& yi) { yi = xi; });                                 \
    }
QNM_ALL_LETTERS(QNM_SPARSE)

#define QNM_SPARSE_REAL(l, L, T)                                                                             \
    QNM_CORE void qnm_blas_##l##roti(const core_int* nz, T* x, const core_int* indx, T* y, const T* c,       \
                                     const T* s)                                                             \
    {                                                                                                        \
        roti<T>(nz, x, indx, y, *c, *s);                                                                     \
    }                                                                                                        \
    QNM_CORE T qnm_blas_##l##doti(const core_int* nz, const T* x, const core_int* indx, const T* y)          \
    {                                                                                                        \
        return doti<false>(nz, x, indx, y);                                                                  \
    }
QNM_REAL_LETTERS(QNM_SPARSE_REAL)

#define QNM_SPARSE_COMPLEX(l, L, T)                                                                          \
    QNM_CORE void qnm_blas_##l##dotui(T* result, const core_int* nz, const T* x, const core_int* indx,       \
                                      const T* y)                                                            \
    {                                                                                                        \
        *result = doti<false>(nz, x, indx, y);                                                               \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##l##dotci(T* result, const core_int* nz, const T* x, const core_int* indx,       \
                                      const T* y)                                                            \
    {                                                                                                        \
        *result = doti<true>(nz, x, indx, y);                                                                \
    }
QNM_COMPLEX_LETTERS(QNM_SPARSE_COMPLEX)
