// Running a plan.
#pragma once

#include "fftw/arguments.hpp"
#include "fftw/record.hpp"

namespace qnm::fftw {

template <class>
QNM_INLINE void execute(Plan* plan)
{
    if (plan != nullptr && plan->execute != nullptr)
        plan->execute(plan);
}

/// On arrays that are not the plan's: by a copy of the plan, so that it may run on others at the same time.
template <class, class... Arrays>
QNM_INLINE void arrays(Given given, const Plan* plan, Arrays*... arrays)
{
    if (plan == nullptr || plan->execute == nullptr || !given.all)
        return;
    Plan copy = *plan;
    int i = 0;
    ((copy.arrays[i++] = arrays), ...);
    copy.execute(&copy);
}
template <class R, class... Arrays>
QNM_INLINE void arrays(const Plan* plan, Arrays*... all)
{
    arrays<R>(Given{true}, plan, all...);
}

template <class>
QNM_INLINE void destroy_plan(Plan* plan)
{
    if (plan != nullptr && plan->destroy != nullptr)
        plan->destroy(plan);
}

} // namespace qnm::fftw
