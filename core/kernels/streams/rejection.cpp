// Distributions by rejection. An attempt takes a fixed number of fractions and either makes a variate or does
// not; those that are left try again together.
#include "chances.hpp"
#include "exported.hpp"
#include "stream.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

using qnm::vsl::Stream;
QNM_STREAMS int _vsldRngGaussian(int method, Stream* stream, int n, double* r, double a, double sigma);

namespace qnm::vsl {
namespace {

constexpr int block = 256;

/// attempt(i, u, &x) makes variate i of fractions u[0], u[1]..., none of which is 0.
template <int words, class T, class Attempt>
int rejected(Stream* stream, std::int64_t n, T* r, Attempt attempt)
{
    for (std::int64_t begin = 0; begin < n; begin += block) {
        const int count = static_cast<int>(std::min<std::int64_t>(block, n - begin));
        std::int64_t waiting[block];
        for (int i = 0; i < count; ++i)
            waiting[i] = begin + i;
        for (int left = count; left > 0;) {
            double u[words * block];
            const int status = fractions(stream, words * left, u);
            if (status < 0)
                return status;
            int again = 0;
            for (int i = 0; i < left; ++i) {
                double* const own = u + words * i;
                for (int k = 0; k < words; ++k)
                    own[k] = own[k] == 0 ? 0x1p-33 : own[k];
                if (!attempt(waiting[i], own, r + waiting[i]))
                    waiting[again++] = waiting[i];
            }
            left = again;
        }
    }
    return ok;
}

/// Marsaglia, Tsang 2000: the cube of a normal variate; below 1 by a power. Normal variates are of the first
/// fraction pair, by Box and Muller.
struct Gamma {
    explicit Gamma(double alpha)
        : power_(alpha < 1 ? 1 / alpha : 0),
          d_((alpha < 1 ? alpha + 1 : alpha) - 1.0 / 3),
          c_(1 / std::sqrt(9 * d_))
    {
    }
    static constexpr int words = 4;
    bool attempt(const double* u, double* x) const
    {
        constexpr double two_pi = 6.28318530717958647692;
        const double normal = std::sqrt(-2 * std::log(u[0])) * std::sin(two_pi * u[1]);
        const double root = 1 + c_ * normal;
        if (root <= 0)
            return false;
        const double v = root * root * root, square = normal * normal;
        if (u[2] >= 1 - 0.0331 * square * square &&
            std::log(u[2]) >= 0.5 * square + d_ * (1 - v + std::log(v)))
            return false;
        *x = d_ * v * (power_ != 0 ? std::pow(u[3], power_) : 1);
        return true;
    }

private:
    double power_, d_, c_;
};

/// Of beta variates three algorithms, by their shape: Cheng 1978 (BB), Jöhnk 1964, Atkinson and Whittaker
/// 1976; and powers where a shape is 1.
class Beta {
public:
    Beta(double p, double q) : p_(p), q_(q), least_(std::min(p, q)), most_(std::max(p, q))
    {
        if (p == 1 || q == 1)
            way_ = powers;
        else if (least_ > 1) {
            way_ = cheng;
            const double sum = p + q;
            beta_ = std::sqrt((sum - 2) / (2 * p * q - sum));
            gamma_ = least_ + 1 / beta_;
        } else if (p + q <= 1.2)
            way_ = johnk;
        else {
            way_ = switching;
            t_ = most_ < 1 ? 1 / (1 + std::sqrt(most_ * (1 - most_) / (least_ * (1 - least_))))
                           : (1 - least_) / (most_ + 1 - least_);
            const double right = least_ * (most_ < 1 ? 1 - t_ : std::pow(1 - t_, most_));
            share_ = most_ * t_ / (most_ * t_ + right);
        }
    }
    static constexpr int words = 2;
    bool attempt(const double* u, double* x) const
    {
        switch (way_) {
        case powers:
            *x = q_ == 1 ? std::pow(u[0], 1 / p_) : -std::expm1(std::log(u[0]) / q_);
            return true;
        case cheng:
            return by_cheng(u[0], u[1], x);
        case johnk:
            return by_johnk(u[0], u[1], x);
        default:
            return by_switching(u[0], u[1], x);
        }
    }

private:
    enum Way { powers, cheng, johnk, switching };

