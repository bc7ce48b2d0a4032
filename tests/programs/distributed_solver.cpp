// The distributed solver beside the one of one process: mpirun -n N distributed_solver. All processes have
// the same random matrices, and give the solver their parts.
#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <limits>
#define OMPI_SKIP_MPICXX 1
#include <mpi.h>
#include <qnm/services.h>
#include <qnm/solvers.h>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

// A BLAS and a ScaLAPACK of the program's: nobody may call them.
#define FOREIGN(name)                                                                                        \
    extern "C" [[gnu::visibility("default")]] void name();                                                   \
    void name()                                                                                              \
    {                                                                                                        \
        std::abort();                                                                                        \
    }
FOREIGN(dgemm_)
FOREIGN(ztrsm_)
FOREIGN(pdgetrf_)
FOREIGN(blacs_gridinit_)

namespace {

using Index = long long;

int failures = 0, processes = 1, me = 0, world = 0;
std::string told; // the case at hand

void check(bool right, const std::string& what)
{
    if (!right && ++failures < 20)
        std::fprintf(stderr, "FAILED on %d of %d: %s: %s\n", me, processes, told.c_str(), what.c_str());
}

void expect(Index found, Index wanted, const std::string& what)
{
    check(found == wanted, what + ": " + std::to_string(found) + " for " + std::to_string(wanted));
}

int any(int low, int high)
{
    static std::mt19937 generator(19520301);
    return std::uniform_int_distribution(low, high)(generator);
}

template <class T>
using real_t = decltype(std::abs(T()));
template <class T>
constexpr bool is_complex = !std::is_same_v<T, real_t<T>>;

template <class T>
T any_number()
{
    const auto part = [] { return static_cast<real_t<T>>(any(-3, 3)); };
    if constexpr (is_complex<T>)
        return {part(), part()};
    else
        return part();
}

bool is_half(int mtype)
{
    return mtype == 2 || mtype == -2 || std::abs(mtype) == 4 || mtype == 6;
}

/// Rows of blocks. A part has some of them, whole or halved.
template <class T, class I>
struct Rows {
    int mtype, base, block, n; // n rows of blocks
    std::vector<I> ia, ja;
    std::vector<T> a;

    Rows(int type, int rows, int first, int size) : mtype(type), base(first), block(size), n(rows)
    {
        std::vector<bool> stored(static_cast<std::size_t>(n * n));
        const auto at = [&](int i, int j) { return static_cast<std::size_t>(i * n + j); };
        for (int i = 0; i < n; ++i)
            for (int j = 0; j <= i; ++j)
                stored[at(i, j)] = stored[at(j, i)] = i == j || any(0, 4) == 0;
        for (int i = 0; i < n; ++i) {
            ia.push_back(static_cast<I>(static_cast<int>(ja.size()) + base));
            for (int j = is_half(mtype) ? i : 0; j < n; ++j)
                if (stored[at(i, j)])
                    ja.push_back(static_cast<I>(j + base));
        }
        ia.push_back(static_cast<I>(static_cast<int>(ja.size()) + base));
        renew();
    }
    std::size_t start(int i) const
    {
        return static_cast<std::size_t>(ia[static_cast<std::size_t>(i)] - base);
    }
    /// Other values at the same places.
    void renew()
    {
        a.clear();
        for (int i = 0; i < n; ++i)
            for (std::size_t p = start(i); p < start(i + 1); ++p)
                for (int k = 0; k < block * block; ++k) {
                    const bool diagonal = ja[p] - base == i && k / block == k % block;
                    T v = any_number<T>();
                    if (diagonal && std::abs(mtype) == 4)
                        v = T(std::real(v));
                    const bool negative = mtype != 2 && mtype != 4 && i % 3 == 1;
                    a.push_back(diagonal ? v + T(static_cast<real_t<T>>((negative ? -15 : 15) * (4 + i % 5)))
                                         : v);
                }
    }
    Rows part(int first, int count, int halved) const
    {
        Rows made = *this;
        made.n = count;
        made.ia.clear();
        for (int i = first; i <= first + count; ++i)
            made.ia.push_back(static_cast<I>(static_cast<int>(start(i) - start(first)) + base));
        const auto squared = static_cast<std::ptrdiff_t>(block * block);
        const auto from = static_cast<std::ptrdiff_t>(start(first)),
                   to = static_cast<std::ptrdiff_t>(start(first + count));
        made.ja.assign(ja.begin() + from, ja.begin() + to);
        made.a.assign(a.begin() + from * squared, a.begin() + to * squared);
        for (int i = first; i < first + count; ++i)
            for (std::size_t p = start(i) - start(first); i == halved && p < start(i + 1) - start(first); ++p)
                for (std::size_t k = 0; k < static_cast<std::size_t>(squared); ++k)
                    made.a[p * static_cast<std::size_t>(squared) + k] /= 2;
        return made;
    }
};

/// A solver with its controls, counted from 1 as in their documentation.
template <class T, class I>
struct Solver {
    std::array<void*, 64> pt{};
    std::array<I, 64> iparm{};
    int mtype, comm = world;
    bool is_distributed;

