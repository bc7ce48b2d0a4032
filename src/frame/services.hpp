// What generated services are made of.
#pragma once

#include "frame/types.hpp"

/// One jump through the dynamic symbol table, registers and stack as they came: whatever the arguments are,
/// the target gets them, and an application's definition of the target's name takes the call.
#define QNM_FORWARD(NAME, TARGET)                                                                            \
    asm(".pushsection .text\n"                                                                               \
        ".p2align 4\n"                                                                                       \
        ".globl " #NAME "\n"                                                                                 \
        ".type " #NAME ", @function\n" #NAME ": jmp " #TARGET "@PLT\n"                                       \
        ".size " #NAME ", .-" #NAME "\n"                                                                     \
        ".popsection");

/// A further spelling at the same address.
#define QNM_SAME(NAME, FIRST)                                                                                \
    asm(".globl " #NAME "\n"                                                                                 \
        ".type " #NAME ", @function\n"                                                                       \
        ".set " #NAME ", " #FIRST "\n");

#define QNM_SPELLINGS(NAME, ...)                                                                             \
    extern "C" [[gnu::alias(#NAME), gnu::visibility("default")]] decltype(NAME) __VA_ARGS__;
