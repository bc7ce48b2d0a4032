// GEMM over other element formats and over packed matrices. A packed operand has the letter P.
#include "product.hpp"

using namespace qnm::core;

namespace {

// Without offsets: A and B stand at positions `a_at` and `b_at` of the routine's argument list.
template <class P>
void plain_product(std::string_view name, const char* transa, const char* transb, core_int m, core_int n,
                   core_int k, typename P::Compute alpha, const void* a, core_int lda, int a_at,
                   const void* b, core_int ldb, int b_at, typename P::Scalar beta, void* c, core_int ldc)
{
    using T = typename P::Compute;
    product<P>(m, n, k, alpha,
               operand<P, typename P::A>(name, true, transa, Shape(true, m, n, k), a, lda, {}, a_at),
               operand<P, typename P::B>(name, false, transb, Shape(false, m, n, k), b, ldb, {}, b_at),
               static_cast<T>(beta), static_cast<typename P::C*>(c), ldc, name, {});
}

template <class P>
void offset_product(std::string_view name, const char* transa, const char* transb, const char* offsetc,
                    core_int m, core_int n, core_int k, float alpha, const void* a, core_int lda,
                    typename P::Offset ao, const void* b, core_int ldb, typename P::Offset bo, float beta,
                    std::int32_t* c, core_int ldc, const std::int32_t* co)
{
    product<P>(m, n, k, alpha,
               operand<P, typename P::A>(name, true, transa, Shape(true, m, n, k), a, lda, ao, 8),
               operand<P, typename P::B>(name, false, transb, Shape(false, m, n, k), b, ldb, bo, 11), beta, c,
               ldc, name, OutputOffset(offsetc, co));
}

} // namespace

#define QNM_PRODUCT(name, NAME, P)                                                                           \
    QNM_CORE void qnm_blas_##name(const char* transa, const char* transb, const core_int* m,                 \
                                  const core_int* n, const core_int* k, const P::Scalar* alpha,              \
                                  const void* a, const core_int* lda, const void* b, const core_int* ldb,    \
                                  const P::Scalar* beta, void* c, const core_int* ldc)                       \
    {                                                                                                        \
        plain_product<P>(NAME, transa, transb, *m, *n, *k, static_cast<P::Compute>(*alpha), a, *lda, 7, b,   \
                         *ldb, 9, *beta, c, *ldc);                                                           \
    }
#define QNM_COMPUTE(name, NAME, P)                                                                           \
    QNM_CORE void qnm_blas_##name##_compute(const char* transa, const char* transb, const core_int* m,       \
                                            const core_int* n, const core_int* k, const void* a,             \
                                            const core_int* lda, const void* b, const core_int* ldb,         \
                                            const P::Scalar* beta, void* c, const core_int* ldc)             \
    {                                                                                                        \
        plain_product<P>(NAME "_COMPUTE", transa, transb, *m, *n, *k, 1, a, *lda, 6, b, *ldb, 8, *beta, c,   \
                         *ldc);                                                                              \
    }
#define QNM_OFFSET_PRODUCT(name, NAME, P)                                                                    \
    QNM_CORE void qnm_blas_##name(                                                                           \
        const char* transa, const char* transb, const char* offsetc, const core_int* m, const core_int* n,   \
        const core_int* k, const float* alpha, const void* a, const core_int* lda, const P::Offset* ao,      \
        const void* b, const core_int* ldb, const P::Offset* bo, const float* beta, std::int32_t* c,         \
        const core_int* ldc, const std::int32_t* co)                                                         \
    {                                                                                                        \
        offset_product<P>(NAME, transa, transb, offsetc, *m, *n, *k, *alpha, a, *lda, *ao, b, *ldb, *bo,     \
                          *beta, c, *ldc, co);                                                               \
    }
#define QNM_PACK_SIZE(name, P)                                                                               \
    QNM_CORE core_int qnm_blas_##name##_pack_get_size(const char* identifier, const core_int* m,             \
                                                      const core_int* n, const core_int* k)                  \
    {                                                                                                        \
        return pack_size<P>(identifier, *m, *n, *k);                                                         \
    }
#define QNM_SCALED_PACK(name, P)                                                                             \
    QNM_PACK_SIZE(name, P)                                                                                   \
    QNM_CORE void qnm_blas_##name##_pack(const char* identifier, const char* trans, const core_int* m,       \
                                         const core_int* n, const core_int* k, const P::Scalar* alpha,       \
                                         const void* src, const core_int* ld, void* dest)                    \
    {                                                                                                        \
        pack<P>(identifier, trans, *m, *n, *k, static_cast<P::Compute>(*alpha), src, *ld, dest);             \
    }
#define QNM_PACK(name, P)                                                                                    \
    QNM_PACK_SIZE(name, P)                                                                                   \
    QNM_CORE void qnm_blas_##name##_pack(const char* identifier, const char* trans, const core_int* m,       \
                                         const core_int* n, const core_int* k, const void* src,              \
                                         const core_int* ld, void* dest)                                     \
    {                                                                                                        \
        pack<P>(identifier, trans, *m, *n, *k, 1, src, *ld, dest);                                           \
    }

// sgemm and dgemm themselves are the engine's.
QNM_COMPUTE(sgemm, "SGEMM", Sgemm)
QNM_SCALED_PACK(sgemm, Sgemm)
QNM_COMPUTE(dgemm, "DGEMM", Dgemm)
QNM_SCALED_PACK(dgemm, Dgemm)
QNM_PRODUCT(hgemm, "HGEMM", Hgemm)
QNM_COMPUTE(hgemm, "HGEMM", Hgemm)
QNM_SCALED_PACK(hgemm, Hgemm)

#define QNM_REDUCED(name, NAME, P)                                                                           \
    QNM_PRODUCT(name, NAME, P)                                                                               \
    QNM_COMPUTE(name, NAME, P)                                                                               \
    QNM_PACK(name, P)
QNM_REDUCED(gemm_bf16bf16f32, "GEMM_BF16BF16F32", Bf16Gemm)
QNM_REDUCED(gemm_f16f16f32, "GEMM_F16F16F32", F16Gemm)
QNM_REDUCED(gemm_e4m3e4m3f32, "GEMM_E4M3E4M3F32", E4m3Gemm)
QNM_REDUCED(gemm_e5m2e5m2f32, "GEMM_E5M2E5M2F32", E5m2Gemm)

#define QNM_INTEGER(name, NAME, P)                                                                           \
    QNM_OFFSET_PRODUCT(name, NAME, P)                                                                        \
    QNM_OFFSET_PRODUCT(name##_compute, NAME "_COMPUTE", P)                                                   \
    QNM_PACK(name, P)
QNM_INTEGER(gemm_s8u8s32, "GEMM_S8U8S32", S8u8Gemm)
QNM_INTEGER(gemm_s16s16s32, "GEMM_S16S16S32", S16s16Gemm)
