// The C interface to LAPACK over the open core, as a program gets it: drivers by rows have to come to what
// they come to by columns, to the last bit, since both give the engine the same matrices; and to known
// answers.
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <utility>
#include <vector>

#include <qnm/lapacke.h>

namespace longley {
#include "longley_data.h"
}

namespace {

constexpr int n = 6, m = 9, few = 3;
using Numbers = std::vector<double>;

struct Matrix {
    int rows, columns;
    Numbers numbers; // row by row

    Matrix(int r, int c, unsigned seed, double on_diagonal = 0, bool symmetric = false) : rows(r), columns(c)
    {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> number(-1, 1);
        for (int i = 0; i < r; ++i)
            for (int j = 0; j < c; ++j)
                numbers.push_back(symmetric && j < i ? numbers[static_cast<std::size_t>(j * c + i)]
                                                     : number(random) + (i == j ? on_diagonal : 0));
    }
};
using Matrices = std::vector<Matrix>;

/// In memory. What is no element, between its lines and behind the last, is a NaN: who reads one refuses it
/// or comes to one, and who writes one is seen.
struct Stored {
    int rows, columns, ld, down, across;
    Numbers all;

    Stored(const Matrix& a, int layout, int spare)
        : rows(a.rows),
          columns(a.columns),
          ld((layout == LAPACK_ROW_MAJOR ? columns : rows) + spare),
          down(layout == LAPACK_ROW_MAJOR ? ld : 1),
          across(layout == LAPACK_ROW_MAJOR ? 1 : ld),
          all(static_cast<std::size_t>((rows - 1) * down + (columns - 1) * across + 65), NAN)
    {
        exchange(a.numbers);
    }
    /// The elements, row by row, for others.
    Numbers exchange(Numbers numbers)
    {
        for (std::size_t i = 0, k = 0; i < all.size() && k < numbers.size(); ++k) {
            i = static_cast<std::size_t>(static_cast<int>(k) / columns * down +
                                         static_cast<int>(k) % columns * across);
            std::swap(numbers[k], all[i]);
        }
        return numbers;
    }
};

/// What else a driver gives back.
struct Results {
    Numbers w = Numbers(3 * m, 0), v = w, u = w, ones = Numbers(m, 1), twos = Numbers(m, 2);
    std::vector<lapack_int> i = std::vector<lapack_int>(2 * m, 0);
    lapack_int count = 0;
    bool operator==(const Results&) const = default;
};

void twins(const char* name, const Matrices& matrices, auto driver)
{
    SCOPED_TRACE(name);
    Results results[2];
    std::vector<Stored> memory[2];
    for (const int k : {0, 1}) {
        const int layout = k == 0 ? LAPACK_ROW_MAJOR : LAPACK_COL_MAJOR;
        for (const Matrix& a :
             matrices) // leading dimensions of a call differ, and are longer than they must be
            memory[k].emplace_back(a, layout, static_cast<int>(memory[k].size()) + 1);
        EXPECT_EQ(driver(layout, results[k], memory[k]), 0);
    }
    EXPECT_EQ(results[0], results[1]);
    bool nothing_done = results[0].w == Results().w;
    for (std::size_t k = 0; k < matrices.size(); ++k) {
        const Numbers nothing(matrices[k].numbers.size(), NAN), by_rows = memory[0][k].exchange(nothing);
        EXPECT_EQ(by_rows, memory[1][k].exchange(nothing)) << "matrix " << k;
        nothing_done = nothing_done && by_rows == matrices[k].numbers;
        for (const auto& stored : memory)
            for (const double number : stored[k].all)
                ASSERT_TRUE(std::isnan(number)) << "written beside " << k;
    }
    EXPECT_FALSE(nothing_done);
}

// What comes to 0 where all went well: M(k) is the k-th of the matrices, r holds what else comes back.
#define QNM_TWINS_OF(matrices, ...)                                                                          \
    twins(#__VA_ARGS__, matrices, [&](int layout, [[maybe_unused]] Results& r, std::vector<Stored>& x) {     \
        return lapack_int{__VA_ARGS__};                                                                      \
    })
