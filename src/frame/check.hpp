// The words of an argument check. A check is the published one: facts that later tests need first, then the
// tests in order; the first that fails gives the position. It looks and changes nothing.
#pragma once

#include "frame/types.hpp"

namespace qnm {

/// An argument that stays where its caller put it and is read at each use, which spares the entry a register.
template <class P>
struct In {
    P& place;
    QNM_INLINE operator P() const
    {
        park(place);
        return place;
    }
    QNM_INLINE auto operator*() const
    {
        park(place);
        return *place;
    }
};

/// Compares without regard to case, by the core's own function.
QNM_INLINE bool is(const char* argument, const char* letter)
{
    return qnm_serv_lsame(argument, letter, 1, 1) != 0;
}

QNM_INLINE bool refused(bool good)
{
    return unlikely(!good);
}

template <class I>
QNM_INLINE bool below(I value, I bound)
{
    return unlikely(value < bound);
}

template <class I>
QNM_INLINE I at_least_1(I size)
{
    // For sizes that were found good: two instructions, where a maximum takes four.
    return size + static_cast<I>(size == 0);
}

template <class I>
QNM_INLINE I larger(I a, I b)
{
    return a < b ? b : a;
}

template <class I>
QNM_INLINE I smaller(I a, I b)
{
    return b < a ? b : a;
}

template <class I>
QNM_INLINE I magnitude(I a)
{
    return a < 0 ? -a : a;
}

/// Group forms: parameters are arrays with one element for each group.
template <class I>
QNM_INLINE const I* integers(const void* array)
{
    return static_cast<const I*>(array);
}

/// Whether a test fails for any group; one array is walked over all groups before the next is touched.
template <class I, class Test>
QNM_INLINE bool any_group(const void* group_count, Test&& fails)
{
    const I count = *integers<I>(group_count);
    for (I g = 0; g < count; ++g)
        if (fails(g))
            return true;
    return false;
}

} // namespace qnm
