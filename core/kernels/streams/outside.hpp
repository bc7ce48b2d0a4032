// Words that come from outside: the system's entropy, and buffers of programs.
#pragma once

#include "basic.hpp"
#include "buffer.hpp"

#include <cerrno>
#include <sys/random.h>

namespace qnm::vsl::QNM_NAMESPACE {

struct Entropy : Whole, InBatches<Entropy, 64> {
    static constexpr std::uint32_t id = 0xE00000, sets = 1;
    static constexpr int seeds = 0;
    static constexpr bool random = true;
    struct State {
        std::uint32_t word[64];
        std::int32_t at;
    };

    static int start(State& state, int, int, Seeds)
    {
        empty(state);
        return ok;
    }
    static int next(State& state)
    {
        ssize_t got;
        do
            got = ::getrandom(state.word, sizeof state.word, 0); // up to 256 bytes come whole
        while (got < 0 && errno == EINTR);
        return got == sizeof state.word ? ok : no_entropy;
    }
};

template <class T, std::uint32_t number>
struct Abstract {
    static constexpr std::uint32_t id = number, sets = 1;
    static constexpr int seeds = 0;
    static constexpr bool random = false, zero = true;
    using State = Buffer<T>;

    /// Such streams are made of a buffer.
    static int start(State&, int, int, Seeds) { return unknown_generator; }
    static int numbers(State& state, std::int64_t n, auto put)
    {
        for (std::int64_t i = 0; i < n; ++i) {
            if (state.left == 0) {
                const int status = refill(state);
                if (status < 0)
                    return status;
            }
            put(i, state.numbers[state.at]);
            state.at = state.at + 1 == state.n ? 0 : state.at + 1;
            --state.left;
        }
        return ok;
    }

private:
    static int refill(State& state)
    {
        int fewest = 1, most = state.n, index = state.at;
        Stream* const stream = reinterpret_cast<Stream*>(&state) - 1;
        const int count = state.refill(stream, &state.n, state.numbers, &fewest, &most, &index);
        if (count == 0)
            return no_numbers;
        if (count < 0 || count > most)
            return bad_refill;
        state.left = count;
        return ok;
    }
};

struct AbstractWords : Whole, Abstract<std::uint32_t, 0xA00000> {
    using Abstract::random;
    using Abstract::zero;
    static int fill(State& state, std::int64_t n, Word* r)
    {
        return numbers(state, n, [r](std::int64_t i, std::uint32_t x) { r[i] = x; });
    }
};
template <class T, std::uint32_t number>
struct AbstractReals : Abstract<T, number> {
    using Word = double;
    using State = Buffer<T>;
    static constexpr int word_size = sizeof(T), bits = sizeof(T) == 8 ? 53 : 24;

    static int fill(State& state, std::int64_t n, Word* r)
    {
        return AbstractReals::numbers(state, n, [&](std::int64_t i, T x) {
            r[i] = (static_cast<double>(x) - state.low) / (state.high - state.low);
        });
    }
    static double real(Word u) { return u; }
    static float single(Word u) { return single_of(u); }
    static std::uint32_t top(Word u) { return static_cast<std::uint32_t>(u * 0x1p32); }
};
using AbstractDoubles = AbstractReals<double, 0xB00000>;
using AbstractFloats = AbstractReals<float, 0xC00000>;

} // namespace qnm::vsl::QNM_NAMESPACE
