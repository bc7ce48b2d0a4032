// LAPACK's drivers from C: by rows they have to come to what they come to by columns, to the last bit, since
// both give the engine the same matrices.
#include <gtest/gtest.h>
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
    std::vector<double> ones = std::vector<double>(m, 1), twos = std::vector<double>(m, 2);
    std::vector<lapack_int> i = std::vector<lapack_int>(2 * m, 0);
    lapack_int count = 0;
    bool operator==(const Results&) const = default;
};

using Matrices = std::vector<Matrix>;

template <class Driver>
void twins(const char* name, Matrices x, Driver driver)
{
    SCOPED_TRACE(name);
    const auto before = x[0].by_rows;
    Results results[2];
    for (int k = 0; k < 2; ++k)
        EXPECT_EQ(driver(layouts[k], results[k], x), 0);
    EXPECT_EQ(results[0], results[1]);
    for (Matrix& matrix : x)
        for (int i = 0; i < matrix.rows; ++i)
            for (int j = 0; j < matrix.columns; ++j)
                EXPECT_EQ(matrix.at(LAPACK_ROW_MAJOR, i, j), matrix.at(LAPACK_COL_MAJOR, i, j))
                    << i << " " << j;
    EXPECT_TRUE(results[0].w != Results().w || x[0].by_rows != before) << "nothing was done";
}

// A driver and its arguments behind the layout: M(k) is the k-th of the matrices, r holds what else comes
// back.
#define QNM_TWINS(routine, matrices, ...)                                                                    \
    twins(#routine, matrices, [&](int layout, [[maybe_unused]] Results& r, Matrices& x) -> lapack_int {      \
        return LAPACKE_##routine(layout, __VA_ARGS__);                                                       \
    })
#define M(k) x[k].data(layout), x[k].ld(layout)

const Matrix square(n, n, 1, 4), definite(n, n, 2, 6, true), symmetric(n, n, 21, 0, true), tall(m, n, 11);
const Matrix right(n, few, 3), tall_right(m, few, 12), wide(few, n, 13), small(few, few, 35), large(m, m, 32);

TEST(Drivers, OfSystems)
{
    const Matrices of_square{square, right}, of_definite{definite, right};
    QNM_TWINS(dgesv, of_square, n, few, M(0), r.i.data(), M(1));
    QNM_TWINS(dposv, of_definite, 'L', n, few, M(0), M(1));
    QNM_TWINS(dsysv, of_definite, 'U', n, few, M(0), r.i.data(), M(1));
    const Matrices expert{square, square, right, right};
    char equed = 'N';
    QNM_TWINS(dgesvx, expert, 'E', 'N', n, few, M(0), M(1), r.i.data(), &equed, r.w.data(), r.v.data(), M(2),
              M(3), &r.w[2 * m], r.u.data(), r.u.data() + few, &r.w[2 * m + 1]);
    // Two diagonals below and one above, and two more for the factors; the rows of the band are those of the
    // array.
    const Matrices band{Matrix(2 * 2 + 1 + 1, n, 6), right};
    QNM_TWINS(dgbsv, band, n, 2, 1, few, M(0), r.i.data(), M(1));
}

TEST(Drivers, OfLeastSquares)
{
    const Matrices of_tall{tall, tall_right}, constrained{tall, wide};
    QNM_TWINS(dgels, of_tall, 'N', m, n, few, M(0), M(1));
    QNM_TWINS(dgelsd, of_tall, m, n, few, M(0), M(1), r.w.data(), 1e-12, &r.count);
    QNM_TWINS(dgelss, of_tall, m, n, few, M(0), M(1), r.w.data(), 1e-12, &r.count);
    QNM_TWINS(dgelsy, of_tall, m, n, few, M(0), M(1), r.i.data(), 1e-12, &r.count);
    QNM_TWINS(dgglse, constrained, m, n, few, M(0), M(1), r.ones.data(), r.twos.data(), r.w.data());
}

TEST(Drivers, OfEigenvalues)
{
    const Matrices one{symmetric}, vectors{symmetric, square}, pair{symmetric, definite};
    QNM_TWINS(dsyev, one, 'V', 'U', n, M(0), r.w.data());
    QNM_TWINS(dsyevd, one, 'N', 'L', n, M(0), r.w.data());
    QNM_TWINS(dsyevr, vectors, 'V', 'A', 'U', n, M(0), 0, 0, 0, 0, 0, &r.count, r.w.data(), M(1), r.i.data());
    QNM_TWINS(dsyevx, vectors, 'V', 'A', 'L', n, M(0), 0, 0, 0, 0, 0, &r.count, r.w.data(), M(1), r.i.data());
    QNM_TWINS(dsygv, pair, 1, 'V', 'U', n, M(0), M(1), r.w.data());
    const Matrices any{square, square, square}, any_pair{square, definite, square, square};
    QNM_TWINS(dgeev, any, 'V', 'V', n, M(0), r.w.data(), r.v.data(), M(1), M(2));
    QNM_TWINS(dgees, any, 'V', 'N', nullptr, n, M(0), &r.count, r.w.data(), r.v.data(), M(1));
    QNM_TWINS(dggev, any_pair, 'V', 'V', n, M(0), M(1), r.w.data(), r.v.data(), r.u.data(), M(2), M(3));
    QNM_TWINS(dgges, any_pair, 'V', 'V', 'N', nullptr, n, M(0), M(1), &r.count, r.w.data(), r.v.data(),
              r.u.data(), M(2), M(3));
    QNM_TWINS(dstev, any, 'V', n, r.twos.data(), r.ones.data(), M(0));
    const Matrices band{wide, square};
    QNM_TWINS(dsbev, band, 'V', 'L', n, 2, M(0), r.w.data(), M(1));
}

TEST(Drivers, OfSingularValues)
{
    const Matrices one{tall, large, square}, two{tall, wide, large, small, square};
    QNM_TWINS(dgesvd, one, 'A', 'A', m, n, M(0), r.w.data(), M(1), M(2), r.v.data());
    QNM_TWINS(dgesdd, one, 'A', m, n, M(0), r.w.data(), M(1), M(2));
    QNM_TWINS(dggsvd3, two, 'U', 'V', 'Q', m, n, few, &r.count, r.i.data() + n, M(0), M(1), r.w.data(),
              r.v.data(), M(2), M(3), M(4), r.i.data());
}

} // namespace
