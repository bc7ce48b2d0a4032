// The library's one exported function.
#include "dss.hpp"
#include "inner.hpp"
#include "pardiso.hpp"
#include "store.hpp"

namespace qnm::core::solvers {
namespace {

template <class I>
void pardiso(void** pt, const I* maxfct, const I* mnum, const I* mtype, const I* phase, const I* n,
             const void* a, const I* ia, const I* ja, I* perm, const I* nrhs, I* iparm, const I* msglvl,
             void* b, void* x, I* error)
{
    *error = static_cast<I>(called<I>({.processes = {},
                                       .pt = pt,
                                       .maxfct = *maxfct,
                                       .mnum = *mnum,
                                       .mtype = *mtype,
                                       .phase = *phase,
                                       .n = *n,
                                       .a = a,
                                       .ia = ia,
                                       .ja = ja,
                                       .perm = perm,
                                       .nrhs = *nrhs,
                                       .iparm = Controls(iparm),
                                       .tells = *msglvl == 1,
                                       .b = b,
                                       .x = x}));
}

} // namespace
} // namespace qnm::core::solvers

QNM_CORE const qnm::core::solvers::Plugin* qnm_core_solvers(int edition, const qnm::core::solvers::Host* host)
{
    using namespace qnm::core::solvers;
    static constexpr Plugin carried{.pardiso = pardiso<std::int32_t>,
                                    .pardiso_64 = pardiso<std::int64_t>,
                                    .store = store::write,
                                    .restore = store::read,
                                    .remove = store::remove,
                                    .create = dss::create,
                                    .define_structure = dss::define_structure,
                                    .reorder = dss::reorder,
                                    .factor = dss::factor,
                                    .solve = dss::solve,
                                    .statistics = dss::statistics,
                                    .end = dss::end,
                                    .begin_inner = inner::begin,
                                    .factor_inner = inner::factor,
                                    .solve_inner = inner::solve,
                                    .end_inner = inner::end};
    if (edition != plugin_edition)
        return nullptr;
    qnm::core::solvers::host = host;
    return &carried;
}
