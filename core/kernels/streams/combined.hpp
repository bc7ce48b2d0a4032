// The combined multiple recursive generator of L'Ecuyer (1999).
#pragma once

#include "basic.hpp"

namespace qnm::vsl::QNM_NAMESPACE {

/// A recurrence of order three modulo 2^32 - less.
struct Recurrence {
    std::uint64_t less;
    std::uint64_t coefficient[3]; // of the oldest number first

    struct Matrix {
        std::uint64_t row[3][3];
    };
    constexpr std::uint64_t modulus() const { return (std::uint64_t{1} << 32) - less; }
    constexpr Matrix step() const
    {
        return {{{0, 1, 0}, {0, 0, 1}, {coefficient[0], coefficient[1], coefficient[2]}}};
    }
    constexpr Matrix product(const Matrix& x, const Matrix& y) const
    {
        Matrix result{};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                for (int k = 0; k < 3; ++k)
                    result.row[i][j] = (result.row[i][j] + x.row[i][k] * y.row[k][j] % modulus()) % modulus();
        return result;
    }
    constexpr Matrix steps(Distance distance) const
    {
        Matrix power = step(), whole = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
        for (int word = 0; word < distance.n; ++word)
            for (int bit = 0; bit < 64; ++bit, power = product(power, power))
                if ((distance.word[word] >> bit & 1) != 0)
                    whole = product(whole, power);
        return whole;
    }
    constexpr Matrix steps(std::uint64_t distance) const { return steps(Distance{1, &distance}); }

    void apply(const Matrix& matrix, const std::uint64_t* x, std::uint64_t* result) const
    {
        for (int i = 0; i < 3; ++i) {
            std::uint64_t sum = 0;
            for (int k = 0; k < 3; ++k)
                sum = (sum + matrix.row[i][k] * x[k] % modulus()) % modulus();
            result[i] = sum;
        }
    }

    /// The upper half comes down `less` times, until less than two moduli are left: twice where it is
    /// below 2^23, and once where `less` is small too.
    [[gnu::always_inline]] Eight residue(Eight x, int times = 3) const
    {
        for (int i = 0; i < times; ++i)
            x = (x & UINT32_MAX) + low_product(x >> 32, Eight{} + less);
        return x - ((Eight)(x >= modulus()) & modulus());
    }
    template <int parts>
    [[gnu::always_inline]] void apply(const Matrix& matrix, Eight (*x)[parts], int part) const
    {
        Eight result[3];
        for (int i = 0; i < 3; ++i) {
            Eight sum = {};
            for (int k = 0; k < 3; ++k)
                sum += residue(low_product(x[k][part], Eight{} + matrix.row[i][k]));
            result[i] = residue(sum, 1);
        }
        for (int i = 0; i < 3; ++i)
            x[i][part] = result[i];
    }
};

/// Lanes make stretches of a batch, so many that one step's products need not wait for each other.
struct Mrg32k3a : InBatches<Mrg32k3a, 512> {
    using Word = std::uint32_t;
    static constexpr std::uint32_t id = 0x300000, sets = 1;
    static constexpr int seeds = 6, word_size = 4, bits = 32;
    static constexpr bool zero = false, random = false, wide_skip = true;
    static constexpr int batch = 512, lanes = 16, stretch = batch / lanes;
    struct State {
        std::uint32_t word[batch];
        std::int32_t at;
        std::uint64_t origin_x[3], origin_y[3]; // of the batch; the oldest first
        std::uint64_t x[3][lanes], y[3][lanes]; // where the stretches of the next batch begin
    };
    static constexpr std::uint64_t a12 = 1403580, a13 = 810728, a21 = 527612, a23 = 1370589;
    static constexpr std::uint64_t m1 = 4294967087, m2 = 4294944443;
    static constexpr Recurrence first = {209, {m1 - a13, a12, 0}}, second = {22853, {m2 - a23, 0, a21}};

