// Memory: aligned, counted, bounded by a limit. A thread keeps a few small blocks back for its next calls,
// and counts for itself: a shared count would cost a small call more than the block.
#include "services.hpp"

#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

namespace qnm::core {
namespace {

constexpr int least_alignment = 64;

// Shelf s has the small blocks of 128 << s bytes; all are aligned alike.
constexpr int small_alignment = 128;
constexpr int shelves = 6;
constexpr std::size_t largest_small = std::size_t{128} << (shelves - 1);
constexpr int no_shelf = -1;
#ifdef __SANITIZE_ADDRESS__
constexpr int most_kept = 0; // a block that is used after its release must be seen
#else
constexpr int most_kept = 4;
#endif

// Stands directly in front of the caller's block.
struct BlockHead {
    void* base;
    std::size_t bytes;
    int alignment;
    int shelf;
};

BlockHead& head_of(void* block)
{
    return static_cast<BlockHead*>(block)[-1];
}

/// A block on a shelf.
struct Kept {
    Kept* next;
    int depth; // of the shelf, from here on
};

/// What a thread has taken less what it has given back, which may be another's; and what it keeps back.
struct Thread {
    std::atomic<std::int64_t> bytes{0}; // written by the thread alone, or under the lock
    std::atomic<std::int64_t> blocks{0};
    Kept* shelf[shelves]{};
    Thread* next = nullptr;

    void count(std::int64_t more_bytes, std::int64_t more_blocks)
    {
        bytes.store(bytes.load(std::memory_order_relaxed) + more_bytes, std::memory_order_relaxed);
        blocks.store(blocks.load(std::memory_order_relaxed) + more_blocks, std::memory_order_relaxed);
    }
    void clear_shelves()
    {
        for (Kept*& first : shelf)
            while (Kept* const block = first) {
                first = block->next;
                std::free(head_of(block).base);
            }
    }
};

constinit thread_local Thread* mine = nullptr;

std::mutex lock;
Thread ended; // what threads that are no more have left; begins the list of all
std::int64_t byte_limit = INT64_MAX;
std::int64_t peak_bytes = 0;

/// What keeps a call from the short way. Written under the lock.
enum Care : unsigned { limited = 1, peak_watched = 2, nothing_kept = 4 };
std::atomic<unsigned> care{0};

void take_care(unsigned what, bool yes)
{
    if (yes)
        care.fetch_or(what);
    else
        care.fetch_and(~what);
}

struct Use {
    std::int64_t bytes = 0, blocks = 0;
};

Use use_under_lock()
{
    Use sum;
    for (const Thread* thread = &ended; thread != nullptr; thread = thread->next) {
        sum.bytes += thread->bytes.load(std::memory_order_relaxed);
        sum.blocks += thread->blocks.load(std::memory_order_relaxed);
    }
    return sum;
}

/// Ends a thread's account. Destructors that run later count for `ended`.
struct Leave {
    bool left = false;
    ~Leave()
    {
        left = true;
        Thread* const thread = mine;
        if (thread == nullptr)
            return;
        mine = nullptr;
        thread->clear_shelves();
        const std::lock_guard guard(lock);
        ended.count(thread->bytes, thread->blocks);
        Thread* before = &ended;
        while (before->next != thread)
            before = before->next;
        before->next = thread->next;
        delete thread;
    }
};
thread_local Leave leave;

/// The thread's account, opened at its first block; none for a thread that ends.
Thread* account()
{
    if (mine == nullptr && !leave.left) {
        if (auto* const thread = new (std::nothrow) Thread) {
            const std::lock_guard guard(lock);
            thread->next = ended.next;
            ended.next = thread;
            mine = thread;
        }
    }
    return mine;
}

void count(std::int64_t bytes, std::int64_t blocks)
{
    if (Thread* const thread = account())
        return thread->count(bytes, blocks);
    const std::lock_guard guard(lock);
    ended.count(bytes, blocks);
}

bool take(std::int64_t bytes)
{
    Thread* const thread = account();
    if (care.load() == 0 && thread != nullptr) {
        thread->count(bytes, 1);
        return true;
    }
    const std::lock_guard guard(lock);
    const std::int64_t now = use_under_lock().bytes + bytes;
    if (now > byte_limit)
        return false;
    (thread != nullptr ? *thread : ended).count(bytes, 1);
    peak_bytes = std::max(peak_bytes, now);
    return true;
}

bool is_small(std::size_t bytes, int alignment)
{
    return bytes - 1 < largest_small && alignment <= small_alignment; // 0 is none
}

int shelf_of(std::size_t bytes)
{
    return static_cast<int>(std::bit_width((bytes - 1) | 127)) - 7;
}

// An alignment that is no power of two is rounded up to one.
void* allocate(std::size_t bytes, int wanted, bool zeroed)
{
    auto alignment = std::bit_ceil(static_cast<std::size_t>(std::max(wanted, least_alignment)));
    std::size_t capacity = bytes;
    int shelf = no_shelf;
    if (is_small(bytes, wanted) && !zeroed) {
        shelf = shelf_of(bytes);
        capacity = std::size_t{128} << shelf;
        alignment = small_alignment;
    }
    std::size_t room = 0;
    if (bytes > PTRDIFF_MAX || __builtin_add_overflow(capacity, alignment + sizeof(BlockHead), &room))
        return nullptr;
    if (!take(static_cast<std::int64_t>(bytes)))
        return nullptr;
    void* base = zeroed ? std::calloc(room, 1) : std::malloc(room);
    if (base == nullptr) {
        count(-static_cast<std::int64_t>(bytes), -1);
        return nullptr;
    }
    const auto first = reinterpret_cast<std::uintptr_t>(base) + sizeof(BlockHead);
    const auto block = (first + alignment - 1) & ~(alignment - 1);
    head_of(reinterpret_cast<void*>(block)) = {base, bytes, static_cast<int>(alignment), shelf};
    return reinterpret_cast<void*>(block);
}

[[gnu::noinline]] void* allocate_anew(std::size_t bytes, int alignment)
{
    return allocate(bytes, alignment, false);
}

[[gnu::noinline]] void release_for_good(void* block)
{
    if (block == nullptr)
        return;
    const BlockHead head = head_of(block);
    std::free(head.base);
    count(-static_cast<std::int64_t>(head.bytes), -1);
}

/// From a shelf, if one has a block.
[[gnu::always_inline]] inline void* obtain(std::size_t bytes, int alignment)
{
    Thread* const thread = mine;
    if (thread == nullptr || !is_small(bytes, alignment) || care.load(std::memory_order_relaxed) != 0)
        return allocate_anew(bytes, alignment);
    Kept*& first = thread->shelf[shelf_of(bytes)];
    Kept* const block = first;
    if (block == nullptr)
        return allocate_anew(bytes, alignment);
    first = block->next;
    head_of(block).bytes = bytes;
    thread->count(static_cast<std::int64_t>(bytes), 1);
    return block;
}

/// Onto a shelf, if there is room.
[[gnu::always_inline]] inline void release(void* block)
{
    Thread* const thread = mine;
    if (block == nullptr || thread == nullptr || head_of(block).shelf == no_shelf ||
        (care.load(std::memory_order_relaxed) & nothing_kept) != 0)
        return release_for_good(block);
    Kept*& first = thread->shelf[head_of(block).shelf];
    const int depth = first != nullptr ? first->depth + 1 : 1;
    if (depth > most_kept)
        return release_for_good(block);
    thread->count(-static_cast<std::int64_t>(head_of(block).bytes), -1);
    first = new (block) Kept{first, depth};
}

} // namespace
} // namespace qnm::core

