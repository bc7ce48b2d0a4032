// What the core asks of the libraries that carry its direct solvers: one function of each, and what it gives.
#pragma once

#include <cstdint>

namespace qnm::core::solvers {

constexpr int plugin_edition = 3;

/// What the core lends beyond its exported functions.
struct Host {
    bool (*goes_on)(const char* stage, int step);
};

/// As published, at the caller's width.
template <class I>
using Pardiso = void(void** pt, const I* maxfct, const I* mnum, const I* mtype, const I* phase, const I* n,
                     const void* a, const I* ia, const I* ja, I* perm, const I* nrhs, I* iparm,
                     const I* msglvl, void* b, void* x, I* error);

struct Plugin {
    Pardiso<std::int32_t>* pardiso;
    Pardiso<std::int64_t>* pardiso_64;
    int (*store)(void** pt, const char* folder);
    int (*restore)(void** pt, const char* folder);
    int (*remove)(const char* folder);

    // DSS: the same steps as functions with a status
    int (*create)(void** handle, const int* opt);
    int (*define_structure)(void** handle, const int* opt, const int* row_index, const int* rows,
                            const int* cols, const int* columns, const int* nonzeros);
    int (*reorder)(void** handle, const int* opt, int* perm);
    int (*factor)(void** handle, const int* opt, const void* values, bool complex);
    int (*solve)(void** handle, const int* opt, const void* rhs, const int* nrhs, void* solution,
                 bool complex);
    int (*statistics)(void** handle, const int* opt, const char* stat, double* results);
    int (*end)(void** handle, const int* opt);

    // Complex systems for the core's own use, by rows that count from 0 and have both triangles: begun,
    // factored and solved as often as wanted, with the matrix or its adjoint. Errors are PARDISO's.
    int (*begin_inner)(void** system, bool single, bool symmetric, int n, const int* start, const int* index);
    int (*factor_inner)(void* system, const void* values);
    int (*solve_inner)(void* system, bool adjoint, int sides, void* x);
    void (*end_inner)(void* system);
};

/// Over several processes, with a communicator of Fortran's.
template <class I>
using OverProcesses = void(void** pt, const I* maxfct, const I* mnum, const I* mtype, const I* phase,
                           const I* n, const void* a, const I* ia, const I* ja, I* perm, const I* nrhs,
                           I* iparm, const I* msglvl, void* b, void* x, const int* comm, I* error);

struct Cluster {
    OverProcesses<std::int32_t>* solver;
    OverProcesses<std::int64_t>* solver_64;
};

template <class P>
using OpenPlugin = const P*(int edition, const Host* host);

} // namespace qnm::core::solvers
