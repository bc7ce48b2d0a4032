// Entries that register the error interface, and most of them check: level 2 and 3, batches, GEMM variants.
#pragma once

#include "blas/check.hpp"
#include "frame/kinds.hpp"
#include "frame/trace.hpp"

namespace qnm {

/// The statics and fixed texts of one entry.
struct Site {
    Cell* cell;
    const char* format;
    const char* name; // as reported, padded
    int length;
};

/// For entries that register and trace, and leave all checking to the core.
struct NoTests {
    template <class I, class... A>
    QNM_INLINE static int code(A... /*arguments*/)
    {
        return 0;
    }
};

/// What an entry with a result gives back after a refusal.
template <class R, int Refusal>
QNM_INLINE R refusal()
{
    if constexpr (!std::is_void_v<R>)
        return static_cast<R>(Refusal);
}

/// Everything but the untraced call. `position` is that of a bad argument, or 0.
template <class I, int Refusal, class Jump, class... A>
QNM_COLD auto checked_cold(A... arguments, Site site, int found, int position, Jump* core)
{
    constexpr bool wide = sizeof(I) == sizeof(core_int);
    const auto call = [&] { return call_core(HiddenLengths<A...>{}, core, Room<A>(arguments)...); };
    using R = decltype(call());
    if (position != 0) {
        report_argument<I>(site.name, site.length, position);
        if (tracing(site.cell, found)) {
            Stopwatch watch;
            watch.start();
            watch.stop();
            print_line(site.format, watch.elapsed(), shown<true>(arguments)...);
        }
        return refusal<R, Refusal>();
    }
    if (!tracing(site.cell, found))
        return call();
    Stopwatch watch;
    watch.start();
    Kept<R> kept(call);
    watch.stop();
    print_line(site.format, watch.elapsed(), shown<wide>(arguments)...);
    return kept.take();
}

/// The order of a checked entry: register, snapshot, check, widen, core.
template <class I, class Tests, auto* Core, int Refusal = 0, class Jump, class... A>
QNM_INLINE auto checked(Site site, Jump* jump, A&... arguments)
{
    (park(arguments), ...);
    qnm_set_xerbla_interface(cdecl_xerbla);
    int found = snapshot(*site.cell);
    park(found);
    const int position = Tests::template code<I>(In<A>{arguments}...);
    if (unlikely((position | found) != 0)) {
        (park(arguments), ...); // the cold call reads its arguments itself; nothing of it moves up here
        return checked_cold<I, Refusal, Jump, A...>(arguments..., site, found, position, jump);
    }
    return call_core(HiddenLengths<A...>{}, Core, Room<A>(arguments)...);
}

} // namespace qnm
