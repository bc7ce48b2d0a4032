/*
 * Poisson's equation on the unit cube, -(u_xx + u_yy + u_zz) = f with u = 0 on its faces, by seven-point
 * differences: solved by PARDISO, solved again by conjugate gradients that ILU(0) preconditions, and analysed
 * by FEAST. f is chosen for u = x (1 - x) y (1 - y) z (1 - z), for which the differences are exact: what is
 * left is the error of the solver. In the 2-norm it is at most the residual divided by the lowest eigenvalue,
 * which stands beside it. Eigenvalues of these differences are known, and come several times.
 *
 * Compiled with WIDE, PARDISO gets 64-bit integers; the others have no such form. poisson3d.F90 and
 * poisson3d.py are the same program, with the same digits.
 *
 *     poisson3d_c_narrow [SIDE]      SIDE points in each direction, 10 to 40
 */
#include <qnm/services.h>
#include <qnm/solvers.h>
#include <qnm/sparse.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#ifdef WIDE
typedef qnm_int64 integer;
#define PARDISO_OF_WIDTH pardiso_64
#else
typedef int integer;
#define PARDISO_OF_WIDTH pardiso
#endif

enum { most_side = 40, most = most_side * most_side * most_side, most_elements = 7 * most, room = 30 };
static const double lowest = 0, highest = 150; /* 17 eigenvalues, a gap behind them */

static int side = 12, n;
/* The matrix by rows, indices from 1. */
static int start[most + 1], column[most_elements];
static double value[most_elements];
static double exact[most], b[most];

static void must(const char* what, int status)
{
    if (status != 0) {
        fprintf(stderr, "poisson3d: %s: %d\n", what, status);
        exit(1);
    }
}

static void make_problem(void)
{
    const double h = 1.0 / (side + 1);
    const int scale = (side + 1) * (side + 1);
    int count = 0;
    for (int i = 0; i < n; ++i) {
        const int x = i % side, y = i / side % side, z = i / (side * side);
        const int neighbour[] = {z > 0, y > 0, x > 0, 1, x < side - 1, y < side - 1, z < side - 1};
        const int away[] = {-side * side, -side, -1, 0, 1, side, side * side};
        start[i] = count + 1;
        for (int k = 0; k < 7; ++k)
            if (neighbour[k]) {
                column[count] = i + away[k] + 1;
                value[count++] = away[k] == 0 ? 6 * scale : -scale;
            }
        const double px = h * (x + 1) * (1 - h * (x + 1)), py = h * (y + 1) * (1 - h * (y + 1)),
                     pz = h * (z + 1) * (1 - h * (z + 1));
        exact[i] = px * py * pz;
        b[i] = 2 * (px * py + py * pz + pz * px);
    }
    start[n] = count + 1;
}

static void solve_directly(double* u)
{
    /* Of a symmetric matrix the upper triangle. */
    static integer starts[most + 1], columns[most_elements];
    static double values[most_elements];
    integer count = 0;
    for (int i = 0; i < n; ++i) {
        starts[i] = count + 1;
        for (int k = start[i] - 1; k < start[i + 1] - 1; ++k)
            if (column[k] > i) {
                columns[count] = column[k];
                values[count++] = value[k];
            }
    }
    starts[n] = count + 1;

    void* pt[64] = {0};
    integer iparm[64] = {0}; /* defaults */
    const integer one = 1, positive_definite = 2, all_steps = 13, release = -1, silent = 0, rows = n;
    integer error;
    PARDISO_OF_WIDTH(pt, &one, &one, &positive_definite, &all_steps, &rows, values, starts, columns, NULL,
                     &one, iparm, &silent, b, u, &error);
    must("pardiso", (int)error);
    PARDISO_OF_WIDTH(pt, &one, &one, &positive_definite, &release, &rows, NULL, NULL, NULL, NULL, &one, iparm,
                     &silent, NULL, NULL, &error);
    must("pardiso", (int)error);
}

