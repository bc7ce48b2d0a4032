// Entries that carry integers and arrays of parameters to the core and back: no error interface and no trace.
#pragma once

#include "frame/check.hpp"
#include "frame/copy.hpp"
#include "frame/kinds.hpp"
#include "frame/scratch.hpp"

#include <tuple>

namespace qnm {

namespace solvers {

/// An array of so many integers, of which the copy lies on the stack.
template <Way way, core_int count>
struct Copied {
    int* caller;
};

/// An integer that the core always writes: nothing goes in.
struct Answer {
    int* caller;
};

/// An integer that goes both ways.
struct Exchanged {
    int* caller;
};

/// A number of elements that the row tells.
template <core_int count>
struct Number {
    static constexpr core_int fixed = count;
    QNM_INLINE constexpr core_int operator()(auto& /*rooms*/) const { return count; }
};

/// An array is copied in any case, and comes back whole.
struct Always {};
struct Whole {};

/// An array of integers whose copy lies in the core's memory, of which nobody asks whether it could be had:
/// how many elements there are, whether there is a copy at all, and how many come back, told by the rooms of
/// all arguments.
template <int alignment, Way way, class Count, class If, class Returned>
struct Stored {
    int* caller;
    Count count;
    If is_copied;
    Returned returned;
};

template <int alignment, Way way, class Count, class If = Always, class Returned = Whole>
QNM_INLINE auto stored(int* caller, Count count, If is_copied = {}, Returned returned = {})
{
    return Stored<alignment, way, Count, If, Returned>{caller, count, is_copied, returned};
}

inline constexpr bool goes_in(Way way)
{
    return way == Way::in || way == Way::inout;
}
inline constexpr bool comes_back(Way way)
{
    return way == Way::out || way == Way::inout;
}

} // namespace solvers

template <Way way, core_int count>
struct Room<solvers::Copied<way, count>> {
    int* caller;
    alignas(16) core_int elements[count]; // so that two of them are an operand

    QNM_INLINE explicit Room(solvers::Copied<way, count> given) : caller(given.caller)
    {
        if constexpr (solvers::goes_in(way))
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

template <>
struct Room<solvers::Exchanged> : Room<solvers::Answer> {
    QNM_INLINE explicit Room(solvers::Exchanged given) : Room<solvers::Answer>(solvers::Answer{given.caller})
    {
        wide = *given.caller;
    }
};

template <int alignment, Way way, class Count, class If, class Returned>
struct Room<solvers::Stored<alignment, way, Count, If, Returned>> {
    using Given = solvers::Stored<alignment, way, Count, If, Returned>;
    /// Parameters are there before arrays that may be missing.
    static constexpr bool is_first = std::is_same_v<If, solvers::Always>;

    Given given;
    core_int elements = 0;
    Copies<Allocated<alignment>> copies{nullptr};

    QNM_INLINE explicit Room(Given argument) : given(argument) {}

    QNM_INLINE void take(auto& rooms)
    {
        if constexpr (!is_first)
            if (!given.is_copied(rooms))
                return;
        elements = given.count(rooms);
        copies.take(elements * static_cast<core_int>(sizeof(core_int)));
        if constexpr (solvers::goes_in(way))
            all(copies.place, static_cast<const int*>(given.caller), widen_four, widen, elements);
    }
    QNM_INLINE core_int* pass() { return copies.place; }
    QNM_INLINE void bring_back(auto& rooms)
    {
        if constexpr (solvers::comes_back(way)) {
            if (!is_first && copies.place == nullptr)
                return; // what the count asks for may be missing too
            if constexpr (std::is_same_v<Returned, solvers::Whole>)
                all(given.caller, static_cast<const core_int*>(copies.place), narrow_four, narrow, elements);
            else
                narrow(given.caller, copies.place, smaller<core_int>(given.returned(rooms), elements));
        }
    }
    QNM_INLINE void release()
    {
        if (is_first || copies.place != nullptr)
            copies.release();
    }

private:
    template <class To, class From, class Four, class Some>
    QNM_INLINE static void all(To* to, const From* from, Four four, Some some, core_int elements)
    {
        if constexpr (requires { Count::fixed; })
            copy_all<Count::fixed>(to, from, four);
        else
            some(to, from, elements);
    }
};

namespace solvers {

/// What an expression of a row asks of the arguments: an integer as the core has it, an element of a copy.
template <std::size_t place>
QNM_INLINE core_int told(auto& rooms)
{
    return *std::get<place>(rooms).pass();
}
template <std::size_t place>
QNM_INLINE core_int told(auto& rooms, core_int i)
{
    return std::get<place>(rooms).pass()[i];
}

// What some rooms do and the others do not.
template <bool first, class S>
QNM_INLINE void take(S& room, auto& rooms)
{
    if constexpr (requires { room.take(rooms); })
        if constexpr (S::is_first == first)
            room.take(rooms);
}

template <class S>
QNM_INLINE void bring_back(S& room, auto& rooms)
{
    if constexpr (requires { room.bring_back(rooms); })
        room.bring_back(rooms);
    else
        qnm::bring_back(room);
}

template <class S>
QNM_INLINE void release(S& room)
{
    if constexpr (requires { room.release(); })
        room.release();
}

// Addresses that are refused where they are null.

template <class A>
QNM_INLINE const void* address(A argument)
{
    if constexpr (requires { argument.caller; })
        return argument.caller;
    else
        return argument;
}
template <class A>
inline constexpr bool is_integer = std::is_same_v<A, const int*> || requires(A a)
{
    a.caller;
};

/// Nobody asks.
struct NeverNull {
    static constexpr int status = 0;
    QNM_INLINE static bool refuses(auto... /*arguments*/) { return false; }
};

/// Those of integers give a status.
template <int code>
struct NullInteger {
    static constexpr int status = code;
    template <class... A>
    QNM_INLINE static bool refuses(A... arguments)
    {
        return ((is_integer<A> && address(arguments) == nullptr) || ...);
    }
};

/// All, in their order, leave a negative position below `base` in `info`, unless that is null itself.
template <int base>
struct NullPosition {
    static constexpr int status = 0;
    int* info;
    template <class... A>
    QNM_INLINE bool refuses(A... arguments) const
    {
        if (unlikely(info == nullptr))
            return true;
        int position = 0;
        if (unlikely(((++position, address(arguments) == nullptr) || ...))) {
            *info = -(base + position);
            return true;
        }
        return false;
    }
};

/// Any ends the call, and nobody is told.
struct NullEnds {
    static constexpr int status = 0;
    QNM_INLINE static bool refuses(auto... arguments) { return ((address(arguments) == nullptr) || ...); }
};

template <class R, auto* Core, class Nulls, class... A>
QNM_INLINE R carried(Nulls nulls, A... arguments)
{
    if (unlikely(nulls.refuses(arguments...)))
        return static_cast<R>(Nulls::status);
    return [](Room<A>&&... all) QNM_INLINE_LAMBDA -> R {
        auto rooms = std::tie(all...);
        (take<true>(all, rooms), ...);
        (take<false>(all, rooms), ...);
        Kept<R> kept([&]() QNM_INLINE_LAMBDA -> R { return call_core(HiddenLengths<A...>{}, Core, all...); });
        (bring_back(all, rooms), ...);
        (release(all), ...);
        return kept.take();
    }(Room<A>(arguments)...);
}

} // namespace solvers
} // namespace qnm
