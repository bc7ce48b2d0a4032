// What rows without a frame are made of.
#pragma once

#include "frame/types.hpp"

/// One jump through the dynamic symbol table, registers and stack as they came: whatever the arguments are,
/// the target gets them, and an application's definition of the target's name takes the call. Instructions
/// may be told that come first.
#define QNM_FORWARD(NAME, TARGET, ...)                                                                       \
    asm(".pushsection .text\n"                                                                               \
        ".p2align 4\n"                                                                                       \
        ".globl " #NAME "\n"                                                                                 \
        ".type " #NAME ", @function\n" #NAME ": " __VA_ARGS__ "jmp " #TARGET "@PLT\n"                        \
        ".size " #NAME ", .-" #NAME "\n"                                                                     \
        ".popsection");

/// A further spelling at the same address.
#define QNM_SAME(NAME, FIRST)                                                                                \
    asm(".globl " #NAME "\n"                                                                                 \
        ".type " #NAME ", @function\n"                                                                       \
        ".set " #NAME ", " #FIRST "\n");

/// Calls a function that leaves all registers of arguments as they are, ahead of a jump.
#define QNM_AHEAD(FUNCTION) "call " #FUNCTION "\n"

namespace qnm {

/// Where a number lies while the core is called with its address.
template <class T>
QNM_INLINE const void* address_of(const T& value)
{
    return &value;
}

} // namespace qnm
