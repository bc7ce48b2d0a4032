// The switch of NaN checks, option letters and messages, once for both widths.
#include "frame/types.hpp"

#include <cstdlib>

namespace {

constexpr int not_read = -1;
int nancheck_flag asm("nancheck_flag") = not_read; // the name that debuggers and tests look for

int from_environment()
{
    constexpr int size = 256;
    char value[size];
    if (qnm_serv_getenv("LAPACKE_NANCHECK", value, size) < 1)
        return 1;
    return std::strtol(value, nullptr, 10) != 0 ? 1 : 0;
}

// Threads may race to read the environment first: all store the same value.
QNM_BENIGN_RACE int nancheck()
{
    if (nancheck_flag == not_read)
        nancheck_flag = from_environment();
    return nancheck_flag;
}

} // namespace

extern "C" {

QNM_EXPORT void LAPACKE_set_nancheck(int flag)
{
    nancheck_flag = flag != 0 ? 1 : 0;
}

QNM_EXPORT int LAPACKE_get_nancheck()
{
    return nancheck();
}

QNM_EXPORT int LAPACKE_lsame(char a, char b)
{
    return qnm_serv_lsame(&a, &b, 1, 1);
}

QNM_EXPORT void LAPACKE_xerbla(const char* name, int info)
{
    constexpr int work_memory = -1010, transpose_memory = -1011;
    if (info == transpose_memory)
        qnm_serv_printf_s("Not enough memory to transpose matrix in %s\n", name);
    else if (info == work_memory)
        qnm_serv_printf_s("Not enough memory to allocate work array in %s\n", name);
    else if (info < 0)
        qnm_serv_printf_s("Wrong parameter %d in %s\n", -info, name);
}
}
