// Solvers by reverse communication on arrays of just the published sizes, for sanitizers to watch over; what
// they compute is examined elsewhere. A is diagonal: 1, 2, 3 ...
#include "core.hpp"

#include <cmath>

namespace qnm::test {
namespace {

using Reals = std::vector<double>;
using Words = std::vector<core_int>;

constexpr core_int n = 7, many = 2, restart = 3;

/// Runs an iterative solver, preconditioned by nothing; true if it finds x = 1.
bool iterates(const std::string& name, core_int columns, core_int words, core_int room)
{
    Reals x(n * columns), b, dpar(128), tmp(room);
    Words ipar(words), request(1);
    for (core_int k = 0; k < n * columns; ++k)
        b.push_back(static_cast<double>(k % n + 1));
    const bool several = words > 128, flexible = name == "dfgmres";
    const auto run = [&](const std::string& step, const auto&... more) {
        const auto call = [&](const auto&... size) {
            by_reference("qnm_iss_" + name + step, size..., b, more..., request, ipar, dpar, tmp);
        };
        several ? call(n, x, columns) : call(n, x);
    };
    several ? run("_init", core_int{1}) : run("_init");
    ipar[4] = 500;
    ipar[8] = ipar[10] = ipar[11] = 1;
    ipar[9] = 0;
    ipar[14] = restart;
    for (run(""); request[0] > 0; run("")) {
        const core_int from = flexible ? ipar[21] - 1 : request[0] == 1 ? 0 : 2 * n;
        const core_int to = flexible ? ipar[22] - 1 : from + n;
        for (core_int i = 0; i < n; ++i)
            tmp.at(to + i) = tmp.at(from + i) * (request[0] == 1 ? static_cast<double>(i + 1) : 1);
    }
    core_int count = 0;
    if (flexible)
        by_reference("qnm_iss_dfgmres_get", n, x, b, request, ipar, dpar, tmp, &count);
    return std::all_of(x.begin(), x.end(), [](double v) { return std::abs(v - 1) < 1e-4; });
}

TEST(Machines, Iterate)
{
    EXPECT_TRUE(iterates("dcg", 1, 128, 4 * n));
    EXPECT_TRUE(iterates("dcgmrhs", many, 128 + 2 * many, (3 + many) * n));
    EXPECT_TRUE(iterates("dfgmres", 1, 128, (2 * restart + 1) * n + restart * (restart + 9) / 2 + 1));
}

TEST(Machines, FactorsFillTheirRoom)
{
    const Reals a{4, 1, 1, 1, 4, 1, 1, 1, 4};
    const Words ia{1, 4, 7, 10}, ja{1, 2, 3, 1, 2, 3, 1, 2, 3};
    constexpr core_int rows = 3;
    for (core_int most = 0; most <= rows; ++most) {
        const core_int room = (2 * most + 1) * rows - most * (most + 1) + 1;
        Reals lu(room), dpar(128);
        Words start(rows + 1), index(room), ipar(128), error(1, 77);
        by_reference("qnm_iss_dcsrilut", rows, a, ia, ja, lu, start, index, 0.0, most, ipar, dpar, error);
        EXPECT_EQ(error[0], 0);
    }
}

TEST(Machines, SearchWithinBounds)
{
    constexpr core_int m = 3;
    Reals x(n, 0.5), eps(6, 1e-9), f(m), jacobian(m * n);
    const Reals low(n, -2), high(n, 2);
    void* handle = nullptr;
    Words request(1);
    const core_int steps = 50;
    by_reference<int>("qnm_trs_dtrnlspbc_init", &handle, n, m, x, low, high, eps, steps, steps, 0.0);
    do {
        by_reference<int>("qnm_trs_dtrnlspbc_solve", &handle, f, jacobian, request);
        for (core_int i = 0; i < m; ++i) {
            f[i] = x[i] * x[i] - 1;
            jacobian[i + i * m] = 2 * x[i];
            for (core_int j = m; j < n; ++j) {
                f[i] += x[j];
                jacobian[i + j * m] = 1;
            }
        }
    } while (request[0] > 0);
    EXPECT_EQ(by_reference<int>("qnm_trs_dtrnlspbc_delete", &handle), 1501);
    EXPECT_LT(std::abs(f[0]) + std::abs(f[1]) + std::abs(f[2]), 1e-4);
}

QNM_TYPED(Machines, Integrate)
{
    using R = real_t<T>;
    using C = std::complex<R>;
    constexpr core_int m0 = 3;
    std::vector<T> work(n * m0), small(m0 * m0), other(m0 * m0), x(n * m0);
    std::vector<C> workc(n * m0);
    std::vector<R> e(m0), residuals(m0);
    Words fpm(128);
    by_reference("qnm_feast_feastinit", fpm);
    C ze = 0;
    R epsout = 0;
    core_int job = -1, loop = 0, count = 0, info = 0;
    do {
        by_reference("qnm_feast_" + letter<T> + (is_complex<T> ? "feast_hrci" : "feast_srci"), &job, n, &ze,
                     work, workc, small, other, fpm, &epsout, &loop, R(0.5), R(2.5), m0, e, x, &count,
                     residuals, &info);
        for (core_int k = 0; k < n * m0; ++k) {
            const R value = static_cast<R>(k % n + 1);
            if (job == 11 || job == 21)
                workc[k] /= (job == 11 ? ze : std::conj(ze)) - value;
            else if ((job == 30 || job == 40) && k < n * fpm[24])
                work[k] = x[k] * (job == 30 ? value : R(1));
        }
    } while (job != 0);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(count, 2);
    EXPECT_NEAR(std::abs(e[1]), 2, 1e-4);
}

} // namespace
} // namespace qnm::test
