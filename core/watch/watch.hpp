// What stands ahead of the layer's planners: it costs a plan that is made one load, one test and a call.
#pragma once

#include <atomic>
#include <initializer_list>

#include "fftw/types.hpp"

namespace qnm::watch {

using fftw::Plan;

/// An argument as a line shows it: elements behind an address, or an array of data, of which nothing is shown
/// but whether it is input and output.
struct Shown {
    enum class Of { integers, dimensions, narrow_dimensions, data };

    const char* name;
    const void* at; // null where a caller told nothing
    int count;
    Of of;
};

template <class T>
constexpr auto shown_as = Shown::Of::integers;
template <>
constexpr inline auto shown_as<fftw::Dimension> = Shown::Of::dimensions;
template <>
constexpr inline auto shown_as<fftw::NarrowDimension> = Shown::Of::narrow_dimensions;

/// Numbers of C come by value, those of Fortran by address.
template <class T>
Shown number(const char* name, const T& value)
{
    static_assert(sizeof(T) == sizeof(int));
    return {name, &value, 1, Shown::Of::integers};
}
template <class T>
Shown number(const char* name, const T* address)
{
    static_assert(sizeof(T) == sizeof(int));
    return {name, address, 1, Shown::Of::integers};
}

template <class T>
Shown list(const char* name, const T* first, int count)
{
    return {name, first, count, shown_as<T>};
}
template <class T>
Shown list(const char* name, const T* first, const int* count)
{
    return list(name, first, count != nullptr ? *count : 0);
}

inline Shown data(const void* array)
{
    return {nullptr, array, 0, Shown::Of::data};
}

/// The function of a name behind this library, found at the first call.
class Next {
public:
    template <class F>
    F* function(const char* name)
    {
        void* found = found_.load(std::memory_order_relaxed);
        return reinterpret_cast<F*>(found != nullptr ? found : look_up(name));
    }

private:
    void* look_up(const char* name);

    std::atomic<void*> found_ = nullptr;
};

/// The plan that a call gave: as its result, or where its first argument says.
template <class... P>
Plan* plan_of(Plan* (*planner)(P...), P... arguments)
{
    return planner(arguments...);
}
template <class... P>
Plan* plan_of(void (*planner)(Plan**, P...), Plan** plan, P... arguments)
{
    planner(plan, arguments...);
    return plan != nullptr ? *plan : nullptr;
}

/// Tells a plan that `planner` did not make, unless the one who called it is the layer itself, whose planners
/// come down to each other.
[[gnu::cold, gnu::noinline]] void refused(const void* planner, const void* return_address, const char* name,
                                          std::initializer_list<Shown> arguments);

} // namespace qnm::watch
