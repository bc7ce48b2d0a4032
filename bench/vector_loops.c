// What a program would write without vector functions. Compiled once as it stands, and for each instruction
// set with options under which the compiler takes the C library's own vector functions.
#include <math.h>

#define JOINED(set, name) set##_##name
#define NAMED(set, name) JOINED(set, name)
#define LOOP(name, T, element)                                                                               \
    void NAMED(SET, name)(int n, const void* first, const void* second, void* result)                        \
    {                                                                                                        \
        const T *a = first, *b = second;                                                                     \
        T* y = result;                                                                                       \
        (void)b;                                                                                             \
        _Pragma("GCC ivdep") for (int i = 0; i < n; ++i) y[i] = element;                                     \
    }

LOOP(vdExp, double, exp(a[i]))
LOOP(vdLn, double, log(a[i]))
LOOP(vdErf, double, erf(a[i]))
LOOP(vsExp, float, expf(a[i]))
LOOP(vdAdd, double, a[i] + b[i])
LOOP(vdJ0, double, j0(a[i]))
LOOP(engine_vdJ0, double, (double)j0l(a[i]))
