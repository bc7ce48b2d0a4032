// Memory, threads, and what does nothing.
#pragma once

#include "fftw/record.hpp"

namespace qnm::fftw {

template <class>
QNM_INLINE void* malloc(std::size_t bytes)
{
    return QNM_malloc(bytes, fftw3_qnm.alignment);
}

// Products may wrap around.
template <class R>
QNM_INLINE R* alloc_real(std::size_t count)
{
    return static_cast<R*>(QNM_malloc(count * sizeof(R), fftw3_qnm.alignment));
}
template <class R>
QNM_INLINE Complex<R>* alloc_complex(std::size_t count)
{
    return static_cast<Complex<R>*>(QNM_malloc(count * 2 * sizeof(R), fftw3_qnm.alignment));
}

template <class>
QNM_INLINE void free(void* block)
{
    QNM_free(block);
}

/// Of 64 bytes, whatever blocks are aligned at.
template <class R>
QNM_INLINE int alignment_of(const R* address)
{
    return static_cast<int>(reinterpret_cast<std::uintptr_t>(address) % 64);
}

template <class>
QNM_INLINE int init_threads()
{
    constexpr int fourier = 2;
    fftw3_qnm.threads = QNM_Domain_Get_Max_Threads(fourier);
    return 1;
}

template <class>
QNM_INLINE void plan_with_nthreads(int threads)
{
    fftw3_qnm.threads = threads;
}

template <class>
QNM_INLINE void cleanup_threads()
{
    fftw3_qnm.threads = 1;
}

template <class>
QNM_INLINE void set_timelimit(double seconds)
{
    fftw3_qnm.time_limit = seconds;
}

/// Of no meaning here.
template <class Result, class... Ignored>
QNM_INLINE Result stub(Ignored...)
{
    return Result();
}

} // namespace qnm::fftw
