// Factorisations of interleaved matrices: each is unpacked, goes through the plain routine and is packed
// again.
#include "factor.hpp"

#include <qnm/core/blas.h>
#include <qnm/core/lapack.h>

using qnm::core::core_int;
using qnm::core::real_t;

namespace qnm::core {
namespace {

constexpr core_int row_major = 101, column_major = 102, upper = 121;

template <class T>
struct Packing;
#define QNM_MEMBERS(l, L, T)                                                                                 \
    template <>                                                                                              \
    struct Packing<T> {                                                                                      \
        static constexpr auto pack = qnm_blas_##l##gepack_compact;                                           \
        static constexpr auto unpack = qnm_blas_##l##geunpack_compact;                                       \
    };
QNM_ALL_LETTERS(QNM_MEMBERS)

// Plain copies of interleaved matrices, column by column whatever the layout is.
template <class T>
class Copies {
public:
    Copies(std::string_view name, core_int layout, core_int rows, core_int columns, core_int count)
        : rows_(rows),
          columns_(columns),
          count_(count),
          row_major_(layout == row_major),
          data_(name, 2 * rows * columns * count),
          places_(name, count)
    {
        for (core_int k = 0; *this && k < count; ++k)
            places_[k] = packed_form(k);
    }
    explicit operator bool() const { return data_ && places_; }
    T* operator[](core_int k) const { return data_.get() + (count_ + k) * rows_ * columns_; }
    core_int ld() const { return std::max<core_int>(rows_, 1); }

    void load(core_int layout, real_t<T>* ap, core_int ldap, core_int format) const
    {
        Packing<T>::unpack(layout, rows_, columns_, places_.get(), packed_ld(), ap, ldap, format, count_);
        each([](T& plain, T& packed) { plain = packed; });
    }
    void store(core_int layout, real_t<T>* ap, core_int ldap, core_int format) const
    {
        each([](T& plain, T& packed) { packed = plain; });
        Packing<T>::pack(layout, rows_, columns_, places_.get(), packed_ld(), ap, ldap, format, count_);
    }

private:
    T* packed_form(core_int k) const { return data_.get() + k * rows_ * columns_; }
    core_int packed_ld() const { return std::max<core_int>(row_major_ ? columns_ : rows_, 1); }
    template <class Move>
    void each(Move move) const
    {
        for (core_int k = 0; k < count_; ++k)
            for (core_int j = 0; j < columns_; ++j)
                for (core_int i = 0; i < rows_; ++i)
                    move((*this)[k][i + j * rows_],
                         packed_form(k)[row_major_ ? i * columns_ + j : i + j * rows_]);
    }

    core_int rows_, columns_, count_;
    bool row_major_;
    Scratch<T> data_; // as packed, then column by column
    Scratch<T*> places_;
};

bool is_format(core_int format)
{
    return format == 16 || format == 32 || format == 64;
}

// Applies `routine`, which returns INFO, to every matrix; INFO of the batch is the first that is not 0.
template <class T, class Routine>
void each_matrix(std::string_view name, core_int layout, core_int rows, core_int columns, real_t<T>* ap,
                 core_int ldap, core_int* info, core_int format, int format_position, core_int nm,
                 Routine routine)
{
    *info = 0;
    if (!is_format(format)) {
        report(name, format_position);
        *info = -format_position;
        return;
    }
    if (rows <= 0 || columns <= 0 || nm <= 0)
        return;
    const Copies<T> matrices(name, layout, rows, columns, nm);
    if (!matrices) {
        *info = -memory_failure;
        return;
    }
    matrices.load(layout, ap, ldap, format);
    for (core_int k = 0; k < nm; ++k) {
        const core_int found = routine(k, matrices[k], matrices.ld());
        *info = *info != 0 ? *info : found;
    }
    matrices.store(layout, ap, ldap, format);
}

template <class T>
void getrinp(std::string_view name, core_int layout, core_int n, real_t<T>* ap, core_int ldap, core_int* info,
             core_int format, core_int nm)
{
    const Scratch<core_int> pivots(name, n);
    const Scratch<T> room(name, n);
    if (!pivots || !room) {
        *info = -memory_failure;
        return;
    }
    each_matrix<T>(name, layout, n, n, ap, ldap, info, format, 8, nm, [&](core_int, T* a, core_int lda) {
        return invert(n, a, lda, pivots.get(), room.get(), std::max<core_int>(n, 1));
    });
}

template <class T>
void geqrf(std::string_view name, core_int layout, core_int m, core_int n, real_t<T>* ap, core_int ldap,
           real_t<T>* taup, core_int* info, core_int format, core_int nm)
{
    const core_int k = std::min(m, n);
    const Scratch<T> room(name, 32 * std::max<core_int>(n, 1));
    const Copies<T> taus(name, column_major, std::max<core_int>(k, 0), 1, std::max<core_int>(nm, 0));
    if (!room || !taus) {
        *info = -memory_failure;
        return;
    }
    each_matrix<T>(name, layout, m, n, ap, ldap, info, format, 10, nm,
                   [&](core_int which, T* a, core_int lda) {
                       const core_int lwork = 32 * n;
                       core_int found = 0;
                       Engine<T>::geqrf(&m, &n, a, &lda, taus[which], room.get(), &lwork, &found);
                       return found;
                   });
    if (*info >= 0 && k > 0 && nm > 0)
        taus.store(column_major, taup, k, format);
}

} // namespace
} // namespace qnm::core

