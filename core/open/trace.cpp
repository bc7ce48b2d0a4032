// Tracing: the live mode word, where lines go, and their form.
#include "engine.hpp"
#include "refusals.hpp"
#include "ring_writer.hpp"
#include "services.hpp"
#include "trace/line.hpp"
#include "version.hpp"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

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

// A name that means the same wherever the program goes.
std::string absolute(const char* name)
{
    char folder[PATH_MAX];
    return name[0] == '/' || getcwd(folder, sizeof folder) == nullptr ? name
                                                                      : std::string(folder) + '/' + name;
}

// Programs that close what they do not know do so with small numbers, and open their own files in their
// place.
int moved_up(int fd)
{
    for (const int least : {100, STDERR_FILENO + 1})
        if (const int moved = fcntl(fd, F_DUPFD_CLOEXEC, least); moved >= 0) {
            close(fd);
            return moved;
        }
    close(fd);
    return -1;
}

// Where lines go. One that has been in use is never freed: another thread may be about to write.
class Output {
public:
    // Standard error, unless it is closed: what the program opens in its place is the program's.
    Output() : fd_(fcntl(STDERR_FILENO, F_GETFD) >= 0 ? STDERR_FILENO : -1) { look(status_); }

    // A file, to the end of which lines are added. Opening a FIFO waits for its reader, unless the flag says
    // not to.
    explicit Output(const char* name, int flag = 0) : name_(absolute(name))
    {
        fd_ = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | flag, 0666);
        if (fd_ >= 0)
            fd_ = moved_up(fd_);
        if (fd_ >= 0 && flag != 0)
            fcntl(fd_, F_SETFL, O_APPEND);
        look(status_);
    }

    explicit Output(std::unique_ptr<qnm::core::RingWriter> ring) : ring_(std::move(ring)) {}

    ~Output() // of one that nobody has seen
    {
        if (!name_.empty() && fd_ >= 0)
            close(fd_);
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    const Output* former = nullptr; // kept in sight

    bool is_open() const { return fd_ >= 0; }
    qnm::core::RingWriter* ring() const { return ring_.get(); }
    const std::string& name() const { return name_; }

    // Whether the descriptor is what it was. Standard error is whatever the program makes of it.
    bool is_ours() const
    {
        struct stat now {};
        return name_.empty() || (look(now) && now.st_dev == status_.st_dev && now.st_ino == status_.st_ino);
    }

    // Lines are shorter than a pipe's atomic unit, so that one write is one line whoever else writes.
    void write(std::string_view text) const
    {
        const NoBrokenPipe guard(S_ISFIFO(status_.st_mode));
        while (::write(fd_, text.data(), text.size()) < 0 && errno == EINTR) {
        }
    }

private:
    bool look(struct stat& status) const { return fstat(fd_, &status) == 0; }

    std::unique_ptr<qnm::core::RingWriter> ring_;
    std::string name_; // of a file alone
    int fd_ = -1;
    struct stat status_ {};
};

// Null without memory.
template <class... From>
std::unique_ptr<Output> made(From&&... from)
try {
    return std::make_unique<Output>(std::forward<From>(from)...);
} catch (const std::bad_alloc&) {
    return nullptr;
}

class Trace {
public:
    static Trace& instance()
    {
        // Reads the environment before anything can ask. It is there for calls that a program makes while it
        // ends.
        alignas(Trace) static char room[sizeof(Trace)];
        static Trace& trace = *new (room) Trace;
        return trace;
    }

    int* mode_word() { return &mode_; }
    int* file_word() { return &to_file_; }

    int set_mode(int mode)
    {
        if (mode < 0 || mode > 2)
            return -1;
        const std::lock_guard lock(mutex_);
        if (mode != 0 && !announce())
            mode = 0;
        return std::atomic_ref(mode_).exchange(mode);
    }

    // Null or empty: back to standard error. On failure the output stays what it was.
    int set_file(const char* name)
    {
        const std::lock_guard lock(mutex_);
        planned_file_ = planned_ring_ = nullptr;
        if (!open(name))
            return 1;
        if (std::atomic_ref(mode_).load() != 0)
            announce();
        return 0;
    }

    void add(std::string_view line, double seconds)
    {
        const Output* const output = output_.load(std::memory_order_acquire);
        if (qnm::core::RingWriter* const ring = output->ring()) {
            if (!ring->put(line, seconds)) [[unlikely]]
                std::atomic_ref(mode_).store(0);
        } else {
            write(*output, line, seconds);
        }
    }