/* Returns the number of steps. */
static int solve_by_steps(double* u)
{
    static double factors[most_elements], tmp[4 * most], between[most];
    double dpar[128];
    int ipar[128], request, steps;
    dcg_init(&n, u, b, &request, ipar, dpar, tmp);
    must("dcg_init", request);
    ipar[8] = 1;  /* it ends when the residual is small, */
    ipar[9] = 0;  /* and does not ask us */
    ipar[10] = 1; /* there is a preconditioner */
    dpar[0] = 1e-11;
    dcg_check(&n, u, b, &request, ipar, dpar, tmp);
    must("dcg_check", request);
    int status;
    dcsrilu0(&n, value, start, column, factors, ipar, dpar, &status);
    must("dcsrilu0", status);
    while (dcg(&n, u, b, &request, ipar, dpar, tmp), request > 0) {
        if (request == 1) {
            qnm_dcsrgemv("N", &n, value, start, column, tmp, tmp + n);
        } else {
            qnm_dcsrtrsv("L", "N", "U", &n, factors, start, column, tmp + 2 * n, between);
            qnm_dcsrtrsv("U", "N", "N", &n, factors, start, column, between, tmp + 3 * n);
        }
    }
    must("dcg", request);
    dcg_get(&n, u, b, &request, ipar, dpar, tmp, &steps);
    return steps;
}

/* Returns the number of eigenvalues. */
static int find_eigenvalues(double* eigenvalue, int* contours)
{
    static double vectors[room * most];
    double accuracy, residual[room];
    int fpm[128], columns = room, found, info;
    feastinit(fpm);
    dfeast_scsrev("F", &n, value, start, column, fpm, &accuracy, contours, &lowest, &highest, &columns,
                  eigenvalue, vectors, &found, residual, &info);
    must("dfeast_scsrev", info);
    return found;
}

static int ascending(const void* a, const void* other)
{
    const double x = *(const double*)a, y = *(const double*)other;
    return (x > y) - (x < y);
}

/* Eigenvalues of the differences are sums of those along the three axes. Returns how many are wanted. */
static int tell_formula(double* formula)
{
    double along[most_side];
    for (int k = 0; k < side; ++k) {
        const double s = sin(acos(-1) * (k + 1) / (2 * (side + 1)));
        along[k] = 4 * (side + 1) * (side + 1) * (s * s);
    }
    int count = 0;
    for (int i = 0; i < n; ++i) {
        const double sum = along[i % side] + along[i / side % side] + along[i / (side * side)];
        if (sum < highest && count < room)
            formula[count++] = sum;
    }
    qsort(formula, (size_t)count, sizeof *formula, ascending);
    return count;
}

/* Prints a row; returns whether the solution is right. */
static int tell_solution(const char* name, const double* u, double first_eigenvalue, double seconds)
{
    static double product[most];
    double worst = 0, sum = 0;
    qnm_dcsrgemv("N", &n, value, start, column, u, product);
    for (int i = 0; i < n; ++i) {
        worst = fmax(worst, fabs(u[i] - exact[i]));
        sum += (b[i] - product[i]) * (b[i] - product[i]);
    }
    const double bound = sqrt(sum) / first_eigenvalue;
    printf("%-20s%10.1E%10.1E%10.3f seconds\n", name, worst, bound, seconds);
    return worst < bound && bound < 1e-10;
}

int main(int argc, char** argv)
{
    static double direct[most], iterated[most];
    double eigenvalue[room], formula[room] = {0}, times[4];
    char name[32];
    int contours;
    if (argc > 1)
        side = atoi(argv[1]);
    if (side < 10 || side > most_side)
        return 2;
    n = side * side * side;
    make_problem();
    dsecnd(); /* the clock may need a moment at first */
    times[0] = dsecnd();
    solve_directly(direct);
    times[1] = dsecnd();
    const int steps = solve_by_steps(iterated);
    times[2] = dsecnd();
    const int found = find_eigenvalues(eigenvalue, &contours);
    times[3] = dsecnd();
    qsort(eigenvalue, (size_t)found, sizeof *eigenvalue, ascending);

    printf("%d points, %d elements\n", n, start[n] - 1);
    puts("                         error   at most");
    int good = tell_solution("PARDISO", direct, eigenvalue[0], times[1] - times[0]);
    snprintf(name, sizeof name, "DCG, %d steps", steps);
    good = tell_solution(name, iterated, eigenvalue[0], times[2] - times[1]) && good;
    good = good && found == tell_formula(formula);
    snprintf(name, sizeof name, "FEAST, %d contours", contours);
    printf("%-20s%30.3f seconds\n", name, times[3] - times[2]);
    puts("    eigenvalue  by the formula  times");
    for (int i = 0, next; i < found; i = next) {
        for (next = i; next < found && formula[next] - formula[i] < 1e-6; ++next)
            good = good && fabs(eigenvalue[next] / formula[next] - 1) < 1e-12;
        printf("%14.9f%16.9f%7d\n", eigenvalue[i], formula[i], next - i);
    }
    printf("All within their bounds, and %d eigenvalues below %.0f: %s\n", found, highest,
           good ? "yes" : "no");
    return good ? 0 : 1;
}
