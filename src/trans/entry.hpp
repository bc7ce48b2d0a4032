// The frame of a matrix copy, both forms. It has no cell: where the mode lives is asked at each call, and the
// mode is read on both sides of the core.
#pragma once

#include "frame/trace.hpp"
#include "trans/kinds.hpp"

namespace qnm::trans {

/// The line of a call, `enabled` only if the mode was on when it began.
template <class... A>
QNM_COLD void show(bool enabled, Stopwatch watch, const char* format, A... arguments)
{
    watch.stop();
    hand_over(enabled ? 1 : 0, format, watch.elapsed(), shown(arguments)...);
}

template <class Tests, auto* Core, class... A>
QNM_INLINE void entry(const char* name, const char* format, A&&... arguments)
{
    (park(arguments), ...);
    register_chain();
    AskedMode mode;
    core_int code = scratch_failed;
    {
        Widened<narrow_arrays<std::remove_reference_t<A>...>> room(
            (core_int{0} + ... + groups_of(arguments)));
        if (!room.failed())
            code = [&](auto&&... arguments_64) QNM_INLINE_LAMBDA {
                const int position = Tests::template code<size>(tested(value(arguments_64))...);
                if (unlikely(position != 0))
                    return position;
                (park(arguments_64), ...); // read anew for the core, not kept over the check
                Core(value(arguments_64)...);
                return 0;
            }(wide_arrays(room, arguments)...);
    }
    if (unlikely(code != 0)) // a handler may throw: nothing is held any more
        trans_xerbla(name, code);
    if (unlikely(mode.on()))
        show(mode.at_first(), mode.watch(), format, arguments...);
}

} // namespace qnm::trans
