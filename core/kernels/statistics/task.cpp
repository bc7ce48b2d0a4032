// Tasks: made, edited, deleted.
#include "task.hpp"

#include <algorithm>
#include <iterator>

namespace qnm::vsl::statistics {
namespace {

constexpr bool of_integers(int parameter)
{
    constexpr int integers[] = {of_dimension,
                                of_observations,
                                of_storage,
                                of_indices,
                                of_cov_storage,
                                of_cor_storage,
                                of_quantile_count,
                                of_groups,
                                of_pooled_cov_storage,
                                of_requested_groups,
                                of_group_cov_storage,
                                of_robust_count,
                                of_robust_cov_storage,
                                of_outliers_count,
                                of_order_statistics_storage,
                                of_partial_indices,
                                of_partial_cov_storage,
                                of_partial_cor_storage,
                                of_missing,
                                of_missing + 2,
                                of_missing + 4,
                                of_missing + 6,
                                of_missing + 8,
                                of_parametrized_storage,
                                of_stream_count,
                                of_stream_parameter_count,
                                of_cp_storage,
                                of_sorted_storage};
    return std::find(std::begin(integers), std::end(integers), parameter) != std::end(integers);
}

template <class T>
int make(Task** slot, const void* p, const void* n, const void* storage, const void* x, const void* weights,
         const void* indices, int wide)
{
    if (slot == nullptr)
        return no_task;
    auto* const task = static_cast<Task*>(std::calloc(1, sizeof(Task)));
    *slot = task;
    if (task == nullptr)
        return out_of_memory;
    task->wide = wide;
    task->element_bytes = sizeof(T);
    const void* const given[] = {nullptr, p, n, x, storage, indices, weights};
    for (int parameter = of_dimension; parameter <= of_weights; ++parameter)
        task->place[place_of(parameter)] = given[parameter];
    return ok;
}

/// One address, which may be null: then it is taken away.
template <int element_bytes>
int edit(Task* task, int parameter, const void* to)
{
    if (task == nullptr)
        return no_task;
    const bool integers = element_bytes == 0;
    if (parameter < of_dimension || parameter >= parameter_count || of_integers(parameter) != integers ||
        (!integers && task->element_bytes != element_bytes))
        return bad_argument;
    task->place[place_of(parameter)] = to;
    return ok;
}

/// Several; a null leaves what is there.
template <int element_bytes, std::size_t count>
int edit_all(Task* task, const int (&parameters)[count], const void* const (&addresses)[count])
{
    if (task == nullptr)
        return no_task;
    if (task->element_bytes != element_bytes)
        return bad_argument;
    for (std::size_t i = 0; i < count; ++i)
        if (addresses[i] != nullptr)
            task->place[place_of(parameters[i])] = addresses[i];
    return ok;
}

} // namespace
} // namespace qnm::vsl::statistics

using namespace qnm::vsl::statistics;

#define QNM_NEW(letter, T)                                                                                   \
    QNM_STATISTICS int __vsl##letter##SSNewTask(Task** slot, const void* p, const void* n,                   \
                                                const void* storage, const T* x, const T* weights,           \
                                                const void* indices, int wide)                               \
    {                                                                                                        \
        return make<T>(slot, p, n, storage, x, weights, indices, wide);                                      \
    }
QNM_NEW(s, float)
QNM_NEW(d, double)

QNM_STATISTICS int __vslSSDeleteTask(Task** slot)
{
    if (slot == nullptr || *slot == nullptr)
        return no_task;
    if ((*slot)->memory != nullptr)
        (*slot)->memory->forget((*slot)->memory);
    std::free(*slot);
    *slot = nullptr;
    return ok;
}

QNM_STATISTICS int __vsliSSEditTask(Task* task, int parameter, const void* to)
{
    return edit<0>(task, parameter, to);
}
QNM_STATISTICS int __vslsSSEditTask(Task* task, int parameter, const void* to)
{
    return edit<4>(task, parameter, to);
}
QNM_STATISTICS int __vsldSSEditTask(Task* task, int parameter, const void* to)
{
    return edit<8>(task, parameter, to);
}

