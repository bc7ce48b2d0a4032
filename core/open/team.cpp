#include "team.hpp"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>

namespace qnm::core {
namespace {

// What is to be done, of one call at a time.
std::mutex calls;
void (*current)(void*, int);
void* context_of_current;

// Number of the call, its parts, and the next that nobody has: one word, so that a worker which comes late to
// a call takes no part of another.
std::atomic<std::uint64_t> claims{0};
std::atomic<int> unfinished{0};
std::atomic<int> rounds{0}; // what workers wait for
int workers = 0;            // below `calls`

bool claim(int* k)
{
    std::uint64_t seen = claims.load(std::memory_order_acquire);
    do {
        if ((seen & 0xFFFF) == (seen >> 16 & 0xFFFF))
            return false;
    } while (
        !claims.compare_exchange_weak(seen, seen + 1, std::memory_order_acq_rel, std::memory_order_acquire));
    *k = static_cast<int>(seen & 0xFFFF);
    return true;
}

void take_parts()
{
    for (int k = 0; claim(&k);) {
        current(context_of_current, k);
        if (unfinished.fetch_sub(1, std::memory_order_acq_rel) == 1)
            unfinished.notify_one();
    }
}

[[noreturn]] void work()
{
    for (;;) {
        const int seen = rounds.load(std::memory_order_acquire);
        take_parts();
        rounds.wait(seen, std::memory_order_acquire);
    }
}

// The program's signals are not for these. Parts of one that cannot be had are taken by others.
void hire(int wanted)
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        for (; workers < wanted; ++workers)
            std::thread(work).detach();
    } catch (const std::exception&) {
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace

void in_parts(int parts, void (*part)(void* context, int k), void* context)
{
    const std::unique_lock<std::mutex> ours(calls, std::try_to_lock);
    if (!ours) { // all are at work for another thread
        for (int k = 0; k < parts; ++k)
            part(context, k);
        return;
    }
    if (workers < parts - 1)
        hire(parts - 1);
    current = part;
    context_of_current = context;
    unfinished.store(parts, std::memory_order_relaxed);
    const std::uint64_t call = (claims.load(std::memory_order_relaxed) >> 32) + 1;
    claims.store(call << 32 | static_cast<std::uint64_t>(parts) << 16, std::memory_order_release);
    rounds.fetch_add(1, std::memory_order_release);
    rounds.notify_all();
    take_parts();
    for (int left; (left = unfinished.load(std::memory_order_acquire)) != 0;)
        unfinished.wait(left, std::memory_order_acquire);
}

} // namespace qnm::core
