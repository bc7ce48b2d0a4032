#pragma once

#include "record.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace qnm::run {

/// Sets the environment of the tracing (nothing if `ring` is empty) and of the preload, and becomes the
/// program. Returns only on failure, with errno set.
void become(const std::string& path, char* const* arguments, const std::string& preload,
            const std::string& ring);

/// Who is told what while the program runs, all by the thread that called traced_run().
struct Listener {
    std::function<void(int)>
        started; ///< the program's process is there and waits; it never was one if this throws
    std::function<void(const Record&)> record; ///< the line lives as long as the call
    std::function<void()> pause;               ///< all that was there is read
    std::function<void()> terminated; ///< SIGTERM has come, and goes on to the program when this returns
    std::function<void()> due;        ///< so much time is over again, if it is not 0
    std::chrono::seconds every{0};
};

struct Outcome {
    int status = 0;                              ///< of the program, as wait() tells it
    std::chrono::steady_clock::time_point ended; ///< the program, not its children
    std::uint64_t lost = 0;                      ///< records that their writers began and did not live to end
};

/// Runs the program with tracing on, and returns when it and all of its traced children are gone. Signals
/// meant for the program reach it; nothing of the trace stays behind.
Outcome traced_run(const std::string& path, char* const* arguments, const std::string& preload,
                   const Listener& listener);

/// Ends this process as the wait status says: the same exit status, or the same signal.
[[noreturn]] void end_like(int wait_status);

} // namespace qnm::run
