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

/* clang-format off */
DOT(float, cdotc, CDOTC)
DOT(float, cdotu, CDOTU)
DOT(double, zdotc, ZDOTC)
DOT(double, zdotu, ZDOTU)
SPARSE_DOT(float, cdotci, CDOTCI)
SPARSE_DOT(float, cdotui, CDOTUI)
SPARSE_DOT(double, zdotci, ZDOTCI)
SPARSE_DOT(double, zdotui, ZDOTUI)
