// Both sides of the ring in one process, at one address: so a thread sanitizer sees what each leaves to the
// other.
#include "open/ring_writer.hpp"
#include "trace_ring.hpp"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <thread>

namespace {

void* ring_memory = nullptr;

} // namespace

// Who maps a ring that is mapped already gets the same memory; it stays to the end.
extern "C" void* __real_mmap(void*, std::size_t, int, int, int, off_t);
extern "C" void* __wrap_mmap(void* at, std::size_t size, int access, int flags, int file, off_t offset)
{
    if (size != sizeof(qnm::trace::Ring) || file < 0)
        return __real_mmap(at, size, access, flags, file, offset);
    return ring_memory =
               ring_memory != nullptr ? ring_memory : __real_mmap(at, size, access, flags, file, offset);
}
extern "C" int __real_munmap(void*, std::size_t);
extern "C" int __wrap_munmap(void* memory, std::size_t size)
{
    return memory == ring_memory ? 0 : __real_munmap(memory, size);
}

namespace qnm::test {
namespace {

TEST(RingThreads, EightWriteWhileOneReads)
{
    constexpr int threads = 8, count = 20'000; // laps enough that slots are written again
    run::TraceRing ring;
    const auto writer = core::RingWriter::opened(ring.path().c_str());
    ASSERT_NE(writer, nullptr);
    std::vector<std::thread> writers;
    for (int thread = 0; thread < threads; ++thread)
        writers.emplace_back([&, thread] {
            for (int call = 0; call < count; ++call)
                writer->put(std::to_string(thread) + " " + std::to_string(call), 1e-6);
        });
    int next[threads]{}, whole = 0;
    const auto take = [&](const run::Record& record) {
        int thread = -1, call = -1;
        ASSERT_EQ(std::sscanf(std::string(record.line).c_str(), "%d %d", &thread, &call), 2);
        ASSERT_EQ(call, next[thread]++);
        whole += call + 1 == count;
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (whole < threads && std::chrono::steady_clock::now() < end && !HasFatalFailure()) {
        ring.read(take);
        ring.wait(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(whole, threads);
    if (whole < threads)
        ring.read_last(take); // or writers would wait for ever
    for (std::thread& thread : writers)
        thread.join();
}

} // namespace
} // namespace qnm::test