    // Goes to a reader alone: the lines of files are what they are.
    void note(std::string_view line)
    {
        const Output* const output = output_.load(std::memory_order_acquire);
        if (std::atomic_ref(mode_).load() != 0 && output->ring() != nullptr)
            output->ring()->put(line, -1);
    }

private:
    Trace()
        : planned_ring_(secure_getenv("QNM_VERBOSE_RING")),
          planned_file_(secure_getenv("QNM_VERBOSE_OUTPUT_FILE"))
    {
        const char* mode = secure_getenv("QNM_VERBOSE");
        if (mode != nullptr && mode[0] != '\0' && mode[1] == '\0')
            set_mode(mode[0] - '0'); // which refuses all but 0, 1 and 2
    }

    void use(std::unique_ptr<Output> output)
    {
        output->former = output_.load();
        output_.store(output.release());
    }

    bool open(const char* name)
    {
        const bool named = name != nullptr && *name != '\0';
        auto output = named ? made(name) : made();
        if (output == nullptr || (named && !output->is_open()))
            return false;
        use(std::move(output));
        std::atomic_ref(to_file_).store(named);
        announced_ = false;
        return true;
    }

    // The head line, once for each output, ahead of its first line. What the environment names is opened
    // here, since opening a FIFO waits for its reader. False if a ring was named and cannot be had, where
    // nobody is told: the reader has gone, or was never meant for this user.
    bool announce()
    {
        if (planned_ring_ != nullptr && *planned_ring_ != '\0') {
            auto ring = qnm::core::RingWriter::opened(planned_ring_);
            auto output = ring != nullptr ? made(std::move(ring)) : nullptr;
            if (output == nullptr)
                return false;
            use(std::move(output));
            std::atomic_ref(to_file_).store(1);
            planned_ring_ = planned_file_ = nullptr;
        }
        if (planned_file_ != nullptr && !open(std::exchange(planned_file_, nullptr)))
            qnm::core::print_to(STDERR_FILENO,
                                "QNM ERROR: the file of QNM_VERBOSE_OUTPUT_FILE cannot be opened.\n");
        if (std::exchange(announced_, true))
            return true;
        char line[450];
        std::snprintf(line, sizeof line,
                      "# QNM_VERBOSE open core " QNM_CORE_VERSION ", engine %.200s, process %d, %d threads",
                      openblas_get_config(), static_cast<int>(getpid()), openblas_get_num_threads());
        add(line, -1);
        return true;
    }

    [[gnu::cold, gnu::noinline]] void write(const Output& output, std::string_view line, double seconds)
    {
        const Output* const now = output.is_ours() ? &output : opened_again(output);
        if (now == nullptr)
            return;
        qnm::trace::LineText text;
        now->write(qnm::trace::line_text(line, seconds, text));
    }

    // What stands at the descriptor is the program's. Null if the file cannot be opened: tracing ends.
    const Output* opened_again(const Output& output)
    {
        auto again = made(output.name().c_str(), O_NONBLOCK);
        const Output* now = &output;
        if (again == nullptr || !again->is_open()) {
            if (std::atomic_ref(mode_).exchange(0) != 0)
                qnm::core::print_to(STDERR_FILENO, "QNM WARNING: %s cannot be opened again; tracing ends.\n",
                                    output.name().c_str());
            return nullptr;
        }
        // Of several threads that find this out, one has its way. None of them waits, since a child of a fork
        // might do so for ever.
        again->former = now;
        return output_.compare_exchange_strong(now, again.get()) ? again.release() : now;
    }

    std::mutex mutex_;
    const Output standard_; // as it is at the start
    int mode_ = 0;          // read by the layer at any time, as a plain word
    int to_file_ = 0;       // whether lines go to a file
    std::atomic<const Output*> output_{&standard_};
    const char *planned_ring_, *planned_file_; // by the environment, not opened yet
    bool announced_ = false;
};

// A matrix copy tells by `enabled` 0 that tracing came on while it ran, and its time is not known. A Fourier
// transform always says 0, and always knows its time. What took no measure of it has a negative one.
bool knows_time(int enabled, std::string_view line, double seconds)
{
    return seconds >= 0 && (enabled != 0 || line.substr(0, line.find('(')).find("MAT") == line.npos);
}

} // namespace

void qnm::core::note_refusal(std::string_view routine, int position)
{
    if (position < 1 || position >= memory_failure)
        return;
    char line[64];
    const int length = std::snprintf(line, sizeof line, "# refused %.*s %d", static_cast<int>(routine.size()),
                                     routine.data(), position);
    if (length > 0 && static_cast<std::size_t>(length) < sizeof line)
        Trace::instance().note({line, static_cast<std::size_t>(length)});
}

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
    Trace::instance().add(line, knows_time(enabled, line, seconds) ? seconds : -1);
}
