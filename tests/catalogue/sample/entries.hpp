// What the sample family's functions are made of.
#pragma once

#include "frame/jumps.hpp"

namespace qnm::sample {

template <auto first, auto second>
QNM_INLINE void in_turn()
{
    first();
    second();
}

} // namespace qnm::sample