#define QNM_TAKEN_3 const void *a, const void *b, const void *c
#define QNM_TAKEN_4 QNM_TAKEN_3, const void* d
#define QNM_TAKEN_5 QNM_TAKEN_4, const void* e
#define QNM_TAKEN_6 QNM_TAKEN_5, const void* f
#define QNM_TAKEN_7 QNM_TAKEN_6, const void* g
#define QNM_TAKEN_9 QNM_TAKEN_7, const void *h, const void *i
#define QNM_TAKEN_10 QNM_TAKEN_9, const void* j
#define QNM_GIVEN_3 a, b, c
#define QNM_GIVEN_4 QNM_GIVEN_3, d
#define QNM_GIVEN_5 QNM_GIVEN_4, e
#define QNM_GIVEN_6 QNM_GIVEN_5, f
#define QNM_GIVEN_7 QNM_GIVEN_6, g
#define QNM_GIVEN_9 QNM_GIVEN_7, h, i
#define QNM_GIVEN_10 QNM_GIVEN_9, j
#define QNM_EDIT(name, count, ...)                                                                           \
    QNM_STATISTICS int __vslsSSEdit##name(Task* task, QNM_TAKEN_##count)                                     \
    {                                                                                                        \
        return edit_all<4, count>(task, {__VA_ARGS__}, {QNM_GIVEN_##count});                                 \
    }                                                                                                        \
    QNM_STATISTICS int __vsldSSEdit##name(Task* task, QNM_TAKEN_##count)                                     \
    {                                                                                                        \
        return edit_all<8, count>(task, {__VA_ARGS__}, {QNM_GIVEN_##count});                                 \
    }
QNM_EDIT(Moments, 7, of_mean, of_raw_moments, of_raw_moments + 1, of_raw_moments + 2, of_central_moments,
         of_central_moments + 1, of_central_moments + 2)
QNM_EDIT(Sums, 7, of_sum, of_raw_sums, of_raw_sums + 1, of_raw_sums + 2, of_central_sums, of_central_sums + 1,
         of_central_sums + 2)
QNM_EDIT(CovCor, 5, of_mean, of_cov, of_cov_storage, of_cor, of_cor_storage)
QNM_EDIT(CP, 4, of_mean, of_sum, of_cp, of_cp_storage)
QNM_EDIT(PartialCovCor, 9, of_partial_indices, of_cov, of_cov_storage, of_cor, of_cor_storage, of_partial_cov,
         of_partial_cov_storage, of_partial_cor, of_partial_cor_storage)
QNM_EDIT(Quantiles, 5, of_quantile_count, of_quantile_orders, of_quantiles, of_order_statistics,
         of_order_statistics_storage)
QNM_EDIT(StreamQuantiles, 5, of_stream_count, of_stream_orders, of_stream_quantiles,
         of_stream_parameter_count, of_stream_parameters)
QNM_EDIT(PooledCovariance, 6, of_groups, of_pooled_mean, of_pooled_cov, of_requested_groups, of_group_means,
         of_group_cov)
QNM_EDIT(RCov, 5, of_robust_cov_storage, of_robust_count, of_robust_parameters, of_robust_mean, of_robust_cov)
QNM_EDIT(OutDetect, 3, of_outliers_count, of_outliers_parameters, of_outliers_weights)
QNM_EDIT(MissingVals, 10, of_missing, of_missing + 1, of_missing + 2, of_missing + 3, of_missing + 4,
         of_missing + 5, of_missing + 6, of_missing + 7, of_missing + 8, of_missing + 9)
QNM_EDIT(MtxParametrz, 4, of_cor, of_cor_storage, of_parametrized, of_parametrized_storage)
