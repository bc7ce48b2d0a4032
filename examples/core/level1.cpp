// A core of one file: level 1 of the BLAS over plain loops, and the services that every entry needs. The
// headers hold it: a parameter of another type does not compile.
//
//     c++ -std=c++17 -shared -fPIC -fvisibility=hidden level1.cpp -o libqnm_core.so
//     qnm-core-check libqnm_core.so blas/level1
#include <qnm/core/blas.h>
#include <qnm/core/services.h>

#include <atomic>
#include <cmath>
#include <complex>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <unistd.h>

#define CORE extern "C" __attribute__((visibility("default")))

namespace {

// ---- vectors

/// Element i of n: with a negative increment they are counted from the end.
template <class T>
class Vector {
public:
    Vector(const qnm_int64* n, T* x, const qnm_int64* incx)
        : first_(*incx < 0 ? x - (*n - 1) * *incx : x), step_(*incx)
    {
    }
    T& operator[](qnm_int64 i) const { return first_[i * step_]; }

private:
    T* first_;
    qnm_int64 step_;
};

template <class T>
void axpby(const qnm_int64* n, T alpha, const T* x, const qnm_int64* incx, T beta, T* y,
           const qnm_int64* incy)
{
    const Vector<const T> from(n, x, incx);
    const Vector<T> to(n, y, incy);
    for (qnm_int64 i = 0; i < *n; ++i)
        to[i] = alpha * from[i] + (beta == T(0) ? T(0) : beta * to[i]);
}

template <class T>
void copy(const qnm_int64* n, const T* x, const qnm_int64* incx, T* y, const qnm_int64* incy)
{
    const Vector<const T> from(n, x, incx);
    const Vector<T> to(n, y, incy);
    for (qnm_int64 i = 0; i < *n; ++i)
        to[i] = from[i];
}

template <class T>
void swap(const qnm_int64* n, T* x, const qnm_int64* incx, T* y, const qnm_int64* incy)
{
    const Vector<T> one(n, x, incx), other(n, y, incy);
    for (qnm_int64 i = 0; i < *n; ++i)
        std::swap(one[i], other[i]);
}

template <class S, class T>
void scale(const qnm_int64* n, S alpha, T* x, const qnm_int64* incx)
{
    for (qnm_int64 i = 0; i<*n&& * incx> 0; ++i)
        x[i * *incx] *= alpha;
}

float conjugate(float x)
{
    return x;
}
double conjugate(double x)
{
    return x;
}
template <class R>
std::complex<R> conjugate(std::complex<R> x)
{
    return std::conj(x);
}

template <class T, class R, class S>
void rotate(const qnm_int64* n, T* x, const qnm_int64* incx, T* y, const qnm_int64* incy, R c, S s)
{
    const Vector<T> one(n, x, incx), other(n, y, incy);
    for (qnm_int64 i = 0; i < *n; ++i) {
        const T turned = c * one[i] + s * other[i];
        other[i] = c * other[i] - conjugate(s) * one[i];
        one[i] = turned;
    }
}

template <class R>
void make_rotation(R* a, R* b, R* c, R* s)
{
    const R larger = std::abs(*a) > std::abs(*b) ? *a : *b, r = std::copysign(std::hypot(*a, *b), larger);
    *c = r == 0 ? R(1) : *a / r;
    *s = r == 0 ? R(0) : *b / r;
    const R z = std::abs(*a) > std::abs(*b) ? *s : r == 0 ? R(0) : *c != 0 ? 1 / *c : R(1);
    *a = r;
    *b = z;
}

template <class R>
void make_rotation(std::complex<R>* a, const std::complex<R>* b, R* c, std::complex<R>* s)
{
    const R size = std::abs(*a), norm = std::hypot(size, std::abs(*b));
    if (size == 0) {
        *c = *b == R(0) ? R(1) : R(0);
        *s = *b == R(0) ? R(0) : std::conj(*b) / std::abs(*b);
        *a = *b == R(0) ? std::complex<R>(0) : std::complex<R>(std::abs(*b));
        return;
    }
    const std::complex<R> direction = *a / size;
    *c = size / norm;
    *s = direction * std::conj(*b) / norm;
    *a = direction * norm;
}

template <class R>
void rotate_modified(const qnm_int64* n, R* x, const qnm_int64* incx, R* y, const qnm_int64* incy,
                     const R* param)
{
    const R flag = param[0];
    if (flag == -2)
        return;
    const R h11 = flag == 0 ? R(1) : param[1], h22 = flag == 0 ? R(1) : param[4];
    const R h21 = flag == 1 ? R(-1) : param[2], h12 = flag == 1 ? R(1) : param[3];
    const Vector<R> one(n, x, incx), other(n, y, incy);
    for (qnm_int64 i = 0; i < *n; ++i) {
        const R turned = h11 * one[i] + h12 * other[i];
        other[i] = h21 * one[i] + h22 * other[i];
        one[i] = turned;
    }
}

template <class R>
void make_modified(R* d1, R* d2, R* x1, R y1, R* param)
{
    R flag = -2, h11 = 1, h12 = 0, h21 = 0, h22 = 1;
    const R p2 = *d2 * y1, p1 = *d1 * *x1, q2 = p2 * y1, q1 = p1 * *x1;
    const auto nothing = [&] { // no rotation makes these positive
        flag = -1;
        h11 = h12 = h21 = h22 = *d1 = *d2 = *x1 = 0;
    };
    if (*d1 < 0) {
        nothing();
    } else if (p2 == 0) {
        param[0] = -2;
        return;
    } else if (std::abs(q1) > std::abs(q2)) {
        h21 = -y1 / *x1;
        h12 = p2 / p1;
        const R u = 1 - h12 * h21;
        flag = 0;
        if (u > 0) {
            *d1 /= u;
            *d2 /= u;
            *x1 *= u;
        } else {
            nothing();
        }
    } else if (q2 < 0) {
        nothing();
    } else {
        flag = 1;
        h11 = p1 / p2;
        h22 = *x1 / y1;
        h12 = 1;
        h21 = -1;
        const R u = 1 + h11 * h22, former = *d1 / u;
        *d1 = *d2 / u;
        *d2 = former;
        *x1 = y1 * u;
    }
    // Scale factors stay within 2^-24 and 2^24.
    const auto keep = [&](R& d, R& first, R& second, R* x) {
        while (d != 0 && (std::abs(d) <= R(0x1p-24) || std::abs(d) >= R(0x1p24))) {
            const R by = std::abs(d) <= R(0x1p-24) ? R(4096) : R(0x1p-12);
            flag = -1;
            d *= by * by;
            first /= by;
            second /= by;
            if (x != nullptr)
                *x /= by;
        }
    };
    keep(*d1, h11, h12, x1);
    keep(*d2, h21, h22, nullptr);
    param[0] = flag;
    if (flag <= 0) {
        param[2] = h21;
        param[3] = h12;
    }
    if (flag != 0) {
        param[1] = h11;
        param[4] = h22;
    }
}

template <class A, class T>
A product(const qnm_int64* n, const T* x, const qnm_int64* incx, const T* y, const qnm_int64* incy,
          bool conjugated = false)
{
    A sum(0);
    const Vector<const T> one(n, x, incx), other(n, y, incy);
    for (qnm_int64 i = 0; i < *n; ++i)
        sum += A(conjugated ? conjugate(one[i]) : one[i]) * A(other[i]);
    return sum;
}

float size(float x)
{
    return std::abs(x);
}
double size(double x)
{
    return std::abs(x);
}
template <class R>
R size(std::complex<R> x)
{
    return std::abs(x.real()) + std::abs(x.imag());
}

template <class R, class T>
R sum_of_sizes(const qnm_int64* n, const T* x, const qnm_int64* incx)
{
    R sum = 0;
    for (qnm_int64 i = 0; i<*n&& * incx> 0; ++i)
        sum += size(x[i * *incx]);
    return sum;
}

/// Safe against overflow, for what it costs: hypot of each.
template <class R, class T>
R norm(const qnm_int64* n, const T* x, const qnm_int64* incx)
{
    R length = 0;
    const Vector<const T> each(n, x, incx);
    for (qnm_int64 i = 0; i < *n; ++i)
        length = std::hypot(length, R(std::abs(each[i])));
    return length;
}

template <class T>
int extreme(const qnm_int64* n, const T* x, const qnm_int64* incx, bool largest)
{
    if (*n < 1 || *incx < 1)
        return 0;
    qnm_int64 best = 0;
    for (qnm_int64 i = 1; i < *n; ++i) {
        const auto now = size(x[i * *incx]), so_far = size(x[best * *incx]);
        if (largest ? now > so_far : now < so_far)
            best = i;
    }
    return static_cast<int>(best) + 1;
}

// ---- reports

std::atomic<qnm_xerbla_t> handler{nullptr}, head{nullptr};
int mode = 0, file_mode = 0;

} // namespace

