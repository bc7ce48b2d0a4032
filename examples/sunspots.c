/*
 * The spectrum of the yearly sunspot numbers: which waves are in them, and how high. The same program in
 * Fortran is sunspots.f90, and prints the same digits.
 *
 *     sunspots sunspots.txt [PICTURE.svg]
 */
#include <qnm/dfti.h>

#include <complex.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

enum { years = 288, waves = years / 2 + 1, told = 5 };

static void done(qnm_int64 status)
{
    if (status != DFTI_NO_ERROR) {
        fprintf(stderr, "sunspots: %s\n", DftiErrorMessage(status));
        exit(1);
    }
}

/* Lines that begin with two numbers: the year, and its mean. */
static int read_numbers(const char* name, double number[years])
{
    FILE* file = fopen(name, "r");
    char line[200];
    int year, count = 0;
    while (file != NULL && count < years && fgets(line, sizeof line, file) != NULL)
        if (sscanf(line, "%d %lf", &year, &number[count]) == 2)
            ++count;
    if (file != NULL)
        fclose(file);
    return count;
}

/* The highest wave below a bound. */
static int highest(const double height[waves], double bound)
{
    int best = 0;
    for (int k = 1; k < waves; ++k)
        if (height[k] < bound && (best == 0 || height[k] > height[best]))
            best = k;
    return best;
}

/* Heights of the waves over their frequency, in a picture of 720 by 360. */
static int draw(const char* name, const double height[waves], int largest)
{
    const double left = 60, bottom = 310, wide = 640, high = 270, top = 1.1 * height[largest];
    const int ticks[] = {50, 20, 11, 8, 5, 4, 3, 2}; /* years */
    FILE* file = fopen(name, "w");
    if (file == NULL)
        return 0;
    fprintf(file,
            "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 720 360\" font-family=\"sans-serif\" "
            "font-size=\"12\">\n<rect width=\"720\" height=\"360\" fill=\"white\"/>\n"
            "<text x=\"60\" y=\"24\" font-size=\"15\">Waves in the yearly sunspot numbers, 1700 to "
            "1987</text>\n");
    for (double mark = 0; mark < top; mark += 10)
        fprintf(
            file,
            "<path d=\"M%g %gh%g\" stroke=\"#ddd\"/><text x=\"52\" y=\"%g\" text-anchor=\"end\">%g</text>\n",
            left, bottom - mark / top * high, wide, bottom + 4 - mark / top * high, mark);
    for (size_t i = 0; i < sizeof ticks / sizeof *ticks; ++i)
        fprintf(file,
                "<path d=\"M%g %gv5\" stroke=\"black\"/><text x=\"%g\" y=\"%g\" "
                "text-anchor=\"middle\">%d</text>\n",
                left + 2 * wide / ticks[i], bottom, left + 2 * wide / ticks[i], bottom + 18, ticks[i]);
    fprintf(file, "<text x=\"%g\" y=\"%g\" text-anchor=\"end\">period in years</text>\n<path d=\"",
            left + wide, bottom + 38);
    for (int k = 0; k < waves; ++k)
        fprintf(file, "%c%.2f %.2f", k == 0 ? 'M' : 'L', left + wide * k / (waves - 1),
                bottom - height[k] / top * high);
    fprintf(file,
            "\" fill=\"none\" stroke=\"#c40\" stroke-width=\"1.5\"/>\n<text x=\"%g\" y=\"%g\">%.2f "
            "years</text>\n</svg>\n",
            left + 8 + wide * largest / (waves - 1), bottom - 8 - height[largest] / top * high,
            (double)years / largest);
    return fclose(file) == 0;
}

int main(int count, char** words)
{
    double number[years], height[waves], mean = 0;
    double complex spectrum[waves];
    qnm_dft_handle handle;

    if (count < 2 || read_numbers(words[1], number) != years) {
        fprintf(stderr, "usage: sunspots FILE [PICTURE.svg]; FILE has %d years\n", years);
        return 2;
    }
    /* Without the mean, which would be the highest of all and is no wave. */
    for (int i = 0; i < years; ++i)
        mean += number[i];
    mean /= years;
    for (int i = 0; i < years; ++i)
        number[i] -= mean;

    /* The scale makes a number of each wave's height. */
    done(DftiCreateDescriptor(&handle, DFTI_DOUBLE, DFTI_REAL, 1, (qnm_int64)years));
    done(DftiSetValue(handle, DFTI_PLACEMENT, DFTI_NOT_INPLACE));
    done(DftiSetValue(handle, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX));
    done(DftiSetValue(handle, DFTI_FORWARD_SCALE, 2.0 / years));
    done(DftiCommitDescriptor(handle));
    done(DftiComputeForward(handle, number, spectrum));
    done(DftiFreeDescriptor(&handle));

    for (int k = 0; k < waves; ++k)
        height[k] = cabs(spectrum[k]);
    printf("%d yearly means, 1700 to 1987, less their mean of %.12f\n", years, mean);
    printf("   k   years               height\n");
    const int largest = highest(height, HUGE_VAL);
    for (int i = 0, k = largest; i < told; ++i, k = highest(height, height[k]))
        printf("%4d%8.2f%21.13f\n", k, (double)years / k, height[k]);
    if (count > 2 && !draw(words[2], height, largest)) {
        perror(words[2]);
        return 1;
    }
    return 0;
}