using namespace qnm::core;

QNM_CORE void* qnm_serv_malloc(std::size_t bytes, int alignment)
{
    return obtain(bytes, alignment);
}

QNM_CORE void* qnm_serv_calloc(core_int count, core_int size, int alignment)
{
    std::size_t bytes = 0;
    return __builtin_mul_overflow(static_cast<std::size_t>(count), static_cast<std::size_t>(size), &bytes)
               ? nullptr
               : allocate(bytes, alignment, true);
}

// The block keeps its alignment. A size of zero releases it; a failure leaves it as it is.
QNM_CORE void* qnm_serv_realloc(void* block, core_int size)
{
    const auto bytes = static_cast<std::size_t>(size);
    if (block == nullptr)
        return obtain(bytes, least_alignment);
    if (bytes == 0) {
        release(block);
        return nullptr;
    }
    const BlockHead head = head_of(block);
    void* moved = obtain(bytes, head.alignment);
    if (moved != nullptr) {
        std::memcpy(moved, block, std::min(bytes, head.bytes));
        release(block);
    }
    return moved;
}

QNM_CORE void qnm_serv_free(void* block)
{
    release(block);
}

QNM_CORE void* qnm_serv_allocate(std::size_t bytes, int alignment)
{
    return obtain(bytes, alignment);
}

QNM_CORE void qnm_serv_deallocate(void* block)
{
    release(block);
}

// Bytes handed out now; the number of blocks goes through the pointer.
QNM_CORE std::int64_t qnm_serv_mem_stat(int* blocks)
{
    const std::lock_guard guard(lock);
    const Use use = use_under_lock();
    if (blocks != nullptr)
        *blocks = static_cast<int>(use.blocks);
    return use.bytes;
}

// Mode 1 starts watching from the present use, 0 stops, 2 only asks. The answer is the peak in bytes, -1 when
// it is not watched or the mode is none of these.
QNM_CORE std::int64_t qnm_serv_peak_mem_usage(int mode)
{
    if (mode < 0 || mode > 2)
        return -1;
    const std::lock_guard guard(lock);
    if (mode == 1) {
        peak_bytes = use_under_lock().bytes;
        take_care(peak_watched, true);
    }
    const std::int64_t peak = (care.load() & peak_watched) != 0 ? peak_bytes : -1;
    if (mode == 0)
        take_care(peak_watched, false);
    return peak;
}

// Kind 1: all memory that these services hand out, in bytes; a limit of zero or less lifts it. Other kinds
// do not exist here: 0 says so, 1 that the limit stands.
QNM_CORE int qnm_serv_set_memory_limit(int kind, core_int bytes)
{
    if (kind != 1)
        return 0;
    const std::lock_guard guard(lock);
    byte_limit = bytes > 0 ? bytes : INT64_MAX;
    take_care(limited, bytes > 0);
    return 1;
}

QNM_CORE void qnm_serv_thread_free_buffers()
{
    if (mine != nullptr)
        mine->clear_shelves();
}

// Other threads keep their few small blocks until they end: nobody else may touch them.
QNM_CORE void qnm_serv_free_buffers()
{
    qnm_serv_thread_free_buffers();
}

// From now on every released block goes back to the system's allocator at once.
QNM_CORE int qnm_serv_disable_fast_mm()
{
    take_care(nothing_kept, true);
    qnm_serv_thread_free_buffers();
    return 1;
}
