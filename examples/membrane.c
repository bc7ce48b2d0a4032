/*
 * A loaded membrane of 2 by 1: -u_xx - u_yy = f. It is fixed at the left and at the upper end, in a frame
 * that is not level (D: the height is given), and free at the others, where it is pulled (N: the outward
 * slope is given). The load was made of a height that was chosen first, so the error is known: it falls to a
 * quarter on twice as fine a mesh.
 *
 * The same program in Fortran is membrane.f90, and membrane.R in R; all print the same digits.
 *
 *     membrane [FOLDER]      FOLDER gets membrane.svg, membrane_error.svg, membrane.pgm (the height, in grey)
 */
#include <qnm/poisson.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

enum { coarsest = 8, meshes = 6, drawn = 32, pictured = 256 };
static const char sides[] = "DNND"; /* left, right, lower, upper */

static double height(double x, double y)
{
    return (1 - pow(1 - x / 2, 4)) * (1 - pow(y, 4)) + x * y / 4;
}
static double load(double x, double y)
{
    return 3 * pow(1 - x / 2, 2) * (1 - pow(y, 4)) + 12 * y * y * (1 - pow(1 - x / 2, 4));
}

static void done(int status)
{
    if (status != QNM_PDE_OK) {
        fprintf(stderr, "membrane: status %d\n", status);
        exit(1);
    }
}

static double* reals(size_t count)
{
    double* const made = malloc(count * sizeof *made);
    if (made == NULL)
        done(QNM_PDE_NO_MEMORY);
    return made;
}

/* Heights at n + 1 by n + 1 points, x running fastest; the caller frees them. */
static double* solve(int n)
{
    const double left = 0, right = 2, lower = 0, upper = 1, q = 0;
    const size_t line = (size_t)n + 1;
    int ipar[128], stat;
    double* const u = reals(line * line);
    double* const ends = reals(4 * line + 128); /* four sides; parameters */
    double *const at_left = ends, *const at_right = at_left + line, *const at_lower = at_right + line,
                  *const at_upper = at_lower + line, *const par = at_upper + line;
    qnm_dft_handle handle = NULL;

    for (size_t i = 0; i < line; ++i) {
        const double x = right * (double)i / n, y = upper * (double)i / n;
        at_left[i] = 0;
        at_right[i] = y / 4;  /* u_x */
        at_lower[i] = -x / 4; /* -u_y */
        at_upper[i] = x / 4;
        for (size_t j = 0; j < line; ++j)
            u[j * line + i] = load(x, upper * (double)j / n);
    }
    d_init_Helmholtz_2D(&left, &right, &lower, &upper, &n, &n, sides, &q, ipar, par, &stat);
    done(stat);
    d_commit_Helmholtz_2D(u, at_left, at_right, at_lower, at_upper, &handle, ipar, par, &stat);
    done(stat);
    d_Helmholtz_2D(u, at_left, at_right, at_lower, at_upper, &handle, ipar, par, &stat);
    done(stat);
    free_Helmholtz_2D(&handle, ipar, &stat);
    done(stat);
    free(ends);
    return u;
}

static double error_of(const double* u, int n)
{
    double worst = 0;
    for (int j = 0; j <= n; ++j)
        for (int i = 0; i <= n; ++i)
            worst = fmax(worst, fabs(u[j * (n + 1) + i] - height(2.0 * i / n, (double)j / n)));
    return worst;
}

/* ---- pictures */

static FILE* opened(const char* folder, const char* name)
{
    char path[4096];
    snprintf(path, sizeof path, "%s/%s", folder, name);
    FILE* const file = fopen(path, "w");
    if (file == NULL) {
        perror(path);
        exit(1);
    }
    return file;
}

static void begin(FILE* file, const char* title)
{
    fprintf(file,
            "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 720 360\" font-family=\"sans-serif\" "
            "font-size=\"12\">\n<rect width=\"720\" height=\"360\" fill=\"white\"/>\n"
            "<text x=\"24\" y=\"28\" font-size=\"15\">%s</text>\n",
            title);
}

