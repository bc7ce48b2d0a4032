// Streams of programs: buffers that callbacks refill, and generators that are registered.
#include "kernels/streams/status.hpp"
#include "streams.hpp"

#include <cstring>
#include <numeric>

namespace {

using namespace streams;
using qnm::vsl::Properties;

// What the callbacks do, and what they saw.
template <class T>
struct Refilling {
    static inline int answer, calls;
    static inline T next;
    static inline Stream* seen;
    /// Goes on counting, as many numbers as the answer says.
    static int refill(Stream* stream, int* n, T* buffer, int* least, int* most, int* index)
    {
        ++calls;
        seen = stream;
        EXPECT_TRUE(*n == 5 && *least == 1 && *most == 5);
        for (int i = 0; i < std::min(answer, 5); ++i)
            buffer[(*index + i) % *n] = next++;
        return answer;
    }
};

template <class T, class... Interval>
void expect_ring(const std::string& letter, Interval... interval)
{
    using R = Refilling<T>;
    T buffer[] = {0, 1, 2, 3, 4};
    Owned stream, copy;
    ASSERT_EQ(
        call("__vsl" + letter + "NewAbstractStream", stream.slot(), 5, &buffer[0], interval..., &R::refill),
        0);
    R::next = 5;
    R::calls = 0;
    // Three at a time behind the first five: the ring's place goes on.
    R::answer = 3;
    const auto number = [&](double u) { return letter == "i" ? u * 0x1p32 : 100 * u; };
    const std::vector<double> u = stream.doubles(17);
    for (std::size_t i = 0; i < u.size(); ++i)
        ASSERT_DOUBLE_EQ(number(u[i]), static_cast<double>(i));
    EXPECT_EQ(R::calls, 4);
    EXPECT_EQ(R::seen, static_cast<Stream*>(stream));
    for (const auto& [answer, status] : {std::pair{0, -1121}, {-1, -1120}, {6, -1120}}) {
        R::answer = answer;
        double r;
        EXPECT_EQ(call("_vsldRngUniform", 0, static_cast<Stream*>(stream), 1, &r, 0.0, 1.0), status);
    }
    Stream* const plain = stream;
    EXPECT_EQ(call("__vslLeapfrogStream", plain, 0, 2), -1002);
    EXPECT_EQ(call("__vslSkipAheadStream", plain, 1LL), -1003);
    char memory[1024];
    EXPECT_EQ(call("__vslSaveStreamM", plain, &memory[0]), -3);
    EXPECT_EQ(call("__vslSaveStreamF", plain, "/dev/null", -1), -3);
    for (const int n : {0, -1})
        EXPECT_EQ(
            call("__vsl" + letter + "NewAbstractStream", copy.slot(), n, &buffer[0], interval..., &R::refill),
            -3);
}

TEST(Streams, BuffersOfPrograms)
{
    expect_ring<std::uint32_t>("i");
    expect_ring<double>("d", 0.0, 100.0);
    expect_ring<float>("s", 0.0F, 100.0F);
}

/// A generator of a program: it counts in steps.
struct Counting {
    Stream stream;
    std::uint32_t next, step;

