// What the engine does wrong in some case: the linker (--wrap) leads every call of these here, the engine's
// own calls included, and `real` is what the engine has. Fortran's hidden lengths go on, since a compiled
// callee may take their room on the stack for its own.
#include "engine.hpp"
#include "services.hpp"

#include <cstdlib>

// The engine reads its variables as if nobody could set them for another: a program that runs with its
// owner's rights takes no orders from the environment of its caller.
extern "C" [[gnu::visibility("hidden")]] char* __wrap_getenv(const char* name)
{
    return secure_getenv(name);
}

namespace qnm::core {
namespace {

template <class T>
void copy_matrix(core_int rows, core_int columns, const T* from, core_int ldfrom, T* to, core_int ldto)
{
    for (core_int j = 0; j < columns; ++j)
        std::copy_n(from + j * ldfrom, rows, to + j * ldto);
}

// K reflectors of length M, stored by rows: the same by columns, M by K.
template <class T>
void turn_reflectors(core_int k, core_int m, const T* v, core_int ldv, T* columns)
{
    for (core_int i = 0; i < k; ++i)
        for (core_int j = 0; j < m; ++j)
            columns[j + i * m] = conjugate(v[i + j * ldv]);
}

// Whether LAPACK takes these sizes of its third kind of CS decomposition, the one with fewest rows in X21.
constexpr bool sound(core_int m, core_int p, core_int q, core_int ldx11, core_int ldx21)
{
    const core_int rows = m - p;
    return rows >= 0 && rows <= std::min({p, q, m - q}) && ldx11 >= p && ldx21 >= std::max<core_int>(1, rows);
}

} // namespace
} // namespace qnm::core

using qnm::core::core_int;
using qnm::core::real_t;

#define QNM_MENDED(name, PARAMETERS)                                                                         \
    extern "C" void __real_##name##_ PARAMETERS;                                                             \
    extern "C" [[gnu::visibility("hidden")]] void __wrap_##name##_ PARAMETERS

// TRTRS takes upper case only. GESV without a right-hand side leaves A as it was. TPRFB, rows forward from
// the left, takes the leading dimension of B for that of WORK: stored by columns it has no such fault.
#define QNM_OF_ALL_LETTERS(l, L, T)                                                                          \
    QNM_MENDED(l##trtrs, (const char* uplo, const char* trans, const char* diag, const core_int* n,          \
                          const core_int* nrhs, const T* a, const core_int* lda, T* b, const core_int* ldb,  \
                          core_int* info, std::size_t, std::size_t, std::size_t))                            \
    {                                                                                                        \
        using qnm::core::upper_case;                                                                         \
        const char letters[] = {upper_case(*uplo), upper_case(*trans), upper_case(*diag)};                   \
        __real_##l##trtrs_(&letters[0], &letters[1], &letters[2], n, nrhs, a, lda, b, ldb, info, 1, 1, 1);   \
    }                                                                                                        \
    QNM_MENDED(l##gesv, (const core_int* n, const core_int* nrhs, T* a, const core_int* lda, core_int* ipiv, \
                         T* b, const core_int* ldb, core_int* info))                                         \
    {                                                                                                        \
        __real_##l##gesv_(n, nrhs, a, lda, ipiv, b, ldb, info);                                              \
        if (*info == 0 && *nrhs == 0)                                                                        \
            qnm::core::Engine<T>::getrf(n, n, a, lda, ipiv, info);                                           \
    }                                                                                                        \
    QNM_MENDED(l##tprfb, (const char* side, const char* trans, const char* direct, const char* storev,       \
                          const core_int* m, const core_int* n, const core_int* k, const core_int* l,        \
                          const T* v, const core_int* ldv, const T* t, const core_int* ldt, T* a,            \
                          const core_int* lda, T* b, const core_int* ldb, T* work, const core_int* ldwork,   \
                          std::size_t, std::size_t, std::size_t, std::size_t))                               \
    {                                                                                                        \
        using namespace qnm::core;                                                                           \
        Scratch<T> columns;                                                                                  \
        if (is_letter(storev, 'R') && is_letter(direct, 'F') && is_letter(side, 'L') &&                      \
            std::min({*m, *n, *k}) > 0) {                                                                    \
            columns = Scratch<T>(#L "TPRFB", *m * *k);                                                       \
            if (!columns)                                                                                    \
                return;                                                                                      \
            turn_reflectors(*k, *m, v, *ldv, columns.get());                                                 \
            v = columns.get();                                                                               \
            ldv = m;                                                                                         \
            storev = "C";                                                                                    \
        }                                                                                                    \
        __real_##l##tprfb_(side, trans, direct, storev, m, n, k, l, v, ldv, t, ldt, a, lda, b, ldb, work,    \
                           ldwork, 1, 1, 1, 1);                                                              \
    }
QNM_ALL_LETTERS(QNM_OF_ALL_LETTERS)

// ORBDB3 takes the leading dimension of X11 for that of X21: they are made equal. ORHR_COL clears NB lines of
// T, which has min(NB, N).
#define QNM_ORTHOGONAL(T, bdb3, BDB3, hr_col)                                                                \
    QNM_MENDED(bdb3,                                                                                         \
               (const core_int* m, const core_int* p, const core_int* q, T* x11, const core_int* ldx11,      \
                T* x21, const core_int* ldx21, real_t<T>* theta, real_t<T>* phi, T* taup1, T* taup2,         \
                T* tauq1, T* work, const core_int* lwork, core_int* info))                                   \
    {                                                                                                        \
        using namespace qnm::core;                                                                           \
        if (*ldx11 == *ldx21 || *lwork == -1 || !sound(*m, *p, *q, *ldx11, *ldx21))                          \
            return __real_##bdb3##_(m, p, q, x11, ldx11, x21, ldx21, theta, phi, taup1, taup2, tauq1, work,  \
                                    lwork, info);                                                            \
        const Scratch<T> room(BDB3, (*q) * (*ldx11));                                                        \
        if (!room) {                                                                                         \
            *info = -memory_failure;                                                                         \
            return;                                                                                          \
        }                                                                                                    \
        copy_matrix(*m - *p, *q, x21, *ldx21, room.get(), *ldx11);                                           \
        __real_##bdb3##_(m, p, q, x11, ldx11, room.get(), ldx11, theta, phi, taup1, taup2, tauq1, work,      \
                         lwork, info);                                                                       \
        copy_matrix(*m - *p, *q, room.get(), *ldx11, x21, *ldx21);                                           \
    }                                                                                                        \
    QNM_MENDED(hr_col, (const core_int* m, const core_int* n, const core_int* nb, T* a, const core_int* lda, \
                        T* t, const core_int* ldt, T* d, core_int* info))                                    \
    {                                                                                                        \
        const core_int width = std::min(*nb, std::max<core_int>(1, *n));                                     \
        __real_##hr_col##_(m, n, &width, a, lda, t, ldt, d, info);                                           \
    }
#define QNM_OF_REALS(l, L, T) QNM_ORTHOGONAL(T, l##orbdb3, #L "ORBDB3", l##orhr_col)
#define QNM_OF_COMPLEX(l, L, T) QNM_ORTHOGONAL(T, l##unbdb3, #L "UNBDB3", l##unhr_col)
QNM_REAL_LETTERS(QNM_OF_REALS)
QNM_COMPLEX_LETTERS(QNM_OF_COMPLEX)
