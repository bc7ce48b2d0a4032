// What rows without a frame are made of.
#pragma once

#include "frame/types.hpp"

/// Families of many small entries tell another one ahead of this file.
#ifndef QNM_JUMP_ALIGNMENT
#define QNM_JUMP_ALIGNMENT 4
#endif
#define QNM_TEXT_OF(VALUE) #VALUE
#define QNM_TEXT(MACRO) QNM_TEXT_OF(MACRO)

/// One jump through the dynamic symbol table, registers and stack as they came: whatever the arguments are,
/// the target gets them, and an application's definition of the target's name takes the call. Instructions
/// may be told that come first.
#define QNM_FORWARD(NAME, TARGET, ...)                                                                       \
    asm(".pushsection .text\n"                                                                               \
        ".p2align " QNM_TEXT(QNM_JUMP_ALIGNMENT) "\n"                                                        \
                                                 ".globl " #NAME "\n"                                        \
                                                 ".type " #NAME ", @function\n" #NAME ": " __VA_ARGS__       \
                                                 "jmp " #TARGET "@PLT\n"                                     \
                                                 ".size " #NAME ", .-" #NAME "\n"                            \
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
