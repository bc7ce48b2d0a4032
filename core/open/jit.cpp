// Kernels made ahead of their calls: the object keeps the parameters, its function hands them to the engine.
// No code is generated, and creation says so with its status.
#include "engine.hpp"
#include "services.hpp"

#include <qnm/core/blas.h>

#include <new>

namespace qnm::core {
namespace {

enum Status : int { generated = 0, not_generated = 1, failed = 2 };

struct KernelHead {
    std::uint64_t mark;
    char letter; // of the element type
};
constexpr std::uint64_t kernel_mark = 0x4c4e52454b4d4e51; // "QNMKERNL" in memory

template <class T>
struct Kernel : KernelHead {
    char transa, transb;
    bool exchanged; // the product's first matrix comes as the function's second
    core_int m, n, k;
    T alpha;
    core_int lda, ldb;
    T beta;
    core_int ldc;
};

template <class T>
void run(void* jitter, T* a, T* b, T* c)
{
    const auto& kernel = *static_cast<const Kernel<T>*>(jitter);
    if (kernel.exchanged)
        std::swap(a, b);
    Engine<T>::gemm(&kernel.transa, &kernel.transb, &kernel.m, &kernel.n, &kernel.k, &kernel.alpha, a,
                    &kernel.lda, b, &kernel.ldb, &kernel.beta, c, &kernel.ldc);
}

// O, U and V are N, T and C for a product whose matrices change places: its first matrix is the one that the
// caller's code hands to the function as b. They let a row-major product, or a product of one row turned into
// a product of one column, keep the order of its run-time arguments.
template <class T>
int create(char letter, void** jitter, char transa, char transb, core_int m, core_int n, core_int k,
           const T* alpha, core_int lda, core_int ldb, const T* beta, core_int ldc)
{
    if (jitter == nullptr)
        return failed;
    *jitter = nullptr;
    void* room = qnm_serv_allocate(sizeof(Kernel<T>), alignof(Kernel<T>));
    if (room == nullptr)
        return failed;
    bool exchanged = false;
    for (const auto& [extended, plain] : {std::pair{'O', 'N'}, {'U', 'T'}, {'V', 'C'}})
        if (same_letter(transa, extended)) {
            transa = plain;
            exchanged = true;
        }
    *jitter = new (room)
        Kernel<T>{{kernel_mark, letter}, transa, transb, exchanged, m, n, k, *alpha, lda, ldb, *beta, ldc};
    return not_generated;
}

bool is_kernel(const void* jitter)
{
    return jitter != nullptr && static_cast<const KernelHead*>(jitter)->mark == kernel_mark;
}

} // namespace
} // namespace qnm::core

using qnm::core::core_int;

#define QNM_JIT(l, L, T)                                                                                     \
    QNM_CORE int qnm_blas_qnm_jit_create_##l##gemm(                                                          \
        void** jitter, const char* transa, const char* transb, const core_int* m, const core_int* n,         \
        const core_int* k, const T* alpha, const core_int* lda, const core_int* ldb, const T* beta,          \
        const core_int* ldc, std::size_t, std::size_t)                                                       \
    {                                                                                                        \
        return qnm::core::create<T>(*#l, jitter, *transa, *transb, *m, *n, *k, alpha, *lda, *ldb, beta,      \
                                    *ldc);                                                                   \
    }                                                                                                        \
    QNM_CORE auto qnm_blas_qnm_jit_get_##l##gemm_ptr(void* jitter)->void (*)(void*, T*, T*, T*)              \
    {                                                                                                        \
        const bool ours = qnm::core::is_kernel(jitter) &&                                                    \
                          static_cast<const qnm::core::KernelHead*>(jitter)->letter == *#l;                  \
        return ours ? qnm::core::run<T> : nullptr;                                                           \
    }
QNM_ALL_LETTERS(QNM_JIT)

QNM_CORE int qnm_blas_qnm_jit_destroy(void* jitter)
{
    if (!qnm::core::is_kernel(jitter))
        return qnm::core::failed;
    static_cast<qnm::core::KernelHead*>(jitter)->mark = 0;
    qnm_serv_deallocate(jitter);
    return 0;
}
