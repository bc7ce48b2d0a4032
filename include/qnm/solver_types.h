/* What programs, the layer and a core share of direct solvers. */
#ifndef QNM_SOLVER_TYPES_H
#define QNM_SOLVER_TYPES_H

/* A sparse matrix to be looked at ahead of a solver: SPARSE_MATRIX_CHECKER_INIT gives the codes their
 * defaults, SPARSE_MATRIX_CHECKER says by its result what it found, and in `results` where. */
typedef struct qnm_checked_matrix_t {
    int n;
    const int* ia;
    const int* ja;
    int indexing;      /* 0, 1: of the first element */
    int structure;     /* what of the matrix is stored: all, upper or lower triangle */
    int format;        /* of the arrays */
    int message_level; /* whether it says what it finds */
    int print_style;   /* of these messages: as C or as Fortran counts */
    int results[3];
} qnm_checked_matrix_t;

#endif
