// The C entries that compute.
#include "dft/compute.hpp"

#include "dft/report.hpp"

namespace qnm::dft {

namespace {

/// No magic is looked at on this path.
template <Direction way>
QNM_INLINE Status ready(const dft_descriptor* d, const void* first)
{
    return d == nullptr                     ? bad_descriptor
           : function_of<way>(d) == nullptr ? invalid_configuration
           : first == nullptr               ? inconsistent_configuration
                                            : no_error;
}

template <Direction way>
QNM_INLINE Status compute(dft_descriptor* d, void* a, void* b, void* c, void* e)
{
    if (const Status status = ready<way>(d, a); status != no_error)
        return status;
    const int count = d->array_count;
    if (count < 2)
        return run<way>(d, a);
    if (b == nullptr)
        return inconsistent_configuration;
    if (count == 2)
        return run<way>(d, a, b);
    if (c == nullptr)
        return inconsistent_configuration;
    if (count == 3)
        return run<way>(d, a, b, c);
    return e == nullptr ? inconsistent_configuration : run<way>(d, a, b, c, e);
}

/// As many arrays as the entry has, whatever the descriptor says.
template <Direction way>
QNM_INLINE Status compute_in_place(dft_descriptor* d, void* a)
{
    const Status status = ready<way>(d, a);
    return status != no_error ? status : run<way>(d, a);
}

template <Direction way>
QNM_INLINE Status compute_out_of_place(dft_descriptor* d, void* a, void* b)
{
    const Status status = ready<way>(d, a);
    if (status != no_error)
        return status;
    return b == nullptr ? inconsistent_configuration : run<way>(d, a, b);
}

} // namespace

template <Direction way>
Status traced(dft_descriptor* d, void* a, void* b, void* c, void* e)
{
    const double start = qnm_serv_dsecnd();
    const Status status = function_of<way>(d)(d, a, b, c, e, nullptr);
    report(d, way, a, b, qnm_serv_dsecnd() - start);
    return status;
}
template Status traced<Direction::forward>(dft_descriptor*, void*, void*, void*, void*);
template Status traced<Direction::backward>(dft_descriptor*, void*, void*, void*, void*);

extern "C" {

// Published with `...`: the descriptor says how many arrays there are, and no other register is looked at.
QNM_EXPORT Status DftiComputeForward(dft_handle d, void* a, void* b, void* c, void* e)
{
    return compute<Direction::forward>(d, a, b, c, e);
}
QNM_EXPORT Status DftiComputeBackward(dft_handle d, void* a, void* b, void* c, void* e)
{
    return compute<Direction::backward>(d, a, b, c, e);
}

QNM_EXPORT Status DftiComputeInPlaceForward(dft_handle d, void* a)
{
    return compute_in_place<Direction::forward>(d, a);
}
QNM_EXPORT Status DftiComputeInPlaceBackward(dft_handle d, void* a)
{
    return compute_in_place<Direction::backward>(d, a);
}
QNM_EXPORT Status DftiComputeOutOfPlaceForward(dft_handle d, void* a, void* b)
{
    return compute_out_of_place<Direction::forward>(d, a, b);
}
QNM_EXPORT Status DftiComputeOutOfPlaceBackward(dft_handle d, void* a, void* b)
{
    return compute_out_of_place<Direction::backward>(d, a, b);
}

QNM_TWIN(qnm_dft_dfticomputeforward, DftiComputeForward)
QNM_TWIN(qnm_dft_dfticomputebackward, DftiComputeBackward)
QNM_TWIN(qnm_dft_dfticomputeinplaceforward, DftiComputeInPlaceForward)
QNM_TWIN(qnm_dft_dfticomputeinplacebackward, DftiComputeInPlaceBackward)
QNM_TWIN(qnm_dft_dfticomputeoutofplaceforward, DftiComputeOutOfPlaceForward)
QNM_TWIN(qnm_dft_dfticomputeoutofplacebackward, DftiComputeOutOfPlaceBackward)
}

} // namespace qnm::dft
