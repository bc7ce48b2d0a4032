// LAPACK's routines that count SELECT even when they are only asked for the size of their workspace. The
// layer fills no integer array for a query and makes no more room than its buffer on the stack has. So the
// engine is asked with a SELECT of the core's own, which is clear, and its answer is raised to what any
// selection needs.
#include "services.hpp"

namespace qnm::core {
namespace {

// In place of SELECT at a query. Where memory is missing, INFO tells it.
Scratch<core_int> cleared(std::string_view name, core_int n, core_int* info)
{
    Scratch<core_int> select(name, n);
    if (select)
        std::fill_n(select.get(), std::max<core_int>(n, 1), 0);
    else
        *info = -memory_failure;
    return select;
}

// Elements of the Sylvester equation between M selected eigenvalues and the N-M others, at the most.
constexpr core_int sylvester(core_int n)
{
    return n / 2 * (n - n / 2);
}

template <class E>
void enlarge(E* size, core_int needed)
{
    if (std::real(*size) < static_cast<real_t<E>>(needed))
        *size = static_cast<E>(static_cast<real_t<E>>(needed));
}
void enlarge(core_int* size, core_int needed)
{
    *size = std::max(*size, needed);
}

// Elements of the work arrays.
struct Room {
    core_int work, iwork;
};
constexpr Room of_trsen(char job, core_int n)
{
    if (same_letter(job, 'V') || same_letter(job, 'B'))
        return {2 * sylvester(n), sylvester(n)};
    return {same_letter(job, 'E') ? sylvester(n) : 0, 0};
}
constexpr Room of_tgsen(core_int ijob, core_int n)
{
    if (ijob == 3 || ijob == 5)
        return {4 * sylvester(n), 2 * sylvester(n)};
    // LAPACK itself is content without the one more, and then its TGSYL, called behind the 2, has none
    return {ijob == 0 ? 0 : 2 * sylvester(n) + 1, 0};
}

} // namespace
} // namespace qnm::core

using qnm::core::core_int;
using qnm::core::real_t;

#define QNM_SELECT(name, NAME, is_query, PARAMETERS, ARGUMENTS, ENLARGE)                                     \
    extern "C" void name##_ PARAMETERS;                                                                      \
    QNM_CORE void qnm_lapack_##name PARAMETERS                                                               \
    {                                                                                                        \
        qnm::core::Scratch<core_int> clear;                                                                  \
        const bool query = is_query;                                                                         \
        if (query) {                                                                                         \
            clear = qnm::core::cleared(NAME, *n, info);                                                      \
            if (!clear)                                                                                      \
                return;                                                                                      \
            select = clear.get();                                                                            \
        }                                                                                                    \
        name##_ ARGUMENTS;                                                                                   \
        if (query && *info == 0) {                                                                           \
            ENLARGE;                                                                                         \
        }                                                                                                    \
    }

#define QNM_ENLARGE_WORK(room) qnm::core::enlarge(work, (room).work)
#define QNM_ENLARGE(room)                                                                                    \
    QNM_ENLARGE_WORK(room);                                                                                  \
    qnm::core::enlarge(iwork, (room).iwork)

#define QNM_REAL(l, L, T)                                                                                    \
    QNM_SELECT(l##trsen, #L "TRSEN", *lwork == -1 || *liwork == -1,                                          \
               (const char* job, const char* compq, core_int* select, const core_int* n, T* t,               \
                const core_int* ldt, T* q, const core_int* ldq, T* wr, T* wi, core_int* m, T* s, T* sep,     \
                T* work, const core_int* lwork, core_int* iwork, const core_int* liwork, core_int* info),    \
               (job, compq, select, n, t, ldt, q, ldq, wr, wi, m, s, sep, work, lwork, iwork, liwork, info), \
               QNM_ENLARGE(qnm::core::of_trsen(*job, *n)))                                                   \
    QNM_SELECT(l##tgsen, #L "TGSEN", *lwork == -1 || *liwork == -1,                                          \
               (const core_int* ijob, const core_int* wantq, const core_int* wantz, core_int* select,        \
                const core_int* n, T* a, const core_int* lda, T* b, const core_int* ldb, T* alphar,          \
                T* alphai, T* beta, T* q, const core_int* ldq, T* z, const core_int* ldz, core_int* m,       \
                T* pl, T* pr, T* dif, T* work, const core_int* lwork, core_int* iwork,                       \
                const core_int* liwork, core_int* info),                                                     \
               (ijob, wantq, wantz, select, n, a, lda, b, ldb, alphar, alphai, beta, q, ldq, z, ldz, m, pl,  \
                pr, dif, work, lwork, iwork, liwork, info),                                                  \
               QNM_ENLARGE(qnm::core::of_tgsen(*ijob, *n)))                                                  \
    QNM_SELECT(l##trevc3, #L "TREVC3", *lwork == -1,                                                         \
               (const char* side, const char* howmny, core_int* select, const core_int* n, const T* t,       \
                const core_int* ldt, T* vl, const core_int* ldvl, T* vr, const core_int* ldvr,               \
                const core_int* mm, core_int* m, T* work, const core_int* lwork, core_int* info),            \
               (side, howmny, select, n, t, ldt, vl, ldvl, vr, ldvr, mm, m, work, lwork, info), )
QNM_REAL_LETTERS(QNM_REAL)

#define QNM_COMPLEX(l, L, T)                                                                                 \
    QNM_SELECT(l##trsen, #L "TRSEN", *lwork == -1,                                                           \
               (const char* job, const char* compq, core_int* select, const core_int* n, T* t,               \
                const core_int* ldt, T* q, const core_int* ldq, T* w, core_int* m, real_t<T>* s,             \
                real_t<T>* sep, T* work, const core_int* lwork, core_int* info),                             \
               (job, compq, select, n, t, ldt, q, ldq, w, m, s, sep, work, lwork, info),                     \
               QNM_ENLARGE_WORK(qnm::core::of_trsen(*job, *n)))                                              \
    QNM_SELECT(l##tgsen, #L "TGSEN", *lwork == -1 || *liwork == -1,                                          \
               (const core_int* ijob, const core_int* wantq, const core_int* wantz, core_int* select,        \
                const core_int* n, T* a, const core_int* lda, T* b, const core_int* ldb, T* alpha, T* beta,  \
                T* q, const core_int* ldq, T* z, const core_int* ldz, core_int* m, real_t<T>* pl,            \
                real_t<T>* pr, real_t<T>* dif, T* work, const core_int* lwork, core_int* iwork,              \
                const core_int* liwork, core_int* info),                                                     \
               (ijob, wantq, wantz, select, n, a, lda, b, ldb, alpha, beta, q, ldq, z, ldz, m, pl, pr, dif,  \
                work, lwork, iwork, liwork, info),                                                           \
               QNM_ENLARGE(qnm::core::of_tgsen(*ijob, *n)))                                                  \
    QNM_SELECT(                                                                                              \
        l##trevc3, #L "TREVC3", *lwork == -1 || *lrwork == -1,                                               \
        (const char* side, const char* howmny, core_int* select, const core_int* n, T* t,                    \
         const core_int* ldt, T* vl, const core_int* ldvl, T* vr, const core_int* ldvr, const core_int* mm,  \
         core_int* m, T* work, const core_int* lwork, real_t<T>* rwork, const core_int* lrwork,              \
         core_int* info),                                                                                    \
        (side, howmny, select, n, t, ldt, vl, ldvl, vr, ldvr, mm, m, work, lwork, rwork, lrwork, info), )
QNM_COMPLEX_LETTERS(QNM_COMPLEX)
