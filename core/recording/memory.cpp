#include "memory.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace qnm::recording {

namespace {

constexpr std::size_t guard_bytes = 32;
constexpr unsigned char guard = 0xC3;
constexpr std::size_t least_alignment = 16;

unsigned char* end_of(void* block, std::size_t bytes)
{
    return static_cast<unsigned char*>(block) + bytes;
}

// A block filled with poison, with guard bytes behind it, or null.
void* fresh_block(std::size_t bytes, std::size_t alignment)
{
    void* block = nullptr;
    if (bytes > PTRDIFF_MAX - guard_bytes || posix_memalign(&block, alignment, bytes + guard_bytes) != 0)
        return nullptr;
    std::memset(block, Memory::poison, bytes);
    std::memset(end_of(block, bytes), guard, guard_bytes);
    return block;
}

std::size_t usable_alignment(std::size_t alignment)
{
    return std::bit_ceil(std::max(alignment, least_alignment));
}

} // namespace

void* Memory::allocate(Pair pair, std::size_t bytes, std::size_t alignment)
{
    if (quiet_.load(std::memory_order_relaxed)) {
        void* block = fresh_block(bytes, usable_alignment(alignment));
        unlisted_.fetch_add(block != nullptr, std::memory_order_relaxed);
        return block;
    }
    const std::lock_guard lock(mutex_);
    return obtain(pair, bytes, alignment);
}

void* Memory::obtain(Pair pair, std::size_t bytes, std::size_t alignment)
{
    if (countdown_ != 0 && --countdown_ == 0)
        return nullptr;
    const std::size_t usable = usable_alignment(alignment);
    void* block = fresh_block(bytes, usable);
    if (block == nullptr)
        return nullptr;
    blocks_.emplace(block, Block{pair, bytes, usable});
    return block;
}

void Memory::release(Pair pair, void* block)
{
    if (block == nullptr)
        return;
    if (quiet_.load(std::memory_order_relaxed)) {
        unlisted_.fetch_sub(1, std::memory_order_relaxed);
        std::free(block);
        return;
    }
    const std::lock_guard lock(mutex_);
    const auto found = blocks_.find(block);
    if (found == blocks_.end())
        return fault("released, but not live", block);
    if (found->second.pair != pair)
        fault("released by the service of the other pair", block);
    give_back(found);
}

void Memory::give_back(std::map<void*, Block>::iterator block)
{
    const auto [address, facts] = *block;
    const unsigned char* end = end_of(address, facts.bytes);
    if (std::any_of(end, end + guard_bytes, [](unsigned char byte) { return byte != guard; }))
        fault("written beyond its end", address);
    std::memset(address, poison, facts.bytes);
    std::free(address);
    blocks_.erase(block);
}

void* Memory::resize(void* block, std::size_t bytes)
{
    if (quiet_.load(std::memory_order_relaxed)) {
        void* moved = std::realloc(block, std::max<std::size_t>(bytes, 1));
        unlisted_.fetch_add(block == nullptr && moved != nullptr, std::memory_order_relaxed);
        return moved;
    }
    const std::lock_guard lock(mutex_);
    if (block == nullptr)
        return obtain(Pair::malloc, bytes, least_alignment);
    const auto found = blocks_.find(block);
    if (found == blocks_.end()) {
        fault("resized, but not live", block);
        return nullptr;
    }
    const Block old = found->second;
    if (old.pair != Pair::malloc)
        fault("resized by the service of the other pair", block);
    void* fresh = obtain(old.pair, bytes, old.alignment);
    if (fresh == nullptr)
        return nullptr;
    std::memcpy(fresh, block, std::min(old.bytes, bytes));
    give_back(found);
    return fresh;
}

void Memory::fail(std::size_t n)
{
    const std::lock_guard lock(mutex_);
    countdown_ = n;
}

std::size_t Memory::live() const
{
    const std::lock_guard lock(mutex_);
    return blocks_.size() + unlisted_.load(std::memory_order_relaxed);
}

std::vector<std::string> Memory::faults() const
{
    const std::lock_guard lock(mutex_);
    return faults_;
}

void Memory::reset()
{
    const std::lock_guard lock(mutex_);
    for (const auto& [address, facts] : blocks_)
        std::free(address);
    blocks_.clear();
    faults_.clear();
    countdown_ = 0;
    unlisted_.store(0, std::memory_order_relaxed);
}

void Memory::fault(const std::string& what, const void* block)
{
    std::ostringstream text;
    text << "block " << block << ": " << what;
    faults_.push_back(text.str());
}

} // namespace qnm::recording
