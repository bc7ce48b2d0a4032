/* Imports of the core, as a layer has them, for the tests, which call these functions themselves; and statics
   as an entry has them. */
typedef void any(void);

extern any qnm_serv_allocate, qnm_serv_deallocate, qnm_serv_malloc, qnm_serv_calloc, qnm_serv_realloc,
    qnm_serv_free, qnm_serv_lsame, qnm_serv_dsecnd, qnm_serv_verbose_mode, qnm_serv_snprintf_s,
    qnm_serv_strnlen_s, qnm_serv_strncat_s, qnm_serv_xerbla, qnm_serv_set_xerbla_interface,
    qnm_serv_print_verbose_info, qnm_blas_any;

any* const sample_imports[] = {
    qnm_serv_allocate,   qnm_serv_deallocate,   qnm_serv_malloc,    qnm_serv_calloc,
    qnm_serv_realloc,    qnm_serv_free,         qnm_serv_lsame,     qnm_serv_dsecnd,
    qnm_serv_xerbla,     qnm_serv_verbose_mode, qnm_serv_strnlen_s, qnm_serv_set_xerbla_interface,
    qnm_serv_snprintf_s, qnm_serv_strncat_s,    qnm_blas_any,       qnm_serv_print_verbose_info,
};

static const int unknown __asm__("sample.verbose_unknown") = -1;
const int* sample_cell = &unknown;
