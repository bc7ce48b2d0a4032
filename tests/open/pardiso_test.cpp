// PARDISO beside dense factors of the same matrices.
#include "core.hpp"

#include <array>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <new>
#include <sstream>
#include <thread>

// A BLAS of the program's, with 32-bit integers: nobody may call it.
#define QNM_FOREIGN(name)                                                                                    \
    extern "C" [[gnu::visibility("default")]] void name();                                                   \
    void name()                                                                                              \
    {                                                                                                        \
        std::abort();                                                                                        \
    }
QNM_FOREIGN(dgemm_)
QNM_FOREIGN(dtrsm_)
QNM_FOREIGN(dgemv_)
QNM_FOREIGN(dscal_)
QNM_FOREIGN(daxpy_)

// Blocks of the core's and of the objects of its solvers: one of them can be refused.
namespace {
thread_local bool counting = false;
thread_local int spared = -1; // how many are granted before one is refused; below 0: all are granted
std::atomic<int> objects{0};

bool is_refused()
{
    return counting && spared >= 0 && spared-- == 0;
}
} // namespace
extern "C" [[gnu::visibility("default")]] void* qnm_serv_malloc(std::size_t bytes, int alignment);
void* qnm_serv_malloc(std::size_t bytes, int alignment)
{
    static const auto next =
        reinterpret_cast<decltype(&qnm_serv_malloc)>(dlsym(RTLD_NEXT, "qnm_serv_malloc"));
    return is_refused() ? nullptr : next(bytes, alignment);
}
[[gnu::visibility("default"), gnu::noinline]] void* operator new(std::size_t bytes,
                                                                 const std::nothrow_t& /*none*/) noexcept
{
    void* const made = is_refused() ? nullptr : std::malloc(std::max(bytes, std::size_t{1}));
    objects += made != nullptr ? 1 : 0;
    return made;
}
[[gnu::visibility("default"), gnu::noinline]] void* operator new(std::size_t bytes)
{
    if (void* const made = operator new(bytes, std::nothrow))
        return made;
    throw std::bad_alloc();
}
[[gnu::visibility("default"), gnu::noinline]] void operator delete(void* made) noexcept
{
    objects -= made != nullptr ? 1 : 0;
    std::free(made);
}
[[gnu::visibility("default"), gnu::noinline]] void operator delete(void* made, std::size_t /*bytes*/) noexcept
{
    operator delete(made);
}

namespace qnm::test {
namespace {

/// Allocations count while it lives: the caller's own are none of the core's.
struct Counting {
    Counting() { counting = true; }
    ~Counting() { counting = false; }
};

template <class I>
const std::string width{sizeof(I) == 4 ? "" : "_64"};

/// An address with its controls, counted from 1 as in their documentation.
template <class T, class I>
struct Caller {
    std::array<void*, 64> pt{};
    std::array<I, 64> iparm{};
    I maxfct = 1, mnum = 1, mtype, msglvl = 0;
    std::string letters{}, layout{}; // words of the routine's name

    explicit Caller(int type) : mtype(static_cast<I>(type))
    {
        std::array<int, 64> narrow{};
        by_value("qnm_pds_lp64_pardisoinit", pt, &type, narrow);
        std::ranges::copy(narrow, iparm.begin());
        control(28) = std::is_same_v<real_t<T>, float> ? 1 : 0;
    }
    ~Caller() { phase(-1, 0, nullptr, nullptr, nullptr, nullptr, 1, nullptr, nullptr); }
    Caller(const Caller&) = delete;
    I& control(int k) { return iparm[static_cast<std::size_t>(k - 1)]; }

    core_int phase(int which, core_int n, const void* a, const I* ia, const I* ja, I* perm, core_int sides,
                   void* b, void* x)
    {
        I error = -99;
        const I phase = static_cast<I>(which), rows = static_cast<I>(n), nrhs = static_cast<I>(sides);
        const std::string name = "qnm_pds_lp64_pardiso" + letters + width<I> + layout;
        const Counting now;
        by_value(name, pt, &maxfct, &mnum, &mtype, &phase, &rows, a, ia, ja, perm, &nrhs, iparm, &msglvl, b,
                 x, &error);
        return error;
    }
};

bool is_half(int mtype)
{
    return mtype == 2 || std::abs(mtype) == 4 || mtype == -2 || mtype == 6;
}

/// A matrix by rows, and what it is as a dense one. Rows of blocks if these are larger than 1.
template <class T, class I>
struct System {
    int mtype, base;
    core_int n, block;
    Matrix<T> dense;
    std::vector<I> ia, ja;
    std::vector<T> a;

