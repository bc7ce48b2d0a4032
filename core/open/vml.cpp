// Vector mathematics: the library of kernels, opened when the first function is called, and the threaders
// that divide a vector among threads.
#include "beside.hpp"
#include "guarded.hpp"
#include "kernels/contract.hpp"
#include "services.hpp"
#include "team.hpp"

#include <qnm/core/vml.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <dlfcn.h>

namespace qnm::core {
namespace {

using vml::Call;
using vml::Frame;
using vml::Vector;

const Frame& frame_of(void* handle)
{
    static std::atomic<const Frame*> known{nullptr};
    const Frame* frame = known.load(std::memory_order_relaxed);
    if (frame == nullptr) [[unlikely]] {
        // A library of kernels without modes and errors of its own. The layer asks for a pending text.
        static constexpr Frame none = {[](Call* call) {
                                           *call = {vml::default_mode, vml::ok, 0, nullptr, 0};
                                       },
                                       [](const Call*) {}};
        const auto* const found = static_cast<const Frame*>(dlsym(handle, "qnm_vml_kernel_frame"));
        if (found == nullptr)
            dlerror();
        frame = found != nullptr ? found : &none;
        known.store(frame, std::memory_order_relaxed);
    }
    return *frame;
}

constexpr int most_threads = 256;
constexpr float enough = 25000; // nanoseconds: what a thread must have to do

// Elements that all go to one place stay in their order.
template <class T>
bool is_one_place(T operand)
{
    if constexpr (requires { *operand.at = {}; })
        return operand.step == 0;
    else
        return false;
}

template <class... P>
[[gnu::cold, gnu::noinline]] int threads_for(float nanoseconds, const Call& call, P... operands)
{
    if (keeps_to_one_thread() || call.told_at_once() || (is_one_place(operands) || ...))
        return 1;
    const int all = std::min(vector_threads(), most_threads);
    return static_cast<int>(std::min(static_cast<float>(all), nanoseconds / enough));
}

template <class T>
Vector<T> behind(Vector<T> vector, std::int64_t first)
{
    return {vector.at + first * vector.step, vector.step};
}
template <class T>
T behind(T scalar, std::int64_t)
{
    return scalar;
}

// Parts are whole cache lines of every type.
template <class Kernel, class... P>
[[gnu::cold, gnu::noinline]] void divide(Kernel* kernel, std::int64_t n, int threads, Call* call,
                                         P... operands)
{
    constexpr std::int64_t line = 64;
    std::array<Call, most_threads> parts;
    const std::int64_t lines = (n + line - 1) / line;
    const auto from = [&](int k) { return std::min(n, lines * k / threads * line); };
    in_parts(threads, [&](int k) {
        Call& part = parts[static_cast<std::size_t>(k)] = *call;
        part.first = from(k);
        kernel(from(k + 1) - part.first, behind(operands, part.first)..., &part);
    });
    for (int k = 0; k < threads; ++k)
        call->append(parts[static_cast<std::size_t>(k)]);
}

template <class... P>
void thread(void (*address)(), int n, void* handle, float cost, P... operands)
{
    const auto kernel = reinterpret_cast<void (*)(std::int64_t, P..., Call*)>(address);
    const Frame& frame = frame_of(handle);
    Call call;
    frame.begin(&call);
    const float nanoseconds = static_cast<float>(n) * cost;
    const int threads = nanoseconds < 2 * enough ? 1 : threads_for(nanoseconds, call, operands...);
    if (threads <= 1) [[likely]]
        kernel(n, operands..., &call);
    else
        divide(kernel, n, threads, &call, operands...);
    if (call.status != vml::ok) [[unlikely]]
        frame.failed(&call);
}

template <class T>
Vector<const T> in(const T* at, int step = 1)
{
    return {at, step};
}
template <class T>
Vector<T> out(T* at, int step = 1)
{
    return {at, step};
}

} // namespace
} // namespace qnm::core

using namespace qnm::core;

// Plain and strided, by the names of their operands: inputs, a letter where the outputs' type differs,
// outputs.
#define QNM_THREADER_1_1(inputs, outputs, In, Out)                                                           \
    QNM_CORE void qnm_vml_serv_threader_##inputs##i_##outputs##o(void (*kernel)(), int n, const In* a,       \
                                                                 Out* y, void* handle, float cost)           \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a), out(y));                                                      \
    }                                                                                                        \
    QNM_CORE void qnm_vml_serv_threader_##inputs##iI_##outputs##oI(                                          \
        void (*kernel)(), int n, const In* a, int inca, Out* y, int incy, void* handle, float cost)          \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a, inca), out(y, incy));                                          \
    }
