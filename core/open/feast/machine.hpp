// Eigenvalues of A x = e B x in an interval, by contour integrals of the resolvent (Polizzi 2009): what a
// caller and the algorithm tell each other. All state lies in the caller's arrays; of the words of `fpm` 32
// bits come back.
#pragma once

#include "../engine.hpp"

namespace qnm::core::feast {

enum Job : core_int {
    begin = -1,
    finished = 0,
    factor = 10,
    solve = 11,
    factor_adjoint = 20,
    solve_adjoint = 21,
    times_a = 30,
    times_b = 40
};

enum Info : core_int {
    good = 0,
    none_found = 1,
    not_converged = 2,
    small_subspace = 3,
    subspace_only = 4,
    bad_word = 100,
    bad_interval = 200,
    bad_subspace = 201,
    bad_size = 202,
    no_memory = -1,
    solver_failed = -2,
    reduced_failed = -3,
    bad_argument = -100
};

/// Places in `fpm`, from 0.
enum Word : core_int {
    tells = 0,
    points = 1,
    digits = 2,
    most_loops = 3,
    starts_with_x = 4,
    stops_by_residual = 5,
    single_digits = 6,
    ends_after_contour = 13,
    checks_a = 26,
    checks_b = 27,
    stage = 20,
    point = 21,
    first_column = 23,
    columns = 24,
    trace = 31, ///< a real number in two words
    words = 128
};

void set_defaults(core_int* fpm);

template <class T>
struct Problem {
    using R = real_t<T>;
    using C = std::complex<R>;

    core_int* ijob;
    core_int n;
    C* ze;
    T* work;
    C* workc;
    T *aq, *sq;
    core_int* fpm;
    R* epsout;
    core_int* loop;
    R emin, emax;
    core_int m0;
    R* e;
    T* x;
    core_int* m;
    R* res;
    core_int* info;

    core_int fault() const;
    /// What the caller has to do next.
    void next() const;
};

} // namespace qnm::core::feast
