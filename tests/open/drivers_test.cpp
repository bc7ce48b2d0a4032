// LAPACK's drivers from C: by rows they have to come to what they come to by columns, to the last bit, since
// both give the engine the same matrices.
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include <qnm/lapacke.h>

namespace {

constexpr int n = 6, m = 9, few = 3;
constexpr int layouts[] = {LAPACK_ROW_MAJOR, LAPACK_COL_MAJOR};

/// The same matrix in both layouts. What is no element of it, between its lines and behind the last, is a
/// NaN: who reads one refuses it or comes to one, and who writes one is seen.
struct Matrix {
    int rows, columns, spare = 1;
    std::vector<double> numbers; // row by row
    std::vector<double> memory[2];

    Matrix(int r, int c, unsigned seed, double on_diagonal = 0, bool symmetric = false)
        : rows(r), columns(c), numbers(static_cast<std::size_t>(r * c))
    {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> number(-1, 1);
        for (int i = 0; i < r; ++i)
            for (int j = 0; j < c; ++j)
                (*this)(i, j) = number(random) + (i == j ? on_diagonal : 0);
        for (int i = 0; i < r && symmetric; ++i)
            for (int j = 0; j < i; ++j)
                (*this)(i, j) = (*this)(j, i);
    }
    double& operator()(int i, int j) { return numbers[static_cast<std::size_t>(i * columns + j)]; }
    /// Leading dimensions of a call differ, and all are longer than they must be.
    void lay_out(int longer)
    {
        spare = longer;
        for (const int layout : layouts) {
            std::vector<double>& all = of(layout);
            all.assign(static_cast<std::size_t>(&at(layout, rows - 1, columns - 1) - all.data() + 65), NAN);
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < columns; ++j)
                    at(layout, i, j) = (*this)(i, j);
        }
    }
    int ld(int layout) const { return (layout == LAPACK_ROW_MAJOR ? columns : rows) + spare; }
    std::vector<double>& of(int layout) { return memory[layout == LAPACK_ROW_MAJOR ? 0 : 1]; }
    double& at(int layout, int i, int j)
    {
        return of(layout).data()[layout == LAPACK_ROW_MAJOR ? i * ld(layout) + j : i + j * ld(layout)];
    }
    double* data(int layout) { return of(layout).data(); }
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
    Results results[2];
    for (std::size_t k = 0; k < x.size(); ++k)
        x[k].lay_out(static_cast<int>(k) + 1);
    for (int k = 0; k < 2; ++k)
        EXPECT_EQ(driver(layouts[k], results[k], x), 0);
    EXPECT_EQ(results[0], results[1]);
    bool nothing_done = results[0].w == Results().w;
    for (Matrix& matrix : x) {
        for (int i = 0; i < matrix.rows; ++i)
            for (int j = 0; j < matrix.columns; ++j) {
                double &by_rows = matrix.at(LAPACK_ROW_MAJOR, i, j),
                       &other = matrix.at(LAPACK_COL_MAJOR, i, j);
                EXPECT_EQ(by_rows, other) << &matrix - x.data() << ": " << i << " " << j;
                nothing_done = nothing_done && by_rows == matrix(i, j);
                by_rows = other = NAN;
            }
        for (const int layout : layouts)
            for (const double number : matrix.of(layout))
                ASSERT_TRUE(std::isnan(number)) << "written beside " << &matrix - x.data();
    }
    EXPECT_FALSE(nothing_done);
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
    for (const char norm : {'1', 'I', 'M', 'F'})
        twins("dlangb", {Matrix(2 + 1 + 1, n, 6)}, [&](int layout, Results& r, Matrices& x) {
            r.w[0] = LAPACKE_dlangb(layout, norm, n, 2, 1, M(0));
            return lapack_int{};
        });
}

TEST(Routines, ThatBeginWithTheCallersVectors)
{
    Matrix hessenberg(n, n, 51, 4);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < i; ++j)
            hessenberg(i, j) = 0;
    twins("dhsein", {Matrix(n, few, 52), Matrix(n, few, 53), hessenberg},
          [&](int layout, Results& r, Matrices& x) {
              for (int i = 0; i < n; ++i)
                  r.w[static_cast<std::size_t>(i)] = hessenberg(i, i);
              r.i[0] = r.i[3] = 1; // two of three columns are written
              return LAPACKE_dhsein(layout, 'B', 'N', 'U', r.i.data(), n, M(2), r.w.data(), r.v.data(), M(0),
                                    M(1), few, &r.count, r.i.data() + n, r.i.data() + m);
          });
}

TEST(Routines, ThatWriteAPartOfAMatrixAlone)
{
    const auto packed = [](int layout, char uplo, Matrix& a) {
        std::vector<double> ap(n * (n + 1) / 2);
        LAPACKE_dtrttp(layout, uplo, n, a.data(layout), a.ld(layout), ap.data());
        return ap;
    };
    for (const char uplo : {'U', 'L'}) {
        twins("tpttr", {square, symmetric}, [&](int layout, Results&, Matrices& x) {
            return LAPACKE_dtpttr(layout, uplo, n, packed(layout, uplo, x[1]).data(), M(0));
        });
        for (const char transr : {'N', 'T'})
            twins("tfttr", {square, symmetric}, [&](int layout, Results&, Matrices& x) {
                std::vector<double> arf(n * (n + 1) / 2);
                LAPACKE_dtrttf(layout, transr, uplo, n, M(1), arf.data());
                return LAPACKE_dtfttr(layout, transr, uplo, n, arf.data(), M(0));
            });
    }
    // Two rows and three columns beside the diagonal, and back: the block itself is three by two.
    for (const char trans : {'N', 'T'}) {
        const Matrix block = trans == 'N' ? Matrix(2, 3, 61) : Matrix(3, 2, 61), other = block;
        twins("tppack", {square, symmetric, block, other}, [&](int layout, Results&, Matrices& x) {
            auto ap = packed(layout, 'U', x[1]);
            return LAPACKE_qnm_dtppack(layout, 'U', trans, n, ap.data(), 1, 3, 2, 3, M(2)) +
                   LAPACKE_qnm_dtpunpack(layout, 'U', trans, n, ap.data(), 1, 4, 2, 3, M(3)) +
                   LAPACKE_dtpttr(layout, 'U', n, ap.data(), M(0));
        });
    }
    for (const char direct : {'F', 'B'}) {
        const Matrices by_columns{small, tall_right}, by_rows{small, wide};
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

} // namespace