    bool by_cheng(double u, double other, double* x) const
    {
        const double sum = least_ + most_;
        const double v = beta_ * std::log(u / (1 - u)), w = least_ * std::exp(v), z = u * u * other;
        const double r = gamma_ * v - 1.3862943611198906, s = least_ + r - w;
        if (s + 2.6094379124341003 < 5 * z) {
            const double t = std::log(z);
            if (s < t && r + sum * std::log(sum / (most_ + w)) < t)
                return false;
        }
        const double of_least = std::isinf(w) ? 1 : w / (most_ + w);
        *x = p_ == least_ ? of_least : std::isinf(w) ? 0 : most_ / (most_ + w);
        return true;
    }
    bool by_johnk(double u, double other, double* x) const
    {
        const double log_x = std::log(u) / p_, log_y = std::log(other) / q_;
        if (std::exp(log_x) + std::exp(log_y) > 1)
            return false;
        *x = 1 / (1 + std::exp(log_y - log_x));
        return true;
    }
    /// Left of t a power of x, right of it a power of 1-x; the smaller shape is that of x.
    bool by_switching(double u, double other, double* x) const
    {
        const double enough = -std::log(other);
        double y, rest; // rest: 1 - y
        if (u <= share_) {
            y = t_ * std::pow(u / share_, 1 / least_);
            rest = 1 - y;
            if ((1 - most_) * std::log(most_ < 1 ? rest / (1 - t_) : rest) > enough)
                return false;
        } else {
            rest = (1 - t_) * std::pow((1 - u) / (1 - share_), 1 / most_);
            y = 1 - rest;
            if ((1 - least_) * std::log(y / t_) > enough)
                return false;
        }
        *x = p_ == least_ ? y : rest;
        return true;
    }

    double p_, q_, least_, most_;
    Way way_;
    double beta_ = 0, gamma_ = 0; // Cheng's
    double t_ = 0, share_ = 0;    // of switching: the place, and the left side's chance
};

/// A hat over chances that are 1 at the mode: a triangle that is accepted at once, a parallelogram beside it,
/// and exponential tails (Schmeiser, Kachitvichyanukul 1981; the same 1988).
struct Hat {
    double mode = 0, triangle = 0, slope = 0, left_rate = 0, right_rate = 0;
    double left = 0, right = 0, p2 = 0, p3 = 0, p4 = 0;

