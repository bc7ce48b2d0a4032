/* Callees that each break one rule of the calling convention and would otherwise be harmless. */
        .text
        .macro  CALLEE name
        .globl  \name
        .type   \name, @function
\name:
        .endm

        .irp    register, rbx, rbp, r12, r13, r14, r15
        CALLEE  loses_\register
        mov     $1, %\register
        ret
        .endr

        CALLEE  pops_too_much
        ret     $16

        CALLEE  sets_direction
        std
        ret

        CALLEE  changes_mxcsr
        sub     $8, %rsp
        stmxcsr (%rsp)
        orl     $0x2000, (%rsp)
        ldmxcsr (%rsp)
        add     $8, %rsp
        ret

        CALLEE  changes_x87
        sub     $8, %rsp
        fnstcw  (%rsp)
        xorw    $0x0400, (%rsp)
        fldcw   (%rsp)
        add     $8, %rsp
        ret

        /* A caller that comes into the core with the stack off by eight. */
        CALLEE  calls_misaligned
        call    qnm_blas_any@PLT
        sub     $8, %rsp
        add     $8, %rsp
        ret

        .section .note.GNU-stack, "", @progbits
