// Chooses the parameters of sets of four multiplicative generators, and writes them: wichmann_hill > FILE.
//
// Moduli are primes between 16718909 and 16776971, multipliers primitive roots between 112 and 127. A prime's
// multiplier is the one of the best spectral test in 4 to 6 dimensions (in 2 and 3 all are alike: (-a, 1) is
// short); the best primes are taken, and put together so that in a set no two periods have more than 2 in
// common.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <vector>

namespace {

constexpr int least_modulus = 16718909, most_modulus = 16776971;
constexpr int least_factor = 112, most_factor = 127;
constexpr int sets = 273, parts = 4, most_dimensions = 6;

using Vector = std::array<double, most_dimensions>;

double dot(const Vector& x, const Vector& y)
{
    return std::inner_product(x.begin(), x.end(), y.begin(), 0.0);
}

/// A lattice's basis with its orthogonal vectors and their projections.
struct Basis {
    int n;
    std::array<Vector, most_dimensions> b{}, orthogonal{};
    std::array<std::array<double, most_dimensions>, most_dimensions> mu{};

    void project()
    {
        for (int i = 0; i < n; ++i) {
            orthogonal[i] = b[i];
            for (int j = 0; j < i; ++j) {
                mu[i][j] = dot(b[i], orthogonal[j]) / dot(orthogonal[j], orthogonal[j]);
                for (int k = 0; k < n; ++k)
                    orthogonal[i][k] -= mu[i][j] * orthogonal[j][k];
            }
        }
    }
    // Lenstra, Lenstra, Lovász 1982.
    void reduce()
    {
        project();
        for (int i = 1; i < n;) {
            for (int j = i - 1; j >= 0; --j) {
                const double whole = std::round(mu[i][j]);
                if (whole == 0)
                    continue;
                for (int k = 0; k < n; ++k)
                    b[i][k] -= whole * b[j][k];
                project();
            }
            const double here = dot(orthogonal[i], orthogonal[i]);
            const double before = dot(orthogonal[i - 1], orthogonal[i - 1]);
            if (here >= (0.99 - mu[i][i - 1] * mu[i][i - 1]) * before) {
                ++i;
                continue;
            }
            std::swap(b[i], b[i - 1]);
            project();
            i = std::max(i - 1, 1);
        }
    }
    /// Square of the shortest length, by all combinations that could be shorter (Fincke, Pohst 1985).
    double shortest() const
    {
        double best = dot(b[0], b[0]);
        std::array<double, most_dimensions> x{};
        const auto look = [&](auto&& self, int i, double length) -> void {
            if (i < 0) {
                if (length > 0.5)
                    best = std::min(best, std::round(length));
                return;
            }
            double centre = 0;
            for (int j = i + 1; j < n; ++j)
                centre -= x[j] * mu[j][i];
            const double norm = dot(orthogonal[i], orthogonal[i]);
            const double reach = std::sqrt(std::max(0.0, (best - length) / norm));
            for (x[i] = std::ceil(centre - reach); x[i] <= centre + reach; ++x[i])
                self(self, i - 1, length + (x[i] - centre) * (x[i] - centre) * norm);
        };
        look(look, n - 1, 0);
        return best;
    }
};

double merit(int modulus, int factor)
{
    // Squares of Hermite's constants in these dimensions.
    constexpr double hermite[] = {0, 0, 0, 0, 1.4142135623730951, 1.515716566510398, 1.6653663553112088};
    double worst = 1;
    for (int n = 4; n <= most_dimensions; ++n) {
        Basis basis{n};
        basis.b[0][0] = modulus;
        std::int64_t power = 1;
        for (int i = 1; i < n; ++i) {
            power = power * factor % modulus;
            basis.b[i][0] = -static_cast<double>(power);
            basis.b[i][i] = 1;
        }
        basis.reduce();
        worst = std::min(worst, std::sqrt(basis.shortest() / hermite[n]) / std::pow(modulus, 1.0 / n));
    }
    return worst;
}

bool primitive_root(int factor, int modulus, const std::vector<int>& primes)
{
    const auto power = [&](int exponent) {
        std::int64_t result = 1, x = factor;
        for (; exponent != 0; exponent >>= 1, x = x * x % modulus)
            if ((exponent & 1) != 0)
                result = result * x % modulus;
        return result;
    };
    return std::none_of(primes.begin(), primes.end(), [&](int p) { return power((modulus - 1) / p) == 1; });
}

std::vector<int> prime_divisors(int n)
{
    std::vector<int> result;
    for (int p = 2; p * p <= n; ++p)
        if (n % p == 0) {
            result.push_back(p);
            while (n % p == 0)
                n /= p;
        }
    if (n > 1)
        result.push_back(n);
    return result;
}

struct Part {
    int modulus, factor;
    double merit;
};

} // namespace

int main()
{
    std::vector<Part> found;
    int pairs = 0, all = 0;
    for (int modulus = least_modulus; modulus <= most_modulus; ++modulus) {
        if (prime_divisors(modulus).front() != modulus)
            continue;
        const std::vector<int> primes = prime_divisors(modulus - 1);
        Part best{modulus, 0, 0};
        for (int factor = least_factor; factor <= most_factor; ++factor)
            if (primitive_root(factor, modulus, primes)) {
                ++pairs;
                if (const double of = merit(modulus, factor); of > best.merit)
                    best = {modulus, factor, of};
            }
        if (best.factor != 0) {
            ++all;
            found.push_back(best);
        }
    }
    std::stable_sort(found.begin(), found.end(), [](auto& x, auto& y) { return x.merit > y.merit; });
    std::fprintf(stderr, "%d pairs over %d primes; merit of the best %.3f, of the last taken ", pairs, all,
                 found.front().merit);
    double last = 1;
    for (int set = 0; set < sets; ++set) {
        std::vector<Part> of;
        for (auto part = found.begin(); of.size() < parts;) {
            const bool apart = std::all_of(of.begin(), of.end(), [&](const Part& other) {
                return std::gcd(part->modulus - 1, other.modulus - 1) == 2;
            });
            if (!apart) {
                ++part;
                continue;
            }
            last = std::min(last, part->merit);
            of.push_back(*part);
            part = found.erase(part);
        }
        std::printf("QNM_SET_OF_PARTS(");
        for (std::size_t i = 0; i < of.size(); ++i)
            std::printf("%sQNM_PART(%d, %d)", i == 0 ? "" : ", ", of[i].modulus, of[i].factor);
        std::printf(")\n");
    }
    std::fprintf(stderr, "%.3f\n", last);
    return 0;
}
