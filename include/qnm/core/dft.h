/* What the layer and a core share of Fourier transforms: the head of a descriptor, its operations, and the
 * functions that a core has.
 *
 * A core makes descriptors and owns them; its own fields follow the head. The layer reads and writes the
 * fields of the head and calls the operations, which a core may follow by its own. Lengths and strides stand
 * with the fastest dimension first; strides have the offset of the first element in front. Statuses are those
 * of DFTI: 0 is none. */
#ifndef QNM_CORE_DFT_H
#define QNM_CORE_DFT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct dft_descriptor dft_descriptor;
typedef struct dft_ops dft_ops;
typedef dft_descriptor* dft_handle;

/* Of a descriptor that is committed: as many arrays as its count says, null beyond them; the last argument is
 * null. */
typedef int64_t dft_compute(dft_descriptor* d, void* a, void* b, void* c, void* e, void* null);

struct dft_descriptor {
    dft_compute *forward, *backward; /* null until committed */
    int32_t array_count;             /* of one transform: 1, 2 or 4 */
    uint8_t state;                   /* bit 0 is cleared where an integer is set */
    uint32_t magic;                  /* DFT_MAGIC, or it is no descriptor */
    int32_t commit_status;           /* 30 or 31 */
    int32_t rank;                    /* 1 to 7 */
    void (*free)(dft_descriptor* d); /* ends a copy that could not be committed; may be null */
    const dft_ops* ops;
    uint32_t domain, precision; /* codes of DFTI, here and below */
    uint32_t complex_storage, real_storage, conjugate_even_storage;
    uint32_t placement, packed_format, workspace, ordering, transpose;
    double forward_scale, backward_scale;
    dft_descriptor* next; /* of a chain of sub-descriptors; null at its end */
    int32_t user_threads;
    uint32_t options; /* DFT_DESTROY_INPUT */
};

enum { DFT_MAGIC = 0x544644, DFT_DESTROY_INPUT = 16 };

struct dft_ops {
    int64_t (*commit)(dft_descriptor* d);
    int64_t (*get_input_strides)(dft_descriptor* d, int64_t* strides); /* rank + 1 */
    int64_t (*get_output_strides)(dft_descriptor* d, int64_t* strides);
    int64_t (*set_input_strides)(dft_descriptor* d, const int64_t* strides);
    int64_t (*set_output_strides)(dft_descriptor* d, const int64_t* strides);
    int64_t (*get_lengths)(dft_descriptor* d, int64_t* lengths); /* rank */
    int64_t (*get_name)(dft_descriptor* d, char* name, int64_t length);
    int64_t (*set_name)(dft_descriptor* d, const char* name, int64_t length, int pad);
    int64_t (*get_scale)(dft_descriptor* d, double* scale, int code);
    int64_t (*set_scale)(dft_descriptor* d, int code, double scale);
    int64_t (*copy)(dft_descriptor* d, dft_handle* copy);
    int64_t (*get_input_distance)(dft_descriptor* d, int64_t* distance);
    int64_t (*get_output_distance)(dft_descriptor* d, int64_t* distance);
    int64_t (*get_number_of_transforms)(dft_descriptor* d, int64_t* count);
    int64_t (*set_input_distance)(dft_descriptor* d, int64_t distance);
    int64_t (*set_output_distance)(dft_descriptor* d, int64_t distance);
    int64_t (*set_number_of_transforms)(dft_descriptor* d, int64_t count);
    int64_t (*get_thread_limit)(dft_descriptor* d, int64_t* limit);
    int64_t (*set_thread_limit)(dft_descriptor* d, int64_t limit);
    int64_t (*get_rank)(dft_descriptor* d, int64_t* rank);
    int64_t (*release)(dft_descriptor* d);
    int64_t (*get_forward_distance)(dft_descriptor* d, int64_t* distance);
    int64_t (*get_backward_distance)(dft_descriptor* d, int64_t* distance);
    int64_t (*get_forward_strides)(dft_descriptor* d, int64_t* strides);
    int64_t (*get_backward_strides)(dft_descriptor* d, int64_t* strides);
};

/* Descriptors of one or of more dimensions: double or single precision, complex or real forward domain. */
int64_t qnm_dft_dfti_create_dc1d(dft_handle* made, int64_t length, int64_t zero);
int64_t qnm_dft_dfti_create_sc1d(dft_handle* made, int64_t length, int64_t zero);
int64_t qnm_dft_dfti_create_dr1d(dft_handle* made, int64_t length, int64_t zero);
int64_t qnm_dft_dfti_create_sr1d(dft_handle* made, int64_t length, int64_t zero);
int64_t qnm_dft_dfti_create_dcmd(dft_handle* made, int64_t rank, const int64_t* lengths, int64_t zero);
int64_t qnm_dft_dfti_create_scmd(dft_handle* made, int64_t rank, const int64_t* lengths, int64_t zero);
int64_t qnm_dft_dfti_create_drmd(dft_handle* made, int64_t rank, const int64_t* lengths, int64_t zero);
int64_t qnm_dft_dfti_create_srmd(dft_handle* made, int64_t rank, const int64_t* lengths, int64_t zero);
/* Called once for each new descriptor. */
void qnm_dft_bless_node_thr(dft_descriptor* d);
void qnm_dft_dfti_get_version_string(char* text, int64_t length);

/* The text of a message; null if there is none. */
const char* qnm_serv_get_msg(int number, int zero);
/* NOLINTNEXTLINE(readability-redundant-declaration): of other families too */
void qnm_serv_print(int severity, int number, int inserts, ...);
/* Writes at most `*left` characters and a zero, lowers `*left` by what it wrote, and gives the new end. */
char* qnm_serv_sprintf_char_s(char* to, size_t* left, const char* format, ...);

/* How communicators of C, a word, and of Fortran become each other; a null record: nothing has to be
 * converted. */
typedef struct {
    int (*comm_c2f)(int64_t c);
    int64_t (*comm_f2c)(int f);
} dft_mpi_wrappers;
const dft_mpi_wrappers* qnm_serv_get_mpi_wrappers(void);

#ifdef __cplusplus
}

#define DFT_STANDS_AT(field, at) static_assert(offsetof(dft_descriptor, field) == (at), #field)
DFT_STANDS_AT(backward, 8);
DFT_STANDS_AT(array_count, 16);
DFT_STANDS_AT(state, 20);
DFT_STANDS_AT(magic, 24);
DFT_STANDS_AT(commit_status, 28);
DFT_STANDS_AT(rank, 32);
DFT_STANDS_AT(free, 40);
DFT_STANDS_AT(ops, 48);
DFT_STANDS_AT(domain, 56);
DFT_STANDS_AT(complex_storage, 64);
DFT_STANDS_AT(placement, 76);
DFT_STANDS_AT(packed_format, 80);
DFT_STANDS_AT(transpose, 92);
DFT_STANDS_AT(forward_scale, 96);
DFT_STANDS_AT(next, 112);
DFT_STANDS_AT(options, 124);
#undef DFT_STANDS_AT
static_assert(sizeof(dft_descriptor) == 128, "a core's own fields follow");
static_assert(sizeof(dft_ops) == 200, "25 operations");
#endif

#endif
