// What PARDISO's address stands for: matrices of one structure, each with factors of its own.
#pragma once

#include "living.hpp"
#include "system.hpp"

#include <atomic>
#include <vector>

namespace qnm::core::solvers {

struct Handle {
    struct Matrix {
        std::shared_ptr<const Pattern> pattern;
        std::unique_ptr<System> system; // null once it has been released
    };
    Processes processes;
    core_int number; // all of them have the same
    int mtype;
    bool single;
    core_int n;
    Wishes wishes = {};
    std::vector<Matrix> matrices = {};
    std::shared_ptr<const Pattern> latest = {}; // what was analysed last, for matrices that never were
    std::vector<int> given_order = {};          // from 1; empty: none

    Kind kind() const { return Kind(mtype); }
    static core_int next_number()
    {
        static std::atomic<core_int> made = 0;
        return ++made;
    }
};

extern Living<Handle> living;

} // namespace qnm::core::solvers
