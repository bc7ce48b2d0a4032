// Batches of small matrices, interleaved: `format` is the bytes of one vector of reals, and a pack holds as
// many matrices as it has lanes. Element (i,j) of a pack is one vector with that element of each matrix, for
// complex types a vector of real parts and then one of imaginary parts. A last, incomplete pack is full size.
#include "services.hpp"

#include <qnm/core/blas.h>

#include <array>

namespace qnm::core {
namespace {

constexpr core_int row_major = 101, trans = 112, conj_trans = 113, upper = 121, unit = 132, right = 142;

// One element of all matrices of a pack.
template <class T, int lanes>
struct Lanes {
    using R = real_t<T>;
    static constexpr core_int size = is_complex<T> ? 2 * lanes : lanes; // in reals

    static T get(const R* at, int lane)
    {
        if constexpr (is_complex<T>)
            return T{at[lane], at[lanes + lane]};
        else
            return at[lane];
    }
    static void set(R* at, int lane, T value)
    {
        if constexpr (is_complex<T>) {
            at[lane] = value.real();
            at[lanes + lane] = value.imag();
        } else {
            at[lane] = value;
        }
    }
};

// A matrix of a pack: element steps down a column and along a row, in reals.
template <class R>
struct View {
    R* data;
    core_int down, across;
    bool conj = false;

    View(R* first, core_int layout, core_int ld, core_int size)
        : data(first),
          down(layout == row_major ? ld * size : size),
          across(layout == row_major ? size : ld * size)
    {
    }
    void transpose() { std::swap(down, across); }
    void apply(core_int op)
    {
        if (op == trans || op == conj_trans)
            transpose();
        conj = conj != (op == conj_trans);
    }
    R* at(core_int i, core_int j) const { return data + i * down + j * across; }
};

// Reals from one pack to the next: the leading dimension times the other extent.
core_int pack_step(core_int layout, core_int rows, core_int columns, core_int ld, core_int size)
{
    return ld * (layout == row_major ? rows : columns) * size;
}

template <class T, int lanes>
struct Compact {
    using R = real_t<T>;
    using L = Lanes<T, lanes>;
    using Element = std::array<T, lanes>;
    static constexpr core_int packs(core_int nm) { return (nm + lanes - 1) / lanes; }

    // sum += x * y, lane by lane.
    static void accumulate(Element& sum, const R* x, bool conj_x, const R* y, bool conj_y)
    {
        for (int l = 0; l < lanes; ++l) {
            const T a = L::get(x, l), b = L::get(y, l);
            sum[static_cast<std::size_t>(l)] += (conj_x ? conjugate(a) : a) * (conj_y ? conjugate(b) : b);
        }
    }

    static void gemm(core_int layout, core_int transa, core_int transb, core_int m, core_int n, core_int k,
                     T alpha, const R* a, core_int lda, const R* b, core_int ldb, T beta, R* c, core_int ldc,
                     core_int nm)
    {
        const bool plain_a = transa != trans && transa != conj_trans;
        const bool plain_b = transb != trans && transb != conj_trans;
        const core_int step_a = pack_step(layout, plain_a ? m : k, plain_a ? k : m, lda, L::size);
        const core_int step_b = pack_step(layout, plain_b ? k : n, plain_b ? n : k, ldb, L::size);
        const core_int step_c = pack_step(layout, m, n, ldc, L::size);
        for (core_int p = 0; p < packs(nm); ++p) {
            View<const R> va(a + p * step_a, layout, lda, L::size), vb(b + p * step_b, layout, ldb, L::size);
            const View<R> vc(c + p * step_c, layout, ldc, L::size);
            va.apply(transa);
            vb.apply(transb);
            for (core_int j = 0; j < n; ++j)
                for (core_int i = 0; i < m; ++i) {
                    Element sum{};
                    for (core_int h = 0; h < k; ++h)
                        accumulate(sum, va.at(i, h), va.conj, vb.at(h, j), vb.conj);
                    R* to = vc.at(i, j);
                    for (int l = 0; l < lanes; ++l) {
                        const T value = alpha * sum[static_cast<std::size_t>(l)];
                        L::set(to, l, beta == T{} ? value : value + beta * L::get(to, l));
                    }
                }
        }
    }

    // op(A) X = alpha B or X op(A) = alpha B, X over B. The second is the first with all transposed.
    static void trsm(core_int layout, core_int side, core_int uplo, core_int transa, core_int diag,
                     core_int m, core_int n, T alpha, const R* a, core_int lda, R* b, core_int ldb,
                     core_int nm)
    {
        const bool from_right = side == right;
        const core_int order = from_right ? n : m, count = from_right ? m : n;
        const core_int step_a = pack_step(layout, order, order, lda, L::size);
        const core_int step_b = pack_step(layout, m, n, ldb, L::size);
        const bool transposed = (transa == trans || transa == conj_trans) != from_right;
        const bool backward = (uplo == upper) != transposed;
        for (core_int p = 0; p < packs(nm); ++p) {
            View<const R> va(a + p * step_a, layout, lda, L::size);
            View<R> vb(b + p * step_b, layout, ldb, L::size);
            va.apply(transa);
            if (from_right) {
                va.transpose();
                vb.transpose();
            }
            for (core_int j = 0; j < count; ++j)
                for (core_int s = 0; s < order; ++s) {
                    const core_int i = backward ? order - 1 - s : s;
                    Element sum{};
                    for (core_int h = backward ? i + 1 : 0; h < (backward ? order : i); ++h)
                        accumulate(sum, va.at(i, h), va.conj, vb.at(h, j), false);
                    R* to = vb.at(i, j);
                    for (int l = 0; l < lanes; ++l) {
                        T x = alpha * L::get(to, l) - sum[static_cast<std::size_t>(l)];
                        if (diag != unit) {
                            const T d = L::get(va.at(i, i), l);
                            x /= va.conj ? conjugate(d) : d;
                        }
                        L::set(to, l, x);
                    }
                }
        }
    }

