// LAPACK's drivers from C: by rows they have to come to what they come to by columns, to the last bit, since
// both give the engine the same matrices.
#include <algorithm>
#include <gtest/gtest.h>
#include <initializer_list>
#include <random>
#include <vector>

#include <qnm/lapacke.h>

namespace {

constexpr int n = 6, m = 9, few = 3;
constexpr int layouts[] = {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR};

/// The same matrix in both layouts, each with a leading dimension larger than it must be.
struct Matrix {
    int rows, columns;
    std::vector<double> by_rows, by_columns;

    Matrix(int r, int c, unsigned seed, double on_diagonal = 0, bool symmetric = false)
        : rows(r),
          columns(c),
          by_rows(static_cast<std::size_t>(r * (c + 1)), 7),
          by_columns(static_cast<std::size_t>((r + 2) * c), 7)
    {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> number(-1, 1);
        for (int i = 0; i < r; ++i)
            for (int j = 0; j < c; ++j)
                at(LAPACK_ROW_MAJOR, i, j) = number(random) + (i == j ? on_diagonal : 0);
        for (int i = 0; i < r; ++i)
            for (int j = 0; j < c; ++j) {
                if (symmetric && j < i)
                    at(LAPACK_ROW_MAJOR, i, j) = at(LAPACK_ROW_MAJOR, j, i);
                at(LAPACK_COL_MAJOR, i, j) = at(LAPACK_ROW_MAJOR, i, j);
            }
    }
    int ld(int layout) const { return layout == LAPACK_ROW_MAJOR ? columns + 1 : rows + 2; }
    double& at(int layout, int i, int j)
    {
        return layout == LAPACK_ROW_MAJOR ? by_rows[static_cast<std::size_t>(i * ld(layout) + j)]
                                          : by_columns[static_cast<std::size_t>(i + j * ld(layout))];
    }
    double* data(int layout) { return layout == LAPACK_ROW_MAJOR ? by_rows.data() : by_columns.data(); }
};

/// What else a driver gives back.
struct Results {
    std::vector<double> w = std::vector<double>(3 * m, 0), v = w, u = w;
    std::vector<lapack_int> i = std::vector<lapack_int>(2 * m, 0);
    lapack_int count = 0;
    bool operator==(const Results&) const = default;
};

template <class Driver>
void twins(const char* name, std::initializer_list<Matrix*> matrices, Driver driver)
{
    SCOPED_TRACE(name);
    const auto before = (*matrices.begin())->by_rows;
    Results results[2];
    lapack_int info[2];
    for (int k = 0; k < 2; ++k)
        info[k] = driver(layouts[k], results[k]);
    EXPECT_EQ(info[0], 0);
    EXPECT_EQ(info[1], 0);
    EXPECT_EQ(results[0], results[1]);
    for (Matrix* matrix : matrices)
        for (int i = 0; i < matrix->rows; ++i)
            for (int j = 0; j < matrix->columns; ++j)
                EXPECT_EQ(matrix->at(LAPACK_ROW_MAJOR, i, j), matrix->at(LAPACK_COL_MAJOR, i, j))
                    << i << " " << j;
    EXPECT_TRUE(results[0].w != Results().w || (*matrices.begin())->by_rows != before) << "nothing was done";
}

#define QNM_M(x) x.data(layout), x.ld(layout)

TEST(Drivers, OfSystems)
{
    const Matrix square(n, n, 1, 4), definite(n, n, 2, 6, true), right(n, few, 3);
    Matrix a = square, b = right;
    twins("gesv", {&a, &b}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgesv(layout, n, few, QNM_M(a), r.i.data(), QNM_M(b));
    });
    a = definite, b = right;
    twins("posv", {&a, &b}, [&](int layout, Results&) -> lapack_int {
        return LAPACKE_dposv(layout, 'L', n, few, QNM_M(a), QNM_M(b));
    });
    a = definite, b = right;
    twins("sysv", {&a, &b}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dsysv(layout, 'U', n, few, QNM_M(a), r.i.data(), QNM_M(b));
    });
    Matrix factors(n, n, 4), x(n, few, 5);
    a = square, b = right;
    twins("gesvx", {&a, &factors, &b, &x}, [&](int layout, Results& r) -> lapack_int {
        char equed = 'N';
        double rcond = 0, growth = 0;
        const lapack_int info =
            LAPACKE_dgesvx(layout, 'E', 'N', n, few, QNM_M(a), QNM_M(factors), r.i.data(), &equed, r.w.data(),
                           r.v.data(), QNM_M(b), QNM_M(x), &rcond, r.u.data(), r.u.data() + few, &growth);
        r.w[2 * m] = rcond, r.w[2 * m + 1] = growth, r.count = equed;
        return info;
    });
    // Two diagonals below and one above, and two more for the factors; the rows of the band are those of the
    // array.
    Matrix band(2 * 2 + 1 + 1, n, 6);
    b = right;
    twins("gbsv", {&band, &b}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgbsv(layout, n, 2, 1, few, QNM_M(band), r.i.data(), QNM_M(b));
    });
}