    static int start(State& state, int, int n, Seeds seeds)
    {
        for (int i = 0; i < 3; ++i) {
            state.origin_x[i] = i < n ? seeds[i] % m1 : 1;
            state.origin_y[i] = 3 + i < n ? seeds[3 + i] % m2 : 1;
        }
        std::uint64_t* const origins[] = {state.origin_x, state.origin_y};
        for (std::uint64_t* const origin : origins)
            if ((origin[0] | origin[1] | origin[2]) == 0)
                origin[0] = 1;
        return begin(state);
    }
    static int next(State& state)
    {
        constexpr int parts = lanes / 8;
        typedef std::uint32_t EightWords __attribute__((vector_size(32)));
        Eight x[3][parts], y[3][parts];
        for (int i = 0; i < 3; ++i) {
            state.origin_x[i] = state.x[i][0];
            state.origin_y[i] = state.y[i][0];
        }
        __builtin_memcpy(x, state.x, sizeof x);
        __builtin_memcpy(y, state.y, sizeof y);
        std::uint32_t made[stretch][lanes];
        for (auto& row : made)
            for (int part = 0; part < parts; ++part) {
                Eight &x0 = x[0][part], &x1 = x[1][part], &x2 = x[2][part];
                Eight &y0 = y[0][part], &y1 = y[1][part], &y2 = y[2][part];
                // Never below zero: a multiple of the modulus is added.
                const Eight sum_x = low_product(x1, Eight{} + a12) + low_product(m1 - x0, Eight{} + a13);
                const Eight sum_y = low_product(y2, Eight{} + a21) + low_product(m2 - y0, Eight{} + a23);
                x0 = x1, x1 = x2, x2 = first.residue(sum_x, 1);
                y0 = y1, y1 = y2, y2 = second.residue(sum_y, 2);
                const Eight z = x2 - y2 + ((Eight)(x2 <= y2) & m1);
                const EightWords words = __builtin_convertvector(z, EightWords);
                __builtin_memcpy(row + 8 * part, &words, sizeof words);
            }
        for (int lane = 0; lane < lanes; ++lane)
            for (int i = 0; i < stretch; ++i)
                state.word[lane * stretch + i] = made[i][lane];
        constexpr Recurrence::Matrix ahead_x = first.steps(batch - stretch),
                                     ahead_y = second.steps(batch - stretch);
        for (int part = 0; part < parts; ++part) {
            first.apply(ahead_x, x, part);
            second.apply(ahead_y, y, part);
        }
        __builtin_memcpy(state.x, x, sizeof x);
        __builtin_memcpy(state.y, y, sizeof y);
        return ok;
    }

    static int skip(State& state, Distance distance)
    {
        const auto move = [&](const Recurrence& recurrence, std::uint64_t* origin) {
            std::uint64_t here[3];
            recurrence.apply(recurrence.steps(static_cast<std::uint64_t>(state.at)), origin, here);
            recurrence.apply(recurrence.steps(distance), here, origin);
        };
        move(first, state.origin_x);
        move(second, state.origin_y);
        return begin(state);
    }
    static double real(Word z) { return z * (1.0 / static_cast<double>(m1 + 1)); }
    static float single(Word z) { return single_of(real(z)); }
    static std::uint32_t top(Word z) { return z; }

private:
    /// The batch of an origin.
    static int begin(State& state)
    {
        const auto spread = [](const Recurrence& recurrence, const std::uint64_t* origin,
                               std::uint64_t(*x)[lanes]) {
            std::uint64_t here[3] = {origin[0], origin[1], origin[2]};
            const Recurrence::Matrix ahead = recurrence.steps(stretch);
            for (int lane = 0; lane < lanes; ++lane) {
                for (int i = 0; i < 3; ++i)
                    x[i][lane] = here[i];
                std::uint64_t next[3];
                recurrence.apply(ahead, here, next);
                __builtin_memcpy(here, next, sizeof here);
            }
        };
        spread(first, state.origin_x, state.x);
        spread(second, state.origin_y, state.y);
        state.at = 0;
        return next(state);
    }
};

} // namespace qnm::vsl::QNM_NAMESPACE
