// What becomes of a descriptor between its creation and its end: commit, copy, release.
#include "dft/reference.hpp"

namespace qnm::dft {

namespace {

/// Whether the format of real data packed can be had with their storage.
bool formats_agree(const dft_descriptor& d)
{
    const bool cce = d.packed_format == cce_format;
    return d.conjugate_even_storage == complex_real      ? !cce
           : d.conjugate_even_storage == complex_complex ? cce
                                                         : true;
}

} // namespace

extern "C" {

QNM_EXPORT Status DftiCommitDescriptor(dft_handle d)
{
    if (!is_valid(d))
        return bad_descriptor;
    if (d->ops->commit == nullptr)
        return internal_error;
    return formats_agree(*d) ? d->ops->commit(d) : inconsistent_configuration;
}

QNM_EXPORT int qnm_dft_dfti_commit_descriptor_external(const dft_handle* handle)
{
    return static_cast<int>(DftiCommitDescriptor(handle != nullptr ? *handle : nullptr));
}

// The copy is handed out when all is done; until then the caller's handle is what it was.
QNM_EXPORT Status DftiCopyDescriptor(dft_handle d, dft_handle* copy)
{
    if (!is_valid(d))
        return bad_descriptor;
    if (copy == nullptr)
        return inconsistent_configuration;
    dft_handle made = nullptr;
    Status status = d->ops->copy(d, &made);
    if (status != no_error)
        return status;
    if (d->commit_status == committed) {
        status = made->ops->commit(made);
        if (status != no_error) {
            if (made->free != nullptr)
                made->free(made);
            return status;
        }
    }
    *copy = made;
    return no_error;
}

QNM_EXPORT int qnm_dft_dfti_copy_descriptor_external(const dft_handle* handle, dft_handle* copy)
{
    return handle != nullptr ? static_cast<int>(DftiCopyDescriptor(*handle, copy))
                             : inconsistent_configuration;
}

// The free function says whether there is anything to release; the operation releases it.
QNM_EXPORT Status DftiFreeDescriptor(dft_handle* handle)
{
    if (handle == nullptr)
        return inconsistent_configuration;
    dft_descriptor* const d = *handle;
    if (!is_valid(d))
        return bad_descriptor;
    if (d->free != nullptr)
        d->ops->release(d);
    *handle = nullptr;
    return no_error;
}

QNM_EXPORT int qnm_dft_dfti_free_descriptor_external(dft_handle* handle)
{
    return static_cast<int>(DftiFreeDescriptor(handle));
}

QNM_TWIN(qnm_dft_dfticommitdescriptor, DftiCommitDescriptor)
QNM_TWIN(qnm_dft_dfticopydescriptor, DftiCopyDescriptor)
QNM_TWIN(qnm_dft_dftifreedescriptor, DftiFreeDescriptor)
}

} // namespace qnm::dft
