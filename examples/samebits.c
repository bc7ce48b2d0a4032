/*
 * Prints the results of some BLAS calls on fixed data as bits, one number a line. The same calls stand
 * in samebits.F90; compiled with WIDE, each program uses the entries with 64-bit integers. All four
 * must print the same lines.
 */
#include <complex.h>
#include <inttypes.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#ifdef WIDE
typedef int64_t integer;
#define BLAS(name) name##_64_
#define COMPLEX_FUNCTION(NAME) NAME##_64
#else
typedef int32_t integer;
#define BLAS(name) name##_
#define COMPLEX_FUNCTION(NAME) NAME
#endif

typedef double complex zcomplex;

double BLAS(ddot)(const integer* n, const double* x, const integer* incx, const double* y,
                  const integer* incy);
double BLAS(dnrm2)(const integer* n, const double* x, const integer* incx);
float BLAS(sasum)(const integer* n, const float* x, const integer* incx);
int BLAS(idamax)(const integer* n, const double* x, const integer* incx);
void BLAS(daxpy)(const integer* n, const double* alpha, const double* x, const integer* incx, double* y,
                 const integer* incy);
void BLAS(drot)(const integer* n, double* x, const integer* incx, double* y, const integer* incy,
                const double* c, const double* s);
/* A complex function stores its value behind its first argument. The lower-case names belong to GNU
   Fortran's convention as soon as the adapter for its programs is loaded. */
void COMPLEX_FUNCTION(ZDOTC)(zcomplex* result, const integer* n, const zcomplex* x, const integer* incx,
                             const zcomplex* y, const integer* incy);
void COMPLEX_FUNCTION(CDOTU)(float complex* result, const integer* n, const float complex* x,
                             const integer* incx, const float complex* y, const integer* incy);
void BLAS(dgemv)(const char* trans, const integer* m, const integer* n, const double* alpha, const double* a,
                 const integer* lda, const double* x, const integer* incx, const double* beta, double* y,
                 const integer* incy, size_t len_trans);
void BLAS(zhemv)(const char* uplo, const integer* n, const zcomplex* alpha, const zcomplex* a,
                 const integer* lda, const zcomplex* x, const integer* incx, const zcomplex* beta,
                 zcomplex* y, const integer* incy, size_t len_uplo);
void BLAS(dtrsv)(const char* uplo, const char* trans, const char* diag, const integer* n, const double* a,
                 const integer* lda, double* x, const integer* incx, size_t len_uplo, size_t len_trans,
                 size_t len_diag);
void BLAS(sgemm)(const char* transa, const char* transb, const integer* m, const integer* n, const integer* k,
                 const float* alpha, const float* a, const integer* lda, const float* b, const integer* ldb,
                 const float* beta, float* c, const integer* ldc, size_t len_transa, size_t len_transb);
void BLAS(dgemm)(const char* transa, const char* transb, const integer* m, const integer* n, const integer* k,
                 const double* alpha, const double* a, const integer* lda, const double* b,
                 const integer* ldb, const double* beta, double* c, const integer* ldc, size_t len_transa,
                 size_t len_transb);
void BLAS(zherk)(const char* uplo, const char* trans, const integer* n, const integer* k, const double* alpha,
                 const zcomplex* a, const integer* lda, const double* beta, zcomplex* c, const integer* ldc,
                 size_t len_uplo, size_t len_trans);
void BLAS(dtrsm)(const char* side, const char* uplo, const char* transa, const char* diag, const integer* m,
                 const integer* n, const double* alpha, const double* a, const integer* lda, double* b,
                 const integer* ldb, size_t len_side, size_t len_uplo, size_t len_transa, size_t len_diag);

enum { size = 13, area = size * size };

/* Numbers of no short binary form, so that another order of summation shows. */
static void fill(double* values, int count, int seed)
{
    for (int i = 0; i < count; ++i)
        values[i] = ((i + 1) * 37 % 101 + seed - 50) / 7.0;
}

