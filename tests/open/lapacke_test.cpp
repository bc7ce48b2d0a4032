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