// ---- level 1: what the layer asks for, letter by letter

using I = const qnm_int64*;
#define OF_EACH(s, T)                                                                                        \
    CORE void qnm_blas_##s##axpy(I n, const T* a, const T* x, I incx, T* y, I incy)                          \
    {                                                                                                        \
        axpby(n, *a, x, incx, T(1), y, incy);                                                                \
    }                                                                                                        \
    CORE void qnm_blas_x##s##axpy(I n, const T* a, const T* x, I incx, T* y, I incy)                         \
    {                                                                                                        \
        axpby(n, *a, x, incx, T(1), y, incy);                                                                \
    }                                                                                                        \
    CORE void qnm_blas_##s##axpby(I n, const T* a, const T* x, I incx, const T* b, T* y, I incy)             \
    {                                                                                                        \
        axpby(n, *a, x, incx, *b, y, incy);                                                                  \
    }                                                                                                        \
    CORE void qnm_blas_##s##copy(I n, const T* x, I incx, T* y, I incy)                                      \
    {                                                                                                        \
        copy(n, x, incx, y, incy);                                                                           \
    }                                                                                                        \
    CORE void qnm_blas_##s##swap(I n, T* x, I incx, T* y, I incy)                                            \
    {                                                                                                        \
        swap(n, x, incx, y, incy);                                                                           \
    }                                                                                                        \
    CORE void qnm_blas_##s##scal(I n, const T* a, T* x, I incx)                                              \
    {                                                                                                        \
        scale(n, *a, x, incx);                                                                               \
    }                                                                                                        \
    CORE int qnm_blas_i##s##amax(I n, const T* x, I incx)                                                    \
    {                                                                                                        \
        return extreme(n, x, incx, true);                                                                    \
    }                                                                                                        \
    CORE int qnm_blas_i##s##amin(I n, const T* x, I incx)                                                    \
    {                                                                                                        \
        return extreme(n, x, incx, false);                                                                   \
    }
