#include "traced_run.hpp"

#include "refusal.hpp"
#include "trace_fifo.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qnm::run {
namespace {

/// Takes the signals that would end or inform this process out of a descriptor, so that no handler
/// runs at a random place; restore() gives the program what it would have had without us.
class Signals {
public:
    Signals()
    {
        sigset_t taken;
        sigemptyset(&taken);
        for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2, SIGALRM, SIGCHLD})
            sigaddset(&taken, number);
        sigprocmask(SIG_BLOCK, &taken, &before_);
        pipe_before_ = std::signal(SIGPIPE, SIG_IGN);
        fd_ = signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK);
        if (fd_ < 0)
            throw Refusal(status_own_failure, std::string("signalfd: ") + std::strerror(errno));
    }
    ~Signals()
    {
        close(fd_);
        restore();
    }
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    void restore() const
    {
        std::signal(SIGPIPE, pipe_before_);
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }
    int fd() const { return fd_; }

private:
    sigset_t before_ = {};
    void (*pipe_before_)(int) = SIG_DFL;
    int fd_ = -1;
};

/// Cuts a stream of bytes into lines; an endless line is cut too, so that nothing grows without bound.
class Lines {
public:
    explicit Lines(const std::function<void(std::string_view)>& line) : line_(line) {}

    void add(std::string_view bytes)
    {
        for (std::size_t end; (end = bytes.find('\n')) != std::string_view::npos;
             bytes.remove_prefix(end + 1)) {
            pending_ += bytes.substr(0, end);
            flush();
        }
        pending_ += bytes;
        if (pending_.size() > longest)
            flush();
    }
    void end()
    {
        if (!pending_.empty())
            flush();
    }

private:
    static constexpr std::size_t longest = 1 << 16;

    void flush()
    {
        line_(pending_);
        pending_.clear();
    }

    const std::function<void(std::string_view)>& line_;
    std::string pending_;
};

// What the read of a descriptor left behind: more may come, or all writers are gone.
enum class Stream { open, ended };

Stream drain(int fd, Lines& lines)
{
    std::array<char, 1 << 16> buffer;
    for (;;) {
        const ssize_t count = read(fd, buffer.data(), buffer.size());
        if (count == 0)
            return Stream::ended;
        if (count > 0)
            lines.add({buffer.data(), static_cast<std::size_t>(count)});
        else if (errno != EINTR)
            return Stream::open;
    }
}

pid_t start(const std::string& path, char* const* arguments, const std::string& preload,
            const std::string& fifo, const Signals& signals)
{
    const pid_t child = fork();
    if (child < 0)
        throw Refusal(status_own_failure, std::string("fork: ") + std::strerror(errno));
    if (child == 0) {
        signals.restore();
        become(path, arguments, preload, fifo);
        const int error = errno;
        std::fprintf(stderr, "qnm-run: %s: %s\n", path.c_str(), std::strerror(error));
        _exit(error == ENOENT ? status_not_found : status_not_runnable);
    }
    return child;
}

} // namespace

void become(const std::string& path, char* const* arguments, const std::string& preload,
            const std::string& fifo)
{
    if (!fifo.empty()) {
        setenv("QNM_VERBOSE", "1", 1);
        setenv("QNM_VERBOSE_OUTPUT_FILE", fifo.c_str(), 1);
    }
    setenv("LD_PRELOAD", preload.c_str(), 1);
    execvp(path.c_str(), arguments);
}

int traced_run(const std::string& path, char* const* arguments, const std::string& preload,
               const std::function<void(std::string_view)>& line, const std::function<void()>& batch_end)
{
    const Signals signals;
    TraceFifo fifo;
    Lines lines(line);
    const pid_t child = start(path, arguments, preload, fifo.path(), signals);

    int status = 0;
    bool running = true;
    bool stopped = false; // by a signal, while only children of the program were left
    bool told = false;
    while (!stopped) {
        std::array<pollfd, 2> wanted = {pollfd{fifo.reader(), POLLIN, 0}, pollfd{signals.fd(), POLLIN, 0}};
        constexpr int patience_ms = 2000;
        if (poll(wanted.data(), wanted.size(), running || told ? -1 : patience_ms) == 0) {
            std::fprintf(stderr, "qnm-run: %s has ended, but a child of it still traces; waiting\n",
                         path.c_str());
            told = true;
        }
        signalfd_siginfo info;
        while (read(signals.fd(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
            const int number = static_cast<int>(info.ssi_signo);
            if (number == SIGCHLD) {
                if (running && waitpid(child, &status, WNOHANG) == child) {
                    running = false;
                    fifo.no_more_writers();
                }
            } else if (!running) {
                stopped = true;
            } else if (info.ssi_code != SI_KERNEL) {
                kill(child, number); // the terminal's signals have reached the whole group already
            }
        }
        const Stream stream = drain(fifo.reader(), lines);
        batch_end();
        if (stream == Stream::ended && !running)
            break;
    }
    lines.end();
    batch_end();
    return status;
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
