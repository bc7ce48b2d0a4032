// Stages that nobody carries yet.
#include "task.hpp"

#include <atomic>
#include <cstdio>

namespace qnm::vsl::statistics {
namespace {

int not_carried(const char* name, std::atomic<bool>& told)
{
    if (!told.exchange(true))
        std::fprintf(stderr, "QNM ERROR: %s is not carried by these kernels.\n", name);
    return no_kernel;
}

} // namespace
} // namespace qnm::vsl::statistics

#define QNM_STUB(name)                                                                                       \
    QNM_STATISTICS int name(qnm::vsl::statistics::Task*, qnm::vsl::statistics::Mask, std::int64_t,           \
                            qnm::vsl::statistics::Threader*)                                                 \
    {                                                                                                        \
        static std::atomic<bool> told;                                                                       \
        return qnm::vsl::statistics::not_carried(#name, told);                                               \
    }
QNM_STUB(_vslsSSMissingValues)
QNM_STUB(_vsldSSMissingValues)
