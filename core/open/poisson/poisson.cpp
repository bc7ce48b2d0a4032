// Poisson and Helmholtz problems on a rectangle, a box and a sphere: the functions of the interface.
#include "problem.hpp"

#include <qnm/core/solvers.h>

extern "C" void qnm_core_not_carried(const char* name, std::int64_t* info, const std::int64_t* count);

namespace qnm::core::poisson {
namespace {

Stat noted(core_int* ipar, Stat stat)
{
    ipar[status_slot] = stat;
    return stat;
}

template <class R>
Stat init(Problem problem, core_int* ipar, R* par)
{
    const bool good = settle<R>(problem);
    store(problem, ipar, par);
    if (!good)
        ipar[0] = 0;
    return noted(ipar, good ? ok : bad_argument);
}

template <class R>
Axis axis(core_int n, const R* from, const R* to, char first, char last)
{
    return {n, static_cast<double>(*from), static_cast<double>(*to), {first, last}};
}

/// The solver is behind the first handle; the second one is there to be freed.
template <class R>
Stat commit(core_int* ipar, const R* par, dft_handle* handle, dft_handle* second = nullptr)
{
    *handle = nullptr;
    if (second != nullptr)
        *second = nullptr;
    Problem problem;
    Stat stat = load(problem, ipar, par);
    std::unique_ptr<Held> made;
    if (stat == ok)
        stat = stat_of(make_solver<R>(problem, made));
    if (stat == ok)
        stat = hold(handle, problem.axis[0].n, std::move(made));
    if (stat == ok && second != nullptr && (stat = hold(second, problem.axis[1].n, nullptr)) != ok)
        release(handle);
    return noted(ipar, stat);
}

template <class R>
Stat compute(R* f, std::initializer_list<const R*> sides, const dft_handle* handle, core_int* ipar,
             const R* par)
{
    const auto* const solver = held_as<Solver<R>>(handle);
    Problem problem;
    Stat stat = solver == nullptr ? not_initialised : load(problem, ipar, par);
    if (stat == ok && !(problem == solver->problem))
        stat = altered;
    else if (stat == ok && f == nullptr)
        stat = bad_argument;
    const R* all[2 * most_axes]{};
    std::copy(sides.begin(), sides.end(), all);
    if (stat == ok)
        stat = stat_of(solver->solve(f, all));
    if (stat == ok && problem.is_singular())
        stat = warned;
    return noted(ipar, stat);
}

Stat free_all(std::initializer_list<dft_handle*> handles, core_int* ipar)
{
    Stat stat = ok;
    for (dft_handle* handle : handles)
        if (const Stat told = release(handle); told != ok)
            stat = told;
    return noted(ipar, stat);
}

void not_carried(const char* name, core_int* ipar, core_int* stat)
{
    qnm_core_not_carried(name, nullptr, nullptr);
    *stat = noted(ipar, bad_argument);
}

} // namespace
} // namespace qnm::core::poisson

using namespace qnm::core::poisson;
using qnm::core::core_int;

