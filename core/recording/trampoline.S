/* Common landing of all stubs of a library. r11 holds the called name; all argument registers and the stack are
   the caller's. Lays down a Frame (frame.hpp), lets the recorder fill its answer, and loads that answer. */

        .set    VECTORS, 48
        .set    STACK, 176
        .set    STACK_WORDS, 40
        .set    RAX, 496
        .set    RSP, 504
        .set    ANSWER, 512
        .set    FRAME, 560

        .text
        .globl  qnm_recording_trampoline
        .hidden qnm_recording_trampoline
        .type   qnm_recording_trampoline, @function
qnm_recording_trampoline:
        .cfi_startproc
        push    %rbp
        .cfi_def_cfa_offset 16
        .cfi_offset %rbp, -16
        mov     %rsp, %rbp
        .cfi_def_cfa_register %rbp
        sub     $FRAME, %rsp
        /* A caller may have broken the alignment: that is to be told, not to fault here. */
        and     $-16, %rsp

        mov     %rdi, 0(%rsp)
        mov     %rsi, 8(%rsp)
        mov     %rdx, 16(%rsp)
        mov     %rcx, 24(%rsp)
        mov     %r8, 32(%rsp)
        mov     %r9, 40(%rsp)
        .irp    n, 0, 1, 2, 3, 4, 5, 6, 7
        movaps  %xmm\n, VECTORS+16*\n(%rsp)
        .endr
        mov     %rax, RAX(%rsp)
        lea     8(%rbp), %rax
        mov     %rax, RSP(%rsp)
        /* Copied here and not in C++: these words belong to other frames, which sanitizers guard. */
        lea     16(%rbp), %rsi
        lea     STACK(%rsp), %rdi
        mov     $STACK_WORDS, %ecx
        cld
        rep movsq
        xor     %eax, %eax
        .irp    offset, 0, 8, 16, 24, 32, 40
        mov     %rax, ANSWER+\offset(%rsp)
        .endr

        mov     %r11, %rdi
        mov     %rsp, %rsi
        call    qnm_recording_receive@PLT

        mov     ANSWER(%rsp), %rax
        mov     ANSWER+8(%rsp), %rdx
        movaps  ANSWER+16(%rsp), %xmm0
        movaps  ANSWER+32(%rsp), %xmm1
        /* Nothing else survives a call: spoil it, so that a caller that trusts it is found out. */
        mov     $0x5a5a5a5a5a5a5a5a, %rcx
        .irp    register, rsi, rdi, r8, r9, r10, r11
        mov     %rcx, %\register
        .endr
        .irp    n, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15
        pcmpeqd %xmm\n, %xmm\n
        .endr
        leave
        .cfi_def_cfa %rsp, 8
        ret
        .cfi_endproc
        .size   qnm_recording_trampoline, .-qnm_recording_trampoline

        .section .note.GNU-stack, "", @progbits
