// The C interface to LAPACK over the open core, as a program gets it: drivers by rows have to come to what
// they come to by columns, to the last bit, since both give the engine the same matrices.
#include "core.hpp"

#include <cmath>
#include <qnm/lapacke.h>

namespace {

using qnm::test::Matrix;

constexpr int n = 6, m = 9, few = 3;
using Numbers = std::vector<double>;
using Matrices = std::vector<Matrix<double>>;

/// In memory. What is no element, between its lines and behind the last, is a NaN: who reads one refuses it
/// or comes to one, and who writes one is seen.
struct Stored : Matrix<double> {
    Stored(const Matrix<double>& a, bool by_rows, int spare)
        : Matrix(by_rows ? a.columns : a.rows, by_rows ? a.rows : a.columns, spare)
    {
        data.assign(200, NAN);
        take(by_rows ? 'T' : 'N', a);
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
    for (const std::size_t k : {0U, 1U}) {
        for (const auto& a : matrices) // leading dimensions differ, and are longer than they must be
            memory[k].emplace_back(a, k == 0, static_cast<int>(memory[k].size()) + 1);
        EXPECT_EQ(driver(k == 0 ? LAPACK_ROW_MAJOR : LAPACK_COL_MAJOR, results[k], memory[k]), 0);
    }
    EXPECT_EQ(results[0], results[1]);
    bool changed = results[0].w != Results().w;
    for (std::size_t k = 0; k < matrices.size(); ++k) {
        for (int i = 0; i < matrices[k].rows; ++i)
            for (int j = 0; j < matrices[k].columns; ++j) {
                const double by_rows = std::exchange(memory[0][k](j, i), NAN);
                EXPECT_EQ(by_rows, std::exchange(memory[1][k](i, j), NAN)) << "matrix " << k;
                changed = changed || by_rows != matrices[k](i, j);
            }
        for (const auto& stored : memory)
            EXPECT_TRUE(std::ranges::all_of(stored[k].data, [](double x) { return std::isnan(x); }))
                << "written beside " << k;
    }
    EXPECT_TRUE(changed);
}

// What comes to 0 where all went well: M(k) is the k-th of the matrices, r holds what else comes back.
#define QNM_TWINS_OF(matrices, ...)                                                                          \
    twins(#__VA_ARGS__, matrices, [&](int layout, [[maybe_unused]] Results& r, std::vector<Stored>& x) {     \
        return lapack_int{__VA_ARGS__};                                                                      \
    })
// A driver and its arguments behind the layout.
#define QNM_TWINS(routine, matrices, ...) QNM_TWINS_OF(matrices, LAPACKE_##routine(layout, __VA_ARGS__))
#define M(k) x[k].data.data(), static_cast<lapack_int>(x[k].ld)

Matrix<double> symmetric_matrix(double on_diagonal)
{
    Matrix<double> a(n, n), whole = a;
    for (int i = 0; i < n; ++i)
        a(i, i) += on_diagonal;
    return whole.take('T', a).take('N', a, 1, 1);
}
const Matrix<double> square(n, n), definite = symmetric_matrix(20), symmetric = symmetric_matrix(0),
                                   tall(m, n), right(n, few), tall_right(m, few), wide(few, n),
                                   small(few, few), large(m, m);

// One of each kind: matrices that only go in or only come out, bands, several shapes, eigenvectors.
TEST(Drivers, ByRowsComeToWhatTheyComeToByColumns)
{
    const Matrices expert{square, square, right, right}, band{{2 * 2 + 1 + 1, n}, right},
        constrained{tall, wide}, vectors{symmetric, square}, pair{square, definite, square, square},
        factors{tall, large, square}, two{tall, wide, large, small, square};
    char equed = 'N';
    QNM_TWINS(dgesvx, expert, 'E', 'N', n, few, M(0), M(1), r.i.data(), &equed, r.w.data(), r.v.data(), M(2),
              M(3), &r.w[2 * m], r.u.data(), r.u.data() + few, &r.w[2 * m + 1]);
    QNM_TWINS(dgbsv, band, n, 2, 1, few, M(0), r.i.data(), M(1));
    QNM_TWINS(dgglse, constrained, m, n, few, M(0), M(1), r.ones.data(), r.twos.data(), r.w.data());
    QNM_TWINS(dsyevr, vectors, 'V', 'A', 'U', n, M(0), 0, 0, 0, 0, 0, &r.count, r.w.data(), M(1), r.i.data());
    QNM_TWINS(dggev, pair, 'V', 'V', n, M(0), M(1), r.w.data(), r.v.data(), r.u.data(), M(2), M(3));
    QNM_TWINS(dgesvd, factors, 'A', 'A', m, n, M(0), r.w.data(), M(1), M(2), r.v.data());
    QNM_TWINS(dggsvd3, two, 'U', 'V', 'Q', m, n, few, &r.count, r.i.data() + n, M(0), M(1), r.w.data(),
              r.v.data(), M(2), M(3), M(4), r.i.data());
}

TEST(Routines, WhoseMatricesHaveShapesOfTheirOwn)
{
    const Matrices two{wide, tall, small, large, square}, band{{2 + 1 + 1, n}},
        blocks{tall_right, {2, 3 * few}}, block{square, {2, n}}; // three blocks of rows, and one
    QNM_TWINS(dggsvp, two, 'U', 'V', 'Q', few, m, n, M(0), M(1), 1e-12, 1e-12, &r.count, r.i.data(), M(2),
              M(3), M(4));
    QNM_TWINS(dorgtsqr_row, blocks, m, few, 5, 2, M(0), M(1));
    QNM_TWINS(dorgtsqr, block, n, n, n + 1, 2, M(0), M(1));
    for (const char norm : {'I', 'F'})
        QNM_TWINS_OF(band, (r.w[0] = LAPACKE_dlangb(layout, norm, n, 2, 1, M(0))) < 0);
    // That begin with the caller's vectors, of which two of three are written.
    Matrices hessenberg{right, right, square};
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j)
            hessenberg[2](i, j) = i == j ? i : 0;
    const auto begin = [&](Results& r) {
        for (int i = 0; i < n; ++i)
            r.w[static_cast<std::size_t>(i)] = hessenberg[2](i, i);
        r.i[0] = r.i[3] = 1;
        return 0;
    };
    QNM_TWINS_OF(hessenberg,
                 begin(r) + LAPACKE_dhsein(layout, 'B', 'N', 'U', r.i.data(), n, M(2), r.w.data(), r.v.data(),
                                           M(0), M(1), few, &r.count, r.i.data() + n, r.i.data() + m));
}

