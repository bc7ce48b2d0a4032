/* Asks for plans that cannot be made, and for one that can, whose result it looks at. */
#include <errno.h>
#include <qnm/fftw3.h>
#include <stddef.h>

void sfftw_plan_dft_(fftwf_plan*, const int* rank, const int* n, void* in, void* out, const int* sign,
                     const unsigned* flags);
void dfftw_plan_dft_r2c_1d_(fftw_plan*, const int* n, void* in, void* out, const unsigned* flags);

int main(void)
{
    double x[36], y[36];
    fftwf_complex z[36];
    const int n[] = {4, 0}, kind[] = {5, 5}, rank = 2, length = 3, sign = -1;
    const unsigned flags = 64;
    const fftw_iodim row = {4, 1, 1}, rows[] = {{3, 4, 4}, {2, 12, 12}};
    fftw_plan plan = fftw_plan_r2r_1d(3, x, x, FFTW_REDFT00, flags);
    if (plan == NULL)
        return 1;
    x[0] = 1, x[1] = 2, x[2] = 3;
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    if (x[0] < 7.99 || x[0] > 8.01)
        return 2;

    errno = 7;
    plan = fftw_plan_dft_r2c(2, n, x, (fftw_complex*)x, flags); /* comes down to another planner */
    if (plan != NULL || errno != 7)
        return 3;
    fftw_plan_r2r_1d(8, x, y, FFTW_DHT, flags);
    fftw_plan_r2r_1d(9, x, y, FFTW_DHT, flags);
    fftw_plan_r2r(2, n, x, y, (const fftw_r2r_kind*)kind, flags);
    fftw_plan_guru_split_dft_r2c(1, &row, 2, rows, x, x, y, flags);
    fftwf_plan_many_dft(1, n, 3, z, NULL, 1, 4, z, n, 1, 5, 1, flags);
    fftw_plan_dft(0, NULL, NULL, NULL, 1, flags);

    fftwf_plan slot = (fftwf_plan)x;
    sfftw_plan_dft_(&slot, &rank, n, z, z, &sign, &flags);
    if (slot != NULL)
        return 4;
    dfftw_plan_dft_r2c_1d_(NULL, &length, x, y, &flags);
    return 0;
}
