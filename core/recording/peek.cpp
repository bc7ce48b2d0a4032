#include "peek.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace qnm::recording {

namespace {

constexpr std::uint64_t page = 4096;
constexpr std::size_t batch = 64;

// Words that cannot be addresses of this process are not worth a system call.
bool plausible(std::uint64_t address)
{
    return address >= 0x10000 && address < (std::uint64_t{1} << 47);
}

// The raw system call: the C library's wrapper is intercepted by sanitizers, which is what is to be avoided.
long read_own(const iovec* local, const iovec* remote, std::size_t count)
{
    const long read = syscall(SYS_process_vm_readv, getpid(), local, count, remote, count, 0UL);
    if (read < 0 && errno != EFAULT) {
        std::perror("recording core: process_vm_readv of the own process");
        std::abort();
    }
    return std::max(read, 0L);
}

} // namespace

std::size_t bytes_in_page(std::uint64_t address)
{
    return page - address % page;
}

void peek(std::span<Peek> requests)
{
    const int saved = errno;
    for (std::size_t next = 0; next < requests.size();) {
        std::array<iovec, batch> local, remote;
        std::array<Peek*, batch> asked;
        std::size_t count = 0;
        for (; next < requests.size() && count < batch; ++next) {
            if (!plausible(requests[next].address))
                continue;
            asked[count] = &requests[next];
            local[count] = {requests[next].into, requests[next].size};
            remote[count] = {reinterpret_cast<void*>(requests[next].address), requests[next].size};
            ++count;
        }
        // The kernel stops at the first request that it cannot read whole: go on behind that one.
        for (std::size_t first = 0; first < count; ++first) {
            long left = read_own(&local[first], &remote[first], count - first);
            for (; first < count && left >= static_cast<long>(asked[first]->size); ++first) {
                left -= static_cast<long>(asked[first]->size);
                asked[first]->done = true;
            }
        }
    }
    errno = saved;
}

std::string peek_text(std::uint64_t address, std::size_t limit, bool stop_at_zero)
{
    std::string text;
    while (text.size() < limit) {
        const std::uint64_t from = address + text.size();
        std::array<char, page> buffer;
        Peek request{from, buffer.data(), std::min(limit - text.size(), bytes_in_page(from))};
        peek({&request, 1});
        if (!request.done)
            break;
        const auto end = buffer.begin() + static_cast<std::ptrdiff_t>(request.size);
        const auto stop = stop_at_zero ? std::find(buffer.begin(), end, '\0') : end;
        text.append(buffer.begin(), stop);
        if (stop != end)
            break;
    }
    return text;
}

} // namespace qnm::recording
