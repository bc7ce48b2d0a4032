// Shift register generators, which make all words of their state at once.
#pragma once

#include "basic.hpp"
#include "parameters.hpp"

namespace qnm::vsl::QNM_NAMESPACE {

/// Kirkpatrick, Stoll 1981: x(n) = x(n-103) xor x(n-250).
struct R250 : Whole, InBatches<R250, 250> {
    static constexpr std::uint32_t id = 0x200000, sets = 1;
    static constexpr int seeds = 1;
    static constexpr bool random = true;
    struct State {
        std::uint32_t word[250];
        std::int32_t at;
    };

    static int start(State& state, int, int n, Seeds seeds)
    {
        std::uint32_t x = n > 0 && seeds[0] != 0 ? seeds[0] : 1;
        for (std::uint32_t& word : state.word) {
            word = x;
            x *= 69069;
        }
        // A triangle of bits: the columns are independent.
        for (int i = 0; i < 32; ++i) {
            std::uint32_t& word = state.word[7 * i + 3];
            word = (word & 0xFFFFFFFFU >> i) | 0x80000000U >> i;
        }
        empty(state);
        return ok;
    }
    static int next(State& state)
    {
        std::uint32_t* const x = state.word;
#pragma GCC ivdep
        for (int i = 0; i < 103; ++i)
            x[i] ^= x[i + 147];
#pragma GCC ivdep
        for (int i = 103; i < 250; ++i)
            x[i] ^= x[i - 103];
        return ok;
    }
};

/// Matsumoto, Nishimura 1998: n words without their r lowest bits, a middle word m; seeding of 2002.
template <class G, int n_, int m, int r>
struct Twister : Whole, InBatches<G, n_> {
    static constexpr int seeds = n_;
    static constexpr bool random = true;
    struct State {
        std::uint32_t word[n_];
        std::int32_t at;
        TwisterParameters parameters;
    };

    static void begin(State& state, const TwisterParameters& parameters, int n, Seeds seeds)
    {
        std::uint32_t* const x = state.word;
        state.parameters = parameters;
        InBatches<G, n_>::empty(state);
        if (n < 2) {
            fill_from(x, n == 1 ? seeds[0] : 1);
            return;
        }
        fill_from(x, 19650218U);
        int i = 1;
        const auto next = [&] {
            if (++i == n_) {
                x[0] = x[n_ - 1];
                i = 1;
            }
        };
        for (int k = 0; k < (n > n_ ? n : n_); ++k, next())
            x[i] = (x[i] ^ (x[i - 1] ^ x[i - 1] >> 30) * 1664525U) + seeds[k % n] +
                   static_cast<std::uint32_t>(k % n);
        for (int k = 0; k < n_ - 1; ++k, next())
            x[i] = (x[i] ^ (x[i - 1] ^ x[i - 1] >> 30) * 1566083941U) - static_cast<std::uint32_t>(i);
        x[0] = 0x80000000U;
    }
    static int next(State& state)
    {
        std::uint32_t* const x = state.word;
        const std::uint32_t multiplier = state.parameters.multiplier;
        const auto twisted = [multiplier](std::uint32_t high, std::uint32_t low) {
            constexpr std::uint32_t lower = (1U << r) - 1U;
            return ((high & ~lower) | (low & lower)) >> 1 ^ ((0U - (low & 1U)) & multiplier);
        };
#pragma GCC ivdep
        for (int i = 0; i < n_ - m; ++i)
            x[i] = x[i + m] ^ twisted(x[i], x[i + 1]);
#pragma GCC ivdep
        for (int i = n_ - m; i < n_ - 1; ++i)
            x[i] = x[i + m - n_] ^ twisted(x[i], x[i + 1]);
        x[n_ - 1] = x[m - 1] ^ twisted(x[n_ - 1], x[0]);
        return ok;
    }
    static TwisterParameters tempering(const State& state)
    {
        return state.parameters;
    }
    static std::uint32_t output(std::uint32_t x, const TwisterParameters& with)
    {
        x ^= x >> 11;
        x ^= (x << 7) & with.b;
        x ^= (x << 15) & with.c;
        return x ^ x >> 18;
    }

private:
    static void fill_from(std::uint32_t* x, std::uint32_t seed)
    {
        x[0] = seed;
        for (std::uint32_t i = 1; i < n_; ++i)
            x[i] = 1812433253U * (x[i - 1] ^ x[i - 1] >> 30) + i;
    }
};

struct Mt19937 : Twister<Mt19937, 624, 397, 31> {
    static constexpr std::uint32_t id = 0x800000, sets = 1;
    static constexpr bool wide_skip = false;

    static int start(State& state, int, int n, Seeds seeds)
    {
        begin(state, {0x9908B0DFU, 0x9D2C5680U, 0xEFC60000U}, n, seeds);
        return ok;
    }
    static int skip(State& state, Distance distance)
    {
        // Whole batches; what was given out of the present one counts.
        constexpr std::uint64_t batch = 624, cheaper_by_steps = 200;
        std::uint64_t batches = distance.word[0] / batch;
        std::uint64_t given = distance.word[0] % batch + static_cast<std::uint64_t>(state.at);
        if (given > batch) {
            given -= batch;
            ++batches;
        }
        if (batches <= cheaper_by_steps) {
            for (; batches != 0; --batches)
                next(state);
        } else if (const int status = jump_twister(state.word, batches * batch); status < 0)
            return status;
        state.at = static_cast<std::int32_t>(given);
        return ok;
    }
};

/// The same with 2203 bits, and parameters for each set.
struct Mt2203 : Twister<Mt2203, 69, 34, 5> {
    static constexpr std::uint32_t id = 0x900000, sets = twister_sets;

