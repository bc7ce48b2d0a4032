/*
 * 10,000 European options priced by Black and Scholes, with vector functions at high and at low accuracy and
 * with a loop over the C library. 24 of the prices are compared with certified ones (options_prices.c tells
 * how). Compiled with WIDE, the program uses the entries with 64-bit integers. The same program in Fortran is
 * options.F90.
 *
 *     options_c_narrow options.txt
 */
#define _POSIX_C_SOURCE 199309L
#include "options.h"

#include <qnm/vml.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#ifdef WIDE
#define V(name) name##_64
enum { bits = 64 };
#else
#define V(name) name
enum { bits = 32 };
#endif

static double spot[options], strike[options], years[options], volatility[options];
static double call[options], put[options];

static double probability(double x)
{
    return erfc(-x * sqrt(0.5)) / 2;
}

static void by_loop(void)
{
    for (int i = 0; i < options; ++i) {
        const double spread = volatility[i] * sqrt(years[i]);
        const double far = (log(spot[i] / strike[i]) + rate * years[i]) / spread + spread / 2;
        const double near = far - spread;
        const double paid = strike[i] * exp(-rate * years[i]);
        call[i] = spot[i] * probability(far) - paid * probability(near);
        put[i] = paid * probability(-near) - spot[i] * probability(-far);
    }
}

static void by_vectors(void)
{
    static double spread[options], far[options], near[options], paid[options];

    V(vdDiv)(options, spot, strike, far);
    V(vdLn)(options, far, far);
    V(vdSqrt)(options, years, spread);
    for (int i = 0; i < options; ++i) {
        spread[i] *= volatility[i];
        paid[i] = -rate * years[i];
        far[i] -= paid[i];
    }
    V(vdDiv)(options, far, spread, far);
    V(vdExp)(options, paid, paid);
    for (int i = 0; i < options; ++i) {
        far[i] += spread[i] / 2;
        near[i] = far[i] - spread[i];
        paid[i] *= strike[i];
        put[i] = -far[i];
        spread[i] = -near[i];
    }
    V(vdCdfNorm)(options, far, far);
    V(vdCdfNorm)(options, near, near);
    V(vdCdfNorm)(options, put, put);
    V(vdCdfNorm)(options, spread, spread);
    for (int i = 0; i < options; ++i) {
        call[i] = spot[i] * far[i] - paid[i] * near[i];
        put[i] = paid[i] * spread[i] - spot[i] * put[i];
    }
}

/* In units of the last place of the certified price. */
static double error_of(double price, long double exact)
{
    const double unit = ldexp(1, ilogb((double)exact) - 52);
    return (double)(fabsl(price - exact) / unit);
}

static void show(const char* name, void (*priced)(void), long double exact[certified][2])
{
    double best = HUGE_VAL, of_call = 0, of_put = 0;
    for (int round = 0; round < 20; ++round) {
        struct timespec begin, end;
        clock_gettime(CLOCK_MONOTONIC, &begin);
        priced();
        clock_gettime(CLOCK_MONOTONIC, &end);
        best = fmin(best, (double)(end.tv_sec - begin.tv_sec) * 1e9 + (double)(end.tv_nsec - begin.tv_nsec));
    }
    for (int k = 0; k < certified; ++k) {
        of_call = fmax(of_call, error_of(call[certified_at(k)], exact[k][0]));
        of_put = fmax(of_put, error_of(put[certified_at(k)], exact[k][1]));
    }
    printf("%-22s%9.1f%9.1f%14.0f\n", name, of_call, of_put, best / options);
}

int main(int count, char** words)
{
    long double exact[certified][2];
    char line[200];
    int k = 0, i;
    FILE* file = count == 2 ? fopen(words[1], "r") : NULL;
    while (file != NULL && k < certified && fgets(line, sizeof line, file) != NULL)
        if (sscanf(line, "%d %Lf %Lf", &i, &exact[k][0], &exact[k][1]) == 3 && i == certified_at(k))
            ++k;
    if (k != certified) {
        fprintf(stderr, "usage: options FILE; FILE has %d certified prices\n", certified);
        return 2;
    }
    fclose(file);
    for (i = 0; i < options; ++i) {
        spot[i] = spot_of(i);
        strike[i] = strike_of(i);
        years[i] = years_of(i);
        volatility[i] = volatility_of(i);
    }

    printf("%d options, entries with %d-bit integers\n", options, bits);
    printf("                      greatest error, ulp    ns for both\n");
    printf("                         call      put         prices\n");
    show("loop over libm", by_loop, exact);
    V(vmlSetMode)(QNM_VML_HIGH | QNM_VML_ERRNO);
    show("vectors, high", by_vectors, exact);
    V(vmlSetMode)(QNM_VML_LOW | QNM_VML_ERRNO);
    show("vectors, low", by_vectors, exact);
    return V(vmlGetErrStatus)() == QNM_VML_OK ? 0 : 1;
}
