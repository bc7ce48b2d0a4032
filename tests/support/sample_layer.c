/* Imports of the core, as a layer has them, for the tests, which call these functions themselves. */
#include <dlfcn.h>

__asm__(".data\n"
        ".quad qnm_serv_allocate, qnm_serv_deallocate, qnm_serv_malloc, qnm_serv_realloc, qnm_serv_free\n"
        ".quad qnm_serv_snprintf_s, qnm_serv_getenv, qnm_serv_xerbla, qnm_serv_print_verbose_info\n"
        ".quad qnm_blas_any\n"
        ".text");

extern void* qnm_serv_load_vml(void);
extern void qnm_serv_print(int severity, int code, int inserts, ...);

void* sample_find(const char* name)
{
    void* const kernel = dlsym(qnm_serv_load_vml(), name);
    if (kernel == 0)
        qnm_serv_print(1, 772, 1, name);
    return kernel;
}

/* The names of other families, one misspelt; and a number that ends in a letter, with a name behind it. */
const char* const sample_names[] = {"__vslNewStreamEx", "_vsldRngUniform", "qnm_df_kernel_dNewTsk1D",
                                    "qnm_vml_kernel_dSample_ttab"};
const struct {
    double number;
    char name[18];
} sample_text = {1048576.0, "__vslDeleteStream"};
