/* Imports of the core, as a layer has them, for the tests, which call these functions themselves; and statics
   as an entry has them. */
#include <dlfcn.h>

typedef void any(void);

extern any qnm_serv_allocate, qnm_serv_deallocate, qnm_serv_malloc, qnm_serv_calloc, qnm_serv_realloc,
    qnm_serv_free, qnm_serv_lsame, qnm_serv_dsecnd, qnm_serv_verbose_mode, qnm_serv_snprintf_s,
    qnm_serv_strnlen_s, qnm_serv_strncat_s, qnm_serv_xerbla, qnm_serv_set_xerbla_interface,
    qnm_serv_print_verbose_info, qnm_serv_getenv, qnm_blas_any;

any* const sample_imports[] = {
    qnm_serv_allocate,   qnm_serv_deallocate,   qnm_serv_malloc,    qnm_serv_calloc,
    qnm_serv_realloc,    qnm_serv_free,         qnm_serv_lsame,     qnm_serv_dsecnd,
    qnm_serv_xerbla,     qnm_serv_verbose_mode, qnm_serv_strnlen_s, qnm_serv_set_xerbla_interface,
    qnm_serv_snprintf_s, qnm_serv_strncat_s,    qnm_blas_any,       qnm_serv_print_verbose_info,
    qnm_serv_getenv,
};

static const int unknown __asm__("sample.verbose_unknown") = -1;
const int* sample_cell = &unknown;

/* Kernels found by name, as the vector families find theirs. */
extern void* qnm_serv_load_vml(void);
extern int qnm_serv_vml_cpu_detect(void);
extern void qnm_serv_print(int severity, int code, int inserts, ...);

typedef union {
    void* address;
    int (*index)(int type);
    double (*const* functions)(long n, const double* a, float companion);
    const float* companions;
} found;

found sample_find(const char* name)
{
    const found kernel = {dlsym(qnm_serv_load_vml(), name)};
    if (kernel.address == 0)
        qnm_serv_print(1, 772, 1, name);
    return kernel;
}

double sample_vector(long n, const double* a)
{
    const found functions = sample_find("qnm_vml_kernel_dSample_ttab");
    const found companions = sample_find("qnm_vml_kernel_dSample_ctab");
    const int i = sample_find("qnm_vml_kernel_GetTTableIndex").index(qnm_serv_vml_cpu_detect());
    return functions.functions[i](n, a, companions.companions[i]);
}

/* The names of other families, one misspelt; and a number that ends in a letter, with a name behind it. */
const char* const sample_names[] = {"__vslNewStreamEx", "_vsldRngUniform", "qnm_df_kernel_dNewTsk1D"};
const struct {
    double number;
    char name[18];
} sample_text = {1048576.0, "__vslDeleteStream"};
