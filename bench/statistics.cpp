// Streams, statistics, splines and convolution beside plain loops for the same numbers.
//     qnm_bench_statistics [NAME...]      rows whose names begin so
#include "table.hpp"

#include <qnm/df.h>
#include <qnm/services.h>
#include <qnm/vsl.h>

#include <Random123/philox.h>
#define DSFMT_MEXP 19937
#include <dSFMT.h>

#include <cmath>
#include <random>

namespace {

using namespace qnm::bench;

constexpr int vector_domain = 3;
using Numbers = std::vector<double>;

void streams(const Table& table)
{
    constexpr int n = 1000;
    Numbers r(n);
    std::mt19937_64 engine;
    std::uniform_real_distribution<double> uniform;
    std::normal_distribution<double> normal;
    const auto drawn = [&](auto& distribution) {
        return [&] {
            for (double& x : r)
                x = distribution(engine);
        };
    };
    const auto filled = [&] { // by Random123's own function, two numbers of 32 bits a piece
        static r123::Philox4x32 philox;
        r123::Philox4x32::ctr_type counter{{}};
        const r123::Philox4x32::key_type key{{777, 0}};
        for (std::size_t i = 0; i < n; i += 4, ++counter[0]) {
            const auto words = philox(counter, key);
            for (std::size_t k = 0; k < 4; ++k)
                r[i + k] = words[k] * 0x1p-32;
        }
    };
    static dsfmt_t doubles;
    dsfmt_init_gen_rand(&doubles, 777);
    const auto array_filled = [&] { dsfmt_fill_array_close_open(&doubles, r.data(), n); };
    for (const auto& [name, number] : {std::pair{"uniform, SFMT19937", VSL_BRNG_SFMT19937},
                                       {"uniform, MT19937", VSL_BRNG_MT19937},
                                       {"uniform, PHILOX4X32X10", VSL_BRNG_PHILOX4X32X10}}) {
        if (!table.wants(name))
            continue;
        void* stream = nullptr;
        done(vslNewStream(&stream, number, 777));
        const Work ours = [&] { done(vdRngUniform(0, stream, n, r.data(), 0, 1)); };
        table.row(name, "std::mt19937_64, uniform", n, 0.25, drawn(uniform), ours);
        if (number == VSL_BRNG_SFMT19937)
            table.row(name, "dSFMT's array fill", n, 1.2, array_filled, ours);
        if (number == VSL_BRNG_PHILOX4X32X10)
            table.row(name, "a loop over Random123", n, 1.2, filled, ours);
        done(vslDeleteStream(&stream));
    }
    for (const auto& [name, method] :
         {std::pair{"Gaussian, Box and Muller", VSL_RNG_METHOD_GAUSSIAN_BOXMULLER2},
          {"Gaussian, inversion", VSL_RNG_METHOD_GAUSSIAN_ICDF}}) {
        if (!table.wants(name))
            continue;
        void* stream = nullptr;
        done(vslNewStream(&stream, VSL_BRNG_SFMT19937, 777));
        table.row(name, "std::mt19937_64, normal", n, 1 / 3.0, drawn(normal),
                  [&] { done(vdRngGaussian(method, stream, n, r.data(), 0, 1)); });
        done(vslDeleteStream(&stream));
    }
}

// Mean and covariance of a million observations of ten components, observation by observation.
void covariance(const Table& table)
{
    if (!table.wants("covariance"))
        return;
    constexpr int p = 10, n = 1'000'000;
    const int columns = VSL_SS_MATRIX_STORAGE_COLS, full = VSL_SS_MATRIX_STORAGE_FULL, p_of = p, n_of = n;
    Numbers x(std::size_t{p} * n), mean(p), found(std::size_t{p} * p);
    std::mt19937_64 engine;
    std::normal_distribution<double> normal;
    for (double& each : x)
        each = normal(engine);
    const auto plain = [&] {
        std::ranges::fill(mean, 0);
        std::ranges::fill(found, 0);
        for (const double* row = x.data(); row != x.data() + x.size(); row += p)
            for (std::size_t i = 0; i < p; ++i)
                mean[i] += row[i];
        for (double& each : mean)
            each /= n;
        for (const double* row = x.data(); row != x.data() + x.size(); row += p)
            for (std::size_t i = 0; i < p; ++i)
                for (std::size_t j = 0; j <= i; ++j)
                    found[i * p + j] += (row[i] - mean[i]) * (row[j] - mean[j]);
        for (double& each : found)
            each /= n - 1;
    };
    void* task = nullptr;
    done(vsldSSNewTask(&task, &p_of, &n_of, &columns, x.data(), nullptr, nullptr));
    done(vsldSSEditCovCor(task, mean.data(), found.data(), &full, nullptr, nullptr));
    for (const int threads : {1, 2}) {
        QNM_Domain_Set_Num_Threads(threads, vector_domain);
        table.row(threads == 1 ? "covariance, one thread" : "covariance, two threads", "two passes in a loop",
                  n, threads == 1 ? 1 : 0.5, plain,
                  [&] { done(vsldSSCompute(task, VSL_SS_MEAN | VSL_SS_COV, VSL_SS_METHOD_FAST)); });
    }
    QNM_Domain_Set_Num_Threads(1, vector_domain);
    done(vslSSDeleteTask(&task));
}

// A cubic spline of 1,000 cells at 100,000 sites.
void spline(const Table& table)
{
    if (!table.wants("spline"))
        return;
    constexpr int nx = 1001, sites = 100'000;
    Numbers x(nx), y(nx), c(4 * (nx - 1)), site(sites), r(sites);
    std::mt19937_64 engine;
    std::uniform_real_distribution<double> uniform;
    for (std::size_t i = 0; i < nx; ++i) {
        x[i] = static_cast<double>(i) + 0.5 * uniform(engine);
        y[i] = std::sin(0.01 * x[i]);
    }
    for (double& each : site)
        each = x.front() + (x.back() - x.front()) * uniform(engine);
    const int value = 1;
    void* task = nullptr;
    done(dfdNewTask1D(&task, nx, x.data(), DF_NON_UNIFORM_PARTITION, 1, y.data(), DF_NO_HINT));
    done(dfdEditPPSpline1D(task, DF_PP_CUBIC, DF_PP_NATURAL, DF_BC_FREE_END, nullptr, DF_NO_IC, nullptr,
                           c.data(), DF_NO_HINT));
    done(dfdConstruct1D(task, DF_PP_SPLINE, DF_METHOD_STD));
    const auto plain = [&] {
        for (std::size_t i = 0; i < sites; ++i) {
            const auto above = std::upper_bound(x.begin() + 1, x.end() - 1, site[i]);
            const auto cell = static_cast<std::size_t>(above - x.begin() - 1);
            const double d = site[i] - x[cell], *const a = &c[4 * cell];
            r[i] = a[0] + d * (a[1] + d * (a[2] + d * a[3]));
        }
    };
    const auto at = [&](int hint) {
        return [&, hint] {
            done(dfdInterpolate1D(task, DF_INTERP, DF_METHOD_PP, sites, site.data(), hint, 1, &value, nullptr,
                                  r.data(), DF_NO_HINT, nullptr));
        };
    };
    table.row("spline, sites in any order", "a loop with a binary search", sites, 0.7, plain, at(DF_NO_HINT));
    std::ranges::sort(site);
    table.row("spline, sorted sites", "the same loop", sites, 0.3, plain, at(DF_SORTED_DATA));
    done(dfDeleteTask(&task));
}

void convolution(const Table& table)
{
    for (const auto& [name, xshape, yshape] : {std::tuple{"convolution, 16 by 1000", 16, 1000},
                                               {"convolution, 256 by 10000", 256, 10000},
                                               {"convolution, 2000 by 20000", 2000, 20000}}) {
        if (!table.wants(name))
            continue;
        const int zshape = xshape + yshape - 1;
        Numbers x(static_cast<std::size_t>(xshape), 1), y(static_cast<std::size_t>(yshape), 1),
            z(static_cast<std::size_t>(zshape));
        void* task = nullptr;
        done(vsldConvNewTask1D(&task, VSL_CONV_MODE_AUTO, xshape, yshape, zshape));
        table.row(
            name, "a loop over both", zshape, 1,
            [&] {
                std::ranges::fill(z, 0);
                for (std::size_t j = 0; j < x.size(); ++j)
                    for (std::size_t i = 0; i < y.size(); ++i)
                        z[i + j] += x[j] * y[i];
            },
            [&] { done(vsldConvExec1D(task, x.data(), 1, y.data(), 1, z.data(), 1)); });
        done(vslConvDeleteTask(&task));
    }
}

} // namespace

int main(int count, char** words)
{
    QNM_Domain_Set_Num_Threads(1, vector_domain);
    const Table table(count, words);
    streams(table);
    covariance(table);
    spline(table);
    convolution(table);
}
