// How arguments travel. The C++ type of a parameter is its kind:
//   const char*  option letter, with a hidden length     const I*   integer by reference, widened for the
//   core const void*  array, real scalar or handle, untouched  I          integer by value (compact forms)
//   WidthFlag<I>  the flag of group batches
// Families add kinds of their own. One with a member `array` is an array.
#pragma once

#include <type_traits>
#include <utility>

#include "frame/types.hpp"

namespace qnm {

/// Group batches pass arrays of the caller's own width on, and tell the core behind the visible arguments
/// which width that is: 1 from a narrow entry, 0 from a wide one.
template <class I>
struct WidthFlag {
};
template <class I>
inline WidthFlag<I> width_flag;

/// What the core gets for one argument, for the length of the call.
template <class A>
struct Room {
    A argument;
    QNM_INLINE explicit Room(A given) : argument(given) {}
    QNM_INLINE A pass() { return argument; }
};

template <>
struct Room<const int*> {
    core_int wide;
    QNM_INLINE explicit Room(const int* given) : wide(*given) { park(wide); }
    QNM_INLINE const core_int* pass() { return &wide; }
};

template <>
struct Room<int> {
    core_int wide;
    QNM_INLINE explicit Room(int given) : wide(given) {}
    QNM_INLINE core_int pass() { return wide; }
};

/// The length of a character result, by value behind its address; the core gets 1.
struct ResultLength {};
inline ResultLength result_length;

template <>
struct Room<ResultLength> {
    QNM_INLINE explicit Room(ResultLength /*given*/) {}
    QNM_INLINE hidden_length pass() { return 1; }
};

template <class I>
struct Room<WidthFlag<I>> {
    QNM_INLINE explicit Room(WidthFlag<I> /*given*/) {}
    QNM_INLINE int pass() { return sizeof(I) == sizeof(int) ? 1 : 0; }
};

template <class A>
using passed = decltype(std::declval<Room<A>&>().pass());

/// Hidden lengths stand behind all visible arguments, one for each option letter.
template <class... A>
using HiddenLengths =
    std::make_index_sequence<(std::size_t{0} + ... + (std::is_same_v<A, const char*> ? 1 : 0))>;

template <std::size_t>
inline constexpr hidden_length hidden_one = 1;

/// The one call of the core, its arguments in their rooms.
template <std::size_t... H, class Core, class... Rooms>
QNM_INLINE decltype(auto) call_core(std::index_sequence<H...> /*letters*/, Core* core, Rooms&&... rooms)
{
    return core(rooms.pass()..., hidden_one<H>...);
}

/// What the core wrote goes to the caller, for those that have something.
template <class S>
QNM_INLINE void bring_back(S& room)
{
    if constexpr (requires { room.bring_back(); })
        room.bring_back();
}

/// Stands for an argument that the line does not show.
struct Unshown {};

/// An argument as the line shows it: an array by the caller's address. Where a call may have been refused,
/// integers are read through a null test.
template <bool NullTest, class A>
QNM_INLINE auto shown(A argument)
{
    if constexpr (std::is_same_v<A, const char*>)
        return static_cast<int>(*argument);
    else if constexpr (requires { argument.array; })
        return static_cast<const void*>(argument.array);
    else if constexpr (std::is_empty_v<A>)
        return Unshown{};
    else if constexpr (std::is_pointer_v<A> && !std::is_same_v<A, const void*>)
        return NullTest && argument == nullptr ? std::remove_cvref_t<decltype(*argument)>{0} : *argument;
    else
        return argument;
}

/// An argument of an entry without a check: a narrow integer is shown as it was widened, all else as the
/// caller has it now.
template <class A>
QNM_INLINE auto shown_unchecked(Room<A>& room)
{
    if constexpr (std::is_same_v<A, const int*> || std::is_same_v<A, int>)
        return static_cast<int>(room.wide);
    else if constexpr (std::is_empty_v<A>)
        return Unshown{};
    else
        return shown<true>(room.argument);
}

/// Holds a result across the trace, void included.
template <class R>
struct Kept {
    R value;
    template <class Call>
    QNM_INLINE explicit Kept(Call&& call) : value(call())
    {
    }
    QNM_INLINE R take() { return value; }
};

template <>
struct Kept<void> {
    template <class Call>
    QNM_INLINE explicit Kept(Call&& call)
    {
        call();
    }
    QNM_INLINE void take() {}
};

} // namespace qnm
