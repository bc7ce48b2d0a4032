#include "sample_layer.h"

#include <stddef.h>

typedef void handler(const char*, const int32_t*, int32_t);

/* The core, by name only. */
extern void qnm_serv_set_xerbla_interface(handler*);
extern void qnm_serv_xerbla(const char*, const void*, int32_t);
extern void qnm_serv_default_xerbla(const char*, const int32_t*, int32_t);
extern int32_t qnm_serv_lsame(const char*, const char*, int64_t, int64_t);
extern int* qnm_serv_verbose_mode(void);
extern double qnm_serv_dsecnd(void);
extern int qnm_serv_snprintf_s(char*, size_t, size_t, const char*, ...);
extern void qnm_serv_print_verbose_info(int, const char*, double);
extern void* qnm_serv_allocate(size_t, int);
extern void qnm_serv_deallocate(void*);
extern void* qnm_serv_malloc(size_t, int);
extern void* qnm_serv_calloc(size_t, size_t, int);
extern void* qnm_serv_realloc(void*, size_t);
extern void qnm_serv_free(void*);
extern size_t qnm_serv_strnlen_s(const char*, size_t);
extern int qnm_serv_strncat_s(char*, size_t, const char*, size_t);
extern void qnm_blas_dgemm(const char*, const int64_t*, const double*, int64_t);
extern double qnm_blas_ddot(const int64_t*);
extern float qnm_blas_sdot(const int64_t*);
extern void qnm_blas_daxpyi(const int64_t*, const int64_t*);
extern void qnm_blas_forwarded(void);

static const int unknown __asm__("sample.verbose_unknown") = -1;
static const int* cell __asm__("sample.verbose_ptr") = &unknown;
static int32_t last_code;

void sample_head(const char* srname, const int32_t* info, int32_t len)
{
    last_code = *info;
    qnm_serv_default_xerbla(srname, info, len);
}

int32_t sample_last_code(void)
{
    return last_code;
}

void sample_gemm(const char* trans, const int32_t* m, const double* a)
{
    qnm_serv_set_xerbla_interface(sample_head);
    if (!qnm_serv_lsame(trans, "N", 1, 1)) {
        const int32_t code = 1;
        qnm_serv_xerbla("SAMPLE ", &code, 7);
        return;
    }
    const int64_t m64 = *m;
    if (*__atomic_load_n(&cell, __ATOMIC_RELAXED) == -1)
        __atomic_store_n(&cell, qnm_serv_verbose_mode(), __ATOMIC_RELAXED);
    if (*__atomic_load_n(&cell, __ATOMIC_RELAXED) == 0) {
        qnm_blas_dgemm(trans, &m64, a, 1);
        return;
    }
    const double start = qnm_serv_dsecnd();
    qnm_blas_dgemm(trans, &m64, a, 1);
    const double elapsed = qnm_serv_dsecnd() - start;
    char line[450];
    qnm_serv_snprintf_s(line, sizeof line, sizeof line - 1, "SAMPLE(%c,%d,%p)", *trans, *m, (const void*)a);
    line[449] = 0;
    qnm_serv_print_verbose_info(1, line, elapsed);
}

double sample_dot(const int32_t* n)
{
    const int64_t n64 = *n;
    return qnm_blas_ddot(&n64);
}

float sample_sdot(const int32_t* n)
{
    const int64_t n64 = *n;
    return qnm_blas_sdot(&n64);
}

void sample_axpyi(const int32_t* n, const int32_t* indx)
{
    const int64_t n64 = *n;
    int64_t* scratch = qnm_serv_allocate((size_t)n64 * 8, 128);
    if (scratch == NULL) {
        const int64_t code = 1102;
        qnm_serv_xerbla("SAXPYI", &code, 6);
        return;
    }
    for (int64_t i = 0; i < n64; ++i)
        scratch[i] = indx[i];
    qnm_blas_daxpyi(&n64, scratch);
    qnm_serv_deallocate(scratch);
}

/* Imported for the tests, which call these services with arguments of their own. */
void* const sample_imports[] = {
    (void*)(uintptr_t)qnm_serv_malloc,    (void*)(uintptr_t)qnm_serv_calloc,
    (void*)(uintptr_t)qnm_serv_realloc,   (void*)(uintptr_t)qnm_serv_free,
    (void*)(uintptr_t)qnm_serv_strnlen_s, (void*)(uintptr_t)qnm_serv_strncat_s,
};

__asm__(".text\n"
        ".globl sample_forward\n"
        ".type sample_forward, @function\n"
        "sample_forward: jmp qnm_blas_forwarded@PLT\n"
        ".size sample_forward, .-sample_forward");