TEST(Routines, ThatWriteAPartOfAMatrixAlone)
{
    Numbers ap(n * (n + 1) / 2);
    const Matrices triangles{square, symmetric};
    for (const char uplo : {'U', 'L'})
        QNM_TWINS_OF(triangles, LAPACKE_dtrttp(layout, uplo, n, M(1), ap.data()) ||
                                    LAPACKE_dtpttr(layout, uplo, n, ap.data(), M(0)));
    QNM_TWINS_OF(triangles, LAPACKE_dtrttf(layout, 'N', 'U', n, M(1), ap.data()) ||
                                LAPACKE_dtfttr(layout, 'N', 'U', n, ap.data(), M(0)));
    // Two rows and three columns beside the diagonal, and back: the block itself is three by two.
    const Matrices blocks{square, symmetric, {3, 2}, {3, 2}}, by_columns{small, tall_right},
        by_rows{small, wide}, of_blocks{tall, {4, n}}, triangle{square, tall, symmetric};
    QNM_TWINS_OF(blocks, LAPACKE_dtrttp(layout, 'U', n, M(1), ap.data()) ||
                             LAPACKE_qnm_dtppack(layout, 'U', 'T', n, ap.data(), 1, 3, 2, 3, M(2)) ||
                             LAPACKE_qnm_dtpunpack(layout, 'U', 'T', n, ap.data(), 1, 4, 2, 3, M(3)) ||
                             LAPACKE_dtpttr(layout, 'U', n, ap.data(), M(0)));
    for (const char direct : {'F', 'B'}) {
        QNM_TWINS(dlarft, by_columns, direct, 'C', m, few, M(1), r.ones.data(), M(0));
        QNM_TWINS(dlarft, by_rows, direct, 'R', n, few, M(1), r.ones.data(), M(0));
    }
    QNM_TWINS(dgeqrt, of_blocks, m, n, 4, M(0), M(1));
    QNM_TWINS(dtpqrt2, triangle, m, n, few, M(0), M(1), M(2));
    QNM_TWINS(dgetsqrhrt, of_blocks, m, n, n + 1, few, 4, M(0), M(1));
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

} // namespace
