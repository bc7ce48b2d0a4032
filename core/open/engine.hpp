// The engine's routines that the core builds upon, by element type. 64-bit integers, all by reference;
// the engine reads no hidden lengths.
#pragma once

#include "core.hpp"

extern "C" {
#define QNM_DECLARE(l, L, T)                                                                                 \
    void l##gemm_(const char* transa, const char* transb, const std::int64_t* m, const std::int64_t* n,      \
                  const std::int64_t* k, const T* alpha, const T* a, const std::int64_t* lda, const T* b,    \
                  const std::int64_t* ldb, const T* beta, T* c, const std::int64_t* ldc);                    \
    void l##gemv_(const char* trans, const std::int64_t* m, const std::int64_t* n, const T* alpha,           \
                  const T* a, const std::int64_t* lda, const T* x, const std::int64_t* incx, const T* beta,  \
                  T* y, const std::int64_t* incy);                                                           \
    void l##syrk_(const char* uplo, const char* trans, const std::int64_t* n, const std::int64_t* k,         \
                  const T* alpha, const T* a, const std::int64_t* lda, const T* beta, T* c,                  \
                  const std::int64_t* ldc);                                                                  \
    void l##trsm_(const char* side, const char* uplo, const char* transa, const char* diag,                  \
                  const std::int64_t* m, const std::int64_t* n, const T* alpha, const T* a,                  \
                  const std::int64_t* lda, T* b, const std::int64_t* ldb);                                   \
    void l##trmm_(const char* side, const char* uplo, const char* transa, const char* diag,                  \
                  const std::int64_t* m, const std::int64_t* n, const T* alpha, const T* a,                  \
                  const std::int64_t* lda, T* b, const std::int64_t* ldb);                                   \
    void l##axpy_(const std::int64_t* n, const T* alpha, const T* x, const std::int64_t* incx, T* y,         \
                  const std::int64_t* incy);                                                                 \
    void l##copy_(const std::int64_t* n, const T* x, const std::int64_t* incx, T* y,                         \
                  const std::int64_t* incy);
QNM_ALL_LETTERS(QNM_DECLARE)
#undef QNM_DECLARE

#define QNM_DECLARE(l, L, T)                                                                                 \
    void l##getrf_(const std::int64_t* m, const std::int64_t* n, T* a, const std::int64_t* lda,              \
                   std::int64_t* ipiv, std::int64_t* info);                                                  \
    void l##getrs_(const char* trans, const std::int64_t* n, const std::int64_t* nrhs, const T* a,           \
                   const std::int64_t* lda, const std::int64_t* ipiv, T* b, const std::int64_t* ldb,         \
                   std::int64_t* info);                                                                      \
    void l##getri_(const std::int64_t* n, T* a, const std::int64_t* lda, const std::int64_t* ipiv, T* work,  \
                   const std::int64_t* lwork, std::int64_t* info);                                           \
    void l##gels_(const char* trans, const std::int64_t* m, const std::int64_t* n, const std::int64_t* nrhs, \
                  T* a, const std::int64_t* lda, T* b, const std::int64_t* ldb, T* work,                     \
                  const std::int64_t* lwork, std::int64_t* info);                                            \
    void l##potrf_(const char* uplo, const std::int64_t* n, T* a, const std::int64_t* lda,                   \
                   std::int64_t* info);                                                                      \
    void l##geqrf_(const std::int64_t* m, const std::int64_t* n, T* a, const std::int64_t* lda, T* tau,      \
                   T* work, const std::int64_t* lwork, std::int64_t* info);
QNM_ALL_LETTERS(QNM_DECLARE)
#undef QNM_DECLARE

#define QNM_DECLARE(l, L, T)                                                                                 \
    void l##tpmv_(const char* uplo, const char* trans, const char* diag, const std::int64_t* n, const T* ap, \
                  T* x, const std::int64_t* incx);                                                           \
    void l##scal_(const std::int64_t* n, const T* alpha, T* x, const std::int64_t* incx);                    \
    T l##dot_(const std::int64_t* n, const T* x, const std::int64_t* incx, const T* y,                       \
              const std::int64_t* incy);
QNM_REAL_LETTERS(QNM_DECLARE)
#undef QNM_DECLARE

#define QNM_DECLARE(l, L, T)                                                                                 \
    void l##gemm3m_(const char* transa, const char* transb, const std::int64_t* m, const std::int64_t* n,    \
                    const std::int64_t* k, const T* alpha, const T* a, const std::int64_t* lda, const T* b,  \
                    const std::int64_t* ldb, const T* beta, T* c, const std::int64_t* ldc);
QNM_COMPLEX_LETTERS(QNM_DECLARE)
#undef QNM_DECLARE

void openblas_set_num_threads(int count);
int openblas_get_num_threads(void);
char* openblas_get_config(void);
char* openblas_get_corename(void);
}

namespace qnm::core {

template <class T>
struct Engine;

#define QNM_MEMBERS(l, L, T)                                                                                 \
    template <>                                                                                              \
    struct Engine<T> {                                                                                       \
        static constexpr auto gemm = l##gemm_;                                                               \
        static constexpr auto gemv = l##gemv_;                                                               \
        static constexpr auto syrk = l##syrk_;                                                               \
        static constexpr auto trsm = l##trsm_;                                                               \
        static constexpr auto trmm = l##trmm_;                                                               \
        static constexpr auto axpy = l##axpy_;                                                               \
        static constexpr auto copy = l##copy_;                                                               \
        static constexpr auto getrf = l##getrf_;                                                             \
        static constexpr auto getrs = l##getrs_;                                                             \
        static constexpr auto getri = l##getri_;                                                             \
        static constexpr auto gels = l##gels_;                                                               \
        static constexpr auto potrf = l##potrf_;                                                             \
        static constexpr auto geqrf = l##geqrf_;                                                             \
    };
QNM_ALL_LETTERS(QNM_MEMBERS)
#undef QNM_MEMBERS

} // namespace qnm::core
