// Calls a function pointer with any argument list, as a compiler of any language would, and watches how it
// behaves.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace qnm::support {

/// What travels as a word; reals go by themselves.
template <class T>
concept WordArgument =
    std::is_pointer_v<T> || std::is_null_pointer_v<T> || std::is_integral_v<T> || std::is_enum_v<T>;

/// One integer or pointer argument. An int by value leaves the upper half of its register undefined: it is
/// filled with a pattern here, so that a callee that reads 64 bits is found out.
class Word {
public:
    template <WordArgument T>
    constexpr Word(T value)
    {
        if constexpr (std::is_null_pointer_v<T>)
            bits_ = 0;
        else if constexpr (std::is_pointer_v<T>)
            bits_ = reinterpret_cast<std::uint64_t>(value);
        else if constexpr (sizeof(T) == sizeof(std::uint64_t))
            bits_ = static_cast<std::uint64_t>(value);
        else
            bits_ = upper_junk | static_cast<std::uint32_t>(value);
    }

    constexpr std::uint64_t bits() const { return bits_; }

    static constexpr std::uint64_t upper_junk = 0x5A5A'5A5A'0000'0000;

private:
    std::uint64_t bits_ = 0;
};

/// One real argument or result by value, in the low half of a vector register.
class Real {
public:
    constexpr Real() = default;
    constexpr Real(double value) : low_(std::bit_cast<std::uint64_t>(value)) {}
    constexpr Real(float value) : low_(upper_junk | std::bit_cast<std::uint32_t>(value)) {}

    constexpr double float64() const { return std::bit_cast<double>(low_); }
    constexpr float float32() const { return std::bit_cast<float>(static_cast<std::uint32_t>(low_)); }

    static constexpr std::uint64_t upper_junk = 0x7FF8'5A5A'0000'0000;

private:
    std::uint64_t low_ = ~std::uint64_t{0};
    std::uint64_t high_ = ~std::uint64_t{0};
};

/// What came back, and how the callee behaved.
struct Returned {
    std::uint64_t rax = 0;
    std::uint64_t rdx = 0;
    Real xmm0, xmm1;
    /// Each broken rule of the calling convention in words: a register that was to be kept, the stack
    /// pointer, the direction flag, the floating-point controls. Empty from a good callee.
    std::vector<std::string> violations;

    std::int32_t int32() const { return static_cast<std::int32_t>(rax); }
    std::int64_t int64() const { return static_cast<std::int64_t>(rax); }
    double float64() const { return xmm0.float64(); }
    float float32() const { return xmm0.float32(); }
};

/// Calls the function with the words in rdi, rsi, rdx, rcx, r8, r9 and on the stack, and up to eight reals in
/// xmm0 to xmm7. Registers without an argument hold a pattern (all ones in vectors), as does al if not given.
Returned invoke(const void* function, const std::vector<Word>& words, const std::vector<Real>& reals = {},
                std::uint64_t rax = 0x5A5A'5A5A'5A5A'5A08);

/// As invoke, and reports each violation as a failure of the running test.
Returned call_words(const void* function, const std::vector<Word>& words,
                    const std::vector<Real>& reals = {});

/// Calls a function with its arguments as they stand, each going to where its type belongs:
/// call(ddot, &n, x, &incx, y, &incy). Violations fail the running test.
template <class F, class... Arguments>
Returned call(F* function, Arguments... arguments)
{
    std::vector<Word> words;
    std::vector<Real> reals;
    [[maybe_unused]] const auto place = [&](auto argument) {
        if constexpr (std::is_floating_point_v<decltype(argument)>)
            reals.emplace_back(argument);
        else
            words.emplace_back(argument);
    };
    (place(arguments), ...);
    return call_words(reinterpret_cast<const void*>(function), words, reals);
}

} // namespace qnm::support
