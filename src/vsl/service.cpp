// What entries do but once, or not at all.
#include "frame/report.hpp"
#include "vsl/compute.hpp"
#include "vsl/stream.hpp"

#include <cstring>

namespace qnm::vsl {

int report_place(const char* name, int place, int status)
{
    register_chain();
    report<qnm_serv_xerbla>(name, measured(name, 50), place);
    return status;
}

int tested_wide(const Estimation& task, Mask estimates)
{
    return tested<core_int>(task, estimates);
}

const char* engine_name(int id, char (&room)[32])
{
    static constexpr char families[][23]{"VSL_BRNG_MCG31",
                                         "VSL_BRNG_R250",
                                         "VSL_BRNG_MRG32K3A",
                                         "VSL_BRNG_MCG59",
                                         "",
                                         "VSL_BRNG_SOBOL",
                                         "VSL_BRNG_NIEDERR",
                                         "VSL_BRNG_MT19937",
                                         "",
                                         "",
                                         "",
                                         "",
                                         "VSL_BRNG_SFMT19937",
                                         "VSL_BRNG_NONDETERM",
                                         "VSL_BRNG_ARS5",
                                         "VSL_BRNG_PHILOX4X32X10"};
    const auto behind = [&](unsigned first) { return static_cast<unsigned>(id) - first; };
    // The family stands above 20 bits, and those that are one generator have none below.
    const unsigned family = behind(0x100000) << 12 | behind(0x100000) >> 20;
    if (family < 16 && families[family][0] != '\0')
        qnm_serv_sprintf_s(room, sizeof room, "%s", families[family]);
    else if (behind(0x900000) <= 6023)
        qnm_serv_sprintf_s(room, sizeof room, "%s_substream%d", "VSL_BRNG_MT2203", behind(0x900000));
    else if (behind(0x500000) <= 272)
        qnm_serv_sprintf_s(room, sizeof room, "%s_substream%d", "VSL_BRNG_WH", behind(0x500000));
    else
        qnm_serv_sprintf_s(room, sizeof room, "%s", "Unknown engine");
    return room;
}

const char* copied(FortranText text, char (&room)[256])
{
    std::size_t length = sizeof room - 1;
    if (text.length >= 0 && static_cast<std::size_t>(text.length) < length)
        length = static_cast<std::size_t>(text.length);
    length = strnlen(text.value, length);
    std::memcpy(room, text.value, length);
    room[length] = '\0';
    return room;
}

} // namespace qnm::vsl

// How the first call of a forwarder finds its kernel: the cell comes in rax, the name in r10, and the
// caller's arguments, all words, stay where they are.
asm(".pushsection .text.unlikely,\"ax\",@progbits\n"
    ".hidden qnm_vsl_first_call\n"
    ".globl qnm_vsl_first_call\n"
    ".type qnm_vsl_first_call, @function\n"
    "qnm_vsl_first_call:\n"
    ".cfi_startproc\n"
    ".irp register, rdi, rsi, rdx, rcx, r8, r9, rax\n"
    "push %\\register\n"
    ".cfi_adjust_cfa_offset 8\n"
    ".endr\n"
    "mov %rax, %rdi\n"
    "mov %r10, %rsi\n"
    "call qnm_vsl_bind\n"
    ".irp register, rax, r9, r8, rcx, rdx, rsi, rdi\n"
    "pop %\\register\n"
    ".cfi_adjust_cfa_offset -8\n"
    ".endr\n"
    "jmp *(%rax)\n"
    ".cfi_endproc\n"
    ".size qnm_vsl_first_call, .-qnm_vsl_first_call\n"
    ".popsection");

extern "C" [[gnu::visibility("hidden"), gnu::used]] void qnm_vsl_bind(void** cell, const char* name)
{
    qnm::vml::bind(cell, name);
}

extern "C" QNM_EXPORT int qnm_vml_service_IsStreamValid(const void* stream)
{
    return qnm::vsl::validity(stream);
}
