#include "frame/report.hpp"

namespace qnm {

void report_unregistered(const char* name, int length, core_int code)
{
    qnm_set_xerbla_interface(cdecl_xerbla);
    qnm_serv_iface_xerbla(name, reinterpret_cast<const int*>(&code), length);
}

extern "C" {

QNM_EXPORT void cblas_xerbla(const char* name, int info)
{
    const core_int code = info;
    qnm_set_xerbla_interface(cdecl_xerbla);
    const int length = static_cast<int>(qnm_serv_strnlen_s(name, 4096));
    qnm_serv_iface_xerbla(name, reinterpret_cast<const int*>(&code), length);
}

QNM_EXPORT void cblas_xerbla_malloc_error(const char* name)
{
    const core_int code = allocation_failed;
    qnm_set_xerbla_interface(cdecl_xerbla);
    const int length = static_cast<int>(qnm_serv_strnlen_s(name, 4096));
    qnm_serv_iface_xerbla(name, reinterpret_cast<const int*>(&code), length);
}
}

} // namespace qnm
