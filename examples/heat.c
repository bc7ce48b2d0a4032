/*
 * Heat spreads in a rod whose ends let none out: u_t = u_xx on 0 <= x <= 1, u_x = 0 at both ends. A program
 * for FFTW, as it would be written anywhere: cosines are what the equation leaves in shape, so each of them
 * just fades.
 *
 * The rod begins with the heat of one hot point, somewhat later. That heat is known at all times: what
 * spreads from the point in a rod without ends, and from its images in the mirrors that the ends are. The
 * same program in Fortran is heat.f90, by the library's trigonometric transforms, and heat.R in R; all print
 * the same digits.
 *
 *     heat
 */
#include <fftw3.h>
#include <math.h>
#include <stdio.h>

enum { n = 64, shown = 4 };
static const double pi = 3.14159265358979323846, hot = 0.3, begin = 0.002;

static double exact(double x, double t)
{
    double sum = 0;
    for (int image = -5; image <= 5; ++image)
        sum += exp(-pow(x - hot - 2 * image, 2) / (4 * t)) + exp(-pow(x + hot - 2 * image, 2) / (4 * t));
    return sum / sqrt(4 * pi * t);
}

int main(void)
{
    const double times[] = {0.01, 0.02, 0.05, 0.2};
    double *waves = fftw_alloc_real(n + 1), *u = fftw_alloc_real(n + 1), worst = 0;
    const fftw_plan there = fftw_plan_r2r_1d(n + 1, u, waves, FFTW_REDFT00, FFTW_ESTIMATE);
    const fftw_plan back = fftw_plan_r2r_1d(n + 1, u, u, FFTW_REDFT00, FFTW_ESTIMATE);
    if (there == NULL || back == NULL) {
        fputs("heat: no plan\n", stderr);
        return 1;
    }
    for (int i = 0; i <= n; ++i)
        u[i] = exact((double)i / n, begin);
    fftw_execute(there);

    printf("    time     at 0         at 1/4       at 1/2       at 3/4       at 1\n");
    for (int line = 0; line < shown; ++line) {
        for (int k = 0; k <= n; ++k) /* there and back again is 2 n times as much */
            u[k] = waves[k] * exp(-pow(pi * k, 2) * (times[line] - begin)) / (2 * n);
        fftw_execute(back);
        printf("%8.3f", times[line]);
        for (int i = 0; i <= n; i += n / 4)
            printf("%13.9f", u[i]);
        puts("");
        for (int i = 0; i <= n; ++i)
            worst = fmax(worst, fabs(u[i] - exact((double)i / n, times[line])));
    }
    fftw_destroy_plan(back);
    fftw_destroy_plan(there);
    fftw_free(u);
    fftw_free(waves);
    printf("The exact solution is nowhere further away than 1e-12: %s\n", worst < 1e-12 ? "yes" : "no");
    return worst < 1e-12 ? 0 : 1;
}