    Solver(const Rows<T, I>& of, bool distributed) : mtype(of.mtype), is_distributed(distributed)
    {
        std::array<int, 64> narrow{};
        pardisoinit(pt.data(), &mtype, narrow.data());
        std::ranges::copy(narrow, iparm.begin());
        control(28) = sizeof(real_t<T>) == 4 ? 1 : 0;
        control(35) = of.base == 0 ? 1 : 0;
        control(37) = static_cast<I>(of.block == 1 ? 0 : of.block);
        control(27) = of.block == 1 ? 1 : 0;
    }
    ~Solver()
    {
        if (pt[0] != nullptr)
            expect(call(-1, 0, nullptr, 1, nullptr, nullptr), 0, "release");
        check(pt[0] == nullptr, "what is released is gone");
    }
    Solver(const Solver&) = delete;

    I& control(int k) { return iparm[static_cast<std::size_t>(k - 1)]; }

    Index call(int phase, int rows, const Rows<T, I>* part, int sides, T* b, T* x)
    {
        const I one = 1, none = 0, n = static_cast<I>(rows), type = static_cast<I>(mtype),
                nrhs = static_cast<I>(sides);
        const I step = static_cast<I>(phase);
        const T* const a = part != nullptr ? part->a.data() : nullptr;
        const I* const ia = part != nullptr ? part->ia.data() : nullptr;
        const I* const ja = part != nullptr ? part->ja.data() : nullptr;
        I error = -99;
        if constexpr (sizeof(I) == 4) {
            if (is_distributed)
                cluster_sparse_solver(pt.data(), &one, &one, &type, &step, &n, a, ia, ja, nullptr, &nrhs,
                                      iparm.data(), &none, b, x, &comm, &error);
            else
                pardiso(pt.data(), &one, &one, &type, &step, &n, a, ia, ja, nullptr, &nrhs, iparm.data(),
                        &none, b, x, &error);
        } else if (is_distributed)
            cluster_sparse_solver_64(pt.data(), &one, &one, &type, &step, &n, a, ia, ja, nullptr, &nrhs,
                                     iparm.data(), &none, b, x, &comm, &error);
        else
            pardiso_64(pt.data(), &one, &one, &type, &step, &n, a, ia, ja, nullptr, &nrhs, iparm.data(),
                       &none, b, x, &error);
        return error;
    }
};

template <class T, class I>
void solve_as_one_process_does(int mtype, int layout, bool overlaps)
{
    const int block = any(0, 3) == 0 ? 2 : 1, sides = any(1, 3), how = any(0, 2), n = any(1, 30);
    Rows<T, I> whole(mtype, n, any(0, 1), block);
    // Parts of rows of blocks, some of them empty; one row may be of two processes.
    std::vector<int> starts{0};
    for (int p = 1; p < processes; ++p)
        starts.push_back(any(starts.back(), n));
    starts.push_back(n);
    const auto at = static_cast<std::size_t>(me);
    const int halved = overlaps && processes > 1 && starts[1] < n ? starts[1] : -1;
    int first = starts[at], count = starts[at + 1] - first;
    if (halved >= 0 && me == 0)
        count += 1;
    const bool has_halved = halved >= first && halved < first + count;
    if (layout == 0)
        first = 0, count = me == 0 ? n : 0;
    told = "mtype " + std::to_string(mtype) + ", " + std::to_string(n) + " rows, layout " +
           std::to_string(layout) + ", blocks of " + std::to_string(block) + ", turned " +
           std::to_string(how) + ", bytes " + std::to_string(sizeof(T)) + ", " + std::to_string(sizeof(I));
    const std::size_t rows = static_cast<std::size_t>(n * block),
                      own = static_cast<std::size_t>(count * block);
    std::vector<T> b(rows * static_cast<std::size_t>(sides)), expected(b.size());
    std::ranges::generate(b, any_number<T>);
    b[0] = T(7); // none is solved without a step
    Solver<T, I> alone(whole, false), all(whole, true);
    for (auto* each : {&alone, &all}) {
        each->control(12) = static_cast<I>(how);
        each->control(8) = static_cast<I>(any(0, 1) * 2);
        each->control(2) = static_cast<I>(any(0, 1) * 2);
        each->control(11) = each->control(13) = static_cast<I>(any(0, 1));
    }
    all.control(6) = static_cast<I>(any(0, 1));
    all.control(40) = static_cast<I>(layout);
    all.control(41) = static_cast<I>(first + whole.base);
    all.control(42) = static_cast<I>(first + count - 1 + whole.base);
    const auto each_own = [&](const auto& visit) { // place among the own, in the whole
        for (std::size_t side = 0; side < static_cast<std::size_t>(sides); ++side)
            for (std::size_t i = 0; i < own; ++i)
                visit(side * own + i, side * rows + i + static_cast<std::size_t>(first * block));
    };
    const auto run = [&](const std::vector<int>& phases) {
        const Rows<T, I> part = whole.part(first, count, layout == 0 ? -1 : halved);
        std::vector<T> given(own * static_cast<std::size_t>(sides) + 1, T(77)), x(b.size() + 1, T(77));
        each_own([&](std::size_t mine, std::size_t there) {
            const bool is_half_of_it =
                layout != 0 && has_halved && static_cast<int>(there % rows) / block == halved;
            given[mine] = is_half_of_it ? b[there] / T(2) : b[there];
        });
        const std::vector<T> before = given;
        expect(alone.call(13, n, &whole, sides, b.data(), expected.data()), 0, "one process");
        for (const int phase : phases)
            expect(all.call(phase, me == 0 ? n : -7, count > 0 ? &part : nullptr, me == 0 ? sides : -3,
                            given.data(), x.data()),
                   0, "phase " + std::to_string(phase));
        const std::vector<T>& found = all.control(6) == 1 ? given : x;
        const bool is_whole = layout == 1 && me == 0 && all.control(6) == 0;
        const bool has_any = layout == 2 || me == 0 || (layout == 1 && all.control(6) == 1);
        real_t<T> size = 0, error = 0;
        const auto compare = [&](std::size_t mine, std::size_t there) {
            size = std::max(size, std::abs(expected[there]));
            error = std::max(error, std::abs(found[mine] - expected[there]));
        };
        if (is_whole)
            for (std::size_t k = 0; k < b.size(); ++k)
                compare(k, k);
        else if (has_any)
            each_own(compare);
        check(error <= 400 * std::numeric_limits<real_t<T>>::epsilon() * size,
              "solution: off by " + std::to_string(error));
        check(given.back() == T(77) && x.back() == T(77), "nothing is written behind");
        if (all.control(6) == 0)
            check(given == before, "the right side stays");
        for (const int k : {22, 23})
            expect(all.control(k), alone.control(k), "control " + std::to_string(k));
        check(all.control(18) > 0, "non-zeros of the factors");
    };
    static const std::vector<std::vector<int>> paths{{13}, {12, 33}, {11, 23}, {11, 22, 33}};
    run(paths[static_cast<std::size_t>(any(0, 3))]);
    whole.renew();
    run({22, 33});
    // Refined, the solution is that of the matrix which is given last.
    for (T& v : whole.a)
        v *= real_t<T>(1.0625);
    all.control(8) = 30;
    run({33});
    check(all.control(7) > 4 && all.control(7) < 25,
          "steps of refinement: " + std::to_string(all.control(7)));
}

template <class T>
void solve_all(const std::vector<int>& kinds)
{
    for (const int mtype : kinds)
        for (int k = 0; k < 6; ++k) {
            solve_as_one_process_does<T, int>(mtype, k % 3, k % 2 == 1);
            solve_as_one_process_does<T, qnm_int64>(mtype, k % 3, k % 2 == 1);
        }
}

using Wide = Rows<double, int>;

/// What one process finds wrong is an error of all, and nobody waits.
void refuse_together()
{
    const int n = 12;
    const Wide good(11, n, 1, 1);
    const auto refused = [&](const char* what, int wanted, const auto& spoil) {
        told = what;
        Solver<double, int> solver(good, true);
        const int per = n / processes, first = me * per, count = me == processes - 1 ? n - first : per;
        Wide part = good.part(first, count, -1);
        solver.control(40) = 2, solver.control(41) = first + 1, solver.control(42) = first + count;
        std::vector<double> b(n, 1), x(n);
        int phase = 13;
        spoil(solver, part, phase);
        expect(solver.call(phase, n, &part, 1, b.data(), x.data()), wanted, "error");
        if (solver.pt[0] == &solver)
            solver.pt[0] = nullptr;
    };
    const bool last = me == processes - 1;
    refused("good", 0, [](auto&, auto&, int&) {});
    refused("a column", -1, [&](auto&, auto& p, int&) { p.ja.back() = last ? n + 1 : p.ja.back(); });
    refused("a row outside", -1, [&](auto& s, auto&, int&) { s.control(42) += last ? 1 : 0; });
    refused("fewer rows than none", -1,
            [&](auto& s, auto&, int&) { s.control(42) = last ? s.control(41) - 2 : s.control(42); });
    refused("another layout", -1, [&](auto& s, auto&, int&) { s.control(40) = me == 0 ? 3 : 2; });
    refused("another handle", -1, [&](auto& s, auto&, int&) { s.pt[0] = last ? &s : nullptr; });
    refused("no process", -1, [&](auto& s, auto&, int&) { s.comm = -1; });
    refused("a step too early", -1, [&](auto&, auto&, int& phase) { phase = 33; });
    refused("parts", -1, [&](auto&, auto&, int& phase) { phase = 331; });
    refused("the first one's word", 0, [&](auto& s, auto&, int& phase) {
        phase = me == 0 ? 13 : 99;
        s.mtype = me == 0 ? 11 : 5;
        s.control(12) = me;
    });
    const auto limited = [&](qnm_int64 most) {
        const int kind = 1;
        if (last)
            qnm_set_memory_limit(&kind, &most);
    };
    refused("no memory", -2, [&](auto&, auto&, int&) { limited(1); });
    limited(0);

    told = "handles of one that another process has not";
    Solver<double, int> one(good, true), other(good, true);
    std::vector<double> b(n, 1), x(n);
    for (auto* each : {&one, &other})
        expect(each->call(12, n, &good, 1, b.data(), x.data()), 0, "factors");
    if (processes > 1) {
        Solver<double, int>& mixed = last ? other : one;
        expect(mixed.call(33, n, &good, 1, b.data(), x.data()), -1, "error");
    }
    expect(one.call(33, n, &good, 1, b.data(), x.data()), 0, "error");
    one.comm = MPI_Comm_c2f(MPI_COMM_SELF);
    expect(one.call(33, n, &good, 1, b.data(), x.data()), processes > 1 ? -1 : 0, "of other processes");
    one.comm = other.comm;
}

void tell_what_is_wrong_with_a_matrix()
{
    struct Case {
        int mtype, error, zero_row;
        std::vector<double> rows; // three by three
    };
    for (const Case& each : std::vector<Case>{{2, -4, 0, {1, 2, 0, 2, 1, 0, 0, 0, 3}},
                                              {2, -7, 2, {1, 0, 0, 0, 0, 0, 0, 0, 2}},
                                              {11, -4, 2, {1, 0, 3, 0, 0, 0, 4, 0, 20}},
                                              {-2, 0, 0, {1, 2, 0, 2, 1, 0, 0, 0, 3}}})
        for (const int layout : {0, 1}) {
            told = "mtype " + std::to_string(each.mtype) + ", error " + std::to_string(each.error) +
                   ", layout " + std::to_string(layout);
            Wide all(each.mtype, 3, 1, 1);
            all.ia = {1}, all.ja.clear(), all.a.clear();
            for (int i = 0; i < 3; ++i) {
                for (int j = is_half(each.mtype) ? i : 0; j < 3; ++j)
                    if (const double v = each.rows[static_cast<std::size_t>(3 * i + j)]; v != 0 || i == j) {
                        all.ja.push_back(j + 1);
                        all.a.push_back(v);
                    }
                all.ia.push_back(static_cast<int>(all.ja.size()) + 1);
            }
            const int first = std::min(me, 3), count = me < processes - 1 ? first < 3 : 3 - first;
            const Wide part = layout == 0 ? all : all.part(first, count, -1);
            Solver<double, int> solver(all, true);
            solver.control(40) = layout, solver.control(41) = first + 1, solver.control(42) = first + count;
            solver.control(10) = -1;
            std::vector<double> b(3, 1), x(3);
            expect(solver.call(13, 3, &part, 1, b.data(), x.data()), each.error, "error");
            expect(solver.control(30), each.zero_row, "row of the zero pivot");
        }
}

int stop(int*, int*, char*, int)
{
    return me == processes - 1 ? 1 : 0;
}

} // namespace