    static int start(int method, Stream* stream, int n, const std::uint32_t* parameters)
    {
        auto* const self = reinterpret_cast<Counting*>(stream);
        switch (method) {
        case qnm::vsl::start_stream:
            self->next = n > 0 ? parameters[0] : 1;
            self->step = 1;
            return self->next == 13 ? -7 : 0;
        case qnm::vsl::start_leapfrog:
            self->next += parameters[0] * self->step;
            self->step *= parameters[1];
            return 0;
        case qnm::vsl::start_skip:
            self->next += parameters[0] * self->step;
            return n == 2 ? 0 : -3;
        default:
            return -1004;
        }
    }
    template <class T>
    static int fill(Stream* stream, int n, T* r, T a, T b)
    {
        auto* const self = reinterpret_cast<Counting*>(stream);
        for (int i = 0; i < n; ++i, self->next += self->step)
            r[i] = a + (b - a) * static_cast<T>(self->next) / 1024;
        return 0;
    }
    static int words(Stream* stream, int n, std::uint32_t* r)
    {
        auto* const self = reinterpret_cast<Counting*>(stream);
        for (int i = 0; i < n; ++i, self->next += self->step)
            r[i] = self->next;
        return 0;
    }
};

TEST(Streams, GeneratorsOfPrograms)
{
    EXPECT_EQ(call("__vslGetNumRegBrngs"), 16);
    const Properties good = {
        sizeof(Counting), 1, 0, 4, 32, Counting::start, Counting::fill<float>, Counting::fill<double>,
        Counting::words};
    const auto add = [](Properties properties) {
        return call("__vslRegisterBrng", static_cast<const Properties*>(&properties));
    };
    const auto refused = [&](auto change) {
        Properties properties = good;
        change(properties);
        return add(properties);
    };
    EXPECT_EQ(refused([](Properties& of) { of.state_size = 15; }), -1008);
    EXPECT_EQ(refused([](Properties& of) { of.word_size = 0; }), -1009);
    EXPECT_EQ(refused([](Properties& of) { of.seeds = -1; }), -1010);
    EXPECT_EQ(refused([](Properties& of) { of.bits = 33; }), -1011);
    EXPECT_EQ(refused([](Properties& of) { of.start = nullptr; }), -3);
    EXPECT_EQ(call("__vslGetNumRegBrngs"), 16);
    EXPECT_EQ(add(good), 0x1100000);
    EXPECT_EQ(add(good), 0x1200000);
    EXPECT_EQ(call("__vslGetNumRegBrngs"), 18);

    Properties known{};
    EXPECT_EQ(call("__vslGetBrngProperties", 0x1200000, &known), 0);
    EXPECT_EQ(std::memcmp(&known, &good, sizeof good), 0);
    EXPECT_EQ(call("__vslGetBrngProperties", 0x1300000, &known), -1000);
    EXPECT_EQ(call("__vslGetBrngProperties", 0x400000, &known), 0);
    EXPECT_TRUE(known.word_size == 8 && known.bits == 59 && known.seeds == 2 && known.includes_zero == 0);

    Owned stream(0x1200000, {10}), copy;
    EXPECT_EQ(stream.words(3), (std::vector<std::uint32_t>{10, 11, 12}));
    EXPECT_EQ(call("__vslSkipAheadStream", static_cast<Stream*>(stream), 7LL), 0);
    EXPECT_EQ(call("__vslLeapfrogStream", static_cast<Stream*>(stream), 1, 3), 0);
    std::vector<char> memory(
        static_cast<std::size_t>(call("__vslGetStreamSize", static_cast<Stream*>(stream))));
    EXPECT_EQ(call("__vslSaveStreamM", static_cast<Stream*>(stream), memory.data()), 0);
    EXPECT_EQ(stream.words(2), (std::vector<std::uint32_t>{21, 24}));
    EXPECT_EQ(call("__vslLoadStreamM", copy.slot(), memory.data()), 0);
    EXPECT_EQ(copy.doubles(1)[0], 21 / 1024.0);
    EXPECT_EQ(copy.floats(1)[0], 24 / 1024.0F);
    const std::uint64_t far[] = {1, 1};
    EXPECT_EQ(call("__vslSkipAheadStreamEx", static_cast<Stream*>(copy), 2, &far[0]), -1004);

    Owned none;
    const std::uint32_t refuses = 13;
    EXPECT_EQ(call("__vslNewStreamEx", none.slot(), 0x1200000, 1, &refuses), -7);
    EXPECT_EQ(static_cast<Stream*>(none), nullptr);

    for (int i = 18; i < 512; ++i)
        ASSERT_GT(add(good), 0);
    EXPECT_EQ(add(good), -1007);
}

TEST(Streams, Records)
{
    Owned stream(0x800000, {1});
    Stream* slot = stream;
    EXPECT_EQ(slot->valid, 1);
    EXPECT_EQ(call("__vslDeleteStream", stream.slot()), 0);
    EXPECT_EQ(static_cast<Stream*>(stream), nullptr);

    Owned other(0x800000, {1});
    for (const char* const name : {"/nowhere/stream", ""}) {
        EXPECT_EQ(call("__vslSaveStreamF", static_cast<Stream*>(other), name, -1), -1101);
        EXPECT_EQ(call("__vslLoadStreamF", stream.slot(), name, -1), -1101);
    }
    EXPECT_EQ(call("__vslSaveStreamF", static_cast<Stream*>(other), "/dev/full", -1), -1102);
    EXPECT_EQ(call("__vslLeapfrogStream", static_cast<Stream*>(Owned(0x100000, {1})), 3, 3), -3);
    EXPECT_EQ(call("__vslSkipAheadStream", static_cast<Stream*>(other), -1LL), -3);

    // Entropy is not told twice.
    Owned entropy(0xE00000, {}), again(0xE00000, {});
    EXPECT_NE(entropy.words(100), again.words(100));
}

} // namespace
