// Batches of factorisations and solutions: a loop over the plain routine, with an INFO for each problem.
// Strided forms have the core's integers; group forms have the caller's, pivots and INFO included.
#include "factor.hpp"
#include "integers.hpp"

namespace qnm::core {
namespace {

template <class T>
void copy_square(core_int n, const T* a, core_int lda, T* to, core_int ld)
{
    for (core_int j = 0; j < n; ++j)
        std::copy_n(a + j * lda, std::max<core_int>(n, 0), to + j * ld);
}

// inv(A) into another matrix, from factors with pivots.
template <class T>
core_int invert_into(core_int n, const T* a, core_int lda, const core_int* pivots, T* inverse, core_int ld,
                     T* work)
{
    copy_square(n, a, lda, inverse, ld);
    const core_int lwork = std::max<core_int>(1, n);
    core_int info = 0;
    Engine<T>::getri(&n, inverse, &ld, pivots, work, &lwork, &info);
    return info;
}

template <class T>
core_int solve_pivoted(const char* trans, core_int n, core_int nrhs, const T* a, core_int lda,
                       const core_int* pivots, T* b, core_int ldb)
{
    core_int info = 0;
    Engine<T>::getrs(trans, &n, &nrhs, a, &lda, pivots, b, &ldb, &info);
    return info;
}

template <class T>
core_int factor_pivoted(core_int m, core_int n, T* a, core_int lda, core_int* pivots)
{
    core_int info = 0;
    Engine<T>::getrf(&m, &n, a, &lda, pivots, &info);
    return info;
}

template <class T>
core_int factor_plain(core_int m, core_int n, T* a, core_int lda)
{
    return factor(m, n, std::min(m, n), a, lda);
}

// INFO of every problem of a strided batch, from a function of its number.
template <class Problem>
void each(const core_int* batch_size, core_int* info, Problem problem)
{
    for (core_int p = 0; p < *batch_size; ++p)
        info[p] = problem(p);
}

// INFO of every problem of the groups, from a function of its group and its number among all.
template <class Problem>
void each(Integers groups, Integers sizes, Integers info, Problem problem)
{
    core_int p = 0;
    for (core_int g = 0; g < groups[0]; ++g)
        for (core_int last = p + std::max<core_int>(sizes[g], 0); p < last; ++p)
            info.set(p, problem(g, p));
}

core_int largest(Integers groups, Integers values)
{
    core_int most = 0;
    for (core_int g = 0; g < groups[0]; ++g)
        most = std::max(most, values[g]);
    return most;
}

template <class T>
void getrf_groups(std::string_view name, Integers m, Integers n, T** a, Integers lda, void** pivots,
                  Integers groups, Integers sizes, Integers info, bool narrow)
{
    Scratch<core_int> wide(name, std::min(largest(groups, m), largest(groups, n)));
    each(groups, sizes, info, [&](core_int g, core_int p) -> core_int {
        if (!wide)
            return -memory_failure;
        const core_int found = factor_pivoted(m[g], n[g], a[p], lda[g], wide.get());
        for (core_int i = 0; found >= 0 && i < std::min(m[g], n[g]); ++i)
            Integers(pivots[p], narrow).set(i, wide[i]);
        return found;
    });
}

template <class T>
void getri_groups(std::string_view name, Integers n, T** a, Integers lda, void** pivots, T** inverse,
                  Integers ld, Integers groups, Integers sizes, Integers info, bool narrow)
{
    const core_int most = largest(groups, n);
    Scratch<core_int> wide(name, most);
    Scratch<T> work(name, most);
    each(groups, sizes, info, [&](core_int g, core_int p) -> core_int {
        if (!wide || !work)
            return -memory_failure;
        for (core_int i = 0; i < n[g]; ++i)
            wide[i] = Integers(pivots[p], narrow)[i];
        return invert_into(n[g], a[p], lda[g], wide.get(), inverse[p], ld[g], work.get());
    });
}

template <class T>
void gels(const char* trans, const core_int* m, const core_int* n, const core_int* nrhs, T* a,
          const core_int* lda, core_int stridea, T* b, const core_int* ldb, core_int strideb,
          const core_int* batch_size, T* work, const core_int* lwork, core_int* info)
{
    const auto one = [&](core_int p) {
        core_int found = 0;
        Engine<T>::gels(trans, m, n, nrhs, a + p * stridea, lda, b + p * strideb, ldb, work, lwork, &found);
        return found;
    };
    if (*lwork == -1)
        one(0); // the size is the same for all, and there may be no problem to tell it
    each(batch_size, info, [&](core_int p) { return *lwork == -1 ? 0 : one(p); });
}

} // namespace
} // namespace qnm::core

using qnm::core::core_int;
using qnm::core::Integers;