    System(int type, core_int rows, int first, core_int block_size = 1)
        : mtype(type), base(first), n(rows), block(block_size), dense(rows, rows)
    {
        std::vector<bool> stored(static_cast<std::size_t>(n / block * (n / block)));
        for (auto&& each : stored)
            each = random_integer(0, 3) == 0;
        const auto at = [&](core_int i, core_int j) { return static_cast<std::size_t>(i * (n / block) + j); };
        for (core_int i = 0; i < n / block; ++i) {
            stored[at(i, i)] = true;
            for (core_int j = 0; j < i; ++j)
                if (mtype != 11 && mtype != 13)
                    stored[at(i, j)] = stored[at(j, i)];
        }
        ia.push_back(static_cast<I>(base));
        for (core_int i = 0; i < n / block; ++i) {
            for (core_int j = is_half(mtype) ? i : 0; j < n / block; ++j)
                if (stored[at(i, j)])
                    ja.push_back(static_cast<I>(j + base));
            ia.push_back(static_cast<I>(static_cast<core_int>(ja.size()) + base));
        }
        renew();
    }
    /// Other values at the same places.
    void renew()
    {
        dense.take('N', dense, T(0));
        a.clear();
        for (core_int row = 0; row < n / block; ++row)
            for (I p = ia[static_cast<std::size_t>(row)]; p < ia[static_cast<std::size_t>(row) + 1]; ++p)
                for (core_int k = 0; k < block * block; ++k) {
                    const core_int down = base == 0 ? k / block : k % block;
                    const core_int right = base == 0 ? k % block : k / block;
                    const core_int column =
                        ja[static_cast<std::size_t>(p) - static_cast<std::size_t>(base)] - base;
                    a.push_back(element(row * block + down, column * block + right));
                }
    }
    core_int rows() const { return n / block; }

private:
    T element(core_int i, core_int j)
    {
        T v = random_vector<T>(1)[0];
        if (is_half(mtype) && j < i)
            return T(77); // of a block on the diagonal, which nobody may read
        if (i == j)
            v += T(static_cast<real_t<T>>((mtype != 2 && mtype != 4 && i % 3 == 1 ? -12 : 12) * (5 + i % 7)));
        if (i == j && std::abs(mtype) == 4)
            v = T(std::real(v));
        dense(i, j) = v;
        if (is_half(mtype) && i != j)
            dense(j, i) = std::abs(mtype) == 4 ? conjugate(v) : v;
        return v;
    }
};

/// Solutions by dense factors.
template <class T>
Matrix<T> solved(char trans, const Matrix<T>& a, const Matrix<T>& b)
{
    Matrix<T> lu = a, x = b;
    std::vector<core_int> pivots(static_cast<std::size_t>(a.rows));
    EXPECT_EQ(lapack<T>("?getrf", a.rows, a.rows, lu, pivots.data()), 0);
    EXPECT_EQ(lapack<T>("?getrs", &trans, a.rows, b.columns, lu, pivots.data(), x), 0);
    return x;
}

template <class T>
std::vector<int> kinds()
{
    if constexpr (is_complex<T>)
        return {3, 4, -4, 6, 13};
    else
        return {1, 2, -2, 11};
}

template <class T>
void expect_solved(const Matrix<T>& x, const Matrix<T>& expected)
{
    for (core_int j = 0; j < x.columns; ++j)
        for (core_int i = 0; i < x.rows; ++i)
            ASSERT_LE(std::abs(x(i, j) - expected(i, j)), 400 * std::numeric_limits<real_t<T>>::epsilon())
                << "row " << i << ", side " << j;
}

template <class T, class I>
void solve_by_all_ways(int mtype)
{
    const core_int block = random_integer(0, 2) == 0 ? random_integer(2, 3) : 1;
    System<T, I> system(mtype, random_integer(1, 20) * block, random_integer(0, 1), block);
    Caller<T, I> caller(mtype);
    if (random_integer(0, 1) == 0) {
        caller.letters =
            std::string(std::is_same_v<real_t<T>, float> ? "_s" : "_d") + (is_complex<T> ? "c" : "");
        caller.layout = random_integer(0, 1) == 0 ? "" : "_2d";
    }
    caller.control(35) = system.base == 0 ? 1 : 0;
    caller.control(37) = static_cast<I>(block == 1 ? 0 : block);
    caller.control(27) = block == 1 ? 1 : 0;
    caller.control(2) = static_cast<I>(2 * random_integer(0, 1));
    caller.control(8) = static_cast<I>(random_integer(0, 2));
    caller.control(6) = static_cast<I>(random_integer(0, 1));
    caller.control(11) = caller.control(13) = static_cast<I>(random_integer(0, 1));
    const int how = random_integer(0, 2);
    caller.control(12) = static_cast<I>(how);
    const core_int sides = random_integer(1, 3);
    const Matrix<T> b(system.n, sides, 0);
    static const std::vector<std::vector<int>> paths{{13}, {12, 33}, {11, 23}, {11, 22, 33}};
    const auto run = [&](const std::vector<int>& path) {
        Matrix<T> given = b, x(system.n, sides, 0);
        for (const int phase : path)
            ASSERT_EQ(caller.phase(phase, system.rows(), system.a.data(), system.ia.data(), system.ja.data(),
                                   nullptr, sides, given.data.data(), x.data.data()),
                      0)
                << "phase " << phase;
        expect_solved(caller.control(6) == 1 ? given : x, solved("NCT"[how], system.dense, b));
        if (caller.control(6) == 0) {
            EXPECT_EQ(given.data, b.data);
        }
    };
    run(paths[static_cast<std::size_t>(random_integer(0, 3))]);
    system.renew();
    run({22, 33});
    system.renew();
    run({23});
}

QNM_TYPED(Pardiso, SolvesAsDenseFactorsDo)
{
    for (const int mtype : kinds<T>())
        for (int k = 0; k < 20; ++k) {
            SCOPED_TRACE("mtype " + std::to_string(mtype));
            solve_by_all_ways<T, int>(mtype);
            solve_by_all_ways<T, core_int>(mtype);
        }
}

/// One right side; 0 or the error.
template <class T, class I>
core_int solve(Caller<T, I>& caller, const System<T, I>& system, int phase, std::vector<T>& x,
               I* perm = nullptr)
{
    std::vector<T> b(static_cast<std::size_t>(system.n), T(1));
    x.resize(b.size());
    caller.control(35) = system.base == 0 ? 1 : 0;
    caller.control(37) = static_cast<I>(system.block == 1 ? 0 : system.block);
    return caller.phase(phase, system.rows(), system.a.data(), system.ia.data(), system.ja.data(), perm, 1,
                        b.data(), x.data());
}

TEST(Pardiso, KeepsFactorsOfSeveralMatricesApart)
{
    System<double, int> system(11, 20, 1);
    Caller<double, int> caller(11);
    std::vector<double> x, again;
    caller.maxfct = 3;
    caller.control(13) = 0; // the order is not of anybody's values
    ASSERT_EQ(solve(caller, system, 11, x), 0);
    std::vector<System<double, int>> all(3, system);
    for (const int k : {3, 1, 2}) {
        caller.mnum = k;
        all[static_cast<std::size_t>(k - 1)].renew();
        ASSERT_EQ(solve(caller, all[static_cast<std::size_t>(k - 1)], 22, x), 0);
    }
    for (const int k : {1, 2, 3}) {
        caller.mnum = k;
        const auto& one = all[static_cast<std::size_t>(k - 1)];
        ASSERT_EQ(solve(caller, one, 33, x), 0);
        Caller<double, int> other(11);
        other.control(13) = 0;
        ASSERT_EQ(solve(other, one, 13, again), 0);
        EXPECT_EQ(x, again);
    }
    caller.mnum = 1;
    EXPECT_EQ(solve(caller, system, 11, x), 0);
    EXPECT_EQ(solve(caller, system, 33, x), -1); // new factors are wanted
    EXPECT_EQ(solve(caller, system, 22, x), 0);
    caller.mnum = 3;
    EXPECT_EQ(solve(caller, system, 33, x), 0);
    caller.mnum = 2;
    EXPECT_EQ(solve(caller, system, 0, x), 0);
    EXPECT_EQ(solve(caller, system, 33, x), -1);
    caller.mnum = 1;
    EXPECT_EQ(solve(caller, system, 33, x), 0);
    EXPECT_EQ(solve(caller, System<double, int>(11, 19, 1), 33, x), -1);
    caller.mnum = 4;
    EXPECT_EQ(solve(caller, system, 33, x), -1);
}

/// A matrix of whole numbers by rows, from 1.
System<double, int> whole(int mtype, const std::vector<std::vector<double>>& rows)
{
    System<double, int> made(mtype, static_cast<core_int>(rows.size()), 1);
    made.ia = {1}, made.ja.clear(), made.a.clear();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = is_half(mtype) ? i : 0; j < rows.size(); ++j)
            if (rows[i][j] != 0 || i == j) {
                made.ja.push_back(static_cast<int>(j + 1));
                made.a.push_back(rows[i][j]);
            }
        made.ia.push_back(static_cast<int>(made.ja.size() + 1));
    }
    return made;
}

