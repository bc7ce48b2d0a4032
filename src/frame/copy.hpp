// One pass over an array of integers, in either direction; four at a time, since they come in fours and more.
#pragma once

#include "frame/types.hpp"

namespace qnm {

/// Who reads and writes an array of integers: the core as input, the caller as result, both, or neither.
enum class Way { in, out, inout, work };

using Four [[gnu::vector_size(16), gnu::aligned(4), gnu::may_alias]] = int;
using FourWide [[gnu::vector_size(32), gnu::aligned(8), gnu::may_alias]] = core_int;

/// The next place, as it is: worked out from the loop's count again, it would cost more than four elements
/// do.
template <class T>
QNM_INLINE void keep(T& place)
{
    asm("" : "+r"(place));
}

/// Four from the i-th on, sign-extended.
QNM_INLINE void widen_four(core_int* to, const int* from, core_int i)
{
    *reinterpret_cast<FourWide*>(to + i) =
        __builtin_convertvector(*reinterpret_cast<const Four*>(from + i), FourWide);
}

/// Four from the i-th on, cut to 32 bits: the lower halves of two pairs.
QNM_INLINE void narrow_four(int* to, const core_int* from, core_int i)
{
    const Four first = *reinterpret_cast<const Four*>(from + i);
    const Four second = *reinterpret_cast<const Four*>(from + i + 2);
    *reinterpret_cast<Four*>(to + i) = __builtin_shufflevector(first, second, 0, 2, 4, 6);
}

QNM_INLINE void widen(core_int* to, const int* from, core_int count)
{
    core_int i = 0;
    for (; i <= count - 4; i += 4, keep(i))
        widen_four(to, from, i);
    for (; i < count; ++i)
        to[i] = from[i];
}

QNM_INLINE void narrow(int* to, const core_int* from, core_int count)
{
    core_int i = 0;
    for (; i <= count - 4; i += 4, keep(i))
        narrow_four(to, from, i);
    for (; i < count; ++i)
        to[i] = static_cast<int>(from[i]);
}

/// So many elements, in either direction: without a loop but for long arrays, which take eight fours to a
/// turn.
template <core_int count, class To, class From, class Copy>
QNM_INLINE void copy_all(To* to, const From* from, Copy copy_four)
{
    constexpr core_int turn = 32, rest = count % turn, fours = rest / 4 * 4;
    const auto straight = [&](core_int elements) QNM_INLINE_LAMBDA {
#pragma GCC unroll 8
        for (core_int i = 0; i < elements; i += 4)
            copy_four(to, from, i);
    };
    for (const To* const end = to + (count - rest); to != end; to += turn, from += turn, keep(to), keep(from))
        straight(turn);
    straight(fours);
    for (core_int i = fours; i < rest; ++i)
        to[i] = static_cast<To>(from[i]);
}

} // namespace qnm
