#include "ring_writer.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace qnm::core {
namespace {

using trace::Ring;
using trace::Slot;

class Descriptor {
public:
    explicit Descriptor(const char* path) : fd_(open(path, O_RDWR | O_CLOEXEC | O_NOFOLLOW)) {}
    ~Descriptor()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

class KeptErrno {
public:
    KeptErrno() = default;
    ~KeptErrno() { errno = before_; }
    KeptErrno(const KeptErrno&) = delete;
    KeptErrno& operator=(const KeptErrno&) = delete;

private:
    const int before_ = errno;
};

bool has_reader(int fd)
{
    struct flock lock = trace::lock_of(F_RDLCK, trace::of_reader);
    return fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// Numbers of process and thread, asked for once by each thread, and again in a child, whose one thread
// remembers its parent's.
struct Writer {
    int process = 0, thread = 0;
};
thread_local Writer writer;
std::atomic<int> process{0};

[[gnu::cold, gnu::noinline]] void know_writer()
{
    static const bool forks_watched =
        pthread_atfork(nullptr, nullptr, [] { process.store(0, std::memory_order_relaxed); }) == 0;
    const int now = getpid();
    if (forks_watched)
        process.store(now, std::memory_order_relaxed);
    writer = {now, gettid()};
}

std::int64_t nanoseconds_now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

[[gnu::cold, gnu::noinline]] void wake_reader(Ring& ring)
{
    const KeptErrno kept;
    trace::wake(ring.reader);
}

} // namespace

std::unique_ptr<RingWriter> RingWriter::opened(const char* path)
try {
    const KeptErrno kept;
    const Descriptor file(path);
    struct stat status {};
    struct flock shared = trace::lock_of(F_RDLCK, trace::of_writers);
    if (file.get() < 0 || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size != sizeof(Ring) || !has_reader(file.get()) ||
        fcntl(file.get(), F_OFD_SETLK, &shared) != 0)
        return nullptr;
    std::unique_ptr<RingWriter> writer(new RingWriter(path));
    void* const mapped = mmap(nullptr, sizeof(Ring), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (mapped == MAP_FAILED)
        return nullptr;
    writer->ring_ = static_cast<Ring*>(mapped);
    if (std::memcmp(writer->ring_->magic, trace::ring_magic, sizeof trace::ring_magic) == 0)
        return writer;
    munmap(mapped, sizeof(Ring));
    return nullptr;
} catch (const std::bad_alloc&) {
    return nullptr;
}

bool RingWriter::put(std::string_view line, double seconds)
{
    const std::int64_t end = nanoseconds_now();
    if (writer.process != process.load(std::memory_order_relaxed) || writer.process == 0)
        know_writer();
    for (;;) {
        const std::uint64_t ticket = ring_->tickets.fetch_add(1, std::memory_order_relaxed);
        Slot& slot = ring_->slots[ticket % trace::slot_count];
        std::uint64_t word = slot.word.load(std::memory_order_acquire);
        if (word != trace::free_word(ticket) && !wait_for(slot, trace::free_word(ticket), word)) [[unlikely]]
            return false;
        if (word == trace::free_word(ticket)) [[likely]] {
            slot.process = writer.process;
            slot.thread = writer.thread;
            slot.start = seconds >= 0 && seconds < 1e9 ? end - static_cast<std::int64_t>(seconds * 1e9) : end;
            slot.seconds = seconds;
            const std::size_t length = line.copy(slot.line, sizeof slot.line - 1);
            slot.line[length] = '\0';
            // Whole, and seen ahead of what the reader is said to do.
            if (slot.word.compare_exchange_strong(word, trace::published_word(ticket))) [[likely]]
                break;
        }
        if (word == trace::given_up_word(ticket))
            ring_->retried.fetch_add(1);
    }
    const std::uint32_t reader = ring_->reader.load();
    if (reader >= trace::asleep) [[unlikely]] {
        if (reader == trace::closed)
            return false;
        wake_reader(*ring_);
    }
    return true;
}

// Waits while the slot is of an earlier lap, and reads its word. False if the reader is gone.
[[gnu::cold]] bool RingWriter::wait_for(Slot& slot, std::uint64_t lap, std::uint64_t& word)
{
    const KeptErrno kept;
    constexpr int yields = 64, turns_between_doubts = 512;
    for (int turn = 1; (word = slot.word.load(std::memory_order_acquire)) < lap; ++turn) {
        if (turn % turns_between_doubts == 0 && !reader_lives())
            reader_gone_.store(true, std::memory_order_relaxed);
        if (reader_gone_.load(std::memory_order_relaxed) || ring_->reader.load() == trace::closed)
            return false;
        trace::wake(ring_->reader);
        if (turn < yields) {
            sched_yield();
        } else {
            const timespec pause{0, 100'000};
            syscall(SYS_clock_nanosleep, CLOCK_MONOTONIC, 0, &pause, nullptr); // no place to be cancelled at
        }
    }
    return true;
}

// The lock tells; where the file is out of sight, the number of the process has to.
bool RingWriter::reader_lives() const
{
    const Descriptor file(path_.c_str());
    return file.get() >= 0 ? has_reader(file.get()) : kill(ring_->reader_process, 0) == 0 || errno == EPERM;
}

} // namespace qnm::core