#define OF_REALS(s, R)                                                                                       \
    CORE void qnm_blas_##s##rot(I n, R* x, I incx, R* y, I incy, const R* c, const R* t)                     \
    {                                                                                                        \
        rotate(n, x, incx, y, incy, *c, *t);                                                                 \
    }                                                                                                        \
    CORE void qnm_blas_##s##rotg(R* a, R* b, R* c, R* t)                                                     \
    {                                                                                                        \
        make_rotation(a, b, c, t);                                                                           \
    }                                                                                                        \
    CORE void qnm_blas_##s##rotm(I n, R* x, I incx, R* y, I incy, const R* p)                                \
    {                                                                                                        \
        rotate_modified(n, x, incx, y, incy, p);                                                             \
    }                                                                                                        \
    CORE void qnm_blas_##s##rotmg(R* d1, R* d2, R* x1, const R* y1, R* p)                                    \
    {                                                                                                        \
        make_modified(d1, d2, x1, *y1, p);                                                                   \
    }                                                                                                        \
    CORE R qnm_blas_##s##dot(I n, const R* x, I incx, const R* y, I incy)                                    \
    {                                                                                                        \
        return product<R>(n, x, incx, y, incy);                                                              \
    }                                                                                                        \
    CORE R qnm_blas_x##s##dot(I n, const R* x, I incx, const R* y, I incy)                                   \
    {                                                                                                        \
        return product<R>(n, x, incx, y, incy);                                                              \
    }                                                                                                        \
    CORE R qnm_blas_##s##asum(I n, const R* x, I incx)                                                       \
    {                                                                                                        \
        return sum_of_sizes<R>(n, x, incx);                                                                  \
    }                                                                                                        \
    CORE R qnm_blas_##s##nrm2(I n, const R* x, I incx)                                                       \
    {                                                                                                        \
        return norm<R>(n, x, incx);                                                                          \
    }
#define OF_COMPLEX(c, s, cs, sc, C, R)                                                                       \
    CORE void qnm_blas_##cs##scal(I n, const R* a, C* x, I incx)                                             \
    {                                                                                                        \
        scale(n, *a, x, incx);                                                                               \
    }                                                                                                        \
    CORE void qnm_blas_##c##rot(I n, C* x, I incx, C* y, I incy, const R* d, const C* t)                     \
    {                                                                                                        \
        rotate(n, x, incx, y, incy, *d, *t);                                                                 \
    }                                                                                                        \
    CORE void qnm_blas_##cs##rot(I n, C* x, I incx, C* y, I incy, const R* d, const R* t)                    \
    {                                                                                                        \
        rotate(n, x, incx, y, incy, *d, *t);                                                                 \
    }                                                                                                        \
    CORE void qnm_blas_##c##rotg(C* a, C* b, R* d, C* t)                                                     \
    {                                                                                                        \
        make_rotation(a, b, d, t);                                                                           \
    }                                                                                                        \
    CORE void qnm_blas_##c##dotc(C* to, I n, const C* x, I incx, const C* y, I incy)                         \
    {                                                                                                        \
        *to = product<C>(n, x, incx, y, incy, true);                                                         \
    }                                                                                                        \
    CORE void qnm_blas_##c##dotu(C* to, I n, const C* x, I incx, const C* y, I incy)                         \
    {                                                                                                        \
        *to = product<C>(n, x, incx, y, incy);                                                               \
    }                                                                                                        \
    CORE R qnm_blas_##sc##asum(I n, const C* x, I incx)                                                      \
    {                                                                                                        \
        return sum_of_sizes<R>(n, x, incx);                                                                  \
    }                                                                                                        \
    CORE R qnm_blas_##sc##nrm2(I n, const C* x, I incx)                                                      \
    {                                                                                                        \
        return norm<R>(n, x, incx);                                                                          \
    }                                                                                                        \
    CORE R qnm_blas_##s##cabs1(const C* z)                                                                   \
    {                                                                                                        \
        return size(*z);                                                                                     \
    }
