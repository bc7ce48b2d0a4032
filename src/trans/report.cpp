#include "frame/report.hpp"
#include "trans/check.hpp"

namespace qnm::trans {

int trans_xerbla(const char* name, core_int code)
{
    const int length = static_cast<int>(qnm_serv_strnlen_s(name, 4096));
    qnm_serv_xerbla(name, reinterpret_cast<const int*>(&code), length);
    return 1;
}

} // namespace qnm::trans