static void narrow_to_single(float* to, const double* from, int count)
{
    for (int i = 0; i < count; ++i)
        to[i] = (float)from[i];
}

static void print(const char* name, const double* values, int count)
{
    for (int i = 0; i < count; ++i) {
        uint64_t bits;
        memcpy(&bits, &values[i], sizeof bits);
        printf("%-6s %016" PRIX64 "\n", name, bits);
    }
}

static void print_single(const char* name, const float* values, int count)
{
    for (int i = 0; i < count; ++i) {
        uint32_t bits;
        memcpy(&bits, &values[i], sizeof bits);
        printf("%-6s %08" PRIX32 "\n", name, bits);
    }
}

int main(void)
{
    const integer n = size, one = 1, two = 2, half = 6;
    const double alpha = 0.3, beta = 0.7;
    const float alphas = 0.3F, betas = 0.7F;
    const zcomplex zalpha = 0.3 + 0.1 * I, zbeta = 0.7 - 0.2 * I;
    double x[2 * size], y[2 * size], a[2 * area], b[area], c[2 * area], value;
    float xs[2 * size], ys[2 * size], as[area], bs[area], cs[area], single;
    const zcomplex *zx = (const zcomplex*)x, *za = (const zcomplex*)a;
    zcomplex zvalue;
    float complex cvalue;

    fill(x, 2 * size, 1);
    fill(y, 2 * size, 2);
    fill(a, 2 * area, 3);
    fill(b, area, 4);
    narrow_to_single(xs, x, 2 * size);
    narrow_to_single(ys, y, 2 * size);
    narrow_to_single(as, a, area);
    narrow_to_single(bs, b, area);

    value = BLAS(ddot)(&n, x, &one, y, &two);
    print("ddot", &value, 1);
    value = BLAS(dnrm2)(&n, x, &one);
    print("dnrm2", &value, 1);
    single = BLAS(sasum)(&n, xs, &two);
    print_single("sasum", &single, 1);
    value = BLAS(idamax)(&n, x, &one);
    print("idamax", &value, 1);
    BLAS(daxpy)(&n, &alpha, x, &one, y, &two);
    print("daxpy", y, 2 * size);
    BLAS(drot)(&half, x, &one, y, &one, &alpha, &beta);
    print("drot", x, size);
    COMPLEX_FUNCTION(ZDOTC)(&zvalue, &n, zx, &one, (const zcomplex*)y, &one);
    print("zdotc", (const double*)&zvalue, 2);
    COMPLEX_FUNCTION(CDOTU)(&cvalue, &n, (const float complex*)xs, &one, (const float complex*)ys, &one);
    print_single("cdotu", (const float*)&cvalue, 2);

    BLAS(dgemv)("T", &n, &n, &alpha, a, &n, x, &one, &beta, y, &one, 1);
    print("dgemv", y, size);
    BLAS(zhemv)("U", &n, &zalpha, za, &n, zx, &one, &zbeta, (zcomplex*)y, &one, 1);
    print("zhemv", y, 2 * size);
    BLAS(dtrsv)("L", "N", "U", &half, b, &n, y, &two, 1, 1, 1);
    print("dtrsv", y, 2 * size);

    fill(c, 2 * area, 5);
    narrow_to_single(cs, c, area);
    BLAS(sgemm)("N", "T", &n, &half, &n, &alphas, as, &n, bs, &n, &betas, cs, &n, 1, 1);
    print_single("sgemm", cs, area);
    BLAS(dgemm)("T", "N", &n, &n, &n, &alpha, a, &n, b, &n, &beta, c, &n, 1, 1);
    print("dgemm", c, area);
    BLAS(zherk)("L", "C", &n, &n, &alpha, za, &n, &beta, (zcomplex*)c, &n, 1, 1);
    print("zherk", c, 2 * area);
    BLAS(dtrsm)("R", "U", "T", "U", &n, &half, &alpha, a, &n, b, &n, 1, 1, 1, 1);
    print("dtrsm", b, area);
    return 0;
}
