// The call of a LAPACK routine: arrays, core, results back, release.
#pragma once

#include "frame/report.hpp"
#include "frame/site.hpp"
#include "lapack/arrays.hpp"

namespace qnm::lapack {

// What some seats do and the others do not.
template <class S>
QNM_INLINE bool prepare(S& seat)
{
    if constexpr (requires { seat.prepare(); })
        return seat.prepare();
    else
        return true;
}

template <class S>
QNM_INLINE void release(S& seat)
{
    if constexpr (requires { seat.release(); })
        seat.release();
}

template <class S>
QNM_INLINE void fail(S& seat)
{
    if constexpr (requires { seat.fail(); })
        seat.fail();
}

template <class F>
struct Function;
template <class R, class... P>
struct Function<R(P...)> {
    using Result = R;
};

template <class... A>
using Letters = HiddenLengths<pointer_of<A>...>;

/// Arrays, core, results back, release. If an array cannot be had, those before it are released and the core
/// is not called. `around` is given the call, to make it at once or to trace it.
template <class R, class Letters, class Around, class Core, class... Seats>
QNM_INLINE R run(const char* name, int length, Around&& around, Core* core, Seats&&... seats)
{
    int prepared = 0;
    if (unlikely(!((prepare(seats) && ++prepared != 0) && ...))) {
        ((prepared-- > 0 ? release(seats) : void()), ...);
        report_scratch(name, length);
        (fail(seats), ...);
        return R();
    }
    return around([&]() QNM_INLINE_LAMBDA -> R {
        Kept<R> kept([&]() QNM_INLINE_LAMBDA -> R { return call_core(Letters{}, core, seats...); });
        (bring_back(seats), ...);
        (release(seats), ...);
        return kept.take();
    });
}

} // namespace qnm::lapack
