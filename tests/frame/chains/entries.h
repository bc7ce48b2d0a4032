/* What the programs call, as a program with no header of ours declares it. */
#ifndef ENTRIES_H
#define ENTRIES_H

#ifdef __cplusplus
extern "C" {
#endif

#define DGEMM_ARGUMENTS(integer)                                                                             \
    const char *transa, const char *transb, const integer *m, const integer *n, const integer *k,            \
        const double *alpha, const double *a, const integer *lda, const double *b, const integer *ldb,       \
        const double *beta, double *c, const integer *ldc

void dgemm_(DGEMM_ARGUMENTS(int));
/* A Fortran compiler passes the lengths of both option letters behind the visible arguments. */
void dgemm_of_fortran(DGEMM_ARGUMENTS(int), long, long) __asm__("dgemm_");
void dgemm_64_(DGEMM_ARGUMENTS(long long));
void cblas_xerbla(const char* name, int info);
void cblas_xerbla_malloc_error(const char* name);

typedef int link_of_chain(const char* srname, const int* info, int len);
link_of_chain cdecl_xerbla, xerbla, xerbla_, XERBLA_, XERBLA;
link_of_chain cdecl_progress, cdecl_pardiso_pivot;

#ifdef __cplusplus
}
#endif

#endif
