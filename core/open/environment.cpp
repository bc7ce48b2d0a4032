// What the core tells of its machine and its tuning. The layer passes a length of one for every text, so
// names are read up to the first character that no name has.
#include "core.hpp"

#include <qnm/core/lapack.h>

#include <limits>

using qnm::core::core_int;

extern "C" {
core_int ilaenv_(const core_int* ispec, const char* name, const char* opts, const core_int* n1,
                 const core_int* n2, const core_int* n3, const core_int* n4, std::size_t length_name,
                 std::size_t length_opts);
core_int ilaenv2stage_(const core_int* ispec, const char* name, const char* opts, const core_int* n1,
                       const core_int* n2, const core_int* n3, const core_int* n4, std::size_t length_name,
                       std::size_t length_opts);
core_int iparmq_(const core_int* ispec, const char* name, const char* opts, const core_int* n,
                 const core_int* ilo, const core_int* ihi, const core_int* lwork, std::size_t length_name,
                 std::size_t length_opts);
core_int iparam2stage_(const core_int* ispec, const char* name, const char* opts, const core_int* ni,
                       const core_int* nbi, const core_int* ibi, const core_int* nxi, std::size_t length_name,
                       std::size_t length_opts);
}

namespace qnm::core {
namespace {

// The engine looks at no more of a name than this.
constexpr std::size_t longest_name = 16;

std::size_t name_length(const char* name)
{
    constexpr auto of_name = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
    };
    std::size_t length = 0;
    while (length < longest_name && of_name(name[length]))
        ++length;
    return length;
}

} // namespace
} // namespace qnm::core

#define QNM_TUNING(name)                                                                                     \
    QNM_CORE core_int qnm_lapack_##name(const core_int* ispec, const char* routine, const char* opts,        \
                                        const core_int* n1, const core_int* n2, const core_int* n3,          \
                                        const core_int* n4, std::size_t, std::size_t)                        \
    {                                                                                                        \
        return name##_(ispec, routine, opts, n1, n2, n3, n4, qnm::core::name_length(routine), 1);            \
    }
QNM_TUNING(ilaenv)
QNM_TUNING(ilaenv2stage)
QNM_TUNING(iparmq)
QNM_TUNING(iparam2stage)

// Whether two texts agree in their first n letters.
QNM_CORE core_int qnm_lapack_lsamen(const core_int* n, const char* ca, const char* cb, std::size_t,
                                    std::size_t)
{
    for (core_int i = 0; i < *n; ++i)
        if (!qnm::core::same_character(ca[i], cb[i]))
            return 0;
    return 1;
}

// Parameters of the arithmetic, as the compiler knows them: base and digits, and that it rounds to nearest,
// ties to even.
namespace qnm::core {
namespace {

template <class R>
using Limits = std::numeric_limits<R>;

template <class R>
void lamc1(core_int* beta, core_int* t, core_int* rnd, core_int* ieee1)
{
    *beta = Limits<R>::radix;
    *t = Limits<R>::digits;
    *rnd = *ieee1 = 1;
}

template <class R>
void lamc2(core_int* beta, core_int* t, core_int* rnd, R* eps, core_int* emin, R* rmin, core_int* emax,
           R* rmax)
{
    core_int ieee = 0;
    lamc1<R>(beta, t, rnd, &ieee);
    *eps = Limits<R>::epsilon() / 2;
    *emin = Limits<R>::min_exponent;
    *rmin = Limits<R>::min();
    *emax = Limits<R>::max_exponent;
    *rmax = Limits<R>::max();
}

// How often `start` can be divided by the base until multiplication no longer brings it back.
template <class R>
core_int lamc4(R start, R base)
{
    core_int emin = 1;
    do {
        --emin;
        start /= base;
    } while (start != 0 && start / base * base == start);
    return emin;
}

// The largest exponent and number. Exponents lie about zero, and the formats of IEEE give one up for
// infinities.
template <class R>
void lamc5(R beta, core_int p, core_int emin, bool ieee, core_int* emax, R* rmax)
{
    *emax = (ieee ? 3 : 4) - emin;
    R ulp = 1;
    for (core_int i = 0; i < p; ++i)
        ulp /= beta;
    *rmax = 1 - ulp;
    for (core_int i = 0; i < *emax; ++i)
        *rmax *= beta;
}

} // namespace
} // namespace qnm::core

#define QNM_ARITHMETIC(l, L, R)                                                                              \
    QNM_CORE void qnm_lapack_##l##lamc1(core_int* beta, core_int* t, core_int* rnd, core_int* ieee1)         \
    {                                                                                                        \
        qnm::core::lamc1<R>(beta, t, rnd, ieee1);                                                            \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##lamc2(core_int* beta, core_int* t, core_int* rnd, R* eps, core_int* emin,  \
                                        R* rmin, core_int* emax, R* rmax)                                    \
    {                                                                                                        \
        qnm::core::lamc2<R>(beta, t, rnd, eps, emin, rmin, emax, rmax);                                      \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##lamc4(core_int* emin, const R* start, const core_int* base)                \
    {                                                                                                        \
        *emin = qnm::core::lamc4<R>(*start, static_cast<R>(*base));                                          \
    }                                                                                                        \
    QNM_CORE void qnm_lapack_##l##lamc5(const core_int* beta, const core_int* p, const core_int* emin,       \
                                        const core_int* ieee, core_int* emax, R* rmax)                       \
    {                                                                                                        \
        qnm::core::lamc5<R>(static_cast<R>(*beta), *p, *emin, *ieee != 0, emax, rmax);                       \
    }
QNM_REAL_LETTERS(QNM_ARITHMETIC)
