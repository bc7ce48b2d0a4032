// Entries for inner loops: widen and call, no check and no trace.
#pragma once

#include "frame/kinds.hpp"

namespace qnm::blas {

template <auto* Core, class... A>
QNM_INLINE auto bare(A... arguments)
{
    return call_core(HiddenLengths<A...>{}, Core, Room<A>(arguments)...);
}

/// Two kernels of one operation; the sizes, or the caller's flag, decide.
template <auto* Core, auto* Small, class... A>
QNM_INLINE auto selected(bool small, A... arguments)
{
    return [small](Room<A>&&... rooms) QNM_INLINE_LAMBDA {
        return small ? call_core(HiddenLengths<A...>{}, Small, rooms...)
                     : call_core(HiddenLengths<A...>{}, Core, rooms...);
    }(Room<A>(arguments)...);
}

} // namespace qnm::blas
