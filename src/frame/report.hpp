// Reports of the layer's own: a bad argument, and memory that could not be had.
#pragma once

#include "frame/types.hpp"

namespace qnm {

/// Code of a failed scratch for widened integers.
inline constexpr core_int scratch_failed = 1102;
/// Code of a failed allocation at a C interface.
inline constexpr core_int allocation_failed = 1000;

/// Reports the position of a bad argument. The code's variable has the width of the check; handlers read 32
/// bits.
template <class I>
QNM_COLD int report_argument(const char* name, int length, I position)
{
    const I code = position;
    qnm_serv_iface_xerbla(name, reinterpret_cast<const int*>(&code), length);
    return 1;
}

/// Reports from an entry that has not registered the error interface before.
QNM_COLD void report_unregistered(const char* name, int length, core_int code);

} // namespace qnm
