// Direct solvers: carried by a library beside the core, which is opened when the first one is called.
#include "../beside.hpp"
#include "../services.hpp"
#include "carrier.hpp"
#include "checker.hpp"
#include "controls.hpp"
#include "plugin.hpp"

#include <cstdarg>
#include <cstring>
#include <new>
#include <unistd.h>

namespace qnm::core::solvers {
namespace {

static_assert(int{no_memory} == int{dss_no_memory});
constexpr Host host{.goes_on = [](const char* stage, int step) { return core::goes_on(stage, step); }};

struct Opened {
    const Plugin* plugin = nullptr;
    std::string why;

    Opened()
    {
        constexpr const char* file = "libqnm_core_solvers.so";
        if (auto* const open = reinterpret_cast<OpenPlugin*>(opened_beside(file, "qnm_core_solvers", why))) {
            plugin = open(plugin_edition, &host);
            if (plugin == nullptr)
                why = std::string(file) + ": of another edition";
        }
    }
};

const Opened& opened()
{
    static const Opened one;
    return one;
}

/// Null, with a line that says why, where nobody carries the routine; the error is then changed if memory is
/// missing.
const Plugin* carrier(const char* routine, int& error) noexcept
{
    const char* why = "no memory";
    try {
        if (opened().plugin != nullptr)
            return opened().plugin;
        why = opened().why.c_str();
    } catch (const std::bad_alloc&) { // asked again at the next call
        error = no_memory;
    }
    print_to(STDERR_FILENO, "QNM ERROR: %s is not carried by this core: %.512s.\n", routine, why);
    return nullptr;
}

/// A routine of addresses alone that nobody carries; argument `place`, counted from 1, is its error.
template <class I>
[[gnu::cold]] void refuse(const char* routine, int place, std::va_list behind_first)
{
    print_to(STDERR_FILENO, "QNM ERROR: %s is not carried by this core.\n", routine);
    for (int k = 2; k < place; ++k)
        va_arg(behind_first, void*);
    *va_arg(behind_first, I*) = inconsistent;
}

} // namespace

const Plugin* carrier()
{
    return opened().plugin;
}

using Narrow = std::int32_t;
using Wide = std::int64_t;

// Types of a, b and x are told by mtype and by iparm alone, whatever the name.
#define QNM_PARDISO(I, plugins, name)                                                                        \
    QNM_CORE void qnm_pds_lp64_##name(void** pt, const I* maxfct, const I* mnum, const I* mtype,             \
                                      const I* phase, const I* n, const void* a, const I* ia, const I* ja,   \
                                      I* perm, const I* nrhs, I* iparm, const I* msglvl, void* b, void* x,   \
                                      I* error)                                                              \
    {                                                                                                        \
        int failed = inconsistent;                                                                           \
        if (const Plugin* const carried = carrier("PARDISO", failed))                                        \
            return carried->plugins(pt, maxfct, mnum, mtype, phase, n, a, ia, ja, perm, nrhs, iparm, msglvl, \
                                    b, x, error);                                                            \
        *error = failed;                                                                                     \
    }
