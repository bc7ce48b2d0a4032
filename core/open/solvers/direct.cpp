// Direct solvers: carried by libraries beside the core, each of which is opened when the first of its own is
// called.
#include "../beside.hpp"
#include "../services.hpp"
#include "carrier.hpp"
#include "checker.hpp"
#include "controls.hpp"
#include "plugin.hpp"

#include <cstdarg>
#include <cstring>
#include <dlfcn.h>
#include <new>
#include <unistd.h>

namespace qnm::core::solvers {
namespace {

static_assert(int{no_memory} == int{dss_no_memory});
constexpr Host host{.goes_on = [](const char* stage, int step) { return core::goes_on(stage, step); }};

template <class P>
struct Opened {
    const P* plugin = nullptr;
    std::string why;

    explicit Opened(const std::string& name)
    {
        const std::string file = "lib" + name + ".so";
        if (auto* const open =
                reinterpret_cast<OpenPlugin<P>*>(opened_beside(file.c_str(), name.c_str(), why))) {
            plugin = open(plugin_edition, &host);
            if (plugin == nullptr)
                why = file + ": of another edition";
        }
    }
};

template <class P>
constexpr const char* library = nullptr;
template <>
constexpr const char* library<Plugin> = "qnm_core_solvers";
template <>
constexpr const char* library<Cluster> = "qnm_core_cluster";

template <class P>
const Opened<P>& opened()
{
    static const Opened<P> one(library<P>);
    return one;
}

[[gnu::cold]] void say_why(const char* routine, const char* why)
{
    print_to(STDERR_FILENO, "QNM ERROR: %s is not carried by this core: %.512s.\n", routine, why);
}

/// Null, with a line that says why, where nobody carries the routine; the error is then changed if memory is
/// missing.
template <class P = Plugin>
const P* carrier(const char* routine, int& error) noexcept
{
    const char* why = "no memory";
    try {
        if (opened<P>().plugin != nullptr)
            return opened<P>().plugin;
        why = opened<P>().why.c_str();
    } catch (const std::bad_alloc&) { // asked again at the next call
        error = no_memory;
    }
    say_why(routine, why);
    return nullptr;
}

/// Whether the program has Open MPI at work. It is not brought in by this question.
bool is_mpi_running()
{
    void* const mpi = dlopen("libmpi.so.40", RTLD_LAZY | RTLD_NOLOAD);
    if (mpi == nullptr)
        return false;
    const auto tells = [&](const char* name) {
        auto* const ask = reinterpret_cast<int (*)(int*)>(dlsym(mpi, name));
        int flag = 0;
        return ask != nullptr && ask(&flag) == 0 && flag != 0;
    };
    const bool running = tells("MPI_Initialized") && !tells("MPI_Finalized");
    dlclose(mpi);
    return running;
}

const Cluster* cluster_carrier(int& error) noexcept
{
    constexpr const char* routine = "CLUSTER_SPARSE_SOLVER";
    if (is_mpi_running())
        return carrier<Cluster>(routine, error);
    say_why(routine, "no Open MPI is running in this program");
    return nullptr;
}

/// A routine of addresses alone that nobody carries; argument `place`, counted from 1, is its error.
[[gnu::cold]] void refuse(const char* routine, int place, std::va_list behind_first)
{
    print_to(STDERR_FILENO, "QNM ERROR: %s is not carried by this core.\n", routine);
    for (int k = 2; k < place; ++k)
        va_arg(behind_first, void*);
    *va_arg(behind_first, int*) = inconsistent;
}

} // namespace

const Plugin* carrier()
{
    return opened<Plugin>().plugin;
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

#define QNM_CLUSTER(I, plugins, name)                                                                        \
    QNM_CORE void qnm_pds_lp64_cluster_sparse_solver##name(                                                  \
        void** pt, const I* maxfct, const I* mnum, const I* mtype, const I* phase, const I* n,               \
        const void* a, const I* ia, const I* ja, I* perm, const I* nrhs, I* iparm, const I* msglvl, void* b, \
        void* x, const int* comm, I* error)                                                                  \
    {                                                                                                        \
        int failed = inconsistent;                                                                           \
        if (const Cluster* const carried = cluster_carrier(failed))                                          \
            return carried->plugins(pt, maxfct, mnum, mtype, phase, n, a, ia, ja, perm, nrhs, iparm, msglvl, \
                                    b, x, comm, error);                                                      \
        *error = failed;                                                                                     \
    }
#define QNM_CLUSTER_BOTH(name)                                                                               \
    QNM_CLUSTER(Narrow, solver, name)                                                                        \
    QNM_CLUSTER(Wide, solver_64, name##_64)
#define QNM_CLUSTER_TYPED(name)                                                                              \
    QNM_CLUSTER_BOTH(name)                                                                                   \
    QNM_CLUSTER(Narrow, solver, name##_2d)                                                                   \
    QNM_CLUSTER(Wide, solver_64, name##_64_2d)
QNM_CLUSTER_BOTH()
QNM_CLUSTER_TYPED(_d)
QNM_CLUSTER_TYPED(_s)
QNM_CLUSTER_TYPED(_dc)
QNM_CLUSTER_TYPED(_sc)

#define QNM_KEPT(I, step, name, parameters, ...)                                                             \
    QNM_CORE void qnm_pds_lp64_pardiso_handle_##name parameters                                              \
    {                                                                                                        \
        int failed = inconsistent;                                                                           \
        const Plugin* const carried = carrier("pardiso_handle_" #name, failed);                              \
        *error = carried != nullptr ? carried->step(__VA_ARGS__) : failed;                                   \
    }
#define QNM_KEPT_OF_WIDTH(I, suffix)                                                                         \
    QNM_KEPT(I, store, store##suffix, (void** pt, const char* directory, I* error), pt, directory)           \
    QNM_KEPT(I, restore, restore##suffix, (void** pt, const char* directory, I* error), pt, directory)       \
    QNM_KEPT(I, remove, delete##suffix, (const char* directory, I* error), directory)
QNM_KEPT_OF_WIDTH(Narrow, )
QNM_KEPT_OF_WIDTH(Wide, _64)

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

#define QNM_REFUSED(place, name)                                                                             \
    QNM_CORE void qnm_pds_lp64_##name(void* first, ...)                                                      \
    {                                                                                                        \
        std::va_list behind;                                                                                 \
        va_start(behind, first);                                                                             \
        refuse(#name, place, behind);                                                                        \
        va_end(behind);                                                                                      \
    }
QNM_REFUSED(7, pardiso_export)
QNM_REFUSED(7, pardiso_export_d)
QNM_REFUSED(7, pardiso_export_s)
QNM_REFUSED(7, pardiso_export_c)
QNM_REFUSED(7, pardiso_export_z)
QNM_REFUSED(5, pardiso_getdiag)
QNM_REFUSED(5, pardiso_getdiag_d)
QNM_REFUSED(5, pardiso_getdiag_z)
#define QNM_REFUSED_FORTRAN(place, name) QNM_REFUSED(place, name) QNM_REFUSED(place, name##_f)
QNM_REFUSED_FORTRAN(4, cluster_sparse_solver_export)
QNM_REFUSED_FORTRAN(6, cluster_sparse_solver_get_csr_size)
#define QNM_REFUSED_OF_TYPES(place, name)                                                                    \
    QNM_REFUSED(place, name)                                                                                 \
    QNM_REFUSED(place, name##_d)                                                                             \
    QNM_REFUSED(place, name##_s)                                                                             \
    QNM_REFUSED(place, name##_dc)                                                                            \
    QNM_REFUSED(place, name##_sc)
QNM_REFUSED_OF_TYPES(7, cluster_sparse_solver_set_csr_ptrs)
QNM_REFUSED_OF_TYPES(5, cluster_sparse_solver_set_ptr)
QNM_REFUSED(5, cluster_sparse_solver_set_ptr_i)

} // namespace qnm::core::solvers
