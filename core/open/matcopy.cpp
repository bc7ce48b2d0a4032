// Matrix copy by letters: values by value, complex scalars by address.
#include "matcopy.hpp"

#include <qnm/core/trans.h>

namespace qnm::core {
namespace {

template <class T>
using Scalar = std::conditional_t<is_complex<T>, const T*, T>;

template <class T>
T value(Scalar<T> scalar)
{
    if constexpr (is_complex<T>)
        return *scalar;
    else
        return scalar;
}

struct Shape {
    core_int m, n;
    Shape(char ordering, core_int rows, core_int cols)
        : m(same_letter(ordering, 'R') ? cols : rows), n(same_letter(ordering, 'R') ? rows : cols)
    {
    }
    bool empty() const { return m <= 0 || n <= 0; }
};

/// Matrices so small that to look for the best kernel would cost more than the copy.
constexpr core_int few = 8;

template <class T>
[[gnu::noinline]] void omatcopy2(char ordering, char trans, core_int rows, core_int cols, T alpha, const T* a,
                                 core_int lda, core_int stridea, T* b, core_int ldb, core_int strideb)
{
    const Shape shape(ordering, rows, cols);
    const Operation op(trans);
    if (!shape.empty())
        with_change(alpha, op.conjugated, [&](auto change) {
            copy(shape.m, shape.n, change, a, {stridea, lda}, b, steps(op.transposed, strideb, ldb));
        });
}

template <class T>
[[gnu::noinline]] void omatcopy_of_many(char ordering, char trans, core_int rows, core_int cols, T alpha,
                                        const T* a, core_int lda, T* b, core_int ldb)
{
    omatcopy2<T>(ordering, trans, rows, cols, alpha, a, lda, 1, b, ldb, 1);
}

template <class T>
[[gnu::always_inline]] inline void omatcopy(char ordering, char trans, core_int rows, core_int cols, T alpha,
                                            const T* a, core_int lda, T* b, core_int ldb)
{
    if (!same_letter(trans, 'T') || rows > few || cols > few || alpha != T(1))
        return omatcopy_of_many(ordering, trans, rows, cols, alpha, a, lda, b, ldb);
    const Shape shape(ordering, rows, cols);
    if (shape.n <= 1)
        transpose_line(shape.empty() ? 0 : shape.m, a, 1, b, ldb);
    else if (shape.m <= 1)
        transpose_line(shape.empty() ? 0 : shape.n, a, lda, b, 1);
    else
        transpose_few(shape.m, shape.n, a, lda, b, ldb);
}

template <class T>
void imatcopy(const char* routine, char ordering, char trans, core_int rows, core_int cols, T alpha, T* ab,
              core_int lda, core_int ldb)
{
    const Shape shape(ordering, rows, cols);
    const Operation op(trans);
    if (!shape.empty())
        with_change(alpha, op.conjugated, [&](auto change) {
            copy_in_place(routine, shape.m, shape.n, op.transposed, change, ab, lda, ldb);
        });
}

template <class T>
void omatadd(char ordering, char transa, char transb, core_int rows, core_int cols, T alpha, const T* a,
             core_int lda, T beta, const T* b, core_int ldb, T* c, core_int ldc)
{
    const Shape shape(ordering, rows, cols);
    const Operation opa(transa), opb(transb);
    const Steps sa = steps(opa.transposed, 1, lda), sb = steps(opb.transposed, 1, ldb);
    with_change(alpha, opa.conjugated, [&](auto first) {
        with_change(beta, opb.conjugated, [&](auto second) {
            blocks(shape.m, shape.n, [&](core_int i, core_int j) {
                c[i + j * ldc] = first(a[i * sa.down + j * sa.right]) + second(b[i * sb.down + j * sb.right]);
            });
        });
    });
}

/// Calls `problem(g, p)` for every problem p of every group g.
template <class Problem>
void groups(core_int group_count, const std::size_t* group_size, Problem&& problem)
{
    core_int p = 0;
    for (core_int g = 0; g < group_count; ++g)
        for (core_int last = p + group_size[g]; p < last; ++p)
            problem(g, p);
}

} // namespace
} // namespace qnm::core

using qnm::core::core_int;
using qnm::core::Scalar;
using qnm::core::value;

