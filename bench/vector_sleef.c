// Loops over SLEEF's vectors, the last elements one by one. Compiled for each instruction set.
#include <immintrin.h>
#include <sleef.h>

#if defined __AVX512F__
#define DOUBLES __m512d
#define FLOATS __m512
#define D(op) _mm512_##op##_pd
#define S(op) _mm512_##op##_ps
#define SLEEF_D(name) Sleef_##name##d8_u10avx512f
#define SLEEF_S(name) Sleef_##name##f16_u10avx512f
#elif defined __AVX2__
#define DOUBLES __m256d
#define FLOATS __m256
#define D(op) _mm256_##op##_pd
#define S(op) _mm256_##op##_ps
#define SLEEF_D(name) Sleef_##name##d4_u10avx2
#define SLEEF_S(name) Sleef_##name##f8_u10avx2
#else
#define DOUBLES __m128d
#define FLOATS __m128
#define D(op) _mm_##op##_pd
#define S(op) _mm_##op##_ps
#define SLEEF_D(name) Sleef_##name##d2_u10sse2
#define SLEEF_S(name) Sleef_##name##f4_u10sse2
#endif

#define JOINED(set, name) sleef_##set##_##name
#define NAMED(set, name) JOINED(set, name)
#define LOOP(name, T, vector, op, vectors, element)                                                          \
    void NAMED(SET, name)(int n, const void* first, const void* second, void* result)                        \
    {                                                                                                        \
        enum { lanes = sizeof(vector) / sizeof(T) };                                                         \
        const T* a = first;                                                                                  \
        T* y = result;                                                                                       \
        int i = 0;                                                                                           \
        (void)second;                                                                                        \
        for (; i + lanes <= n; i += lanes)                                                                   \
            op(storeu)(y + i, vectors(op(loadu)(a + i)));                                                    \
        for (; i < n; ++i)                                                                                   \
            y[i] = element(a[i]);                                                                            \
    }

LOOP(vdExp, double, DOUBLES, D, SLEEF_D(exp), Sleef_exp_u10)
LOOP(vdLn, double, DOUBLES, D, SLEEF_D(log), Sleef_log_u10)
LOOP(vdErf, double, DOUBLES, D, SLEEF_D(erf), Sleef_erf_u10)
LOOP(vsExp, float, FLOATS, S, SLEEF_S(exp), Sleef_expf_u10)
