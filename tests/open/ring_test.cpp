// The ring between traced processes and their reader. Each writer is a process of its own, which the core
// finds by its environment at the first question.
#include "core.hpp"
#include "trace_ring.hpp"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <map>
#include <set>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace qnm::test {
namespace {

using namespace std::chrono_literals;
using run::Record;
using run::TraceRing;
constexpr std::uint64_t slots = trace::slot_count;

// Long enough for all that a slot has, in all lengths.
std::string line_of(int thread, int call)
{
    return "CALL(" + std::to_string(thread) + "," + std::to_string(call) + "," +
           std::string(static_cast<std::size_t>(call % 460), static_cast<char>('a' + thread)) + ")";
}
void print(const std::string& line, double seconds = 1e-6)
{
    service("print_verbose_info", 1, line.c_str(), seconds);
}
void print_calls(int thread, int count, int first = 0)
{
    for (int call = first; call < count; ++call)
        print(line_of(thread, call));
}
int mode()
{
    return *service<const int*>("verbose_mode");
}

// A process that is traced into the ring, and ends with the status that its work gives.
template <class Work>
pid_t traced(const std::string& ring, const Work& work)
{
    const pid_t process = fork();
    if (process != 0)
        return process;
    setenv("QNM_VERBOSE", "1", 1);
    setenv("QNM_VERBOSE_RING", ring.c_str(), 1);
    mode();
    _exit(work());
}
int status_of(pid_t process)
{
    int status = -1;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// Calls by process and thread of a process, and whether each is the next of its thread.
struct Calls {
    std::map<std::pair<int, int>, int> count;
    std::map<int, std::pair<int, std::int64_t>> last; // by the system's number: the program's, and when
    std::set<int> processes;
    std::string wrong;

    void add(const Record& record)
    {
        int thread = 0;
        if (record.line.starts_with('#') || std::sscanf(record.line.data(), "CALL(%d,", &thread) != 1)
            return;
        int& next = count[{record.process, thread}];
        processes.insert(record.process);
        auto& [is, when] = last.try_emplace(record.thread, thread, 0).first->second;
        if (wrong.empty() && (record.line != line_of(thread, next) || record.seconds != 1e-6 ||
                              is != thread || record.start < when))
            wrong = std::to_string(next) + " of " + std::to_string(thread) + ": " + std::string(record.line);
        when = record.start;
        ++next;
    }
};
// Reads until so many writers have come, and none is left.
template <class Take>
void read_all(TraceRing& ring, int writers, const Take& take)
{
    const auto take_and_count = [&](const Record& record) {
        writers -= record.line.starts_with('#');
        take(record);
    };
    const auto end = std::chrono::steady_clock::now() + 60s;
    for (bool over = false; !over && std::chrono::steady_clock::now() < end;) {
        over = writers == 0 && !ring.has_writers();
        ring.read(take_and_count);
        if (!over)
            ring.wait(20ms);
    }
    ring.read_last(take_and_count);
}

TEST(Ring, NothingIsLostOrMixedAmongThreadsAndProcesses)
{
    constexpr int threads = 8, count = 31250;
    TraceRing ring;
    const auto all_threads = [&] {
        print_calls(0, 1); // by what a child may think to be its parent's thread
        std::vector<std::thread> all;
        for (int thread = 1; thread < threads; ++thread)
            all.emplace_back([thread] { print_calls(thread, count); });
        print_calls(0, count, 1);
        for (auto& thread : all)
            thread.join();
        return 0;
    };
    std::vector<pid_t> processes;
    for (int process = 0; process < 3; ++process)
        processes.push_back(traced(ring.path(), all_threads));
    processes.push_back(traced(ring.path(), [&] { // of a child that its traced parent does not outlive
        print("PARENT()");
        if (fork() == 0)
            return usleep(100'000), all_threads();
        return 0;
    }));
    Calls calls;
    std::uint64_t records = 0;
    read_all(ring, 4, [&](const Record& record) {
        calls.add(record);
        if (++records == 100'000)
            kill(processes[0], SIGKILL);
    });
    EXPECT_EQ(status_of(processes[0]), -SIGKILL);
    for (const int process : {1, 2, 3})
        EXPECT_EQ(status_of(processes[process]), 0);
    EXPECT_EQ(calls.wrong, "");
    int whole = 0;
    for (const auto& [who, made] : calls.count)
        whole += who.first != processes[0] && made == count;
    EXPECT_EQ(whole, 3 * threads);
    EXPECT_EQ(calls.last.size(), 4U * threads);
    EXPECT_EQ(calls.processes.size(), 4U);
    EXPECT_LE(ring.lost(), std::uint64_t{threads});
}

TEST(Ring, AFullRingIsWaitedForAsLongAsItsReaderLives)
{
    const int count = 3 * static_cast<int>(slots);
    {
        TraceRing ring;
        const pid_t writer = traced(ring.path(), [&] { return print_calls(0, count), mode() == 1 ? 0 : 1; });
        std::this_thread::sleep_for(300ms);
        Calls calls;
        read_all(ring, 1, [&](const Record& record) { calls.add(record); });
        EXPECT_EQ(status_of(writer), 0);
        EXPECT_EQ(calls.wrong, "");
        EXPECT_EQ(calls.count[std::pair(writer, 0)], count);
    }
    for (const bool killed : {true, false}) {
        int path[2] = {};
        ASSERT_EQ(pipe(path), 0);
        const pid_t reader = fork();
        if (reader == 0) {
            {
                const TraceRing ring;
                std::ignore = write(path[1], ring.path().c_str(), ring.path().size());
                const timespec soon{0, 200'000'000};
                nanosleep(&soon, nullptr);
                if (killed)
                    raise(SIGKILL);
            }
            _exit(0);
        }
        char ring[256] = {};
        ASSERT_GT(read(path[0], ring, sizeof ring - 1), 0);
        // Off in the end, where a new question does not switch it on.
        const pid_t writer = traced(ring, [&] {
            print_calls(0, count, 1);
            return mode() == 0 && service("verbose", 1) == 0 && (print("MORE()"), mode() == 0) ? 0 : 1;
        });
        EXPECT_EQ(status_of(writer), 0);
        status_of(reader);
        EXPECT_EQ(std::filesystem::exists(ring), killed);
        EXPECT_EQ(status_of(traced(ring, mode)), 0);
        TraceRing next;
        EXPECT_FALSE(std::filesystem::exists(ring));
    }
}

// A file of another origin, of the ring's size or not, none at all, a ring of another user: nothing is
// traced, told or harmed.
TEST(Ring, WhatCannotBeHadSwitchesTracingOff)
{
    const std::string plain = std::filesystem::current_path() / "ring-test-plain";
    std::ofstream(plain) << "a file of the user's\n";
    std::filesystem::resize_file(plain, sizeof(trace::Ring));
    TraceRing ring;
    const int lock = open(plain.c_str(), O_RDWR);
    struct flock reader {};
    reader.l_type = F_WRLCK;
    reader.l_len = 1;
    ASSERT_EQ(fcntl(lock, F_OFD_SETLK, &reader), 0);
    std::vector<std::pair<std::string, uid_t>> cases{
        {plain, getuid()}, {"/no/such/ring", getuid()}, {"/dev/null", getuid()}};
    if (getuid() == 0)
        cases.emplace_back(ring.path(), 65534);
    for (const auto& [name, user] : cases) {
        SCOPED_TRACE(name);
        std::FILE* const told = std::tmpfile();
        const int before = dup(STDERR_FILENO);
        dup2(fileno(told), STDERR_FILENO);
        std::ignore = seteuid(user); // opening looks at the effective one
        const pid_t writer = traced(name, [] { return mode() + service("verbose", 1) + mode(); });
        std::ignore = seteuid(getuid());
        dup2(before, STDERR_FILENO);
        close(before);
        EXPECT_EQ(status_of(writer), 0);
        struct stat size {};
        fstat(fileno(told), &size);
        EXPECT_EQ(size.st_size, 0);
        std::fclose(told);
    }
    ring.read_last([](const Record& record) { ADD_FAILURE() << record.line; });
    std::ifstream file(plain);
    std::string text(sizeof(trace::Ring), '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    EXPECT_TRUE(text.starts_with("a file of the user's\n"));
    EXPECT_EQ(text.find_first_not_of('\0', 21), text.npos);
    close(lock);
    std::filesystem::remove(plain);
}

// From now on the kernel ends this process at any call but that which ends it.
bool renounce_calls()
{
    sock_filter program[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                             BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
                             BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
                             BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS)};
    const sock_fprog filter{std::size(program), program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

TEST(Ring, ATracedCallMakesNoSystemCallAndHoldsNoDescriptor)
{
    if (QNM_SANITIZED)
        GTEST_SKIP() << "a sanitizer makes calls of its own";
    TraceRing ring;
    const auto descriptors = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    const auto before = descriptors();
    const pid_t writer = traced(ring.path(), [&] {
        print_calls(0, 10);
        if (descriptors() != before || close_range(3, ~0U, 0) != 0 || !renounce_calls())
            return 1;
        return print_calls(0, 5000, 10), 0;
    });
    EXPECT_EQ(status_of(writer), 0);
    Calls calls;
    read_all(ring, 1, [&](const Record& record) { calls.add(record); });
    EXPECT_EQ(calls.wrong, "");
    EXPECT_EQ(calls.count[std::pair(writer, 0)], 5000);
}

// What the layer cannot do to itself in a test is done to the ring: a ticket is taken and its slot never
// written; a slot is given up that a writer is about to write.
TEST(Ring, ASlotThatIsNotPublishedIsPassedOver)
{
    TraceRing ring;
    const int file = open(ring.path().c_str(), O_RDWR);
    auto* const raw = static_cast<trace::Ring*>(
        mmap(nullptr, sizeof(trace::Ring), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
    close(file);
    const std::uint64_t dead = raw->tickets.fetch_add(1);
    raw->slots[7].word = trace::given_up_word(7);
    const int count = 2 * static_cast<int>(slots);
    const pid_t writer = traced(ring.path(), [&] { return print_calls(0, count), 0; });
    Calls calls;
    const auto begin = std::chrono::steady_clock::now();
    read_all(ring, 1, [&](const Record& record) { calls.add(record); });
    EXPECT_GT(std::chrono::steady_clock::now() - begin, 250ms);
    EXPECT_EQ(status_of(writer), 0);
    EXPECT_EQ(calls.wrong, "");
    EXPECT_EQ(calls.count[std::pair(writer, 0)], count);
    EXPECT_EQ(raw->retried, 1U); // of the slot that a writer had
    EXPECT_EQ(raw->slots[dead].word, trace::given_up_word(dead));
    raw->retried = 0;
    EXPECT_EQ(ring.lost(), 1U);
    munmap(raw, sizeof *raw);
}

TEST(Ring, SleepsUntilARecordOrACallOfItsOwnSideComes)
{
    TraceRing ring;
    for (const bool by_record : {true, false}) {
        const auto begin = std::chrono::steady_clock::now();
        std::thread later([&] {
            std::this_thread::sleep_for(200ms);
            if (by_record)
                status_of(traced(ring.path(), [] { return print("A()"), 0; }));
            else
                ring.wake();
        });
        ring.wait(5s);
        const auto slept = std::chrono::steady_clock::now() - begin;
        EXPECT_TRUE(slept > 150ms && slept < 4s) << slept.count();
        later.join();
        ring.read([](const Record&) {});
        std::this_thread::sleep_for(50ms); // no more is expected so soon
    }
}

} // namespace
} // namespace qnm::test
