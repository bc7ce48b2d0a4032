// What the core gets for the scalars of LAPACK, narrow and wide.
#pragma once

#include "lapack/kinds.hpp"

namespace qnm::lapack {

template <class A>
using pointer_of = decltype(pointer(std::declval<A>()));
template <class A>
inline constexpr bool is_narrow = sizeof(std::remove_pointer_t<pointer_of<A>>) == sizeof(int);

// What the core may write lies apart from the rest of a seat, so that the rest can stay in registers. It is
// not cleared: what the core reads of it has been filled.
template <class A>
struct Ground {
};

template <class H>
struct Ground<Out<H>> {
    QNM_INLINE Ground() {}
    core_int wide;
};

template <class H>
struct Ground<Answer<H>> : Ground<Out<H>> {
};

template <class H>
struct Ground<ReadInfo<H>> : Ground<Out<H>> {
};

template <class H>
struct Ground<Info<H>> {
    QNM_INLINE Ground() {}
    core_int wide;
};

/// An argument's place in the core's call. Plain arguments: the room of their type.
template <class A>
struct Seat : Room<A> {
    QNM_INLINE Seat(A a, Ground<A>&& /*ground*/) : Room<A>(a) {}
};

template <class P>
struct Seat<In<P>> {
    In<P> argument;
    QNM_INLINE Seat(In<P> a, Ground<In<P>>&& /*ground*/) : argument(a) {}
    QNM_INLINE P pass() { return argument; }
};

template <>
struct Seat<In<const int*>> : Room<const int*> {
    QNM_INLINE Seat(In<const int*> a, Ground<In<const int*>>&& /*ground*/) : Room<const int*>(a) {}
};

/// An integer that the core writes and the caller gets, converted if that is narrow.
template <class H>
struct Written {
    H caller;
    core_int* wide;
    QNM_INLINE core_int* pass()
    {
        if constexpr (is_narrow<H>)
            return wide;
        else
            return caller;
    }
    QNM_INLINE void bring_back()
    {
        if constexpr (is_narrow<H>)
            *pointer(caller) = static_cast<int>(*wide);
    }
};

/// A scalar that comes back is seeded with the caller's value: a routine that stops early leaves it alone.
template <class H>
struct Seat<Out<H>> : Written<H> {
    QNM_INLINE Seat(Out<H> a, Ground<Out<H>>&& ground) : Written<H>{a.caller, &ground.wide}
    {
        if constexpr (is_narrow<H>)
            *this->wide = *this->caller;
    }
};

template <class H>
struct Seat<Answer<H>> : Seat<Out<H>> {
    QNM_INLINE Seat(Answer<H> a, Ground<Answer<H>>&& ground)
        : Seat<Out<H>>(Out<H>{a.caller}, std::move(ground))
    {
        if (a.asked)
            *this->wide = -1;
    }
    QNM_INLINE void bring_back()
    {
        if (*pointer(this->caller) == -1)
            Seat<Out<H>>::bring_back();
    }
};

template <class H>
struct Seat<Info<H>> : Written<H> {
    QNM_INLINE Seat(Info<H> a, Ground<Info<H>>&& ground) : Written<H>{a.caller, &ground.wide} {}
    /// Scratch could not be had; the handler is told another code.
    QNM_INLINE void fail() { *pointer(this->caller) = -1023; }
};

template <class H>
struct Seat<ReadInfo<H>> : Seat<Out<H>> {
    QNM_INLINE Seat(ReadInfo<H> a, Ground<ReadInfo<H>>&& ground)
        : Seat<Out<H>>(Out<H>{a.caller}, std::move(ground))
    {
    }
    QNM_INLINE void fail() { *pointer(this->caller) = -1023; }
};

template <class H>
struct Seat<Query<H>> {
    core_int wide;
    QNM_INLINE Seat(Query<H> a, Ground<Query<H>>&& /*ground*/) : wide(a.asked ? -1 : *a.caller)
    {
        park(wide);
    }
    QNM_INLINE const core_int* pass() { return &wide; }
};

template <class H>
struct Seat<OwnQuery<H>> : Seat<H> {
    QNM_INLINE Seat(OwnQuery<H> a, Ground<OwnQuery<H>>&& /*ground*/) : Seat<H>(a.caller, Ground<H>()) {}
};

} // namespace qnm::lapack
