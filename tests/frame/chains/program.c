/* Reports bad arguments by every road. Which handlers the application has is a matter of what is linked to
   this file and of what is preloaded. */
#include <stdio.h>
#include <string.h>

/* What it calls, as a program with no header of ours declares it. */
#define DGEMM_ARGUMENTS(integer)                                                                             \
    const char *transa, const char *transb, const integer *m, const integer *n, const integer *k,            \
        const double *alpha, const double *a, const integer *lda, const double *b, const integer *ldb,       \
        const double *beta, double *c, const integer *ldc

void dgemm_(DGEMM_ARGUMENTS(int));
/* A Fortran compiler passes the lengths of both option letters behind the visible arguments. */
void dgemm_of_fortran(DGEMM_ARGUMENTS(int), long, long) __asm__("dgemm_");
void dgemm_64_(DGEMM_ARGUMENTS(long long));
void cblas_xerbla(const char* name, int info);

typedef int link_of_chain(const char* srname, const int* info, int len);
link_of_chain cdecl_xerbla, xerbla, xerbla_, XERBLA_, XERBLA;
link_of_chain cdecl_progress, cdecl_pardiso_pivot;

static const double zero = 0;

/* A program that takes the address of a library's function may get one of its own making for it. */
__attribute__((noinline)) static int taken(link_of_chain* function)
{
    __asm__ volatile("" : "+r"(function));
    return function != NULL;
}

int main(int argc, char** argv)
{
    const int one = 1, minus_one = -1;
    const long long wide_one = 1, wide_minus_one = -1;
    double c = 0;

    if (taken(cdecl_xerbla) + taken(xerbla) + taken(xerbla_) + taken(XERBLA_) + taken(XERBLA) != 5)
        return 1;
    if (argc > 1 && strcmp(argv[1], "progress") == 0)
        return cdecl_progress("STAGE 1", &one, 7);
    if (argc > 1 && strcmp(argv[1], "pivot") == 0)
        return cdecl_pardiso_pivot("PIVOT", &minus_one, 5);

    dgemm_("N", "N", &minus_one, &one, &one, &zero, &c, &one, &c, &one, &zero, &c, &one);
    dgemm_of_fortran("N", "N", &one, &one, &one, &zero, &c, &minus_one, &c, &one, &zero, &c, &one, 1, 1);
    dgemm_64_("N", "N", &wide_one, &wide_one, &wide_one, &zero, &c, &wide_one, &c, &wide_one, &zero, &c,
              &wide_minus_one);
    cblas_xerbla("cblas_dgemm", 5);
    puts("end");
    return 0;
}
