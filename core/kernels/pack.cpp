// Gathering and scattering. These are called without a threader: no mode, no status.
#include "kernel.hpp"

namespace qnm::vml::QNM_NAMESPACE {

enum Width : int { narrow_indices = 1, wide_indices = 2 };

/// By indices or masks of the width that the entry says.
template <class Loop>
void by_width(const void* indices, int width, const Loop& loop)
{
    if (width == wide_indices)
        loop(static_cast<const std::int64_t*>(indices));
    else
        loop(static_cast<const std::int32_t*>(indices));
}

struct PackI {
    template <class T>
    static void run(std::int64_t n, const T* a, std::int64_t inca, T* y, int)
    {
        for (std::int64_t i = 0; i < n; ++i)
            y[i] = a[i * inca];
    }
};
struct UnpackI {
    template <class T>
    static void run(std::int64_t n, const T* a, T* y, std::int64_t incy, int)
    {
        for (std::int64_t i = 0; i < n; ++i)
            y[i * incy] = a[i];
    }
};
struct PackV {
    template <class T>
    static void run(std::int64_t n, const T* a, const void* indices, T* y, int width)
    {
        by_width(indices, width, [=](const auto* ia) {
            for (std::int64_t i = 0; i < n; ++i)
                y[i] = a[ia[i]];
        });
    }
};
struct UnpackV {
    template <class T>
    static void run(std::int64_t n, const T* a, T* y, const void* indices, int width)
    {
        by_width(indices, width, [=](const auto* iy) {
            for (std::int64_t i = 0; i < n; ++i)
                y[iy[i]] = a[i];
        });
    }
};
struct PackM {
    template <class T>
    static void run(std::int64_t n, const T* a, const void* mask, T* y, int width)
    {
        by_width(mask, width, [=](const auto* ma) {
            std::int64_t next = 0;
            for (std::int64_t i = 0; i < n; ++i)
                if (ma[i] != 0)
                    y[next++] = a[i];
        });
    }
};
struct UnpackM {
    template <class T>
    static void run(std::int64_t n, const T* a, T* y, const void* mask, int width)
    {
        by_width(mask, width, [=](const auto* my) {
            std::int64_t next = 0;
            for (std::int64_t i = 0; i < n; ++i)
                if (my[i] != 0)
                    y[i] = a[next++];
        });
    }
};

} // namespace qnm::vml::QNM_NAMESPACE

#define QNM_DIRECT(t, root, T, cost)                                                                         \
    extern "C" const qnm::vml::Compiled QNM_JOIN(qnm_, t, root, QNM_NAMESPACE);                              \
    const qnm::vml::Compiled QNM_JOIN(qnm_, t, root, QNM_NAMESPACE) = {                                      \
        reinterpret_cast<qnm::vml::AnyKernel>(qnm::vml::QNM_NAMESPACE::root::run<T>), cost};
#define QNM_ALL_DIRECT(root, cost)                                                                           \
    QNM_DIRECT(s, root, float, cost)                                                                         \
    QNM_DIRECT(d, root, double, cost)                                                                        \
    QNM_DIRECT(c, root, std::complex<float>, cost)                                                           \
    QNM_DIRECT(z, root, std::complex<double>, cost)
QNM_ALL_DIRECT(PackI, 0.3F)
QNM_ALL_DIRECT(PackV, 0.3F)
QNM_ALL_DIRECT(PackM, 0.6F)
QNM_ALL_DIRECT(UnpackI, 0.3F)
QNM_ALL_DIRECT(UnpackV, 0.3F)
QNM_ALL_DIRECT(UnpackM, 0.4F)
