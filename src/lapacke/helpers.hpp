// The exported helpers of the C interface, by element type and integer: the entries call them through the
// dynamic symbol table, as applications do.
#pragma once

#include "frame/types.hpp"

namespace qnm {

/// A complex number as C passes it: by value in vector registers, as its real and imaginary parts.
template <class R>
struct Complex {
    R re;
    R im;
};
using qnm_complex8 = Complex<float>;
using qnm_complex16 = Complex<double>;
using qnm_int64 = core_int;

extern "C" {
QNM_EXPORT int LAPACKE_get_nancheck();
QNM_EXPORT void LAPACKE_xerbla(const char* name, int info);
QNM_EXPORT int LAPACKE_lsame(char a, char b);
QNM_EXPORT void* qnm_serv_iface_malloc(core_int bytes, int alignment);
QNM_EXPORT void qnm_serv_iface_free(void* block);
}

/// trans and nancheck of one storage form, for one element and integer.
template <class E, class I>
struct Helpers;

// What each form's helpers take between the layout and the matrix.
#define QNM_LAPACKE_PAIR(LETTER, E, I, W, FORM, ...)                                                         \
    QNM_EXPORT void LAPACKE_##LETTER##FORM##_trans##W(int, __VA_ARGS__ __VA_OPT__(, ) const E*, I, E*, I);   \
    QNM_EXPORT I LAPACKE_##LETTER##FORM##_nancheck##W(int, __VA_ARGS__ __VA_OPT__(, ) const E*, I);
#define QNM_LAPACKE_PACKED(LETTER, E, I, W, FORM, ...)                                                       \
    QNM_EXPORT void LAPACKE_##LETTER##FORM##_trans##W(int, __VA_ARGS__, const E*, E*);
#define QNM_LAPACKE_OPTION(LETTER, E, I, W, FORM) QNM_LAPACKE_PAIR(LETTER, E, I, W, FORM, char, I)
#define QNM_LAPACKE_BAND(LETTER, E, I, W, FORM) QNM_LAPACKE_PAIR(LETTER, E, I, W, FORM, char, I, I)
#define QNM_LAPACKE_TRIANGLE(LETTER, E, I, W, FORM)                                                          \
    QNM_LAPACKE_PACKED(LETTER, E, I, W, FORM, char, I)                                                       \
    QNM_EXPORT I LAPACKE_##LETTER##FORM##_nancheck##W(I, const E*);
#define QNM_LAPACKE_COMMON(LETTER, E, I, W)                                                                  \
    QNM_EXPORT I LAPACKE_##LETTER##_nancheck##W(I, const E*, I);                                             \
    QNM_LAPACKE_PAIR(LETTER, E, I, W, ge, I, I)                                                              \
    QNM_LAPACKE_PAIR(LETTER, E, I, W, gb, I, I, I, I)                                                        \
    QNM_LAPACKE_PAIR(LETTER, E, I, W, hs, I)                                                                 \
    QNM_LAPACKE_OPTION(LETTER, E, I, W, sy)                                                                  \
    QNM_LAPACKE_OPTION(LETTER, E, I, W, po)                                                                  \
    QNM_LAPACKE_PAIR(LETTER, E, I, W, tr, char, char, I)                                                     \
    QNM_LAPACKE_PAIR(LETTER, E, I, W, tz, char, char, char, I, I)                                            \
    QNM_LAPACKE_BAND(LETTER, E, I, W, pb)                                                                    \
    QNM_LAPACKE_PAIR(LETTER, E, I, W, tb, char, char, I, I)                                                  \
    QNM_LAPACKE_TRIANGLE(LETTER, E, I, W, pp)                                                                \
    QNM_LAPACKE_TRIANGLE(LETTER, E, I, W, sp)                                                                \
    QNM_LAPACKE_PACKED(LETTER, E, I, W, tp, char, char, I)                                                   \
    QNM_EXPORT I LAPACKE_##LETTER##tp_nancheck##W(int, char, char, I, const E*);                             \
    QNM_LAPACKE_PACKED(LETTER, E, I, W, pf, char, char, I)                                                   \
    QNM_EXPORT I LAPACKE_##LETTER##pf_nancheck##W(I, const E*);                                              \
    QNM_LAPACKE_PACKED(LETTER, E, I, W, tf, char, char, char, I)                                             \
    QNM_EXPORT I LAPACKE_##LETTER##tf_nancheck##W(int, char, char, char, I, const E*);
#define QNM_LAPACKE_HERMITIAN(LETTER, E, I, W)                                                               \
    QNM_LAPACKE_OPTION(LETTER, E, I, W, he)                                                                  \
    QNM_LAPACKE_BAND(LETTER, E, I, W, hb)                                                                    \
    QNM_LAPACKE_TRIANGLE(LETTER, E, I, W, hp)

// The functions of one form, as a member of Helpers.
#define QNM_LAPACKE_TRANS(LETTER, W, FORM)                                                                   \
    template <class... A>                                                                                    \
    QNM_INLINE static void FORM(A... arguments)                                                              \
    {                                                                                                        \
        LAPACKE_##LETTER##FORM##_trans##W(arguments...);                                                     \
    }
#define QNM_LAPACKE_TRANSPOSERS(LETTER, W)                                                                   \
    QNM_LAPACKE_TRANS(LETTER, W, ge)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, gb)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, hs)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, sy)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, po)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, tr)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, tz)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, pb)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, tb)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, pp)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, sp)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, tp)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, pf)                                                                         \
    QNM_LAPACKE_TRANS(LETTER, W, tf)

#define QNM_LAPACKE_REAL(LETTER, E, I, W)                                                                    \
    extern "C" {                                                                                             \
    QNM_LAPACKE_COMMON(LETTER, E, I, W)                                                                      \
    QNM_LAPACKE_BAND(LETTER, E, I, W, sb)                                                                    \
    }                                                                                                        \
    template <>                                                                                              \
    struct Helpers<E, I> {                                                                                   \
        QNM_LAPACKE_TRANSPOSERS(LETTER, W)                                                                   \
        QNM_LAPACKE_TRANS(LETTER, W, sb)                                                                     \
    };
#define QNM_LAPACKE_COMPLEX(LETTER, E, I, W)                                                                 \
    extern "C" {                                                                                             \
    QNM_LAPACKE_COMMON(LETTER, E, I, W)                                                                      \
    QNM_LAPACKE_HERMITIAN(LETTER, E, I, W)                                                                   \
    }                                                                                                        \
    template <>                                                                                              \
    struct Helpers<E, I> {                                                                                   \
        QNM_LAPACKE_TRANSPOSERS(LETTER, W)                                                                   \
        QNM_LAPACKE_TRANS(LETTER, W, he)                                                                     \
        QNM_LAPACKE_TRANS(LETTER, W, hb)                                                                     \
        QNM_LAPACKE_TRANS(LETTER, W, hp)                                                                     \
    };

QNM_LAPACKE_REAL(s, float, int, )
QNM_LAPACKE_REAL(d, double, int, )
QNM_LAPACKE_COMPLEX(c, qnm_complex8, int, )
QNM_LAPACKE_COMPLEX(z, qnm_complex16, int, )
QNM_LAPACKE_REAL(s, float, core_int, _64)
QNM_LAPACKE_REAL(d, double, core_int, _64)
QNM_LAPACKE_COMPLEX(c, qnm_complex8, core_int, _64)
QNM_LAPACKE_COMPLEX(z, qnm_complex16, core_int, _64)

} // namespace qnm
