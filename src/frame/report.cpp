#include "frame/report.hpp"

namespace qnm {

void report_scratch(const char* name, int length)
{
    constexpr int usual = 6; // longer names are measured by the core
    register_chain();
    report(name, length > usual ? measured(name) : length, scratch_failed);
}

extern "C" {

QNM_EXPORT void cblas_xerbla(const char* name, int info)
{
    const core_int code = info;
    register_chain();
    report(name, measured(name), code);
}

QNM_EXPORT void cblas_xerbla_malloc_error(const char* name)
{
    register_chain();
    report(name, measured(name), allocation_failed);
}
}

} // namespace qnm
