// Element formats of the GEMM variants that the language lacks, and their values as float.
#pragma once

#include "core.hpp"

#include <bit>
#include <cmath>
#include <limits>

namespace qnm::core {

// IEEE binary16; rounding is to nearest, ties to even.
struct Half {
    std::uint16_t bits;

    static Half of(float value) { return {std::bit_cast<std::uint16_t>(static_cast<_Float16>(value))}; }
    explicit operator float() const { return static_cast<float>(std::bit_cast<_Float16>(bits)); }
};

// The upper half of an IEEE binary32.
struct Bf16 {
    std::uint16_t bits;

    explicit operator float() const { return std::bit_cast<float>(static_cast<std::uint32_t>(bits) << 16); }
};

// OCP 8-bit floating point, 5 bits of exponent: the upper half of a binary16.
struct E5m2 {
    std::uint8_t bits;

    explicit operator float() const
    {
        return static_cast<float>(Half{static_cast<std::uint16_t>(bits << 8)});
    }
};

// OCP 8-bit floating point, 4 bits of exponent, bias 7: no infinity, one NaN of either sign.
struct E4m3 {
    std::uint8_t bits;

    explicit operator float() const
    {
        const int exponent = (bits >> 3) & 15, mantissa = bits & 7;
        float value = exponent == 0 ? std::ldexp(static_cast<float>(mantissa), -9)
                                    : std::ldexp(static_cast<float>(8 + mantissa), exponent - 10);
        if (exponent == 15 && mantissa == 7)
            value = std::numeric_limits<float>::quiet_NaN();
        return (bits & 0x80) != 0 ? -value : value;
    }
};

// The nearest value of C: integers round to nearest, ties to even, and stop at their bounds.
template <class C, class Compute>
C rounded(Compute value)
{
    if constexpr (std::is_same_v<C, Half>)
        return Half::of(value);
    else if constexpr (std::is_integral_v<C>)
        return value != value
                   ? C{}
                   : static_cast<C>(std::clamp<Compute>(std::nearbyint(value), std::numeric_limits<C>::min(),
                                                        std::numeric_limits<C>::max()));
    else
        return value;
}

} // namespace qnm::core
