/*
 * Longley's regression by LAPACK from C, the data as C has them, row by row: LAPACKE_dgels. An ordinary
 * program: it knows nothing of the library that runs it.
 */
#include "longley.h"

#include <lapacke.h>

int main(void)
{
    double x[observations][terms];
    double y[observations];
    double scale[terms];
    double rest = 0;
    int i, j;

    for (i = 0; i < observations; ++i) {
        y[i] = data[i][0];
        for (j = 0; j < terms; ++j)
            x[i][j] = j == 0 ? 1 : data[i][j];
    }
    /* Columns of one length: the numbers of people and the years differ by orders of magnitude. */
    for (j = 0; j < terms; ++j) {
        double squares = 0;
        for (i = 0; i < observations; ++i)
            squares += x[i][j] * x[i][j];
        scale[j] = 1 / sqrt(squares);
        for (i = 0; i < observations; ++i)
            x[i][j] *= scale[j];
    }

    const lapack_int info =
        LAPACKE_dgels(LAPACK_ROW_MAJOR, 'N', observations, terms, 1, &x[0][0], terms, y, 1);
    if (info != 0) {
        printf("LAPACKE_dgels: %d\n", (int)info);
        return 1;
    }
    /* y now holds the estimates, and behind them what the terms cannot explain. */
    for (j = 0; j < terms; ++j)
        y[j] *= scale[j];
    for (i = terms; i < observations; ++i)
        rest += y[i] * y[i];
    return judge(y, sqrt(rest));
}
