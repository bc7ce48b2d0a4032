// Multiplicative congruential generators. A block of lanes is the next word times powers of the factor.
#pragma once

#include "basic.hpp"
#include "parameters.hpp"

namespace qnm::vsl::QNM_NAMESPACE {

/// x = factor x in F: a state of F::parts sequences side by side, which leap and skip by powers.
template <class F>
struct Multiplicative {
    using Residue = typename F::Residue;
    static constexpr int lanes = 16;
    struct State {
        std::int32_t set;
        Residue next[F::parts];              // not yet given out
        Residue powers[F::parts][lanes + 1]; // of the factor
    };
    static constexpr bool wide_skip = false;

    /// From number zero of each part; the first output is the factor times that.
    static void begin(State& state, int set, const Residue* zero)
    {
        state.set = set;
        for (int part = 0; part < F::parts; ++part) {
            const auto field = F::field(set, part);
            set_factor(state, part, field.factor);
            state.next[part] = field.product(zero[part], field.factor);
        }
    }
    static int leapfrog(State& state, int k, int streams)
    {
        for (int part = 0; part < F::parts; ++part) {
            const auto field = F::field(state.set, part);
            const Residue factor = state.powers[part][1];
            state.next[part] =
                field.product(state.next[part], power(field, factor, static_cast<std::uint64_t>(k)));
            set_factor(state, part, power(field, factor, static_cast<std::uint64_t>(streams)));
        }
        return ok;
    }
    static int skip(State& state, Distance distance)
    {
        for (int part = 0; part < F::parts; ++part) {
            const auto field = F::field(state.set, part);
            state.next[part] =
                field.product(state.next[part], power(field, state.powers[part][1], distance.word[0]));
        }
        return ok;
    }
    static int fill(State& state, std::int64_t n, typename F::Word* r)
    {
        for (; n >= lanes; n -= lanes, r += lanes) {
            line<lanes>(state, 0, r);
            advance(state, lanes);
        }
        if (n > 0) {
            for (int i = 0; i < static_cast<int>(n); ++i)
                line<1>(state, i, r + i);
            advance(state, static_cast<int>(n));
        }
        return ok;
    }

private:
    /// Words from place `from` on.
    template <int count>
    [[gnu::always_inline]] static void line(const State& state, int from, typename F::Word* r)
    {
        Residue x[F::parts][count];
        for (int part = 0; part < F::parts; ++part) {
            const auto field = F::field(state.set, part);
            const Residue next = state.next[part];
            for (int i = 0; i < count; ++i)
                x[part][i] = field.product(next, state.powers[part][from + i]);
        }
        for (int i = 0; i < count; ++i)
            r[i] = F::joined(state.set, x, i);
    }
    [[gnu::always_inline]] static void advance(State& state, int n)
    {
        for (int part = 0; part < F::parts; ++part)
            state.next[part] = F::field(state.set, part).product(state.next[part], state.powers[part][n]);
    }
    static void set_factor(State& state, int part, Residue factor)
    {
        const auto field = F::field(state.set, part);
        state.powers[part][0] = 1;
        for (int i = 0; i < lanes; ++i)
            state.powers[part][i + 1] = field.product(state.powers[part][i], factor);
    }
    static Residue power(auto field, Residue x, std::uint64_t n)
    {
        Residue result = 1;
        for (; n != 0; n >>= 1, x = field.product(x, x))
            if ((n & 1) != 0)
                result = field.product(result, x);
        return result;
    }
};

/// Modulo 2^31 - 1 (L'Ecuyer 1999).
struct Modulo31 {
    using Residue = std::uint64_t;
    using Word = std::uint32_t;
    static constexpr int parts = 1;
    static constexpr Residue modulus = 0x7FFFFFFF;
    Residue factor = 1132489760;

    static Modulo31 field(int, int) { return {}; }
    static Residue product(Residue x, Residue y)
    {
        const Residue whole = x * y;
        const Residue folded = (whole & modulus) + (whole >> 31);
        return folded >= modulus ? folded - modulus : folded;
    }
    template <int count>
    static Word joined(int, const Residue (*x)[count], int i)
    {
        return static_cast<Word>(x[0][i]);
    }
};
struct Mcg31 : Multiplicative<Modulo31> {
    using Word = std::uint32_t;
    static constexpr std::uint32_t id = 0x100000, sets = 1;
    static constexpr int seeds = 1, word_size = 4, bits = 31;
    static constexpr bool zero = false, random = false;

