// Core functions that are the engine's routine under another name.
#include "carried.inc"

        .text

.macro  alias prefix, letter, root, suffix, routine
        carry   qnm_\prefix\letter\root\suffix, \letter\routine\()_
.endm

.macro  family prefix, root, suffix, routine, letters:vararg
  .irp letter, \letters
        alias   \prefix, \letter, \root, "\suffix", \routine
  .endr
.endm

// Small-matrix kernels: the engine chooses its own kernel by size
family blas_x, axpy, "",   axpy,   s, d, c, z
family blas_x, dot, "",    dot,    s, d
family blas_x, gemm, "",   gemm,   s, d, c, z
family blas_x, gemm3m, "", gemm3m, c, z
family blas_x, syrk, "",   syrk,   s, d, c, z
family blas_x, trsm, "",   trsm,   s, d, c, z

// GEMM under the names of the run-time generated forms
family blas_qnm_, gemm, _jit,        gemm, s, d, c, z
family blas_qnm_, gemm, _direct_jit, gemm, s, d, c, z

// LAPACK under names of other releases
family lapack_, larfp, "",    larfgp,  s, d, c, z
family lapack_, syswapr1, "", syswapr, s, d, c, z
family lapack_, heswapr1, "", heswapr, c, z
family lapack_, lasr3, "",    lasr,    s, d
family lapack_, laq5, "",     lasq5,   s, d
family lapack_, laq6, "",     lasq6,   s, d

        .section .note.GNU-stack, "", @progbits
