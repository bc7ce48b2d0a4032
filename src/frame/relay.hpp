// Entries that look at their arguments, or register, and hand on to the core everything as it came:
// registers, the caller's stack words, hidden lengths. No compiler is asked to do that: what it makes of a
// long argument list copies stack words, or calls where a jump would do.
#pragma once

#include "frame/types.hpp"

#define QNM_PUSHED(REGISTER) "push %" #REGISTER "\n.cfi_adjust_cfa_offset 8\n"
#define QNM_POPPED(REGISTER) "pop %" #REGISTER "\n.cfi_adjust_cfa_offset -8\n"

/// The arguments' registers as an array, first argument first, directly below the return address, behind
/// which the caller's stack words stand; and back.
#define QNM_SAVE_ARGUMENTS                                                                                   \
    QNM_PUSHED(r9) QNM_PUSHED(r8) QNM_PUSHED(rcx) QNM_PUSHED(rdx) QNM_PUSHED(rsi) QNM_PUSHED(rdi)
#define QNM_RESTORE_ARGUMENTS                                                                                \
    QNM_POPPED(rdi) QNM_POPPED(rsi) QNM_POPPED(rdx) QNM_POPPED(rcx) QNM_POPPED(r8) QNM_POPPED(r9)

/// Tells the core the head of a chain, whose address is fetched through the dynamic symbol table each time.
#define QNM_REGISTER(SETTER, HEAD) "mov " #HEAD "@GOTPCREL(%rip), %rdi\ncall " #SETTER "@PLT\n"
#define QNM_REGISTER_XERBLA QNM_REGISTER(qnm_set_xerbla_interface, cdecl_xerbla)
#define QNM_REGISTER_PROGRESS QNM_REGISTER(qnm_serv_set_progress_interface, cdecl_progress)
#define QNM_REGISTER_PIVOT QNM_REGISTER(qnm_serv_set_pardiso_pivot, cdecl_pardiso_pivot)

/// The array takes six words and the return address one: another one aligns the stack.
#define QNM_ALIGN "sub $8, %rsp\n.cfi_adjust_cfa_offset 8\n"
#define QNM_UNALIGN "add $8, %rsp\n.cfi_adjust_cfa_offset -8\n"
#define QNM_ASK(VERDICT) "lea 8(%rsp), %rdi\ncall " #VERDICT "\n"

#define QNM_BEGIN_LOCAL(NAME)                                                                                \
    ".pushsection .text\n"                                                                                   \
    ".type " #NAME ", @function\n" #NAME ":\n.cfi_startproc\n"
#define QNM_BEGIN(NAME) ".globl " #NAME "\n" QNM_BEGIN_LOCAL(NAME)
#define QNM_END(NAME) ".cfi_endproc\n.size " #NAME ", .-" #NAME "\n.popsection"

/// An entry that registers, asks VERDICT, which gets the array's address, and unless refused jumps to the
/// core; and the same verdict behind the entry's own signature, exported as a check.
#define QNM_RELAY(ENTRY, CHECK, VERDICT, CORE)                                                               \
    asm(QNM_BEGIN(ENTRY) QNM_SAVE_ARGUMENTS QNM_ALIGN QNM_REGISTER_XERBLA QNM_ASK(VERDICT) QNM_UNALIGN       \
        "test %eax, %eax\n" QNM_RESTORE_ARGUMENTS "je " #CORE "@PLT\nret\n" QNM_END(ENTRY));                 \
    asm(QNM_BEGIN(CHECK) QNM_SAVE_ARGUMENTS QNM_ALIGN QNM_ASK(VERDICT) QNM_UNALIGN QNM_RESTORE_ARGUMENTS     \
        "ret\n" QNM_END(CHECK));

/// Registers with all arguments as they came, for entries that call it ahead of their jump: their call has
/// aligned the stack, and the array keeps it so.
#define QNM_REGISTRATION(NAME, ...)                                                                          \
    asm(QNM_BEGIN_LOCAL(NAME) QNM_SAVE_ARGUMENTS __VA_ARGS__ QNM_RESTORE_ARGUMENTS "ret\n" QNM_END(NAME));
#define QNM_REGISTERED(ENTRY, CORE, REGISTRATION)                                                            \
    asm(QNM_BEGIN(ENTRY) "call " #REGISTRATION "\njmp " #CORE "@PLT\n" QNM_END(ENTRY));

namespace qnm {

/// The array that an entry saves. Any type of address stands in it.
using Word [[gnu::may_alias]] = unsigned long;

/// Argument i, where the relay has it: behind the sixth stands the return address.
template <class P, std::size_t i>
QNM_INLINE P& saved(Word* arguments)
{
    constexpr std::size_t registers = 6;
    return reinterpret_cast<P&>(arguments[i < registers ? i : i + 1]);
}

} // namespace qnm
