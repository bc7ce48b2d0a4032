// Sums over a block of observations that lies in the cache.
#include "blocks.hpp"

#include "../lanes.hpp"

namespace qnm::vsl::statistics {
namespace {
namespace lanes = vml::QNM_NAMESPACE;
using lanes::Doubles;
using lanes::load;
constexpr std::int64_t width = lanes::LanesOf<double>::count;
static_assert(block_unit % width == 0);

double sum_of(Doubles x)
{
    double sum = 0;
    for (int i = 0; i < width; ++i)
        sum += x[i];
    return sum;
}

/// As many numbers as a unit has lanes.
Doubles widened(const double* from)
{
    return load(from);
}
Doubles widened(const float* from)
{
    using Half [[gnu::vector_size(width * sizeof(float)), gnu::aligned(alignof(float)), gnu::may_alias]] =
        float;
    return __builtin_convertvector(*reinterpret_cast<const Half*>(from), Doubles);
}

/// Exchanges the upper half of each `step` lanes of one with the lower half of the other.
template <int step, int... lane>
void exchange(Doubles& one, Doubles& other, std::integer_sequence<int, lane...>)
{
    constexpr int all_lanes = sizeof...(lane);
    const Doubles low =
        __builtin_shufflevector(one, other, ((lane & step) != 0 ? all_lanes + lane - step : lane)...);
    other = __builtin_shufflevector(one, other, ((lane & step) != 0 ? all_lanes + lane : lane + step)...);
    one = low;
}
template <int step = width / 2>
[[gnu::always_inline]] inline void transpose(Doubles (&square)[width])
{
    for (int i = 0; i < width; ++i)
        if ((i & step) == 0)
            exchange<step>(square[i], square[i + step], std::make_integer_sequence<int, width>());
    if constexpr (step > 1)
        transpose<step / 2>(square);
}

template <class T>
void turn(const T* x, std::int64_t columns, std::int64_t count, std::int64_t stride, double* to)
{
    // Squares may be wider than what is left of a line, but stay within the numbers that are there.
    constexpr std::int64_t ahead = 4096 / sizeof(T);
    const std::int64_t last_square = (columns - 1) / width * width;
    std::int64_t i = 0;
    for (; (i + width - 1) * columns + last_square + width <= count * columns; i += width)
        for (std::int64_t k = 0; k < columns; k += width) {
            Doubles square[width];
            for (int line = 0; line < width; ++line) {
                const T* const from = x + (i + line) * columns + k;
                __builtin_prefetch(from + ahead);
                square[line] = widened(from);
            }
            transpose(square);
            for (int line = 0; line < width && k + line < columns; ++line)
                lanes::store(to + (k + line) * stride + i, square[line]);
        }
    for (; i < count; ++i)
        for (std::int64_t k = 0; k < columns; ++k)
            to[k * stride + i] = static_cast<double>(x[i * columns + k]);
}

/// Over whole units of lanes.
template <int sums, class F>
void add_up(std::int64_t count, double (&result)[sums], F terms)
{
    Doubles even[sums] = {}, odd[sums] = {};
    std::int64_t i = 0;
    for (; i + 2 * width <= count; i += 2 * width) {
        terms(i, even);
        terms(i + width, odd);
    }
    if (i < count)
        terms(i, even);
    for (int k = 0; k < sums; ++k)
        result[k] = sum_of(even[k] + odd[k]);
}

template <int degree, bool weighted>
Central central_sums(double* column, std::int64_t count, const double* weights, double weight)
{
    const std::int64_t whole = (count + width - 1) / width * width;
    double sum[1];
    add_up(whole, sum, [&](std::int64_t i, Doubles* to) {
        const Doubles x = load(column + i);
        to[0] += weighted ? x * load(weights + i) : x;
    });
    Central result{sum[0] / weight, 0, 0, 0};
    const Doubles mean = lanes::all(result.mean);
    double powers[4];
    for (std::int64_t i = 0; i < whole; i += width)
        lanes::store(column + i, load(column + i) - mean);
    for (std::int64_t i = count; i < whole; ++i)
        column[i] = 0;
    add_up(whole, powers, [&](std::int64_t i, Doubles* to) {
        const Doubles x = load(column + i), wx = weighted ? x * load(weights + i) : x;
        to[0] += wx;
        if constexpr (degree >= 2)
            to[1] += wx * x;
        if constexpr (degree >= 3)
            to[2] += wx * x * x;
        if constexpr (degree >= 4)
            to[3] += wx * x * (x * x);
    });
    // The mean was rounded; what it is short of shows in the sum of distances.
    const double rest = powers[0] / weight;
    result.mean += rest;
    result.second = powers[1] - rest * powers[0];
    result.third = powers[2];
    result.fourth = powers[3];
    return result;
}

Central central(double* column, std::int64_t count, const double* weights, double weight, int degree)
{
    const auto of = [&]<bool weighted>() {
        switch (degree) {
        case 4:
            return central_sums<4, weighted>(column, count, weights, weight);
        case 3:
            return central_sums<3, weighted>(column, count, weights, weight);
        case 2:
            return central_sums<2, weighted>(column, count, weights, weight);
        default:
            return central_sums<1, weighted>(column, count, weights, weight);
        }
    };
    return weights != nullptr ? of.template operator()<true>() : of.template operator()<false>();
}

/// Products of some columns with some others, held in registers.
template <int rows, int others>
void tile(std::int64_t stride, const double* row, const double* other, std::int64_t columns, double* to)
{
    Doubles sum[rows][others] = {};
    for (std::int64_t i = 0; i < stride; i += width)
        for (int k = 0; k < others; ++k) {
            const Doubles y = load(other + k * stride + i);
            for (int j = 0; j < rows; ++j)
                sum[j][k] += load(row + j * stride + i) * y;
        }
    for (int j = 0; j < rows; ++j)
        for (int k = 0; k < others; ++k)
            to[j * columns + k] += sum_of(sum[j][k]);
}

template <int others>
void strip(std::int64_t first, std::int64_t columns, std::int64_t stride, const double* column,
           const double* other, double* to)
{
    std::int64_t row = first;
    for (; row + 4 <= columns; row += 4)
        tile<4, others>(stride, column + row * stride, other, columns, to + row * columns);
    for (; row < columns; ++row)
        tile<1, others>(stride, column + row * stride, other, columns, to + row * columns);
}

/// Tiles at the diagonal write above it too, where nobody looks.
void products(std::int64_t columns, std::int64_t stride, const double* column, const double* weighted,
              double* sums)
{
    std::int64_t k = 0;
    for (; k + 2 <= columns; k += 2)
        strip<2>(k, columns, stride, column, weighted + k * stride, sums + k);
    if (k < columns)
        strip<1>(k, columns, stride, column, weighted + k * stride, sums + k);
}

void extremes(const double* column, std::int64_t count, double& least, double& greatest)
{
    Doubles low = lanes::all(least), high = lanes::all(greatest);
    std::int64_t i = 0;
    for (; i + width <= count; i += width) {
        const Doubles x = load(column + i);
        low = x < low ? x : low;
        high = x > high ? x : high;
    }
    for (; i < count; ++i) {
        low[0] = column[i] < low[0] ? column[i] : low[0];
        high[0] = column[i] > high[0] ? column[i] : high[0];
    }
    for (int k = 0; k < width; ++k) {
        least = low[k] < least ? low[k] : least;
        greatest = high[k] > greatest ? high[k] : greatest;
    }
}

} // namespace

#define QNM_NAMED_FOR(name, set) QNM_NAMED_FOR_(name, set)
#define QNM_NAMED_FOR_(name, set) name##_##set
extern "C" const BlockRoutines QNM_NAMED_FOR(qnm_ss_blocks, QNM_NAMESPACE) = {turn<float>, turn<double>,
                                                                              central, products, extremes};

} // namespace qnm::vsl::statistics
