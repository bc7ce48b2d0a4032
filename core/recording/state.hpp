// What the core knows between calls; seen by the recorder and by its services.
#pragma once

#include "memory.hpp"
#include "recorder.hpp"

#include <atomic>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>

namespace qnm::recording {

/// A spelling and what notes calls of it, as stub.inc lays them down.
struct Stub {
    const char* name;
    void* function;
};

/// The names of a list of stubs, which may be missing; and the stub of a name, or null.
std::vector<std::string_view> names_of(const Stub* stubs);
void* stub_of(const Stub* stubs, std::string_view name);

/// What the layer imports, and what it looks up if the test has a library of kernels. A null name ends each.
extern "C" const Stub qnm_recording_core[] __attribute__((visibility("hidden")));
extern "C" const Stub qnm_recording_kernels[] __attribute__((weak, visibility("default")));

/// Readings of a scripted clock.
class Clock {
public:
    void set(std::vector<double> readings)
    {
        readings_ = std::move(readings);
        next_.store(0, std::memory_order_relaxed);
    }

    double read()
    {
        const std::size_t i = next_.fetch_add(1, std::memory_order_relaxed);
        if (i < readings_.size())
            return readings_[i];
        const double last = readings_.empty() ? 0 : readings_.back();
        return last + static_cast<double>(i - readings_.size() + 1);
    }

private:
    std::vector<double> readings_;
    std::atomic<std::size_t> next_ = 0;
};

/// Only calls and memory are locked, and neither in a quiet core. The rest is set by the test's thread while
/// no call is under way, or is atomic and relaxed: a lock here would order the layer's threads and hide its
/// races.
struct Core::State {
    std::mutex mutex;
    std::vector<Call> calls;

    std::unordered_map<std::string, Script> scripts;
    std::unordered_map<std::string, const void*> tables;
    std::set<std::string, std::less<>> ignored;
    std::atomic<bool> quiet = false;

    Memory memory;
    Clock clock;
    int mode = 0;
    std::atomic<bool> forwards = false;
    std::atomic<Handler> head = nullptr;
};

/// The services with real behaviour.
struct Services {
    using Service = void (*)(Core&, Call&, Answer&);

    /// The service of that name, or null if the core has none and zeros will do.
    static Service find(std::string_view name);
    /// Completes a call that carries text: fills Call::text and Call::last_byte.
    static void read_text(Call& call);

    /// The services around kernels that are found by name.
    static void load_kernels(Core& core, Call& call, Answer& answer);
    static void look_up(Core& core, Call& call, Answer& answer);

    static Core::State& state(Core& core) { return *core.state_; }
};

} // namespace qnm::recording
