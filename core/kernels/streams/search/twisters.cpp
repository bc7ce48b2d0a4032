// Looks for Mersenne twisters of degree 2203 (69 words of 32 bits without 5, middle word 34), whose
// multiplier ends in the number of the set, and appends what it finds: twisters FILE [FIRST LAST].
//
// The characteristic polynomial is linear in the bits of the multiplier (Matsumoto, Nishimura 1998), so what
// a small irreducible polynomial divides is an affine space of multipliers, which is struck out whole. What
// is left is tested: 2203 is prime, so a polynomial without roots is irreducible if it divides t^(2^2203) -
// t; 2^2203 - 1 is prime, so it is primitive then.
//
// Needs the processor's carry-less product: g++ -std=c++20 -O2 -mpclmul.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <emmintrin.h>
#include <vector>
#include <wmmintrin.h>

namespace {

using Word = std::uint64_t;
constexpr int degree = 2203, words = 35, bits = 32 * 69;
using Polynomial = std::array<Word, words>;

Polynomial shifted(const Polynomial& p, int by)
{
    Polynomial result{};
    const int whole = by / 64, rest = by % 64;
    for (int i = words - 1; i >= whole; --i) {
        result[i] = p[i - whole] << rest;
        if (rest != 0 && i > whole)
            result[i] |= p[i - whole - 1] >> (64 - rest);
    }
    return result;
}
Polynomial operator^(Polynomial p, const Polynomial& q)
{
    for (int i = 0; i < words; ++i)
        p[i] ^= q[i];
    return p;
}
Polynomial power_of_t(int n)
{
    Polynomial p{};
    p[n / 64] = Word{1} << (n % 64);
    return p;
}

// The polynomial of a multiplier is the constant part and the part of each bit that is set. With
// X = t^69 + t^34 and Y = X/t the parts are X^27 Y^4 ... X^27, X^26 ... 1; the constant part is X^27 Y^5.
struct Parts {
    Polynomial constant = power_of_t(degree) ^ power_of_t(1088 - 5);
    std::array<Polynomial, 32> of{};

    Parts()
    {
        of[31] = power_of_t(0);
        for (int i = 30; i >= 0; --i) {
            const int less = i < 4 ? 1 : 0; // below X^27 each factor is Y
            of[i] = shifted(of[i + 1], 69 - less) ^ shifted(of[i + 1], 34 - less);
        }
    }
    Polynomial with(std::uint32_t multiplier) const
    {
        Polynomial p = constant;
        for (int i = 0; i < 32; ++i)
            if ((multiplier >> i & 1U) != 0)
                p = p ^ of[i];
        return p;
    }
};

// Small polynomials are numbers, bit by bit.
std::uint32_t product(std::uint32_t x, std::uint32_t y, std::uint32_t modulus, int modulus_degree)
{
    std::uint32_t result = 0;
    for (; y != 0; y >>= 1) {
        if ((y & 1U) != 0)
            result ^= x;
        x <<= 1;
        if ((x >> modulus_degree & 1U) != 0)
            x ^= modulus;
    }
    return result;
}
std::uint32_t power(std::uint32_t x, int n, std::uint32_t modulus, int modulus_degree)
{
    std::uint32_t result = 1;
    for (; n != 0; n >>= 1, x = product(x, x, modulus, modulus_degree))
        if ((n & 1) != 0)
            result = product(result, x, modulus, modulus_degree);
    return result;
}

// Bits 16 to 30 of the multiplier are free, bit 31 is set: it is the polynomial's value at 0 and at 1.
constexpr int free_bits = 15;

/// The multipliers whose polynomials one divisor divides.
struct Divisor {
    std::uint32_t fixed;                  // residue of the constant part and of bit 31
    std::array<std::uint32_t, 16> of_set; // residues of the low bits
    std::array<std::uint32_t, free_bits> basis{};
    std::array<std::uint16_t, free_bits> from{}; // which free bits a member of the basis comes from
    std::vector<std::uint16_t> kernel;
    int rank = 0;

