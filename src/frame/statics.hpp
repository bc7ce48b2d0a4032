// The statics and spellings of one entry, as generated sources write them.
#pragma once

#include "frame/site.hpp"

/// The verbose cell of an entry, under the names that debuggers and tests look for.
#define QNM_CELL(NAME)                                                                                       \
    static const int NAME##_unknown asm(#NAME ".verbose_unknown") = -1;                                      \
    static Cell NAME##_cell asm(#NAME ".verbose_ptr") = &NAME##_unknown;

/// A local jump to a core function. Cold code takes its address in place of the function's own, which the
/// dynamic loader would have to find when the library is loaded.
#define QNM_JUMP(CORE)                                                                                       \
    asm(".pushsection .text.unlikely,\"ax\",@progbits\n"                                                     \
        ".type jump." #CORE ", @function\n"                                                                  \
        "jump." #CORE ": jmp " #CORE "@PLT\n"                                                                \
        ".size jump." #CORE ", .-jump." #CORE "\n"                                                           \
        ".popsection");                                                                                      \
    extern "C" [[gnu::visibility("hidden")]] decltype(CORE) CORE##_jump asm("jump." #CORE);

/// Further spellings of one body, at its address.
#define QNM_SPELLINGS(NAME, ...)                                                                             \
    extern "C" [[gnu::alias(#NAME), gnu::visibility("default")]] decltype(NAME) __VA_ARGS__;
