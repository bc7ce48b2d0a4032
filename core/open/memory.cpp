// Memory: aligned, counted, bounded by a limit. Nothing is kept back between calls.
#include "services.hpp"

#include <atomic>
#include <bit>
#include <cstdlib>
#include <cstring>

namespace qnm::core {
namespace {

constexpr int least_alignment = 64;

// Stands directly in front of the caller's block.
struct BlockHead {
    void* base;
    std::size_t bytes;
    std::size_t alignment;
};

std::atomic<std::int64_t> used_bytes{0};
std::atomic<std::int64_t> used_blocks{0};
std::atomic<std::int64_t> byte_limit{INT64_MAX};
std::atomic<std::int64_t> peak_bytes{0};
std::atomic<bool> peak_watched{false};

bool take(std::int64_t bytes)
{
    const std::int64_t now = used_bytes.fetch_add(bytes) + bytes;
    if (now > byte_limit.load()) {
        used_bytes.fetch_sub(bytes);
        return false;
    }
    used_blocks.fetch_add(1);
    std::int64_t peak = peak_bytes.load();
    while (peak_watched.load() && now > peak && !peak_bytes.compare_exchange_weak(peak, now)) {
    }
    return true;
}

void give_back(std::int64_t bytes)
{
    used_bytes.fetch_sub(bytes);
    used_blocks.fetch_sub(1);
}

BlockHead& head_of(void* block)
{
    return static_cast<BlockHead*>(block)[-1];
}

// An alignment that is no power of two is rounded up to one.
void* allocate(std::size_t bytes, std::size_t alignment, bool zeroed)
{
    std::size_t room = 0;
    const std::size_t extra = alignment + sizeof(BlockHead);
    if (bytes > PTRDIFF_MAX || __builtin_add_overflow(bytes, extra, &room))
        return nullptr;
    if (!take(static_cast<std::int64_t>(bytes)))
        return nullptr;
    void* base = zeroed ? std::calloc(room, 1) : std::malloc(room);
    if (base == nullptr) {
        give_back(static_cast<std::int64_t>(bytes));
        return nullptr;
    }
    const auto first = reinterpret_cast<std::uintptr_t>(base) + sizeof(BlockHead);
    const auto block = (first + alignment - 1) & ~(alignment - 1); // a power of two
    head_of(reinterpret_cast<void*>(block)) = {base, bytes, alignment};
    return reinterpret_cast<void*>(block);
}

std::size_t alignment_of(int wanted)
{
    return std::bit_ceil(static_cast<std::size_t>(std::max(wanted, least_alignment)));
}

void release(void* block)
{
    if (block == nullptr)
        return;
    const BlockHead head = head_of(block);
    std::free(head.base);
    give_back(static_cast<std::int64_t>(head.bytes));
}

} // namespace
} // namespace qnm::core

using namespace qnm::core;

QNM_CORE void* qnm_serv_malloc(std::size_t bytes, int alignment)
{
    return allocate(bytes, alignment_of(alignment), false);
}

QNM_CORE void* qnm_serv_calloc(std::size_t count, std::size_t size, int alignment)
{
    std::size_t bytes = 0;
    return __builtin_mul_overflow(count, size, &bytes) ? nullptr
                                                       : allocate(bytes, alignment_of(alignment), true);
}

// The block keeps its alignment. A size of zero releases it; a failure leaves it as it is.
QNM_CORE void* qnm_serv_realloc(void* block, std::size_t bytes)
{
    if (block == nullptr)
        return qnm_serv_malloc(bytes, least_alignment);
    if (bytes == 0) {
        release(block);
        return nullptr;
    }
    const BlockHead head = head_of(block);
    void* moved = allocate(bytes, head.alignment, false);
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
    return qnm_serv_malloc(bytes, alignment);
}

QNM_CORE void qnm_serv_deallocate(void* block)
{
    release(block);
}

// Bytes handed out now; the number of blocks goes through the pointer.
QNM_CORE std::int64_t qnm_serv_mem_stat(int* blocks)
{
    if (blocks != nullptr)
        *blocks = static_cast<int>(used_blocks.load());
    return used_bytes.load();
}

// Mode 1 starts watching from the present use, 0 stops, 2 only asks. The answer is the peak in bytes, -1 when
// it is not watched or the mode is none of these.
QNM_CORE std::int64_t qnm_serv_peak_mem_usage(int mode)
{
    if (mode < 0 || mode > 2)
        return -1;
    if (mode == 1) {
        peak_bytes.store(used_bytes.load());
        peak_watched.store(true);
    }
    const std::int64_t peak = peak_watched.load() ? peak_bytes.load() : -1;
    if (mode == 0)
        peak_watched.store(false);
    return peak;
}

// Kind 1: all memory that these services hand out, in bytes; a limit of zero or less lifts it. Other kinds
// do not exist here: 0 says so, 1 that the limit stands.
QNM_CORE int qnm_serv_set_memory_limit(int kind, std::size_t limit)
{
    if (kind != 1)
        return 0;
    const auto bytes = static_cast<std::int64_t>(limit);
    byte_limit.store(bytes > 0 ? bytes : INT64_MAX);
    return 1;
}

// Released blocks go back to the system's allocator at once, so that these have nothing to do.
QNM_CORE void qnm_serv_free_buffers() {}
QNM_CORE void qnm_serv_thread_free_buffers() {}
QNM_CORE int qnm_serv_disable_fast_mm()
{
    return 1; // as asked: there is no fast memory manager
}
