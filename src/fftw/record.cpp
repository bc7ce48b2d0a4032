// The settings, how a record comes and goes, and texts.
#include "fftw/record.hpp"

#include "fftw/exported.hpp"
#include "fftw/transforms.hpp"

namespace qnm::fftw {

namespace {

void delete_plan(Plan* plan)
{
    if (plan == nullptr)
        return;
    const auto release = [](void* block) QNM_INLINE_LAMBDA {
        if (block != nullptr)
            fftw_free(block);
    };
    release(plan->floats);
    release(plan->doubles);
    release(plan->integers);
    if (plan->descriptor != nullptr)
        DftiFreeDescriptor(&plan->descriptor);
    fftw_free(plan);
}

Plan* new_plan()
{
    auto* const plan = static_cast<Plan*>(fftw_malloc(sizeof(Plan)));
    if (plan != nullptr) {
        *plan = {};
        plan->destroy = delete_plan;
    }
    return plan;
}

} // namespace

extern "C" {

Settings fftw3_qnm{0, 1, 0.0, 1, new_plan, 64};

#define QNM_TEXT(NAME, ...)                                                                                  \
    QNM_EXPORT extern const char NAME[];                                                                     \
    const char NAME[] = __VA_ARGS__;
QNM_TEXT(fftw_version, "FFTW 3.3.4 wrappers to  Orvan oneQNM")
QNM_TEXT(fftw_cc, "")
QNM_TEXT(fftw_codelet_optim, "")
QNM_TEXT(fftwf_version, "FFTW 3.3.4 wrappers to  Orvan oneQNM")
QNM_TEXT(fftwf_cc, "")
QNM_TEXT(fftwf_codelet_optim, "")
}

} // namespace qnm::fftw
