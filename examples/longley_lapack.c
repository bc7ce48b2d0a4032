/*
 * Longley's regression by LAPACK: the least squares driver dgels (QR factors). An ordinary program: it knows
 * nothing of the library that runs it.
 */
#include "longley.h"

#include <stddef.h>

double dnrm2_(const int* n, const double* x, const int* incx);
void dgels_(const char* trans, const int* m, const int* n, const int* nrhs, double* a, const int* lda,
            double* b, const int* ldb, double* work, const int* lwork, int* info, size_t len_trans);

int main(void)
{
    enum { room = 1024 };
    const int rows = observations, columns = terms, one = 1, lwork = room;
    double x[terms][observations]; /* column by column, as Fortran has it */
    double y[observations];
    double scale[terms];
    double work[room];
    int i, j, info;

    for (i = 0; i < observations; ++i)
        y[i] = data[i][0];
    for (j = 0; j < terms; ++j) {
        for (i = 0; i < observations; ++i)
            x[j][i] = j == 0 ? 1 : data[i][j];
        /* Columns of one length: the numbers of people and the years differ by orders of magnitude. */
        scale[j] = 1 / dnrm2_(&rows, x[j], &one);
        for (i = 0; i < observations; ++i)
            x[j][i] *= scale[j];
    }

    dgels_("N", &rows, &columns, &one, &x[0][0], &rows, y, &rows, work, &lwork, &info, 1);
    if (info != 0) {
        printf("dgels: info = %d\n", info);
        return 1;
    }
    /* y now holds the estimates, and behind them what the terms cannot explain. */
    const int rest = observations - terms;
    for (j = 0; j < terms; ++j)
        y[j] *= scale[j];
    return judge(y, dnrm2_(&rest, y + terms, &one));
}
