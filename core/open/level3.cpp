// Level 3 beyond the engine: one triangle of a product, triangular products and solves out of place,
// triangular products with a packed matrix.
#include "engine.hpp"
#include "services.hpp"

#include <qnm/core/blas.h>

namespace qnm::core {
namespace {

// C(:,j) := X(:,j) + beta * C(:,j) on rows [first, last). C is not read when beta is zero.
template <class T>
void add_column(core_int first, core_int last, const T* x, T beta, T* c)
{
    for (core_int i = first; i < last; ++i)
        c[i] = beta == T{} ? x[i] : x[i] + beta * c[i];
}

// The off-triangle part of each block column is one product in place; the diagonal block is computed whole
// beside C, and its triangle is taken over.
template <class T>
void gemmt(const char* uplo, const char* transa, const char* transb, core_int n, const core_int* k,
           const T* alpha, const T* a, const core_int* lda, const T* b, const core_int* ldb, const T* beta,
           T* c, const core_int* ldc)
{
    constexpr core_int block = 32;
    const T zero{};
    const bool upper = is_letter(uplo, 'U');
    const core_int row_step = is_letter(transa, 'N') ? 1 : *lda;
    const core_int column_step = is_letter(transb, 'N') ? *ldb : 1;
    T diagonal[block * block];
    for (core_int j = 0; j < n; j += block) {
        const core_int nb = std::min(block, n - j);
        const core_int first = upper ? 0 : j + nb;
        const core_int rows = upper ? j : n - first;
        const T* columns = b + j * column_step;
        if (rows > 0)
            Engine<T>::gemm(transa, transb, &rows, &nb, k, alpha, a + first * row_step, lda, columns, ldb,
                            beta, c + first + j * *ldc, ldc);
        Engine<T>::gemm(transa, transb, &nb, &nb, k, alpha, a + j * row_step, lda, columns, ldb, &zero,
                        diagonal, &block);
        for (core_int i = 0; i < nb; ++i)
            add_column(upper ? 0 : i, upper ? i + 1 : nb, diagonal + i * block, *beta,
                       c + j + (j + i) * *ldc);
    }
}

// C := routine(B) + beta * C, where the routine works in place. Independent columns (side L) or rows (side R)
// of B go through a panel of bounded size.
template <class T, auto routine>
void out_of_place(std::string_view name, const char* side, const char* uplo, const char* transa,
                  const char* diag, core_int m, core_int n, const T* alpha, const T* a, const core_int* lda,
                  const T* b, core_int ldb, const T* beta, T* c, core_int ldc)
{
    constexpr core_int panel = 64;
    const bool left = is_letter(side, 'L');
    const core_int extent = left ? n : m;
    if (m <= 0 || n <= 0)
        return;
    Scratch<T> work(name, (left ? m : n) * std::min(panel, extent));
    if (!work)
        return;
    for (core_int at = 0; at < extent; at += panel) {
        const core_int rows = left ? m : std::min(panel, m - at);
        const core_int columns = left ? std::min(panel, n - at) : n;
        const T* from = b + (left ? at * ldb : at);
        T* to = c + (left ? at * ldc : at);
        for (core_int j = 0; j < columns; ++j)
            std::copy_n(from + j * ldb, rows, work.get() + j * rows);
        routine(side, uplo, transa, diag, &rows, &columns, alpha, a, lda, work.get(), &rows);
        for (core_int j = 0; j < columns; ++j)
            add_column(0, rows, work.get() + j * rows, *beta, to + j * ldc);
    }
}

// B := alpha * op(A) * B or alpha * B * op(A), A triangular and packed: vector by vector. A row of B * op(A)
// is the column op(A)^T times that row.
template <class T, auto tpmv, auto scal>
void ptrmm(const char* side, const char* uplo, const char* transa, const char* diag, core_int m, core_int n,
           const T* alpha, const T* a, T* b, core_int ldb)
{
    const bool left = is_letter(side, 'L');
    const char trans = is_letter(transa, 'N') == left ? 'N' : 'T';
    const core_int order = left ? m : n;
    const core_int count = left ? n : m;
    const core_int inc = left ? 1 : ldb;
    const core_int step = left ? ldb : 1;
    for (core_int i = 0; i < count; ++i) {
        T* x = b + i * step;
        if (*alpha == T{}) { // A is not referenced then
            for (core_int j = 0; j < order; ++j)
                x[j * inc] = T{};
            continue;
        }
        tpmv(uplo, &trans, diag, &order, a, x, &inc);
        scal(&order, alpha, x, &inc);
    }
}

} // namespace
} // namespace qnm::core

using qnm::core::core_int;

#define QNM_GEMMT(l, L, T)                                                                                   \
    QNM_CORE void qnm_blas_##l##gemmt(const char* uplo, const char* transa, const char* transb,              \
                                      const core_int* n, const core_int* k, const T* alpha, const T* a,      \
                                      const core_int* lda, const T* b, const core_int* ldb, const T* beta,   \
                                      T* c, const core_int* ldc, std::size_t, std::size_t, std::size_t)      \
    {                                                                                                        \
        qnm::core::gemmt<T>(uplo, transa, transb, *n, k, alpha, a, lda, b, ldb, beta, c, ldc);               \
    }
QNM_ALL_LETTERS(QNM_GEMMT)

#define QNM_OUT_OF_PLACE(name, NAME, T, routine)                                                             \
    QNM_CORE void qnm_blas_##name(const char* side, const char* uplo, const char* transa, const char* diag,  \
                                  const core_int* m, const core_int* n, const T* alpha, const T* a,          \
                                  const core_int* lda, const T* b, const core_int* ldb, const T* beta, T* c, \
                                  const core_int* ldc, std::size_t, std::size_t, std::size_t, std::size_t)   \
    {                                                                                                        \
        qnm::core::out_of_place<T, qnm::core::Engine<T>::routine>(NAME, side, uplo, transa, diag, *m, *n,    \
                                                                  alpha, a, lda, b, *ldb, beta, c, *ldc);    \
    }
#define QNM_TRMM_OOP(l, L, T) QNM_OUT_OF_PLACE(l##trmm_oop, #L "TRMM_OOP", T, trmm)
#define QNM_TRSM_OOP(l, L, T) QNM_OUT_OF_PLACE(l##trsm_oop, #L "TRSM_OOP", T, trsm)
QNM_ALL_LETTERS(QNM_TRMM_OOP)
QNM_ALL_LETTERS(QNM_TRSM_OOP)

#define QNM_PTRMM(l, L, T)                                                                                   \
    QNM_CORE void qnm_blas_##l##ptrmm(const char* side, const char* uplo, const char* transa,                \
                                      const char* diag, const core_int* m, const core_int* n,                \
                                      const T* alpha, const T* a, T* b, const core_int* ldb, std::size_t,    \
                                      std::size_t, std::size_t, std::size_t)                                 \
    {                                                                                                        \
        qnm::core::ptrmm<T, l##tpmv_, l##scal_>(side, uplo, transa, diag, *m, *n, alpha, a, b, *ldb);        \
    }
QNM_REAL_LETTERS(QNM_PTRMM)
