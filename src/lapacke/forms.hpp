// Storage forms: the shape of a column-major copy, and how a matrix moves between the two layouts.
#pragma once

#include "lapacke/exported.hpp"

namespace qnm {

template <class N>
core_int room(N count)
{
    return count > 0 ? count : 1;
}

/// A triangle in packed storage.
inline core_int packed_room(core_int n)
{
    return room(n) * (n + 1 > 2 ? n + 1 : 2) / 2;
}

// A full or band form: its options in the order of the helpers, its rows and columns.
#define QNM_FORM(NAME, FORM, ROWS, COLUMNS, OPTIONS, ...)                                                    \
    template <class I>                                                                                       \
    struct NAME {                                                                                            \
        static constexpr bool packed = false;                                                                \
        OPTIONS;                                                                                             \
        I rows() const { return ROWS; }                                                                      \
        I columns() const { return COLUMNS; }                                                                \
        template <class E>                                                                                   \
        void trans(int layout, const E* in, I ldin, E* out, I ldout) const                                   \
        {                                                                                                    \
            Exported<E, I>::FORM##_trans(layout, __VA_ARGS__, in, ldin, out, ldout);                         \
        }                                                                                                    \
    };
#define QNM_PACKED_FORM(NAME, FORM, OPTIONS, ...)                                                            \
    template <class I>                                                                                       \
    struct NAME {                                                                                            \
        static constexpr bool packed = true;                                                                 \
        OPTIONS;                                                                                             \
        core_int order() const { return n; }                                                                 \
        template <class E>                                                                                   \
        void trans(int layout, const E* in, I /*ldin*/, E* out, I /*ldout*/) const                           \
        {                                                                                                    \
            Exported<E, I>::FORM##_trans(layout, __VA_ARGS__, in, out);                                      \
        }                                                                                                    \
    };

QNM_FORM(Ge, ge, m, n, I m; I n, m, n)
QNM_FORM(Gb, gb, kl + ku + 1, n, I m; I n; I kl; I ku, m, n, kl, ku)
QNM_FORM(Hs, hs, n, n, I n, n)
QNM_FORM(Sy, sy, n, n, char uplo; I n, uplo, n)
QNM_FORM(He, he, n, n, char uplo; I n, uplo, n)
QNM_FORM(Po, po, n, n, char uplo; I n, uplo, n)
QNM_FORM(Tr, tr, n, n, char uplo; char diag; I n, uplo, diag, n)
QNM_FORM(Tz, tz, m, n, char direct; char uplo; char diag; I m; I n, direct, uplo, diag, m, n)
QNM_FORM(Pb, pb, kd + 1, n, char uplo; I n; I kd, uplo, n, kd)
QNM_FORM(Sb, sb, kd + 1, n, char uplo; I n; I kd, uplo, n, kd)
QNM_FORM(Hb, hb, kd + 1, n, char uplo; I n; I kd, uplo, n, kd)
QNM_FORM(Tb, tb, kd + 1, n, char uplo; char diag; I n; I kd, uplo, diag, n, kd)
QNM_PACKED_FORM(Pp, pp, char uplo; I n, uplo, n)
QNM_PACKED_FORM(Sp, sp, char uplo; I n, uplo, n)
QNM_PACKED_FORM(Hp, hp, char uplo; I n, uplo, n)
QNM_PACKED_FORM(Tp, tp, char uplo; char diag; I n, uplo, diag, n)
QNM_PACKED_FORM(Pf, pf, char transr; char uplo; I n, transr, uplo, n)
QNM_PACKED_FORM(Tf, tf, char transr; char uplo; char diag; I n, transr, uplo, diag, n)

/// A general matrix whose number of columns is known after the call only.
template <class I>
struct GeBehind {
    I m;
    const I* n;
    template <class E>
    void trans(int layout, const E* in, I ldin, E* out, I ldout) const
    {
        Exported<E, I>::ge_trans(layout, m, *n, in, ldin, out, ldout);
    }
};

/// What comes back differs from what went in, and an option tells how.
template <class A, class B>
struct Either {
    bool first;
    A a;
    B b;
    template <class E, class I>
    void trans(int layout, const E* in, I ldin, E* out, I ldout) const
    {
        first ? a.trans(layout, in, ldin, out, ldout) : b.trans(layout, in, ldin, out, ldout);
    }
};

} // namespace qnm
