// A task of summary statistics: addresses by the numbers of their parameters.
#pragma once

#include "status.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

namespace qnm::vsl::statistics {

/// Parameters of a task, as programs number them.
enum Parameter : int {
    of_dimension = 1,
    of_observations = 2,
    of_x = 3,
    of_storage = 4,
    of_indices = 5,
    of_weights = 6,
    of_mean = 7,
    of_raw_moments = 8,      // three
    of_central_moments = 11, // three
    of_kurtosis = 14,
    of_skewness = 15,
    of_min = 16,
    of_max = 17,
    of_variation = 18,
    of_cov = 19,
    of_cov_storage = 20,
    of_cor = 21,
    of_cor_storage = 22,
    of_accumulated_weight = 23,
    of_quantile_count = 24,
    of_quantile_orders = 25,
    of_quantiles = 26,
    of_order_statistics = 27,
    of_groups = 28,
    of_pooled_mean = 29,
    of_pooled_cov = 30,
    of_pooled_cov_storage = 31,
    of_requested_groups = 32,
    of_group_means = 33,
    of_group_cov = 34,
    of_group_cov_storage = 35,
    of_robust_count = 36,
    of_robust_parameters = 37,
    of_robust_mean = 38,
    of_robust_cov = 39,
    of_robust_cov_storage = 40,
    of_outliers_count = 41,
    of_outliers_parameters = 42,
    of_outliers_weights = 43,
    of_order_statistics_storage = 44,
    of_partial_indices = 45,
    of_partial_cov = 46,
    of_partial_cov_storage = 47,
    of_partial_cor = 48,
    of_partial_cor_storage = 49,
    of_missing = 50, // ten: a count and an address, of five things
    of_parametrized = 60,
    of_parametrized_storage = 61,
    of_stream_count = 62,
    of_stream_orders = 63,
    of_stream_quantiles = 64,
    of_stream_parameter_count = 65,
    of_stream_parameters = 66,
    of_sum = 67,
    of_raw_sums = 68,     // three
    of_central_sums = 71, // three
    of_cp = 74,
    of_cp_storage = 75,
    of_mdad = 76,
    of_mnad = 77,
    of_sorted = 78,
    of_sorted_storage = 79,
    parameter_count = 80,
};

/// What a task remembers from one run to the next.
struct Memory {
    void (*forget)(Memory* memory);
};

struct Task {
    std::int32_t wide;          // the integers behind its addresses
    std::int32_t element_bytes; // of its reals
    Memory* memory;
    const void* place[parameter_count];
};

/// The layer reads some fields, so the first places are not in the order of parameters.
constexpr int place_of(int parameter)
{
    constexpr int first[] = {5, 0, 1, 3, 6, 4, 2};
    return parameter < 7 ? first[parameter] : parameter;
}
static_assert(offsetof(Task, place[place_of(of_dimension)]) == 16);
static_assert(offsetof(Task, place[place_of(of_observations)]) == 24);
static_assert(offsetof(Task, place[place_of(of_x)]) == 40);
static_assert(offsetof(Task, place[place_of(of_storage)]) == 64);

inline const void* address(const Task& task, int parameter)
{
    return task.place[place_of(parameter)];
}
template <class T>
T* array(const Task& task, int parameter)
{
    return const_cast<T*>(static_cast<const T*>(address(task, parameter)));
}
/// Of an array of integers, at the task's width.
inline std::int64_t integer(const Task& task, int parameter, std::int64_t index = 0)
{
    const void* const from = address(task, parameter);
    return task.wide != 0 ? static_cast<const std::int64_t*>(from)[index]
                          : static_cast<const std::int32_t*>(from)[index];
}
inline std::int64_t integer_or(const Task& task, int parameter, std::int64_t otherwise)
{
    return address(task, parameter) == nullptr ? otherwise : integer(task, parameter);
}

/// Divides work: the first status below zero wins.
using Body = int(std::int64_t k, void* data);
using Threader = int(std::int64_t count, Body* body, void* data);

template <class F>
int for_each(Threader* threader, std::int64_t count, F body)
{
    Body* const call = [](std::int64_t k, void* data) { return (*static_cast<F*>(data))(k); };
    if (threader != nullptr && count > 1)
        return threader(count, call, &body);
    for (std::int64_t k = 0; k < count; ++k)
        if (const int status = body(k); status < 0)
            return status;
    return ok;
}

/// Zeros, whose memory may be refused: what fails stays empty.
template <class T>
class Room {
    static_assert(std::is_trivially_destructible_v<T>);

public:
    Room() = default;
    explicit Room(std::int64_t count)
        : data_(static_cast<T*>(std::calloc(static_cast<std::size_t>(count > 0 ? count : 1), sizeof(T))))
    {
    }
    Room(Room&& other) noexcept : data_(other.data_) { other.data_ = nullptr; }
    Room& operator=(Room&& other) noexcept
    {
        T* const mine = data_;
        data_ = other.data_;
        other.data_ = mine;
        return *this;
    }
    ~Room() { std::free(data_); }
    explicit operator bool() const { return data_ != nullptr; }
    T* get() const { return data_; }
    T*& data() { return data_; } // for an owner of another kind
    T& operator[](std::int64_t i) const { return data_[i]; }

private:
    T* data_ = nullptr;
};

using Mask = std::uint64_t;

/// What some bits of a mask ask for, and the parameter with the address of the result.
struct Asked {
    Mask bits;
    int parameter;
};
template <std::size_t count>
int tested(const Task& task, Mask estimates, const Asked (&results)[count])
{
    for (const Asked& result : results)
        if ((estimates & result.bits) != 0 && address(task, result.parameter) == nullptr)
            return missing(result.parameter);
    return ok;
}

} // namespace qnm::vsl::statistics

#define QNM_STATISTICS extern "C" __attribute__((visibility("default")))

/// A stage, for both types.
#define QNM_STAGE(name, function)                                                                            \
    QNM_STATISTICS int _vsls##name(qnm::vsl::statistics::Task* task, qnm::vsl::statistics::Mask estimates,   \
                                   std::int64_t method, qnm::vsl::statistics::Threader* threader)            \
    {                                                                                                        \
        return function<float>(*task, estimates, method, threader);                                          \
    }                                                                                                        \
    QNM_STATISTICS int _vsld##name(qnm::vsl::statistics::Task* task, qnm::vsl::statistics::Mask estimates,   \
                                   std::int64_t method, qnm::vsl::statistics::Threader* threader)            \
    {                                                                                                        \
        return function<double>(*task, estimates, method, threader);                                         \
    }
