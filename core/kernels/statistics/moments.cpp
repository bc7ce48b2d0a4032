// Samples are taken in parts, one after another by each thread, and parts in blocks that fit the cache. How
// many parts there are does not depend on the number of threads, so results do not either.
#include "moments.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qnm::vsl::statistics {
namespace {

constexpr std::int64_t numbers_of_block = 8192, numbers_of_part = 1 << 16, most_parts = 64,
                       numbers_of_products = 1 << 22;

struct Division {
    std::int64_t block, stride, parts, part;

    Division(std::int64_t count, std::int64_t columns, bool products)
    {
        block = std::clamp<std::int64_t>(numbers_of_block / columns, 256, 1024) / block_unit * block_unit;
        stride = block + block_unit; // an observation more, which joins the block to what was before
        const std::int64_t most =
            products ? std::max<std::int64_t>(2, numbers_of_products / (columns * columns)) : most_parts;
        parts =
            std::clamp<std::int64_t>(count / (numbers_of_part / columns + 1), 1, std::min(most, most_parts));
        part = (count + parts - 1) / parts;
    }
};

/// The numbers of one block.
template <class T>
void gather(const Sample<T>& sample, std::int64_t from, std::int64_t count, std::int64_t stride, double* to)
{
    const std::int64_t of_component = sample.strides.component, of_observation = sample.strides.observation;
    const auto turned = [&](const T* x) {
        if constexpr (std::is_same_v<T, float>)
            block_routines().turn_floats(x, sample.p, count, stride, to);
        else
            block_routines().turn_doubles(x, sample.p, count, stride, to);
    };
    const auto fill = [&](std::int64_t i, const T* x) {
        for (std::int64_t k = 0; k < sample.chosen; ++k)
            to[k * stride + i] = static_cast<double>(x[sample.component[k] * of_component]);
    };
    if (sample.rows != nullptr)
        for (std::int64_t i = 0; i < count; ++i)
            fill(i, sample.x + sample.rows[from + i] * of_observation);
    else if (of_observation == 1)
        for (std::int64_t k = 0; k < sample.chosen; ++k)
            std::copy_n(sample.x + sample.component[k] * of_component + from, count, to + k * stride);
    else if (sample.chosen == sample.p)
        turned(sample.x + from * of_observation);
    else
        for (std::int64_t i = 0; i < count; ++i)
            fill(i, sample.x + (from + i) * of_observation);
    for (std::int64_t k = 0; k < sample.chosen; ++k)
        std::fill(to + k * stride + count, to + (k + 1) * stride, 0.0);
}

/// The weights of one block, and their sums; false if one cannot be.
template <class T>
bool weigh(const Sample<T>& sample, std::int64_t from, std::int64_t count, std::int64_t stride, double* to,
           Weight& weight)
{
    weight = {static_cast<double>(count), static_cast<double>(count)};
    if (sample.weights == nullptr)
        return true;
    weight = {};
    bool good = true;
    for (std::int64_t i = 0; i < count; ++i) {
        const double w =
            static_cast<double>(sample.weights[sample.rows != nullptr ? sample.rows[from + i] : from + i]);
        good &= w >= 0;
        weight += {w, w * w};
        to[i] = w;
    }
    std::fill(to + count, to + stride, 0.0);
    return good;
}

/// Calls body(block's first, count, weights) for the blocks of a part.
template <class F>
int for_blocks(const Division& division, std::int64_t count, std::int64_t part, F body)
{
    const std::int64_t end = std::min(count, (part + 1) * division.part);
    for (std::int64_t from = part * division.part; from < end; from += division.block)
        if (const int status = body(from, std::min(division.block, end - from)); status < 0)
            return status;
    return ok;
}

/// What one part comes to.
struct Part {
    Weight weight;
    Central* central;
    double* products; // or null
};

template <class T>
int add_blocks(const Sample<T>& sample, const Division& division, std::int64_t number, int degree, Part& part)
{
    const BlockRoutines& routines = block_routines();
    const std::int64_t columns = sample.chosen, stride = division.stride;
    const bool weighted = sample.weights != nullptr;
    const Room<double> column(columns * stride), weights(stride),
        weighted_column(weighted && part.products != nullptr ? columns * stride : 0);
    if (!column || !weights || !weighted_column)
        return out_of_memory;
    return for_blocks(division, sample.count, number, [&](std::int64_t from, std::int64_t count) {
        Weight weight;
        if (!weigh(sample, from, count, stride, weights.get(), weight))
            return unfit(of_weights);
        if (weight.sum == 0)
            return ok;
        gather(sample, from, count, stride, column.get());
        // Two samples differ from one by the product of the distances of their means.
        const double both = std::sqrt(part.weight.sum * weight.sum / (part.weight.sum + weight.sum));
        for (std::int64_t k = 0; k < columns; ++k) {
            double* const x = column.get() + k * stride;
            const Central block =
                routines.central(x, count, weighted ? weights.get() : nullptr, weight.sum, degree);
            if (part.products != nullptr) {
                const double far = part.weight.sum == 0 ? 0 : (block.mean - part.central[k].mean) * both;
                if (weighted) {
                    double* const wx = weighted_column.get() + k * stride;
                    for (std::int64_t i = 0; i < stride; ++i)
                        wx[i] = x[i] * weights[i];
                    wx[count] = far;
                }
                x[count] = far;
            }
            part.central[k] = joined(part.weight.sum, part.central[k], weight.sum, block);
        }
        if (part.products != nullptr)
            routines.products(columns, stride, column.get(), weighted ? weighted_column.get() : column.get(),
                              part.products);
        part.weight += weight;
        return ok;
    });
}

void join(Part& one, const Part& other, std::int64_t columns)
{
    const double both = one.weight.sum * other.weight.sum / (one.weight.sum + other.weight.sum);
    if (one.products != nullptr)
        for (std::int64_t i = 0; i < columns; ++i)
            for (std::int64_t j = 0; j <= i; ++j) {
                const double far = one.weight.sum == 0 || other.weight.sum == 0
                                       ? 0
                                       : (other.central[i].mean - one.central[i].mean) *
                                             (other.central[j].mean - one.central[j].mean) * both;
                one.products[i * columns + j] += other.products[i * columns + j] + far;
            }
    for (std::int64_t i = 0; i < columns; ++i)
        one.central[i] = joined(one.weight.sum, one.central[i], other.weight.sum, other.central[i]);
    one.weight += other.weight;
}

} // namespace

