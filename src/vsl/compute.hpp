// The estimates of summary statistics: a task is looked at, then stages run, each for some bits of a mask.
#pragma once

#include "vsl/named.hpp"

extern "C" {
// Kernels get its address. It is weak, so that a core without it can still be loaded.
[[gnu::weak]] void qnm_vsl_serv_threader_for();
}

namespace qnm::vsl {

/// What the layer knows of a task.
struct Estimation {
    int wide; // the integers behind its addresses
    const void* unread[1];
    const void* dimension;
    const void* observations;
    const void* unread_too[1];
    const void* x;
    const void* unread_as_well[2];
    const void* storage;
};
static_assert(offsetof(Estimation, dimension) == 16 && offsetof(Estimation, observations) == 24 &&
              offsetof(Estimation, x) == 40 && offsetof(Estimation, storage) == 64);

using Mask = unsigned long long;
using Stage = int(const Estimation* task, Mask estimates, core_int method, void (*threader)());

/// What needs no look at the data, which come piece by piece or are looked at later; and what runs alone.
constexpr Mask without_data = 0x1b00000, missing_values = 0x400000;

template <class I>
QNM_INLINE bool is_positive(const void* place)
{
    return place != nullptr && *static_cast<const I*>(place) >= 1;
}

/// With integers of the task's width.
template <class I>
QNM_INLINE int tested(const Estimation& task, Mask estimates)
{
    if (unlikely(!is_positive<I>(task.dimension)))
        return -4001;
    if ((estimates & without_data) != 0)
        return 0;
    if (unlikely(!is_positive<I>(task.observations)))
        return -4002;
    if (unlikely(task.x == nullptr))
        return -4032;
    if (unlikely(task.storage == nullptr))
        return -4044;
    const I storage = *static_cast<const I*>(task.storage);
    return unlikely(storage != 0x10000 && storage != 0x20000) ? -4003 : 0;
}
QNM_COLD int tested_wide(const Estimation& task, Mask estimates);

/// Runs a stage; false if it failed, and the status is its.
template <class T, Text name>
QNM_INLINE bool run(int& status, const Estimation* task, Mask estimates, core_int method)
{
    status = hand_on<Named<T, "SSCompute", "_vsl", name, Stage>>(task, estimates, method,
                                                                 qnm_vsl_serv_threader_for);
    return status >= 0;
}

/// As above if the mask asks for it.
template <class T, Mask bits, Text name>
QNM_INLINE bool stage(int& status, const Estimation* task, Mask estimates, core_int method)
{
    return (estimates & bits) == 0 || run<T, name>(status, task, estimates, method);
}

template <class T>
int compute(const Estimation* task, Mask estimates, int method)
{
    if (unlikely(task == nullptr))
        return -4031;
    int status = unlikely(task->wide != 0) ? tested_wide(*task, estimates) : tested<int>(*task, estimates);
    if (unlikely(status != 0))
        return status;
    if (unlikely((estimates & missing_values) != 0))
        run<T, "SSMissingValues">(status, task, estimates, method);
    else
        static_cast<void>(stage<T, 0xc00, "SSMinmax">(status, task, estimates, method) &&
                          stage<T, 0x8000000000, "SSSort">(status, task, estimates, method) &&
                          stage<T, 0x1fe0033ff, "SSBasic">(status, task, estimates, method) &&
                          stage<T, 0x600000000, "SSMAD">(status, task, estimates, method) &&
                          stage<T, 0x180000c000, "SSPooledCovariance">(status, task, estimates, method) &&
                          stage<T, 0x80000, "SSOutliersDetection">(status, task, estimates, method) &&
                          stage<T, 0x40000, "SSRobustCovariance">(status, task, estimates, method) &&
                          stage<T, 0x300000, "SSPartialCovariance">(status, task, estimates, method) &&
                          stage<T, 0x30000, "SSQuantiles">(status, task, estimates, method) &&
                          stage<T, 0x1000000, "SSStreamQuantiles">(status, task, estimates, method) &&
                          stage<T, 0x800000, "SSCorParametrization">(status, task, estimates, method));
    return status;
}

/// By value, and by reference.
template <class T, class I>
QNM_INLINE int SSCompute(void* task, Mask estimates, int method)
{
    return compute<T>(static_cast<const Estimation*>(task), estimates, method);
}
template <class T, class I>
QNM_INLINE int SSCompute(void* const* task, const Mask* estimates, const int* method)
{
    return compute<T>(static_cast<const Estimation*>(*task), *estimates, *method);
}

} // namespace qnm::vsl
