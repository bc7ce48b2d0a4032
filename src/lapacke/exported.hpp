// What the helpers of the C interface and its entries share: numbers, layouts, and the helpers by their
// exported names, which an application may have taken over.
#pragma once

#include "frame/types.hpp"

namespace qnm {

/// A complex number as arrays have it, and as C passes it by value: in vector registers.
template <class R>
struct Complex {
    R re;
    R im;
};
using qnm_complex8 = Complex<float>;
using qnm_complex16 = Complex<double>;

template <class T>
struct RealOf {
    using type = T;
};
template <class R>
struct RealOf<Complex<R>> {
    using type = R;
};
template <class T>
using real = typename RealOf<T>::type;

using qnm_int64 = core_int;

inline constexpr int row_major = 101;
inline constexpr int column_major = 102;

QNM_INLINE bool is_layout(int layout)
{
    return layout == row_major || layout == column_major;
}

/// The helpers of one element and one integer, as members `ge_trans`, `ge_nancheck` and so on: a generated
/// header has them.
template <class E, class I>
struct Exported;

extern "C" {
QNM_EXPORT int LAPACKE_get_nancheck();
QNM_EXPORT void LAPACKE_xerbla(const char* name, int info);
QNM_EXPORT int LAPACKE_lsame(char a, char b);
QNM_EXPORT void* qnm_serv_iface_malloc(core_int bytes, int alignment);
QNM_EXPORT void qnm_serv_iface_free(void* block);
}

} // namespace qnm
