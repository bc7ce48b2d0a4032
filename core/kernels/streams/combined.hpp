// The combined multiple recursive generator of L'Ecuyer (1999).
#pragma once

#include "basic.hpp"

namespace qnm::vsl::QNM_NAMESPACE {

/// A recurrence of order three, x(n) = a x(n-2) + b x(n-3) or so, modulo a prime below 2^32.
struct Recurrence {
    std::uint64_t modulus;
    std::uint64_t coefficient[3]; // of x(n-3), x(n-2), x(n-1)

    struct Matrix {
        std::uint64_t row[3][3];
    };
    Matrix step() const { return {{{0, 1, 0}, {0, 0, 1}, {coefficient[0], coefficient[1], coefficient[2]}}}; }
    Matrix product(const Matrix& x, const Matrix& y) const
    {
        Matrix result;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                std::uint64_t sum = 0;
                for (int k = 0; k < 3; ++k)
                    sum = (sum + x.row[i][k] * y.row[k][j] % modulus) % modulus;
                result.row[i][j] = sum;
            }
        return result;
    }
    /// Goes on by a number of steps.
    void advance(std::uint32_t* x, Distance distance) const
    {
        Matrix power = step(), whole = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
        for (int word = 0; word < distance.n; ++word)
            for (int bit = 0; bit < 64; ++bit, power = product(power, power))
                if ((distance.word[word] >> bit & 1) != 0)
                    whole = product(whole, power);
        std::uint32_t result[3];
        for (int i = 0; i < 3; ++i) {
            std::uint64_t sum = 0;
            for (int k = 0; k < 3; ++k)
                sum = (sum + whole.row[i][k] * x[k] % modulus) % modulus;
            result[i] = static_cast<std::uint32_t>(sum);
        }
        for (int i = 0; i < 3; ++i)
            x[i] = result[i];
    }
};

struct Mrg32k3a {
    using Word = std::uint32_t;
    static constexpr std::uint32_t id = 0x300000, sets = 1;
    static constexpr int seeds = 6, word_size = 4, bits = 32;
    static constexpr bool zero = false, random = false, wide_skip = true;
    struct State {
        std::uint32_t x[3], y[3]; // the oldest first
    };
    static constexpr std::int64_t m1 = 4294967087, m2 = 4294944443;
    static constexpr std::int64_t a12 = 1403580, a13 = 810728, a21 = 527612, a23 = 1370589;
    static constexpr Recurrence first = {m1, {m1 - a13, a12, 0}}, second = {m2, {m2 - a23, 0, a21}};

    static int start(State& state, int, int n, Seeds seeds)
    {
        for (int i = 0; i < 3; ++i) {
            state.x[i] = i < n ? static_cast<std::uint32_t>(seeds[i] % m1) : 1;
            state.y[i] = 3 + i < n ? static_cast<std::uint32_t>(seeds[3 + i] % m2) : 1;
        }
        if ((state.x[0] | state.x[1] | state.x[2]) == 0)
            state.x[0] = 1;
        if ((state.y[0] | state.y[1] | state.y[2]) == 0)
            state.y[0] = 1;
        return ok;
    }
    static int fill(State& state, std::int64_t n, Word* r)
    {
        std::int64_t x0 = state.x[0], x1 = state.x[1], x2 = state.x[2];
        std::int64_t y0 = state.y[0], y1 = state.y[1], y2 = state.y[2];
        for (std::int64_t i = 0; i < n; ++i) {
            // Never below zero: a multiple of the modulus is added.
            const std::int64_t x = (a12 * x1 + a13 * (m1 - x0)) % m1;
            const std::int64_t y = (a21 * y2 + a23 * (m2 - y0)) % m2;
            x0 = x1, x1 = x2, x2 = x;
            y0 = y1, y1 = y2, y2 = y;
            r[i] = static_cast<Word>(x > y ? x - y : x - y + m1);
        }
        state = {{static_cast<Word>(x0), static_cast<Word>(x1), static_cast<Word>(x2)},
                 {static_cast<Word>(y0), static_cast<Word>(y1), static_cast<Word>(y2)}};
        return ok;
    }
    static int skip(State& state, Distance distance)
    {
        first.advance(state.x, distance);
        second.advance(state.y, distance);
        return ok;
    }
    static double real(Word z) { return z * (1.0 / (m1 + 1)); }
    static float single(Word z) { return single_of(real(z)); }
    static std::uint32_t top(Word z) { return z; }
};

} // namespace qnm::vsl::QNM_NAMESPACE