#define QNM_PARDISO_BOTH(name)                                                                               \
    QNM_PARDISO(Narrow, pardiso, name)                                                                       \
    QNM_PARDISO(Wide, pardiso_64, name##_64)
#define QNM_PARDISO_TYPED(name)                                                                              \
    QNM_PARDISO_BOTH(name)                                                                                   \
    QNM_PARDISO(Narrow, pardiso, name##_2d)                                                                  \
    QNM_PARDISO(Wide, pardiso_64, name##_64_2d)
QNM_PARDISO_BOTH(pardiso)
QNM_PARDISO_TYPED(pardiso_d)
QNM_PARDISO_TYPED(pardiso_s)
QNM_PARDISO_TYPED(pardiso_dc)
QNM_PARDISO_TYPED(pardiso_sc)

QNM_CORE void qnm_pds_lp64_pardisoinit(void** pt, const Narrow* mtype, Narrow* iparm)
{
    std::fill_n(pt, 64, nullptr);
    Controls(iparm).set_defaults(Kind(*mtype), true);
}

#define QNM_DSS(name, step, parameters, ...)                                                                 \
    QNM_CORE int qnm_pds_lp64_dss_##name parameters                                                          \
    {                                                                                                        \
        int failed = dss_failed;                                                                             \
        const Plugin* const carried = carrier("DSS_" #name, failed);                                         \
        return carried != nullptr ? carried->step(__VA_ARGS__) : failed;                                     \
    }
#define QNM_DSS_TYPED(domain, suffix)                                                                        \
    QNM_DSS(factor_##domain##suffix, factor, (void** handle, const int* opt, const void* values), handle,    \
            opt, values, domain)                                                                             \
    QNM_DSS(solve_##domain##suffix, solve,                                                                   \
            (void** handle, const int* opt, const void* rhs, const int* nrhs, void* solution), handle, opt,  \
            rhs, nrhs, solution, domain)
namespace {
constexpr bool real = false, complex = true; // domains
}
QNM_DSS_TYPED(real, )
QNM_DSS_TYPED(real, _d)
QNM_DSS_TYPED(real, _s)
QNM_DSS_TYPED(complex, )
QNM_DSS_TYPED(complex, _d)
QNM_DSS_TYPED(complex, _s)
QNM_DSS(create, create, (void** handle, const int* opt), handle, opt)
QNM_DSS(define_structure, define_structure,
        (void** handle, const int* opt, const int* row_index, const int* rows, const int* cols,
         const int* columns, const int* nonzeros),
        handle, opt, row_index, rows, cols, columns, nonzeros)
QNM_DSS(reorder, reorder, (void** handle, const int* opt, int* perm), handle, opt, perm)
QNM_DSS(statistics, statistics, (void** handle, const int* opt, const char* stat, double* results), handle,
        opt, stat, results)
QNM_DSS(delete, end, (void** handle, const int* opt), handle, opt)

// Tools, which need no engine.

/// A matrix and what is asked of it; the last three are results: the finding, its row and its place.
struct Examined {
    int n;
    const int *ia, *ja;
    int indexing, structure, format, message_level, print_style;
    int result[3];
};

QNM_CORE void qnm_pds_lp64_sparse_matrix_checker_init(Examined* of)
{
    *of = {.n = 0,
           .ia = nullptr,
           .ja = nullptr,
           .indexing = 1,
           .structure = 0,
           .format = 0,
           .message_level = 0,
           .print_style = 0,
           .result = {}};
}

QNM_CORE int qnm_pds_lp64_sparse_matrix_checker(Examined* of)
{
    const core_int base = of->indexing == 0 ? 0 : 1;
    const Triangle triangle = of->structure == 1   ? Triangle::upper
                              : of->structure == 2 ? Triangle::lower
                                                   : Triangle::all;
    if (of->n < 0 || of->ia == nullptr || of->ja == nullptr)
        return of->result[0] = descending;
    const Checked found = checked(of->n, of->ia, of->ja, base, triangle);
    const bool is_sound = found.finding == sound;
    of->result[0] = found.finding;
    of->result[1] = is_sound ? 0 : static_cast<int>(found.row + base);
    of->result[2] = is_sound ? 0 : static_cast<int>(found.place + base);
    if (of->message_level != 0 && !is_sound)
        print_to(STDERR_FILENO, "QNM ERROR: SPARSE_MATRIX_CHECKER: %d at row %d, element %d.\n",
                 of->result[0], of->result[1], of->result[2]);
    return of->result[0];
}

QNM_CORE void qnm_pds_lp64_qnm_cvt_to_null_terminated_str(char* destination, const int* length,
                                                          const char* source)
{
    const auto count = static_cast<std::size_t>(std::max(*length, 0));
    std::memcpy(destination, source, count);
    destination[count] = '\0';
}

#define QNM_REFUSED(I, place, name)                                                                          \
    QNM_CORE void qnm_pds_lp64_##name(void* first, ...)                                                      \
    {                                                                                                        \
        std::va_list behind;                                                                                 \
        va_start(behind, first);                                                                             \
        refuse<I>(#name, place, behind);                                                                     \
        va_end(behind);                                                                                      \
    }
QNM_REFUSED(Narrow, 7, pardiso_export)
QNM_REFUSED(Narrow, 7, pardiso_export_d)
QNM_REFUSED(Narrow, 7, pardiso_export_s)
QNM_REFUSED(Narrow, 7, pardiso_export_c)
QNM_REFUSED(Narrow, 7, pardiso_export_z)
QNM_REFUSED(Narrow, 5, pardiso_getdiag)
QNM_REFUSED(Narrow, 5, pardiso_getdiag_d)
QNM_REFUSED(Narrow, 5, pardiso_getdiag_z)
#define QNM_REFUSED_BOTH(place, name) QNM_REFUSED(Narrow, place, name) QNM_REFUSED(Wide, place, name##_64)
QNM_REFUSED_BOTH(3, pardiso_handle_store)
QNM_REFUSED_BOTH(3, pardiso_handle_restore)
QNM_REFUSED_BOTH(2, pardiso_handle_delete)
QNM_REFUSED_BOTH(17, cluster_sparse_solver)
#define QNM_REFUSED_TYPED(name)                                                                              \
    QNM_REFUSED_BOTH(17, name) QNM_REFUSED(Narrow, 17, name##_2d) QNM_REFUSED(Wide, 17, name##_64_2d)
QNM_REFUSED_TYPED(cluster_sparse_solver_d)
QNM_REFUSED_TYPED(cluster_sparse_solver_s)
QNM_REFUSED_TYPED(cluster_sparse_solver_dc)
QNM_REFUSED_TYPED(cluster_sparse_solver_sc)
#define QNM_REFUSED_FORTRAN(place, name) QNM_REFUSED(Narrow, place, name) QNM_REFUSED(Narrow, place, name##_f)
QNM_REFUSED_FORTRAN(4, cluster_sparse_solver_export)
QNM_REFUSED_FORTRAN(6, cluster_sparse_solver_get_csr_size)
#define QNM_REFUSED_OF_TYPES(place, name)                                                                    \
    QNM_REFUSED(Narrow, place, name)                                                                         \
    QNM_REFUSED(Narrow, place, name##_d)                                                                     \
    QNM_REFUSED(Narrow, place, name##_s)                                                                     \
    QNM_REFUSED(Narrow, place, name##_dc)                                                                    \
    QNM_REFUSED(Narrow, place, name##_sc)
QNM_REFUSED_OF_TYPES(7, cluster_sparse_solver_set_csr_ptrs)
QNM_REFUSED_OF_TYPES(5, cluster_sparse_solver_set_ptr)
QNM_REFUSED(Narrow, 5, cluster_sparse_solver_set_ptr_i)

} // namespace qnm::core::solvers
