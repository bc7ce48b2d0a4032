// DSS: the steps of a solution as functions, each with options and a status.
#pragma once

namespace qnm::core::solvers::dss {

int create(void** handle, const int* opt);
int define_structure(void** handle, const int* opt, const int* row_index, const int* rows, const int* cols,
                     const int* columns, const int* nonzeros);
int reorder(void** handle, const int* opt, int* perm);
int factor(void** handle, const int* opt, const void* values, bool complex);
int solve(void** handle, const int* opt, const void* rhs, const int* nrhs, void* solution, bool complex);
int statistics(void** handle, const int* opt, const char* stat, double* results);
int end(void** handle, const int* opt);

} // namespace qnm::core::solvers::dss
