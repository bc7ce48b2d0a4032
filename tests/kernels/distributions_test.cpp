// Distributions against Boost.Math: inverses of the same fractions, and tests of fit at fixed seeds.
#include "streams.hpp"

#include <algorithm>
#include <boost/math/distributions.hpp>
#include <functional>
#include <numeric>

namespace {

using namespace streams;
namespace math = boost::math;

constexpr int mt19937 = 0x800000, mcg59 = 0x400000;
constexpr int accurate = 0x40000000;

template <class T, class... P>
std::vector<T> variates(const std::string& distribution, int method, std::size_t count, int n,
                        P... parameters)
{
    Owned stream(mt19937, {2024});
    std::vector<T> r(count);
    EXPECT_EQ(call("_vsl" + distribution, method, static_cast<Stream*>(stream), n, r.data(), parameters...),
              0);
    return r;
}

/// Each variate is the inverse of its fraction, in both types; `quantile` takes the chance to be above.
template <class... P>
void expect_inverse(const std::string& name, int method, const std::function<double(double)>& quantile,
                    P... parameters)
{
    constexpr int n = 3000;
    const std::vector<double> u = Owned(mt19937, {2024}).doubles(n);
    const std::vector<float> v = Owned(mt19937, {2024}).floats(n);
    const auto doubles = variates<double>("dRng" + name, method, n, n, static_cast<double>(parameters)...);
    const auto floats = variates<float>("sRng" + name, method, n, n, static_cast<float>(parameters)...);
    for (std::size_t i = 0; i < n; ++i) {
        const double exact = quantile(u[i]), of_float = quantile(static_cast<double>(v[i]));
        ASSERT_NEAR(doubles[i], exact, 1e-13 * (1 + std::abs(exact))) << name << " of " << u[i];
        ASSERT_NEAR(static_cast<double>(floats[i]), of_float, 1e-6 * (1 + std::abs(of_float)))
            << name << " of " << v[i];
    }
}
template <class D>
auto above(const D& distribution, double shift = 0)
{
    return [=](double u) { return shift + math::quantile(math::complement(distribution, u)); };
}

TEST(Distributions, Inverses)
{
    expect_inverse(
        "Uniform", 0, [](double u) { return -2 + 5 * u; }, -2.0, 3.0);
    expect_inverse("Exponential", 0, above(math::exponential(1 / 1.5), 2), 2.0, 1.5);
    expect_inverse(
        "Laplace", 0, [](double u) { return math::quantile(math::laplace(2, 1.5), u); }, 2.0, 1.5);
    expect_inverse(
        "Cauchy", 0, [](double u) { return math::quantile(math::cauchy(2, 1.5), u); }, 2.0, 1.5);
    expect_inverse("Rayleigh", 0, above(math::rayleigh(1.5 / std::sqrt(2.0)), 2), 2.0, 1.5);
    // That of the minimum is that of the maximum of the negatives.
    expect_inverse(
        "Gumbel", 0, [](double u) { return -math::quantile(math::extreme_value(-2, 1.5), u); }, 2.0, 1.5);
    for (const double alpha : {0.3125, 1.0, 7.0})
        expect_inverse("Weibull", 0, above(math::weibull(alpha, 1.5), 2), alpha, 2.0, 1.5);
    expect_inverse(
        "Gaussian", 2, [](double u) { return math::quantile(math::normal(2, 1.5), u); }, 2.0, 1.5);
    expect_inverse(
        "Lognormal", 1, [](double u) { return 3 + 0.5 * math::quantile(math::lognormal(2, 0.5), u); }, 2.0,
        0.5, 3.0, 0.5);
}

TEST(Distributions, InversesOfIntegers)
{
    constexpr int n = 5000;
    const std::vector<double> u = Owned(mt19937, {2024}).doubles(n);
    for (const double p : {1e-9, 0.01, 0.5, 0.999}) {
        const std::vector<int> geometric = variates<int>("iRngGeometric", 0, n, n, p);
        const std::vector<int> bernoulli = variates<int>("iRngBernoulli", 0, n, n, p);
        for (std::size_t i = 0; i < n; ++i) {
            const long double exact =
                std::log(static_cast<long double>(u[i])) / std::log1p(-static_cast<long double>(p));
            ASSERT_EQ(geometric[i], exact < INT32_MAX ? static_cast<int>(exact) : INT32_MAX) << p;
            ASSERT_EQ(bernoulli[i], u[i] < p) << p;
        }
    }
    for (const auto& [a, b] : {std::pair{0, 6}, {-7, -6}, {INT32_MIN, INT32_MAX}}) {
        const std::vector<int> r = variates<int>("iRngUniform", 0, n, n, a, b);
        for (std::size_t i = 0; i < n; ++i)
            ASSERT_EQ(r[i], a + static_cast<std::int64_t>(std::floor(u[i] * (static_cast<double>(b) - a))));
    }
}

// A fraction of 0 makes no infinite variate; 1 - 2^-32 is the largest.
TEST(Distributions, EndsOfTheFractions)
{
    const auto of = [](const std::string& name, std::uint32_t word, auto... parameters) {
        Owned stream;
        std::uint32_t buffer[] = {word, 0x80000000U};
        const auto refill = +[](Stream*, int*, std::uint32_t*, int*, int*, int*) { return 0; };
        EXPECT_EQ(call("__vsliNewAbstractStream", stream.slot(), 2, buffer, refill), 0);
        return stream.draw<double>(name, 1, parameters...)[0];
    };
    for (const char* const name : {"Exponential", "Laplace", "Cauchy", "Rayleigh", "Gumbel", "Gaussian"})
        for (const std::uint32_t word : {0U, UINT32_MAX})
            EXPECT_TRUE(std::isfinite(of(std::string("dRng") + name, word, 0.0, 1.0))) << name << word;
    EXPECT_TRUE(std::isfinite(of("dRngWeibull", 0, 1.0, 0.0, 1.0)));
    EXPECT_DOUBLE_EQ(of("dRngExponential", 0, 0.0, 1.0), 33 * std::log(2.0));

    // The end of an interval is reached by rounding, but not where it is forbidden.
    const double a = 1e16, b = 1e16 + 2;
    const auto plain = variates<double>("dRngUniform", 0, 1000, 1000, a, b);
    const auto inside = variates<double>("dRngUniform", accurate, 1000, 1000, a, b);
    EXPECT_EQ(*std::max_element(plain.begin(), plain.end()), b);
    EXPECT_EQ(*std::max_element(inside.begin(), inside.end()), a);
}

TEST(Distributions, NormalPairs)
{
    constexpr int n = 2001;
    const auto first = variates<double>("dRngGaussian", 0, n, n, 0.0, 1.0);
    const auto both = variates<double>("dRngGaussian", 1, 2 * n, 2 * n, 0.0, 1.0);
    for (std::size_t i = 0; i < n; ++i)
        ASSERT_EQ(first[i], both[2 * i]);
    const std::vector<double> u = Owned(mt19937, {2024}).doubles(2);
    const double radius = std::sqrt(-2 * std::log(u[0])), angle = 6.28318530717958648 * u[1];
    EXPECT_NEAR(both[0], radius * std::sin(angle), 1e-14);
    EXPECT_NEAR(both[1], radius * std::cos(angle), 1e-14);

    Owned stream(mt19937, {2024});
    std::vector<double> pieces(2 * n);
    for (int at = 0, piece = 1; at < 2 * n; at += piece, piece = std::min(piece + 110, 2 * n - at))
        call("_vsldRngGaussian", 1, static_cast<Stream*>(stream), piece, pieces.data() + at, 0.0, 1.0);
    EXPECT_EQ(pieces, both);

    // Whoever moves on leaves no second variate behind.
    const double second = Owned(mcg59, {2024}).draw<double>("dRngGaussian", 2, 0.0, 1.0)[1];
    for (const bool by_leapfrog : {false, true}) {
        Owned moved(mcg59, {2024});
        double r;
        EXPECT_EQ(call("_vsldRngGaussian", 1, static_cast<Stream*>(moved), 1, &r, 0.0, 1.0), 0);
        EXPECT_EQ(by_leapfrog ? call("__vslLeapfrogStream", static_cast<Stream*>(moved), 0, 1)
                              : call("__vslSkipAheadStream", static_cast<Stream*>(moved), 0LL),
                  0);
        EXPECT_EQ(call("_vsldRngGaussian", 1, static_cast<Stream*>(moved), 1, &r, 0.0, 1.0), 0);
        EXPECT_EQ(r, second);
    }

    // By rows of a lower triangle in each storage.
    constexpr int dimensions = 3, count = 500;
    const double a[] = {1, -2, 3}, full[] = {2, 9, 9, 0.5, 3, 9, -1, 0.25, 4},
                 packed[] = {2, 0.5, 3, -1, 0.25, 4}, diagonal[] = {2, 3, 4};
    const double* const storages[] = {full, packed, diagonal};
    for (const int storage : {0, 1, 2}) {
        const auto r = variates<double>("dRngGaussianMV", 1, dimensions * count, count, dimensions, storage,
                                        &a[0], storages[storage]);
        for (std::size_t i = 0; i < r.size(); i += 3) {
            const double *const z = &both[i], *const d = diagonal;
            const double row1 = storage == 2 ? 0 : 0.5 * z[0], row2 = storage == 2 ? 0 : -z[0] + 0.25 * z[1];
            ASSERT_NEAR(r[i], 1 + d[0] * z[0], 1e-13);
            ASSERT_NEAR(r[i + 1], -2 + row1 + d[1] * z[1], 1e-13);
            ASSERT_NEAR(r[i + 2], 3 + row2 + d[2] * z[2], 1e-13);
        }
    }
}

constexpr int sample = 100000;

/// Kolmogorov and Smirnov: the distance is larger than this once in a thousand samples.
template <class T, class D>
void expect_fit(std::vector<T> r, const D& distribution, const std::string& what)
{
    std::sort(r.begin(), r.end());
    double distance = 0;
    for (std::size_t i = 0; i < r.size(); ++i) {
        const double chance = math::cdf(distribution, static_cast<double>(r[i]));
        distance = std::max({distance, chance - static_cast<double>(i) / sample,
                             static_cast<double>(i + 1) / sample - chance});
    }
    EXPECT_LT(distance * std::sqrt(sample), 1.95) << what;
}

TEST(Distributions, FitOfRealOnes)
{
    for (const int method : {0, 1}) {
        expect_fit(variates<double>("dRngGaussian", method, sample, sample, 2.0, 1.5), math::normal(2, 1.5),
                   "normal");
        expect_fit(variates<float>("sRngGaussian", method, sample, sample, 2.0F, 1.5F), math::normal(2, 1.5),
                   "normal");
    }
    expect_fit(variates<double>("dRngLognormal", 0, sample, sample, 2.0, 0.5, 0.0, 1.0),
               math::lognormal(2, 0.5), "lognormal");
    for (const double alpha : {0.05, 0.9, 1.0, 1.1, 20.0, 1e4}) {
        const std::string what = "gamma " + std::to_string(alpha);
        expect_fit(variates<double>("dRngGamma", 0, sample, sample, alpha, 0.0, 2.0),
                   math::gamma_distribution(alpha, 2.0), what);
        if (alpha > 0.5) // below, more than single precision holds
            expect_fit(variates<float>("sRngGamma", 0, sample, sample, static_cast<float>(alpha), 0.0F, 2.0F),
                       math::gamma_distribution(static_cast<double>(static_cast<float>(alpha)), 2.0), what);
    }
    for (const int v : {1, 2, 3, 50})
        expect_fit(variates<double>("dRngChiSquare", 0, sample, sample, v), math::chi_squared(v),
                   "chi square " + std::to_string(v));
    expect_fit(variates<float>("sRngChiSquare", 0, sample, sample, 3), math::chi_squared(3),
               "chi square, single");
    expect_fit(variates<float>("sRngBeta", accurate, sample, sample, 3.0F, 2.0F, 0.0F, 1.0F),
               math::beta_distribution(3.0, 2.0), "beta, single");
    for (const auto& [p, q] : {std::pair{1.0, 1.0},
                               {1.0, 3.0},
                               {0.5, 1.0},
                               {1.1, 1.2},
                               {40.0, 2.0},
                               {2.0, 40.0},
                               {0.2, 0.3},
                               {0.3, 0.2},
                               {0.7, 0.8},
                               {0.8, 0.7},
                               {0.5, 3.0},
                               {3.0, 0.5},
                               {0.5, 1.5}})
        expect_fit(variates<double>("dRngBeta", 0, sample, sample, p, q, 0.0, 1.0),
                   math::beta_distribution(p, q), "beta " + std::to_string(p) + ", " + std::to_string(q));
}

/// Pearson's chi square over the values that are expected ten times, and what lies beyond them on either
/// side.
void expect_chances(const std::vector<int>& r, const std::function<double(int)>& chance, double mean,
                    const std::string& what)
{
    constexpr double enough = 10;
    const auto expected = [&](int k) { return sample * chance(k); };
    int low = static_cast<int>(mean), high = low;
    while (low > 0 && expected(low - 1) >= enough)
        --low;
    while (expected(high + 1) >= enough)
        ++high;
    std::vector<double> seen(static_cast<std::size_t>(high - low) + 1);
    double below = 0, beyond = 0, sum = 0, left = sample;
    for (const int k : r)
        (k < low ? below : k > high ? beyond : seen[static_cast<std::size_t>(k - low)]) += 1;
    for (int k = low; k <= high; ++k) {
        const double wanted = expected(k), difference = seen[static_cast<std::size_t>(k - low)] - wanted;
        sum += difference * difference / wanted;
        left -= wanted;
    }
    if (left >= enough)
        sum += (below + beyond - left) * (below + beyond - left) / left;
    else
        EXPECT_LT(below + beyond, left + 40) << what;
    const double freedom = std::max<double>(1, high - low + (left >= enough ? 1 : 0));
    EXPECT_LT(sum, math::quantile(math::complement(math::chi_squared(freedom), 1e-4))) << what;
}
template <class D>
auto chances(const D& distribution)
{
    return [=](int k) {
        const std::pair<double, double> support = math::support(distribution);
        return k >= support.first && k <= support.second ? math::pdf(distribution, k) : 0;
    };
}

TEST(Distributions, ChancesOfIntegers)
{
    for (const double mean : {0.1, 3.0, 9.99, 10.0, 10.99, 17.95, 100.0, 20000.5})
        expect_chances(variates<int>("iRngPoisson", 0, sample, sample, mean), chances(math::poisson(mean)),
                       mean, "Poisson " + std::to_string(mean));
    for (const double mean : {0.1, 26.9}) {
        expect_chances(variates<int>("iRngPoisson", 1, sample, sample, mean), chances(math::poisson(mean)),
                       mean, "Poisson by words " + std::to_string(mean));
        expect_chances(variates<int>("iRngPoissonV", 0, sample, sample,
                                     static_cast<const double*>(std::vector(sample, mean).data())),
                       chances(math::poisson(mean)), mean, "Poissons " + std::to_string(mean));
    }
    const auto rounded = [](int k) {
        const math::normal normal(400, 20);
        return math::cdf(normal, k + 0.5) - math::cdf(normal, k - 0.5);
    };
    expect_chances(variates<int>("iRngPoisson", 1, sample, sample, 400.0), rounded, 400, "rounded normal");

    for (const auto& [n, p] : {std::pair{1, 0.3},
                               {20, 0.1},
                               {20, 0.9},
                               {99, 0.1},
                               {101, 0.1},
                               {101, 0.9},
                               {40, 0.5},
                               {1000000, 0.3},
                               {2000000000, 1e-6},
                               {7, 0.0},
                               {7, 1.0}})
        expect_chances(variates<int>("iRngBinomial", 0, sample, sample, n, p), chances(math::binomial(n, p)),
                       n * p, "binomial " + std::to_string(n) + ", " + std::to_string(p));
    for (const auto& [a, p] : {std::pair{0.5, 0.2}, {3.0, 0.5}, {40.0, 0.1}})
        expect_chances(variates<int>("iRngNegbinomial", 0, sample, sample, a, p),
                       chances(math::negative_binomial(a, p)), a * (1 - p) / p,
                       "negative binomial " + std::to_string(a));
    // All, drawn, marked: both sides of each half, and of the switch.
    const int lots[][3] = {{10, 5, 5},         {50, 10, 45},   {50, 45, 10},    {100, 40, 40},
                           {200, 150, 60},     {200, 60, 150}, {200, 150, 150}, {2000, 500, 700},
                           {2000, 1500, 1300}, {9, 9, 4},      {9, 0, 4},       {1000000, 200, 100000}};
    for (const auto& [all, drawn, marked] : lots)
        expect_chances(
            variates<int>("iRngHypergeometric", 0, sample, sample, all, drawn, marked),
            chances(math::hypergeometric(static_cast<unsigned>(marked), static_cast<unsigned>(drawn),
                                         static_cast<unsigned>(all))),
            static_cast<double>(drawn) * marked / all,
            "hypergeometric " + std::to_string(all) + ", " + std::to_string(drawn) + ", " +
                std::to_string(marked));

    const double p[] = {0.2, 0.0, 0.5, 0.3};
    for (const int trials : {0, 9, 200}) {
        const std::vector<int> r = variates<int>("iRngMultinomial", 0, 4 * sample, sample, trials, 4, &p[0]);
        for (std::size_t column = 0; column < 4; ++column) {
            std::vector<int> of_column;
            for (std::size_t i = 0; i < r.size(); i += 4) {
                of_column.push_back(r[i + column]);
                ASSERT_EQ(std::accumulate(&r[i], &r[i] + 4, 0), trials);
            }
            expect_chances(of_column, chances(math::binomial(trials, p[column])), trials * p[column],
                           "class " + std::to_string(column) + " of " + std::to_string(trials));
        }
    }
}

} // namespace
