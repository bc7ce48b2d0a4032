#include "lapack/entry.hpp"

namespace qnm::lapack {

void report_scratch(const char* name, int length)
{
    constexpr int usual = 6; // longer names are measured by the core
    const core_int code = scratch_failed;
    qnm_set_xerbla_interface(cdecl_xerbla);
    if (length > usual)
        length = static_cast<int>(qnm_serv_strnlen_s(name, 4096));
    qnm_serv_iface_xerbla(name, reinterpret_cast<const int*>(&code), length);
}

} // namespace qnm::lapack
