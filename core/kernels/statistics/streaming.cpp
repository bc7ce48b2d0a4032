// Quantiles of observations that come block by block, in little memory (Zhang, Wang 2007): summaries of equal
// size at levels, each number of which stands for 2^level observations. Two of a level are merged, and every
// other number goes up. With L levels of b numbers a rank is wrong by L n / (2 b) at most.
#include "matrices.hpp"
#include "sample.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qnm::vsl::statistics {
namespace {

constexpr Mask stream_quantiles = 0x1000000;
constexpr std::int64_t at_the_end = 0x80; // a method
constexpr int levels = 40;
constexpr double usual_error = 0.01, least_error = 1e-6;

template <class T>
struct Column {
    std::int64_t observations, filled;
    bool later;       // whether the next pair gives its first or its second number up
    T* entry;         // up to `size` observations
    T* level[levels]; // null: empty
};

/// Of all components of a task.
template <class T>
struct Summaries : Memory {
    std::int64_t columns, size;
    double error;
    Column<T>* column;

    static void forget(Memory* memory)
    {
        auto* const self = static_cast<Summaries*>(memory);
        for (std::int64_t k = 0; self->column != nullptr && k < self->columns; ++k) {
            std::free(self->column[k].entry);
            for (T* const level : self->column[k].level)
                std::free(level);
        }
        std::free(self->column);
        std::free(self);
    }
    static Summaries* make(std::int64_t columns, double error)
    {
        auto* const self = static_cast<Summaries*>(std::calloc(1, sizeof(Summaries)));
        if (self == nullptr)
            return nullptr;
        self->Memory::forget = Summaries::forget;
        self->columns = columns;
        self->error = error;
        self->size = static_cast<std::int64_t>(std::ceil(levels / (2 * error)));
        self->column =
            static_cast<Column<T>*>(std::calloc(static_cast<std::size_t>(columns), sizeof(Column<T>)));
        if (self->column != nullptr)
            return self;
        std::free(self);
        return nullptr;
    }

    /// Memory first, so that a column is never half changed.
    int add(Column<T>& to, T x) const
    {
        if (to.entry == nullptr) {
            Room<T> room(size);
            if (!room)
                return out_of_memory;
            std::swap(to.entry, room.data());
        }
        if (to.filled == size) {
            int top = 0;
            while (top < levels && to.level[top] != nullptr)
                ++top;
            if (top == levels)
                return unfit(of_observations);
            Room<T> entry(size), merged(2 * size);
            if (!entry || !merged)
                return out_of_memory;
            std::sort(to.entry, to.entry + size);
            for (int k = 0; k < top; ++k) {
                std::merge(to.entry, to.entry + size, to.level[k], to.level[k] + size, merged.get());
                const std::int64_t first = to.later ? 1 : 0;
                to.later = !to.later;
                for (std::int64_t i = 0; i < size; ++i)
                    to.entry[i] = merged[2 * i + first];
                std::free(to.level[k]);
                to.level[k] = nullptr;
            }
            to.level[top] = to.entry;
            to.entry = nullptr;
            std::swap(to.entry, entry.data());
            to.filled = 0;
        }
        to.entry[to.filled++] = x;
        ++to.observations;
        return ok;
    }

    int find(const Column<T>& of, std::int64_t count, const T* orders, T* result) const
    {
        struct Held {
            T x;
            double stands_for;
        };
        std::int64_t all = of.filled;
        for (const T* const level : of.level)
            all += level != nullptr ? size : 0;
        const Room<Held> held(all);
        if (!held)
            return out_of_memory;
        std::int64_t next = 0;
        for (std::int64_t i = 0; i < of.filled; ++i)
            held[next++] = {of.entry[i], 1};
        for (int k = 0; k < levels; ++k)
            for (std::int64_t i = 0; of.level[k] != nullptr && i < size; ++i)
                held[next++] = {of.level[k][i], std::ldexp(1.0, k)};
        std::sort(held.get(), held.get() + all, [](const Held& a, const Held& b) { return a.x < b.x; });
        for (std::int64_t k = 0; k < count; ++k) {
            const double rank = static_cast<double>(orders[k]) * static_cast<double>(of.observations - 1);
            double before = 0;
            std::int64_t at = 0;
            while (at + 1 < all && before + held[at].stands_for <= std::floor(rank + 0.5))
                before += held[at++].stands_for;
            result[k] = held[at].x;
        }
        return ok;
    }
};

template <class T>
int stream(Task& task, Mask asked, std::int64_t method, Threader* threader)
{
    const Asked results[] = {{stream_quantiles, of_stream_count},
                             {stream_quantiles, of_stream_orders},
                             {stream_quantiles, of_stream_quantiles}};
    Sample<T> sample;
    int status = tested(task, asked, results);
    if (status < 0 || (status = sample.look(task)) < 0)
        return status;
    const bool more = sample.n > 0 && sample.x != nullptr;
    if (more && address(task, of_storage) != nullptr && integer(task, of_storage) != by_components &&
        integer(task, of_storage) != by_observations)
        return unfit(of_storage);
    const std::int64_t count = integer(task, of_stream_count);
    const T* const orders = array<T>(task, of_stream_orders);
    if (count < 1)
        return unfit(of_stream_count);
    for (std::int64_t k = 0; k < count; ++k)
        if (!(orders[k] >= 0 && orders[k] <= 1))
            return unfit(of_stream_orders);
    const T* const parameters = array<T>(task, of_stream_parameters);
    if (parameters != nullptr && integer_or(task, of_stream_parameter_count, 1) != 1)
        return unfit(of_stream_parameter_count);
    const double error = parameters != nullptr ? static_cast<double>(parameters[0]) : usual_error;
    if (!(error >= least_error && error < 1))
        return unfit(of_stream_parameters);

    // Another dimension or another error is another stream.
    auto* summaries = static_cast<Summaries<T>*>(task.memory);
    if (summaries == nullptr || summaries->columns != sample.p || std::abs(summaries->error - error) > 0) {
        Summaries<T>* const fresh = Summaries<T>::make(sample.p, error);
        if (fresh == nullptr)
            return out_of_memory;
        if (summaries != nullptr)
            summaries->Memory::forget(summaries);
        task.memory = summaries = fresh;
    }
    const bool wanted = method != at_the_end || !more;
    return for_each(threader, sample.chosen, [&](std::int64_t k) {
        const std::int64_t component = sample.component[k];
        Column<T>& column = summaries->column[component];
        for (std::int64_t i = 0; more && i < sample.n; ++i) {
            const T x = sample.at(component, i);
            if (std::isnan(x))
                continue;
            if (const int failed = summaries->add(column, x); failed < 0)
                return failed;
        }
        return wanted && column.observations > 0
                   ? summaries->find(column, count, orders,
                                     array<T>(task, of_stream_quantiles) + component * count)
                   : ok;
    });
}

} // namespace
} // namespace qnm::vsl::statistics

QNM_STAGE(SSStreamQuantiles, qnm::vsl::statistics::stream)
