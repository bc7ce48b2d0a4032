/*
 * Blurs a picture: the spectrum of the picture times the spectrum of a Gaussian bell, and back. The result is
 * compared with the sum over the bell around each pixel, which needs no transform but far more time. Beyond
 * an edge the picture goes on at the opposite one.
 *
 *     image_filter WIDTH BEFORE.pgm AFTER.pgm
 *
 * WIDTH is that of the bell in pixels; 0 leaves the picture as it is.
 */
#include <qnm/dfti.h>

#include <complex.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

struct picture {
    int rows, columns, white;
    double* pixels; /* row by row, 0 is black */
};

static void fail(const char* what, const char* why)
{
    fprintf(stderr, "image_filter: %s: %s\n", what, why);
    exit(1);
}

static void done(qnm_int64 status)
{
    if (status != DFTI_NO_ERROR)
        fail("transform", DftiErrorMessage(status));
}

static void* memory(size_t count, size_t size)
{
    void* block = calloc(count, size);
    if (block == NULL)
        fail("memory", "there is not enough");
    return block;
}

/* Of the portable grey map's forms the plain one (P2) and the one with a byte for each pixel (P5), without
 * comments. */
static struct picture read_picture(const char* name)
{
    struct picture p = {0, 0, 0, NULL};
    char form = 0;
    FILE* file = fopen(name, "rb");
    if (file == NULL)
        fail(name, "cannot be opened");
    if (fscanf(file, "P%c %d %d %d", &form, &p.columns, &p.rows, &p.white) != 4 ||
        (form != '2' && form != '5') || p.rows < 1 || p.columns < 1 || p.white < 1 || p.white > 255 ||
        p.rows > 30000 || p.columns > 30000)
        fail(name, "is no grey map of 8 bits");
    getc(file); /* one blank behind the head */
    p.pixels = memory((size_t)p.rows * (size_t)p.columns, sizeof *p.pixels);
    for (int i = 0; i < p.rows * p.columns; ++i) {
        int grey = 0;
        if (form == '5')
            grey = getc(file);
        else if (fscanf(file, "%d", &grey) != 1)
            grey = EOF;
        if (grey == EOF)
            fail(name, "ends too early");
        p.pixels[i] = grey;
    }
    fclose(file);
    return p;
}

static void write_picture(const char* name, struct picture p)
{
    FILE* file = fopen(name, "wb");
    if (file == NULL)
        fail(name, "cannot be written");
    fprintf(file, "P5\n%d %d\n%d\n", p.columns, p.rows, p.white);
    for (int i = 0; i < p.rows * p.columns; ++i)
        putc((int)fmin(fmax(round(p.pixels[i]), 0), p.white), file);
    if (fclose(file) != 0)
        fail(name, "cannot be written");
}

/* A bell of sum 1 for a picture of this size, around its first pixel; it ends at `reach`. */
static struct picture bell(struct picture like, double width, int reach)
{
    struct picture b = like;
    double sum = 0;
    b.pixels = memory((size_t)b.rows * (size_t)b.columns, sizeof *b.pixels);
    for (int pass = 0; pass < 2; ++pass)
        for (int i = -reach; i <= reach; ++i)
            for (int j = -reach; j <= reach; ++j) {
                const double weight = reach == 0 ? 1 : exp(-(i * i + j * j) / (2 * width * width));
                const int row = (i % b.rows + b.rows) % b.rows,
                          column = (j % b.columns + b.columns) % b.columns;
                if (pass == 0)
                    sum += weight;
                else
                    b.pixels[row * b.columns + column] += weight / sum;
            }
    return b;
}

/* Of real data half a spectrum is enough: each row of it has columns/2 + 1 numbers. */
static void blur(struct picture p, struct picture b)
{
    const qnm_int64 lengths[] = {p.rows, p.columns}, half = p.columns / 2 + 1;
    const qnm_int64 of_pixels[] = {0, p.columns, 1}, of_spectrum[] = {0, half, 1};
    const size_t size = (size_t)p.rows * (size_t)half;
    double complex* spectrum = memory(size, sizeof *spectrum);
    double complex* of_bell = memory(size, sizeof *of_bell);
    qnm_dft_handle there, back;

    done(DftiCreateDescriptor(&there, DFTI_DOUBLE, DFTI_REAL, 2, lengths));
    done(DftiSetValue(there, DFTI_PLACEMENT, DFTI_NOT_INPLACE));
    done(DftiSetValue(there, DFTI_CONJUGATE_EVEN_STORAGE, DFTI_COMPLEX_COMPLEX));
    done(DftiSetValue(there, DFTI_BACKWARD_SCALE, 1.0 / p.rows / p.columns));
    done(DftiCopyDescriptor(there, &back));
    done(DftiSetValue(there, DFTI_INPUT_STRIDES, of_pixels));
    done(DftiSetValue(there, DFTI_OUTPUT_STRIDES, of_spectrum));
    done(DftiSetValue(back, DFTI_INPUT_STRIDES, of_spectrum));
    done(DftiSetValue(back, DFTI_OUTPUT_STRIDES, of_pixels));
    done(DftiCommitDescriptor(there));
    done(DftiCommitDescriptor(back));

    done(DftiComputeForward(there, p.pixels, spectrum));
    done(DftiComputeForward(there, b.pixels, of_bell));
    for (size_t i = 0; i < size; ++i)
        spectrum[i] *= of_bell[i];
    done(DftiComputeBackward(back, spectrum, p.pixels));

    done(DftiFreeDescriptor(&there));
    done(DftiFreeDescriptor(&back));
    free(spectrum);
    free(of_bell);
}

/* A pixel of the result, as a sum. */
static double blurred(struct picture p, struct picture b, int row, int column)
{
    double sum = 0;
    for (int i = 0; i < p.rows; ++i)
        for (int j = 0; j < p.columns; ++j)
            sum += b.pixels[i * b.columns + j] *
                   p.pixels[(row - i + p.rows) % p.rows * p.columns + (column - j + p.columns) % p.columns];
    return sum;
}

int main(int count, char** words)
{
    const double width = count == 4 ? atof(words[1]) : -1;
    double furthest = 0;
    if (!(width >= 0 && width <= 100)) {
        fprintf(stderr, "usage: image_filter WIDTH BEFORE.pgm AFTER.pgm\n");
        return 2;
    }
    const struct picture before = read_picture(words[2]), b = bell(before, width, (int)ceil(4 * width));
    struct picture after = before;
    const int pixels = before.rows * before.columns;
    after.pixels = memory((size_t)pixels, sizeof *after.pixels);
    for (int i = 0; i < pixels; ++i)
        after.pixels[i] = before.pixels[i];
    blur(after, b);
    write_picture(words[3], after);

    /* At some hundred pixels. */
    for (int i = 0; i < pixels; i += pixels / 512 + 1)
        furthest = fmax(furthest,
                        fabs(after.pixels[i] - blurred(before, b, i / before.columns, i % before.columns)));
    printf("%d x %d pixels; furthest from the sums: %.1e of %d\n", before.columns, before.rows, furthest,
           before.white);
    free(before.pixels);
    free(after.pixels);
    free(b.pixels);
    return furthest < 1e-10 * before.white ? 0 : 1;
}
