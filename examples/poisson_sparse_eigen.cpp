// What poisson_sparse.c does, by products and solves of Eigen: to see how long each takes.
//
//     poisson_sparse_eigen
#include <Eigen/SparseCore>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <vector>

using Matrix = Eigen::SparseMatrix<double, Eigen::RowMajor>;
using Eigen::VectorXd;

static Matrix five_points(int side)
{
    std::vector<Eigen::Triplet<double>> all;
    for (int i = 0; i < side * side; ++i) {
        const int x = i % side, y = i / side;
        all.emplace_back(i, i, 4);
        for (const auto& [is, away] :
             {std::pair{y > 0, -side}, {x > 0, -1}, {x < side - 1, 1}, {y < side - 1, side}})
            if (is)
                all.emplace_back(i, i + away, -1);
    }
    Matrix a(side * side, side * side);
    a.setFromTriplets(all.begin(), all.end());
    return a;
}

int main()
{
    std::puts("      grid  steps  largest error  seconds");
    for (int side = 50; side <= 400; side *= 2) {
        const Matrix a = five_points(side);
        const double h = 1.0 / (side + 1);
        VectorXd b(side * side), exact(side * side), u = VectorXd::Zero(side * side);
        for (int i = 0; i < side * side; ++i) {
            const double x = h * (i % side + 1), y = h * (i / side + 1), px = x * (1 - x), py = y * (1 - y);
            exact[i] = px * py;
            b[i] = h * h * (2 * (px + py));
        }
        const std::clock_t begin = std::clock();
        const auto precondition = [&](const VectorXd& r) -> VectorXd {
            VectorXd half = a.triangularView<Eigen::Lower>().solve(r);
            half *= 4;
            return a.triangularView<Eigen::Upper>().solve(half);
        };
        VectorXd r = b, z = precondition(r), p = z, q;
        double rho = r.dot(z);
        const double enough = 1e-12 * b.norm();
        int steps = 0;
        for (; r.norm() > enough && steps < 2000; ++steps) {
            q.noalias() = a * p;
            const double alpha = rho / p.dot(q);
            u += alpha * p;
            r -= alpha * q;
            z = precondition(r);
            const double before = rho;
            rho = r.dot(z);
            p = z + rho / before * p;
        }
        const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
        std::printf("%4d x %3d%7d%15.2E%9.3f\n", side, side, steps, (u - exact).cwiseAbs().maxCoeff(),
                    seconds);
    }
}
