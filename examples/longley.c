/*
 * Longley's regression by BLAS alone: each observation is turned into the triangular factor by Givens
 * rotations (drotg, drot), and the factor is solved for the estimates (dtrsv). An ordinary program: it knows
 * nothing of the library that runs it.
 */
#include "longley.h"

#include <stddef.h>
#include <string.h>

double dnrm2_(const int* n, const double* x, const int* incx);
void dscal_(const int* n, const double* alpha, double* x, const int* incx);
void drotg_(double* a, double* b, double* c, double* s);
void drot_(const int* n, double* x, const int* incx, double* y, const int* incy, const double* c,
           const double* s);
void dcopy_(const int* n, const double* x, const int* incx, double* y, const int* incy);
void dgemv_(const char* trans, const int* m, const int* n, const double* alpha, const double* a,
            const int* lda, const double* x, const int* incx, const double* beta, double* y, const int* incy,
            size_t len_trans);
void dtrsv_(const char* uplo, const char* trans, const char* diag, const int* n, const double* a,
            const int* lda, double* x, const int* incx, size_t len_uplo, size_t len_trans, size_t len_diag);

int main(void)
{
    const int rows = observations, columns = terms, one = 1;
    const double plus = 1, minus = -1;
    double x[terms][observations]; /* column by column, as Fortran has it */
    double y[observations];
    double scale[terms];
    int i, j;

    dcopy_(&rows, &data[0][0], &columns, y, &one);
    for (j = 0; j < terms; ++j) {
        for (i = 0; i < observations; ++i)
            x[j][i] = j == 0 ? 1 : data[i][j];
        /* Columns of one length: the numbers of people and the years differ by orders of magnitude. */
        scale[j] = 1 / dnrm2_(&rows, x[j], &one);
        dscal_(&rows, &scale[j], x[j], &one);
    }

    /* The triangular factor grows observation by observation; its last column is the right-hand side. */
    double r[terms + 1][terms];
    memset(r, 0, sizeof r);
    for (i = 0; i < observations; ++i) {
        double row[terms + 1];
        dcopy_(&columns, &x[0][i], &rows, row, &one);
        row[terms] = y[i];
        for (j = 0; j < terms; ++j) {
            const int rest = terms - j;
            double c, s;
            drotg_(&r[j][j], &row[j], &c, &s);
            drot_(&rest, &r[j + 1][j], &columns, &row[j + 1], &one, &c, &s);
        }
    }

    double estimate[terms];
    dcopy_(&columns, r[terms], &one, estimate, &one);
    dtrsv_("U", "N", "N", &columns, &r[0][0], &columns, estimate, &one, 1, 1, 1);

    double residual[observations];
    dcopy_(&rows, y, &one, residual, &one);
    dgemv_("N", &rows, &columns, &minus, &x[0][0], &rows, estimate, &one, &plus, residual, &one, 1);
    for (j = 0; j < terms; ++j)
        estimate[j] *= scale[j];
    return judge(estimate, dnrm2_(&rows, residual, &one));
}