    static int start(State& state, int set, int n, Seeds seeds)
    {
        const std::uint64_t given = n > 0 ? seeds[0] % Modulo31::modulus : 1;
        const std::uint64_t first[] = {given != 0 ? given : 1};
        begin(state, set, first);
        return ok;
    }
    static double real(Word x) { return static_cast<std::int32_t>(x) / 2147483647.0; }
    static float single(Word x) { return single_of(real(x)); }
    static std::uint32_t top(Word x) { return x; }
};

/// Modulo 2^59, of odd numbers.
struct Modulo59 {
    using Residue = std::uint64_t;
    using Word = std::uint64_t;
    static constexpr int parts = 1;
    static constexpr Residue mask = (Residue{1} << 59) - 1;
    Residue factor = 302875106592253; // 13^13

    static Modulo59 field(int, int) { return {}; }
    static Residue product(Residue x, Residue y) { return x * y & mask; }
    template <int count>
    static Word joined(int, const Residue (*x)[count], int i)
    {
        return x[0][i];
    }
};
struct Mcg59 : Multiplicative<Modulo59> {
    using Word = std::uint64_t;
    static constexpr std::uint32_t id = 0x400000, sets = 1;
    static constexpr int seeds = 2, word_size = 8, bits = 59;
    static constexpr bool zero = false, random = false;

    static int start(State& state, int set, int n, Seeds seeds)
    {
        std::uint64_t given = n > 0 ? seeds[0] : 1;
        if (n > 1)
            given |= static_cast<std::uint64_t>(seeds[1]) << 32;
        const std::uint64_t first[] = {(given & Modulo59::mask) | 1};
        begin(state, set, first);
        return ok;
    }
    static double real(Word x) { return static_cast<double>(static_cast<std::int64_t>(x >> 6)) * 0x1p-53; }
    static float single(Word x) { return static_cast<float>(static_cast<std::int32_t>(x >> 35)) * 0x1p-24F; }
    static std::uint32_t top(Word x) { return static_cast<std::uint32_t>(x >> 27); }
};

/// Four generators whose fractions are added (Wichmann, Hill 1982; Maclaren 1989). All products are below
/// 2^48, so doubles hold them.
struct WichmannHillField {
    using Residue = double;
    using Word = double;
    static constexpr int parts = 4;
    Residue modulus, inverse, factor;

    static WichmannHillField field(int set, int part)
    {
        const WichmannHillPart& of = wichmann_hill[set][part];
        const double modulus = of.modulus;
        return {modulus, 1 / modulus, static_cast<double>(of.factor)};
    }
    Residue product(Residue x, Residue y) const
    {
        const double whole = x * y;
        double rest = whole - static_cast<double>(static_cast<std::int32_t>(whole * inverse)) * modulus;
        rest = rest < 0 ? rest + modulus : rest;
        return rest >= modulus ? rest - modulus : rest;
    }
    template <int count>
    static Word joined(int set, const Residue (*x)[count], int i)
    {
        double sum = 0;
        for (int part = 0; part < parts; ++part)
            sum += x[part][i] / wichmann_hill[set][part].modulus;
        return sum - static_cast<double>(static_cast<std::int32_t>(sum));
    }
};
struct WichmannHill : Multiplicative<WichmannHillField> {
    using Word = double;
    static constexpr std::uint32_t id = 0x500000, sets = wichmann_hill_sets;
    static constexpr int seeds = 4, word_size = 4, bits = 24;
    static constexpr bool zero = true, random = false;

    static int start(State& state, int set, int n, Seeds seeds)
    {
        double first[4];
        for (int part = 0; part < 4; ++part) {
            const std::uint32_t given = part < n ? seeds[part] % wichmann_hill[set][part].modulus : 1;
            first[part] = given != 0 ? given : 1;
        }
        begin(state, set, first);
        return ok;
    }
    static double real(Word u) { return u; }
    static float single(Word u) { return single_of(u); }
    static std::uint32_t top(Word u) { return static_cast<std::uint32_t>(u * 0x1p32); }
};

} // namespace qnm::vsl::QNM_NAMESPACE
