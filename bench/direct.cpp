// Direct solvers beside their engine called directly: the same orders, the same BLAS.
//     qnm_bench_direct [NAME...]      rows whose names begin so
#include "table.hpp"

#include <qnm/solvers.h>

#include <cmath>
#include <dmumps_c.h>

namespace {

using namespace qnm::bench;

/// Neighbours of a grid in so many directions: positive definite, the upper triangle or all of it, from 1.
struct Grid {
    int n = 1;
    std::vector<int> ia{1}, ja, rows;
    std::vector<double> a;

    Grid(int side, int directions, bool half)
    {
        for (int d = 0; d < directions; ++d)
            n *= side;
        for (int i = 0; i < n; ++i) {
            std::vector<int> columns{i};
            for (int d = 0, step = 1; d < directions; ++d, step *= side) {
                if (i / step % side > 0 && !half)
                    columns.push_back(i - step);
                if (i / step % side < side - 1)
                    columns.push_back(i + step);
            }
            std::ranges::sort(columns);
            for (const int j : columns) {
                rows.push_back(i + 1);
                ja.push_back(j + 1);
                a.push_back(i == j ? 2 * directions : -1);
            }
            ia.push_back(static_cast<int>(ja.size()) + 1);
        }
    }
};

class Direct {
public:
    Direct(Grid& grid, bool half, std::vector<int>& order) : grid_(grid), half_(half), order_(order)
    {
        begin();
    }
    ~Direct() { run(-2); }
    Direct(const Direct&) = delete;

    /// Anew, as the other side does.
    void analyse()
    {
        run(-2);
        begin();
        run(1);
    }
    void factor() { run(2); }
    int nonzeros() const { return words_.infog[2]; }
    void solve(const std::vector<double>& b, std::vector<double>& x)
    {
        x = b;
        words_.rhs = x.data();
        words_.nrhs = 1;
        words_.lrhs = words_.n;
        run(3);
    }

private:
    void begin()
    {
        words_ = {};
        words_.sym = half_ ? 1 : 0;
        words_.par = 1;
        words_.comm_fortran = -987654;
        run(-1);
        const auto control = [&](int k, int value) { words_.icntl[k - 1] = value; };
        for (const int stream : {1, 2, 3})
            control(stream, -1);
        control(4, 0);
        control(6, 0);
        control(7, 1);
        control(8, half_ ? 0 : 77);
        control(12, 1);
        control(13, 1);
        words_.n = grid_.n;
        words_.nnz = static_cast<MUMPS_INT8>(grid_.a.size());
        words_.irn = grid_.rows.data();
        words_.jcn = grid_.ja.data();
        words_.a = grid_.a.data();
        words_.perm_in = order_.data();
    }
    void run(int job)
    {
        words_.job = job;
        dmumps_c(&words_);
        done(words_.infog[0]);
    }

    DMUMPS_STRUC_C words_{};
    Grid& grid_;
    bool half_;
    std::vector<int>& order_;
};

class Layers {
public:
    /// Finds an order; from then on it is given.
    Layers(Grid& grid, bool half, std::vector<int>& order) : grid_(grid), mtype_(half ? 2 : 11), order_(order)
    {
        pardisoinit(pt_, &mtype_, iparm_);
        iparm_[4] = 2;
        run(11, nullptr, nullptr);
        iparm_[4] = 1;
        iparm_[17] = -1;
    }
    ~Layers() { run(-1, nullptr, nullptr); }
    Layers(const Layers&) = delete;

    int nonzeros() const { return iparm_[17]; }
    void run(int phase, double* b, double* x)
    {
        const int one = 1, none = 0;
        int error = 0;
        pardiso(pt_, &one, &one, &mtype_, &phase, &grid_.n, grid_.a.data(), grid_.ia.data(), grid_.ja.data(),
                order_.data(), &one, iparm_, &none, b, x, &error);
        done(error);
    }

private:
    Grid& grid_;
    int mtype_;
    std::vector<int>& order_;
    void* pt_[64];
    int iparm_[64];
};

} // namespace

int main(int count, char** words)
{
    const Table table(count, words);
    for (const auto& [name, side, directions] : {std::tuple{"300 by 300", 300, 2}, {"30 by 30 by 30", 30, 3}})
        for (const bool half : {true, false}) {
            Grid grid(side, directions, half);
            const std::string kind = std::string(name) + (half ? ", mtype 2" : ", mtype 11");
            if (!table.wants(kind))
                continue;
            std::vector<int> order(static_cast<std::size_t>(grid.n));
            Layers layers(grid, half, order);
            Direct direct(grid, half, order);
            std::vector<double> b(static_cast<std::size_t>(grid.n), 1), x(b), y(b);
            const auto row = [&](const char* phase, double aim, const Work& theirs, const Work& ours) {
                table.row((kind + ": " + phase).c_str(), "MUMPS", grid.n, aim, theirs, ours);
            };
            row(
                "11", 1.01, [&] { direct.analyse(); }, [&] { layers.run(11, nullptr, nullptr); });
            row(
                "22", 1.05, [&] { direct.factor(); }, [&] { layers.run(22, nullptr, nullptr); });
            row(
                "33", 1.01, [&] { direct.solve(b, x); }, [&] { layers.run(33, b.data(), y.data()); });
            if (direct.nonzeros() != layers.nonzeros())
                done(-1); // not the same order
            for (std::size_t i = 0; i < x.size(); ++i)
                if (!(std::abs(x[i] - y[i]) <= 1e-10 * std::abs(x[i])))
                    done(-2);
        }
}
