/* Calls the library, leaves a child behind, and ends; the child calls once more after a while. */
#include <stdint.h>
#include <unistd.h>

void dscal_(const int32_t* n, const double* alpha, double* x, const int32_t* incx);

int main(void)
{
    const int32_t n = 3, one = 1;
    const double alpha = 2;
    double x[3] = {1, 2, 3};
    dscal_(&n, &alpha, x, &one);
    if (fork() == 0) {
        usleep(300000);
        dscal_(&n, &alpha, x, &one);
        _exit(0);
    }
    return 5;
}
