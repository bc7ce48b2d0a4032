// One pass over an array of integers, in either direction; four at a time, since they come in fours and more.
#pragma once

#include "frame/types.hpp"

namespace qnm {

using Four [[gnu::vector_size(16), gnu::aligned(4), gnu::may_alias]] = int;
using FourWide [[gnu::vector_size(32), gnu::aligned(8), gnu::may_alias]] = core_int;

/// The next place, as it is: worked out from the loop's count again, it would cost more than four elements
/// do.
QNM_INLINE void keep(core_int& place)
{
    asm("" : "+r"(place));
}

/// Each element sign-extended.
QNM_INLINE void widen(core_int* to, const int* from, core_int count)
{
    core_int i = 0;
    for (; i <= count - 4; i += 4, keep(i))
        *reinterpret_cast<FourWide*>(to + i) =
            __builtin_convertvector(*reinterpret_cast<const Four*>(from + i), FourWide);
    for (; i < count; ++i)
        to[i] = from[i];
}

/// Each element cut to 32 bits.
QNM_INLINE void narrow(int* to, const core_int* from, core_int count)
{
    core_int i = 0;
    for (; i <= count - 4; i += 4, keep(i)) {
        // the lower halves of two pairs
        const Four first = *reinterpret_cast<const Four*>(from + i);
        const Four second = *reinterpret_cast<const Four*>(from + i + 2);
        *reinterpret_cast<Four*>(to + i) = __builtin_shufflevector(first, second, 0, 2, 4, 6);
    }
    for (; i < count; ++i)
        to[i] = static_cast<int>(from[i]);
}

} // namespace qnm
