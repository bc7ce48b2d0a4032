// The core's memory as tests want it: counted, poisoned, guarded, and failing when told.
#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace qnm::recording {

class Memory {
public:
    /// The pairs of services: what one hands out, only its own partner takes back.
    enum class Pair { allocate, malloc };

    /// A fresh block of the size, filled with poison, or null if this request was to fail. An alignment that
    /// is no power of two is rounded up to one. A request of 0 bytes yields a block of its own.
    void* allocate(Pair pair, std::size_t bytes, std::size_t alignment);
    /// Takes a block back. Null is taken as nothing. A block that is not live, is of the other pair or was
    /// written beyond its end is noted as a fault.
    void release(Pair pair, void* block);
    /// A larger or smaller block with the same contents; null, and the old block untouched, on failure.
    void* resize(void* block, std::size_t bytes);

    /// While on, blocks come and go without lock, list, guard or scripted failure: only their number is kept.
    /// A block has to come and go under the same setting.
    void quiet(bool on) { quiet_.store(on, std::memory_order_relaxed); }

    /// The n-th request from now on yields null, n counted from 1; 0 calls it off.
    void fail(std::size_t n);

    std::size_t live() const;
    std::vector<std::string> faults() const;
    /// Gives everything back and forgets all faults.
    void reset();

    /// What a fresh block is filled with.
    static constexpr unsigned char poison = 0xA5;

private:
    struct Block {
        Pair pair;
        std::size_t bytes;
        std::size_t alignment;
    };

    void* obtain(Pair pair, std::size_t bytes, std::size_t alignment);
    void give_back(std::map<void*, Block>::iterator block);
    void fault(const std::string& what, const void* block);

    mutable std::mutex mutex_;
    std::map<void*, Block> blocks_;
    std::vector<std::string> faults_;
    std::size_t countdown_ = 0;
    std::atomic<bool> quiet_ = false;
    std::atomic<std::size_t> unlisted_ = 0;
};

} // namespace qnm::recording