#define QNM_THREADERS(l, L, T)                                                                               \
    QNM_THREADER_1_1(l##_1, 1, T, T)                                                                         \
    QNM_CORE void qnm_vml_serv_threader_##l##_2i_1o(void (*kernel)(), int n, const T* a, const T* b, T* y,   \
                                                    void* handle, float cost)                                \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a), in(b), out(y));                                               \
    }                                                                                                        \
    QNM_CORE void qnm_vml_serv_threader_##l##_2iI_1oI(void (*kernel)(), int n, const T* a, int inca,         \
                                                      const T* b, int incb, T* y, int incy, void* handle,    \
                                                      float cost)                                            \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a, inca), in(b, incb), out(y, incy));                             \
    }                                                                                                        \
    QNM_CORE void qnm_vml_serv_threader_##l##_c##l##_2i_##l##_1o(void (*kernel)(), int n, const T* a, T b,   \
                                                                 T* y, void* handle, float cost)             \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a), b, out(y));                                                   \
    }                                                                                                        \
    QNM_CORE void qnm_vml_serv_threader_##l##_c##l##_2iI_##l##_1oI(                                          \
        void (*kernel)(), int n, const T* a, int inca, T b, T* y, int incy, void* handle, float cost)        \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a, inca), b, out(y, incy));                                       \
    }
QNM_ALL_LETTERS(QNM_THREADERS)

QNM_THREADER_1_1(c_1, s_1, cfloat, float)
QNM_THREADER_1_1(z_1, d_1, cdouble, double)
QNM_THREADER_1_1(s_1, c_1, float, cfloat)
QNM_THREADER_1_1(d_1, z_1, double, cdouble)

#define QNM_THREADERS_OF_REALS(l, L, T)                                                                      \
    QNM_CORE void qnm_vml_serv_threader_##l##_1i_2o(void (*kernel)(), int n, const T* a, T* y, T* z,         \
                                                    void* handle, float cost)                                \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a), out(y), out(z));                                              \
    }                                                                                                        \
    QNM_CORE void qnm_vml_serv_threader_##l##_1iI_2oI(void (*kernel)(), int n, const T* a, int inca, T* y,   \
                                                      int incy, T* z, int incz, void* handle, float cost)    \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a, inca), out(y, incy), out(z, incz));                            \
    }                                                                                                        \
    QNM_CORE void qnm_vml_serv_threader_##l##_6i_1o(void (*kernel)(), int n, const T* a, const T* b,         \
                                                    T scale_a, T shift_a, T scale_b, T shift_b, T* y,        \
                                                    void* handle, float cost)                                \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a), in(b), scale_a, shift_a, scale_b, shift_b, out(y));           \
    }                                                                                                        \
    QNM_CORE void qnm_vml_serv_threader_##l##_6iI_1oI(void (*kernel)(), int n, const T* a, int inca,         \
                                                      const T* b, int incb, T scale_a, T shift_a, T scale_b, \
                                                      T shift_b, T* y, int incy, void* handle, float cost)   \
    {                                                                                                        \
        thread(kernel, n, handle, cost, in(a, inca), in(b, incb), scale_a, shift_a, scale_b, shift_b,        \
               out(y, incy));                                                                                \
    }
QNM_REAL_LETTERS(QNM_THREADERS_OF_REALS)

// The layer asks dlerror() behind its next look-up: a failure here leaves it nothing.
QNM_CORE void* qnm_serv_load_vml()
{
    void* const handle = qnm::core::guarded<nullptr, nullptr>([] {
        const char* const other = secure_getenv("QNM_KERNELS");
        return other != nullptr && *other != '\0' ? dlopen(other, RTLD_NOW | RTLD_LOCAL)
                                                  : qnm::core::library_beside("libqnm_kernels.so");
    });
    if (handle == nullptr)
        dlerror();
    return handle;
}

QNM_CORE int qnm_serv_vml_cpu_detect()
{
    enum { baseline = 0, with_avx2 = 7, with_avx512 = 9 };
    if (__builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
        __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0)
        return with_avx512;
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0 ? with_avx2 : baseline;
}
