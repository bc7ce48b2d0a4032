/* Complex functions as programs beside GNU Fortran call them: C or C++, both widths, both precisions. */
#include <qnm/qnm.h>

#include <string.h>

#define IS(type, real, imaginary, call)                                                                      \
    do {                                                                                                     \
        const type value = call;                                                                             \
        type##_part parts[2];                                                                                \
        memcpy(parts, &value, sizeof value);                                                                 \
        failures += !(parts[0] == real && parts[1] == imaginary);                                            \
    } while (0)

typedef float qnm_complex8_part;
typedef double qnm_complex16_part;

int main(void)
{
    const int n = 2, one = 1;
    const qnm_int64 n8 = 2, one8 = 1;
    const float x4[4] = {1, 2, 3, 0};
    const double x8[4] = {1, 2, 3, 0};
    qnm_complex8 x[2];
    qnm_complex16 z[2];
    int failures = 0;
    memcpy(x, x4, sizeof x);
    memcpy(z, x8, sizeof z);
    IS(qnm_complex16, 14, 0, zdotc_(&n, z, &one, z, &one));
    IS(qnm_complex8, 6, 4, cdotu_64_(&n8, x, &one8, x, &one8));
    IS(qnm_complex8, 14, 0, cdotc_(&n, x, &one, x, &one));
    IS(qnm_complex16, 6, 4, zdotu_64_(&n8, z, &one8, z, &one8));
    IS(qnm_complex16, 1, 0, zladiv_(z, z));
    return failures;
}