    // Visits every element of every matrix: its place in the pack, its lane, its place in the matrix.
    template <class Reals, class Visit>
    static void each(core_int layout, core_int rows, core_int columns, core_int lda, Reals* ap, core_int ldap,
                     core_int nm, Visit visit)
    {
        const core_int step = pack_step(layout, rows, columns, ldap, L::size);
        const core_int fast = layout == row_major ? columns : rows,
                       slow = layout == row_major ? rows : columns;
        for (core_int which = 0; which < nm; ++which)
            for (core_int s = 0; s < slow; ++s)
                for (core_int f = 0; f < fast; ++f)
                    visit(ap + which / lanes * step + (s * ldap + f) * L::size,
                          static_cast<int>(which % lanes), which, s * lda + f);
    }

    static void pack(core_int layout, core_int rows, core_int columns, const T* const* a, core_int lda, R* ap,
                     core_int ldap, core_int nm)
    {
        // The lanes beyond nm repeat the last matrix, so that a solve does not divide by what was never set.
        const core_int whole = packs(nm) * lanes;
        each(layout, rows, columns, lda, ap, ldap, whole,
             [=](R* at, int lane, core_int which, core_int place) {
                 L::set(at, lane, a[std::min(which, nm - 1)][place]);
             });
    }
    static void unpack(core_int layout, core_int rows, core_int columns, T* const* a, core_int lda,
                       const R* ap, core_int ldap, core_int nm)
    {
        each(layout, rows, columns, lda, ap, ldap, nm,
             [=](const R* at, int lane, core_int which, core_int place) {
                 a[which][place] = L::get(at, lane);
             });
    }
};

// Runs the operation for the lanes of the format. A format that the core does not know is reported under the
// routine's name and the argument's position.
template <class T, class Operation>
void with_lanes(std::string_view name, int position, core_int format, Operation operation)
{
    constexpr int bytes = sizeof(real_t<T>);
    switch (format) {
    case 16:
        return operation(Compact<T, 16 / bytes>{});
    case 32:
        return operation(Compact<T, 32 / bytes>{});
    case 64:
        return operation(Compact<T, 64 / bytes>{});
    default:
        return report(name, position);
    }
}

} // namespace
} // namespace qnm::core

using qnm::core::core_int;
using qnm::core::real_t;

#define QNM_COMPACT(l, L, T)                                                                                 \
    QNM_CORE void qnm_blas_##l##gemm_compact(                                                                \
        core_int layout, core_int transa, core_int transb, core_int m, core_int n, core_int k,               \
        const T* alpha, const real_t<T>* a, core_int ldap, const real_t<T>* b, core_int ldbp, const T* beta, \
        real_t<T>* c, core_int ldcp, core_int format, core_int nm)                                           \
    {                                                                                                        \
        qnm::core::with_lanes<T>("QNM_" #L "GEMM_COMPACT", 15, format, [=](auto compact) {                   \
            compact.gemm(layout, transa, transb, m, n, k, *alpha, a, ldap, b, ldbp, *beta, c, ldcp, nm);     \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##l##trsm_compact(core_int layout, core_int side, core_int uplo, core_int transa, \
                                             core_int diag, core_int m, core_int n, const T* alpha,          \
                                             const real_t<T>* a, core_int ldap, real_t<T>* b, core_int ldbp, \
                                             core_int format, core_int nm)                                   \
    {                                                                                                        \
        qnm::core::with_lanes<T>("QNM_" #L "TRSM_COMPACT", 13, format, [=](auto compact) {                   \
            compact.trsm(layout, side, uplo, transa, diag, m, n, *alpha, a, ldap, b, ldbp, nm);              \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##l##gepack_compact(core_int layout, core_int rows, core_int columns,             \
                                               const T* const* a, core_int lda, real_t<T>* ap,               \
                                               core_int ldap, core_int format, core_int nm)                  \
    {                                                                                                        \
        qnm::core::with_lanes<T>("QNM_" #L "GEPACK_COMPACT", 8, format, [=](auto compact) {                  \
            compact.pack(layout, rows, columns, a, lda, ap, ldap, nm);                                       \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_blas_##l##geunpack_compact(core_int layout, core_int rows, core_int columns,           \
                                                 T* const* a, core_int lda, const real_t<T>* ap,             \
                                                 core_int ldap, core_int format, core_int nm)                \
    {                                                                                                        \
        qnm::core::with_lanes<T>("QNM_" #L "GEUNPACK_COMPACT", 8, format, [=](auto compact) {                \
            compact.unpack(layout, rows, columns, a, lda, ap, ldap, nm);                                     \
        });                                                                                                  \
    }
QNM_ALL_LETTERS(QNM_COMPACT)

// The widest vector of this processor.
QNM_CORE int qnm_blas_get_format_compact()
{
    if (__builtin_cpu_supports("avx512f"))
        return 64;
    return __builtin_cpu_supports("avx") ? 32 : 16;
}
