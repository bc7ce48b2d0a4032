/*
 * Adapter for programs of GNU Fortran, to be loaded ahead of the layer.
 *
 * GNU Fortran expects the value of a complex function in registers, as the C types of this file are
 * returned; the layer's complex functions store it behind a hidden first argument. The names that such
 * a program uses are taken over here, and the call goes on to the layer's upper-case spelling, which
 * this library leaves alone. Only the result is touched: arguments pass by reference, whatever their
 * integer width.
 */

#define EXPORTED __attribute__((visibility("default")))

#define ADAPT(type, name, layer_name, parameters, ...)                                                       \
    EXPORTED type _Complex name parameters;                                                                  \
    type _Complex name parameters                                                                            \
    {                                                                                                        \
        type _Complex result;                                                                                \
        layer_name(&result, __VA_ARGS__);                                                                    \
        return result;                                                                                       \
    }

/* Inner product of two dense vectors, both integer widths. */
#define DOT_OF_WIDTH(type, name, layer_name)                                                                 \
    void layer_name(type _Complex*, const void*, const void*, const void*, const void*, const void*);        \
    ADAPT(type, name, layer_name,                                                                            \
          (const void* n, const void* x, const void* incx, const void* y, const void* incy), n, x, incx, y,  \
          incy)
#define DOT(type, lower, upper)                                                                              \
    DOT_OF_WIDTH(type, lower##_, upper)                                                                      \
    DOT_OF_WIDTH(type, lower##_64_, upper##_64)

/* Inner product of a sparse and a dense vector, both integer widths. */
#define SPARSE_DOT_OF_WIDTH(type, name, layer_name)                                                          \
    void layer_name(type _Complex*, const void*, const void*, const void*, const void*);                     \
    ADAPT(type, name, layer_name, (const void* nz, const void* x, const void* indx, const void* y), nz, x,   \
          indx, y)
#define SPARSE_DOT(type, lower, upper)                                                                       \
    SPARSE_DOT_OF_WIDTH(type, lower##_, upper)                                                               \
    SPARSE_DOT_OF_WIDTH(type, lower##_64_, upper##_64)

/* LAPACK: complex division, random numbers and elements of random matrices. Pointers P1, P2, ... go on as
 * they come. */
#define POINTERS_2 const void *p1, const void *p2
#define POINTERS_15                                                                                          \
    POINTERS_2, const void *p3, const void *p4, const void *p5, const void *p6, const void *p7,              \
        const void *p8, const void *p9, const void *p10, const void *p11, const void *p12, const void *p13,  \
        const void *p14, const void *p15
#define POINTERS_17 POINTERS_15, const void *p16, const void *p17
#define NAMES_2 p1, p2
#define NAMES_15 NAMES_2, p3, p4, p5, p6, p7, p8, p9, p10, p11, p12, p13, p14, p15
#define NAMES_17 NAMES_15, p16, p17
#define FUNCTION_OF_WIDTH(type, name, layer_name, count)                                                     \
    void layer_name(type _Complex*, POINTERS_##count);                                                       \
    ADAPT(type, name, layer_name, (POINTERS_##count), NAMES_##count)
#define FUNCTION(type, lower, upper, count)                                                                  \
    FUNCTION_OF_WIDTH(type, lower##_, upper, count)                                                          \
    FUNCTION_OF_WIDTH(type, lower##_64_, upper##_64, count)

/* clang-format off */
DOT(float, cdotc, CDOTC)
DOT(float, cdotu, CDOTU)
DOT(double, zdotc, ZDOTC)
DOT(double, zdotu, ZDOTU)
SPARSE_DOT(float, cdotci, CDOTCI)
SPARSE_DOT(float, cdotui, CDOTUI)
SPARSE_DOT(double, zdotci, ZDOTCI)
SPARSE_DOT(double, zdotui, ZDOTUI)
FUNCTION(float, cladiv, CLADIV, 2)
FUNCTION(double, zladiv, ZLADIV, 2)
FUNCTION(float, clarnd, CLARND, 2)
FUNCTION(double, zlarnd, ZLARND, 2)
FUNCTION(float, clatm2, CLATM2, 15)
FUNCTION(double, zlatm2, ZLATM2, 15)
FUNCTION(float, clatm3, CLATM3, 17)
FUNCTION(double, zlatm3, ZLATM3, 17)
