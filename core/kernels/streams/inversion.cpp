// Distributions whose inverse is a formula. As u is uniform, so is 1-u: logarithms are taken of u, which is
// the chance to be above.
#include "distribution.hpp"

QNM_FUNCTION_OF(ln, Ln)
QNM_FUNCTION_OF(root, Sqrt)
QNM_FUNCTION_OF(tangent, Tan)
QNM_FUNCTION_OF(power, Powx)

namespace qnm::vsl::QNM_NAMESPACE {
namespace {

/// -ln u, the chance's exponent.
template <class T>
void exponents(std::int64_t n, T* u)
{
    leave_zero(n, u);
    ln(n, static_cast<const T*>(u), u);
    for (std::int64_t i = 0; i < n; ++i)
        u[i] = -u[i];
}
template <class T>
void scale(std::int64_t n, T* x, T a, T beta)
{
    for (std::int64_t i = 0; i < n; ++i)
        x[i] = a + beta * x[i];
}

template <class T>
T below(T x)
{
    if constexpr (sizeof(T) == 8)
        return __builtin_nextafter(x, -__builtin_huge_val());
    else
        return __builtin_nextafterf(x, -__builtin_huge_valf());
}

template <class T>
int Uniform(int method, Stream* stream, int n, T* r, T a, T b)
{
    if ((method & accurate) == 0)
        return fractions(stream, n, r, a, b);
    const T most = below(b);
    return inverted(stream, n, r, [=](std::int64_t count, T* x) {
        scale(count, x, a, b - a);
        for (std::int64_t i = 0; i < count; ++i)
            x[i] = x[i] < b ? x[i] : most;
    });
}
template <class T>
int Exponential(int, Stream* stream, int n, T* r, T a, T beta)
{
    return inverted(stream, n, r, [=](std::int64_t count, T* x) {
        exponents(count, x);
        scale(count, x, a, beta);
    });
}
template <class T>
int Laplace(int, Stream* stream, int n, T* r, T a, T beta)
{
    return inverted(stream, n, r, [=](std::int64_t count, T* x) {
        T u[block];
        for (std::int64_t i = 0; i < count; ++i) {
            u[i] = x[i];
            x[i] = x[i] < T(0.5) ? 2 * x[i] : 2 * (1 - x[i]);
        }
        exponents(count, x);
        for (std::int64_t i = 0; i < count; ++i)
            x[i] = a + beta * (u[i] < T(0.5) ? -x[i] : x[i]);
    });
}
// By tangents of an eighth of the circle, whose arguments are exact but for pi.
template <class T>
int Cauchy(int, Stream* stream, int n, T* r, T a, T beta)
{
    return inverted(stream, n, r, [=](std::int64_t count, T* x) {
        constexpr T pi = static_cast<T>(3.14159265358979323846);
        T u[block];
        leave_zero(count, x);
        for (std::int64_t i = 0; i < count; ++i) {
            u[i] = x[i];
            const T apart = x[i] < T(0.5) ? T(0.5) - x[i] : x[i] - T(0.5);
            const T end = x[i] < T(0.5) ? x[i] : 1 - x[i];
            x[i] = pi * (apart < T(0.25) ? apart : end);
        }
        tangent(count, static_cast<const T*>(x), x);
        for (std::int64_t i = 0; i < count; ++i) {
            const T apart = u[i] < T(0.5) ? T(0.5) - u[i] : u[i] - T(0.5);
            const T size = apart < T(0.25) ? x[i] : 1 / x[i];
            x[i] = a + beta * (u[i] < T(0.5) ? -size : size);
        }
    });
}
template <class T>
int Rayleigh(int, Stream* stream, int n, T* r, T a, T beta)
{
    return inverted(stream, n, r, [=](std::int64_t count, T* x) {
        exponents(count, x);
        root(count, static_cast<const T*>(x), x);
        scale(count, x, a, beta);
    });
}
template <class T>
int Gumbel(int, Stream* stream, int n, T* r, T a, T beta)
{
    return inverted(stream, n, r, [=](std::int64_t count, T* x) {
        exponents(count, x);
        ln(count, static_cast<const T*>(x), x);
        scale(count, x, a, beta);
    });
}
template <class T>
int Weibull(int, Stream* stream, int n, T* r, T alpha, T a, T beta)
{
    const T exponent = 1 / alpha;
    return inverted(stream, n, r, [=](std::int64_t count, T* x) {
        exponents(count, x);
        power(count, static_cast<const T*>(x), exponent, x);
        scale(count, x, a, beta);
    });
}

int Uniform(int, Stream* stream, int n, int* r, int a, int b)
{
    const double width = static_cast<double>(b) - a;
    return counted(stream, n, r, [=](std::int64_t count, const double* u, int* x) {
        // The product is rounded, and below the width: the last number of all is never reached.
        for (std::int64_t i = 0; i < count; ++i)
            x[i] = static_cast<int>(static_cast<std::int64_t>(width * u[i]) + a);
    });
}
int Bernoulli(int, Stream* stream, int n, int* r, double p)
{
    return counted(stream, n, r, [=](std::int64_t count, const double* u, int* x) {
        for (std::int64_t i = 0; i < count; ++i)
            x[i] = u[i] < p ? 1 : 0;
    });
}
// Failures ahead of the first success.
int Geometric(int, Stream* stream, int n, int* r, double p)
{
    const double each = __builtin_log1p(-p);
    return counted(stream, n, r, [=](std::int64_t count, double* u, int* x) {
        leave_zero(count, u);
        ln(count, static_cast<const double*>(u), u);
        for (std::int64_t i = 0; i < count; ++i) {
            const double failures = u[i] / each;
            x[i] = failures < INT32_MAX ? static_cast<int>(failures) : INT32_MAX;
        }
    });
}

int UniformBits(int, Stream* stream, int n, std::uint32_t* r)
{
    return stream->generator->words(stream, n, r);
}
int UniformBits32(int, Stream* stream, int n, std::uint32_t* r)
{
    if (!stream->generator->random_bits)
        return bits_not_random;
    return stream->generator->words(stream, n, r);
}
// Two words a variate, the lower half first.
int UniformBits64(int, Stream* stream, int n, std::uint64_t* r)
{
    if (!stream->generator->random_bits)
        return bits_not_random;
    return stream->generator->words(stream, std::int64_t{2} * n, reinterpret_cast<std::uint32_t*>(r));
}

} // namespace
} // namespace qnm::vsl::QNM_NAMESPACE

#define QNM_INVERTED QNM_MADE
#include "distributions.inc"
