// Each allocation of summary statistics failing: a status, results as they were, and nothing is left behind.
#include "kernels/statistics/sample.hpp"
#include "refusing.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

using namespace qnm::vsl::statistics;

#define QNM_STAGES(X)                                                                                        \
    X(SSMinmax, 0xc00)                                                                                       \
    X(SSSort, Mask{1} << 39)                                                                                 \
    X(SSBasic, 0x1fe0033ff)                                                                                  \
    X(SSMAD, 0x600000000)                                                                                    \
    X(SSPooledCovariance, 0x180000c000)                                                                      \
    X(SSOutliersDetection, 0x80000)                                                                          \
    X(SSRobustCovariance, 0x40000)                                                                           \
    X(SSPartialCovariance, 0x300000)                                                                         \
    X(SSQuantiles, 0x30000)                                                                                  \
    X(SSStreamQuantiles, 0x1000000)                                                                          \
    X(SSCorParametrization, 0x800000)                                                                        \
    X(SSMissingValues, 0x400000)

extern "C" {
int __vsldSSNewTask(Task** slot, const void* p, const void* n, const void* storage, const double* x,
                    const double* weights, const void* indices, int wide);
int __vslSSDeleteTask(Task** slot);
#define QNM_DECLARED(name, bits) int _vsld##name(Task*, Mask, std::int64_t, Threader*);
QNM_STAGES(QNM_DECLARED)
}

namespace {

struct Stage {
    const char* name;
    int (*run)(Task* task, Mask estimates, std::int64_t method, Threader* threader);
    Mask estimates;
};
constexpr Stage stages[] = {
#define QNM_ROW(name, bits) {#name, _vsld##name, bits},
    QNM_STAGES(QNM_ROW)};

constexpr std::int64_t p = 2, n = 3000, storage = by_observations, one = 1, four = 4, five = 5,
                       groups[n] = {0, 1, 0};

constexpr int result_parameters[] = {7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 21,
                                     26, 27, 29, 30, 33, 34, 38, 39, 43, 46, 48, 57, 59, 60,
                                     64, 67, 68, 69, 70, 71, 72, 73, 74, 76, 77, 78};

/// The status of a stage, of a new task that is deleted again, when all but the first `spared` allocations
/// fail.
int status_of(const Stage& stage, int spared, const std::vector<double>& x, std::vector<double>& results)
{
    constexpr std::int64_t partial[] = {1, -1};
    const double order = 0.5, identity[] = {1, 0, 0, 1}, error = 0.1, steps[] = {2, 1, 0, 1, 0},
                 biweight[] = {0.3, 0.01, 1e-6, 5};
    Task* task = nullptr;
    refusing = {spared, 0, 0};
    int status = __vsldSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 1);
    if (status < 0) {
        EXPECT_EQ(task, nullptr);
    } else {
        for (const int parameter : result_parameters)
            task->place[place_of(parameter)] = results.data() + p * n * parameter;
        const std::pair<int, const void*> inputs[] = {
            {of_groups, groups},        {of_requested_groups, groups},  {of_partial_indices, partial},
            {of_quantile_count, &one},  {of_quantile_orders, &order},   {of_stream_count, &one},
            {of_stream_orders, &order}, {of_stream_parameters, &error}, {of_missing, &five},
            {of_missing + 1, steps},    {of_robust_count, &four},       {of_robust_parameters, biweight}};
        for (const auto& [parameter, address] : inputs)
            task->place[parameter] = address;
        if ((stage.estimates & 0xb00000) != 0)
            task->place[of_cor] = task->place[of_cov] = identity;
        status = stage.run(task, stage.estimates, 1, nullptr);
        EXPECT_EQ(__vslSSDeleteTask(&task), 0);
        EXPECT_EQ(task, nullptr);
    }
    refusing.spared = -1;
    EXPECT_EQ(refusing.live, 0) << stage.name;
    EXPECT_EQ(refusing.refused > 0, status < 0) << stage.name;
    return status;
}

TEST(Statistics, EachAllocationFails)
{
    std::vector<double> x(p * n), results(parameter_count * p * n, 7.0);
    const std::vector<double> untouched = results;
    unsigned word = 1;
    for (double& value : x)
        value = static_cast<double>((word = word * 1664525 + 1013904223) >> 8);
    for (const Stage& stage : stages) {
        int spared = 0;
        for (int status; (status = status_of(stage, spared, x, results)) < 0; ++spared) {
            ASSERT_EQ(status, -4000) << stage.name << spared;
            // What is found component by component is written so.
            if (stage.estimates != Mask{1} << 39 && (stage.estimates & 0x601030000) == 0) {
                ASSERT_EQ(results, untouched) << stage.name << spared;
            }
            ASSERT_LT(spared, 100);
        }
        EXPECT_GE(spared, 2) << stage.name;
        EXPECT_NE(results, untouched) << stage.name;
        std::fill(results.begin(), results.end(), 7.0);
    }
}

} // namespace
