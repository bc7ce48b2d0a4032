// Memory that is not there: a status, and nothing changed.
#include "kernels/streams/buffer.hpp"
#include "refusing.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

Refusing refusing;

namespace {
void* granted(void* memory)
{
    refusing.live += memory != nullptr ? 1 : 0;
    return memory;
}
bool refuse()
{
    if (refusing.spared < 0)
        return false;
    if (refusing.spared > 0) {
        --refusing.spared;
        return false;
    }
    ++refusing.refused;
    return true;
}
} // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void __real_free(void* memory);
void __wrap_free(void* memory)
{
    refusing.live -= memory != nullptr ? 1 : 0;
    __real_free(memory);
}
void* __wrap_malloc(std::size_t size)
{
    return refuse() ? nullptr : granted(__real_malloc(size));
}
void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return refuse() ? nullptr : granted(__real_calloc(count, size));
}

using qnm::vsl::Properties;
using qnm::vsl::Stream;
int __vslNewStreamEx(Stream** slot, int id, int n, const std::uint32_t* parameters);
int __vsldNewAbstractStream(Stream** slot, int n, double* buffer, double a, double b,
                            qnm::vsl::Buffer<double>::Refill* refill);
int __vslCopyStream(Stream** slot, const Stream* source);
int __vslSkipAheadStream(Stream* stream, long long distance);
int __vslGetStreamSize(const Stream* stream);
int __vslSaveStreamM(const Stream* stream, char* memory);
int __vslLoadStreamM(Stream** slot, const char* memory);
int __vslRegisterBrng(const Properties* properties);
int __vslDeleteStream(Stream** slot);
}

namespace {

TEST(Streams, EachAllocationFailsOnce)
{
    constexpr int mt19937 = 0x800000;
    const std::uint32_t seed = 1;
    Stream* stream = nullptr;
    ASSERT_EQ(__vslNewStreamEx(&stream, mt19937, 1, &seed), 0);
    const int size = __vslGetStreamSize(stream);
    std::vector<char> memory(static_cast<std::size_t>(size)), after(memory);
    __vslSaveStreamM(stream, memory.data());
    double buffer[] = {1};
    const auto refill = [](Stream*, int*, double*, int*, int*, int*) { return 0; };
    const Properties own = {64,
                            1,
                            0,
                            4,
                            32,
                            [](int, Stream*, int, const std::uint32_t*) { return 0; },
                            [](Stream*, int, float*, float, float) { return 0; },
                            [](Stream*, int, double*, double, double) { return 0; },
                            [](Stream*, int, std::uint32_t*) { return 0; }};

    const auto expect_refused = [](auto allocate) {
        refusing = {0, 0, 0};
        Stream* slot = reinterpret_cast<Stream*>(8);
        const int status = allocate(&slot);
        refusing.spared = -1;
        EXPECT_EQ(status, -4);
        EXPECT_EQ(refusing.refused, 1);
        return slot;
    };
    EXPECT_EQ(expect_refused([&](Stream** slot) { return __vslNewStreamEx(slot, mt19937, 1, &seed); }),
              nullptr);
    EXPECT_EQ(
        expect_refused([&](Stream** slot) { return __vsldNewAbstractStream(slot, 1, buffer, 0, 1, refill); }),
        nullptr);
    EXPECT_EQ(expect_refused([&](Stream** slot) { return __vslCopyStream(slot, stream); }), nullptr);
    EXPECT_EQ(expect_refused([&](Stream** slot) { return __vslLoadStreamM(slot, memory.data()); }), nullptr);
    expect_refused([&](Stream**) { return __vslRegisterBrng(&own); });
    expect_refused([&](Stream**) { return __vslSkipAheadStream(stream, 1LL << 40); });
    __vslSaveStreamM(stream, after.data());
    EXPECT_EQ(after, memory);
    EXPECT_EQ(__vslDeleteStream(&stream), 0);
    EXPECT_EQ(stream, nullptr);
}

} // namespace
