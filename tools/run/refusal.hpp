#pragma once

#include <stdexcept>
#include <string>

namespace qnm::run {

// Statuses in the convention of env(1), nohup(1) and timeout(1).
inline constexpr int status_own_failure = 125;
inline constexpr int status_not_runnable = 126;
inline constexpr int status_not_found = 127;

/// The reason why nothing was run, with the exit status that says so.
class Refusal : public std::runtime_error {
public:
    Refusal(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
    int status() const { return status_; }

private:
    int status_;
};

} // namespace qnm::run
