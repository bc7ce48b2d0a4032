/*
 * Poisson's equation on the unit square, -(u_xx + u_yy) = f with u = 0 on the sides, by five-point
 * differences and conjugate gradients. The matrix is a handle; a step takes one product with it, and for its
 * preconditioner, a symmetric sweep of Gauss and Seidel, one solve with its lower and one with its upper
 * triangle.
 *
 * f is chosen for u = x (1 - x) y (1 - y), for which the differences are exact: what is left is the error of
 * the iteration. The same in Fortran is poisson_sparse.f90, with the same digits; poisson_sparse_eigen.cpp
 * has another library's products and solves.
 *
 *     poisson_sparse
 */
#include <math.h>
#include <qnm/sparse.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

enum { finest = 400, most_steps = 2000 };

static const qnm_sparse_descr_t general = {QNM_SPARSE_MATRIX_TYPE_GENERAL, QNM_SPARSE_FILL_MODE_FULL,
                                           QNM_SPARSE_DIAG_NON_UNIT};
static const qnm_sparse_descr_t lower = {QNM_SPARSE_MATRIX_TYPE_TRIANGULAR, QNM_SPARSE_FILL_MODE_LOWER,
                                         QNM_SPARSE_DIAG_NON_UNIT};
static const qnm_sparse_descr_t upper = {QNM_SPARSE_MATRIX_TYPE_TRIANGULAR, QNM_SPARSE_FILL_MODE_UPPER,
                                         QNM_SPARSE_DIAG_NON_UNIT};

static void must(qnm_sparse_status_t status)
{
    if (status != QNM_SPARSE_STATUS_SUCCESS) {
        fprintf(stderr, "poisson_sparse: status %d\n", (int)status);
        exit(1);
    }
}

static double* vector(int n)
{
    double* const v = calloc((size_t)n, sizeof *v);
    if (v == NULL)
        exit(1);
    return v;
}

static double dot(int n, const double* x, const double* y)
{
    double sum = 0;
    for (int i = 0; i < n; ++i)
        sum += x[i] * y[i];
    return sum;
}

/* The matrix of a grid of side by side points, by rows. */
static void five_points(int side, int* start, int* column, double* value)
{
    int count = 0;
    for (int i = 0; i < side * side; ++i) {
        const int x = i % side, y = i / side;
        const int neighbour[] = {y > 0, x > 0, 1, x < side - 1, y < side - 1};
        const int away[] = {-side, -1, 0, 1, side};
        start[i] = count;
        for (int k = 0; k < 5; ++k)
            if (neighbour[k]) {
                column[count] = i + away[k];
                value[count++] = away[k] == 0 ? 4 : -1;
            }
    }
    start[side * side] = count;
}

/* z := inv((D + L) inv(D) (D + U)) r, where D is 4 */
static void precondition(qnm_sparse_matrix_t a, int n, const double* r, double* work, double* z)
{
    must(qnm_sparse_d_trsv(QNM_SPARSE_OPERATION_NON_TRANSPOSE, 1, a, lower, r, work));
    for (int i = 0; i < n; ++i)
        work[i] *= 4;
    must(qnm_sparse_d_trsv(QNM_SPARSE_OPERATION_NON_TRANSPOSE, 1, a, upper, work, z));
}

/* Returns the number of steps. */
static int conjugate_gradients(qnm_sparse_matrix_t a, int n, const double* b, double* u)
{
    double *r = vector(n), *z = vector(n), *p = vector(n), *q = vector(n);
    int step = 0;
    for (int i = 0; i < n; ++i)
        r[i] = b[i];
    precondition(a, n, r, q, z);
    for (int i = 0; i < n; ++i)
        p[i] = z[i];
    double rho = dot(n, r, z);
    const double enough = 1e-12 * sqrt(dot(n, b, b));
    for (; sqrt(dot(n, r, r)) > enough && step < most_steps; ++step) {
        must(qnm_sparse_d_mv(QNM_SPARSE_OPERATION_NON_TRANSPOSE, 1, a, general, p, 0, q));
        const double alpha = rho / dot(n, p, q);
        for (int i = 0; i < n; ++i) {
            u[i] += alpha * p[i];
            r[i] -= alpha * q[i];
        }
        precondition(a, n, r, q, z);
        const double before = rho;
        rho = dot(n, r, z);
        for (int i = 0; i < n; ++i)
            p[i] = z[i] + rho / before * p[i];
    }
    free(q);
    free(p);
    free(z);
    free(r);
    return step;
}

int main(void)
{
    int good = 1;
    puts("      grid  steps  largest error  seconds");
    for (int side = finest / 8; side <= finest; side *= 2) {
        const int n = side * side;
        int *start = malloc(((size_t)n + 1) * sizeof *start),
            *column = malloc(5 * (size_t)n * sizeof *column);
        double *value = vector(5 * n), *b = vector(n), *u = vector(n), *exact = vector(n), worst = 0;
        if (start == NULL || column == NULL)
            return 1;
        five_points(side, start, column, value);
        const double h = 1.0 / (side + 1);
        for (int i = 0; i < n; ++i) {
            const double x = h * (i % side + 1), y = h * (i / side + 1), px = x * (1 - x), py = y * (1 - y);
            exact[i] = px * py;
            b[i] = h * h * (2 * (px + py));
        }
        const clock_t begin = clock();
        qnm_sparse_matrix_t a;
        must(qnm_sparse_d_create_csr(&a, QNM_SPARSE_INDEX_BASE_ZERO, n, n, start, start + 1, column, value));
        must(qnm_sparse_set_mv_hint(a, QNM_SPARSE_OPERATION_NON_TRANSPOSE, general, most_steps));
        must(qnm_sparse_set_sv_hint(a, QNM_SPARSE_OPERATION_NON_TRANSPOSE, lower, most_steps));
        must(qnm_sparse_set_sv_hint(a, QNM_SPARSE_OPERATION_NON_TRANSPOSE, upper, most_steps));
        must(qnm_sparse_optimize(a));
        const int steps = conjugate_gradients(a, n, b, u);
        must(qnm_sparse_destroy(a));
        const double seconds = (double)(clock() - begin) / CLOCKS_PER_SEC;
        for (int i = 0; i < n; ++i)
            worst = fmax(worst, fabs(u[i] - exact[i]));
        printf("%4d x %3d%7d%15.2E%9.3f\n", side, side, steps, worst, seconds);
        good = good && worst < 1e-11;
        free(exact);
        free(u);
        free(b);
        free(value);
        free(column);
        free(start);
    }
    printf("No point is further away than 1e-11: %s\n", good ? "yes" : "no");
    return good ? 0 : 1;
}
