/* Types and constants of the interfaces, for C (C99 and later) and C++ (C++11 and later).
 *
 * Complex numbers are pairs of reals, real part first. By default they are `float _Complex` in C and
 * std::complex<float> in C++; a program with a type of its own, of the same layout, defines
 * QNM_COMPLEX8 (two floats) and QNM_COMPLEX16 (two doubles) ahead of the first header. */
#ifndef QNM_TYPES_H
#define QNM_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#if !defined(QNM_COMPLEX8) || !defined(QNM_COMPLEX16)
#include <complex>
#endif
#endif

#ifndef QNM_COMPLEX8
#ifdef __cplusplus
#define QNM_COMPLEX8 std::complex<float>
#else
#define QNM_COMPLEX8 float _Complex
#endif
#endif

#ifndef QNM_COMPLEX16
#ifdef __cplusplus
#define QNM_COMPLEX16 std::complex<double>
#else
#define QNM_COMPLEX16 double _Complex
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Integers of the wide interface, whose names end in _64; the narrow one has int. */
typedef int64_t qnm_int64;

/* Complex numbers, named by their size in bytes. */
typedef QNM_COMPLEX8 qnm_complex8;
typedef QNM_COMPLEX16 qnm_complex16;

/* Elements that C lacks, as the bits of their formats: IEEE binary16, bfloat16 (the upper half of a float),
 * and 8-bit floating point with 4 or 5 bits of exponent (OCP E4M3 and E5M2), as the routine's name says. */
typedef unsigned short qnm_f16;
typedef unsigned short qnm_bf16;
typedef unsigned char qnm_f8;

/* Elements of the integer products. */
typedef signed char qnm_int8;
typedef unsigned char qnm_uint8;
typedef short qnm_int16;
typedef int qnm_int32;

/* What the core says of itself. The texts belong to the core and live as long as the process. */
typedef struct qnm_version_t {
    int major;
    int minor;
    int update;
    const char* product_status;
    const char* build;
    const char* processor;
    const char* platform;
} qnm_version_t;

/* An error handler, in the convention of Fortran. `srname` is the routine's name in upper case, `len` its
 * length; it may be padded with blanks, and no zero need follow. `*info` is the one-based position of the bad
 * argument, or one of the codes QNM_ERROR_*. A handler may return: the entry then returns too. */
typedef void (*qnm_xerbla_t)(const char* srname, const int* info, int len);

/* A procedure that a routine calls, with the arguments that its documentation tells: cast yours to this type.
 */
typedef void (*qnm_procedure_t)(void);

/* A progress callback of the solvers: the thread, the step, and the stage's name with its length, which no
 * zero need follow. Any answer but 0 asks the solver to stop. */
typedef int (*qnm_progress_t)(int* thread, int* step, char* stage, int stage_length);

/* The pivot callback of the direct solver; the types behind the addresses are those of the matrix. */
typedef int (*qnm_pardiso_pivot_t)(void* ai, void* bi, void* eps);

/* What ends the process in place of exit(). */
typedef void (*qnm_exit_t)(int status);

/* Products made at run time: C := alpha*op(A)*op(B) + beta*C, all else being fixed when they were made. */
typedef void (*qnm_sgemm_jit_kernel_t)(void* jitter, float* a, float* b, float* c);
typedef void (*qnm_dgemm_jit_kernel_t)(void* jitter, double* a, double* b, double* c);
typedef void (*qnm_cgemm_jit_kernel_t)(void* jitter, qnm_complex8* a, qnm_complex8* b, qnm_complex8* c);
typedef void (*qnm_zgemm_jit_kernel_t)(void* jitter, qnm_complex16* a, qnm_complex16* b, qnm_complex16* c);

/* Codes of reports that name no argument. */
enum {
    QNM_ERROR_MEMORY = 1000, /* no memory at a C interface */
    QNM_ERROR_SCRATCH = 1102 /* no memory for 64-bit copies of integer arrays */
};

/* Codes of options where they come as integers. */
enum {
    QNM_ROW_MAJOR = 101,
    QNM_COL_MAJOR = 102,
    QNM_NOTRANS = 111,
    QNM_TRANS = 112,
    QNM_CONJTRANS = 113,
    QNM_UPPER = 121,
    QNM_LOWER = 122,
    QNM_NONUNIT = 131,
    QNM_UNIT = 132,
    QNM_LEFT = 141,
    QNM_RIGHT = 142
};

/* What making a product at run time, or its release, comes to. */
enum {
    QNM_JIT_DONE = 0,
    QNM_JIT_NO_CODE = 1, /* the kernel works, through the core's general product */
    QNM_JIT_FAILED = 2   /* a bad argument, or no memory */
};

#ifdef __cplusplus
}
#endif

#endif
