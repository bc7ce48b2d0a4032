// Normal variates, and what is made of them. Box, Muller 1958: pairs out of a radius and an angle.
#include "distribution.hpp"

QNM_FUNCTION_OF(ln, Ln)
QNM_FUNCTION_OF(root, Sqrt)
QNM_FUNCTION_OF(sines_and_cosines, SinCos)
// Of high accuracy it takes each element by itself.
QNM_FUNCTION_OF(normal_quantile, CdfNormInv, vml::low_accuracy)
QNM_FUNCTION_OF(exponential, Exp)

namespace qnm::vsl::QNM_NAMESPACE {
namespace {

enum NormalMethod : int { first_of_pairs = 0, pairs = 1, by_inversion = 2 };

/// The second of a pair, and whether it waits.
template <class T>
struct Waiting {
    T& value;
    bool& waits;
};
Waiting<double> waiting(Spare& spare, const double*)
{
    return {spare.of_double, spare.has_double};
}
Waiting<float> waiting(Spare& spare, const float*)
{
    return {spare.of_float, spare.has_float};
}

/// Radius times sine, and radius times cosine, of at most half a block of pairs of fractions.
template <class T>
int make_pairs(Stream* stream, std::int64_t count, T* x, T* y)
{
    T u[block], angle[block / 2], sine[block / 2], cosine[block / 2];
    const int status = fractions(stream, 2 * count, u);
    if (status < 0) [[unlikely]]
        return status;
    for (std::int64_t i = 0; i < count; ++i) {
        x[i] = u[2 * i];
        angle[i] = static_cast<T>(6.28318530717958647692) * u[2 * i + 1];
    }
    leave_zero(count, x);
    ln(count, static_cast<const T*>(x), x);
    for (std::int64_t i = 0; i < count; ++i)
        x[i] *= -2;
    root(count, static_cast<const T*>(x), x);
    sines_and_cosines(count, static_cast<const T*>(angle), sine, cosine);
    for (std::int64_t i = 0; i < count; ++i) {
        y[i] = x[i] * cosine[i];
        x[i] *= sine[i];
    }
    return ok;
}

/// Standard normal variates.
template <class T>
int normal(int method, Stream* stream, std::int64_t n, T* r)
{
    if (method == by_inversion)
        return inverted(stream, n, r, [](std::int64_t count, T* x) {
            leave_zero(count, x);
            normal_quantile(count, static_cast<const T*>(x), x);
        });
    T x[block / 2], y[block / 2];
    const int each = method == pairs ? 2 : 1;
    if (n > 0 && method == pairs) {
        const Waiting<T> spare = waiting(spare_of(stream), r);
        if (spare.waits) {
            spare.waits = false;
            *r++ = spare.value;
            --n;
        }
    }
    while (n > 0) {
        const std::int64_t count = least((n + each - 1) / each, block / 2);
        const int status = make_pairs(stream, count, x, y);
        if (status < 0) [[unlikely]]
            return status;
        if (each == 1)
            for (std::int64_t i = 0; i < count; ++i)
                r[i] = x[i];
        else {
            const std::int64_t whole = least(count, n / 2);
            for (std::int64_t i = 0; i < whole; ++i) {
                r[2 * i] = x[i];
                r[2 * i + 1] = y[i];
            }
            if (whole < count) {
                const Waiting<T> spare = waiting(spare_of(stream), r);
                r[2 * whole] = x[whole];
                spare.value = y[whole];
                spare.waits = true;
            }
        }
        r += each * count;
        n -= each * count;
    }
    return ok;
}

template <class T>
int Gaussian(int method, Stream* stream, int n, T* r, T a, T sigma)
{
    for (std::int64_t begin = 0; begin < n; begin += block) {
        const std::int64_t count = least<std::int64_t>(block, n - begin);
        const int status = normal(method, stream, count, r + begin);
        if (status < 0) [[unlikely]]
            return status;
        for (std::int64_t i = begin; i < begin + count; ++i)
            r[i] = a + sigma * r[i];
    }
    return ok;
}

template <class T>
int Lognormal(int method, Stream* stream, int n, T* r, T a, T sigma, T b, T beta)
{
    const int of_normal = (method & ~accurate) == 0 ? pairs : by_inversion;
    for (std::int64_t begin = 0; begin < n; begin += block) {
        const std::int64_t count = least<std::int64_t>(block, n - begin);
        T* const x = r + begin;
        const int status = Gaussian(of_normal, stream, static_cast<int>(count), x, a, sigma);
        if (status < 0) [[unlikely]]
            return status;
        exponential(count, static_cast<const T*>(x), x);
        for (std::int64_t i = 0; i < count; ++i)
            x[i] = b + beta * x[i];
    }
    return ok;
}

enum Storage : int { full = 0, packed = 1, diagonal = 2 };

/// a + T z, T lower triangular by rows. The last row is the first: each needs only what is not yet replaced.
template <class T>
int GaussianMV(int method, Stream* stream, int n, T* r, int dimensions, int storage, const T* a, const T* t)
{
    const std::int64_t size = dimensions;
    const int status = normal(method, stream, n * size, r);
    if (status < 0)
        return status;
    for (std::int64_t i = 0; i < n; ++i, r += size)
        for (std::int64_t row = size - 1; row >= 0; --row) {
            T sum = a[row];
            if (storage == diagonal)
                sum += t[row] * r[row];
            else {
                const T* const of_row = t + (storage == full ? row * size : row * (row + 1) / 2);
                for (std::int64_t k = 0; k <= row; ++k)
                    sum += of_row[k] * r[k];
            }
            r[row] = sum;
        }
    return ok;
}

} // namespace
} // namespace qnm::vsl::QNM_NAMESPACE

#define QNM_NORMAL QNM_MADE
#include "distributions.inc"
