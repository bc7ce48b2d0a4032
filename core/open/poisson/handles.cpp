// Handles of solvers and transforms.
#include "handles.hpp"

namespace qnm::core::poisson {

Stat stat_of(Status status)
{
    return status == dft::done        ? ok
           : status == dft::no_memory ? no_memory
           : status == no_pivot       ? division_by_zero
                                      : transform_failed;
}

Stat hold(dft_handle* made, core_int n, std::unique_ptr<Held> held)
{
    *made = nullptr;
    if (qnm_dft_dfti_create_dr1d(made, n, 0) != dft::done)
        return no_memory;
    static_cast<dft::Descriptor*>(*made)->plan = held.release();
    return ok;
}

namespace {
dft::Descriptor* descriptor(const dft_handle* handle)
{
    return *handle != nullptr && (*handle)->magic == DFT_MAGIC ? static_cast<dft::Descriptor*>(*handle)
                                                               : nullptr;
}
} // namespace

Stat release(dft_handle* handle)
{
    dft::Descriptor* const d = descriptor(handle);
    if (d == nullptr)
        return *handle == nullptr ? ok : not_initialised;
    d->ops->release(d);
    *handle = nullptr;
    return ok;
}

Held* held(const dft_handle* handle)
{
    dft::Descriptor* const d = descriptor(handle);
    return d != nullptr ? dynamic_cast<Held*>(d->plan) : nullptr;
}

} // namespace qnm::core::poisson
