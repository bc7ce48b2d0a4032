#include "traced_run.hpp"

#include "refusal.hpp"
#include "trace_ring.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace qnm::run {
namespace {

using Clock = std::chrono::steady_clock;

struct Arrived {
    siginfo_t info;
    Clock::time_point time;
};

/// Takes the signals that would end or inform this process, so that no handler runs at a random place;
/// restore() gives the program what it would have had without us.
class Signals {
public:
    Signals()
    {
        sigemptyset(&taken_);
        for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2, SIGALRM, SIGCHLD})
            sigaddset(&taken_, number);
        sigprocmask(SIG_BLOCK, &taken_, &before_);
        pipe_before_ = std::signal(SIGPIPE, SIG_IGN);
    }
    ~Signals()
    {
        if (waiting_.joinable()) {
            ended_ = true;
            pthread_kill(waiting_.native_handle(), SIGCHLD);
            waiting_.join();
        }
        restore();
    }
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    void restore() const
    {
        std::signal(SIGPIPE, pipe_before_);
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }

    /// From now on a thread waits for them, and tells when there are some.
    void wait(const std::function<void()>& arrived)
    {
        waiting_ = std::thread([this, arrived] {
            while (!ended_) {
                siginfo_t info;
                if (sigwaitinfo(&taken_, &info) < 0)
                    continue;
                {
                    const std::lock_guard lock(mutex_);
                    arrived_.push_back({info, Clock::now()});
                }
                arrived();
            }
        });
    }
    /// Those that arrived since this was asked last.
    std::vector<Arrived> take()
    {
        const std::lock_guard lock(mutex_);
        return std::exchange(arrived_, {});
    }

private:
    sigset_t taken_ = {}, before_ = {};
    void (*pipe_before_)(int) = SIG_DFL;
    std::mutex mutex_;
    std::vector<Arrived> arrived_;
    std::atomic<bool> ended_{false};
    std::thread waiting_;
};

// The child becomes the program when this side lets it; an end of this side ends it.
class Child {
public:
    Child(const std::string& path, char* const* arguments, const std::string& preload,
          const std::string& ring, const Signals& signals)
    {
        if (pipe2(gate_, O_CLOEXEC) != 0)
            throw Refusal(status_own_failure, std::string("pipe: ") + std::strerror(errno));
        process_ = fork();
        if (process_ < 0) {
            close(gate_[0]);
            close(gate_[1]);
            throw Refusal(status_own_failure, std::string("fork: ") + std::strerror(errno));
        }
        if (process_ == 0) {
            close(gate_[1]);
            char word;
            if (read(gate_[0], &word, 1) != 1)
                _exit(status_own_failure);
            signals.restore();
            become(path, arguments, preload, ring);
            const int error = errno;
            std::fprintf(stderr, "qnm-run: %s: %s\n", path.c_str(), std::strerror(error));
            _exit(error == ENOENT ? status_not_found : status_not_runnable);
        }
        close(gate_[0]);
    }
    ~Child()
    {
        if (gate_[1] < 0)
            return;
        close(gate_[1]);
        waitpid(process_, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t process() const { return process_; }
    void go()
    {
        if (write(gate_[1], "", 1) != 1)
            throw Refusal(status_own_failure, std::string("pipe: ") + std::strerror(errno));
        close(std::exchange(gate_[1], -1));
    }

private:
    int gate_[2] = {-1, -1};
    pid_t process_ = -1;
};

} // namespace

void become(const std::string& path, char* const* arguments, const std::string& preload,
            const std::string& ring)
{
    if (!ring.empty()) {
        setenv("QNM_VERBOSE", "1", 1);
        setenv("QNM_VERBOSE_RING", ring.c_str(), 1);
    }
    setenv("LD_PRELOAD", preload.c_str(), 1);
    execvp(path.c_str(), arguments);
}

Outcome traced_run(const std::string& path, char* const* arguments, const std::string& preload,
                   const Listener& listener)
{
    using namespace std::chrono_literals;
    constexpr auto patience = 2s;

    TraceRing ring;
    Signals signals;
    Child started(path, arguments, preload, ring.path(), signals);
    const pid_t child = started.process();
    listener.started(child);
    started.go();
    signals.wait([&] { ring.wake(); });

    Outcome outcome;
    bool running = true;
    bool stopped = false; // by a signal, while only children of the program were left
    bool told = false;
    Clock::time_point due = listener.every > 0s ? Clock::now() + listener.every : Clock::time_point::max();
    const auto handle = [&](const siginfo_t& signal, Clock::time_point time) {
        if (signal.si_signo == SIGCHLD) {
            if (running && waitpid(child, &outcome.status, WNOHANG) == child) {
                running = false;
                outcome.ended = time;
            }
            return;
        }
        if (signal.si_signo == SIGTERM) { // whoever sends it may not wait long
            ring.read(listener.record);
            listener.terminated();
        }
        if (!running)
            stopped = true;
        else if (signal.si_code != SI_KERNEL)
            kill(child, signal.si_signo); // the terminal's signals have reached the whole group already
    };
    while (!stopped) {
        for (const Arrived& signal : signals.take())
            handle(signal.info, signal.time);
        const bool over = !running && !ring.has_writers();
        ring.read(listener.record);
        listener.pause();
        if (over)
            break;
        if (!running && !told && Clock::now() - outcome.ended > patience) {
            std::fprintf(stderr, "qnm-run: %s has ended, but a child of it still traces; waiting\n",
                         path.c_str());
            told = true;
        }
        if (Clock::now() >= due) {
            listener.due();
            due = Clock::now() + listener.every;
        }
        const auto until_due =
            std::chrono::ceil<std::chrono::milliseconds>(std::min<Clock::duration>(due - Clock::now(), 1h));
        ring.wait(running ? until_due : 20ms); // nobody tells when the last child goes
    }
    ring.read_last(listener.record);
    listener.pause();
    outcome.lost = ring.lost();
    return outcome;
}

void end_like(int wait_status)
{
    if (WIFEXITED(wait_status))
        std::exit(WEXITSTATUS(wait_status));
    const int number = WTERMSIG(wait_status);
    const rlimit no_core = {0, 0}; // the program's own image, if any, must not be overwritten by ours
    setrlimit(RLIMIT_CORE, &no_core);
    std::fflush(nullptr);
    std::signal(number, SIG_DFL);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, number);
    sigprocmask(SIG_UNBLOCK, &only, nullptr);
    raise(number);
    std::exit(128 + number);
}

} // namespace qnm::run
