// LAPACK beyond the published set: factors without pivots, blocks of packed triangles, scalings.
#include "factor.hpp"

#include <qnm/core/lapack.h>

namespace qnm::core {
namespace {

// A bad argument: reported, and told in INFO.
void refuse(std::string_view name, int position, core_int* info)
{
    report(name, position);
    *info = -position;
}

template <class T>
void getrfnp(std::string_view name, const core_int* m, const core_int* n, const core_int* factors, T* a,
             const core_int* lda, core_int* info)
{
    const int behind = factors != nullptr ? 1 : 0; // positions of the arguments behind it
    const core_int most = std::min(*m, *n);
    if (*m < 0)
        return refuse(name, 1, info);
    if (*n < 0)
        return refuse(name, 2, info);
    if (factors != nullptr && (*factors < 0 || *factors > most))
        return refuse(name, 3, info);
    if (*lda < std::max<core_int>(1, *m))
        return refuse(name, 4 + behind, info);
    *info = factor(*m, *n, factors != nullptr ? *factors : most, a, *lda);
}

template <class T>
void getrinp(std::string_view name, const core_int* n, T* a, const core_int* lda, T* work,
             const core_int* lwork, core_int* info)
{
    if (*n < 0)
        return refuse(name, 1, info);
    if (*lda < std::max<core_int>(1, *n))
        return refuse(name, 3, info);
    if (*lwork != -1 && *lwork < *n)
        return refuse(name, 5, info);
    if (*n == 0) { // the engine refuses the size that it tells for it
        if (*lwork != 0)
            *work = 1;
        *info = 0;
        return;
    }
    Scratch<core_int> pivots(name, *n);
    *info = pivots ? invert(*n, a, *lda, pivots.get(), work, *lwork) : -memory_failure;
}

template <class T>
void dtsvb(std::string_view name, const core_int* n, const core_int* nrhs, T* dl, T* d, const T* du, T* b,
           const core_int* ldb, core_int* info)
{
    if (*n < 0)
        return refuse(name, 1, info);
    if (*nrhs < 0)
        return refuse(name, 2, info);
    if (*ldb < *n)
        return refuse(name, 7, info);
    *info = solve_dominant(*n, *nrhs, dl, d, du, b, *ldb);
}

// A block of a packed triangle, its first element at (i,j), and the matrix op(A): `move` is given each pair
// of elements that the triangle holds.
template <class T, class P, class M, class Move>
void packed_block(std::string_view name, const char* uplo, const char* trans, core_int n, P* ap, core_int i,
                  core_int j, core_int rows, core_int cols, M* a, core_int lda, core_int* info, Move move)
{
    const bool is_upper = is_letter(uplo, 'U'), plain = is_letter(trans, 'N');
    if (!is_upper && !is_letter(uplo, 'L'))
        return refuse(name, 1, info);
    if (!plain && !is_letter(trans, 'T') && !is_letter(trans, 'C'))
        return refuse(name, 2, info);
    const bool bad[] = {n < 0,
                        false,
                        i < 1,
                        j < 1,
                        rows < 0 || i - 1 + rows > n,
                        cols < 0 || j - 1 + cols > n,
                        false,
                        lda < std::max<core_int>(1, plain ? rows : cols)};
    for (int k = 0; k < 8; ++k)
        if (bad[k])
            return refuse(name, 3 + k, info);
    *info = 0;
    for (core_int c = 0; c < cols; ++c)
        for (core_int r = 0; r < rows; ++r) {
            const core_int row = i - 1 + r, column = j - 1 + c;
            if (is_upper ? row > column : row < column)
                continue;
            const core_int place =
                is_upper ? row + column * (column + 1) / 2 : row + column * (2 * n - column - 1) / 2;
            move(ap[place], a[plain ? r + c * lda : c + r * lda], is_letter(trans, 'C'));
        }
}

// Rows of X times, or over, the elements of d.
template <class T>
void scale_rows(const core_int* m, const core_int* n, const real_t<T>* d, T* x, core_int ldx, bool over)
{
    for (core_int j = 0; j < *n; ++j)
        for (core_int i = 0; i < *m; ++i)
            x[i + j * ldx] = over ? x[i + j * ldx] / d[i] : x[i + j * ldx] * d[i];
}

} // namespace
} // namespace qnm::core

