// Threaders that statistics and data fitting are handed: a kernel says what is to be done for each k, the
// core by how many threads.
#include "services.hpp"
#include "team.hpp"

#include <qnm/core/vsl.h>

#include <array>
#include <atomic>
#include <omp.h>
#include <pthread.h>

namespace qnm::core {
namespace {

// A child has none of its parent's threads, and the runtime of OpenMP does not know it. Whoever forks may
// have used that runtime without us.
std::atomic<bool> forked{false};
[[gnu::constructor]] void watch_forks()
{
    pthread_atfork(nullptr, nullptr, [] { forked.store(true); });
}

/// A part that has parts of its own does them itself.
thread_local bool inside = false;

using Body = int(core_int k, void* data);
constexpr int most_threads = 256;

int threads_now()
{
    return inside || keeps_to_one_thread() ? 1 : std::min(vector_threads(), most_threads);
}

int one_by_one(core_int count, Body* body, void* data)
{
    int status = 0;
    for (core_int k = 0; k < count && status >= 0; ++k)
        status = body(k, data);
    return std::min(status, 0);
}

/// Numbers are taken in their order, and none behind a failure: all below one that failed have been done, so
/// the status is that of the lowest, as if they had been done one by one.
int side_by_side(core_int count, Body* body, void* data, int threads)
{
    struct Failure {
        core_int at;
        int status = 0;
    };
    std::array<Failure, most_threads> failures;
    std::atomic<core_int> next{0};
    std::atomic<bool> failed{false};
    in_parts(threads, [&](int part) {
        const bool nested = std::exchange(inside, true);
        Failure& first = failures[static_cast<std::size_t>(part)];
        while (!failed.load(std::memory_order_relaxed) && first.status >= 0) {
            const core_int k = next.fetch_add(1, std::memory_order_relaxed);
            if (k >= count)
                break;
            first = {k, std::min(body(k, data), 0)};
        }
        if (first.status < 0)
            failed.store(true, std::memory_order_relaxed);
        inside = nested;
    });
    Failure lowest{count};
    for (int part = 0; part < threads; ++part) {
        const Failure& of_part = failures[static_cast<std::size_t>(part)];
        if (of_part.status < 0 && of_part.at < lowest.at)
            lowest = of_part;
    }
    return lowest.status;
}

int for_each(core_int count, Body* body, void* data)
{
    const int threads = static_cast<int>(std::min<core_int>(count, threads_now()));
    return threads <= 1 ? one_by_one(count, body, data) : side_by_side(count, body, data, threads);
}

} // namespace

bool keeps_to_one_thread()
{
    return forked.load() || omp_in_parallel() != 0;
}

} // namespace qnm::core

using namespace qnm::core;

// Each gives the status of the lowest number that failed (below 0), else 0.
QNM_CORE int qnm_vsl_serv_threader_for(core_int count, Body* body, void* data)
{
    return for_each(count, body, data);
}
QNM_CORE int qnm_df_serv_threader_for(core_int count, Body* body, void* data)
{
    return for_each(count, body, data);
}
// One behind the other.
QNM_CORE int qnm_df_serv_threader_ordered(core_int count, Body* body, void* data)
{
    return one_by_one(count, body, data);
}
// Side by side, and what brings them together one behind the other, on the calling thread.
QNM_CORE int qnm_df_serv_threader_for_ordered(core_int count, Body* body, Body* join, void* data)
{
    const int status = for_each(count, body, data);
    return status < 0 ? status : one_by_one(count, join, data);
}
// Other work for each number.
QNM_CORE int qnm_df_serv_threader_sections(core_int count, Body* const* bodies, void* data)
{
    struct Sections {
        Body* const* bodies;
        void* data;
    } sections{bodies, data};
    const auto one = [](core_int k, void* all) {
        const auto* const these = static_cast<const Sections*>(all);
        return these->bodies[k](k, these->data);
    };
    return for_each(count, one, &sections);
}
// How many of them may run at once.
QNM_CORE int qnm_df_serv_threader_get_num_threads_limit()
{
    return threads_now();
}
