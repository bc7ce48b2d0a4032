// A stream, and what any basic generator does with one.
#pragma once

#include "status.hpp"

#include <cstddef>
#include <cstdint>

namespace qnm::vsl {

struct Generator;

/// The record that programs hold. The generator's state stands behind these 16 bytes, the second variates of
/// pairs (Spare) behind that.
struct Stream {
    std::uint32_t id;
    std::uint8_t valid; // 1, and 0 once the stream is deleted: callers look at it
    std::uint8_t unused[3];
    const Generator* generator;
};
static_assert(offsetof(Stream, valid) == 4 && sizeof(Stream) == 16);

/// What a generator tells of itself, and a program of a generator of its own. The size of the state counts
/// the 16 bytes of the stream.
struct Properties {
    int state_size;
    int seeds; // words that a seed may have
    int includes_zero;
    int word_size; // bytes of a word of the recurrence
    int bits;      // of a word that are used
    int (*start)(int method, Stream* stream, int n, const std::uint32_t* parameters);
    int (*floats)(Stream* stream, int n, float* r, float a, float b);
    int (*doubles)(Stream* stream, int n, double* r, double a, double b);
    int (*words)(Stream* stream, int n, std::uint32_t* r);
};

/// How the function of a program's own generator is asked to begin.
enum StartMethod : int { start_stream = 0, start_leapfrog = 1, start_skip = 2, start_wide_skip = 3 };

/// A number of variates, as words of 64 bits, the lowest first.
struct Distance {
    int n;
    const std::uint64_t* word;
};

/// One basic generator. A variate is one word of its recurrence; u is that word as a fraction.
struct Generator {
    std::uint32_t id;
    std::uint32_t sets; // parameter sets, whose ids follow
    Properties properties;
    bool random_bits; // whether each bit of a word is one
    int (*start)(Stream* stream, int n, const std::uint32_t* parameters);
    /// Words as 32 bits, and a + (b-a) u.
    int (*words)(Stream* stream, std::int64_t n, std::uint32_t* r);
    int (*doubles)(Stream* stream, std::int64_t n, double* r, double a, double b);
    int (*floats)(Stream* stream, std::int64_t n, float* r, float a, float b);
    /// Null where there is none.
    int (*leapfrog)(Stream* stream, int k, int streams);
    int (*skip)(Stream* stream, Distance distance);
    bool wide_skip; // beyond 64 bits
};

/// Of a pair of normal variates the second waits for the next call, for each type by itself.
struct Spare {
    double of_double;
    float of_float;
    bool has_double, has_float;
};

// Never calls: what is compiled for several instruction sets must not be merged.
[[gnu::always_inline]] inline std::size_t spare_offset(const Generator& generator)
{
    const std::size_t size = static_cast<std::size_t>(generator.properties.state_size);
    return (size + alignof(Spare) - 1) / alignof(Spare) * alignof(Spare);
}
[[gnu::always_inline]] inline std::size_t stream_size(const Generator& generator)
{
    return spare_offset(generator) + sizeof(Spare);
}
[[gnu::always_inline]] inline Spare& spare_of(Stream* stream)
{
    return *reinterpret_cast<Spare*>(reinterpret_cast<char*>(stream) + spare_offset(*stream->generator));
}

/// u of the next words, or what an interval makes of it.
[[gnu::always_inline]] inline int fractions(Stream* stream, std::int64_t n, double* r, double a = 0,
                                            double b = 1)
{
    return stream->generator->doubles(stream, n, r, a, b);
}
[[gnu::always_inline]] inline int fractions(Stream* stream, std::int64_t n, float* r, float a = 0,
                                            float b = 1)
{
    return stream->generator->floats(stream, n, r, a, b);
}

/// The generators of the library, compiled for the best instruction set that this processor has.
inline constexpr int built_in = 16;
const Generator* generators();
/// The generator of an id, one of a program's own among them; null if there is none.
const Generator* find_generator(std::uint32_t id);

} // namespace qnm::vsl
