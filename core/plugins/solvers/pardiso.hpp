// PARDISO's calling sequence over systems of the engine.
#pragma once

#include "open/solvers/plugin.hpp"
#include "processes.hpp"

namespace qnm::core::solvers {

extern const Host* host; // what the core lends

/// The arguments of one call, under their published names. All processes have the same numbers.
template <class I>
struct Arguments {
    Processes processes;
    void** pt;
    core_int maxfct, mnum, mtype, phase, n;
    const void* a;
    const I *ia, *ja;
    I* perm;
    core_int nrhs;
    Controls<I> iparm;
    bool tells;
    void *b, *x;
};

template <class I>
Error called(const Arguments<I>& arguments) noexcept;

} // namespace qnm::core::solvers