OF_EACH(s, float)
OF_EACH(d, double)
OF_EACH(c, qnm_complex8)
OF_EACH(z, qnm_complex16)
OF_REALS(s, float)
OF_REALS(d, double)
OF_COMPLEX(c, s, cs, sc, qnm_complex8, float)
OF_COMPLEX(z, d, zd, dz, qnm_complex16, double)
CORE double qnm_blas_dsdot(I n, const float* x, I incx, const float* y, I incy)
{
    return product<double>(n, x, incx, y, incy);
}
CORE float qnm_blas_sdsdot(I n, const float* sb, const float* x, I incx, const float* y, I incy)
{
    return static_cast<float>(*sb + product<double>(n, x, incx, y, incy));
}

// ---- services

CORE void* qnm_serv_malloc(size_t bytes, int alignment)
{
    void* block = nullptr;
    const auto wanted = static_cast<size_t>(alignment < 64 ? 64 : alignment);
    return posix_memalign(&block, wanted, bytes) == 0 ? block : nullptr;
}
CORE void qnm_serv_free(void* block)
{
    std::free(block);
}
CORE void* qnm_serv_allocate(size_t bytes, int alignment)
{
    return qnm_serv_malloc(bytes, alignment);
}
CORE void qnm_serv_deallocate(void* block)
{
    std::free(block);
}

CORE void qnm_serv_default_xerbla(const char* name, const int* info, int length)
{
    std::fprintf(stderr, "Parameter %d was incorrect on entry to %.*s\n", *info, length, name);
}
CORE void qnm_serv_set_xerbla_interface(qnm_xerbla_t of_the_layer)
{
    head = of_the_layer;
}
CORE qnm_xerbla_t qnm_serv_set_xerbla(qnm_xerbla_t of_the_program)
{
    return handler.exchange(of_the_program);
}
CORE void qnm_serv_xerbla(const char* name, const int* info, int length)
{
    qnm_xerbla_t told = handler;
    if (told == nullptr)
        told = head;
    (told == nullptr ? qnm_serv_default_xerbla : told)(name, info, length);
}

CORE int* qnm_serv_verbose_mode(void)
{
    return &mode;
}
CORE int* qnm_serv_verbose_output_file_mode(void)
{
    return &file_mode;
}
CORE void qnm_serv_print_verbose_info(int, const char* line, double seconds)
{
    std::fprintf(stderr, "%s %g s\n", line, seconds);
}
CORE double qnm_serv_dsecnd(void)
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

CORE int qnm_serv_lsame(const char* a, const char* b, size_t, size_t)
{
    return (*a | 32) == (*b | 32);
}
CORE size_t qnm_serv_strnlen_s(const char* text, size_t most)
{
    return strnlen(text, most);
}
CORE int qnm_serv_strncat_s(char* to, size_t size, const char* from, size_t most)
{
    const size_t used = strnlen(to, size), room = size - used;
    if (room == 0)
        return -1;
    const size_t length = strnlen(from, most < room - 1 ? most : room - 1);
    std::memcpy(to + used, from, length);
    to[used + length] = '\0';
    return 0;
}
static int formatted(char* to, size_t room, const char* format, va_list inserts)
{
    const int length = std::vsnprintf(to, room, format, inserts);
    return length >= 0 && static_cast<size_t>(length) < room ? length : -1;
}
CORE int qnm_serv_sprintf_s(char* to, size_t size, const char* format, ...)
{
    va_list inserts;
    va_start(inserts, format);
    const int length = formatted(to, size, format, inserts);
    va_end(inserts);
    return length;
}
CORE int qnm_serv_snprintf_s(char* to, size_t size, size_t most, const char* format, ...)
{
    va_list inserts;
    va_start(inserts, format);
    const int length = formatted(to, most < size ? most + 1 : size, format, inserts);
    va_end(inserts);
    return length;
}
