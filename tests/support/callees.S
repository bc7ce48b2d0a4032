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
        ldmxcsr 1f(%rip)
        ret
1:      .long   0x3F80

        CALLEE  changes_x87
        fldcw   1f(%rip)
        ret
1:      .word   0x077F

        /* A caller that comes into the core with the stack off by eight. */
        CALLEE  calls_misaligned
        call    qnm_blas_any@PLT
        nop
        ret

        .section .note.GNU-stack, "", @progbits
