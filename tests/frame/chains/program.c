/* Reports bad arguments by every road. Which handlers the application has is a matter of what is linked to
   this file and of what is preloaded. */
#include <stdio.h>
#include <string.h>

#include "entries.h"

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
