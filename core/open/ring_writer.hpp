// The writing side of the ring that a reader of traces has made.
#pragma once

#include "trace/ring.hpp"

#include <memory>
#include <string>
#include <string_view>

namespace qnm::core {

class RingWriter {
public:
    /// Null if it cannot be had: no such file, or none of this form, not for this user, or without its
    /// reader. Holds no descriptor. Throws without memory.
    static std::unique_ptr<RingWriter> opened(const char* path);

    /// False if the reader is gone. A line that is too long loses its end. Errno stays as it is, and the
    /// system is not called unless the reader sleeps or the ring is full.
    bool put(std::string_view line, double seconds);

    RingWriter(const RingWriter&) = delete;
    RingWriter& operator=(const RingWriter&) = delete;

private:
    explicit RingWriter(const char* path) : path_(path) {}
    bool wait_for(trace::Slot& slot, std::uint64_t lap, std::uint64_t& word);
    bool reader_lives() const;

    trace::Ring* ring_ = nullptr; // stays mapped: another thread may be about to write
    const std::string path_;
    std::atomic<bool> reader_gone_{false};
};

} // namespace qnm::core
