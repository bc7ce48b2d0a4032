#define QNM_SPARSE_LETTERS QNM_REAL_LETTERS
#include "kernels.inc"
