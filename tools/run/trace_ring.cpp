#include "trace_ring.hpp"

#include "refusal.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace qnm::run {
namespace {

using trace::Ring;
using namespace std::chrono_literals;

constexpr const char* begin_of_name = "qnm-run.";

// Where calls may come thick, nobody shall have to wake the reader.
constexpr auto nap = 1ms, awake_behind_a_record = 20ms;
// A writer that was interrupted for longer writes elsewhere.
constexpr auto patience = 250ms;

bool lock_as_reader(int file)
{
    struct flock lock = trace::lock_of(F_WRLCK, trace::of_reader);
    return fcntl(file, F_OFD_SETLK, &lock) == 0;
}

std::array<std::string, 2> folders()
{
    const char* const temporary = std::getenv("TMPDIR");
    return {"/dev/shm", temporary != nullptr && *temporary != '\0' ? temporary : "/tmp"};
}

// Files of readers that are no more, which nobody holds locked.
void remove_abandoned(const std::string& folder)
{
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(folder, none)) {
        struct stat status {};
        const std::string path = entry.path();
        if (!entry.path().filename().string().starts_with(begin_of_name) ||
            lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid())
            continue;
        const int file = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
        if (file < 0)
            continue;
        if (lock_as_reader(file))
            unlink(path.c_str());
        close(file);
    }
}

// Times are numbers that can be reckoned with, whatever a program has written over them.
Record record_in(const trace::Slot& slot)
{
    constexpr std::int64_t latest = std::int64_t{1} << 62;
    const double seconds = slot.seconds;
    return {slot.process,
            slot.thread,
            std::clamp<std::int64_t>(slot.start, 0, latest),
            seconds >= 0 && seconds < 1e9 ? seconds : -1,
            {slot.line, strnlen(slot.line, sizeof slot.line)}};
}

} // namespace

TraceRing::TraceRing()
{
    std::string why;
    for (const std::string& folder : folders()) {
        remove_abandoned(folder);
        if (ring_ == nullptr)
            create_in(folder, why);
    }
    if (ring_ == nullptr)
        throw Refusal(status_own_failure, "no memory to share for the trace: " + why);
}

TraceRing::~TraceRing()
{
    ring_->reader.store(trace::closed);
    release();
}

bool TraceRing::create_in(const std::string& folder, std::string& why)
{
    const auto fails = [&](int error) {
        why += (why.empty() ? "" : "; ") + folder + ": " + std::strerror(error);
        release();
        return false;
    };
    path_ = folder + "/" + begin_of_name + std::to_string(getpid()) + ".XXXXXX";
    file_ = mkostemp(path_.data(), O_CLOEXEC);
    if (file_ < 0) {
        path_.clear();
        return fails(errno);
    }
    // Memory is there, or nothing is begun: a page that is missing later would end the program.
    struct stat status {};
    if (const int error = posix_fallocate(file_, 0, sizeof(Ring)); error != 0)
        return fails(error);
    if (!lock_as_reader(file_) || fstat(file_, &status) != 0)
        return fails(errno);
    if (status.st_nlink == 0) // somebody else took it for abandoned, a moment ago
        return release(), create_in(folder, why);
    void* const mapped = mmap(nullptr, sizeof(Ring), PROT_READ | PROT_WRITE, MAP_SHARED, file_, 0);
    if (mapped == MAP_FAILED)
        return fails(errno);
    ring_ = static_cast<Ring*>(mapped);
    ring_->reader_process = getpid();
    std::memcpy(ring_->magic, trace::ring_magic, sizeof trace::ring_magic);
    return true;
}

void TraceRing::release()
{
    if (ring_ != nullptr)
        munmap(ring_, sizeof(Ring));
    ring_ = nullptr;
    if (!path_.empty())
        unlink(path_.c_str());
    path_.clear();
    if (file_ >= 0)
        close(file_);
    file_ = -1;
}

void TraceRing::read(const std::function<void(const Record&)>& record)
{
    const std::uint64_t first = ticket_;
    // A lap and no more: tickets that a program has written over would never end.
    for (; ticket_ - first < trace::slot_count; ++ticket_) {
        trace::Slot& from = slot();
        const std::uint64_t word = from.word.load(std::memory_order_acquire);
        if (word == trace::published_word(ticket_)) {
            record(record_in(from));
            from.word.store(trace::free_word(ticket_ + trace::slot_count), std::memory_order_release);
        } else if ((word & trace::given_up) == 0 || !is_taken()) {
            break;
        }
    }
    const auto now = Clock::now();
    if (ticket_ != first)
        last_read_ = now;
    if (!is_taken())
        stuck_ = {};
    else if (!stuck_ || stuck_->ticket != ticket_)
        stuck_ = {ticket_, now};
    else if (now - stuck_->since > patience)
        give_up();
}

void TraceRing::read_last(const std::function<void(const Record&)>& record)
{
    ring_->reader.store(trace::closed);
    // Those that are on their way have taken their tickets, and see themselves given up.
    const std::uint64_t end = std::min(ring_->tickets.load(), ticket_ + 2 * trace::slot_count);
    for (; read(record), ticket_ < end;)
        give_up();
}

void TraceRing::give_up()
{
    std::uint64_t word = slot().word.load();
    if (word != trace::published_word(ticket_) &&
        slot().word.compare_exchange_strong(word, trace::given_up_word(ticket_)))
        ++given_up_;
}

void TraceRing::wait(std::chrono::milliseconds most)
{
    const bool naps = is_taken() || Clock::now() - last_read_ < awake_behind_a_record;
    ring_->reader.store(naps ? trace::napping : trace::asleep);
    if (!is_published() && !woken_.exchange(false)) {
        most = naps ? std::min(most, std::chrono::milliseconds(nap)) : most;
        const timespec time{most.count() / 1000, most.count() % 1000 * 1'000'000};
        trace::futex_wait(ring_->reader, naps ? trace::napping : trace::asleep, &time);
    }
    ring_->reader.store(trace::awake);
}

void TraceRing::wake()
{
    woken_.store(true);
    trace::wake(ring_->reader);
}

bool TraceRing::has_writers() const
{
    struct flock lock = trace::lock_of(F_WRLCK, trace::of_writers);
    return fcntl(file_, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

} // namespace qnm::run
