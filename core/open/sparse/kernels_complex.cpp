#define QNM_SPARSE_LETTERS QNM_COMPLEX_LETTERS
#include "kernels.inc"
