/*
 * Four sets of numbers by which NIST tries programs for means and deviations (StRD, univariate): they are
 * large, and differ little. Prints how many digits of the certified values come out, of one pass that a
 * program might make itself, and of summary statistics.
 *
 *     digits
 */
#include <qnm/vsl.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

enum { most = 1001 };
static const struct {
    const char* name;
    int n;
    double first, low, high; /* then low and high by turns */
    double mean, deviation;  /* certified */
} sets[] = {
    {"NumAcc1", 3, 10000001, 10000003, 10000002, 10000002, 1},
    {"NumAcc2", most, 1.2, 1.1, 1.3, 1.2, 0.1},
    {"NumAcc3", most, 1000000.2, 1000000.1, 1000000.3, 1000000.2, 0.1},
    {"NumAcc4", most, 10000000.2, 10000000.1, 10000000.3, 10000000.2, 0.1},
};

static double digits(double found, double certified)
{
    return found == certified ? 15 : fmin(15, -log10(fabs(found - certified) / certified));
}

static void done(int status)
{
    if (status != VSL_STATUS_OK) {
        fprintf(stderr, "digits: status %d\n", status);
        exit(1);
    }
}

int main(void)
{
    printf("            mean           deviation\n           one pass  ours  one pass  ours\n");
    for (size_t k = 0; k < sizeof sets / sizeof *sets; ++k) {
        double x[most], mean, variance, raw, sum = 0, squares = 0;
        const int p = 1, n = sets[k].n, rows = VSL_SS_MATRIX_STORAGE_ROWS;
        void* task;
        for (int i = 0; i < n; ++i) {
            x[i] = i == 0 ? sets[k].first : i % 2 == 1 ? sets[k].low : sets[k].high;
            sum += x[i];
            squares += x[i] * x[i];
        }
        const double plain = sum / n, spread = (squares - sum * sum / n) / (n - 1);
        done(vsldSSNewTask(&task, &p, &n, &rows, x, NULL, NULL));
        done(vsldSSEditMoments(task, &mean, &raw, NULL, NULL, &variance, NULL, NULL));
        done(vsldSSCompute(task, VSL_SS_MEAN | VSL_SS_2C_MOMENT, VSL_SS_METHOD_FAST));
        done(vslSSDeleteTask(&task));
        printf("%s%12.1f%6.1f%10.1f%6.1f\n", sets[k].name, digits(plain, sets[k].mean),
               digits(mean, sets[k].mean),
               spread > 0 ? fmax(0, digits(sqrt(spread), sets[k].deviation)) : 0.0,
               digits(sqrt(variance), sets[k].deviation));
    }
    return 0;
}
