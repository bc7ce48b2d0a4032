// The C interface to LAPACK over the open core: a driver by rows gives what it gives by columns on the
// transpose, narrow and wide forms agree, and answers are the known ones.
#include <qnm/lapacke.h>

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace longley {
#include "longley_data.h"
}

namespace {

using Numbers = std::vector<double>;

constexpr int n = 6;

/// The Hilbert matrix, 1/(i+j+1).
Numbers hilbert(int rows, int columns)
{
    Numbers a;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j)
            a.push_back(1.0 / (i + j + 1));
    return a;
}

Numbers transposed(const Numbers& a, int rows, int columns)
{
    Numbers t;
    for (int j = 0; j < columns; ++j)
        for (int i = 0; i < rows; ++i)
            t.push_back(a[static_cast<std::size_t>(i * columns + j)]);
    return t;
}

TEST(Lapacke, SolvesHilbertInBothLayoutsAndWidths)
{
    // The right side is the row sums, so the answer is all ones, up to the condition of 1.5e7.
    Numbers b;
    const Numbers a = hilbert(n, n);
    for (int i = 0; i < n; ++i) {
        b.push_back(0);
        for (int j = 0; j < n; ++j)
            b.back() += a[static_cast<std::size_t>(i * n + j)];
    }
    Numbers a1 = a, x1 = b, a2 = transposed(a, n, n), x2 = b, a3 = a, x3 = b;
    std::vector<int> pivots(n);
    std::vector<int64_t> wide_pivots(n);
    ASSERT_EQ(LAPACKE_dgesv(LAPACK_ROW_MAJOR, n, 1, a1.data(), n, pivots.data(), x1.data(), 1), 0);
    ASSERT_EQ(LAPACKE_dgesv(LAPACK_COL_MAJOR, n, 1, a2.data(), n, pivots.data(), x2.data(), n), 0);
    ASSERT_EQ(LAPACKE_dgesv_64(LAPACK_ROW_MAJOR, n, 1, a3.data(), n, wide_pivots.data(), x3.data(), 1), 0);
    EXPECT_EQ(x1, x2);
    EXPECT_EQ(x1, x3);
    EXPECT_EQ(a1, transposed(a2, n, n));
    EXPECT_EQ(std::vector<int64_t>(pivots.begin(), pivots.end()), wide_pivots);
    for (const double x : x1)
        EXPECT_NEAR(x, 1, 1e-8);
}

// Longley's columns, brought to one length, have a condition of 4.3e4, and Householder QR does not mind their
// lengths: half an ulp times that is 5e-12. The price deflator, a small term, loses most, 1.3e-11 with all
// kernels alike; normal equations would keep 6 digits.
constexpr double longley_bound = 1e-10;

template <class Driver>
void expect_longley(Driver gels)
{
    using namespace longley;
    // The table holds the right side as its first column; with ones there it is the matrix.
    Numbers y(&data[0][0], &data[0][0] + observations * terms), x = y;
    for (std::size_t i = 0; i < observations; ++i)
        x[i * terms] = 1;
    const Numbers before = y;
    ASSERT_EQ(gels(LAPACK_ROW_MAJOR, 'N', observations, terms, 1, x.data(), terms, y.data(), terms), 0);
    double rest = 0;
    for (std::size_t i = 0; i < observations; ++i) {
        if (i >= terms)
            rest += y[i * terms] * y[i * terms];
        else
            EXPECT_NEAR(y[i * terms] / coefficients[i].certified, 1, longley_bound) << coefficients[i].name;
        for (std::size_t j = 1; j < terms; ++j)
            EXPECT_EQ(y[i * terms + j], before[i * terms + j]) << "beside the right side";
    }
    const double deviation = std::sqrt(rest / (observations - terms));
    EXPECT_NEAR(deviation / residual_deviation.certified, 1, longley_bound);
}

TEST(Lapacke, MeetsLongleysCertifiedCoefficientsByRows)
{
    expect_longley(LAPACKE_dgels);
    expect_longley(LAPACKE_dgels_64);
}

TEST(Lapacke, FindsWilkinsonsEigenvalues)
{
    // W7+: 3 2 1 0 1 2 3 beside ones; the largest eigenvalues are a pair that agrees in one digit.
    constexpr int size = 7;
    Numbers d{3, 2, 1, 0, 1, 2, 3}, e(size - 1, 1), by_rows(size * size), by_columns = by_rows, d2 = d,
                                                                          e2 = e;
    ASSERT_EQ(LAPACKE_dstev(LAPACK_ROW_MAJOR, 'V', size, d.data(), e.data(), by_rows.data(), size), 0);
    ASSERT_EQ(LAPACKE_dstev_64(LAPACK_COL_MAJOR, 'V', size, d2.data(), e2.data(), by_columns.data(), size),
              0);
    EXPECT_EQ(d, d2);
    EXPECT_EQ(by_rows, transposed(by_columns, size, size));
    // Its skew half has 2 and 2 +- sqrt(3); all add up to the trace, their squares to that of the square.
    EXPECT_NEAR(d[1], 2 - std::sqrt(3.0), 1e-14);
    EXPECT_NEAR(d[5], 2 + std::sqrt(3.0), 1e-14);
    double sum = 0, squares = 0;
    for (const double value : d) {
        sum += value;
        squares += value * value;
    }
    EXPECT_NEAR(sum, 12, 1e-13);
    EXPECT_NEAR(squares, 40, 1e-13);
    EXPECT_GT(d[6] - d[5], 0.02);
    EXPECT_LT(d[6] - d[5], 0.04);
}

TEST(Lapacke, DriversByRowsAreTheirTwinsByColumns)
{
    // Not square, so that rows and columns are told apart.
    constexpr int rows = 6, columns = 4;
    const Numbers a = hilbert(rows, columns);
    Numbers a1 = a, a2 = transposed(a, rows, columns), s1(columns), s2(columns), u1(rows * rows), u2 = u1;
    Numbers v1(columns * columns), v2 = v1, super(columns);
    ASSERT_EQ(LAPACKE_dgesvd(LAPACK_ROW_MAJOR, 'A', 'A', rows, columns, a1.data(), columns, s1.data(),
                             u1.data(), rows, v1.data(), columns, super.data()),
              0);
    ASSERT_EQ(LAPACKE_dgesvd(LAPACK_COL_MAJOR, 'A', 'A', rows, columns, a2.data(), rows, s2.data(), u2.data(),
                             rows, v2.data(), columns, super.data()),
              0);
    EXPECT_EQ(s1, s2);
    EXPECT_EQ(u1, transposed(u2, rows, rows));
    EXPECT_EQ(v1, transposed(v2, columns, columns));
    // The norms of the rows are those of the columns of what column-major reads.
    for (const char norm : {'1', 'I', 'M', 'F'}) {
        const double by_rows = LAPACKE_dlange(LAPACK_ROW_MAJOR, norm, rows, columns, a.data(), columns);
        const Numbers t = transposed(a, rows, columns);
        EXPECT_NEAR(by_rows, LAPACKE_dlange(LAPACK_COL_MAJOR, norm, rows, columns, t.data(), rows), 1e-15)
            << norm;
    }
    EXPECT_NEAR(LAPACKE_dlange(LAPACK_ROW_MAJOR, 'I', rows, columns, a.data(), columns), 25.0 / 12, 1e-15);
    EXPECT_NEAR(LAPACKE_dlange(LAPACK_ROW_MAJOR, '1', rows, columns, a.data(), columns), 2.45, 1e-15);
}

} // namespace
