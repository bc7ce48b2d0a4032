/*
 * A European call option priced by chance: the share a year from now, by normal variates of a pseudo-random
 * stream, and by points of Sobol's sequence, which leave smaller gaps. The price is known, and so are the
 * errors. Compiled with WIDE, the program uses the entries with 64-bit integers. The same program in Fortran
 * is call.f90, and prints the same digits.
 *
 *     call_c_narrow [PICTURE.svg]
 */
#include <qnm/vml.h>
#include <qnm/vsl.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#ifdef WIDE
#define V(name) name##_64
#else
#define V(name) name
#endif

enum { runs = 16, block = 4096, sizes = 7, ways = 2 };
static const double spot = 100, strike = 100, rate = 0.05, volatility = 0.2;
static const double exact = 10.450583572185565; /* by the formula of Black and Scholes */

static void done(int status)
{
    if (status != VSL_STATUS_OK) {
        fprintf(stderr, "call: status %d\n", status);
        exit(1);
    }
}

/* n normal variates. */
static void normals(void* stream, const double* shift, int n, double normal[block])
{
    if (shift == NULL) {
        done(V(vdRngGaussian)(VSL_RNG_METHOD_GAUSSIAN_ICDF, stream, n, normal, 0, 1));
        return;
    }
    /* The sequence, moved round: each run has points of its own, as regular as the others'. */
    done(V(vdRngUniform)(0, stream, n, normal, 0, 1));
    for (int i = 0; i < n; ++i) {
        normal[i] += *shift;
        normal[i] -= normal[i] >= 1 ? 1 : 0;
    }
    V(vdCdfNormInv)(n, normal, normal);
}

/* The mean of what the option pays for n shares, and its standard error. */
static double price(void* stream, const double* shift, int n, double* deviation)
{
    static double share[block];
    double sum = 0, squares = 0;
    for (int left = n; left > 0; left -= block) {
        const int count = left < block ? left : block;
        normals(stream, shift, count, share);
        for (int i = 0; i < count; ++i)
            share[i] = volatility * share[i] + (rate - volatility * volatility / 2);
        V(vdExp)(count, share, share);
        for (int i = 0; i < count; ++i) {
            const double paid = fmax(spot * share[i] - strike, 0);
            sum += paid;
            squares += paid * paid;
        }
    }
    const double mean = sum / n, today = exp(-rate);
    *deviation = today * sqrt((squares / n - mean * mean) / (n - 1));
    return today * mean;
}

/* Of a line through logarithms. */
static double slope(const int n[sizes], const double error[sizes])
{
    double x = 0, y = 0, xx = 0, xy = 0;
    for (int k = 0; k < sizes; ++k) {
        const double u = log(n[k]), v = log(error[k]);
        x += u;
        y += v;
        xx += u * u;
        xy += u * v;
    }
    return (sizes * xy - x * y) / (sizes * xx - x * x);
}

/* Both errors over n, logarithms, in a picture of 720 by 400. */
static int draw(const char* name, const int n[sizes], double error[ways][sizes])
{
    const char* const colour[ways] = {"#c40", "#06c"};
    const char* const title[ways] = {"pseudo-random", "Sobol's points"};
    FILE* file = fopen(name, "w");
    if (file == NULL)
        return 0;
    fputs("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 720 400\" font-family=\"sans-serif\" "
          "font-size=\"12\">\n<rect width=\"720\" height=\"400\" fill=\"white\"/>\n"
          "<text x=\"70\" y=\"24\" font-size=\"15\">Error of an option's price, by the number of "
          "shares</text>\n",
          file);
#define X(count) (70 + 600 * log((count) / (double)n[0]) / log(n[sizes - 1] / (double)n[0]))
#define Y(value) (50 - 62 * log10(value))
    for (int power = 0; power >= -5; --power)
        fprintf(file,
                "<path d=\"M70 %gh600\" stroke=\"#ddd\"/><text x=\"62\" y=\"%g\" "
                "text-anchor=\"end\">1e%d</text>\n",
                50.0 - 62 * power, 54.0 - 62 * power, power);
    for (int k = 0; k < sizes; ++k)
        fprintf(file, "<text x=\"%.1f\" y=\"385\" text-anchor=\"middle\">%d</text>\n", X(n[k]), n[k]);
    for (int way = 0; way < ways; ++way) {
        fprintf(file, "<path fill=\"none\" stroke-width=\"1.5\" stroke=\"%s\" d=\"", colour[way]);
        for (int k = 0; k < sizes; ++k)
            fprintf(file, "%c%.1f %.1f", k == 0 ? 'M' : 'L', X(n[k]), Y(error[way][k]));
        fprintf(
            file, "\"/>\n<text x=\"%.1f\" y=\"%.1f\" fill=\"%s\" text-anchor=\"end\">%s, slope %.2f</text>\n",
            X(n[sizes - 1]), Y(error[way][sizes - 1]) - 14, colour[way], title[way], slope(n, error[way]));
        for (int k = 0; k < sizes; ++k)
            fprintf(file, "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3\" fill=\"%s\"/>\n", X(n[k]),
                    Y(error[way][k]), colour[way]);
    }
    fputs("</svg>\n", file);
    return fclose(file) == 0;
}

int main(int count, char** words)
{
    int n[sizes];
    double error[ways][sizes], shift[runs], deviation, unused;
    void *random, *points;

    done(V(vslNewStream)(&random, VSL_BRNG_MT19937, 777));
    done(V(vdRngUniform)(0, random, runs, shift, 0, 1));
    printf("A call: share %.0f, strike %.0f, %.0f %% interest, %.0f %% volatility, one year: %.12f\n", spot,
           strike, 100 * rate, 100 * volatility, exact);
    printf("      n  pseudo-random price        error of %d runs    by Sobol's points        error\n", runs);
    for (int k = 0; k < sizes; ++k) {
        double first[ways] = {0, 0}, sum[ways] = {0, 0};
        n[k] = 64 << 2 * k;
        for (int run = 0; run < runs; ++run) {
            const double by_chance = price(random, NULL, n[k], run == 0 ? &deviation : &unused);
            done(V(vslNewStream)(&points, VSL_BRNG_SOBOL, 1));
            const double by_points = price(points, shift + run, n[k], &unused);
            done(V(vslDeleteStream)(&points));
            if (run == 0) {
                first[0] = by_chance;
                first[1] = by_points;
            }
            sum[0] += (by_chance - exact) * (by_chance - exact);
            sum[1] += (by_points - exact) * (by_points - exact);
        }
        for (int way = 0; way < ways; ++way)
            error[way][k] = sqrt(sum[way] / runs);
        printf("%7d%14.8f +- %10.8f%16.4E%21.8f%13.4E\n", n[k], first[0], deviation, error[0][k], first[1],
               error[1][k]);
    }
    done(V(vslDeleteStream)(&random));
    printf("slope%42.2f%34.2f\n", slope(n, error[0]), slope(n, error[1]));
    if (count > 1 && !draw(words[1], n, error)) {
        perror(words[1]);
        return 1;
    }
    return 0;
}