QNM_TYPED(Pardiso, RefinesTowardsTheMatrixThatItIsGiven)
{
    for (const int mtype : kinds<T>())
        for (int how = 0; how < 3; ++how) {
            SCOPED_TRACE("mtype " + std::to_string(mtype) + ", way " + std::to_string(how));
            System<T, int> system(mtype, 30, 1);
            Caller<T, int> caller(mtype);
            std::vector<T> x;
            ASSERT_EQ(solve(caller, system, 12, x), 0);
            constexpr real_t<T> larger = 1.0625;
            for (T& each : system.a)
                each *= larger;
            system.dense.take('N', system.dense, T(larger));
            caller.control(12) = how;
            caller.control(8) = 30;
            ASSERT_EQ(solve(caller, system, 33, x), 0);
            EXPECT_GT(caller.control(7), 4);
            EXPECT_LT(caller.control(7), 20);
            Matrix<T> b(30, 1, 0), found(30, 1, 0);
            std::ranges::fill(b.data, T(1));
            std::ranges::copy(x, found.data.begin());
            expect_solved(found, solved("NCT"[how], system.dense, b));
        }
}

// Of a matrix that is full in its first row alone, factors fill up if that row comes first.
TEST(Pardiso, TakesAnOrderAndGivesItBack)
{
    constexpr std::size_t n = 40;
    for (const int k : {0, 1, 2, 3}) {
        const int base = k % 2;
        const std::size_t block = k < 2 ? 1 : 2;
        std::vector<std::vector<double>> rows(n, std::vector<double>(n));
        for (std::size_t i = 0; i < n; ++i)
            rows[0][i] = rows[i][0] = 1, rows[i][i] = 50;
        System<double, int> system = whole(-2, rows);
        system.block = static_cast<core_int>(block);
        system.n *= system.block;
        std::vector<double> blocks; // each is symmetric
        for (const double each : system.a)
            for (std::size_t at = 0; at < block * block; ++at)
                blocks.push_back(at % (block + 1) == 0 ? each : 1);
        system.a = blocks;
        for (int& each : system.ia)
            each += base - 1;
        for (int& each : system.ja)
            each += base - 1;
        system.base = base;
        std::vector<int> first(n), last(n), made(n, -7);
        for (std::size_t i = 0; i < n; ++i) {
            first[i] = static_cast<int>(i) + base;
            last[i] =
                static_cast<int>((i + n - 1) % n) + base; // the place of each row, not the row of each place
        }
        const auto filled = [&](int control, std::vector<int>& order) {
            Caller<double, int> caller(-2);
            std::vector<double> x;
            caller.control(5) = control;
            EXPECT_EQ(solve(caller, system, 13, x, order.data()), 0);
            return static_cast<std::size_t>(caller.control(18)) / (block * block);
        };
        EXPECT_GE(filled(1, first), n * n / 2);
        EXPECT_EQ(filled(1, last), 2 * n);
        filled(2, made);
        EXPECT_LE(filled(1, made), 4 * n);
        std::vector<int> sorted = made;
        std::ranges::sort(sorted);
        EXPECT_EQ(sorted, first);
        made[3] = made[4];
        Caller<double, int> caller(-2);
        std::vector<double> x;
        caller.control(5) = 1;
        EXPECT_EQ(solve(caller, system, 11, x, made.data()), -1);
    }
}