    Hat() = default;
    Hat(double at, double half_width, double height, double to_left, double to_right)
        : mode(at),
          triangle(half_width),
          slope(height),
          left_rate(to_left),
          right_rate(to_right),
          left(at + 0.5 - half_width),
          right(at + 0.5 + half_width),
          p2(half_width * (1 + 2 * height)),
          p3(p2 + height / to_left),
          p4(p3 + height / to_right)
    {
    }
    /// A number and the height below which it counts; false where it is none.
    bool propose(double u, double v, double* k, double* height) const
    {
        u *= p4;
        *height = 0;
        if (u <= triangle) {
            *k = std::floor(mode + 0.5 - triangle * v + u);
            return true;
        }
        if (u <= p2) {
            const double x = left + (u - triangle) / slope;
            *height = v * slope + 1 - std::abs(mode - x + 0.5) / triangle;
            *k = std::floor(x);
            return *height <= 1;
        }
        if (u <= p3) {
            *k = std::floor(left + std::log(v) / left_rate);
            *height = v * (u - p2) * left_rate;
        } else {
            *k = std::floor(right - std::log(v) / right_rate);
            *height = v * (u - p3) * right_rate;
        }
        return true;
    }
};

/// Below this mean chances are added up until they pass u.
constexpr double small_mean = 10;

template <class Next>
double searched(double u, double first, double most, Next next)
{
    // Rounded sums may stay below u for ever.
    constexpr double nothing = 1e-40;
    double k = 0, chance = first;
    for (double sum = first; u > sum && k < most && chance > nothing; sum += chance)
        chance *= next(++k);
    return k;
}

/// The sums themselves, where many variates need them.
class Sums {
public:
    template <class Next>
    Sums(double first, double most, Next next)
    {
        // Behind the mode, what is left is less than a fraction can tell.
        constexpr double nothing = 0x1p-60;
        int count = 0;
        double chance = first, sum = first;
        for (double k = 0, ratio = 1; k < most && count < most_sums; sum += chance) {
            sums_[count++] = sum;
            if (ratio < 1 && chance < nothing)
                break;
            chance *= ratio = next(++k);
        }
        std::fill(sums_ + count, sums_ + most_sums, 1);
    }
    int of(double u) const
    {
        for (int k = 0; k < most_sums; k += step) {
            int passed = 0;
            for (int i = 0; i < step; ++i)
                passed += u > sums_[k + i] ? 1 : 0;
            if (passed < step)
                return k + passed;
        }
        return most_sums;
    }

private:
    static constexpr int most_sums = 96, step = 4;
    double sums_[most_sums];
};

class Poisson {
public:
    explicit Poisson(double mean) : mean_(mean)
    {
        if (mean < small_mean) {
            first_ = std::exp(-mean);
            return;
        }
        const double mode = std::floor(mean);
        // A little narrower than published: the triangle lies below the chances also where the mean is just
        // below a whole number.
        const double width = std::floor(2.195 * std::sqrt(mean) - 2.35) + 0.5;
        const double left = mode + 0.5 - width, right = mode + 0.5 + width;
        const double a = (mean - left) / mean, b = (right - mean) / right;
        hat_ = Hat(mode, width, 0.133 + 8.56 / (6.83 + mean), a * (1 + a / 2), b * (1 + b / 2));
        at_mode_ = log_poisson(mode, mean);
    }
    static constexpr int words = 2;
    bool small() const { return mean_ < small_mean; }
    Sums sums() const
    {
        return Sums(first_, most, [this](double i) { return mean_ / i; });
    }
    double finished(double k) const { return k; }
    bool attempt(const double* u, double* k) const
    {
        if (small()) {
            *k = searched(u[0], first_, most, [this](double i) { return mean_ / i; });
            return true;
        }
        double height;
        if (!hat_.propose(u[0], u[1], k, &height) || *k < 0)
            return false;
        return height == 0 || std::log(height) <= log_poisson(*k, mean_) - at_mode_;
    }

private:
    static constexpr double most = INT32_MAX;
    double mean_, first_ = 0, at_mode_ = 0;
    Hat hat_;
};

class Binomial {
public:
    Binomial(double n, double p) : n_(n), p_(std::min(p, 1 - p)), mirrored_(p > 0.5)
    {
        if (n * p_ < small_mean) {
            first_ = std::exp(n * std::log1p(-p_));
            return;
        }
        const double q = 1 - p_, top = n * p_ + p_, mode = std::floor(top);
        const double variance = n * p_ * q;
        const double width = std::floor(2.195 * std::sqrt(variance) - 4.6 * q) + 0.5;
        const double left = mode + 0.5 - width, right = mode + 0.5 + width;
        const double a = (top - left) / (top - left * p_), b = (right - top) / (right * q);
        hat_ = Hat(mode, width, 0.134 + 20.5 / (15.3 + mode), a * (1 + a / 2), b * (1 + b / 2));
        at_mode_ = log_binomial(mode, n, p_);
    }
    static constexpr int words = 2;
    bool small() const { return n_ * p_ < small_mean; }
    Sums sums() const
    {
        return Sums(first_, n_, [this](double i) { return ratio(i); });
    }
    double finished(double k) const { return mirrored_ ? n_ - k : k; }
    bool attempt(const double* u, double* k) const
    {
        if (small())
            *k = searched(u[0], first_, n_, [this](double i) { return ratio(i); });
        else {
            double height;
            if (!hat_.propose(u[0], u[1], k, &height) || *k < 0 || *k > n_)
                return false;
            if (height != 0 && std::log(height) > log_binomial(*k, n_, p_) - at_mode_)
                return false;
        }
        *k = finished(*k);
        return true;
    }

private:
    double ratio(double k) const { return (n_ - k + 1) / k * (p_ / (1 - p_)); }

