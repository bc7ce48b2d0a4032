/* A program as it is written for the reference CBLAS: one include, its enumerations, types and words. The
 * build makes it with our header in place of the reference's, in C and in C++. */
#include "cblas.h"

#include <stdio.h>

/* Programs may bring their own, of the reference's signature: the header must not stand in their way. */
void cblas_xerbla(CBLAS_INT p, const char* rout, const char* form, ...);

typedef void gemm_function(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE TransA, CBLAS_TRANSPOSE TransB,
                           const CBLAS_INT M, const CBLAS_INT N, const CBLAS_INT K, const double alpha,
                           const double* A, const CBLAS_INT lda, const double* B, const CBLAS_INT ldb,
                           const double beta, double* C, const CBLAS_INT ldc);

int main(void)
{
    gemm_function* const gemm = cblas_dgemm;
    const CBLAS_ORDER order = CblasRowMajor;
    const enum CBLAS_UPLO uplo = CblasUpper;
    const double a[4] = {1, 2, 3, 4}, b[4] = {5, 6, 7, 8};
    double c[4] = {0, 0, 0, 0};
    const float z[2] = {1, 2}, w[2] = {3, 4};
    float product[2];
    const CBLAS_INDEX largest = cblas_idamax(4, a, 1);
    char text[16];

    gemm(order, CblasNoTrans, CblasTrans, 2, 2, 2, 1.0, a, 2, b, 2, 0.0, c, 2);
    cblas_cdotu_sub(1, z, 1, w, 1, product);
    if (largest != 3 || c[0] != 17 || c[1] != 23 || c[2] != 39 || c[3] != 53 || product[0] != -5 ||
        product[1] != 10)
        return 1;
    cblas_dsyr(CblasColMajor, uplo, 2, 1.0, a, 1, c, 2);
    if (c[0] != 18 || c[1] != 23 || c[2] != 41 || c[3] != 57)
        return 2;
    snprintf(text, sizeof text, "%" CBLAS_IFMT, (CBLAS_INT)-3);
    return text[0] == '-' && text[1] == '3' ? 0 : 3;
}