// The matrices have their own workspace, so a query is told the least, and `work` is not needed.
#define QNM_COMPACT(l, L, T)                                                                                 \
    QNM_CORE void qnm_lapack_qnm_##l##getrfnp_compact(                                                       \
        const core_int* layout, const core_int* m, const core_int* n, real_t<T>* ap, const core_int* ldap,   \
        core_int* info, const core_int* format, const core_int* nm)                                          \
    {                                                                                                        \
        qnm::core::each_matrix<T>("QNM_" #L "GETRFNP_COMPACT", *layout, *m, *n, ap, *ldap, info, *format, 7, \
                                  *nm, [rows = *m, columns = *n](core_int, T* a, core_int lda) {             \
                                      return qnm::core::factor(rows, columns, std::min(rows, columns), a,    \
                                                               lda);                                         \
                                  });                                                                        \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_qnm_##l##getrinp_compact(                                                       \
        const core_int* layout, const core_int* n, real_t<T>* ap, const core_int* ldap, real_t<T>* work,     \
        const core_int* lwork, core_int* info, const core_int* format, const core_int* nm)                   \
    {                                                                                                        \
        *info = 0;                                                                                           \
        if (*lwork == -1)                                                                                    \
            work[0] = 1;                                                                                     \
        else                                                                                                 \
            qnm::core::getrinp<T>("QNM_" #L "GETRINP_COMPACT", *layout, *n, ap, *ldap, info, *format, *nm);  \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_qnm_##l##potrf_compact(                                                         \
        const core_int* layout, const core_int* uplo, const core_int* n, real_t<T>* ap,                      \
        const core_int* ldap, core_int* info, const core_int* format, const core_int* nm)                    \
    {                                                                                                        \
        qnm::core::each_matrix<T>(                                                                           \
            "QNM_" #L "POTRF_COMPACT", *layout, *n, *n, ap, *ldap, info, *format, 7, *nm,                    \
            [triangle = *uplo == qnm::core::upper ? "U" : "L", order = *n](core_int, T* a, core_int lda) {   \
                core_int found = 0;                                                                          \
                qnm::core::Engine<T>::potrf(triangle, &order, a, &lda, &found);                              \
                return found;                                                                                \
            });                                                                                              \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_qnm_##l##geqrf_compact(                                                         \
        const core_int* layout, const core_int* m, const core_int* n, real_t<T>* ap, const core_int* ldap,   \
        real_t<T>* taup, real_t<T>* work, const core_int* lwork, core_int* info, const core_int* format,     \
        const core_int* nm)                                                                                  \
    {                                                                                                        \
        *info = 0;                                                                                           \
        if (*lwork == -1)                                                                                    \
            work[0] = 1;                                                                                     \
        else                                                                                                 \
            qnm::core::geqrf<T>("QNM_" #L "GEQRF_COMPACT", *layout, *m, *n, ap, *ldap, taup, info, *format,  \
                                *nm);                                                                        \
    }
QNM_ALL_LETTERS(QNM_COMPACT)
