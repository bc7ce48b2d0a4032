/* A program that was linked with another library of vector functions; with LIBRARY that library. */
#include <stdio.h>

void vdexp_(const int* n, const double* a, double* y);

#ifdef LIBRARY
__attribute__((visibility("default"))) void vdexp_(const int* n, const double* a, double* y)
{
    for (int i = 0; i < *n; ++i)
        y[i] = -a[i];
}
#else
int main(void)
{
    const int n = 2;
    const double a[] = {1, 2};
    double y[2];
    vdexp_(&n, a, y);
    printf("%.9f %.9f\n", y[0], y[1]);
    return 0;
}
#endif
