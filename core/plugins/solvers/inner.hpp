// Complex systems in the same places, factored again and again: the core's own inner solves.
#pragma once

#include "open/solvers/plugin.hpp"

namespace qnm::core::solvers::inner {

int begin(void** system, bool single, bool symmetric, int n, const int* start, const int* index);
int factor(void* system, const void* values);
int solve(void* system, bool adjoint, int sides, void* x);
void end(void* system);

} // namespace qnm::core::solvers::inner