template <class T>
int find_moments(const Sample<T>& sample, int degree, bool products, Threader* threader, Moments& result)
{
    const std::int64_t columns = sample.chosen, square = products ? columns * columns : 0;
    const Division division(sample.count, columns, products);
    const Room<Part> parts(division.parts);
    result.central = Room<Central>(division.parts * columns);
    result.products = Room<double>(division.parts * square);
    if (!parts || !result.central || !result.products)
        return out_of_memory;
    std::fill_n(result.central.get(), division.parts * columns, Central{});
    std::fill_n(result.products.get(), division.parts * square, 0.0);
    for (std::int64_t k = 0; k < division.parts; ++k)
        parts[k] = {
            {}, result.central.get() + k * columns, products ? result.products.get() + k * square : nullptr};
    const int status = for_each(threader, division.parts, [&](std::int64_t k) {
        return add_blocks(sample, division, k, degree, parts[k]);
    });
    if (status < 0)
        return status;
    for (std::int64_t k = 1; k < division.parts; ++k)
        join(parts[0], parts[k], columns);
    result.weight = parts[0].weight;
    return result.weight.sum > 0 || sample.weights == nullptr ? ok : unfit(of_weights);
}
template int find_moments(const Sample<float>&, int, bool, Threader*, Moments&);
template int find_moments(const Sample<double>&, int, bool, Threader*, Moments&);

template <class T>
int find_extremes(const Sample<T>& sample, Threader* threader, double* least, double* greatest,
                  Weight& weight)
{
    const BlockRoutines& routines = block_routines();
    const std::int64_t columns = sample.chosen;
    const Division division(sample.count, columns, false);
    const Room<double> low(division.parts * columns), high(division.parts * columns);
    const Room<Weight> weights(division.parts);
    if (!low || !high || !weights)
        return out_of_memory;
    const int status = for_each(threader, division.parts, [&](std::int64_t part) {
        std::copy_n(least, columns, low.get() + part * columns);
        std::copy_n(greatest, columns, high.get() + part * columns);
        weights[part] = {};
        const Room<double> column(columns * division.stride), of_block(division.stride);
        if (!column || !of_block)
            return out_of_memory;
        return for_blocks(division, sample.count, part, [&](std::int64_t from, std::int64_t count) {
            Weight here;
            if (!weigh(sample, from, count, division.stride, of_block.get(), here))
                return unfit(of_weights);
            weights[part] += here;
            gather(sample, from, count, division.stride, column.get());
            for (std::int64_t k = 0; k < columns; ++k) {
                double* const x = column.get() + k * division.stride;
                if (sample.weights != nullptr)
                    for (std::int64_t i = 0; i < count; ++i) // what has no weight is not there
                        x[i] = of_block[i] == 0 ? std::numeric_limits<double>::quiet_NaN() : x[i];
                routines.extremes(x, count, low[part * columns + k], high[part * columns + k]);
            }
            return ok;
        });
    });
    if (status < 0)
        return status;
    for (std::int64_t part = 0; part < division.parts; ++part) {
        for (std::int64_t k = 0; k < columns; ++k) {
            least[k] = std::min(least[k], low[part * columns + k]);
            greatest[k] = std::max(greatest[k], high[part * columns + k]);
        }
        weight += weights[part];
    }
    return ok;
}
template int find_extremes(const Sample<float>&, Threader*, double*, double*, Weight&);
template int find_extremes(const Sample<double>&, Threader*, double*, double*, Weight&);

} // namespace qnm::vsl::statistics
