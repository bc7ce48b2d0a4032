/* MUMPS called directly: a library of a program that has one of its own. */
#include <dmumps_c.h>

__attribute__((visibility("default"))) int mumps_solve(int n, MUMPS_INT8 nonzeros, int* rows, int* columns,
                                                       double* values, int nrhs, double* solutions);

/* Elements from 1, in any order; right sides become solutions. Returns MUMPS's own code, 0 for success. */
int mumps_solve(int n, MUMPS_INT8 nonzeros, int* rows, int* columns, double* values, int nrhs,
                double* solutions)
{
    DMUMPS_STRUC_C words = {.job = -1, .par = 1, .comm_fortran = -987654};
    dmumps_c(&words);
    for (int k = 0; k < 4; ++k)
        words.icntl[k] = 0; /* not a word */
    words.n = n;
    words.nnz = nonzeros;
    words.irn = rows;
    words.jcn = columns;
    words.a = values;
    words.nrhs = nrhs;
    words.lrhs = n;
    words.rhs = solutions;
    words.job = 6;
    dmumps_c(&words);
    const int status = words.infog[0];
    words.job = -2;
    dmumps_c(&words);
    return status;
}
