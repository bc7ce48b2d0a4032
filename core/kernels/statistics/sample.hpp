// The observations of a task.
#pragma once

#include "task.hpp"

namespace qnm::vsl::statistics {

enum Storage : std::int64_t { by_components = 0x10000, by_observations = 0x20000 };

struct Strides {
    std::int64_t component, observation;
};
inline Strides strides_of(std::int64_t storage, std::int64_t p, std::int64_t n)
{
    return storage == by_components ? Strides{n, 1} : Strides{1, p};
}

template <class T>
struct Sample {
    std::int64_t p = 0, n = 0; // as in memory
    std::int64_t chosen = 0;   // how many components are asked for
    std::int64_t count = 0;    // of observations that are taken
    const T* x = nullptr;
    Strides strides{};
    const T* weights = nullptr;
    const std::int64_t* rows = nullptr; // which observations, if not all
    Room<std::int64_t> component;

    T at(std::int64_t component_number, std::int64_t observation) const
    {
        return x[component_number * strides.component + observation * strides.observation];
    }

    /// Observations that have to be there: where a block of a stream is asked for too, nobody has looked.
    int open(const Task& task)
    {
        if (integer_or(task, of_observations, 0) < 1)
            return unfit(of_observations);
        if (address(task, of_x) == nullptr)
            return missing(of_x);
        const std::int64_t storage = integer_or(task, of_storage, 0);
        if (storage != by_components && storage != by_observations)
            return unfit(of_storage);
        return look(task);
    }
    int look(const Task& task)
    {
        p = integer(task, of_dimension);
        n = count = integer_or(task, of_observations, 0);
        x = array<T>(task, of_x);
        weights = array<T>(task, of_weights);
        strides = strides_of(integer_or(task, of_storage, by_components), p, n);
        return choose(task);
    }
    /// The components alone.
    int choose(const Task& task)
    {
        component = Room<std::int64_t>(p);
        if (!component)
            return out_of_memory;
        const bool all = address(task, of_indices) == nullptr;
        for (std::int64_t i = 0; i < p; ++i) {
            const std::int64_t index = all ? 1 : integer(task, of_indices, i);
            if (index != 0 && index != 1)
                return unfit(of_indices);
            if (index == 1)
                component[chosen++] = i;
        }
        return chosen > 0 ? ok : unfit(of_indices);
    }
};

} // namespace qnm::vsl::statistics
