// A twister of degree 19937 goes on by many steps at once (Haramoto, Matsumoto, Nishimura, Panneton, L'Ecuyer
// 2008): t^steps modulo the characteristic polynomial says which of the next words are to be added.
#include "parameters.hpp"
#include "status.hpp"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <memory>

namespace qnm::vsl {
namespace {

constexpr int degree = 19937, n = 624, middle = 397, low_bits = 31;
constexpr std::uint32_t multiplier = 0x9908B0DF;

constexpr std::size_t words = degree / 64 + 1;
using Polynomial = std::array<std::uint64_t, words>;
using Square = std::array<std::uint64_t, 2 * words + 1>;

template <class P>
void add_shifted(P& sum, std::uint64_t word, std::size_t by)
{
    const std::size_t bit = by % 64;
    sum[by / 64] ^= word << bit;
    if (bit != 0)
        sum[by / 64 + 1] ^= word >> (64 - bit);
}

/// Exponents of the characteristic polynomial but the highest.
struct Terms {
    std::array<std::uint16_t, 134> exponent;
    auto begin() const { return exponent.begin(); }
    auto end() const { return exponent.end(); }
};

/// With X = t^624 + t^397 and Y = X/t it is
/// X Y^31 and, for each bit i of the multiplier, X Y^(30-i); for the last one 1.
Terms characteristic()
{
    Square sum{}, power{};
    const auto times = [&](std::size_t high, std::size_t low) {
        Square product{};
        for (std::size_t i = 0; i <= words; ++i) {
            add_shifted(product, power[i], 64 * i + high);
            add_shifted(product, power[i], 64 * i + low);
        }
        power = product;
    };
    power[0] = 1;
    sum[0] ^= multiplier >> low_bits & 1U;
    times(n, middle);
    for (int i = low_bits - 1; i >= -1; --i) {
        if (i == -1 || (multiplier >> i & 1U) != 0)
            for (std::size_t k = 0; k < sum.size(); ++k)
                sum[k] ^= power[k];
        if (i >= 0)
            times(n - 1, middle - 1);
    }
    Terms result{};
    std::size_t count = 0;
    for (std::size_t i = 0; i < degree; ++i)
        if ((sum[i / 64] >> (i % 64) & 1) != 0)
            result.exponent[count++] = static_cast<std::uint16_t>(i);
    return result;
}

/// The highest exponents lie far apart, so a word of 64 powers goes at a time.
void reduce(Square& p, const Terms& terms)
{
    for (std::size_t i = p.size() - 1; i >= words; --i) {
        const std::uint64_t high = p[i];
        p[i] = 0;
        for (const std::size_t term : terms)
            add_shifted(p, high, 64 * i - degree + term);
    }
    constexpr std::size_t over = degree % 64;
    const std::uint64_t high = p[words - 1] >> over;
    p[words - 1] &= (std::uint64_t{1} << over) - 1;
    for (const std::size_t term : terms)
        add_shifted(p, high, term);
}

std::uint64_t spread(std::uint32_t x)
{
    std::uint64_t result = x;
    result = (result | result << 16) & 0x0000FFFF0000FFFFU;
    result = (result | result << 8) & 0x00FF00FF00FF00FFU;
    result = (result | result << 4) & 0x0F0F0F0F0F0F0F0FU;
    result = (result | result << 2) & 0x3333333333333333U;
    return (result | result << 1) & 0x5555555555555555U;
}

Polynomial power_of_t(std::uint64_t exponent)
{
    static const Terms terms = characteristic();
    Polynomial result{1};
    for (int bit = 63; bit >= 0; --bit) {
        Square square{};
        const bool odd = (exponent >> bit & 1) != 0;
        for (std::size_t i = 0; i < words; ++i) {
            add_shifted(square, spread(static_cast<std::uint32_t>(result[i])), 128 * i + (odd ? 1 : 0));
            add_shifted(square, spread(static_cast<std::uint32_t>(result[i] >> 32)),
                        128 * i + 64 + (odd ? 1 : 0));
        }
        reduce(square, terms);
        for (std::size_t i = 0; i < words; ++i)
            result[i] = square[i];
    }
    return result;
}

} // namespace

int jump_twister(std::uint32_t* word, std::uint64_t steps)
{
    // The low bits of the first word are not the state's, so the sum begins at the second.
    constexpr std::size_t needed = degree + n + 1;
    const std::unique_ptr<std::uint32_t, decltype(&std::free)> room(
        static_cast<std::uint32_t*>(std::malloc(needed * sizeof(std::uint32_t))), &std::free);
    if (room == nullptr)
        return out_of_memory;
    std::uint32_t* const x = room.get();
    for (std::size_t i = 0; i < n; ++i)
        x[i] = word[i];
    for (std::size_t i = n; i < needed; ++i) {
        constexpr std::uint32_t low = (1U << low_bits) - 1U;
        const std::uint32_t joined = (x[i - n] & ~low) | (x[i - n + 1] & low);
        x[i] = x[i - n + middle] ^ joined >> 1 ^ ((joined & 1U) != 0 ? multiplier : 0U);
    }
    const Polynomial taken = power_of_t(steps - 1);
    for (std::size_t i = 0; i < n; ++i)
        word[i] = 0;
    for (std::size_t i = 0; i < degree; ++i)
        if ((taken[i / 64] >> (i % 64) & 1) != 0)
            for (std::size_t k = 0; k < n; ++k)
                word[k] ^= x[i + 1 + k];
    return ok;
}

} // namespace qnm::vsl
