/* Imports of the core, as a layer has them, for the tests, which call these functions themselves. */
#include <dlfcn.h>

typedef void any(void);

extern any qnm_serv_allocate, qnm_serv_deallocate, qnm_serv_malloc, qnm_serv_realloc, qnm_serv_free,
    qnm_serv_lsame, qnm_serv_snprintf_s, qnm_serv_getenv, qnm_serv_strncat_s, qnm_serv_xerbla,
    qnm_serv_print_verbose_info, qnm_blas_any;

any* const sample_imports[] = {
    qnm_serv_allocate, qnm_serv_deallocate, qnm_serv_malloc,     qnm_serv_realloc,
    qnm_serv_free,     qnm_serv_lsame,      qnm_serv_snprintf_s, qnm_serv_getenv,
    qnm_blas_any,      qnm_serv_xerbla,     qnm_serv_strncat_s,  qnm_serv_print_verbose_info,
};

extern void* qnm_serv_load_vml(void);
extern void qnm_serv_print(int severity, int code, int inserts, ...);

typedef union {
    void* address;
    int (*index)(int type);
    double (*const* functions)(long n);
} found;

found sample_find(const char* name)
{
    const found kernel = {dlsym(qnm_serv_load_vml(), name)};
    if (kernel.address == 0)
        qnm_serv_print(1, 772, 1, name);
    return kernel;
}

double sample_vector(long n)
{
    const found functions = sample_find("qnm_vml_kernel_dSample_ttab");
    return functions.functions[sample_find("qnm_vml_kernel_GetTTableIndex").index(5)](n);
}

/* The names of other families, one misspelt; and a number that ends in a letter, with a name behind it. */
const char* const sample_names[] = {"__vslNewStreamEx", "_vsldRngUniform", "qnm_df_kernel_dNewTsk1D"};
const struct {
    double number;
    char name[18];
} sample_text = {1048576.0, "__vslDeleteStream"};
