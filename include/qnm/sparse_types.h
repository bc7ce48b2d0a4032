/* What programs, the layer and a core share of sparse matrices: handles, descriptors, and the codes of the
 * interface, which have 32 bits in both widths.
 *
 * A core has two functions for each operation, qnm_sparse_d_mv_i4 and qnm_sparse_d_mv_i8, with the arguments
 * of the C names qnm_sparse_d_mv and qnm_sparse_d_mv_64. */
#ifndef QNM_SPARSE_TYPES_H
#define QNM_SPARSE_TYPES_H

#ifdef __cplusplus
extern "C" {
#define QNM_ANY_INT : int /* whatever a caller passes */
#else
#define QNM_ANY_INT
#endif

/* A matrix, which is the core's. */
typedef struct qnm_sparse_matrix* qnm_sparse_matrix_t;

typedef enum qnm_sparse_status_t QNM_ANY_INT {
    QNM_SPARSE_STATUS_SUCCESS = 0,
    QNM_SPARSE_STATUS_NOT_INITIALIZED = 1, /* a null handle */
    QNM_SPARSE_STATUS_ALLOC_FAILED = 2,
    QNM_SPARSE_STATUS_INVALID_VALUE = 3,
    QNM_SPARSE_STATUS_EXECUTION_FAILED = 4,
    QNM_SPARSE_STATUS_INTERNAL_ERROR = 5,
    QNM_SPARSE_STATUS_NOT_SUPPORTED = 6,
} qnm_sparse_status_t;

typedef enum qnm_sparse_operation_t QNM_ANY_INT {
    QNM_SPARSE_OPERATION_NON_TRANSPOSE = 10,
    QNM_SPARSE_OPERATION_TRANSPOSE = 11,
    QNM_SPARSE_OPERATION_CONJUGATE_TRANSPOSE = 12,
} qnm_sparse_operation_t;

/* What a matrix is taken for. Of those with a triangle the other one is not looked at. */
typedef enum qnm_sparse_matrix_type_t QNM_ANY_INT {
    QNM_SPARSE_MATRIX_TYPE_GENERAL = 20,
    QNM_SPARSE_MATRIX_TYPE_SYMMETRIC = 21,
    QNM_SPARSE_MATRIX_TYPE_HERMITIAN = 22,
    QNM_SPARSE_MATRIX_TYPE_TRIANGULAR = 23,
    QNM_SPARSE_MATRIX_TYPE_DIAGONAL = 24,
    QNM_SPARSE_MATRIX_TYPE_BLOCK_TRIANGULAR = 25,
    QNM_SPARSE_MATRIX_TYPE_BLOCK_DIAGONAL = 26,
} qnm_sparse_matrix_type_t;

typedef enum qnm_sparse_fill_mode_t QNM_ANY_INT {
    QNM_SPARSE_FILL_MODE_LOWER = 40,
    QNM_SPARSE_FILL_MODE_UPPER = 41,
    QNM_SPARSE_FILL_MODE_FULL = 42,
} qnm_sparse_fill_mode_t;

typedef enum qnm_sparse_diag_type_t QNM_ANY_INT {
    QNM_SPARSE_DIAG_NON_UNIT = 50,
    QNM_SPARSE_DIAG_UNIT = 51,
} qnm_sparse_diag_type_t;

/* A descriptor travels by value in C, and by address in Fortran; `mode` and `diag` are for types with a
 * triangle. */
typedef struct qnm_sparse_descr_t {
    qnm_sparse_matrix_type_t type;
    qnm_sparse_fill_mode_t mode;
    qnm_sparse_diag_type_t diag;
} qnm_sparse_descr_t;

typedef enum qnm_sparse_indexing_t QNM_ANY_INT {
    QNM_SPARSE_INDEX_BASE_ZERO = 0,
    QNM_SPARSE_INDEX_BASE_ONE = 1,
} qnm_sparse_indexing_t;

/* Of dense matrices, and of the elements of a block. */
typedef enum qnm_sparse_layout_t QNM_ANY_INT {
    QNM_SPARSE_LAYOUT_ROW_MAJOR = 101,
    QNM_SPARSE_LAYOUT_COLUMN_MAJOR = 102,
} qnm_sparse_layout_t;

typedef enum qnm_sparse_verbose_mode_t QNM_ANY_INT {
    QNM_SPARSE_VERBOSE_OFF = 70,
    QNM_SPARSE_VERBOSE_BASIC = 71,
    QNM_SPARSE_VERBOSE_EXTENDED = 72,
} qnm_sparse_verbose_mode_t;

typedef enum qnm_sparse_memory_policy_t QNM_ANY_INT {
    QNM_SPARSE_MEMORY_NONE = 80,
    QNM_SPARSE_MEMORY_AGGRESSIVE = 81,
} qnm_sparse_memory_policy_t;

/* How much of a product is to be done: all at once; the row pointers, then the rest; the structure, then
 * values. */
typedef enum qnm_sparse_request_t QNM_ANY_INT {
    QNM_SPARSE_STAGE_FULL_MULT = 90,
    QNM_SPARSE_STAGE_NNZ_COUNT = 91,
    QNM_SPARSE_STAGE_FINALIZE_MULT = 92,
    QNM_SPARSE_STAGE_FULL_MULT_NO_VAL = 93,
    QNM_SPARSE_STAGE_FINALIZE_MULT_NO_VAL = 94,
} qnm_sparse_request_t;

typedef enum qnm_sparse_sweep_t QNM_ANY_INT {
    QNM_SPARSE_SOR_FORWARD = 110,
    QNM_SPARSE_SOR_BACKWARD = 111,
    QNM_SPARSE_SOR_SYMMETRIC = 112,
} qnm_sparse_sweep_t;

typedef enum qnm_sparse_qr_hint_t QNM_ANY_INT {
    QNM_SPARSE_QR_WITH_PIVOTS = 0,
} qnm_sparse_qr_hint_t;

#undef QNM_ANY_INT

#ifdef __cplusplus
}
#endif

#endif
