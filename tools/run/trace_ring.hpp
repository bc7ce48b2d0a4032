#pragma once

#include "record.hpp"
#include "trace/ring.hpp"

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace qnm::run {

/// A file of shared memory, removed with the object, into which traced processes put records; this side reads
/// them. Files that a killed qnm-run left behind are removed ahead.
class TraceRing {
public:
    TraceRing();
    ~TraceRing();
    TraceRing(const TraceRing&) = delete;
    TraceRing& operator=(const TraceRing&) = delete;

    const std::string& path() const { return path_; }

    /// Hands over what has been published, a lap at most.
    void read(const std::function<void(const Record&)>& record);
    /// The last reading: nobody is written to any more, and what was begun and not published is lost.
    void read_last(const std::function<void(const Record&)>& record);

    /// Sleeps until there is something to read, somebody wakes this side, or the time is over.
    void wait(std::chrono::milliseconds most);
    /// By another thread. If nobody sleeps, the next wait() ends at once.
    void wake();

    /// Whether a process has mapped the ring and might write, by itself or as the child of one that has.
    bool has_writers() const;
    /// Records that were begun and never published, as far as this side was read.
    std::uint64_t lost() const { return given_up_ - std::min(given_up_, ring_->retried.load()); }

private:
    using Clock = std::chrono::steady_clock;

    bool create_in(const std::string& folder, std::string& why);
    void release();
    trace::Slot& slot() const { return ring_->slots[ticket_ % trace::slot_count]; }
    bool is_published() const { return slot().word.load() == trace::published_word(ticket_); }
    bool is_taken() const { return ticket_ < ring_->tickets.load(); }
    void give_up();

    std::string path_;
    int file_ = -1;
    trace::Ring* ring_ = nullptr;
    std::uint64_t ticket_ = 0; // to be read next
    std::uint64_t given_up_ = 0;
    Clock::time_point last_read_;
    struct Stuck {
        std::uint64_t ticket;
        Clock::time_point since;
    };
    std::optional<Stuck> stuck_; // where this side waits for a writer
    std::atomic<bool> woken_{false};
};

} // namespace qnm::run
