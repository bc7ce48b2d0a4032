// What generated services are made of.
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

/// Reads an argument in place: a register that holds an address gets what stands there, 32 or 64 bits.
#define QNM_READ(ADDRESS, VALUE) "mov (%" #ADDRESS "), %" #VALUE "\n"

/// A further spelling at the same address.
#define QNM_SAME(NAME, FIRST)                                                                                \
    asm(".globl " #NAME "\n"                                                                                 \
        ".type " #NAME ", @function\n"                                                                       \
        ".set " #NAME ", " #FIRST "\n");
