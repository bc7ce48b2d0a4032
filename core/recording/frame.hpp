// The words that the trampoline lays down for one incoming call, and the registers it loads on the way back.
// trampoline.S knows these offsets; the assertions below hold both in step.
#pragma once

#include <array>
#include <bit>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qnm::recording {

/// One 16-byte vector register.
struct alignas(16) Vector {
    std::uint64_t low = 0;
    std::uint64_t high = 0;
};

inline constexpr std::size_t register_words = 6;
inline constexpr std::size_t vector_registers = 8;
/// Stack words that are kept for each call: enough for the longest published argument list with its hidden
/// lengths, little enough to stay inside any thread's stack.
inline constexpr std::size_t stack_words = 40;

/// Everything that a callee can see of its arguments. The first two members lie as a register save area does,
/// so that a variadic service can walk them with va_arg.
struct Arguments {
    std::array<std::uint64_t, register_words> general{}; ///< rdi, rsi, rdx, rcx, r8, r9
    std::array<Vector, vector_registers> vectors{};      ///< xmm0 to xmm7
    std::array<std::uint64_t, stack_words> stack{};      ///< words above the return address
    std::uint64_t rax = 0; ///< al: number of vector registers of a variadic call
    std::uint64_t rsp = 0; ///< at the callee's first instruction: 8 modulo 16 in a well-formed call
};

/// What goes back to the caller: rax, rdx, xmm0, xmm1. A fresh answer is all zeros.
class Answer {
public:
    /// Sets the result in the registers that the calling convention names for type T.
    template <class T>
    Answer& returns(T value);

private:
    std::uint64_t rax_ = 0;
    std::uint64_t rdx_ = 0;
    Vector xmm0_{};
    Vector xmm1_{};
};

struct Frame {
    Arguments arguments;
    Answer answer;
};

static_assert(offsetof(Arguments, vectors) == 48 && offsetof(Arguments, stack) == 176);
static_assert(offsetof(Arguments, rax) == 496 && offsetof(Arguments, rsp) == 504);
static_assert(offsetof(Frame, answer) == 512 && sizeof(Frame) == 560);

template <class T>
Answer& Answer::returns(T value)
{
    if constexpr (std::is_same_v<T, double>) {
        xmm0_.low = std::bit_cast<std::uint64_t>(value);
    } else if constexpr (std::is_same_v<T, float>) {
        xmm0_.low = std::bit_cast<std::uint32_t>(value);
    } else if constexpr (std::is_same_v<T, std::complex<double>>) {
        xmm0_.low = std::bit_cast<std::uint64_t>(value.real());
        xmm1_.low = std::bit_cast<std::uint64_t>(value.imag());
    } else if constexpr (std::is_same_v<T, std::complex<float>>) {
        xmm0_.low = std::bit_cast<std::uint32_t>(value.real()) |
                    std::uint64_t{std::bit_cast<std::uint32_t>(value.imag())} << 32;
    } else if constexpr (std::is_null_pointer_v<T>) {
        rax_ = 0;
    } else if constexpr (std::is_pointer_v<T>) {
        rax_ = reinterpret_cast<std::uint64_t>(value);
    } else {
        static_assert(std::is_integral_v<T>, "an answer is a real, a complex, an integer or a pointer");
        rax_ = static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    }
    return *this;
}

} // namespace qnm::recording
