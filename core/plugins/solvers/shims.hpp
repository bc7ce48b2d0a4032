// What the shims of the engine's 32-bit BLAS and LAPACK are made of: the layer's own template.
#pragma once

#include "blas/bare.hpp"

namespace qnm {

/// An integer that comes back, when the call is over.
template <>
struct Room<int*> {
    int* caller;
    core_int wide;
    QNM_INLINE explicit Room(int* given) : caller(given), wide(*given) {}
    QNM_INLINE ~Room() { *caller = static_cast<int>(wide); }
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;
    QNM_INLINE core_int* pass() { return &wide; }
};

} // namespace qnm
