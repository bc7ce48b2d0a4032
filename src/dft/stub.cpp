// What stands where a distributed layer may stand: one function, whose names but one are weak.
#include "dft/descriptor.hpp"

extern "C" {

QNM_EXPORT std::int64_t qnm_cdft_error_message()
{
    constexpr int severity = 1, no_distributed_layer = 1101;
    qnm_serv_print(severity, no_distributed_layer, 0);
    return qnm::dft::internal_error;
}

#define QNM_REPLACEABLE(NAME)                                                                                \
    [[gnu::weak, gnu::alias("qnm_cdft_error_message"), gnu::visibility("default")]] std::int64_t NAME();
QNM_REPLACEABLE(qnm_cdft_DftiCreateDescriptorDM)
QNM_REPLACEABLE(qnm_cdft_DftiCommitDescriptorDM)
QNM_REPLACEABLE(qnm_cdft_DftiFreeDescriptorDM)
QNM_REPLACEABLE(qnm_cdft_DftiGetValueDM)
QNM_REPLACEABLE(qnm_cdft_DftiSetValueDM)
QNM_REPLACEABLE(qnm_cdft_DftiComputeForwardDM)
QNM_REPLACEABLE(qnm_cdft_DftiComputeBackwardDM)
QNM_REPLACEABLE(DftiSetValueDM)
QNM_REPLACEABLE(DftiComputeForwardDM)
QNM_REPLACEABLE(DftiComputeBackwardDM)
}
