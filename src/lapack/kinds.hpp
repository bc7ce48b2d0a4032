// What LAPACK adds to the kinds of arguments: scalars that come back, arrays of integers, workspace queries.
// A kind holds its pointer as H: on the hot path In<P>, which reads the argument where the caller put it and
// when it is needed (one that waits in a register across the core's call costs three instructions more); on
// the cold path P.
#pragma once

#include "frame/check.hpp"
#include "frame/kinds.hpp"
#include "lapack/extent.hpp"

namespace qnm::lapack {

/// What is odd about a work array: a query passes none, or its scratch is zero at first.
enum class Extra { none, null_at_query, cleared };

/// A scalar that the routine writes.
template <class H>
struct Out {
    H caller;
};

/// A length argument that asks as a Query does, and that the routine sets if it is -1 itself. Otherwise it is
/// only read, and may be a constant of the caller's.
template <class H>
struct Answer {
    H caller;
    bool asked = false;
};

/// INFO: every routine that has it writes it, so nothing goes in. A check leaves its verdict there.
template <class H>
struct Info {
    H caller;
};

/// INFO of the few routines that read it too.
template <class H>
struct ReadInfo {
    H caller;
};

/// A length argument for which -1 asks for sizes. Any of several that asks, asks for all.
template <class H>
struct Query {
    H caller;
    bool asked = false;
};

/// One that asks for itself alone, and goes on as it is when others ask.
template <class H>
struct OwnQuery {
    H caller;
};

/// How many elements of an array come back: all, or so many as Returned tells when the scalars have come
/// back.
struct All {};

/// All, and at a query the first: its length is asked for by a length argument of its own.
struct AllOrFirst {};

/// A number that the row tells.
template <core_int count>
struct First {
    QNM_INLINE constexpr core_int operator()() const { return count; }
};

/// An array of integers with its extent.
template <Way way, Extra extra, class H, class Returned>
struct Array {
    H caller;
    Extent extent;
    bool asked; // sizes are asked for: nothing goes in
    Returned returned;
};

/// The same before the check has passed: nothing is counted yet.
template <Way way, Extra extra, class H, class Count, class Returned>
struct Uncounted {
    H caller;
    Count count;
    Returned returned;
};

template <Way way, Extra extra = Extra::none, class Count, class Returned = All>
QNM_INLINE auto array(int*& place, Count count, Returned returned = {})
{
    return Uncounted<way, extra, In<int*>, Count, Returned>{{place}, count, returned};
}

/// Arguments without a kind of their own are taken in place.
template <class A>
QNM_INLINE auto kind(A& argument)
{
    if constexpr (requires { argument.caller; } || std::is_empty_v<A>)
        return argument;
    else
        return In<A>{argument};
}

template <class A>
QNM_INLINE A counted(A argument, bool query)
{
    if constexpr (requires { argument.asked; })
        argument.asked = query;
    return argument;
}

/// A query makes no scratch beyond the buffer on the stack.
template <Way way, Extra extra, class H, class Count, class Returned>
QNM_INLINE Array<way, extra, H, Returned> counted(Uncounted<way, extra, H, Count, Returned> a, bool query)
{
    return {a.caller, query ? Extent(0) : Extent(a.count()), query, a.returned};
}

// ---- by value, for calls that are not inlined

template <class A>
requires std::is_empty_v<A> QNM_INLINE A sent(A a)
{
    return a;
}

template <class P>
QNM_INLINE P sent(In<P> a)
{
    return a;
}

template <template <class> class Kind, class P>
QNM_INLINE Kind<P> sent(Kind<In<P>> a)
{
    return {a.caller};
}

template <class P>
QNM_INLINE Query<P> sent(Query<In<P>> a)
{
    return {a.caller, a.asked};
}

template <class P>
QNM_INLINE Answer<P> sent(Answer<In<P>> a)
{
    return {a.caller, a.asked};
}

template <Way way, Extra extra, class P, class Returned>
QNM_INLINE Array<way, extra, P, Returned> sent(Array<way, extra, In<P>, Returned> a)
{
    return {a.caller, a.extent, a.asked, a.returned};
}

/// An array that is not counted is only shown.
template <Way way, Extra extra, class P, class Count, class Returned>
QNM_INLINE const void* sent(Uncounted<way, extra, In<P>, Count, Returned> a)
{
    return static_cast<P>(a.caller);
}

/// The pointer of any kind.
template <class A>
QNM_INLINE auto pointer(A a)
{
    if constexpr (requires { a.caller; })
        return pointer(a.caller);
    else if constexpr (requires { a.place; })
        return static_cast<std::remove_reference_t<decltype(a.place)>>(a);
    else
        return a;
}

/// As the line shows it: the caller's own, arrays by their address.
template <bool NullTest, class A>
QNM_INLINE auto shown_caller(A a)
{
    if constexpr (requires { a.extent; })
        return static_cast<const void*>(a.caller);
    else if constexpr (requires { a.caller; })
        return shown<NullTest>(static_cast<const std::remove_pointer_t<decltype(a.caller)>*>(a.caller));
    else
        return shown<NullTest>(a);
}

} // namespace qnm::lapack
