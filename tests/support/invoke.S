/* qnm_support_invoke(Invocation* in): carries out one call (invoke.cpp has the record) and notes what the
   callee left behind. The thread-local qnm_support_invocation points at the record too: a bad callee may have
   lost every register. */

        .set    FUNCTION, 0
        .set    WORDS, 8
        .set    COUNT, 16
        .set    REALS, 24
        .set    RAX_IN, 32
        .set    RSP_CALL, 48
        .set    RAX, 56
        .set    RDX, 64
        .set    XMM0, 80
        .set    XMM1, 96
        .set    SAVED, 112
        .set    RSP_BACK, 160
        .set    FLAGS, 168
        .set    MXCSR_CALL, 176
        .set    MXCSR_BACK, 180
        .set    X87_CALL, 184
        .set    X87_BACK, 188

        .text
        .globl  qnm_support_invoke
        .hidden qnm_support_invoke
        .type   qnm_support_invoke, @function
qnm_support_invoke:
        .cfi_startproc
        push    %rbp
        .cfi_def_cfa_offset 16
        .cfi_offset %rbp, -16
        mov     %rsp, %rbp
        .cfi_def_cfa_register %rbp
        push    %rbx
        push    %r12
        push    %r13
        push    %r14
        push    %r15
        .cfi_offset %rbx, -24
        .cfi_offset %r12, -32
        .cfi_offset %r13, -40
        .cfi_offset %r14, -48
        .cfi_offset %r15, -56
        /* A cushion, so that a callee that pops too much eats nothing of ours. */
        sub     $72, %rsp

        /* Words behind the sixth go to the stack, an odd number of them padded so that rsp stays aligned. */
        mov     COUNT(%rdi), %rcx
        sub     $6, %rcx
        lea     1(%rcx), %rdx
        and     $-2, %rdx
        shl     $3, %rdx
        sub     %rdx, %rsp
        mov     WORDS(%rdi), %rsi
        movabs  $0x5a5a5a5a5a5a5a5a, %rax
        test    $1, %cl
        jz      1f
        mov     %rax, (%rsp,%rcx,8)
1:      test    %rcx, %rcx
        jz      2f
        mov     40(%rsi,%rcx,8), %rdx
        mov     %rdx, -8(%rsp,%rcx,8)
        dec     %rcx
        jmp     1b
2:
        stmxcsr MXCSR_CALL(%rdi)
        fnstcw  X87_CALL(%rdi)
        mov     %rsp, RSP_CALL(%rdi)
        mov     REALS(%rdi), %rdx
        .irp    n, 0, 1, 2, 3, 4, 5, 6, 7
        movups  16*\n(%rdx), %xmm\n
        .endr
        mov     FUNCTION(%rdi), %r11
        mov     RAX_IN(%rdi), %r10
        /* Known values in the registers that the callee has to keep; rbp stays our frame. */
        mov     %rax, %rbx
        lea     1(%rax), %r12
        lea     2(%rax), %r13
        lea     3(%rax), %r14
        lea     4(%rax), %r15
        mov     8(%rsi), %rax
        mov     16(%rsi), %rdx
        mov     24(%rsi), %rcx
        mov     32(%rsi), %r8
        mov     40(%rsi), %r9
        mov     (%rsi), %rdi
        mov     %rax, %rsi
        mov     %r10, %rax
        call    *%r11

        mov     qnm_support_invocation@gottpoff(%rip), %r11
        mov     %fs:(%r11), %rcx
        mov     %rsp, RSP_BACK(%rcx)
        mov     RSP_CALL(%rcx), %rsp
        mov     %rax, RAX(%rcx)
        mov     %rdx, RDX(%rcx)
        movups  %xmm0, XMM0(%rcx)
        movups  %xmm1, XMM1(%rcx)
        pushfq
        pop     %rax
        cld
        mov     %rax, FLAGS(%rcx)
        mov     %rbx, SAVED(%rcx)
        mov     %r12, SAVED+8(%rcx)
        mov     %r13, SAVED+16(%rcx)
        mov     %r14, SAVED+24(%rcx)
        mov     %r15, SAVED+32(%rcx)
        stmxcsr MXCSR_BACK(%rcx)
        fnstcw  X87_BACK(%rcx)
        ldmxcsr MXCSR_CALL(%rcx)
        fldcw   X87_CALL(%rcx)
        /* Our own frame base again, whatever the callee made of rbp: known from the kept rsp. */
        mov     COUNT(%rcx), %rdx
        sub     $5, %rdx
        and     $-2, %rdx
        lea     112(%rsp,%rdx,8), %rdx
        xor     %eax, %eax
        cmp     %rdx, %rbp
        setne   %al
        mov     %rax, SAVED+40(%rcx)
        mov     %rdx, %rbp
        lea     -40(%rbp), %rsp
        pop     %r15
        pop     %r14
        pop     %r13
        pop     %r12
        pop     %rbx
        pop     %rbp
        .cfi_def_cfa %rsp, 8
        ret
        .cfi_endproc
        .size   qnm_support_invoke, .-qnm_support_invoke

        .section .note.GNU-stack, "", @progbits
