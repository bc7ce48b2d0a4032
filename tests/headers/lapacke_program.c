/* A program as one writes it for the reference header, unchanged: C or C++, integers of either width, complex
 * numbers of the language or pairs of reals. */
#include <lapacke.h>

#include <math.h>
#include <stdio.h>

static lapack_logical in_left_half(const lapack_complex_double* w)
{
    return lapack_complex_double_real(*w) < 0;
}

int main(void)
{
    double a[] = {2, 1, 1, 3}, b[] = {3, 5};
    lapack_complex_double m[4], w[2], vs[4];
    lapack_int pivots[2], chosen = 0;
    int i;
    /* By rows, and a diagonal matrix whose second eigenvalue is to come first. */
    const lapack_int solved = LAPACKE_dgesv(LAPACK_ROW_MAJOR, 2, 1, a, 2, pivots, b, 1);
    /* LAPACK itself, by address: an inverse. */
    lapack_int order = 2, room = 2, inverted = -1;
    double work[2], inverse[] = {2, 1, 1, 3};
    LAPACK_dgetrf(&order, &order, inverse, &order, pivots, &inverted);
    LAPACK_dgetri(&order, inverse, &order, pivots, work, &room, &inverted);
    /* By the linker's name: a query's answer stands in a complex workspace. */
    lapack_int query = -1, asked = -1;
    LAPACK_GLOBAL(zgetri, ZGETRI)(&order, m, &order, pivots, w, &query, &asked);
    const lapack_int enough = LAPACK_Z2INT(w[0]);
    for (i = 0; i < 4; ++i)
        m[i] = lapack_make_complex_double(i == 0 ? 1 : i == 3 ? -1 : 0, 0);
    const lapack_int sorted =
        LAPACKE_zgees(LAPACK_COL_MAJOR, 'V', 'S', in_left_half, 2, m, 2, &chosen, w, vs, 2);
    if (solved == 0 && inverted == 0 && asked == 0 && enough >= 2 && fabs(inverse[0] - 0.6) < 1e-14 &&
        sorted == 0 && fabs(b[0] - 0.8) < 1e-14 && fabs(b[1] - 1.4) < 1e-14 && chosen == 1 &&
        lapack_complex_double_real(w[0]) == -1)
        return 0;
    printf("wrong: dgesv %" LAPACK_IFMT ", %g %g; zgees %" LAPACK_IFMT ", %" LAPACK_IFMT " chosen\n", solved,
           b[0], b[1], sorted, chosen);
    return 1;
}