// Sizes come without a sign, as C has them.
#define MATCOPIES(l, L, T)                                                                                   \
    QNM_CORE void qnm_trans_qnm_##l##omatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, \
                                              Scalar<T> alpha, const T* a, std::size_t lda, T* b,            \
                                              std::size_t ldb)                                               \
    {                                                                                                        \
        qnm::core::omatcopy<T>(ordering, trans, rows, cols, value<T>(alpha), a, lda, b, ldb);                \
    }                                                                                                        \
    QNM_CORE void qnm_trans_qnm_##l##imatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, \
                                              Scalar<T> alpha, T* ab, std::size_t lda, std::size_t ldb)      \
    {                                                                                                        \
        qnm::core::imatcopy<T>("QNM_" #L "IMATCOPY", ordering, trans, rows, cols, value<T>(alpha), ab, lda,  \
                               ldb);                                                                         \
    }                                                                                                        \
    QNM_CORE void qnm_trans_qnm_##l##omatcopy2(                                                              \
        char ordering, char trans, std::size_t rows, std::size_t cols, Scalar<T> alpha, const T* a,          \
        std::size_t lda, std::size_t stridea, T* b, std::size_t ldb, std::size_t strideb)                    \
    {                                                                                                        \
        qnm::core::omatcopy2<T>(ordering, trans, rows, cols, value<T>(alpha), a, lda, stridea, b, ldb,       \
                                strideb);                                                                    \
    }                                                                                                        \
    QNM_CORE void qnm_trans_qnm_##l##omatadd(                                                                \
        char ordering, char transa, char transb, std::size_t rows, std::size_t cols, Scalar<T> alpha,        \
        const T* a, std::size_t lda, Scalar<T> beta, const T* b, std::size_t ldb, T* c, std::size_t ldc)     \
    {                                                                                                        \
        qnm::core::omatadd<T>(ordering, transa, transb, rows, cols, value<T>(alpha), a, lda, value<T>(beta), \
                              b, ldb, c, ldc);                                                               \
    }                                                                                                        \
    QNM_CORE void qnm_trans_qnm_##l##omatcopy_batch(                                                         \
        char layout, const char* trans, const std::size_t* rows, const std::size_t* cols, const T* alpha,    \
        const T* const* a, const std::size_t* lda, T* const* b, const std::size_t* ldb,                      \
        std::size_t group_count, const std::size_t* group_size)                                              \
    {                                                                                                        \
        qnm::core::groups(group_count, group_size, [&](core_int g, core_int p) {                             \
            qnm::core::omatcopy<T>(layout, trans[g], rows[g], cols[g], alpha[g], a[p], lda[g], b[p],         \
                                   ldb[g]);                                                                  \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_trans_qnm_##l##imatcopy_batch(char layout, const char* trans, const std::size_t* rows, \
                                                    const std::size_t* cols, const T* alpha, T* const* ab,   \
                                                    const std::size_t* lda, const std::size_t* ldb,          \
                                                    std::size_t group_count, const std::size_t* group_size)  \
    {                                                                                                        \
        qnm::core::groups(group_count, group_size, [&](core_int g, core_int p) {                             \
            qnm::core::imatcopy<T>("QNM_" #L "IMATCOPY_BATCH", layout, trans[g], rows[g], cols[g], alpha[g], \
                                   ab[p], lda[g], ldb[g]);                                                   \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_trans_qnm_##l##omatcopy_batch_strided(                                                 \
        char layout, char trans, std::size_t rows, std::size_t cols, Scalar<T> alpha, const T* a,            \
        std::size_t lda, std::size_t stridea, T* b, std::size_t ldb, std::size_t strideb,                    \
        std::size_t batch_size)                                                                              \
    {                                                                                                        \
        for (core_int p = 0; p < core_int(batch_size); ++p)                                                  \
            qnm::core::omatcopy<T>(layout, trans, rows, cols, value<T>(alpha), a + p * stridea, lda,         \
                                   b + p * strideb, ldb);                                                    \
    }                                                                                                        \
    QNM_CORE void qnm_trans_qnm_##l##imatcopy_batch_strided(                                                 \
        char layout, char trans, std::size_t rows, std::size_t cols, Scalar<T> alpha, T* ab,                 \
        std::size_t lda, std::size_t ldb, std::size_t stride, std::size_t batch_size)                        \
    {                                                                                                        \
        for (core_int p = 0; p < core_int(batch_size); ++p)                                                  \
            qnm::core::imatcopy<T>("QNM_" #L "IMATCOPY_BATCH_STRIDED", layout, trans, rows, cols,            \
                                   value<T>(alpha), ab + p * stride, lda, ldb);                              \
    }                                                                                                        \
    QNM_CORE void qnm_trans_qnm_##l##omatadd_batch_strided(                                                  \
        char layout, char transa, char transb, std::size_t rows, std::size_t cols, Scalar<T> alpha,          \
        const T* a, std::size_t lda, std::size_t stridea, Scalar<T> beta, const T* b, std::size_t ldb,       \
        std::size_t strideb, T* c, std::size_t ldc, std::size_t stridec, std::size_t batch_size)             \
    {                                                                                                        \
        for (core_int p = 0; p < core_int(batch_size); ++p)                                                  \
            qnm::core::omatadd<T>(layout, transa, transb, rows, cols, value<T>(alpha), a + p * stridea, lda, \
                                  value<T>(beta), b + p * strideb, ldb, c + p * stridec, ldc);               \
    }
QNM_ALL_LETTERS(MATCOPIES)
