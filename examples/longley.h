/* What the programs of Longley's regression share: the answer beside the certified one. */
#ifndef LONGLEY_H
#define LONGLEY_H

#include "longley_data.h"

#include <math.h>
#include <stdio.h>

enum { agreement_wanted = 7 };

/* Prints the value beside the certified one; returns the number of digits that agree, at most 15. */
static int compare(struct quantity quantity, double value)
{
    const double error = fabs(value - quantity.certified) / fabs(quantity.certified);
    const int digits = !(error < 1) ? 0 : error < 1e-15 ? 15 : (int)floor(-log10(error));
    printf("%-20s %24.15g %24.15g %7d\n", quantity.name, value, quantity.certified, digits);
    return digits;
}

/*
 * Sets the estimates and what is left unexplained beside the certified values; residual_norm is the Euclidean
 * norm of the residual. Returns 0 if enough digits agree in each value, and 1 if not.
 */
static int judge(const double estimates[terms], double residual_norm)
{
    double mean = 0, total = 0;
    int i, j;
    for (i = 0; i < observations; ++i)
        mean += data[i][0] / observations;
    for (i = 0; i < observations; ++i)
        total += (data[i][0] - mean) * (data[i][0] - mean);

    printf("%-20s %24s %24s %7s\n", "", "computed", "certified", "digits");
    int fewest = 15;
    for (j = 0; j < terms; ++j) {
        const int digits = compare(coefficients[j], estimates[j]);
        fewest = digits < fewest ? digits : fewest;
    }
    const int of_deviation = compare(residual_deviation, residual_norm / sqrt(observations - terms));
    const int of_r = compare(r_squared, 1 - residual_norm * residual_norm / total);
    fewest = of_deviation < fewest ? of_deviation : fewest;
    fewest = of_r < fewest ? of_r : fewest;
    printf("at least %d digits agree in each value\n", fewest);
    return fewest >= agreement_wanted ? 0 : 1;
}

#endif
