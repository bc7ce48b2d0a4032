/* A layer in miniature: entries in the frame's shape, over a handful of names of the core. */
#ifndef QNM_SAMPLE_LAYER_H
#define QNM_SAMPLE_LAYER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Checked and traced: registers a head, checks, widens, calls qnm_blas_dgemm(trans, m, a, 1), prints a line.
 */
void sample_gemm(const char* trans, const int32_t* m, const double* a);
/* Results in both kinds of vector register. */
double sample_dot(const int32_t* n);
float sample_sdot(const int32_t* n);
/* Scratch of n wide integers, handed to qnm_blas_daxpyi; reports 1102 if it cannot be had. */
void sample_axpyi(const int32_t* n, const int32_t* indx);
/* Tail jump into the core with whatever arguments came. */
void sample_forward(void);
/* The head that sample_gemm registers, and the last code that it got. */
void sample_head(const char* srname, const int32_t* info, int32_t len);
int32_t sample_last_code(void);

#ifdef __cplusplus
}
#endif

#endif