// A driver and its arguments behind the layout.
#define QNM_TWINS(routine, matrices, ...) QNM_TWINS_OF(matrices, LAPACKE_##routine(layout, __VA_ARGS__))
#define M(k) x[k].all.data(), x[k].ld

const Matrix square(n, n, 1, 4), definite(n, n, 2, 6, true), symmetric(n, n, 21, 0, true), tall(m, n, 11),
    right(n, few, 3), tall_right(m, few, 12), wide(few, n, 13), small(few, few, 35), large(m, m, 32);

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

TEST(Routines, WhoseMatricesHaveShapesOfTheirOwn)
{
    const Matrices two{wide, tall, small, large, square};
    QNM_TWINS(dggsvp, two, 'U', 'V', 'Q', few, m, n, M(0), M(1), 1e-12, 1e-12, &r.count, r.i.data(), M(2),
              M(3), M(4));
    // Of three blocks of rows, and of one.
    const Matrices blocks{tall_right, Matrix(2, 3 * few, 41)}, block{square, Matrix(2, n, 42)};
    QNM_TWINS(dorgtsqr_row, blocks, m, few, 5, 2, M(0), M(1));
    QNM_TWINS(dorgtsqr, blocks, m, few, 5, 2, M(0), M(1));
    QNM_TWINS(dorgtsqr_row, block, n, n, n + 1, 2, M(0), M(1));
    QNM_TWINS(dorgtsqr, block, n, n, n + 1, 2, M(0), M(1));
    const Matrices full{tall}, band{Matrix(2 + 1 + 1, n, 6)};
    for (const char norm : {'1', 'I', 'M', 'F'}) {
        QNM_TWINS_OF(full, (r.w[0] = LAPACKE_dlange(layout, norm, m, n, M(0))) < 0);
        QNM_TWINS_OF(band, (r.w[0] = LAPACKE_dlangb(layout, norm, n, 2, 1, M(0))) < 0);
    }
}

TEST(Routines, ThatBeginWithTheCallersVectors)
{
    Matrix hessenberg(n, n, 51, 4);
    for (std::size_t k = 0; k < n * n; ++k)
        if (k % n < k / n)
            hessenberg.numbers[k] = 0;
    const Matrices all{Matrix(n, few, 52), Matrix(n, few, 53), hessenberg};
    const auto begin = [&](Results& r) { // two of three columns are written
        for (std::size_t i = 0; i < n; ++i)
            r.w[i] = hessenberg.numbers[i * n + i];
        r.i[0] = r.i[3] = 1;
        return 0;
    };
    QNM_TWINS_OF(all,
                 begin(r) + LAPACKE_dhsein(layout, 'B', 'N', 'U', r.i.data(), n, M(2), r.w.data(), r.v.data(),
                                           M(0), M(1), few, &r.count, r.i.data() + n, r.i.data() + m));
}

