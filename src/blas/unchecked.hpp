// Entries that check nothing: level 1, batches of it, compact forms, JIT handles; the wide sparse level 1.
#pragma once

#include "frame/kinds.hpp"
#include "frame/trace.hpp"

namespace qnm::blas {

/// The caller's arguments stand first, so that the hot path need not move them for a call that it seldom
/// makes.
template <class Jump, class... A>
QNM_COLD auto unchecked_cold(A... arguments, Cell* cell, const char* format, int found, Jump* core)
{
    return [&](Room<A>&&... rooms) {
        return traced(
            cell, found, [&] { return call_core(HiddenLengths<A...>{}, core, rooms...); },
            [&](double elapsed) { print_line(format, elapsed, shown_unchecked<A>(rooms)...); });
    }(Room<A>(arguments)...);
}

/// The shortest frame: snapshot, widen, core.
template <auto* Core, class Jump, class... A>
QNM_INLINE auto unchecked(Cell* cell, const char* format, Jump* jump, A... arguments)
{
    const int found = snapshot(*cell);
    if (unlikely(found != 0))
        return unchecked_cold<Jump, A...>(arguments..., cell, format, found, jump);
    stay_below();
    return call_core(HiddenLengths<A...>{}, Core, Room<A>(arguments)...);
}

} // namespace qnm::blas
