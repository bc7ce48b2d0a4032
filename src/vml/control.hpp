// Mode, status and callback: each entry hands its integer on to one kernel, which is bound at the first call.
#pragma once

#include "vml/binding.hpp"

extern "C" {
unsigned VMLSETMODE_(const unsigned* mode);
int VMLSETERRSTATUS_(const int* status);
}

namespace qnm::vml {

/// A wide result: a mode is unsigned, a status keeps its sign, and an address is what it is.
template <class Result, class T>
QNM_INLINE Result widened(T result)
{
    if constexpr (std::is_same_v<Result, T>)
        return result;
    else
        return static_cast<Result>(result);
}

template <class T>
QNM_INLINE T narrowed(long long value)
{
    return static_cast<T>(value);
}

} // namespace qnm::vml