    double n_, p_;
    bool mirrored_;
    double first_ = 0, at_mode_ = 0;
    Hat hat_;
};

/// H2PE: a rectangle and exponential tails (Kachitvichyanukul, Schmeiser 1985), for the smaller halves of
/// what is marked and of what is drawn.
class Hypergeometric {
public:
    Hypergeometric(double all, double drawn, double marked)
        : all_(all),
          drawn_(drawn),
          marked_(marked),
          n_(std::min(marked, all - marked)),
          k_(std::min(drawn, all - drawn)),
          others_(all - n_)
    {
        mode_ = std::floor((k_ + 1) * (n_ + 1) / (all + 2));
        if (mode_ < small_mean) {
            first_ = n_ == 0 || k_ == 0 ? 1 : std::exp(log_hypergeometric(0, n_, others_, k_));
            return;
        }
        const double deviation = std::sqrt((all - k_) * k_ * n_ / all * others_ / all / (all - 1));
        const double width = std::floor(1.5 * deviation) + 0.5;
        left_ = mode_ - width + 0.5;
        right_ = mode_ + width + 0.5;
        at_mode_ = log_hypergeometric(mode_, n_, others_, k_);
        const auto chance = [this](double i) {
            return std::exp(log_hypergeometric(i, n_, others_, k_) - at_mode_);
        };
        left_rate_ = -std::log(left_ * (others_ - k_ + left_) / (n_ - left_ + 1) / (k_ - left_ + 1));
        right_rate_ = -std::log((n_ - right_ + 1) * (k_ - right_ + 1) / right_ / (others_ - k_ + right_));
        p1_ = 2 * width;
        p2_ = p1_ + chance(left_) / left_rate_;
        p3_ = p2_ + chance(right_ - 1) / right_rate_;
    }
    static constexpr int words = 2;
    bool small() const { return mode_ < small_mean; }
    Sums sums() const
    {
        return Sums(first_, std::min(n_, k_), [this](double i) { return ratio(i); });
    }
    double finished(double k) const
    {
        const bool more_marked = marked_ > all_ - marked_;
        if (2 * drawn_ >= all_)
            return more_marked ? drawn_ - (all_ - marked_) + k : marked_ - k;
        return more_marked ? drawn_ - k : k;
    }
    bool attempt(const double* u, double* k) const
    {
        if (small())
            *k = searched(u[0], first_, std::min(n_, k_), [this](double i) { return ratio(i); });
        else if (!by_hat(u[0] * p3_, u[1], k))
            return false;
        *k = finished(*k);
        return true;
    }

private:
    double ratio(double k) const { return (n_ - k + 1) * (k_ - k + 1) / k / (others_ - k_ + k); }
    bool by_hat(double u, double v, double* k) const
    {
        if (u <= p1_)
            *k = std::floor(left_ + u);
        else if (u <= p2_) {
            *k = std::floor(left_ + std::log(v) / left_rate_);
            v *= (u - p1_) * left_rate_;
        } else {
            *k = std::floor(right_ - std::log(v) / right_rate_);
            v *= (u - p2_) * right_rate_;
        }
        return *k >= 0 && *k <= std::min(n_, k_) &&
               std::log(v) <= log_hypergeometric(*k, n_, others_, k_) - at_mode_;
    }