#define QNM_STRIDED(l, L, T)                                                                                 \
    QNM_CORE void qnm_lapack_##l##getrf_batch_strided(                                                       \
        const core_int* m, const core_int* n, T* a, const core_int* lda, const core_int* stridea,            \
        core_int* ipiv, const core_int* strideipiv, const core_int* batch_size, core_int* info)              \
    {                                                                                                        \
        qnm::core::each(batch_size, info, [=](core_int p) {                                                  \
            return qnm::core::factor_pivoted(*m, *n, a + p * *stridea, *lda, ipiv + p * *strideipiv);        \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##getrfnp_batch_strided(const core_int* m, const core_int* n, T* a,          \
                                                        const core_int* lda, const core_int* stridea,        \
                                                        const core_int* batch_size, core_int* info)          \
    {                                                                                                        \
        qnm::core::each(batch_size, info, [=](core_int p) {                                                  \
            return qnm::core::factor_plain(*m, *n, a + p * *stridea, *lda);                                  \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##getrs_batch_strided(                                                       \
        const char* trans, const core_int* n, const core_int* nrhs, const T* a, const core_int* lda,         \
        const core_int* stridea, const core_int* ipiv, const core_int* strideipiv, T* b,                     \
        const core_int* ldb, const core_int* strideb, const core_int* batch_size, core_int* info)            \
    {                                                                                                        \
        qnm::core::each(batch_size, info, [=](core_int p) {                                                  \
            return qnm::core::solve_pivoted(trans, *n, *nrhs, a + p * *stridea, *lda,                        \
                                            ipiv + p * *strideipiv, b + p * *strideb, *ldb);                 \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##getrsnp_batch_strided(                                                     \
        const char* trans, const core_int* n, const core_int* nrhs, const T* a, const core_int* lda,         \
        const core_int* stridea, T* b, const core_int* ldb, const core_int* strideb,                         \
        const core_int* batch_size, core_int* info)                                                          \
    {                                                                                                        \
        qnm::core::each(batch_size, info, [=](core_int p) {                                                  \
            qnm::core::solve(trans, *n, *nrhs, a + p * *stridea, *lda, b + p * *strideb, *ldb);              \
            return core_int{0};                                                                              \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##getri_oop_batch_strided(                                                   \
        const core_int* n, const T* a, const core_int* lda, const core_int* stridea, const core_int* ipiv,   \
        const core_int* strideipiv, T* ainv, const core_int* ldainv, const core_int* strideainv,             \
        const core_int* batch_size, core_int* info)                                                          \
    {                                                                                                        \
        const qnm::core::Scratch<T> work(#L "GETRI_OOP_BATCH_STRIDED", *n);                                  \
        qnm::core::each(batch_size, info, [&](core_int p) -> core_int {                                      \
            return work ? qnm::core::invert_into(*n, a + p * *stridea, *lda, ipiv + p * *strideipiv,         \
                                                 ainv + p * *strideainv, *ldainv, work.get())                \
                        : -qnm::core::memory_failure;                                                        \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##gels_batch_strided(                                                        \
        const char* trans, const core_int* m, const core_int* n, const core_int* nrhs, T* a,                 \
        const core_int* lda, const core_int* stridea, T* b, const core_int* ldb, const core_int* strideb,    \
        const core_int* batch_size, T* work, const core_int* lwork, core_int* info)                          \
    {                                                                                                        \
        qnm::core::gels<T>(trans, m, n, nrhs, a, lda, *stridea, b, ldb, *strideb, batch_size, work, lwork,   \
                           info);                                                                            \
    }
QNM_ALL_LETTERS(QNM_STRIDED)

#define QNM_GROUPS(l, L, T)                                                                                  \
    QNM_CORE void qnm_lapack_##l##getrf_batch(void* m, void* n, T** a, void* lda, void** ipiv, void* groups, \
                                              void* sizes, void* info, int narrow)                           \
    {                                                                                                        \
        const auto of = [=](void* data) { return Integers(data, narrow != 0); };                             \
        qnm::core::getrf_groups(#L "GETRF_BATCH", of(m), of(n), a, of(lda), ipiv, of(groups), of(sizes),     \
                                of(info), narrow != 0);                                                      \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##getrfnp_batch(void* m, void* n, T** a, void* lda, void* groups,            \
                                                void* sizes, void* info, int narrow)                         \
    {                                                                                                        \
        const auto of = [=](void* data) { return Integers(data, narrow != 0); };                             \
        qnm::core::each(of(groups), of(sizes), of(info), [=](core_int g, core_int p) {                       \
            return qnm::core::factor_plain(of(m)[g], of(n)[g], a[p], of(lda)[g]);                            \
        });                                                                                                  \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##getri_oop_batch(void* n, T** a, void* lda, void** ipiv, T** ainv,          \
                                                  void* ldainv, void* groups, void* sizes, void* info,       \
                                                  int narrow)                                                \
    {                                                                                                        \
        const auto of = [=](void* data) { return Integers(data, narrow != 0); };                             \
        qnm::core::getri_groups(#L "GETRI_OOP_BATCH", of(n), a, of(lda), ipiv, ainv, of(ldainv), of(groups), \
                                of(sizes), of(info), narrow != 0);                                           \
    }
QNM_ALL_LETTERS(QNM_GROUPS)
