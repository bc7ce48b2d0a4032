// Tracing: the live mode word, where lines go, and their form.
#include "engine.hpp"
#include "services.hpp"
#include "version.hpp"

#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Output {
    int fd = STDERR_FILENO;
    bool pipe = false;
};

// A write to a pipe without a reader raises SIGPIPE, which must not end a program because it was traced.
class NoBrokenPipe {
public:
    explicit NoBrokenPipe(bool needed) : needed_(needed)
    {
        if (!needed_)
            return;
        sigset_t pending;
        sigpending(&pending);
        was_pending_ = sigismember(&pending, SIGPIPE) == 1;
        sigemptyset(&only_);
        sigaddset(&only_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &only_, &before_);
    }
    ~NoBrokenPipe()
    {
        if (!needed_)
            return;
        const timespec now{};
        if (!was_pending_)
            while (sigtimedwait(&only_, nullptr, &now) < 0 && errno == EINTR) {
            }
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    NoBrokenPipe(const NoBrokenPipe&) = delete;
    NoBrokenPipe& operator=(const NoBrokenPipe&) = delete;

private:
    bool needed_, was_pending_ = false;
    sigset_t only_{}, before_{};
};

// Lines are shorter than a pipe's atomic unit, so that one write is one line whoever else writes.
void write_line(Output output, const char* text, std::size_t length)
{
    const NoBrokenPipe guard(output.pipe);
    while (::write(output.fd, text, length) < 0 && errno == EINTR) {
    }
}

class Trace {
public:
    static Trace& instance()
    {
        static Trace trace; // reads the environment before anything can ask
        return trace;
    }

    int* mode_word() { return &mode_; }
    int* file_word() { return &to_file_; }
    Output output() const
    {
        return {fd_.load(std::memory_order_relaxed), pipe_.load(std::memory_order_relaxed)};
    }

    int set_mode(int mode)
    {
        if (mode < 0 || mode > 2)
            return -1;
        const std::lock_guard lock(mutex_);
        if (mode != 0)
            announce();
        return std::atomic_ref(mode_).exchange(mode);
    }

    // Null or empty: back to standard error. On failure the output stays what it was.
    int set_file(const char* name)
    {
        const std::lock_guard lock(mutex_);
        planned_ = nullptr;
        if (!open(name))
            return 1;
        if (std::atomic_ref(mode_).load() != 0)
            announce();
        return 0;
    }

private:
    Trace() : planned_(secure_getenv("QNM_VERBOSE_OUTPUT_FILE"))
    {
        const char* mode = secure_getenv("QNM_VERBOSE");
        if (mode != nullptr && mode[0] != '\0' && mode[1] == '\0')
            set_mode(mode[0] - '0'); // which refuses all but 0, 1 and 2
    }

    bool open(const char* name)
    {
        int fd = STDERR_FILENO;
        struct stat status {};
        const bool named = name != nullptr && *name != '\0';
        if (named) {
            fd = ::open(name, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
            if (fd < 0)
                return false;
        }
        fstat(fd, &status);
        // A former file stays open: another thread may be about to write to it.
        fd_.store(fd);
        pipe_.store(S_ISFIFO(status.st_mode));
        std::atomic_ref(to_file_).store(named);
        announced_ = false;
        return true;
    }

    // The head line, once for each output, ahead of its first line. A file named by the environment is opened
    // here, since opening a FIFO waits for its reader.
    void announce()
    {
        if (planned_ != nullptr && !open(std::exchange(planned_, nullptr)))
            qnm::core::print_to(STDERR_FILENO,
                                "QNM ERROR: the file of QNM_VERBOSE_OUTPUT_FILE cannot be opened.\n");
        if (std::exchange(announced_, true))
            return;
        char line[512];
        const int length =
            std::snprintf(line, sizeof line,
                          "# QNM_VERBOSE open core " QNM_CORE_VERSION ", engine %.200s, process %d, "
                          "%d threads\n",
                          openblas_get_config(), static_cast<int>(getpid()), openblas_get_num_threads());
        write_line(output(), line, std::min(static_cast<std::size_t>(length), sizeof line - 1));
    }

    std::mutex mutex_;
    int mode_ = 0;    // read by the layer at any time, as a plain word
    int to_file_ = 0; // whether lines go to a file
    std::atomic<int> fd_{STDERR_FILENO};
    std::atomic<bool> pipe_{false};
    const char* planned_ = nullptr; // by the environment, not opened yet
    bool announced_ = false;
};

// Four significant digits in the unit that keeps them below 1000.
void format_time(char* text, std::size_t size, double seconds)
{
    struct Unit {
        const char* name;
        double scale;
    };
    const qnm::core::NumbersOfC point;
    constexpr std::array<Unit, 4> units{{{"ns", 1e9}, {"us", 1e6}, {"ms", 1e3}, {"s", 1}}};
    for (const Unit& unit : units) {
        const double value = seconds * unit.scale + 0.0; // no minus zero
        const double size_of = std::fabs(value);
        const int decimals = size_of < 9.9995 ? 3 : size_of < 99.995 ? 2 : size_of < 999.95 ? 1 : 0;
        std::snprintf(text, size, "%.*f%s", decimals, value, unit.name);
        if (decimals > 0)
            return;
    }
}

// A matrix copy tells by `enabled` 0 that tracing came on while it ran, and its time is not known. A Fourier
// transform always says 0, and always knows its time. What took no measure of it has a negative one.
bool knows_time(int enabled, std::string_view line, double seconds)
{
    return seconds >= 0 && (enabled != 0 || line.substr(0, line.find('(')).find("MAT") == line.npos);
}

} // namespace

// 0 off, 1 and 2 on. Returns the former mode; any other value changes nothing and returns -1.
QNM_CORE int qnm_serv_verbose(int mode)
{
    return Trace::instance().set_mode(mode);
}
QNM_CORE int* qnm_serv_verbose_mode()
{
    return Trace::instance().mode_word();
}
QNM_CORE int qnm_serv_verbose_output_file(const char* name)
{
    return Trace::instance().set_file(name);
}
QNM_CORE int* qnm_serv_verbose_output_file_mode()
{
    return Trace::instance().file_word();
}

QNM_CORE void qnm_serv_print_verbose_info(int enabled, const char* line, double seconds)
{
    char time[48] = "-";
    if (knows_time(enabled, line, seconds))
        format_time(time, sizeof time, seconds);
    char text[4096]; // the least unit that a pipe takes whole
    const int room = static_cast<int>(sizeof text - sizeof time) - 16;
    const int length = std::snprintf(text, sizeof text, "QNM_VERBOSE %.*s %s\n", room, line, time);
    write_line(Trace::instance().output(), text, static_cast<std::size_t>(length));
}