    double all_, drawn_, marked_;
    double n_, k_, others_; // marked, drawn, not marked, of the smaller halves
    double mode_ = 0, first_ = 0, at_mode_ = 0;
    double left_ = 0, right_ = 0, left_rate_ = 0, right_rate_ = 0, p1_ = 0, p2_ = 0, p3_ = 0;
};

int integer(double k)
{
    return k < INT32_MAX ? static_cast<int>(k) : INT32_MAX;
}

/// All variates of one distribution, or variate i of of(i).
template <class D, class T, class Of, class Put>
int made(Stream* stream, std::int64_t n, T* r, Of of, Put put)
{
    return rejected<D::words>(stream, n, r, [=](std::int64_t i, const double* u, T* to) {
        double x;
        if (!of(i).attempt(u, &x))
            return false;
        *to = put(x);
        return true;
    });
}
template <class D>
auto always(const D& distribution)
{
    return [&distribution](std::int64_t) -> const D& { return distribution; };
}

template <class Finish>
int by_sums(Stream* stream, int n, int* r, const Sums& sums, Finish finish)
{
    for (int begin = 0; begin < n; begin += block) {
        const int count = std::min(block, n - begin);
        double u[block];
        const int status = fractions(stream, count, u);
        if (status < 0)
            return status;
        for (int i = 0; i < count; ++i)
            r[begin + i] = static_cast<int>(finish(sums.of(u[i])));
    }
    return ok;
}
/// Integers of one distribution: of one word each where the sums of its chances are few.
template <class D>
int counted(Stream* stream, int n, int* r, const D& distribution)
{
    if (distribution.small())
        return by_sums(stream, n, r, distribution.sums(), [&](int k) { return distribution.finished(k); });
    return made<D>(stream, n, r, always(distribution), integer);
}

} // namespace
} // namespace qnm::vsl

using namespace qnm::vsl;

#define QNM_UNPACKED(...) __VA_OPT__(, ) __VA_ARGS__
#define QNM_REJECTED(letter, name, T, parameters, names)                                                     \
    QNM_STREAMS int _vsl##letter##Rng##name(int method, Stream* stream, int n, T* r QNM_UNPACKED parameters);
#include "distributions.inc"

namespace {

enum Rounding : int { accurate = 0x40000000 };

template <class T>
int gamma(Stream* stream, int n, T* r, T alpha, T a, T beta)
{
    const Gamma distribution(static_cast<double>(alpha));
    return made<Gamma>(stream, n, r, always(distribution),
                       [=](double x) { return a + beta * static_cast<T>(x); });
}
template <class T>
int beta(int method, Stream* stream, int n, T* r, T p, T q, T a, T width)
{
    const Beta distribution(static_cast<double>(p), static_cast<double>(q));
    const T end = (method & accurate) != 0 ? a + width : std::numeric_limits<T>::infinity();
    return made<Beta>(stream, n, r, always(distribution),
                      [=](double x) { return std::min(a + width * static_cast<T>(x), end); });
}

/// From here on a Poisson variate may be a rounded normal one.
constexpr double rounded_mean = 27;

int rounded(double mean, double normal)
{
    return integer(std::max(0.0, std::floor(mean + std::sqrt(mean) * normal + 0.5)));
}
int standard_normal(Stream* stream, int n, double* z)
{
    return _vsldRngGaussian(0, stream, n, z, 0, 1);
}

} // namespace

int _vslsRngGamma(int, Stream* stream, int n, float* r, float alpha, float a, float beta)
{
    return gamma(stream, n, r, alpha, a, beta);
}
int _vsldRngGamma(int, Stream* stream, int n, double* r, double alpha, double a, double beta)
{
    return gamma(stream, n, r, alpha, a, beta);
}
// A sum of squares: twice a gamma variate.
int _vslsRngChiSquare(int, Stream* stream, int n, float* r, int v)
{
    return gamma(stream, n, r, 0.5F * static_cast<float>(v), 0.0F, 2.0F);
}
int _vsldRngChiSquare(int, Stream* stream, int n, double* r, int v)
{
    return gamma(stream, n, r, 0.5 * v, 0.0, 2.0);
}
int _vslsRngBeta(int method, Stream* stream, int n, float* r, float p, float q, float a, float width)
{
    return beta(method, stream, n, r, p, q, a, width);
}
int _vsldRngBeta(int method, Stream* stream, int n, double* r, double p, double q, double a, double width)
{
    return beta(method, stream, n, r, p, q, a, width);
}

