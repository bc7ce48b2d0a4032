// Digital sequences of base 2 in the order of the Gray code (Antonov, Saleev 1979). The zero point is left
// out.
#pragma once

#include "basic.hpp"
#include "parameters.hpp"

namespace qnm::vsl::QNM_NAMESPACE {

template <class K, int most>
struct Digital : Whole {
    static constexpr int seeds = 1;
    static constexpr bool random = false, wide_skip = false;
    static constexpr int by_coordinate = 0x7FFFFFFF; // streams of a leapfrog
    struct State {
        std::int32_t dimensions, first; // coordinates that are given out
        std::int32_t at;                // of the present point
        std::uint32_t point;            // its number
        std::uint32_t x[most];
    };

    static int start(State& state, int, int n, Seeds seeds)
    {
        const std::uint32_t dimensions = n > 0 ? seeds[0] : 1;
        if (dimensions < 1 || dimensions > static_cast<std::uint32_t>(most))
            return bad_argument;
        state.dimensions = static_cast<std::int32_t>(dimensions);
        state.first = 0;
        move(state, 0);
        state.at = state.dimensions;
        return ok;
    }
    static int fill(State& state, std::int64_t n, Word* r)
    {
        while (n > 0) {
            if (state.at == state.dimensions) {
                const std::int64_t points = n / state.dimensions, left = UINT32_MAX - state.point;
                if (left == 0)
                    return period_over;
                const std::int64_t whole = least(points, left);
                if (whole > 0) {
                    whole_points(state, whole, r);
                    r += whole * state.dimensions;
                    n -= whole * state.dimensions;
                    continue;
                }
                const std::uint32_t* const direction = next(state, K::directions());
                for (int i = 0; i < state.dimensions; ++i)
                    state.x[i] ^= direction[i];
                state.at = 0;
            }
            const std::int64_t count = least<std::int64_t>(n, state.dimensions - state.at);
            __builtin_memcpy(r, state.x + state.at, static_cast<std::size_t>(count) * sizeof *r);
            r += count;
            n -= count;
            state.at += static_cast<std::int32_t>(count);
        }
        return ok;
    }
    /// One coordinate alone, of the points that come.
    static int leapfrog(State& state, int k, int streams)
    {
        if (streams != by_coordinate)
            return no_leapfrog;
        if (k >= state.dimensions)
            return bad_argument;
        state.first += k;
        state.dimensions = 1;
        move(state, state.point);
        state.at = 1;
        return ok;
    }
    static int skip(State& state, Distance distance)
    {
        const auto dimensions = static_cast<std::uint64_t>(state.dimensions);
        const auto given = static_cast<std::uint64_t>(state.at);
        // Coordinates from the first point on.
        const Wide all = Wide{state.point} * dimensions + distance.word[0] + given - dimensions;
        const Wide points = all / dimensions, rest = all % dimensions;
        if (points + (rest != 0 ? 1 : 0) > UINT32_MAX)
            return period_over;
        move(state, static_cast<std::uint32_t>(points) + (rest != 0 ? 1 : 0));
        state.at = rest != 0 ? static_cast<std::int32_t>(rest) : state.dimensions;
        return ok;
    }

private:
    /// What the next point differs by.
    static const std::uint32_t* next(State& state, auto directions)
    {
        return directions[__builtin_ctz(~state.point++)] + state.first;
    }
    static void whole_points(State& state, std::int64_t count, Word* r)
    {
        switch (state.dimensions) {
        case 1:
            return whole_points_of<1>(state, count, r);
        case 2:
            return whole_points_of<2>(state, count, r);
        case 3:
            return whole_points_of<3>(state, count, r);
        case 4:
            return whole_points_of<4>(state, count, r);
        case 5:
            return whole_points_of<5>(state, count, r);
        case 6:
            return whole_points_of<6>(state, count, r);
        default:
            return whole_points_of<0>(state, count, r);
        }
    }
    /// Loops over few coordinates are too short to begin with.
    template <int few>
    static void whole_points_of(State& state, std::int64_t count, Word* r)
    {
        const auto directions = K::directions();
        const int dimensions = few != 0 ? few : state.dimensions;
        std::uint32_t x[few != 0 ? few : most];
        __builtin_memcpy(x, state.x, static_cast<std::size_t>(dimensions) * sizeof *x);
        for (; count != 0; --count, r += dimensions) {
            const std::uint32_t* const direction = next(state, directions);
            for (int i = 0; i < dimensions; ++i)
                r[i] = x[i] ^= direction[i];
        }
        __builtin_memcpy(state.x, x, static_cast<std::size_t>(dimensions) * sizeof *x);
    }
    static void move(State& state, std::uint32_t point)
    {
        state.point = point;
        for (int i = 0; i < state.dimensions; ++i)
            state.x[i] = 0;
        for (std::uint32_t gray = point ^ point >> 1; gray != 0; gray &= gray - 1) {
            const std::uint32_t* const direction = K::directions()[__builtin_ctz(gray)] + state.first;
            for (int i = 0; i < state.dimensions; ++i)
                state.x[i] ^= direction[i];
        }
    }
};

struct Sobol : Digital<Sobol, sobol_dimensions> {
    static constexpr std::uint32_t id = 0x600000, sets = 1;
    static auto directions() { return sobol_directions(); }
};
struct Niederreiter : Digital<Niederreiter, niederreiter_dimensions> {
    static constexpr std::uint32_t id = 0x700000, sets = 1;
    static auto directions() { return niederreiter_directions(); }
};

} // namespace qnm::vsl::QNM_NAMESPACE