int main(int argc, char** argv)
{
    const Wide any_rows(11, 5, 1, 1);
    std::vector<double> b(5, 1), x(5);
    const auto refused = [&] {
        told = "without MPI";
        Solver<double, int> solver(any_rows, true);
        expect(solver.call(13, 5, &any_rows, 1, b.data(), x.data()), -1, "error");
    };
    refused();
    MPI_Init(&argc, &argv);
    world = MPI_Comm_c2f(MPI_COMM_WORLD);
    MPI_Comm_size(MPI_COMM_WORLD, &processes);
    MPI_Comm_rank(MPI_COMM_WORLD, &me);

    solve_all<float>({1, 2, -2, 11});
    solve_all<double>({1, 2, -2, 11});
    solve_all<std::complex<float>>({3, 4, -4, 6, 13});
    solve_all<std::complex<double>>({3, 4, -4, 6, 13});
    refuse_together();
    tell_what_is_wrong_with_a_matrix();
    {
        told = "progress";
        Solver<double, int> solver(any_rows, true);
        qnm_set_progress(stop);
        expect(solver.call(13, 5, &any_rows, 1, b.data(), x.data()), -13, "error");
        qnm_set_progress(nullptr);
    }
    int all_failures = 0;
    MPI_Allreduce(&failures, &all_failures, 1, MPI_INT, MPI_SUM, MPI_COMM_WORLD);
    MPI_Finalize();
    refused();
    return all_failures + failures == 0 ? 0 : 1;
}