TEST(Routines, ThatWriteAPartOfAMatrixAlone)
{
    Numbers ap(n * (n + 1) / 2);
    const Matrices triangles{square, symmetric};
    for (const char uplo : {'U', 'L'}) {
        QNM_TWINS_OF(triangles, LAPACKE_dtrttp(layout, uplo, n, M(1), ap.data()) ||
                                    LAPACKE_dtpttr(layout, uplo, n, ap.data(), M(0)));
        for (const char transr : {'N', 'T'})
            QNM_TWINS_OF(triangles, LAPACKE_dtrttf(layout, transr, uplo, n, M(1), ap.data()) ||
                                        LAPACKE_dtfttr(layout, transr, uplo, n, ap.data(), M(0)));
    }
    // Two rows and three columns beside the diagonal, and back: the block itself is three by two.
    for (const char trans : {'N', 'T'}) {
        const Matrix block = trans == 'N' ? Matrix(2, 3, 61) : Matrix(3, 2, 61);
        const Matrices blocks{square, symmetric, block, block};
        QNM_TWINS_OF(blocks, LAPACKE_dtrttp(layout, 'U', n, M(1), ap.data()) ||
                                 LAPACKE_qnm_dtppack(layout, 'U', trans, n, ap.data(), 1, 3, 2, 3, M(2)) ||
                                 LAPACKE_qnm_dtpunpack(layout, 'U', trans, n, ap.data(), 1, 4, 2, 3, M(3)) ||
                                 LAPACKE_dtpttr(layout, 'U', n, ap.data(), M(0)));
    }
    const Matrices by_columns{small, tall_right}, by_rows{small, wide};
    for (const char direct : {'F', 'B'}) {
        QNM_TWINS(dlarft, by_columns, direct, 'C', m, few, M(1), r.ones.data(), M(0));
        QNM_TWINS(dlarft, by_rows, direct, 'R', n, few, M(1), r.ones.data(), M(0));
    }
    const Matrix blocks(4, n, 62);
    const Matrices of_blocks{tall, blocks}, of_triangle{tall, square}, pair{square, tall, blocks},
        triangle{square, tall, symmetric};
    QNM_TWINS(dgeqrt, of_blocks, m, n, 4, M(0), M(1));
    QNM_TWINS(dgeqrt2, of_triangle, m, n, M(0), M(1));
    QNM_TWINS(dgeqrt3, of_triangle, m, n, M(0), M(1));
    QNM_TWINS(dtpqrt, pair, m, n, few, 4, M(0), M(1), M(2));
    QNM_TWINS(dtpqrt2, triangle, m, n, few, M(0), M(1), M(2));
    QNM_TWINS(dgetsqrhrt, of_blocks, m, n, n + 1, few, 4, M(0), M(1));
    QNM_TWINS(dorhr_col, of_blocks, m, n, 4, M(0), M(1), r.w.data());
}

// Nobody is told how many rows there are: row 2 changes places with row 4, behind a step of two pivots.
TEST(Routines, ExchangeRowsBelowTheLastOneNamed)
{
    Numbers a{1, 10, -1, 2, 20, -1, 3, 30, -1, 4, 40, -1};
    const lapack_int pivots[] = {3, -7, 4};
    ASSERT_EQ(LAPACKE_dlaswp(LAPACK_ROW_MAJOR, 2, a.data(), 3, 1, 2, pivots, 2), 0);
    EXPECT_EQ(a, (Numbers{3, 30, -1, 4, 40, -1, 1, 10, -1, 2, 20, -1}));
}

TEST(Routines, CopyATriangleAndNothingBeside)
{
    const Numbers a{1, 2, 3, 4, 5, 6};
    std::vector<lapack_complex_double> b(8, 9.0);
    ASSERT_EQ(LAPACKE_zlacp2(LAPACK_ROW_MAJOR, 'L', 2, 3, a.data(), 3, b.data(), 4), 0);
    EXPECT_EQ(b, (std::vector<lapack_complex_double>{1, 9, 9, 9, 4, 5, 9, 9}));
}

// Longley's columns, brought to one length, have a condition of 4.3e4, and Householder QR does not mind their
// lengths: half an ulp times that is 5e-12. The price deflator, a small term, loses most, 1.3e-11 with all
// kernels alike; normal equations would keep 6 digits.
TEST(Lapacke, MeetsLongleysCertifiedCoefficientsByRows)
{
    using namespace longley;
    constexpr double bound = 1e-10;
    // The table holds the right side as its first column; with ones there it is the matrix.
    Numbers y(&data[0][0], &data[0][0] + observations * terms), x = y;
    for (std::size_t i = 0; i < observations; ++i)
        x[i * terms] = 1;
    const Numbers before = y;
    ASSERT_EQ(LAPACKE_dgels(LAPACK_ROW_MAJOR, 'N', observations, terms, 1, x.data(), terms, y.data(), terms),
              0);
    double rest = 0;
    for (std::size_t i = 0; i < observations; ++i) {
        if (i >= terms)
            rest += y[i * terms] * y[i * terms];
        else
            EXPECT_NEAR(y[i * terms] / coefficients[i].certified, 1, bound) << coefficients[i].name;
        for (std::size_t j = 1; j < terms; ++j)
            EXPECT_EQ(y[i * terms + j], before[i * terms + j]) << "beside the right side";
    }
    EXPECT_NEAR(std::sqrt(rest / (observations - terms)) / residual_deviation.certified, 1, bound);
}

} // namespace
