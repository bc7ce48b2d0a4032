// A kernel of statistics or fitting: found by name at the first call of an entry, and kept in the entry's
// cell.
#pragma once

#include "vml/binding.hpp"

/// The kernel of an entry, and its cell.
#define QNM_KERNEL(ENTRY, NAME, RESULT, ...)                                                                 \
    static RESULT (*ENTRY##_cell)(__VA_ARGS__) asm(#ENTRY ".kernel") = nullptr;                              \
    struct ENTRY##_kernel {                                                                                  \
        using Type = RESULT(__VA_ARGS__);                                                                    \
        static constexpr Type*& cell = ENTRY##_cell;                                                         \
        static constexpr const char* name = NAME;                                                            \
    };

/// An entry whose kernel gets the caller's arguments where they are, all of them words. Instructions may be
/// told that come first.
#define QNM_BOUND(ENTRY, NAME, ...)                                                                          \
    asm(".pushsection .bss\n"                                                                                \
        ".p2align 3\n"                                                                                       \
        ".type " #ENTRY ".kernel, @object\n" #ENTRY ".kernel: .zero 8\n"                                     \
        ".size " #ENTRY ".kernel, 8\n"                                                                       \
        ".popsection\n"                                                                                      \
        ".pushsection .rodata\n" #ENTRY ".name: .asciz \"" NAME "\"\n"                                       \
        ".popsection\n"                                                                                      \
        ".pushsection .text\n"                                                                               \
        ".p2align 4\n"                                                                                       \
        ".globl " #ENTRY "\n"                                                                                \
        ".type " #ENTRY ", @function\n" #ENTRY ": " __VA_ARGS__ "mov " #ENTRY ".kernel(%rip), %rax\n"        \
        "test %rax, %rax\n"                                                                                  \
        "je " #ENTRY ".first\n"                                                                              \
        "jmp *%rax\n"                                                                                        \
        ".size " #ENTRY ", .-" #ENTRY "\n"                                                                   \
        ".popsection\n"                                                                                      \
        ".pushsection .text.unlikely,\"ax\",@progbits\n" #ENTRY ".first: lea " #ENTRY                        \
        ".kernel(%rip), %rax\n"                                                                              \
        "lea " #ENTRY ".name(%rip), %r10\n"                                                                  \
        "jmp qnm_vsl_first_call\n"                                                                           \
        ".popsection");
/// Takes a word, or a number of 32 bits, from its place.
#define QNM_TAKEN(REGISTER) "mov (%" #REGISTER "), %" #REGISTER "\n"
#define QNM_TAKEN_32(REGISTER, HALF) "mov (%" #REGISTER "), %" #HALF "\n"

namespace qnm::vsl {

using qnm_int64 = core_int;

template <class Kernel>
QNM_INLINE void bind()
{
    if (unlikely(Kernel::cell == nullptr))
        vml::bind(reinterpret_cast<void**>(&Kernel::cell), Kernel::name);
}

/// The first call of an entry: takes the kernel's arguments, so that none has to be kept for it on the way of
/// the others.
template <class Kernel, class Type = typename Kernel::Type>
struct First;
template <class Kernel, class R, class... P>
struct First<Kernel, R(P...)> {
    QNM_COLD static R call(P... arguments)
    {
        bind<Kernel>();
        return Kernel::cell(arguments...);
    }
};

/// What is called in place of the kernel, which may not be known.
template <class Kernel>
QNM_INLINE auto* kernel()
{
    const auto cell = Kernel::cell;
    if (unlikely(cell == nullptr)) {
        asm volatile(""); // a jump, and no choice by arithmetic
        return &First<Kernel>::call;
    }
    return cell;
}

/// All that an entry does that only forwards.
template <class Kernel, class... A>
QNM_INLINE auto hand_on(A... arguments)
{
    return kernel<Kernel>()(arguments...);
}

/// An integer that may be left out where it comes by reference.
QNM_INLINE core_int or_zero(const int* place)
{
    return place == nullptr ? 0 : *place;
}

} // namespace qnm::vsl