static void end(FILE* file)
{
    fputs("</svg>\n", file);
    if (fclose(file) != 0) {
        perror("membrane");
        exit(1);
    }
}

/* A corner of the mesh as it is seen from the upper end, which is low: the free ends are behind. */
static void corner(FILE* file, const double* u, int i, int j)
{
    const double x = (double)i / drawn, deep = 1 - (double)j / drawn, high = u[j * (drawn + 1) + i];
    fprintf(file, "%.1f,%.1f ", 60 + 440 * x + 160 * deep, 330 - 100 * deep - 180 * high);
}

static void draw_membrane(FILE* file, const double* u)
{
    begin(file, "A membrane under load: fixed at the left and in front, free behind and at the right");
    for (int j = 0; j < drawn; ++j) /* what is in front is drawn last */
        for (int i = 0; i < drawn; ++i) {
            const double high = u[j * (drawn + 1) + i];
            fprintf(file, "<path d=\"M");
            corner(file, u, i, j);
            corner(file, u, i + 1, j);
            corner(file, u, i + 1, j + 1);
            corner(file, u, i, j + 1);
            fprintf(file, "Z\" fill=\"hsl(%.0f,70%%,60%%)\" stroke=\"#333\" stroke-width=\"0.3\"/>\n",
                    220 - 200 * high);
        }
    end(file);
}

/* The error over n, both by their logarithms, beside a line of slope 2. */
static void draw_error(FILE* file, const double error[meshes])
{
    const double left = 80, top = 50, bottom = 310, step = 600.0 / (meshes - 1), decade = 52;
    begin(file, "Largest error over the number of steps in a direction; dashed: slope 2");
    for (int power = 2; power <= 6; ++power)
        fprintf(file,
                "<path d=\"M%g %gh600\" stroke=\"#ddd\"/><text x=\"72\" y=\"%g\" "
                "text-anchor=\"end\">1e-%d</text>\n",
                left, top + decade * (power - 1), top + 4 + decade * (power - 1), power);
    fprintf(file, "<path d=\"M%g %gL%g %g\" stroke=\"#888\" stroke-dasharray=\"6 4\"/>\n", left,
            top - decade * (1 + log10(error[0])), left + step * (meshes - 1),
            top - decade * (1 + log10(error[0]) - 2 * (meshes - 1) * log10(2)));
    for (int m = 0; m < meshes; ++m)
        fprintf(file,
                "<circle cx=\"%g\" cy=\"%.1f\" r=\"4\" fill=\"#c40\"/><text x=\"%g\" y=\"%g\" "
                "text-anchor=\"middle\">%d</text>\n",
                left + step * m, top - decade * (1 + log10(error[m])), left + step * m, bottom + 22,
                coarsest << m);
    end(file);
}

static void draw_grey(FILE* file, const double* u)
{
    fprintf(file, "P2 %d %d 255\n", pictured, pictured);
    for (int j = pictured; j > 0; --j) /* a picture begins above */
        for (int i = 0; i < pictured; ++i)
            fprintf(file, "%d%c", (int)(255 * fmin(fmax(u[j * (pictured + 1) + i] / 1.1, 0), 1) + 0.5),
                    i + 1 < pictured ? ' ' : '\n');
    if (fclose(file) != 0) {
        perror("membrane");
        exit(1);
    }
}

int main(int count, char** words)
{
    double error[meshes];
    printf("   n        error   falls by\n");
    for (int m = 0; m < meshes; ++m) {
        const int n = coarsest << m;
        double* const u = solve(n);
        error[m] = error_of(u, n);
        if (m == 0)
            printf("%4d%13.4e\n", n, error[m]);
        else
            printf("%4d%13.4e%11.3f\n", n, error[m], error[m - 1] / error[m]);
        if (count > 1 && n == drawn)
            draw_membrane(opened(words[1], "membrane.svg"), u);
        if (count > 1 && n == pictured)
            draw_grey(opened(words[1], "membrane.pgm"), u);
        free(u);
    }
    if (count > 1)
        draw_error(opened(words[1], "membrane_error.svg"), error);
    return 0;
}
