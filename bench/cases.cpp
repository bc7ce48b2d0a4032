#include "cases.hpp"

#include <cstddef>

namespace qnm::bench {
namespace {

using core_int = long long;
using hidden_length = std::size_t;

constexpr int vector_length = 4, largest_order = 16;
double x[vector_length] = {1, 2, 3, 4}, y[vector_length];
double a[largest_order * largest_order], b[largest_order * largest_order], c[largest_order * largest_order];
const double alpha = 1e-9, zero = 0.0; // sums stay small however often they are added to

template <class R = void, class... P>
[[gnu::always_inline]] inline void repeat(void* function, long times, P... arguments)
{
    auto* const call = reinterpret_cast<R (*)(P...)>(function);
    for (; times > 0; --times)
        call(arguments...);
}

template <class I>
const I n4 = vector_length;
template <class I>
const I inc = 1;
template <class I>
const I by_size = 0; // the flag that leaves the choice of the kernel to the sizes

template <class I>
void axpy(void* function, long times)
{
    repeat(function, times, &n4<I>, &alpha, x, &inc<I>, y, &inc<I>);
}

template <class I>
void axpy_direct(void* function, long times)
{
    repeat(function, times, &n4<I>, &alpha, x, &inc<I>, y, &inc<I>, &by_size<I>);
}

template <class I>
void dot(void* function, long times)
{
    repeat<double>(function, times, &n4<I>, x, &inc<I>, y, &inc<I>);
}

template <class I>
void axpyi(void* function, long times)
{
    static const I indx[vector_length] = {4, 2, 1, 3};
    repeat(function, times, &n4<I>, &alpha, x, indx, y);
}

template <class I, char trans = 'N'>
void gemv(void* function, long times)
{
    static const char letter = trans;
    repeat(function, times, &letter, &n4<I>, &n4<I>, &alpha, a, &n4<I>, x, &inc<I>, &zero, y, &inc<I>,
           hidden_length{1});
}

template <class I, int order, char trans = 'N'>
void gemm(void* function, long times)
{
    static const I n = order;
    static const char letter = trans;
    repeat(function, times, &letter, &letter, &n, &n, &n, &alpha, a, &n, b, &n, &zero, c, &n,
           hidden_length{1}, hidden_length{1});
}

// The C interface: numbers and codes by value; row-major, no transposition.
constexpr int row_major = 101, no_transpose = 111;

template <class I>
void c_gemv(void* function, long times)
{
    repeat(function, times, row_major, no_transpose, n4<I>, n4<I>, alpha, a, n4<I>, x, inc<I>, zero, y,
           inc<I>);
}

template <class I>
void c_gemm(void* function, long times)
{
    repeat(function, times, row_major, no_transpose, no_transpose, n4<I>, n4<I>, n4<I>, alpha, a, n4<I>, b,
           n4<I>, zero, c, n4<I>);
}

// The unit matrix and its factors are the same, so that every call finds what the first one found.
double unit[vector_length * vector_length] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
template <class I>
I ipiv[vector_length] = {1, 2, 3, 4};
template <class I>
I info;

template <class I>
void getrf(void* function, long times)
{
    repeat(function, times, &n4<I>, &n4<I>, unit, &n4<I>, ipiv<I>, &info<I>);
}

template <class I>
void getrs(void* function, long times)
{
    repeat(function, times, "N", &n4<I>, &inc<I>, unit, &n4<I>, ipiv<I>, x, &n4<I>, &info<I>,
           hidden_length{1});
}

constexpr Case dgemm(const char* size, Loop* narrow, Loop* wide, Aim aim)
{
    return {"dgemm", size, narrow, wide, wide, "qnm_blas_dgemm", "dgemm_", aim};
}

constexpr Case all[] = {
    {"daxpy", "n=4", axpy<int>, axpy<core_int>, axpy<core_int>, "qnm_blas_daxpy", "daxpy_", {17, 5}},
    {"ddot", "n=4", dot<int>, dot<core_int>, dot<core_int>, "qnm_blas_ddot", "ddot_", {17, 5}},
    {"dgemv", "4x4", gemv<int>, gemv<core_int>, gemv<core_int>, "qnm_blas_dgemv", "dgemv_", {97}},
    dgemm("2x2x2", gemm<int, 2>, gemm<core_int, 2>, {121}),
    dgemm("2x2x2 T,T", gemm<int, 2, 'T'>, gemm<core_int, 2, 'T'>, {}),
    dgemm("16x16x16", gemm<int, 16>, gemm<core_int, 16>, {.narrow = 121, .ratio = 1.07}),
    {"cblas_dgemv",
     "row 4x4",
     c_gemv<int>,
     c_gemv<core_int>,
     gemv<core_int, 'T'>,
     "qnm_blas_dgemv",
     "cblas_dgemv",
     {162},
     c_gemv<core_int>},
    {"cblas_dgemm",
     "row 4x4",
     c_gemm<int>,
     c_gemm<core_int>,
     gemm<core_int, 4>,
     "qnm_blas_dgemm",
     "cblas_dgemm",
     {210},
     c_gemm<core_int>},
    {"dgetrf",
     "n=4",
     getrf<int>,
     getrf<core_int>,
     getrf<core_int>,
     "qnm_lapack_dgetrf",
     "dgetrf_",
     {.narrow = 83}},
    {"dgetrs",
     "n=4",
     getrs<int>,
     getrs<core_int>,
     getrs<core_int>,
     "qnm_lapack_dgetrs",
     "dgetrs_",
     {.narrow = 111}},
    {"daxpyi", "nz=4", axpyi<int>, axpyi<core_int>, axpyi<core_int>, "qnm_blas_daxpyi", nullptr, {0, 5}},
    {"daxpy_direct",
     "n=4",
     axpy_direct<int>,
     nullptr,
     axpy<core_int>,
     "qnm_blas_xdaxpy",
     "daxpy_",
     {.narrow = 13, .plus_decision = true}},
    {"ddot_direct",
     "n=4",
     dot<int>,
     nullptr,
     dot<core_int>,
     "qnm_blas_xddot",
     "ddot_",
     {.narrow = 13, .plus_decision = true}},
};

} // namespace

std::span<const Case> cases()
{
    return all;
}

} // namespace qnm::bench
