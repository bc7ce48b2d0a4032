// How a recurrence becomes a generator. A recurrence is a class with
//   id, sets, seeds, word_size, bits, zero, random   its facts
//   State                                 its state, which is copied and saved as bytes
//   start(state, set, n, seeds)           begins; seeds that are not given are its own choice
//   fill(state, n, words)                 the next words, of its type Word
//   real(word), single(word), top(word)   a word as u, as u of 24 bits, as 32 bits
//   leapfrog(state, k, streams), skip(state, distance)   where it has them
// and nothing of the standard library's inline functions, since this is compiled for each instruction set.
#pragma once

#include "../lanes.hpp"
#include "stream.hpp"

namespace qnm::vsl::QNM_NAMESPACE {

using Seeds = const std::uint32_t*;
__extension__ typedef unsigned __int128 Wide;

/// Words that stay in the cache of first level.
inline constexpr std::int64_t block = 512;

template <class T>
T least(T x, T y)
{
    return x < y ? x : y;
}

template <class G>
typename G::State& state_of(Stream* stream)
{
    return *reinterpret_cast<typename G::State*>(stream + 1);
}

/// Numbers side by side, in as many registers as that takes.
typedef std::uint64_t Eight __attribute__((vector_size(64)));

/// Products of the lower halves.
[[gnu::always_inline]] inline Eight low_product(Eight x, Eight y)
{
#if QNM_SET == 3
    return (Eight)_mm512_maskz_mul_epu32(0xFF, (__m512i)x, (__m512i)y); // the plain one is warned of
#else
    constexpr int parts = 64 / vml::QNM_NAMESPACE::bytes;
    using Part = vml::QNM_NAMESPACE::Lanes<std::uint64_t>;
    struct {
        Part part[parts];
    } a, b, r;
    __builtin_memcpy(&a, &x, sizeof x);
    __builtin_memcpy(&b, &y, sizeof y);
    for (int i = 0; i < parts; ++i)
#if QNM_SET == 1
        r.part[i] = (Part)_mm256_mul_epu32((__m256i)a.part[i], (__m256i)b.part[i]);
#else
        r.part[i] = (Part)_mm_mul_epu32((__m128i)a.part[i], (__m128i)b.part[i]);
#endif
    Eight result;
    __builtin_memcpy(&result, &r, sizeof r);
    return result;
#endif
}

/// Upper 24 bits, so that no result is 1.
inline float single_of(double u)
{
    return static_cast<float>(static_cast<std::int32_t>(u * 0x1p24)) * 0x1p-24F;
}

/// Words of 32 bits.
struct Whole {
    using Word = std::uint32_t;
    static constexpr int word_size = 4, bits = 32;
    static constexpr bool zero = true;
    static double real(Word x) { return x * 0x1p-32; }
    static float single(Word x) { return static_cast<float>(static_cast<std::int32_t>(x >> 8)) * 0x1p-24F; }
    static std::uint32_t top(Word x) { return x; }
};

template <class G>
struct Made {
    using Word = typename G::Word;

    static int start(Stream* stream, int n, Seeds seeds)
    {
        return G::start(state_of<G>(stream), static_cast<int>(stream->id - G::id), n, seeds);
    }
    static int words(Stream* stream, std::int64_t n, std::uint32_t* r)
    {
        return each(stream, n, [r](std::int64_t i, Word x) { r[i] = G::top(x); });
    }
    static int doubles(Stream* stream, std::int64_t n, double* r, double a, double b)
    {
        const double width = b - a;
        return each(stream, n, [=](std::int64_t i, Word x) { r[i] = a + width * G::real(x); });
    }
    static int floats(Stream* stream, std::int64_t n, float* r, float a, float b)
    {
        const float width = b - a;
        return each(stream, n, [=](std::int64_t i, Word x) { r[i] = a + width * G::single(x); });
    }
    static int leapfrog(Stream* stream, int k, int streams)
    {
        return G::leapfrog(state_of<G>(stream), k, streams);
    }
    static int skip(Stream* stream, Distance distance) { return G::skip(state_of<G>(stream), distance); }

    static consteval Generator generator()
    {
        Generator result{};
        result.id = G::id;
        result.sets = G::sets;
        result.properties.state_size = sizeof(Stream) + sizeof(typename G::State);
        result.properties.seeds = G::seeds;
        result.properties.includes_zero = G::zero ? 1 : 0;
        result.properties.word_size = G::word_size;
        result.properties.bits = G::bits;
        result.random_bits = G::random;
        result.start = start;
        result.words = words;
        result.doubles = doubles;
        result.floats = floats;
        if constexpr (requires { &G::leapfrog; })
            result.leapfrog = leapfrog;
        if constexpr (requires { &G::skip; }) {
            result.skip = skip;
            result.wide_skip = G::wide_skip;
        }
        return result;
    }

private:
    template <class Put>
    [[gnu::always_inline]] static int each(Stream* stream, std::int64_t n, Put put)
    {
        auto& state = state_of<G>(stream);
        Word words[block];
        for (std::int64_t begin = 0; begin < n; begin += block) {
            const std::int64_t count = least(block, n - begin);
            const int status = G::fill(state, count, words);
            if (status < 0) [[unlikely]]
                return status;
#pragma GCC ivdep
            for (std::int64_t i = 0; i < count; ++i)
                put(begin + i, words[i]);
        }
        return ok;
    }
};

/// Recurrences that make N words at once: K::next(state) replaces state.word, K::output(word) is one's
/// output.
template <class K, int N>
struct InBatches {
    /// The next words are all to be made.
    static void empty(auto& state) { state.at = N; }

    static int fill(auto& state, std::int64_t n, std::uint32_t* r)
    {
        while (n > 0) {
            if (state.at == N) {
                const int status = K::next(state);
                if (status < 0) [[unlikely]]
                    return status;
                state.at = 0;
            }
            const std::int64_t count = least<std::int64_t>(n, N - state.at);
            const std::uint32_t* const from = state.word + state.at;
            if constexpr (requires { K::tempering(state); }) {
                const auto tempering = K::tempering(state);
#pragma GCC ivdep
                for (std::int64_t i = 0; i < count; ++i)
                    r[i] = K::output(from[i], tempering);
            } else
                __builtin_memcpy(r, from, static_cast<std::size_t>(count) * sizeof *r);
            r += count;
            n -= count;
            state.at += static_cast<std::int32_t>(count);
        }
        return ok;
    }
};

} // namespace qnm::vsl::QNM_NAMESPACE