using qnm::core::core_int;
using qnm::core::real_t;

#define QNM_FACTOR(l, L, T)                                                                                  \
    QNM_CORE void qnm_lapack_qnm_##l##getrfnp(const core_int* m, const core_int* n, T* a,                    \
                                              const core_int* lda, core_int* info)                           \
    {                                                                                                        \
        qnm::core::getrfnp<T>("QNM_" #L "GETRFNP", m, n, nullptr, a, lda, info);                             \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_qnm_##l##getrfnpi(const core_int* m, const core_int* n, const core_int* nfact,  \
                                               T* a, const core_int* lda, core_int* info)                    \
    {                                                                                                        \
        qnm::core::getrfnp<T>("QNM_" #L "GETRFNPI", m, n, nfact, a, lda, info);                              \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_qnm_##l##getrinp(const core_int* n, T* a, const core_int* lda, T* work,         \
                                              const core_int* lwork, core_int* info)                         \
    {                                                                                                        \
        qnm::core::getrinp<T>("QNM_" #L "GETRINP", n, a, lda, work, lwork, info);                            \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##dtsvb(const core_int* n, const core_int* nrhs, T* dl, T* d, T* du, T* b,   \
                                        const core_int* ldb, core_int* info)                                 \
    {                                                                                                        \
        qnm::core::dtsvb<T>(#L "DTSVB", n, nrhs, dl, d, du, b, ldb, info);                                   \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_qnm_##l##tppack(const char* uplo, const char* trans, const core_int* n, T* ap,  \
                                             const core_int* i, const core_int* j, const core_int* rows,     \
                                             const core_int* cols, const T* a, const core_int* lda,          \
                                             core_int* info, std::size_t, std::size_t)                       \
    {                                                                                                        \
        qnm::core::packed_block<T>(                                                                          \
            "QNM_" #L "TPPACK", uplo, trans, *n, ap, *i, *j, *rows, *cols, a, *lda, info,                    \
            [](T& packed, T full, bool conj) { packed = conj ? qnm::core::conjugate(full) : full; });        \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_qnm_##l##tpunpack(                                                              \
        const char* uplo, const char* trans, const core_int* n, const T* ap, const core_int* i,              \
        const core_int* j, const core_int* rows, const core_int* cols, T* a, const core_int* lda,            \
        core_int* info, std::size_t, std::size_t)                                                            \
    {                                                                                                        \
        qnm::core::packed_block<T>(                                                                          \
            "QNM_" #L "TPUNPACK", uplo, trans, *n, ap, *i, *j, *rows, *cols, a, *lda, info,                  \
            [](T packed, T& full, bool conj) { full = conj ? qnm::core::conjugate(packed) : packed; });      \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##lascl2(const core_int* m, const core_int* n, const real_t<T>* d, T* x,     \
                                         const core_int* ldx)                                                \
    {                                                                                                        \
        qnm::core::scale_rows<T>(m, n, d, x, *ldx, false);                                                   \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##larscl2(const core_int* m, const core_int* n, const real_t<T>* d, T* x,    \
                                          const core_int* ldx)                                               \
    {                                                                                                        \
        qnm::core::scale_rows<T>(m, n, d, x, *ldx, true);                                                    \
    }
QNM_ALL_LETTERS(QNM_FACTOR)

// x over a complex number, each element by the engine's division, which heeds overflow.
#define QNM_DIVIDE(l, L, T)                                                                                  \
    extern "C" T l##ladiv_(const void* x, const void* y);                                                    \
    QNM_CORE void qnm_lapack_##l##rscl(const core_int* n, const T* a, T* x, const core_int* incx)            \
    {                                                                                                        \
        for (core_int i = 0; i<*n&& * incx> 0; ++i)                                                          \
            x[i * *incx] = l##ladiv_(&x[i * *incx], a);                                                      \
    }
QNM_COMPLEX_LETTERS(QNM_DIVIDE)