    Divisor(std::uint32_t modulus, int d)
    {
        const std::uint32_t t = 2;
        const auto x = [&](int n) {
            const std::uint32_t X = power(t, 69, modulus, d) ^ power(t, 34, modulus, d);
            return power(X, n, modulus, d);
        };
        const std::uint32_t y = power(t, 68, modulus, d) ^ power(t, 33, modulus, d);
        fixed = power(t, degree, modulus, d) ^ power(t, 1083, modulus, d) ^ 1U;
        for (int i = 0; i < 16; ++i)
            of_set[i] = i < 4 ? product(x(27), power(y, 4 - i, modulus, d), modulus, d) : x(31 - i);
        for (int i = 0; i < free_bits; ++i) {
            std::uint32_t value = x(15 - i);
            auto mask = static_cast<std::uint16_t>(1U << i);
            reduce(&value, &mask);
            if (value == 0)
                kernel.push_back(mask);
            else {
                basis[rank] = value;
                from[rank++] = mask;
            }
        }
    }
    void reduce(std::uint32_t* value, std::uint16_t* mask) const
    {
        for (int i = 0; i < rank; ++i)
            if ((*value & (std::uint32_t{1} << (31 - __builtin_clz(basis[i])))) != 0) {
                *value ^= basis[i];
                *mask ^= from[i];
            }
    }
    void strike(std::uint32_t set, std::vector<bool>& struck) const
    {
        std::uint32_t value = fixed;
        for (int i = 0; i < 16; ++i)
            value ^= (set >> i & 1U) != 0 ? of_set[i] : 0;
        std::uint16_t mask = 0;
        reduce(&value, &mask);
        if (value != 0)
            return;
        for (std::uint32_t combination = 0; combination < 1U << kernel.size(); ++combination) {
            std::uint16_t member = mask;
            for (std::size_t i = 0; i < kernel.size(); ++i)
                member ^= (combination >> i & 1U) != 0 ? kernel[i] : 0;
            struck[member] = true;
        }
    }
};

std::vector<Divisor> divisors(int most)
{
    std::vector<bool> reducible(std::size_t{2} << most);
    std::vector<Divisor> result;
    for (int d = 1; d <= most; ++d)
        for (std::uint32_t p = 1U << d; p < 2U << d; ++p) {
            if (reducible[p])
                continue;
            if (d > 1)
                result.emplace_back(p, d);
            for (std::uint32_t q = 2; d + 31 - __builtin_clz(q) <= most; ++q) {
                std::uint32_t multiple = 0;
                for (int i = 0; i <= d; ++i)
                    multiple ^= (p >> i & 1U) != 0 ? q << i : 0;
                reducible[multiple] = true;
            }
        }
    return result;
}

/// Whether t^(2^2203) is t modulo p. Residues are kept modulo p t^37, whose highest power ends a word.
bool divides(const Polynomial& p)
{
    Polynomial low = p;
    low[degree / 64] ^= Word{1} << (degree % 64);
    low = shifted(low, 64 * words - degree);
    std::array<Word, 2 * words> r{};
    r[0] = 2;
    for (int step = 0; step < degree; ++step) {
        for (int i = words - 1; i >= 0; --i) {
            const __m128i x = _mm_cvtsi64_si128(static_cast<long long>(r[i]));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(&r[2 * i]), _mm_clmulepi64_si128(x, x, 0));
        }
        for (int j = words - 1; j >= 0; --j) {
            const __m128i high = _mm_cvtsi64_si128(static_cast<long long>(r[words + j]));
            Word carry = 0;
            for (int i = 0; i < words; ++i) {
                const __m128i x =
                    _mm_clmulepi64_si128(high, _mm_cvtsi64_si128(static_cast<long long>(low[i])), 0);
                r[i + j] ^= static_cast<Word>(_mm_cvtsi128_si64(x)) ^ carry;
                carry = static_cast<Word>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(x, x)));
            }
            r[words + j] = 0;
        }
    }
    for (int i = 64 * words - 1; i >= degree; --i)
        if ((r[i / 64] >> (i % 64) & 1U) != 0) {
            Polynomial rest{};
            for (int k = 0; k < words; ++k)
                rest[k] = r[k];
            rest = rest ^ shifted(p, i - degree);
            for (int k = 0; k < words; ++k)
                r[k] = rest[k];
        }
    for (int i = 1; i < words; ++i)
        if (r[i] != 0)
            return false;
    return r[0] == 2;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2 && count != 4) {
        std::fprintf(stderr, "usage: twisters FILE [FIRST LAST]\n");
        return 1;
    }
    const int first = count == 4 ? std::atoi(arguments[2]) : 0;
    const int last = count == 4 ? std::atoi(arguments[3]) : 6023;
    constexpr int sieved = 20;
    const std::vector<Divisor> sieve = divisors(sieved);
    const Parts parts;
    for (int set = first; set <= last; ++set) {
        std::vector<bool> struck(1U << free_bits);
        for (const Divisor& divisor : sieve)
            divisor.strike(static_cast<std::uint32_t>(set), struck);
        // In an order that leaves the free bits of neighbours unlike.
        std::uint32_t member = static_cast<std::uint32_t>(set) * 0x9E3779B9U >> 17;
        for (std::uint32_t tried = 0; tried < 1U << free_bits; ++tried) {
            member = (member * 1103515245U + 12345U) & ((1U << free_bits) - 1);
            const std::uint32_t multiplier = 0x80000000U | member << 16 | static_cast<std::uint32_t>(set);
            if (struck[member] || !divides(parts.with(multiplier)))
                continue;
            std::FILE* const file = std::fopen(arguments[1], "a");
            if (file == nullptr || std::fprintf(file, "QNM_TWISTER(0x%08X)\n", multiplier) < 0 ||
                std::fclose(file) != 0) {
                std::perror(arguments[1]);
                return 1;
            }
            break;
        }
    }
    return 0;
}
