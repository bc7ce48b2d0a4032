// Core functions whose argument list is the engine's own: one jump each, with registers and stack as they
// came. `routine root letters...` makes one for every letter; `renamed` puts more around the core's
// name, which is how the small-matrix kernels and the run-time generated forms are served.

        .text

.macro  forward prefix, letter, root, suffix
        .globl  qnm_blas_\prefix\letter\root\suffix
        .type   qnm_blas_\prefix\letter\root\suffix, @function
        .p2align 4
qnm_blas_\prefix\letter\root\suffix:
        endbr64
        jmp     \letter\root\()_
        .size   qnm_blas_\prefix\letter\root\suffix, . - qnm_blas_\prefix\letter\root\suffix
.endm

.macro  renamed prefix, root, suffix, letters:vararg
  .irp letter, \letters
        forward "\prefix", \letter, \root, "\suffix"
  .endr
.endm

.macro  routine root, letters:vararg
        renamed "", \root, "", \letters
.endm

// Level 1
routine axpy,   s, d, c, z
routine axpby,  s, d, c, z
routine copy,   s, d, c, z
routine swap,   s, d, c, z
routine scal,   s, d, c, z, cs, zd
routine rot,    s, d, c, z, cs, zd
routine rotg,   s, d, c, z
routine rotm,   s, d
routine rotmg,  s, d
routine dot,    s, d, ds, sds
routine asum,   s, d, sc, dz
routine nrm2,   s, d, sc, dz
routine amax,   is, id, ic, iz
routine amin,   is, id, ic, iz
routine cabs1,  s, d

// Level 2
routine gemv,   s, d, c, z
routine gbmv,   s, d, c, z
routine ger,    s, d
routine gerc,   c, z
routine geru,   c, z
routine symv,   s, d
routine sbmv,   s, d
routine spmv,   s, d
routine syr,    s, d
routine syr2,   s, d
routine spr,    s, d
routine spr2,   s, d
routine hemv,   c, z
routine hbmv,   c, z
routine hpmv,   c, z
routine her,    c, z
routine her2,   c, z
routine hpr,    c, z
routine hpr2,   c, z
routine trmv,   s, d, c, z
routine trsv,   s, d, c, z
routine tbmv,   s, d, c, z
routine tbsv,   s, d, c, z
routine tpmv,   s, d, c, z
routine tpsv,   s, d, c, z

// Level 3
routine gemm,   s, d, c, z
routine gemm3m, c, z
routine symm,   s, d, c, z
routine hemm,   c, z
routine syrk,   s, d, c, z
routine herk,   c, z
routine syr2k,  s, d, c, z
routine her2k,  c, z
routine trmm,   s, d, c, z
routine trsm,   s, d, c, z

// Small-matrix kernels: the engine chooses its own kernel by size
renamed x,    axpy,       "",   s, d, c, z
renamed x,    dot,        "",   s, d
renamed x,    gemm,       "",   s, d, c, z
renamed x,    gemm3m,     "",   c, z
renamed x,    syrk,       "",   s, d, c, z
renamed x,    trsm,       "",   s, d, c, z

// GEMM under the names of the run-time generated forms
renamed qnm_, gemm, _jit, s, d, c, z
renamed qnm_, gemm, _direct_jit, s, d, c, z

        .section .note.GNU-stack, "", @progbits
