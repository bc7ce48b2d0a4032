// Tables of parameters; direction numbers are computed when they are first wanted.
#include "parameters.hpp"

#include <array>

namespace qnm::vsl {

constinit const WichmannHillPart wichmann_hill[wichmann_hill_sets][4] = {
#define QNM_PART(modulus, factor)                                                                            \
    {                                                                                                        \
        modulus, factor                                                                                      \
    }
#define QNM_SET_OF_PARTS(a, b, c, d) {a, b, c, d},
#include "search/wichmann_hill.inc"
#undef QNM_SET_OF_PARTS
#undef QNM_PART
};

// A multiplier ends in the number of its set.
constinit const TwisterParameters twisters[twister_sets] = {
#define QNM_TWISTER(multiplier, b, c) {multiplier, b, c},
#include "search/twisters.inc"
#undef QNM_TWISTER
};

namespace {

template <int dimensions>
using Directions = std::array<std::uint32_t[dimensions], digits>;

int degree_of(std::uint32_t polynomial)
{
    return 31 - __builtin_clz(polynomial);
}

// Bratley, Fox 1988: primitive polynomials, and the first odd numbers of each dimension.
constexpr std::uint32_t primitive[sobol_dimensions - 1] = {
    3,   7,   11,  13,  19,  25,  37,  59,  47,  61,  55,  41,  67,  97,  91,  109, 103, 115, 131, 193,
    137, 145, 143, 241, 157, 185, 167, 229, 171, 213, 191, 253, 203, 211, 239, 247, 285, 369, 299};
struct Initial {
    int dimension; // from here on
    std::array<std::uint8_t, 38> number;
};
constexpr Initial initial[] = {
    {3, {1, 3, 1, 3, 1, 3, 3, 1, 3, 1, 3, 1, 3, 1, 1, 3, 1, 3, 1,
         3, 1, 3, 3, 1, 3, 1, 3, 1, 3, 1, 1, 3, 1, 3, 1, 3, 1, 3}},
    {4, {7, 5, 1, 3, 3, 7, 5, 5, 7, 7, 1, 3, 3, 7, 5, 1, 1, 5, 3,
         3, 1, 7, 5, 1, 3, 3, 7, 5, 1, 1, 5, 7, 7, 5, 1, 3, 3}},
    {6, {1, 7, 9,  13, 11, 1,  3, 7, 9,  5, 13, 13, 11, 3, 15, 5, 3, 15,
         7, 9, 13, 9,  1,  11, 7, 5, 15, 1, 15, 11, 5,  3, 1,  7, 9}},
    {8, {9,  3,  27, 15, 29, 21, 23, 19, 11, 25, 7,  13, 17, 1, 25, 29, 3,
         31, 11, 5,  23, 27, 19, 21, 5,  1,  17, 13, 7,  15, 9, 31, 9}},
    {14, {37, 33, 7,  5, 11, 39, 63, 27, 17, 15, 23, 29, 3, 21,
          13, 31, 25, 9, 49, 33, 19, 29, 11, 19, 27, 15, 25}},
    {20, {13, 33, 115, 41, 79, 17, 29, 119, 75, 73, 105, 7, 59, 65, 21, 3, 113, 61, 89, 45, 107}},
    {38, {7, 23, 39}},
};

Directions<sobol_dimensions> sobol()
{
    Directions<sobol_dimensions> result{};
    for (int bit = 0; bit < digits; ++bit)
        result[static_cast<std::size_t>(bit)][0] = 1U << (31 - bit);
    for (int dimension = 2; dimension <= sobol_dimensions; ++dimension) {
        const std::uint32_t polynomial = primitive[dimension - 2];
        const int degree = degree_of(polynomial);
        std::uint32_t m[digits] = {1};
        for (int i = 1; i < digits; ++i) {
            if (i < degree) {
                const Initial& row = initial[i - 1];
                m[i] = row.number[static_cast<std::size_t>(dimension - row.dimension)];
                continue;
            }
            m[i] = m[i - degree] ^ m[i - degree] << degree;
            for (int k = 1; k < degree; ++k)
                if ((polynomial >> (degree - k) & 1U) != 0)
                    m[i] ^= m[i - k] << k;
        }
        for (int i = 0; i < digits; ++i)
            result[static_cast<std::size_t>(i)][dimension - 1] = m[i] << (31 - i);
    }
    return result;
}

// Bratley, Fox, Niederreiter 1992: an irreducible polynomial for each dimension, in their order as numbers.
// The direction numbers come out of the expansion of x^r / p^q, by a linear recurrence whose polynomial is
// p^q.
using Wide = std::uint64_t;

Wide product(Wide x, Wide y)
{
    Wide result = 0;
    for (; y != 0; y >>= 1, x <<= 1)
        if ((y & 1) != 0)
            result ^= x;
    return result;
}

bool irreducible(std::uint32_t p)
{
    for (std::uint32_t q = 2; 2 * degree_of(q) <= degree_of(p); ++q) {
        std::uint32_t rest = p;
        while (rest != 0 && degree_of(rest) >= degree_of(q))
            rest ^= q << (degree_of(rest) - degree_of(q));
        if (rest == 0)
            return false;
    }
    return true;
}

Directions<niederreiter_dimensions> niederreiter()
{
    Directions<niederreiter_dimensions> result{};
    std::uint32_t p = 1;
    for (int dimension = 0; dimension < niederreiter_dimensions; ++dimension) {
        do
            ++p;
        while (!irreducible(p));
        const int degree = degree_of(p);
        Wide power = 1;           // p^q
        int length = 0;           // its degree
        std::array<bool, 64> v{}; // the recurrence
        for (int row = 0; row < digits; ++row) {
            const int u = row % degree;
            if (u == 0) {
                const int before = length;
                power = product(power, p);
                length += degree;
                // The values that are free are ones.
                for (int i = 0; i < length; ++i)
                    v[static_cast<std::size_t>(i)] = i >= before;
                for (int i = length; i < digits + degree; ++i) {
                    bool bit = false;
                    for (int k = 0; k < length; ++k)
                        bit ^= (power >> k & 1) != 0 &&
                               v[static_cast<std::size_t>(i - length) + static_cast<std::size_t>(k)];
                    v[static_cast<std::size_t>(i)] = bit;
                }
            }
            for (int column = 0; column < digits; ++column)
                if (v[static_cast<std::size_t>(column) + static_cast<std::size_t>(u)])
                    result[static_cast<std::size_t>(column)][dimension] |= 1U << (31 - row);
        }
    }
    return result;
}

} // namespace

const std::uint32_t (*sobol_directions())[sobol_dimensions]
{
    static const Directions<sobol_dimensions> known = sobol();
    return known.data();
}

const std::uint32_t (*niederreiter_directions())[niederreiter_dimensions]
{
    static const Directions<niederreiter_dimensions> known = niederreiter();
    return known.data();
}

} // namespace qnm::vsl
