// Entries that carry an array of parameters to the core and back: no check and no trace.
#pragma once

#include "frame/copy.hpp"
#include "frame/kinds.hpp"

namespace qnm {

namespace solvers {

/// An array of parameters, as the caller has it.
template <core_int count>
struct Copied {
    int* caller;
};

/// An integer that the core always writes: nothing goes in.
struct Answer {
    int* caller;
};

} // namespace solvers

template <core_int count>
struct Room<solvers::Copied<count>> {
    int* caller;
    alignas(16) core_int elements[count]; // so that two of them are an operand

    QNM_INLINE explicit Room(solvers::Copied<count> given) : caller(given.caller)
    {
        copy_all<count>(elements, given.caller, widen_four);
    }
    QNM_INLINE core_int* pass() { return elements; }
    QNM_INLINE void bring_back()
    {
        copy_all<count>(caller, elements, [](int* to, const core_int* from, core_int i) QNM_INLINE_LAMBDA {
            narrow_four(to, static_cast<const core_int*>(__builtin_assume_aligned(from, 16)), i);
        });
    }
};

template <>
struct Room<solvers::Answer> {
    int* caller;
    core_int wide;
    QNM_INLINE explicit Room(solvers::Answer given) : caller(given.caller) {}
    QNM_INLINE core_int* pass() { return &wide; }
    QNM_INLINE void bring_back() { *caller = static_cast<int>(wide); }
};

namespace solvers {

template <auto* Core, class... A>
QNM_INLINE void carried(A... arguments)
{
    [](Room<A>&&... rooms) QNM_INLINE_LAMBDA {
        call_core(HiddenLengths<A...>{}, Core, rooms...);
        (bring_back(rooms), ...);
    }(Room<A>(arguments)...);
}

} // namespace solvers
} // namespace qnm
