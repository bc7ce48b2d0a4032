#include "members.hpp"

namespace qnm::tests {

namespace {

constexpr const char* level3 =
    "identifier side uplo trans transa transb diag offsetc m n k batch_size layout "
    "lda ldb ldc ld stridea strideb";
constexpr const char* level2 = "layout uplo+ trans+ diag+ m n kl ku k lda incx incy";

const CFacts all_facts[] = {
    {"gemm sdcz gemm3m cz hgemm - gemm_bf16bf16f32 - gemm_f16f16f32 - gemm_e4m3e4m3f32 - gemm_e5m2e5m2f32 - "
     "gemm_compute sd hgemm_compute - gemm_bf16bf16f32_compute - gemm_f16f16f32_compute - "
     "gemm_e4m3e4m3f32_compute - gemm_e5m2e5m2f32_compute -",
     level3, "transa,transb m,n a,b lda,ldb"},
    {"gemm_s8u8s32 - gemm_s16s16s32 - gemm_s8u8s32_compute - gemm_s16s16s32_compute -", level3,
     "transa,transb m,n a,b lda,ldb ao,bo offsetc:CRF"},
    {"gemmt sdcz", level3, "uplo:LU transa,transb a,b lda,ldb"},
    {"symm sdcz hemm cz trmm sdcz trsm sdcz trmm_oop sdcz trsm_oop sdcz", level3, "side:RL uplo:LU m,n"},
    {"syrk sdcz syr2k sdcz", level3, "uplo:LU trans:TNN"},
    {"herk cz her2k cz", level3, "uplo:LU trans:C-N"},
    {"gemm_pack sd hgemm_pack - gemm_s8u8s32_pack - gemm_s16s16s32_pack - gemm_bf16bf16f32_pack - "
     "gemm_f16f16f32_pack - gemm_e4m3e4m3f32_pack - gemm_e5m2e5m2f32_pack -",
     level3, "identifier:BA m,n"},
    {"gemm_pack_get_size sd hgemm_pack_get_size - gemm_s8u8s32_pack_get_size - gemm_s16s16s32_pack_get_size "
     "- gemm_bf16bf16f32_pack_get_size - gemm_f16f16f32_pack_get_size - gemm_e4m3e4m3f32_pack_get_size - "
     "gemm_e5m2e5m2f32_pack_get_size -",
     "identifier m n k"},
    {"qnm_jit_create_?gemm sdcz", level3, "transa,transb m,n lda,ldb", "", "",
     "jitter layout transa(NT) transb(NT) m n k alpha lda ldb beta ldc"},

    {"gemv sdcz", level2, "trans:TNN m,n", "m n scalars"},
    {"gbmv sdcz", level2, "trans:TNN m,n kl,ku", "m n scalars"},
    {"ger sd geru cz gerc cz", level2, "m,n x,y incx,incy"},
    {"symv sd sbmv sd spmv sd syr sd syr2 sd spr sd spr2 sd hemv cz hbmv cz hpmv cz her cz hpr cz", level2,
     "uplo:LU"},
    {"her2 cz hpr2 cz", level2, "uplo:LU x,y incx,incy"},
    {"trmv sdcz tbmv scz tbsv sdcz tpmv sdcz tpsv sdcz", level2, "uplo:LU trans:TNN"},
    {"tbmv d", "layout uplo+ trans+ diag+ columns:n rows:n+ k lda incx", "uplo:LU trans:TNN"},
    {"trsv sdcz", "layout uplo trans diag n lda incx", "uplo:LU trans:TNN"},

    {"gemm_batch_strided sdcz gemm3m_batch_strided cz",
     "transa transb m n k batch_size layout lda columns:ldb@11 rows:ldb columns:ldc@14 rows:ldc stridea "
     "strideb stridec",
     "transa,transb m,n a,b lda,ldb stridea,strideb"},
    {"trsm_batch_strided sdcz", level3, "side:RL uplo:LU m,n", "", "strideb=m*n"},
    {"syrk_batch_strided sdcz", "n k stridea ldc stridec batch_size layout uplo+ trans lda",
     "uplo:LU trans:TNN", "batch_size scalars", "stridec!ldc*n"},
    {"gemv_batch_strided sdcz", "layout trans m n lda stridea incx stridex incy stridey batch_size",
     "trans:TNN m,n"},
    {"dgmm_batch_strided sdcz", "layout side+ m n lda stridea incx stridex ldc stridec", "side:RL m,n",
     "m n batch_size"},
    {"axpy_batch_strided sdcz copy_batch_strided sdcz", "stridex+ stridey+ batch_size+", "", "",
     "stridey!|incy|*n-|incy|+1"},

    {"gemm_batch sdcz gemm3m_batch cz", "layout group_count transa transb m n k lda ldb ldc c@14",
     "transa,transb m,n a,b lda,ldb"},
    {"trsm_batch sdcz", "layout group_count side uplo transa diag m n lda ldb", "side:RL uplo:LU m,n"},
    {"gemv_batch sdcz", "group_count layout m n a lda x incx y incy trans", "trans:TNN m,n"},
    {"syrk_batch sdcz", "layout uplo trans n k lda ldc group_count", "uplo:LU trans:TNN"},
    {"dgmm_batch sdcz", "layout side m n a lda x incx c ldc group_count", "side:RL m,n"},
    {"axpy_batch sdcz copy_batch sdcz", ""},

    {"axpy sdcz axpby sdcz copy sdcz swap sdcz scal sdcz sscal c dscal z dot sd sdot d dsdot s nrm2 sd "
     "cnrm2 s znrm2 d asum sd casum s zasum d samax i damax i camax i zamax i samin i damin i camin i "
     "zamin i rot sdcz srot c drot z rotm sd",
     ""},
    {"dotu_sub cz dotc_sub cz", "", "", "", "", "n x incx y incy result"},
    {"rotg sdcz rotmg sd cabs1 sd", "", "", "", "", nullptr, true},
};

} // namespace

const std::vector<Member>& members()
{
    static const std::vector<Member> all = [] {
        std::vector<Member> found;
        for (const CFacts& facts : all_facts)
            for (const auto& [routine, letter] : expand(facts.members)) {
                const bool own = routine.starts_with("qnm_");
                const std::string name = own ? "qnm_cblas_" + routine.substr(4) : "cblas_" + routine;
                found.push_back({&facts, routine, name});
                if (!facts.narrow_only)
                    found.push_back({&facts, routine, name + "_64"});
            }
        return found;
    }();
    return all;
}

} // namespace qnm::tests
