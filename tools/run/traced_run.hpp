#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

namespace qnm::run {

/// Sets the environment of the tracing (nothing if `fifo` is empty) and of the preload, and becomes the
/// program. Returns only on failure, with errno set.
void become(const std::string& path, char* const* arguments, const std::string& preload,
            const std::string& fifo);

/// Runs the program with tracing on, hands each line of the trace (without its newline) to `line` while
/// the program runs, and returns its wait status when it and all of its traced children are gone.
/// Signals meant for the program reach it; the trace's private folder is removed on every path.
int traced_run(const std::string& path, char* const* arguments, const std::string& preload,
               const std::function<void(std::string_view)>& line, const std::function<void()>& batch_end);

/// Ends this process as the wait status says: the same exit status, or the same signal.
[[noreturn]] void end_like(int wait_status);

} // namespace qnm::run
