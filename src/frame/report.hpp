// Reports of the layer's own: a bad argument, and memory that could not be had.
#pragma once

#include "frame/types.hpp"

namespace qnm {

/// Code of a failed scratch for widened integers.
inline constexpr core_int scratch_failed = 1102;
/// Code of a failed allocation at a C interface.
inline constexpr core_int allocation_failed = 1000;

/// Tells the core the head of the chain, whose address is fetched through the dynamic symbol table each time.
QNM_INLINE void register_chain()
{
    qnm_set_xerbla_interface(cdecl_xerbla);
}

/// The length of a name that ends in a zero, as the core counts it.
QNM_INLINE int measured(const char* name, core_int most = 4096)
{
    return static_cast<int>(qnm_serv_strnlen_s(name, static_cast<std::size_t>(most)));
}

/// One report, by the layer's own call or straight to the core. The handler gets the code's own variable, of
/// which it reads 32 bits.
template <auto* to = qnm_serv_iface_xerbla, class I>
QNM_INLINE void report(const char* name, int length, const I& code)
{
    to(name, reinterpret_cast<const int*>(&code), length);
}

/// Reports the position of a bad argument, in the width of the check.
template <class I, auto* to = qnm_serv_iface_xerbla>
QNM_COLD int report_argument(const char* name, int length, I position)
{
    report<to>(name, length, position);
    return 1;
}

/// Registers the chain, which the entry may not have done, and reports that the integers of an entry could
/// not be copied.
QNM_COLD void report_scratch(const char* name, int length);

} // namespace qnm
