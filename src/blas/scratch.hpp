// Narrow sparse level 1: the index array is copied into 64-bit scratch for the length of the call.
#pragma once

#include "frame/check.hpp"
#include "frame/copy.hpp"
#include "frame/kinds.hpp"
#include "frame/report.hpp"
#include "frame/scratch.hpp"
#include "frame/trace.hpp"

namespace qnm {

namespace blas {

/// An array of narrow integers that the core gets as a 64-bit copy.
struct Indices {
    const int* array;
};

} // namespace blas

template <>
struct Room<blas::Indices> {
    using Source = Allocated<128>;
    blas::Indices argument;
    core_int* block;
    QNM_INLINE explicit Room(blas::Indices given) : argument(given), block(nullptr) {}
    QNM_INLINE const core_int* pass() { return block; }

    /// Room for one index at the least, so that no size is ever zero; false if there is no memory.
    QNM_INLINE bool fill(core_int count)
    {
        block = Source::take<core_int>(larger<core_int>(count, 1) * static_cast<core_int>(sizeof(core_int)));
        if (block != nullptr)
            widen(block, argument.array, count);
        return block != nullptr;
    }
    QNM_INLINE void release() { Source::release(block); }
};

namespace blas {

template <class A>
QNM_INLINE bool fill(Room<A>& room, core_int count)
{
    if constexpr (std::is_same_v<A, Indices>)
        return room.fill(count);
    else
        return true;
}

template <class A>
QNM_INLINE void release(Room<A>& room)
{
    if constexpr (std::is_same_v<A, Indices>)
        room.release();
}

template <class R, class Core, class... A>
QNM_INLINE R call_and_release(Core* core, Room<A>&... rooms)
{
    Kept<R> kept([&]() QNM_INLINE_LAMBDA -> R { return call_core(HiddenLengths<A...>{}, core, rooms...); });
    (release(rooms), ...);
    return kept.take();
}

/// The traced call; the release lies between the two readings of the clock.
template <class R, class... P, class... A>
QNM_COLD R scratch_cold(Cell* cell, const char* format, int found, R (*core)(P...), Room<A>... rooms)
{
    return traced(
        cell, found, [&] { return call_and_release<R>(core, rooms...); },
        [&](double elapsed) { print_line(format, elapsed, shown_unchecked<A>(rooms)...); });
}

/// Snapshot, widen, copy the indices, core, release. A failed copy is reported and the core is not called.
template <auto* Core, class Jump, class... A>
QNM_INLINE auto scratch(Cell* cell, const char* format, const char* name, int length, Jump* jump,
                        core_int count, A... arguments)
{
    const int found = snapshot(*cell);
    return [&](Room<A>&&... rooms) QNM_INLINE_LAMBDA {
        using R = decltype(call_core(HiddenLengths<A...>{}, Core, rooms...));
        if (unlikely(!(fill(rooms, count) && ...))) {
            report_scratch(name, length);
            return R();
        }
        if (unlikely(found != 0))
            return scratch_cold(cell, format, found, jump, rooms...);
        return call_and_release<R>(Core, rooms...);
    }(Room<A>(arguments)...);
}

} // namespace blas
} // namespace qnm
