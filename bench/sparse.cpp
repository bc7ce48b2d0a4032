// Sparse matrices beside Eigen's, a plain loop, and a copy of the bytes that have to move.
//     qnm_bench_sparse [NAME...]      rows whose names begin so
#include "table.hpp"

#include <qnm/sparse.h>

#include <Eigen/SparseCore>
#include <cstring>

namespace {

using namespace qnm::bench;

constexpr auto plain = QNM_SPARSE_OPERATION_NON_TRANSPOSE;
constexpr qnm_sparse_descr_t general{QNM_SPARSE_MATRIX_TYPE_GENERAL, QNM_SPARSE_FILL_MODE_FULL,
                                     QNM_SPARSE_DIAG_NON_UNIT};
constexpr qnm_sparse_descr_t lower{QNM_SPARSE_MATRIX_TYPE_TRIANGULAR, QNM_SPARSE_FILL_MODE_LOWER,
                                   QNM_SPARSE_DIAG_NON_UNIT};

template <class I>
using Matrix = Eigen::SparseMatrix<double, Eigen::RowMajor, I>;

/// Five points of a grid of 1,000 by 1,000.
template <class I>
Matrix<I> five_points()
{
    constexpr I side = 1000;
    std::vector<Eigen::Triplet<double, I>> all;
    for (I i = 0; i < side * side; ++i) {
        const I x = i % side, y = i / side;
        all.emplace_back(i, i, 4);
        for (const auto& [is, away] :
             {std::pair{y > 0, -side}, {x > 0, -1}, {x < side - 1, 1}, {y < side - 1, side}})
            if (is)
                all.emplace_back(i, i + away, -1);
    }
    Matrix<I> a(side * side, side * side);
    a.setFromTriplets(all.begin(), all.end());
    return a;
}

template <class I>
qnm_sparse_matrix_t handle(Matrix<I>& a)
{
    constexpr auto base = QNM_SPARSE_INDEX_BASE_ZERO;
    qnm_sparse_matrix_t made = nullptr;
    I *const start = a.outerIndexPtr(), *const column = a.innerIndexPtr(), n = static_cast<I>(a.rows());
    if constexpr (sizeof(I) == sizeof(int))
        done(qnm_sparse_d_create_csr(&made, base, n, n, start, start + 1, column, a.valuePtr()));
    else
        done(qnm_sparse_d_create_csr_64(&made, base, n, n, start, start + 1, column, a.valuePtr()));
    return made;
}

template <class I>
void products(const Table& table, const std::string& width)
{
    Matrix<I> a = five_points<I>();
    const auto n = static_cast<double>(a.rows());
    Eigen::VectorXd x = Eigen::VectorXd::Random(a.rows()), y(a.rows());
    const qnm_sparse_matrix_t h = handle(a);
    constexpr bool narrow = sizeof(I) == 4;
    const Work mv = [&] {
        done(narrow ? qnm_sparse_d_mv(plain, 1, h, general, x.data(), 0, y.data())
                    : qnm_sparse_d_mv_64(plain, 1, h, general, x.data(), 0, y.data()));
    };
    const auto rows = [&](const std::string& name, const Work& ours) {
        if (!table.wants(name))
            return;
        table.row(
            name.c_str(), "Eigen", n, 1.05, [&] { y.noalias() = a * x; }, ours);
        table.row(
            name.c_str(), "a plain loop", n, 1.05,
            [&] {
                const I *const start = a.outerIndexPtr(), *const column = a.innerIndexPtr();
                const double* const value = a.valuePtr();
                for (I i = 0; i < a.rows(); ++i) {
                    double sum = 0;
                    for (I p = start[i]; p < start[i + 1]; ++p)
                        sum += value[p] * x[column[p]];
                    y[i] = sum;
                }
            },
            ours);
        const auto bytes = static_cast<std::size_t>(a.nonZeros()) * (sizeof(double) + sizeof(I)) +
                           static_cast<std::size_t>(a.rows()) * (2 * sizeof(double) + sizeof(I));
        const std::vector<char> from(bytes / 2, 1); // what is read and what is written count
        std::vector<char> to(bytes / 2);
        table.row(
            name.c_str(), "a copy of the bytes", n, 0,
            [&] { std::memcpy(to.data(), from.data(), from.size()); }, ours);
    };
    rows("product, " + width, mv);
    const Work optimize = [&] {
        const qnm_sparse_matrix_t fresh = handle(a);
        done(narrow ? qnm_sparse_set_mv_hint(fresh, plain, general, 1000)
                    : qnm_sparse_set_mv_hint_64(fresh, plain, general, 1000));
        done(narrow ? qnm_sparse_optimize(fresh) : qnm_sparse_optimize_64(fresh));
        done(qnm_sparse_destroy(fresh));
    };
    const std::string ahead = "optimize, " + width;
    if (table.wants(ahead))
        table.row(
            ahead.c_str(), "ten products", n, 1,
            [&] {
                for (int i = 0; i < 10; ++i)
                    mv();
            },
            optimize);
    if (narrow) {
        done(qnm_sparse_set_mv_hint(h, plain, general, 1000));
        done(qnm_sparse_optimize(h));
        rows("product, optimized", mv);
    }
    done(qnm_sparse_destroy(h));
}

void others(const Table& table)
{
    Matrix<int> a = five_points<int>();
    const auto size = static_cast<int>(a.rows());
    const double n = size;
    constexpr int columns = 8;
    using Rows = Eigen::Matrix<double, Eigen::Dynamic, columns, Eigen::RowMajor>;
    Rows x = Rows::Random(size, columns), y(size, columns);
    Eigen::VectorXd v = Eigen::VectorXd::Random(size), w(size);
    const qnm_sparse_matrix_t h = handle(a);
    if (table.wants("eight columns"))
        table.row(
            "eight columns", "eight products", n, 0.6,
            [&] {
                for (int c = 0; c < columns; ++c)
                    done(qnm_sparse_d_mv(plain, 1, h, general, v.data(), 0, w.data()));
            },
            [&] {
                done(qnm_sparse_d_mm(plain, 1, h, general, QNM_SPARSE_LAYOUT_ROW_MAJOR, x.data(), columns,
                                     columns, 0, y.data(), columns));
            });
    if (table.wants("triangular solve"))
        table.row(
            "triangular solve", "Eigen", n, 0, [&] { w = a.triangularView<Eigen::Lower>().solve(v); },
            [&] { done(qnm_sparse_d_trsv(plain, 1, h, lower, v.data(), w.data())); });
    if (table.wants("square"))
        table.row(
            "square", "Eigen", n, 1.1, [&] { const Matrix<int> square = a * a; },
            [&] {
                qnm_sparse_matrix_t square = nullptr;
                done(qnm_sparse_spmm(plain, h, h, &square));
                done(qnm_sparse_destroy(square));
            });
    done(qnm_sparse_destroy(h));
}

} // namespace

int main(int count, char** words)
{
    const Table table(count, words);
    products<int>(table, "narrow");
    products<qnm_int64>(table, "wide");
    others(table);
}
