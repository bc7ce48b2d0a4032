/* The least core that a report needs: it routes to the registered head, as every core does. */
#include <ctype.h>
#include <stdio.h>
#include <string.h>

typedef void handler(const char* srname, const int* info, int len);

static handler* head;
static int mode;

void qnm_serv_set_xerbla_interface(handler* function)
{
    head = function;
}

void qnm_serv_xerbla(const char* srname, const int* info, int len)
{
    head(srname, info, len);
}

int qnm_serv_lsame(const char* a, const char* b)
{
    return toupper((unsigned char)*a) == toupper((unsigned char)*b);
}

/* The layer appends to a path while it is loaded. */
int qnm_serv_strncat_s(char* text, size_t size, const char* from, size_t most)
{
    const size_t length = strlen(text);
    (void)most;
    if (length + strlen(from) >= size)
        return 1;
    strcpy(text + length, from);
    return 0;
}

size_t qnm_serv_strnlen_s(const char* text, size_t most)
{
    return strnlen(text, most);
}

int* qnm_serv_verbose_mode(void)
{
    return &mode;
}

void qnm_blas_dgemm(void)
{
    puts("qnm_blas_dgemm");
}
