// Products of a real matrix with complex operands, and two products with one matrix.
#include "engine.hpp"
#include "services.hpp"

#include <qnm/core/blas.h>

namespace qnm::core {
namespace {

// C := alpha * op(A) * op(B) + beta * C, A real: A is widened once, the product is the engine's.
template <class T>
void mixed_gemm(std::string_view name, const char* transa, const char* transb, const core_int* m,
                const core_int* n, const core_int* k, const T* alpha, const real_t<T>* a, core_int lda,
                const T* b, const core_int* ldb, const T* beta, T* c, const core_int* ldc)
{
    const core_int rows = is_letter(transa, 'N') ? *m : *k;
    const core_int columns = is_letter(transa, 'N') ? *k : *m;
    Scratch<T> wide(name, rows * columns);
    if (!wide)
        return;
    for (core_int j = 0; j < columns; ++j)
        std::copy_n(a + j * lda, rows, wide.get() + j * rows);
    const core_int ld = std::max<core_int>(rows, 1);
    Engine<T>::gemm(transa, transb, m, n, k, alpha, wide.get(), &ld, b, ldb, beta, c, ldc);
}

// y := alpha * op(A) * x + beta * y, A real: the real and the imaginary part of x are real vectors of twice
// the increment.
template <class T>
void mixed_gemv(std::string_view name, const char* trans, const core_int* m, const core_int* n, T alpha,
                const real_t<T>* a, const core_int* lda, const T* x, core_int incx, T beta, T* y,
                core_int incy)
{
    using R = real_t<T>;
    const core_int length = is_letter(trans, 'N') ? *m : *n;
    if (*m <= 0 || *n <= 0)
        return;
    Scratch<R> product(name, 2 * length);
    if (!product)
        return;
    const R one = 1, zero = 0;
    const core_int inc = 2 * incx, two = 2;
    for (core_int part = 0; part < 2; ++part)
        Engine<R>::gemv(trans, m, n, &one, a, lda, reinterpret_cast<const R*>(x) + part, &inc, &zero,
                        product.get() + part, &two);
    y += vector_start(length, incy);
    for (core_int i = 0; i < length; ++i) {
        const T sum = alpha == T{} ? T{} : alpha * T{product[2 * i], product[2 * i + 1]};
        y[i * incy] = beta == T{} ? sum : sum + beta * y[i * incy];
    }
}

} // namespace
} // namespace qnm::core

using qnm::core::core_int;
using qnm::core::real_t;

#define QNM_MIXED(name, NAME, T)                                                                             \
    QNM_CORE void qnm_blas_##name##gemm(                                                                     \
        const char* transa, const char* transb, const core_int* m, const core_int* n, const core_int* k,     \
        const T* alpha, const real_t<T>* a, const core_int* lda, const T* b, const core_int* ldb,            \
        const T* beta, T* c, const core_int* ldc, std::size_t, std::size_t)                                  \
    {                                                                                                        \
        qnm::core::mixed_gemm<T>(NAME "GEMM", transa, transb, m, n, k, alpha, a, *lda, b, ldb, beta, c,      \
                                 ldc);                                                                       \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##name##gemv(const char* trans, const core_int* m, const core_int* n,             \
                                        const T* alpha, const real_t<T>* a, const core_int* lda, const T* x, \
                                        const core_int* incx, const T* beta, T* y, const core_int* incy,     \
                                        std::size_t)                                                         \
    {                                                                                                        \
        qnm::core::mixed_gemv<T>(NAME "GEMV", trans, m, n, *alpha, a, lda, x, *incx, *beta, y, *incy);       \
    }
QNM_MIXED(sc, "SC", qnm::core::cfloat)
QNM_MIXED(dz, "DZ", qnm::core::cdouble)

// y1 := alpha * A * x1 + beta * y1, y2 := alpha * A^T * x2 + beta * y2 (A^H for the complex types).
#define QNM_TWO_PRODUCTS(name, T, second)                                                                    \
    QNM_CORE void qnm_blas_##name(const core_int* m, const core_int* n, const T* alpha, const T* a,          \
                                  const core_int* lda, const T* x1, const core_int* incx1, const T* x2,      \
                                  const core_int* incx2, const T* beta, T* y1, const core_int* incy1, T* y2, \
                                  const core_int* incy2)                                                     \
    {                                                                                                        \
        qnm::core::Engine<T>::gemv("N", m, n, alpha, a, lda, x1, incx1, beta, y1, incy1);                    \
        qnm::core::Engine<T>::gemv(second, m, n, alpha, a, lda, x2, incx2, beta, y2, incy2);                 \
    }
#define QNM_GEM2VU(l, L, T) QNM_TWO_PRODUCTS(l##gem2vu, T, "T")
#define QNM_GEM2VC(l, L, T) QNM_TWO_PRODUCTS(l##gem2vc, T, "C")
QNM_REAL_LETTERS(QNM_GEM2VU)
QNM_COMPLEX_LETTERS(QNM_GEM2VC)
