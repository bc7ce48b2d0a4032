// Functions with a complex result: the engine returns it in registers, the core stores it through a pointer
// that stands first.
#include "engine.hpp"

// Every argument is a pointer that goes on as it came.
#define POINTERS_2 const void *p1, const void *p2
#define POINTERS_5 POINTERS_2, const void *p3, const void *p4, const void *p5
#define POINTERS_15                                                                                          \
    POINTERS_5, const void *p6, const void *p7, const void *p8, const void *p9, const void *p10,             \
        const void *p11, const void *p12, const void *p13, const void *p14, const void *p15
#define POINTERS_17 POINTERS_15, const void *p16, const void *p17
#define NAMES_2 p1, p2
#define NAMES_5 NAMES_2, p3, p4, p5
#define NAMES_15 NAMES_5, p6, p7, p8, p9, p10, p11, p12, p13, p14, p15
#define NAMES_17 NAMES_15, p16, p17

#define QNM_RESULT(family, T, name, count)                                                                   \
    extern "C" T name##_(POINTERS_##count);                                                                  \
    QNM_CORE void qnm_##family##_##name(T* result, POINTERS_##count)                                         \
    {                                                                                                        \
        *result = name##_(NAMES_##count);                                                                    \
    }
#define QNM_RESULTS(l, L, T)                                                                                 \
    QNM_RESULT(blas, T, l##dotc, 5)                                                                          \
    QNM_RESULT(blas, T, l##dotu, 5)                                                                          \
    QNM_RESULT(lapack, T, l##ladiv, 2)                                                                       \
    QNM_RESULT(lapack, T, l##larnd, 2)                                                                       \
    QNM_RESULT(lapack, T, l##latm2, 15)                                                                      \
    QNM_RESULT(lapack, T, l##latm3, 17)
QNM_COMPLEX_LETTERS(QNM_RESULTS)