#define MEMBERS(l, L, R)                                                                                     \
    QNM_CORE void qnm_pdepl_##l##_init_helmholtz_2d(                                                         \
        const R* ax, const R* bx, const R* ay, const R* by, const core_int* nx, const core_int* ny,          \
        const char* bctype, const R* q, core_int* ipar, R* par, core_int* stat)                              \
    {                                                                                                        \
        *stat = init<R>({Shape::rectangle,                                                                   \
                         {axis(*nx, ax, bx, bctype[0], bctype[1]), axis(*ny, ay, by, bctype[2], bctype[3])}, \
                         static_cast<double>(*q)},                                                           \
                        ipar, par);                                                                          \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_commit_helmholtz_2d(R*, const R*, const R*, const R*, const R*,            \
                                                      dft_handle* xhandle, core_int* ipar, R* par,           \
                                                      core_int* stat)                                        \
    {                                                                                                        \
        *stat = commit<R>(ipar, par, xhandle);                                                               \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_helmholtz_2d(R* f, const R* bd_ax, const R* bd_bx, const R* bd_ay,         \
                                               const R* bd_by, dft_handle* xhandle, core_int* ipar, R* par,  \
                                               core_int* stat)                                               \
    {                                                                                                        \
        *stat = compute<R>(f, {bd_ax, bd_bx, bd_ay, bd_by}, xhandle, ipar, par);                             \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_init_helmholtz_3d(                                                         \
        const R* ax, const R* bx, const R* ay, const R* by, const R* az, const R* bz, const core_int* nx,    \
        const core_int* ny, const core_int* nz, const char* bctype, const R* q, core_int* ipar, R* par,      \
        core_int* stat)                                                                                      \
    {                                                                                                        \
        *stat = init<R>({Shape::box,                                                                         \
                         {axis(*nx, ax, bx, bctype[0], bctype[1]), axis(*ny, ay, by, bctype[2], bctype[3]),  \
                          axis(*nz, az, bz, bctype[4], bctype[5])},                                          \
                         static_cast<double>(*q)},                                                           \
                        ipar, par);                                                                          \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_commit_helmholtz_3d(R*, const R*, const R*, const R*, const R*, const R*,  \
                                                      const R*, dft_handle* xhandle, dft_handle* yhandle,    \
                                                      core_int* ipar, R* par, core_int* stat)                \
    {                                                                                                        \
        *stat = commit<R>(ipar, par, xhandle, yhandle);                                                      \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_helmholtz_3d(                                                              \
        R* f, const R* bd_ax, const R* bd_bx, const R* bd_ay, const R* bd_by, const R* bd_az,                \
        const R* bd_bz, dft_handle* xhandle, dft_handle*, core_int* ipar, R* par, core_int* stat)            \
    {                                                                                                        \
        *stat = compute<R>(f, {bd_ax, bd_bx, bd_ay, bd_by, bd_az, bd_bz}, xhandle, ipar, par);               \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_init_sph_p(const R* ap, const R* bp, const R* at, const R* bt,             \
                                             const core_int* np, const core_int* nt, const R* q,             \
                                             core_int* ipar, R* par, core_int* stat)                         \
    {                                                                                                        \
        *stat = init<R>({Shape::sphere,                                                                      \
                         {axis(*np, ap, bp, 'P', 'P'), axis(*nt, at, bt, 'D', 'D')},                         \
                         static_cast<double>(*q)},                                                           \
                        ipar, par);                                                                          \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_init_sph_np(const R* ap, const R* bp, const R* at, const R* bt,            \
                                              const core_int* np, const core_int* nt, const R* q,            \
                                              core_int* ipar, R* par, core_int* stat)                        \
    {                                                                                                        \
        *stat = init<R>({Shape::sphere_part,                                                                 \
                         {axis(*np, ap, bp, 'D', 'D'), axis(*nt, at, bt, 'D', 'D')},                         \
                         static_cast<double>(*q)},                                                           \
                        ipar, par);                                                                          \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_commit_sph_p(R*, dft_handle* handle_s, dft_handle* handle_c,               \
                                               core_int* ipar, R* par, core_int* stat)                       \
    {                                                                                                        \
        *stat = commit<R>(ipar, par, handle_s, handle_c);                                                    \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_sph_p(R* f, dft_handle* handle_s, dft_handle*, core_int* ipar, R* par,     \
                                        core_int* stat)                                                      \
    {                                                                                                        \
        *stat = compute<R>(f, {}, handle_s, ipar, par);                                                      \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_commit_sph_np(R*, dft_handle* handle, core_int* ipar, R* par,              \
                                                core_int* stat)                                              \
    {                                                                                                        \
        *stat = commit<R>(ipar, par, handle);                                                                \
    }                                                                                                        \
    QNM_CORE void qnm_pdepl_##l##_sph_np(R* f, dft_handle* handle, core_int* ipar, R* par, core_int* stat)   \
    {                                                                                                        \
        *stat = compute<R>(f, {}, handle, ipar, par);                                                        \
    }
QNM_REAL_LETTERS(MEMBERS)

#define FREE(name)                                                                                           \
    QNM_CORE void qnm_pdepl_free_##name(dft_handle* handle, core_int* ipar, core_int* stat)                  \
    {                                                                                                        \
        *stat = free_all({handle}, ipar);                                                                    \
    }
#define FREE_BOTH(name)                                                                                      \
    QNM_CORE void qnm_pdepl_free_##name(dft_handle* first, dft_handle* second, core_int* ipar,               \
                                        core_int* stat)                                                      \
    {                                                                                                        \
        *stat = free_all({first, second}, ipar);                                                             \
    }
FREE(helmholtz_2d)
FREE_BOTH(helmholtz_3d)
FREE_BOTH(sph_p)
FREE(sph_np)

// Steps of any size are carried by nobody.
QNM_CORE void qnm_pdepl_s_init_helmholtz_nonuniform_3d(const float*, const float*, const float*, const float*,
                                                       const float*, const float*, const core_int*,
                                                       const core_int*, const core_int*, const char*,
                                                       const float*, core_int* ipar, float*, core_int* stat)
{
    not_carried("S_INIT_HELMHOLTZ_NONUNIFORM_3D", ipar, stat);
}
#define NONUNIFORM_STEP(name, NAME)                                                                          \
    QNM_CORE void qnm_pdepl_##name(float*, const float*, const float*, const float*, const float*,           \
                                   const float*, const float*, dft_handle*, dft_handle*, core_int* ipar,     \
                                   float*, core_int* stat)                                                   \
    {                                                                                                        \
        not_carried(NAME, ipar, stat);                                                                       \
    }
NONUNIFORM_STEP(s_commit_helmholtz_nonuniform_3d, "S_COMMIT_HELMHOLTZ_NONUNIFORM_3D")
NONUNIFORM_STEP(s_helmholtz_nonuniform_3d, "S_HELMHOLTZ_NONUNIFORM_3D")
