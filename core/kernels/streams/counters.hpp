// Generators that are functions of a counter (Salmon, Moraes, Dror, Shaw 2011).
#pragma once

#include "basic.hpp"

namespace qnm::vsl::QNM_NAMESPACE {

/// Blocks of four words of K::blocks(key, counter, words), `width` counters at once.
template <class K, int key_words>
struct Counter : Whole, InBatches<K, 128> {
    static constexpr int width = 32, seeds = key_words + 4;
    static constexpr bool random = true, wide_skip = true;
    struct State {
        std::uint32_t word[4 * width];
        std::int32_t at;
        std::uint32_t key[key_words];
        std::uint64_t counter[2]; // of the next batch
    };

    static void begin(State& state, int n, Seeds seeds)
    {
        std::uint32_t given[key_words + 4] = {};
        for (int i = 0; i < key_words + 4 && i < n; ++i)
            given[i] = seeds[i];
        for (int i = 0; i < key_words; ++i)
            state.key[i] = given[i];
        for (int i = 0; i < 2; ++i)
            state.counter[i] =
                given[key_words + 2 * i] | static_cast<std::uint64_t>(given[key_words + 2 * i + 1]) << 32;
        InBatches<K, 4 * width>::empty(state);
    }
    static int next(State& state)
    {
        K::blocks(state.key, state.counter, state.word);
        set_counter(state, counter_of(state) + width);
        return ok;
    }
    static int skip(State& state, Distance distance)
    {
        const auto word = [&](int i) -> Wide { return i < distance.n ? distance.word[i] : 0; };
        const Wide blocks = (word(1) << 64 | word(0)) >> 2 | word(2) << 126;
        const auto inside = static_cast<std::int32_t>(word(0) & 3) + state.at % 4;
        set_counter(state, counter_of(state) - width + static_cast<Wide>(state.at / 4) + blocks +
                               static_cast<Wide>(inside / 4));
        next(state);
        state.at = inside % 4;
        return ok;
    }

private:
    static Wide counter_of(const State& state)
    {
        return static_cast<Wide>(state.counter[1]) << 64 | state.counter[0];
    }
    static void set_counter(State& state, Wide counter)
    {
        state.counter[0] = static_cast<std::uint64_t>(counter);
        state.counter[1] = static_cast<std::uint64_t>(counter >> 64);
    }
};

struct Philox4x32x10 : Counter<Philox4x32x10, 2> {
    static constexpr std::uint32_t id = 0x1000000, sets = 1;

    static int start(State& state, int, int n, Seeds seeds)
    {
        begin(state, n, seeds);
        return ok;
    }
    static void blocks(const std::uint32_t* key, const std::uint64_t* counter, std::uint32_t* r)
    {
        // Numbers of 32 bits in lanes of 64, whose upper halves mean nothing on the way.
        constexpr int parts = width / 8;
        constexpr Eight places = {0, 1, 2, 3, 4, 5, 6, 7};
        Eight x[parts][4];
        for (int i = 0; i < parts; ++i) {
            const Eight low = counter[0] + (places + static_cast<std::uint64_t>(8 * i));
            const Eight high = counter[1] + ((Eight)(low < counter[0]) & 1);
            x[i][0] = low;
            x[i][1] = low >> 32;
            x[i][2] = high;
            x[i][3] = high >> 32;
        }
        std::uint32_t k0 = key[0], k1 = key[1];
        for (int round = 0; round < 10; ++round, k0 += 0x9E3779B9U, k1 += 0xBB67AE85U)
            for (int i = 0; i < parts; ++i) {
                const Eight p = low_product(x[i][0], Eight{} + 0xD2511F53U);
                const Eight q = low_product(x[i][2], Eight{} + 0xCD9E8D57U);
                x[i][0] = q >> 32 ^ x[i][1] ^ k0;
                x[i][2] = p >> 32 ^ x[i][3] ^ k1;
                x[i][1] = q;
                x[i][3] = p;
            }
        for (int i = 0; i < parts; ++i) {
            const Eight first = (x[i][0] & UINT32_MAX) | x[i][1] << 32;
            const Eight second = (x[i][2] & UINT32_MAX) | x[i][3] << 32;
            constexpr Eight to_front = {0, 8, 1, 9, 2, 10, 3, 11}, to_end = to_front + 4;
            const Eight pairs[] = {__builtin_shuffle(first, second, to_front),
                                   __builtin_shuffle(first, second, to_end)};
            __builtin_memcpy(r + 32 * i, pairs, sizeof pairs);
        }
    }
};

/// Five rounds of AES, whose keys are a Weyl sequence.
struct Ars5 : Counter<Ars5, 4> {
    static constexpr std::uint32_t id = 0xF00000, sets = 1;

    static int start(State& state, int, int n, Seeds seeds)
    {
        if (__builtin_cpu_supports("aes") == 0)
            return no_aes;
        begin(state, n, seeds);
        return ok;
    }
    [[gnu::target("aes")]] static void blocks(const std::uint32_t* key, const std::uint64_t* counter,
                                              std::uint32_t* r)
    {
        const __m128i weyl = _mm_set_epi64x(static_cast<long long>(0xBB67AE8584CAA73BU),
                                            static_cast<long long>(0x9E3779B97F4A7C15U));
        __m128i keys[6];
        keys[0] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(key));
        for (int i = 1; i < 6; ++i)
            keys[i] = _mm_add_epi64(keys[i - 1], weyl);
        for (int i = 0; i < width; ++i) {
            const std::uint64_t low = counter[0] + static_cast<std::uint64_t>(i);
            const std::uint64_t high = counter[1] + (low < counter[0] ? 1 : 0);
            __m128i x = _mm_xor_si128(
                _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low)), keys[0]);
            for (int round = 1; round < 5; ++round)
                x = _mm_aesenc_si128(x, keys[round]);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(r + 4 * i), _mm_aesenclast_si128(x, keys[5]));
        }
    }
};

} // namespace qnm::vsl::QNM_NAMESPACE
