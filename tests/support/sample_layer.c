/* Imports of the core, as a layer has them, for the tests, which call these functions themselves; and statics
   as an entry has them. */
#define IMPORT(name) extern void name(void);
#define ADDRESS(name) name,
#define IMPORTS(DO)                                                                                          \
    DO(qnm_serv_allocate)                                                                                    \
    DO(qnm_serv_deallocate) DO(qnm_serv_malloc) DO(qnm_serv_calloc) DO(qnm_serv_realloc) DO(qnm_serv_free)   \
        DO(qnm_serv_lsame) DO(qnm_serv_dsecnd) DO(qnm_serv_verbose_mode) DO(qnm_serv_snprintf_s)             \
            DO(qnm_serv_strnlen_s) DO(qnm_serv_strncat_s) DO(qnm_serv_xerbla)                                \
                DO(qnm_serv_set_xerbla_interface) DO(qnm_serv_print_verbose_info) DO(qnm_blas_any)

IMPORTS(IMPORT)

void (*const sample_imports[])(void) = {IMPORTS(ADDRESS)};

static const int unknown __asm__("sample.verbose_unknown") = -1;
const int* sample_cell = &unknown;
