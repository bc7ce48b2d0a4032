// Mode, status and callback: each entry hands its integer on to one kernel, which is bound at the first call.
#pragma once

#include "vml/binding.hpp"

extern "C" {
unsigned VMLSETMODE_(const unsigned* mode);
int VMLSETERRSTATUS_(const int* status);
}

/// The cell of a kernel, under the kernel's name.
#define QNM_VML_CONTROL(KERNEL, RESULT, ...)                                                                 \
    static RESULT (*KERNEL##_cell)(__VA_ARGS__) asm(#KERNEL) = nullptr;

namespace qnm::vml {

using qnm_int64 = core_int;
using qnm_vml_callback_t = int (*)(void* record);

// An integer by value, or behind an address, which is read when its kernel is there.
template <class T>
QNM_INLINE T given(T value)
{
    return value;
}
template <class T>
QNM_INLINE T given(const T* value)
{
    return *value;
}

/// The first call, which takes values: the others keep nothing for its sake.
template <class Result, class... Argument, class... A>
QNM_COLD Result first_call(Result (*&cell)(Argument...), const char* kernel, A... arguments)
{
    return bound(cell, kernel)(given(arguments)...);
}

/// The result may be wider in the entry: its own sign tells how it is widened.
template <class Result, class... Argument, class... A>
QNM_BENIGN_RACE Result control(Result (*&cell)(Argument...), const char* kernel, A... arguments)
{
    if (unlikely(cell == nullptr))
        return first_call(cell, kernel, arguments...);
    return cell(given(arguments)...);
}

} // namespace qnm::vml
