/* Solves a system of a grid of 12 by 12 by 12 points by PARDISO, in a program that has a BLAS of its own,
   which nobody else may call; with LIBRARY the system alone. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

enum { SIDE = 12, POINTS = SIDE * SIDE * SIDE };

void pardiso(void* pt[64], const int32_t* maxfct, const int32_t* mnum, const int32_t* mtype,
             const int32_t* phase, const int32_t* n, const double* a, const int32_t* ia, const int32_t* ja,
             int32_t* perm, const int32_t* nrhs, int32_t* iparm, const int32_t* msglvl, double* b, double* x,
             int32_t* error);

__attribute__((visibility("default"))) int solve(int32_t mtype);

#ifndef LIBRARY
#define OWN(name)                                                                                            \
    __attribute__((visibility("default"))) void name(void);                                                  \
    void name(void)                                                                                          \
    {                                                                                                        \
        puts(#name " of the program is called");                                                             \
        exit(1);                                                                                             \
    }
OWN(daxpy_)
OWN(dcopy_)
OWN(dgemm_)
OWN(dgemv_)
OWN(dscal_)
OWN(dswap_)
OWN(dtrsm_)
OWN(dtrsv_)
OWN(idamax_)
OWN(ilaenv_)
#endif

/* Returns 0 where the solution is right: ones. */
int solve(int32_t mtype)
{
    static double a[7 * POINTS], b[POINTS], x[POINTS];
    static int32_t ia[POINTS + 1], ja[7 * POINTS];
    const int32_t step[] = {1, SIDE, SIDE * SIDE}, one = 1, all = 13, free_all = -1, n = POINTS, silent = 0;
    int32_t iparm[64] = {0}, error = 0, count = 0;
    void* pt[64] = {0};
    for (int32_t i = 0; i < POINTS; ++i) {
        b[i] = 0;
        ia[i] = count + 1;
        for (int d = -3; d <= 3; ++d) { /* neighbours behind, itself, and those ahead */
            const int axis = d < 0 ? -d - 1 : d - 1, place = d == 0 ? 0 : i / step[axis] % SIDE;
            if ((d < 0 && place == 0) || (d > 0 && place == SIDE - 1))
                continue;
            const double value = d == 0 ? 6 : -1;
            b[i] += value;
            if (mtype == 2 && d < 0)
                continue;
            ja[count] = 1 + i + (d < 0 ? -step[axis] : d > 0 ? step[axis] : 0);
            a[count++] = value;
        }
    }
    ia[POINTS] = count + 1;
    pardiso(pt, &one, &one, &mtype, &all, &n, a, ia, ja, NULL, &one, iparm, &silent, b, x, &error);
    for (int32_t i = 0; i < POINTS && error == 0; ++i)
        error = !(x[i] > 1 - 1e-12 && x[i] < 1 + 1e-12);
    if (error == 0)
        pardiso(pt, &one, &one, &mtype, &free_all, &n, a, ia, ja, NULL, &one, iparm, &silent, b, x, &error);
    return error;
}

#ifndef LIBRARY
int main(void)
{
    const int status[] = {solve(2), solve(11)};
    printf("%d %d\n", status[0], status[1]);
    return status[0] != 0 || status[1] != 0;
}
#endif
