/* Longley's data and verdict for programs in Fortran. */
#include "longley.h"

void longley_observation(int number, double row[terms]);
int longley_judge(const double estimates[terms], double residual_norm);

void longley_observation(int number, double row[terms])
{
    int j;
    for (j = 0; j < terms; ++j)
        row[j] = data[number - 1][j];
}

int longley_judge(const double estimates[terms], double residual_norm)
{
    const int status = judge(estimates, residual_norm);
    fflush(stdout); /* Fortran writes by itself */
    return status;
}