    static int start(State& state, int set, int n, Seeds seeds)
    {
        begin(state, twisters[set], n, seeds);
        return ok;
    }
};

/// Saito, Matsumoto 2008, in words of 128 bits.
struct Sfmt19937 : Whole, InBatches<Sfmt19937, 624> {
    static constexpr std::uint32_t id = 0xD00000, sets = 1;
    static constexpr int seeds = 624;
    static constexpr bool random = true, wide_skip = false;
    struct State {
        std::uint32_t word[624];
        std::int32_t at;
    };

    static int start(State& state, int, int n, Seeds seeds)
    {
        if (n < 2)
            fill_from(state.word, n == 1 ? seeds[0] : 1);
        else
            fill_from(state.word, n, seeds);
        certify(state.word);
        empty(state);
        return ok;
    }
    static int next(State& state)
    {
        constexpr int count = 156, middle = 122;
        auto* const x = reinterpret_cast<__m128i*>(state.word);
        const __m128i mask = _mm_set_epi32(static_cast<int>(0xBFFFFFF6U), static_cast<int>(0xBFFAFFFFU),
                                           static_cast<int>(0xDDFECB7FU), static_cast<int>(0xDFFFFFEFU));
        __m128i before = _mm_loadu_si128(x + count - 2), last = _mm_loadu_si128(x + count - 1);
        const auto step = [&](int i, int other) {
            const __m128i a = _mm_loadu_si128(x + i), b = _mm_loadu_si128(x + other);
            const __m128i known = _mm_xor_si128(_mm_xor_si128(a, _mm_slli_si128(a, 1)),
                                                _mm_and_si128(_mm_srli_epi32(b, 11), mask));
            const __m128i made =
                _mm_xor_si128(_mm_xor_si128(known, _mm_srli_si128(before, 1)), _mm_slli_epi32(last, 18));
            _mm_storeu_si128(x + i, made);
            before = last;
            last = made;
        };
        int i = 0;
        for (; i < count - middle; ++i)
            step(i, i + middle);
        for (; i < count; ++i)
            step(i, i + middle - count);
        return ok;
    }
    static int skip(State& state, Distance distance)
    {
        std::uint64_t left = distance.word[0];
        for (std::uint64_t here = static_cast<std::uint64_t>(624 - state.at); left > here; here = 624) {
            left -= here;
            next(state);
            state.at = 0;
        }
        state.at += static_cast<std::int32_t>(left);
        return ok;
    }

private:
    static void fill_from(std::uint32_t* x, std::uint32_t seed)
    {
        x[0] = seed;
        for (std::uint32_t i = 1; i < 624; ++i)
            x[i] = 1812433253U * (x[i - 1] ^ x[i - 1] >> 30) + i;
    }
    static void fill_from(std::uint32_t* x, int n, Seeds seeds)
    {
        constexpr int size = 624, lag = 11, middle = (size - lag) / 2;
        for (int i = 0; i < size; ++i)
            x[i] = 0x8B8B8B8BU;
        const int count = n + 1 > size ? n + 1 : size;
        int i = 0;
        const auto mix = [&](auto&& change) {
            std::uint32_t &here = x[i], &half = x[(i + middle) % size], &end = x[(i + middle + lag) % size];
            change(here, half, end, here ^ half ^ x[(i + size - 1) % size]);
            i = (i + 1) % size;
        };
        for (int k = 0; k < count; ++k)
            mix([&](std::uint32_t& here, std::uint32_t& half, std::uint32_t& end, std::uint32_t sum) {
                std::uint32_t value = (sum ^ sum >> 27) * 1664525U;
                half += value;
                value += k == 0 ? static_cast<std::uint32_t>(n)
                                : static_cast<std::uint32_t>(i) + (k <= n ? seeds[k - 1] : 0U);
                end += value;
                here = value;
            });
        for (int k = 0; k < size; ++k)
            mix([&](std::uint32_t& here, std::uint32_t& half, std::uint32_t& end, std::uint32_t) {
                const std::uint32_t sum = here + half + x[(i + size - 1) % size];
                std::uint32_t value = (sum ^ sum >> 27) * 1566083941U;
                half ^= value;
                value -= static_cast<std::uint32_t>(i);
                end ^= value;
                here = value;
            });
    }
    // The period is certain if the parity of some bits is odd.
    static void certify(std::uint32_t* x)
    {
        constexpr std::uint32_t parity[] = {1, 0, 0, 0x13C9E684U};
        std::uint32_t sum = 0;
        for (int i = 0; i < 4; ++i)
            sum ^= x[i] & parity[i];
        if (__builtin_parity(sum) == 0)
            x[0] ^= 1U;
    }
};

} // namespace qnm::vsl::QNM_NAMESPACE
