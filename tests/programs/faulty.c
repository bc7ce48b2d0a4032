// Calls of several kinds: good ones of many sizes, some that are refused by the layer or by the core, and a
// query; and a name that only another library has.
#include <stddef.h>

void dgemm_(const char*, const char*, const int*, const int*, const int*, const double*, const double*,
            const int*, const double*, const int*, const double*, double*, const int*, size_t, size_t);
void dgesv_(const int*, const int*, double*, const int*, int*, double*, const int*, int*);
void dsyev_(const char*, const char*, const int*, double*, const int*, double*, double*, const int*, int*,
            size_t, size_t);
void dlasd4_(void);
void dscal_(const int*, const double*, double*, const int*);

enum { order = 50 };

int main(void)
{
    static double a[order * order], b[order * order], c[order * order], work[64 * order];
    int pivots[order], info = 0;
    const int lead = order, one = 1, minus_one = -1;
    const double factor = 0.5;
    for (int i = 0; i < order; ++i)
        for (int k = 0; k < order; ++k)
            a[i * order + k] = b[i * order + k] = (i == k) * order + 1.0 / (1 + i + k);
    for (int n = 1; n <= order; ++n) {
        dgemm_("N", "T", &n, &n, &n, &factor, a, &lead, b, &lead, &factor, c, &lead, 1, 1);
        for (int i = 0; i < 5; ++i)
            dscal_(&n, &factor, c, &one);
    }
    dgemm_("N", "<", &one, &one, &one, &factor, a, &lead, b, &lead, &factor, c, &lead, 1, 1);
    dgemm_("N", "N", &lead, &one, &one, &factor, a, &one, b, &lead, &factor, c, &lead, 1, 1);
    dgesv_(&minus_one, &one, a, &lead, pivots, b, &lead, &info);
    dsyev_("V", "U", &lead, a, &lead, b, work, &minus_one, &info, 1, 1);
    dgesv_(&lead, &one, a, &lead, pivots, b, &lead, &info);
    dlasd4_();
    return info;
}
