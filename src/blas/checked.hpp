// Entries that register the error interface, and most of them check: level 2 and 3, batches, GEMM variants.
#pragma once

#include "frame/check.hpp"
#include "frame/kinds.hpp"
#include "frame/report.hpp"
#include "frame/site.hpp"
#include "frame/trace.hpp"

namespace qnm::blas {

/// What an entry with a result gives back after a refusal.
template <class R, int Refusal>
QNM_INLINE R refusal()
{
    if constexpr (!std::is_void_v<R>)
        return static_cast<R>(Refusal);
}

/// Everything but the untraced call. `position` is that of a bad argument, or 0. What is known of the entry
/// comes word by word: as a record it would be laid out on the stack by every call.
template <class I, int Refusal, class Jump, class... A>
QNM_COLD auto checked_cold(A... arguments, Cell* cell, const char* format, const char* name, int length,
                           int found, int position, Jump* core)
{
    constexpr bool wide = sizeof(I) == sizeof(core_int);
    using R = decltype(call_core(HiddenLengths<A...>{}, core, Room<A>(arguments)...));
    if (position != 0) {
        report_argument<I>(name, length, position);
        show_refused(cell, found,
                     [&](double elapsed) { print_line(format, elapsed, shown<true>(arguments)...); });
        return refusal<R, Refusal>();
    }
    // Integers are widened ahead of the decision: whatever the core's services do, it gets what was checked.
    return [&](Room<A>&&... rooms) -> R {
        return traced(
            cell, found, [&] { return call_core(HiddenLengths<A...>{}, core, rooms...); },
            [&](double elapsed) { print_line(format, elapsed, shown<wide>(arguments)...); });
    }(Room<A>(arguments)...);
}

/// The order of a checked entry: register, snapshot, check, widen, core.
template <class I, class Tests, auto* Core, int Refusal = 0, class Jump, class... A>
QNM_INLINE auto checked(Site site, Jump* jump, A&... arguments)
{
    (park(arguments), ...);
    register_chain();
    int found = snapshot(*site.cell);
    park(found);
    const int position = Tests::template code<I>(In<A>{arguments}...);
    if (unlikely((position | found) != 0)) {
        (park(arguments), ...); // the cold call reads its arguments itself; nothing of it moves up here
        return checked_cold<I, Refusal, Jump, A...>(arguments..., site.cell, site.format, site.name,
                                                    site.length, found, position, jump);
    }
    return call_core(HiddenLengths<A...>{}, Core, Room<A>(arguments)...);
}

/// The body of an exported check: 0 if all is well, else 1 after the report.
template <class I, class Tests, class... A>
QNM_INLINE int verdict(const char* name, int length, A&... arguments)
{
    const int position = Tests::template code<I>(In<A>{arguments}...);
    return unlikely(position != 0) ? report_argument<I>(name, length, position) : 0;
}

} // namespace qnm::blas
