// Records of traced calls on their way to a reader: a ring of slots in a file that both sides map.
//
// A writer takes a ticket, which names a slot and the lap in which it may be written, fills it, and publishes
// it by its word. The reader takes slots in the order of tickets and frees each for the next lap. A slot that
// stays unpublished (its writer died, or sleeps) is given up for good: whoever may still write there harms
// nobody, and a writer that finds its slot given up takes another ticket.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qnm::trace {

struct Slot {
    std::atomic<std::uint64_t> word; // of free_word, published_word or given_up_word
    std::int32_t process, thread;
    std::int64_t start; // of the call: nanoseconds of CLOCK_MONOTONIC
    double seconds;     // that it took; negative if that is not known
    char line[480];     // with its zero
};
static_assert(sizeof(Slot) == 512 && std::atomic<std::uint64_t>::is_always_lock_free);

inline constexpr std::uint64_t slot_count = 8192;

// Of a file that is all zero, each slot is free for the first lap.
constexpr std::uint64_t free_word(std::uint64_t ticket)
{
    return ticket / slot_count * 2;
}
constexpr std::uint64_t published_word(std::uint64_t ticket)
{
    return free_word(ticket) + 1;
}
inline constexpr std::uint64_t given_up = std::uint64_t{1} << 63;
constexpr std::uint64_t given_up_word(std::uint64_t ticket)
{
    return given_up | free_word(ticket);
}

// What the reader is doing. It naps where more is to be expected, and is woken then by a full ring alone.
enum Reader : std::uint32_t { awake, napping, asleep, closed };

inline constexpr char ring_magic[16] = "QNM trace 1";

// What one side writes is no neighbour of what the other side does.
struct Ring {
    char magic[sizeof ring_magic];
    std::int32_t reader_process;
    alignas(64) std::atomic<std::uint64_t> tickets;
    alignas(64) std::atomic<std::uint32_t> reader;
    alignas(64) std::atomic<std::uint64_t> retried; // given up, and written in another slot
    alignas(4096) Slot slots[slot_count];
};

// Bytes of the file that are locked. A lock goes with the open file description, which a mapping keeps: it
// ends when the last process has unmapped the ring, however that came about, and no descriptor is needed for
// it.
enum Lock : off_t { of_reader, of_writers };

inline struct flock lock_of(short type, Lock byte)
{
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

// The word is shared between processes.
inline void futex_wait(std::atomic<std::uint32_t>& word, std::uint32_t value, const timespec* most)
{
    syscall(SYS_futex, &word, FUTEX_WAIT, value, most, nullptr, 0);
}
inline void futex_wake(std::atomic<std::uint32_t>& word)
{
    syscall(SYS_futex, &word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

/// Makes the reader look, unless it does or is gone.
inline void wake(std::atomic<std::uint32_t>& reader)
{
    std::uint32_t was = reader.load();
    if ((was == napping || was == asleep) && reader.compare_exchange_strong(was, awake))
        futex_wake(reader);
}

} // namespace qnm::trace
