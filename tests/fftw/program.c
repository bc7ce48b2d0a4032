/* A program for FFTW: with its header or with ours, and with either library. */
#ifdef QNM_WITH_COMPLEX
#include <complex.h>
#endif
#include <fftw3.h>
#include <math.h>
#include <stdio.h>

typedef char types_are_as_told
    [sizeof(fftw_iodim) == 3 * sizeof(int) && sizeof(fftwf_iodim64) == 3 * sizeof(ptrdiff_t) &&
             sizeof(fftw_complex) == 16 && sizeof(fftwf_complex) == 8 && sizeof(fftw_r2r_kind) == 4 &&
             FFTW_R2HC == 0 && FFTW_HC2R == 1 && FFTW_DHT == 2 && FFTW_REDFT00 == 3 && FFTW_REDFT01 == 4 &&
             FFTW_REDFT10 == 5 && FFTW_REDFT11 == 6 && FFTW_RODFT00 == 7 && FFTW_RODFT01 == 8 &&
             FFTW_RODFT10 == 9 && FFTW_RODFT11 == 10 && FFTW_FORWARD == -1 && FFTW_BACKWARD == 1 &&
             (FFTW_MEASURE | FFTW_DESTROY_INPUT | FFTW_UNALIGNED | FFTW_CONSERVE_MEMORY | FFTW_EXHAUSTIVE |
              FFTW_PRESERVE_INPUT | FFTW_PATIENT | FFTW_ESTIMATE) == 127 &&
             FFTW_WISDOM_ONLY == 1U << 21
         ? 1
         : -1];

static int failures = 0;

static void expect(int good, const char* what)
{
    if (!good)
        printf("%s: wrong\n", what);
    failures += !good;
}

/* There and back in one precision, whose types and functions begin with P. */
#define THERE_AND_BACK(P, real, epsilon)                                                                     \
    do {                                                                                                     \
        P##iodim dims[2] = {{6, 10, 10}, {5, 1, 1}};                                                         \
        P##complex* x = P##alloc_complex(60);                                                                \
        real *r = (real*)x, *y = P##alloc_real(60);                                                          \
        P##plan there = P##plan_guru_dft(2, dims, 0, NULL, x, x, FFTW_FORWARD, FFTW_ESTIMATE);               \
        P##plan back = P##plan_guru_dft(2, dims, 0, NULL, x, x, FFTW_BACKWARD, FFTW_ESTIMATE);               \
        P##plan half = P##plan_dft_r2c_2d(6, 5, y, x, FFTW_ESTIMATE);                                        \
        int i;                                                                                               \
        double worst = 0;                                                                                    \
        for (i = 0; i < 120; ++i)                                                                            \
            r[i] = (real)(i % 7) - 3;                                                                        \
        P##execute(there);                                                                                   \
        P##execute_dft(back, x, x);                                                                          \
        for (i = 0; i < 120; ++i)                                                                            \
            worst = fmax(worst, fabs(r[i] / (i % 20 < 10 ? 30 : 1) - ((i % 7) - 3)));                        \
        expect(worst < 30 * (epsilon), #P "plan_guru_dft");                                                  \
        for (i = 0; i < 30; ++i)                                                                             \
            y[i] = 1;                                                                                        \
        P##execute(half);                                                                                    \
        expect(fabs(r[0] - 30) < 30 * (epsilon) && fabs(r[35]) < 30 * (epsilon), #P "plan_dft_r2c_2d");      \
        expect(P##alignment_of(y) == 0 && P##init_threads() != 0, #P "init_threads");                        \
        P##plan_with_nthreads(2);                                                                            \
        P##destroy_plan(half);                                                                               \
        P##destroy_plan(back);                                                                               \
        P##destroy_plan(there);                                                                              \
        P##free(y);                                                                                          \
        P##free(x);                                                                                          \
        P##cleanup_threads();                                                                                \
    } while (0)

int main(void)
{
    THERE_AND_BACK(fftw_, double, 1e-15);
    THERE_AND_BACK(fftwf_, float, 6e-7);
    expect((fftw_version[0] | 32) == 'f' && (fftwf_version[0] | 32) == 'f', "fftw_version");
    return failures != 0;
}
