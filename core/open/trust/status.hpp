// What trust-region solvers and Jacobians answer.
#pragma once

#include "../array.hpp"
#include "../guarded.hpp"

namespace qnm::core::trust {

enum Status : int { success = 1501, invalid = 1502, no_memory = 1503 };

/// Makes what a handle stands for. Returns what `make` could not.
template <class Make>
Status hold(void** handle, const Make& make)
{
    return guarded<no_memory, invalid>([&] {
        *handle = make();
        return success;
    });
}

/// Calls work(what the handle stands for).
template <class Held, class Work>
Status with(void** handle, const Work& work)
{
    return handle != nullptr && *handle != nullptr ? work(*static_cast<Held*>(*handle)) : invalid;
}

template <class Held>
Status release(void** handle)
{
    return with<Held>(handle, [handle](Held& held) {
        delete &held;
        *handle = nullptr;
        return success;
    });
}

} // namespace qnm::core::trust