int _vsliRngPoisson(int method, Stream* stream, int n, int* r, double lambda)
{
    if (method == 0)
        return counted(stream, n, r, Poisson(lambda));
    if (lambda < rounded_mean)
        return by_sums(stream, n, r,
                       Sums(std::exp(-lambda), INT32_MAX, [lambda](double k) { return lambda / k; }),
                       [](int k) { return k; });
    for (int begin = 0; begin < n; begin += block) {
        const int count = std::min(block, n - begin);
        double z[block];
        const int status = standard_normal(stream, count, z);
        if (status < 0)
            return status;
        for (int i = 0; i < count; ++i)
            r[begin + i] = rounded(lambda, z[i]);
    }
    return ok;
}
int _vsliRngPoissonV(int, Stream* stream, int n, int* r, const double* lambda)
{
    for (int begin = 0; begin < n; begin += block) {
        const int count = std::min(block, n - begin);
        double u[block], z[block];
        int status = fractions(stream, count, u);
        if (status >= 0)
            status = standard_normal(stream, count, z);
        if (status < 0)
            return status;
        for (int i = 0; i < count; ++i) {
            const double mean = lambda[begin + i];
            r[begin + i] = mean < rounded_mean ? integer(searched(u[i], std::exp(-mean), INT32_MAX,
                                                                  [mean](double k) { return mean / k; }))
                                               : rounded(mean, z[i]);
        }
    }
    return ok;
}
// Failures ahead of success a: Poisson variates whose means are gamma variates.
int _vsliRngNegbinomial(int, Stream* stream, int n, int* r, double a, double p)
{
    for (int begin = 0; begin < n; begin += block) {
        const int count = std::min(block, n - begin);
        double mean[block];
        int status = gamma(stream, count, mean, a, 0.0, (1 - p) / p);
        if (status >= 0)
            status = made<Poisson>(
                stream, count, r + begin, [&mean](std::int64_t i) { return Poisson(mean[i]); }, integer);
        if (status < 0)
            return status;
    }
    return ok;
}

int _vsliRngBinomial(int, Stream* stream, int n, int* r, int trials, double p)
{
    return counted(stream, n, r, Binomial(trials, p));
}
// One class after the other: binomial among the trials that are left.
int _vsliRngMultinomial(int, Stream* stream, int n, int* r, int trials, int k, const double* p)
{
    for (int begin = 0; begin < n; begin += block) {
        const int count = std::min(block, n - begin);
        int left[block], drawn[block];
        std::fill_n(left, count, trials);
        double rest = 1;
        int* const rows = r + static_cast<std::int64_t>(begin) * k;
        for (int column = 0; column < k; ++column) {
            const bool last = column + 1 == k;
            const double chance = last || p[column] >= rest ? 1 : p[column] / rest;
            const int status = made<Binomial>(
                stream, last ? 0 : count, drawn, [&](std::int64_t i) { return Binomial(left[i], chance); },
                integer);
            if (status < 0)
                return status;
            for (int i = 0; i < count; ++i) {
                const int here = last ? left[i] : drawn[i];
                rows[static_cast<std::int64_t>(i) * k + column] = here;
                left[i] -= here;
            }
            rest -= p[column];
        }
    }
    return ok;
}
int _vsliRngHypergeometric(int, Stream* stream, int n, int* r, int all, int drawn, int marked)
{
    return counted(stream, n, r, Hypergeometric(all, drawn, marked));
}
