// The C interface to LAPACK over the open core: answers are the known ones, whatever layout and width.
#include <qnm/lapacke.h>

#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <vector>

namespace longley {
#include "longley_data.h"
}

namespace {

using Numbers = std::vector<double>;

/// The Hilbert matrix, 1/(i+j+1), row by row.
Numbers hilbert(int rows, int columns)
{
    Numbers a;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j)
            a.push_back(1.0 / (i + j + 1));
    return a;
}

TEST(Lapacke, SolvesHilbertInBothLayoutsAndWidths)
{
    constexpr int n = 6;
    for (const int layout : {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR}) {
        // The right side is the row sums, so the answer is all ones, up to the condition of 1.5e7.
        Numbers a = hilbert(n, n), x(n);
        for (std::size_t i = 0; i < n * n; ++i)
            x[i / n] += a[i];
        Numbers wide_a = a, wide_x = x;
        std::vector<int> pivots(n);
        std::vector<int64_t> wide_pivots(n);
        const int ldx = layout == LAPACK_ROW_MAJOR ? 1 : n;
        ASSERT_EQ(LAPACKE_dgesv(layout, n, 1, a.data(), n, pivots.data(), x.data(), ldx), 0);
        ASSERT_EQ(LAPACKE_dgesv_64(layout, n, 1, wide_a.data(), n, wide_pivots.data(), wide_x.data(), ldx),
                  0);
        EXPECT_EQ(x, wide_x);
        EXPECT_EQ(a, wide_a);
        EXPECT_EQ(std::vector<int64_t>(pivots.begin(), pivots.end()), wide_pivots);
        for (const double one : x)
            EXPECT_NEAR(one, 1, 1e-8);
    }
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
    Numbers d{3, 2, 1, 0, 1, 2, 3}, e(size - 1, 1), z(size * size), wide_d = d, wide_e = e;
    ASSERT_EQ(LAPACKE_dstev(LAPACK_ROW_MAJOR, 'V', size, d.data(), e.data(), z.data(), size), 0);
    ASSERT_EQ(LAPACKE_dstev_64(LAPACK_COL_MAJOR, 'V', size, wide_d.data(), wide_e.data(), z.data(), size), 0);
    EXPECT_EQ(d, wide_d);
    // Its skew half has 2 and 2 +- sqrt(3); all add up to the trace, their squares to that of the square.
    EXPECT_NEAR(d[1], 2 - std::sqrt(3.0), 1e-14);
    EXPECT_NEAR(d[5], 2 + std::sqrt(3.0), 1e-14);
    EXPECT_NEAR(std::accumulate(d.begin(), d.end(), 0.0), 12, 1e-13);
    EXPECT_NEAR(std::inner_product(d.begin(), d.end(), d.begin(), 0.0), 40, 1e-13);
    EXPECT_NEAR(d[6] - d[5], 0.03, 0.01);
}

TEST(Lapacke, ExchangesRowsBelowTheLastOneNamed)
{
    // Nobody is told how many rows there are: row 2 changes places with row 4, behind a step of two pivots.
    Numbers a{1, 10, -1, 2, 20, -1, 3, 30, -1, 4, 40, -1};
    const int pivots[] = {3, -7, 4};
    ASSERT_EQ(LAPACKE_dlaswp(LAPACK_ROW_MAJOR, 2, a.data(), 3, 1, 2, pivots, 2), 0);
    EXPECT_EQ(a, (Numbers{3, 30, -1, 4, 40, -1, 1, 10, -1, 2, 20, -1}));
}

TEST(Lapacke, CopiesATriangleAndNothingBeside)
{
    const Numbers a{1, 2, 3, 4, 5, 6};
    std::vector<lapack_complex_double> b(8, 9.0);
    ASSERT_EQ(LAPACKE_zlacp2(LAPACK_ROW_MAJOR, 'L', 2, 3, a.data(), 3, b.data(), 4), 0);
    EXPECT_EQ(b, (std::vector<lapack_complex_double>{1, 9, 9, 9, 4, 5, 9, 9}));
}

TEST(Lapacke, NormsOfEachLayout)
{
    // By columns, the same array is the transpose. Not square, so that rows and columns are told apart.
    constexpr int rows = 6, columns = 4;
    const Numbers a = hilbert(rows, columns);
    const double of_rows = 25.0 / 12, of_columns = 2.45,
                 squares = std::inner_product(a.begin(), a.end(), a.begin(), 0.0);
    const auto expect = [&](char norm, double by_rows, double by_columns) {
        EXPECT_NEAR(LAPACKE_dlange(LAPACK_ROW_MAJOR, norm, rows, columns, a.data(), columns), by_rows, 1e-15);
        EXPECT_NEAR(LAPACKE_dlange(LAPACK_COL_MAJOR, norm, columns, rows, a.data(), columns), by_columns,
                    1e-15);
    };
    expect('1', of_columns, of_rows);
    expect('I', of_rows, of_columns);
    expect('M', 1, 1);
    expect('F', std::sqrt(squares), std::sqrt(squares));
}

} // namespace