TEST(Drivers, OfLeastSquares)
{
    const Matrix tall(m, n, 11), right(m, few, 12);
    Matrix a = tall, b = right;
    twins("gels", {&a, &b}, [&](int layout, Results&) -> lapack_int {
        return LAPACKE_dgels(layout, 'N', m, n, few, QNM_M(a), QNM_M(b));
    });
    a = tall, b = right;
    twins("gelsd", {&a, &b}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgelsd(layout, m, n, few, QNM_M(a), QNM_M(b), r.w.data(), 1e-12, &r.count);
    });
    a = tall, b = right;
    twins("gelss", {&a, &b}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgelss(layout, m, n, few, QNM_M(a), QNM_M(b), r.w.data(), 1e-12, &r.count);
    });
    a = tall, b = right;
    twins("gelsy", {&a, &b}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgelsy(layout, m, n, few, QNM_M(a), QNM_M(b), r.i.data(), 1e-12, &r.count);
    });
    Matrix constraints(few, n, 13);
    a = tall;
    twins("gglse", {&a, &constraints}, [&](int layout, Results& r) -> lapack_int {
        std::fill(r.u.begin(), r.u.end(), 1.0);
        std::fill(r.v.begin(), r.v.end(), 2.0);
        return LAPACKE_dgglse(layout, m, n, few, QNM_M(a), QNM_M(constraints), r.u.data(), r.v.data(),
                              r.w.data());
    });
}

TEST(Drivers, OfEigenvalues)
{
    const Matrix symmetric(n, n, 21, 0, true), square(n, n, 22), definite(n, n, 23, 6, true);
    Matrix a = symmetric, z(n, n, 24), other(n, n, 25);
    twins("syev", {&a}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dsyev(layout, 'V', 'U', n, QNM_M(a), r.w.data());
    });
    a = symmetric;
    twins("syevd", {&a}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dsyevd(layout, 'N', 'L', n, QNM_M(a), r.w.data());
    });
    a = symmetric;
    twins("syevr", {&a, &z}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dsyevr(layout, 'V', 'A', 'U', n, QNM_M(a), 0, 0, 0, 0, 0, &r.count, r.w.data(),
                              QNM_M(z), r.i.data());
    });
    a = symmetric;
    twins("syevx", {&a, &z}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dsyevx(layout, 'V', 'A', 'L', n, QNM_M(a), 0, 0, 0, 0, 0, &r.count, r.w.data(),
                              QNM_M(z), r.i.data());
    });
    a = symmetric;
    Matrix b = definite;
    twins("sygv", {&a, &b}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dsygv(layout, 1, 'V', 'U', n, QNM_M(a), QNM_M(b), r.w.data());
    });
    a = square;
    twins("geev", {&a, &z, &other}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgeev(layout, 'V', 'V', n, QNM_M(a), r.w.data(), r.v.data(), QNM_M(z), QNM_M(other));
    });
    a = square;
    twins("gees", {&a, &z}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgees(layout, 'V', 'N', nullptr, n, QNM_M(a), &r.count, r.w.data(), r.v.data(),
                             QNM_M(z));
    });
    a = square, b = definite;
    twins("ggev", {&a, &b, &z, &other}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dggev(layout, 'V', 'V', n, QNM_M(a), QNM_M(b), r.w.data(), r.v.data(), r.u.data(),
                             QNM_M(z), QNM_M(other));
    });
    a = square, b = definite;
    twins("gges", {&a, &b, &z, &other}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgges(layout, 'V', 'V', 'N', nullptr, n, QNM_M(a), QNM_M(b), &r.count, r.w.data(),
                             r.v.data(), r.u.data(), QNM_M(z), QNM_M(other));
    });
    Matrix band(3, n, 26);
    twins("sbev", {&band, &z}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dsbev(layout, 'V', 'L', n, 2, QNM_M(band), r.w.data(), QNM_M(z));
    });
}

TEST(Drivers, OfSingularValues)
{
    const Matrix tall(m, n, 31);
    Matrix a = tall, u(m, m, 32), vt(n, n, 33);
    twins("gesvd", {&a, &u, &vt}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgesvd(layout, 'A', 'A', m, n, QNM_M(a), r.w.data(), QNM_M(u), QNM_M(vt), r.v.data());
    });
    a = tall;
    twins("gesdd", {&a, &u, &vt}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dgesdd(layout, 'A', m, n, QNM_M(a), r.w.data(), QNM_M(u), QNM_M(vt));
    });
    a = tall;
    Matrix b(few, n, 34), v(few, few, 35), q(n, n, 36);
    twins("ggsvd3", {&a, &b, &u, &v, &q}, [&](int layout, Results& r) -> lapack_int {
        return LAPACKE_dggsvd3(layout, 'U', 'V', 'Q', m, n, few, &r.count, r.i.data() + n, QNM_M(a), QNM_M(b),
                               r.w.data(), r.v.data(), QNM_M(u), QNM_M(v), QNM_M(q), r.i.data());
    });
}

} // namespace
