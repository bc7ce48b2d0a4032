/* A program for FFTW: with its header or with ours, and with either library. */
#ifdef QNM_WITH_COMPLEX
#include <complex.h>
#endif
#include <fftw3.h>
#include <math.h>

typedef char as_told[sizeof(fftw_iodim) == 12 && sizeof(fftwf_iodim64) == 24 && sizeof(fftw_complex) == 16 &&
                             sizeof(fftwf_complex) == 8 && FFTW_DHT == 2 && FFTW_REDFT00 == 3 &&
                             FFTW_REDFT01 == 4 && FFTW_REDFT10 == 5 && FFTW_REDFT11 == 6 &&
                             FFTW_RODFT00 == 7 && FFTW_RODFT01 == 8 && FFTW_RODFT10 == 9 &&
                             FFTW_RODFT11 == 10 && FFTW_FORWARD == -1 && FFTW_BACKWARD == 1 &&
                             FFTW_MEASURE == 0 && FFTW_DESTROY_INPUT == 1 && FFTW_UNALIGNED == 2 &&
                             FFTW_CONSERVE_MEMORY == 4 && FFTW_EXHAUSTIVE == 8 && FFTW_PRESERVE_INPUT == 16 &&
                             FFTW_PATIENT == 32 && FFTW_ESTIMATE == 64 && FFTW_WISDOM_ONLY == 2097152
                         ? 1
                         : -1];

/* The sum of ones in one precision, whose types and functions begin with P. */
#define SUM(P, real)                                                                                         \
    static double P##sum(void)                                                                               \
    {                                                                                                        \
        P##iodim dims[2] = {{6, 5, 3}, {5, 1, 1}};                                                           \
        real x[36], y[30], i;                                                                                \
        P##plan plan = P##plan_guru_dft_r2c(2, dims, 0, NULL, y, (P##complex*)x, FFTW_ESTIMATE);             \
        for (i = 0; i < 30; ++i)                                                                             \
            y[(int)i] = 1;                                                                                   \
        P##execute(plan);                                                                                    \
        P##destroy_plan(plan);                                                                               \
        return x[0] + fabs(x[35]);                                                                           \
    }
SUM(fftw_, double)
SUM(fftwf_, float)

int main(void)
{
    return fabs(fftw_sum() - 30) > 1e-13 || fabs(fftwf_sum() - 30) > 1e-5 || fftw_init_threads() == 0 ||
           (fftw_version[0] | 32) != 'f';
}