// Threads of the ordering's own would leave it to chance.
TEST(Pardiso, OrdersAMatrixAlwaysAlike)
{
    constexpr int side = 12, n = side * side * side;
    std::vector<int> ia{0}, ja;
    for (int i = 0; i < n; ++i) {
        for (const int away : {0, 1, side, side * side})
            if (away == 0 || i / away % side < side - 1)
                ja.push_back(i + away);
        ia.push_back(static_cast<int>(ja.size()));
    }
    const std::vector<double> a(ja.size(), 1);
    std::vector<int> first, order(n);
    for (int run = 0; run < 16; ++run) {
        Caller<double, int> caller(-2);
        caller.control(5) = 2;
        caller.control(35) = 1;
        ASSERT_EQ(caller.phase(11, n, a.data(), ia.data(), ja.data(), order.data(), 1, nullptr, nullptr), 0);
        if (run == 0)
            first = order;
        EXPECT_EQ(order, first) << run;
    }
}

// A full matrix of n rows takes 2/3 n^3 operations.
TEST(Pardiso, TellsWhatItTookIfAsked)
{
    constexpr std::size_t n = 150;
    std::vector<std::vector<double>> rows(n, std::vector<double>(n, 1));
    for (std::size_t i = 0; i < n; ++i)
        rows[i][i] = 200;
    const System<double, int> system = whole(11, rows);
    std::vector<double> x, again;
    Caller<double, int> caller(11), silent(11);
    caller.control(18) = caller.control(19) = -1;
    caller.control(31) = caller.control(34) = caller.control(39) = 1; // accepted
    caller.msglvl = 1;
    testing::internal::CaptureStdout();
    EXPECT_EQ(solve(caller, system, 11, x), 0);
    EXPECT_GT(caller.control(15), 0);
    EXPECT_GT(caller.control(16), 0);
    EXPECT_EQ(caller.control(17), 0);
    EXPECT_EQ(solve(caller, system, 23, x), 0);
    EXPECT_GT(caller.control(17), 0);
    EXPECT_EQ(caller.control(18), n * n);
    EXPECT_EQ(caller.control(19), 2);
    EXPECT_EQ(caller.control(22), -1); // of symmetric matrices alone
    EXPECT_EQ(caller.control(23), -1);
    std::istringstream told(testing::internal::GetCapturedStdout());
    for (const std::string stage : {"analysis", "factors", "solution"}) {
        std::string line;
        std::getline(told, line);
        EXPECT_EQ(
            line.rfind("PARDISO " + stage + ": 150 equations, 22500 non-zeros of factors, 2 million", 0), 0)
            << line;
    }
    silent.control(18) = silent.control(19) = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(solve(silent, system, 13, again), 0);
    EXPECT_EQ(told.rdbuf()->in_avail(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(silent.control(18), 0);
    EXPECT_EQ(silent.control(19), 0);
    EXPECT_EQ(x, again);
}

TEST(Pardiso, HasTheDefaultsThatWerePublished)
{
    for (const auto& [mtype, perturbation, matched] : std::vector<std::array<int, 3>>{{1, 13, 0},
                                                                                      {2, 13, 0},
                                                                                      {-2, 8, 0},
                                                                                      {11, 13, 1},
                                                                                      {3, 13, 0},
                                                                                      {4, 13, 0},
                                                                                      {-4, 8, 0},
                                                                                      {6, 8, 0},
                                                                                      {13, 13, 1}}) {
        SCOPED_TRACE("mtype " + std::to_string(mtype));
        std::array<int, 64> expected{};
        expected[0] = 1, expected[1] = 2, expected[9] = perturbation, expected[17] = -1, expected[20] = 1;
        expected[10] = expected[12] = matched;
        Caller<cdouble, int> caller(mtype);
        EXPECT_EQ(caller.iparm, expected);
        caller.iparm.fill(7);
        caller.control(1) = 0;
        const int one = 1;
        const cdouble a = 1;
        const std::array<int, 2> ia{1, 2};
        EXPECT_EQ(caller.phase(11, 1, &a, ia.data(), &one, nullptr, 1, nullptr, nullptr), 0);
        expected[0] = 0;
        for (const int told : {15, 16, 18})
            expected[static_cast<std::size_t>(told - 1)] = caller.control(told);
        EXPECT_EQ(caller.iparm, expected);
    }
}

TEST(Pardiso, TellsWhatIsWrongWithAMatrix)
{
    struct Case {
        int mtype, perturbation;
        std::vector<std::vector<double>> rows;
        int error, zero_row;
    };
    const std::vector<std::vector<double>> indefinite{{1, 2, 0}, {2, 1, 0}, {0, 0, 3}};
    const std::vector<std::vector<double>> singular{{4, 2, 0}, {2, 1, 0}, {0, 0, 5}};
    for (const Case& each : std::vector<Case>{{2, 13, indefinite, -4, 0},
                                              {-2, 8, indefinite, 0, 0},
                                              {2, 13, {{1, 0, 0}, {0, 0, 0}, {0, 0, 2}}, -7, 2},
                                              {2, 13, {{1, 0, 3}, {0, 0, 0}, {3, 0, 20}}, -4, 2},
                                              {1, -1, {{1, 0, 3}, {0, 0, 0}, {4, 0, 20}}, -4, 2},
                                              {-2, -1, {{1, 0, 3}, {0, 0, 0}, {3, 0, 20}}, -4, 2},
                                              {1, 13, singular, 0, 0},
                                              {11, -1, {{1, 1, 0}, {1, 1, 0}, {0, 0, 1}}, -4, -1},
                                              {11, 13, {{0, 1, 0}, {0, 2, 0}, {0, 3, 1}}, 0, 0}}) {
        SCOPED_TRACE("mtype " + std::to_string(each.mtype) + ", perturbation " +
                     std::to_string(each.perturbation));
        const System<double, int> system = whole(each.mtype, each.rows);
        Caller<double, int> caller(each.mtype);
        caller.control(10) = each.perturbation;
        std::vector<double> x;
        EXPECT_EQ(solve(caller, system, 13, x), each.error);
        if (each.zero_row >= 0) {
            EXPECT_EQ(caller.control(30), each.zero_row);
        }
        EXPECT_EQ(caller.control(14), each.perturbation == 13 && each.error == 0 ? 1 : 0);
        if (each.mtype == -2 && each.error == 0) {
            EXPECT_EQ(caller.control(22), 2);
            EXPECT_EQ(caller.control(23), 1);
        }
    }
}

TEST(Pardiso, RefusesWhatIsInconsistent)
{
    std::vector<std::vector<double>> full(10, std::vector<double>(10, 1));
    for (std::size_t i = 0; i < full.size(); ++i)
        full[i][i] = 50;
    const System<double, int> good = whole(11, full);
    const auto refused = [&](auto spoil, core_int error = -1) {
        System<double, int> system = good;
        Caller<double, int> caller(11);
        caller.control(27) = 1;
        std::vector<double> x;
        int phase = 13;
        spoil(caller, system, phase);
        EXPECT_EQ(solve(caller, system, phase, x), error);
    };
    refused([](auto&, auto&, int&) {}, 0);
    refused([](auto&, auto& s, int&) { s.ja.back() = 11; });
    refused([](auto&, auto& s, int&) { s.ja.back() = 0; });
    refused([](auto&, auto& s, int&) { s.ia.front() = 0; });
    refused([](auto&, auto& s, int&) { s.ia[3] = s.ia[10]; });
    refused([](auto&, auto& s, int&) { s.ja[1] = s.ja[0]; });
    refused([](auto& c, auto&, int&) { c.mtype = -2; }); // its lower triangle is there
    refused([](auto& c, auto&, int&) { c.mtype = 5; });
    refused([](auto& c, auto&, int&) { c.mnum = 2; });
    refused([](auto& c, auto&, int&) { c.pt[0] = &c; });
    refused([](auto&, auto& s, int&) { s.n = 0; });
    refused([](auto& c, auto&, int&) { c.control(36) = 1; });
    refused([](auto& c, auto&, int&) { c.control(60) = 2; });
    for (const int phase : {22, 23, 33, 331, 21, 14, 10, 3})
        refused([phase](auto&, auto&, int& which) { which = phase; });
    Caller<double, core_int> wide(11);
    const System<double, core_int> any(11, 5, 1);
    EXPECT_EQ(wide.phase(11, core_int{1} << 31, any.a.data(), any.ia.data(), any.ja.data(), nullptr, 1,
                         nullptr, nullptr),
              -8);
}

int stops_at = 0;
std::vector<std::string> stages;
int watch(const int*, const int* step, char* stage, int length)
{
    stages.emplace_back(stage, static_cast<std::size_t>(length));
    return *step >= stops_at ? 1 : 0;
}

TEST(Pardiso, AsksWhetherToGoOn)
{
    const System<double, int> system(11, 10, 0);
    Caller<double, int> caller(11);
    std::vector<double> x;
    stops_at = 60, stages.clear();
    service<void*>("set_progress", &watch);
    EXPECT_EQ(solve(caller, system, 13, x), -13);
    EXPECT_EQ(stages, (std::vector<std::string>{"analysis", "factors"}));
    stops_at = 101;
    EXPECT_EQ(solve(caller, system, 13, x), 0);
    service<void*>("set_progress", nullptr);
}

TEST(Pardiso, SolvesInSeveralThreadsAtOnce)
{
    const auto work = [](int mtype) {
        for (int k = 0; k < 12; ++k) {
            std::vector<double> x, again;
            static std::mutex one; // of the random numbers
            std::unique_lock hold(one);
            const System<double, int> system(mtype, 200, 1);
            hold.unlock();
            Caller<double, int> first(mtype), second(mtype);
            EXPECT_EQ(solve(first, system, 13, x), 0);
            EXPECT_EQ(solve(second, system, 13, again), 0);
            EXPECT_EQ(x, again);
        }
    };
    std::thread other(work, 11);
    work(-2);
    other.join();
}

TEST(Pardiso, TellsOfMissingMemoryAndLosesNone)
{
    const System<double, int> system(-2, 30, 1);
    std::vector<double> x;
    const Use before = in_use();
    core_int error = -2;
    for (std::size_t more = 1; error == -2; more *= 2) {
        ASSERT_LT(more, std::size_t{1} << 30);
        service("set_memory_limit", 1, static_cast<std::size_t>(before.first) + more);
        {
            Caller<double, int> caller(-2);
            error = solve(caller, system, 13, x);
        }
        service("set_memory_limit", 1, std::size_t{0});
        EXPECT_EQ(in_use(), before);
        if (more == 1) {
            EXPECT_EQ(error, -2);
        }
    }
    EXPECT_EQ(error, 0);
}

/// Runs with each allocation refused once, until none is left to be refused; returns how many there were.
template <class Run>
int refused_in_turn(const Run& run)
{
    for (int k = 0; k < 1000; ++k) {
        const Use before = in_use();
        const int before_objects = objects;
        spared = k;
        run();
        const bool was_refused = spared < 0;
        spared = -1;
        EXPECT_EQ(in_use(), before) << "allocation " << k;
        EXPECT_EQ(objects, before_objects) << "allocation " << k;
        if (!was_refused)
            return k;
    }
    return -1;
}

// The phase that meets it gives -2; after it, all may be done anew.
QNM_TYPED(Pardiso, LosesNothingWhateverIsRefused)
{
    for (const int mtype : kinds<T>()) {
        SCOPED_TRACE("mtype " + std::to_string(mtype));
        System<T, int> system(mtype, 20, 1, 2);
        std::vector<int> order(10);
        std::vector<T> expected, x(20), b(20, T(1));
        {
            Caller<T, int> caller(mtype);
            ASSERT_EQ(solve(caller, system, 13, expected), 0);
        }
        const int all = refused_in_turn([&] {
            Caller<T, int> caller(mtype);
            caller.control(5) = 2;
            caller.control(8) = 2;
            caller.control(37) = 2;
            const auto run = [&](int phase) {
                const bool refuses = spared >= 0;
                const core_int error = caller.phase(phase, 10, system.a.data(), system.ia.data(),
                                                    system.ja.data(), order.data(), 1, b.data(), x.data());
                EXPECT_EQ(error, refuses && spared < 0 ? -2 : 0) << "phase " << phase;
                return error == 0;
            };
            if (!run(11) || !run(22) || !run(33)) {
                EXPECT_TRUE(run(13));
            }
            for (std::size_t i = 0; i < x.size(); ++i)
                ASSERT_LE(std::abs(x[i] - expected[i]), 400 * std::numeric_limits<real_t<T>>::epsilon());
        });
        EXPECT_GT(all, 6);
    }
}

QNM_TYPED(Pardiso, KeepsHandlesInAFolder)
{
    std::string folder = ::testing::TempDir() + "/pardiso-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const auto files = [&] {
        return std::distance(std::filesystem::directory_iterator(folder),
                             std::filesystem::directory_iterator());
    };
    const auto kept = [&](const char* step, auto&... pt) {
        int error = -99;
        by_value(std::string("qnm_pds_lp64_pardiso_handle_") + step, pt..., folder.c_str(), &error);
        return error;
    };
    for (const int mtype : kinds<T>()) {
        SCOPED_TRACE("mtype " + std::to_string(mtype));
        System<T, int> system(mtype, 25, 0), other = system;
        other.renew();
        std::vector<T> x, second, again;
        Caller<T, int> caller(mtype), restored(mtype);
        caller.maxfct = restored.maxfct = 3;
        EXPECT_EQ(solve(caller, system, 11, x), 0);
        EXPECT_EQ(kept("store", caller.pt), 0); // replaced below
        EXPECT_EQ(solve(caller, system, 23, x), 0);
        caller.mnum = 3;
        EXPECT_EQ(solve(caller, other, 23, second), 0);
        EXPECT_EQ(kept("store", caller.pt), 0);
        EXPECT_EQ(files(), 5);
        EXPECT_EQ(kept("restore", restored.pt), 0);
        EXPECT_EQ(solve(restored, system, 33, again), 0);
        EXPECT_EQ(again, x);
        restored.mnum = 2;
        EXPECT_EQ(solve(restored, system, 33, again), -1);
        restored.mnum = 3;
        EXPECT_EQ(solve(restored, other, 33, again), 0);
        EXPECT_EQ(again, second);
        system.renew();
        EXPECT_EQ(solve(restored, system, 23, again), 0); // other values, and a new slot by the old structure
        restored.mnum = 2;
        EXPECT_EQ(solve(restored, system, 23, second), 0);
        Matrix<T> b(25, 1, 0), found(25, 1, 0);
        std::ranges::fill(b.data, T(1));
        for (const auto* each : {&again, &second}) {
            std::ranges::copy(*each, found.data.begin());
            expect_solved(found, solved('N', system.dense, b));
        }
        EXPECT_EQ(kept("delete"), 0);
        EXPECT_EQ(files(), 0);
    }
    std::array<void*, 64> pt{};
    EXPECT_EQ(kept("store", pt), -1);
    EXPECT_EQ(kept("restore", pt), -10);
    EXPECT_EQ(kept("delete"), -10);
    const System<T, int> system(kinds<T>()[0], 5, 1);
    std::vector<T> x;
    Caller<T, int> caller(system.mtype);
    EXPECT_EQ(solve(caller, system, 12, x), 0);
    EXPECT_EQ(kept("store", caller.pt), 0);
    std::fstream(folder + "/pardiso.qnm", std::ios::in | std::ios::out).seekp(60) << 'x';
    EXPECT_EQ(kept("restore", pt), -11);
    EXPECT_EQ(pt[0], nullptr);
    std::filesystem::remove_all(folder);
    EXPECT_EQ(kept("store", caller.pt), -10);
}

// ---- DSS

template <class... A>
int dss(const std::string& name, const A&... arguments)
{
    const std::string routine = "qnm_pds_lp64_dss_" + name;
    const Counting now;
    return by_value<int>(routine, arguments...);
}

TEST(Dss, LosesNothingWhateverIsRefused)
{
    const int none = 0, structure = 536871104, ordering = 268435520, sign = 134217856, refined = 8192, n = 20,
              one = 1;
    System<double, int> system(11, n, 1);
    const int stored = static_cast<int>(system.ja.size());
    std::vector<double> b(20, 1), x(20);
    std::vector<int> order(20);
    const int all = refused_in_turn([&] {
        void* handle = nullptr;
        const auto done = [&](auto step) {
            const bool refuses = spared >= 0;
            if (int status = step(); status != 0) {
                EXPECT_TRUE(refuses && spared < 0);
                EXPECT_EQ(status, -2);
                EXPECT_EQ(step(), 0);
            }
        };
        done([&] { return dss("create", &handle, &none); });
        done([&] {
            return dss("define_structure", &handle, &structure, system.ia, &n, &n, system.ja, &stored);
        });
        done([&] { return dss("reorder", &handle, &ordering, order); });
        done([&] { return dss("factor_real", &handle, &sign, system.a); });
        done([&] { return dss("solve_real", &handle, &refined, b, &one, x); });
        EXPECT_EQ(dss("delete", &handle, &none), 0);
    });
    EXPECT_GT(all, 8);
}

/// The published codes of a kind: its structure, and the sign of its factors.
std::pair<int, int> codes(int mtype)
{
    switch (mtype) {
    case 1:
        return {536871040, 134217856};
    case 2:
        return {536870976, 134217792};
    case -2:
        return {536870976, 134217856};
    case 11:
        return {536871104, 134217856};
    case 3:
        return {536871232, 134217856};
    case 4:
        return {536871168, 134217920};
    case -4:
        return {536871168, 134217984};
    case 6:
        return {536871168, 134217856};
    default:
        return {536871296, 134217856};
    }
}

/// The determinant's logarithm and its direction, by dense factors.
template <class T>
std::pair<double, cdouble> determinant(const Matrix<T>& a)
{
    Matrix<T> lu = a;
    std::vector<core_int> pivots(static_cast<std::size_t>(a.rows));
    lapack<T>("?getrf", a.rows, a.rows, lu, pivots.data());
    double size = 0;
    cdouble direction = 1;
    for (core_int i = 0; i < a.rows; ++i) {
        const cdouble pivot = lu(i, i);
        size += std::log10(std::abs(pivot));
        direction *= pivot / std::abs(pivot) * (pivots[static_cast<std::size_t>(i)] == i + 1 ? 1.0 : -1.0);
    }
    return {size, direction};
}

QNM_TYPED(Dss, SolvesAsDenseFactorsDo)
{
    const std::string domain = is_complex<T> ? "complex" : "real";
    const real_t<T> tolerance = 2000 * std::numeric_limits<real_t<T>>::epsilon();
    for (int k = 0; k < 60; ++k) {
        const std::vector<int> all = kinds<T>();
        const int mtype = all[static_cast<std::size_t>(k) % all.size()];
        SCOPED_TRACE("mtype " + std::to_string(mtype));
        System<T, int> system(mtype, random_integer(1, 20), random_integer(0, 1));
        const int n = static_cast<int>(system.n), stored = static_cast<int>(system.ja.size());
        const auto [structure, sign] = codes(mtype);
        const int options = (std::is_same_v<real_t<T>, float> ? 65536 : 0) + (system.base == 0 ? 131072 : 0) +
                            random_integer(0, 1) * 8192;
        const int how = random_integer(0, 2), sides = random_integer(1, 3);
        const int turned = std::array{0, 524288, 262144}[static_cast<std::size_t>(how)];
        const int ordering = std::array{268435520, 268435712}[static_cast<std::size_t>(random_integer(0, 1))];
        const int given = 268435584;
        void* handle = nullptr;
        std::vector<int> order(static_cast<std::size_t>(n), -7);
        ASSERT_EQ(dss("create", &handle, &options), 0);
        ASSERT_EQ(dss("define_structure", &handle, &structure, system.ia, &n, &n, system.ja, &stored), 0);
        ASSERT_EQ(dss("reorder", &handle, &ordering, order), 0);
        if (ordering != 268435520) {
            ASSERT_EQ(dss("reorder", &handle, &given, order), 0);
        }
        const Matrix<T> b(n, sides, 0);
        Matrix<T> x(n, sides, 0);
        for (int again = 0; again < 2; ++again, system.renew()) {
            ASSERT_EQ(dss("factor_" + domain, &handle, &sign, system.a), 0);
            ASSERT_EQ(dss("solve_" + domain, &handle, &turned, b.data.data(), &sides, x.data.data()), 0);
            expect_solved(x, solved("NCT"[how], system.dense, b));
            std::array<double, 4> told{};
            ASSERT_EQ(dss("statistics", &handle, &turned, "ReorderTime, determinant", told), 0);
            const auto [size, direction] = determinant(system.dense);
            EXPECT_LT(told[0], 1);
            const cdouble base{told[2], told[3]};
            EXPECT_GE(std::abs(base), 1 - tolerance);
            EXPECT_LE(std::abs(base), 10);
            EXPECT_NEAR(told[1] + std::log10(std::abs(base)), size, tolerance);
            EXPECT_LE(std::abs(base / std::abs(base) - direction), tolerance);
            if (mtype == 2 || mtype == -2) {
                int negative = 0;
                for (core_int i = 0; i < n; ++i)
                    negative += std::real(system.dense(i, i)) < 0 ? 1 : 0;
                ASSERT_EQ(dss("statistics", &handle, &turned, "Inertia", told), 0);
                EXPECT_EQ(told, (std::array<double, 4>{double(n - negative), double(negative), 0, told[3]}));
            }
        }
        EXPECT_EQ(dss("delete", &handle, &turned), 0);
        EXPECT_EQ(handle, nullptr);
    }
}

TEST(Dss, TellsWhatIsWrong)
{
    const int none = 0, structure = 536870976, ordering = 268435520, given = 268435584, positive = 134217792;
    const System<double, int> system = whole(2, {{1, 2, 0}, {2, 1, 0}, {0, 0, 3}});
    std::vector<int> ia = system.ia, ja = system.ja;
    int n = 3, columns = 3, stored = 4;
    std::vector<double> x(3);
    std::vector<int> order{1, 2, 2};
    void* handle = nullptr;
    EXPECT_EQ(dss("delete", &handle, &none), -9);
    ASSERT_EQ(dss("create", &handle, &none), 0);
    const auto define = [&](int code) {
        return dss("define_structure", &handle, &code, ia, &n, &columns, ja, &stored);
    };
    EXPECT_EQ(dss("reorder", &handle, &ordering, order), -9);
    EXPECT_EQ(define(0), -14);
    columns = 4;
    EXPECT_EQ(define(structure), -8);
    columns = 3, stored = 5;
    EXPECT_EQ(define(structure), -7);
    stored = 3;
    EXPECT_EQ(define(structure), -6);
    stored = 4, ja[3] = 4;
    EXPECT_EQ(define(structure), -5);
    ja[3] = 3, ia[1] = 9;
    EXPECT_EQ(define(structure), -4);
    ia[1] = 3;
    EXPECT_EQ(define(structure), 0);
    EXPECT_EQ(dss("factor_real", &handle, &positive, system.a), -9);
    EXPECT_EQ(dss("reorder", &handle, &given, order), -15);
    EXPECT_EQ(dss("reorder", &handle, &ordering, order), 0);
    EXPECT_EQ(dss("factor_complex", &handle, &positive, system.a), -16);
    EXPECT_EQ(dss("factor_real", &handle, &positive, system.a), -1);
    const int one = 1;
    EXPECT_EQ(dss("solve_real", &handle, &none, x, &one, x), -9);
    EXPECT_EQ(dss("statistics", &handle, &none, "Weight", x), -17);
    EXPECT_EQ(dss("statistics", &handle, &none, "Inertia", x), -18);
    EXPECT_EQ(dss("delete", &handle, &none), 0);
}

// ---- tools, and what nobody carries

struct Examined {
    int n;
    const int *ia, *ja;
    int indexing, structure, format, message_level, print_style;
    int result[3];
};

TEST(SparseMatrixChecker, FindsTheFirstThingThatIsWrong)
{
    const auto found = [](std::vector<int> ia, std::vector<int> ja, int indexing, int structure) {
        Examined of;
        by_value("qnm_pds_lp64_sparse_matrix_checker_init", &of);
        of.n = 2, of.ia = ia.data(), of.ja = ja.data(), of.indexing = indexing, of.structure = structure;
        EXPECT_EQ(by_value<int>("qnm_pds_lp64_sparse_matrix_checker", &of), of.result[0]);
        return std::vector<int>(of.result, of.result + 3);
    };
    EXPECT_EQ(found({1, 3, 4}, {1, 2, 2}, 1, 1), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(found({0, 2, 3}, {0, 1, 1}, 0, 0), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(found({1, 3, 2}, {1, 2, 2}, 1, 0), (std::vector<int>{21, 2, 1}));
    EXPECT_EQ(found({1, 3, 4}, {1, 2, 3}, 1, 0), (std::vector<int>{22, 2, 3}));
    EXPECT_EQ(found({0, 2, 3}, {0, -1, 1}, 0, 0), (std::vector<int>{22, 0, 1}));
    EXPECT_EQ(found({1, 3, 4}, {1, 2, 1}, 1, 1), (std::vector<int>{23, 2, 3}));
    EXPECT_EQ(found({1, 3, 4}, {1, 2, 1}, 1, 2), (std::vector<int>{23, 1, 2}));
    EXPECT_EQ(found({1, 3, 4}, {2, 1, 1}, 1, 0), (std::vector<int>{24, 1, 2}));
}

TEST(DirectSolvers, WhatNobodyCarriesSaysSoInItsError)
{
    for (const auto& [name, place] :
         std::vector<std::pair<std::string, std::size_t>>{{"pardiso_export_z", 7},
                                                          {"pardiso_getdiag", 5},
                                                          {"cluster_sparse_solver", 17},
                                                          {"cluster_sparse_solver_sc_64_2d", 17},
                                                          {"cluster_sparse_solver_export_f", 4},
                                                          {"cluster_sparse_solver_get_csr_size", 6},
                                                          {"cluster_sparse_solver_set_csr_ptrs_dc", 7},
                                                          {"cluster_sparse_solver_set_ptr_i", 5}}) {
        SCOPED_TRACE(name);
        std::vector<core_int> arguments(place + 1, 77);
        std::vector<const void*> addresses;
        for (std::size_t k = 0; k < place; ++k)
            addresses.push_back(&arguments[k]);
        by_pointers("qnm_pds_lp64_" + name, addresses);
        const bool wide = name.find("_64") != std::string::npos;
        const core_int error = arguments[place - 1];
        EXPECT_EQ(wide ? error : static_cast<int>(error), -1);
        arguments[place - 1] = 77;
        EXPECT_EQ(arguments, std::vector<core_int>(place + 1, 77));
    }
}

TEST(DirectSolvers, TextGetsAnEnd)
{
    std::string text(5, 'x');
    const int length = 3;
    by_value("qnm_pds_lp64_qnm_cvt_to_null_terminated_str", text, &length, "abcd");
    EXPECT_EQ(text, std::string("abc\0x", 5));
}

} // namespace
} // namespace qnm::test
