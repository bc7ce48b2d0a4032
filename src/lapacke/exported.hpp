// What the helpers of the C interface and its entries share: numbers, layouts, and the helpers by their
// exported names, which an application may have taken over.
#pragma once

#include "frame/complex.hpp"
#include "frame/layout.hpp"

namespace qnm {

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

/// The helpers of one element and one integer, as members `ge_trans`, `ge_nancheck` and so on: a generated
/// header has them.
template <class E, class I>
struct Exported;

extern "C" {
QNM_EXPORT int LAPACKE_get_nancheck();
QNM_EXPORT void LAPACKE_xerbla(const char* name, int info);
QNM_EXPORT int LAPACKE_lsame(char a, char b);
}

} // namespace qnm
