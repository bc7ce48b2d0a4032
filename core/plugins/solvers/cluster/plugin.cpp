// The one exported function of the library for several processes.
#include "pardiso.hpp"

#include <array>

namespace qnm::core::solvers {
namespace {

/// The first process's numbers hold for all, but for the rows that each has.
template <class I>
void cluster(void** pt, const I* maxfct, const I* mnum, const I* mtype, const I* phase, const I* n,
             const void* a, const I* ia, const I* ja, I* perm, const I* nrhs, I* iparm, const I* msglvl,
             void* b, void* x, const int* comm, I* error)
{
    const Processes processes(*comm);
    if (!processes.are_known()) {
        *error = inconsistent;
        return;
    }
    std::array<I, 7> numbers{*maxfct, *mnum, *mtype, *phase, *n, *nrhs, *msglvl};
    processes.hand_out(numbers.data(), static_cast<core_int>(numbers.size()));
    const std::array<I, 2> rows{iparm[first_row - 1], iparm[last_row - 1]};
    processes.hand_out(iparm, controls_in_all);
    iparm[first_row - 1] = rows[0];
    iparm[last_row - 1] = rows[1];
    *error = static_cast<I>(called<I>({.processes = processes,
                                       .pt = pt,
                                       .maxfct = numbers[0],
                                       .mnum = numbers[1],
                                       .mtype = numbers[2],
                                       .phase = numbers[3],
                                       .n = numbers[4],
                                       .a = a,
                                       .ia = ia,
                                       .ja = ja,
                                       .perm = perm,
                                       .nrhs = numbers[5],
                                       .iparm = Controls(iparm),
                                       .tells = numbers[6] == 1,
                                       .b = b,
                                       .x = x}));
}

} // namespace
} // namespace qnm::core::solvers

QNM_CORE const qnm::core::solvers::Cluster* qnm_core_cluster(int edition,
                                                             const qnm::core::solvers::Host* host)
{
    using namespace qnm::core::solvers;
    static constexpr Cluster carried{.solver = cluster<std::int32_t>, .solver_64 = cluster<std::int64_t>};
    if (edition != plugin_edition)
        return nullptr;
    qnm::core::solvers::host = host;
    return &carried;
}
