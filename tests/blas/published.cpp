#include "published.hpp"

#include <sstream>

namespace qnm::tests {

using catalogue::Class;

const std::vector<Published>& published()
{
    static const std::vector<Published> all{
        // Checked.
        {"?GEMM CGEMM3M ZGEMM3M DZGEMM SCGEMM HGEMM GEMM_BF16BF16F32 GEMM_E4M3E4M3F32 GEMM_E5M2E5M2F32 "
         "GEMM_F16F16F32",
         "cciiippipippi", "CNT CNT", "1 2 3 4 5 8 10 13"},
        {"?GBMV", "ciiiippipippi", "CNT", "1 2 3 4 5 8 10 13"},
        {"?GEMV DZGEMV SCGEMV", "ciippipippi", "CNT", "1 2 3 6 8 11"},
        {"?GEMMT", "ccciippipippi", "LU CNT CNT", "1 2 3 4 5 8 10 13"},
        {"SGEM2VU DGEM2VU CGEM2VC ZGEM2VC", "iippipipippipi", "", "1 2 5 7 9 12 14"},
        {"SGER DGER CGERC ZGERC CGERU ZGERU", "iippipipi", "", "1 2 5 7 9"},
        {"DSBMV SSBMV CHBMV ZHBMV", "ciippipippi", "LU", "1 2 3 6 8 11"},
        {"DSYMV SSYMV CHEMV ZHEMV", "cippipippi", "LU", "1 2 5 7 10"},
        {"DSPMV SSPMV CHPMV ZHPMV", "cipppippi", "LU", "1 2 6 9"},
        {"DSYR SSYR CHER ZHER", "cippipi", "LU", "1 2 5 7"},
        {"DSPR2 SSPR2 CHPR2 ZHPR2", "cippipip", "LU", "1 2 5 7"},
        {"DSYR2 SSYR2 CHER2 ZHER2", "cippipipi", "LU", "1 2 5 7 9"},
        {"DSPR SSPR CHPR ZHPR", "cippip", "LU", "1 2 5"},
        {"?TRMV ?TRSV", "cccipipi", "LU CNT NU", "1 2 3 4 6 8"},
        {"?TBMV ?TBSV", "ccciipipi", "LU CNT NU", "1 2 3 4 5 7 9"},
        {"?TPMV ?TPSV", "cccippi", "LU CNT NU", "1 2 3 4 7"},
        {"?TRMM ?TRSM", "cccciippipi", "LR LU CNT NU", "1 2 3 4 5 6 9 11"},
        {"?TRMM_OOP ?TRSM_OOP", "cccciippipippi", "LR LU CNT NU", "1 2 3 4 5 6 9 11 14"},
        {"DPTRMM SPTRMM", "cccciipppi", "LR LU CNT NU", "1 2 3 4 5 6 11"},
        {"?SYMM CHEMM ZHEMM", "cciippipippi", "LR LU", "1 2 3 4 7 9 12"},
        {"DSYRK SSYRK", "cciippippi", "LU CNT", "1 2 3 4 7 10"},
        {"CSYRK ZSYRK", "cciippippi", "LU NT", "1 2 3 4 7 10"},
        {"CHERK ZHERK", "cciippippi", "LU CN", "1 2 3 4 7 10"},
        {"DSYR2K SSYR2K", "cciippipippi", "LU CNT", "1 2 3 4 7 9 12"},
        {"CSYR2K ZSYR2K", "cciippipippi", "LU NT", "1 2 3 4 7 9 12"},
        {"CHER2K ZHER2K", "cciippipippi", "LU CN", "1 2 3 4 7 9 12"},
        {"?GEMM_BATCH CGEMM3M_BATCH ZGEMM3M_BATCH", "ccppppppppppppp", "CNT CNT", "1 2 3 4 5 8 10 13 14 15"},
        {"?GEMM_BATCH_STRIDED CGEMM3M_BATCH_STRIDED ZGEMM3M_BATCH_STRIDED", "cciiippiipiippiii", "CNT CNT",
         "1 2 3 4 5 8 9 11 12 15 16 17"},
        {"?GEMV_BATCH", "cpppppppppppp", "CNT", "1 2 3 6 8 11 12 13"},
        {"?GEMV_BATCH_STRIDED", "ciippiipiippiii", "CNT", "1 2 3 6 7 9 10 13 14 15"},
        {"?DGMM_BATCH", "cpppppppppp", "LR", "1 2 3 5 7 9 10 11"},
        {"?DGMM_BATCH_STRIDED", "ciipiipiipiii", "LR", "1 2 3 5 6 8 9 11 12 13"},
        {"DSYRK_BATCH SSYRK_BATCH", "ccpppppppppp", "LU CNT", "1 2 3 4 7 10 11 12"},
        {"CSYRK_BATCH ZSYRK_BATCH", "ccpppppppppp", "LU NT", "1 2 3 4 7 10 11 12"},
        {"DSYRK_BATCH_STRIDED SSYRK_BATCH_STRIDED", "cciippiippiii", "LU CNT", "1 2 3 4 7 8 11 12 13"},
        {"CSYRK_BATCH_STRIDED ZSYRK_BATCH_STRIDED", "cciippiippiii", "LU NT", "1 2 3 4 7 8 11 12 13"},
        {"?TRSM_BATCH", "ccccppppppppp", "LR LU CNT NU", "1 2 3 4 5 6 9 11 12"},
        {"?TRSM_BATCH_STRIDED", "cccciippiipiii", "LR LU CNT NU", "1 2 3 4 5 6 9 10 12 13"},
        {"?COPY_BATCH_STRIDED", "ipiipiii", "", "4 7 8"},
        {"?AXPY_BATCH_STRIDED", "ippiipiii", "", "5 8 9"},
        {"DGEMM_COMPUTE SGEMM_COMPUTE HGEMM_COMPUTE GEMM_BF16BF16F32_COMPUTE GEMM_E4M3E4M3F32_COMPUTE "
         "GEMM_E5M2E5M2F32_COMPUTE GEMM_F16F16F32_COMPUTE",
         "cciiipipippi", "CNPT CNPT", "1 2 3 4 5 7 9 12"},
        {"GEMM_S8U8S32_COMPUTE GEMM_S16S16S32_COMPUTE", "ccciiippippipppip", "NPT NPT CFR",
         "1 2 3 4 5 6 9 12 16"},
        {"GEMM_S8U8S32 GEMM_S16S16S32", "ccciiippippipppip", "NT NT CFR", "1 2 3 4 5 6 9 12 16"},
        {"DGEMM_PACK SGEMM_PACK HGEMM_PACK", "cciiippip", "AB CNT", "1 2 3 4 5 8"},
        {"GEMM_S8U8S32_PACK GEMM_S16S16S32_PACK GEMM_BF16BF16F32_PACK GEMM_E4M3E4M3F32_PACK "
         "GEMM_E5M2E5M2F32_PACK GEMM_F16F16F32_PACK",
         "cciiipip", "AB CNT", "1 2 3 4 5 7"},
        {"SGEMM_PACK_GET_SIZE DGEMM_PACK_GET_SIZE HGEMM_PACK_GET_SIZE GEMM_S8U8S32_PACK_GET_SIZE "
         "GEMM_S16S16S32_PACK_GET_SIZE GEMM_BF16BF16F32_PACK_GET_SIZE GEMM_F16F16F32_PACK_GET_SIZE "
         "GEMM_E4M3E4M3F32_PACK_GET_SIZE GEMM_E5M2E5M2F32_PACK_GET_SIZE",
         "ciii", "AB", "1 2 3 4"},
        {"QNM_JIT_CREATE_DGEMM QNM_JIT_CREATE_SGEMM", "pcciiipiipi", "NOTU NT", "2 3 4 5 6 8 9 11"},
        {"QNM_JIT_CREATE_CGEMM QNM_JIT_CREATE_ZGEMM", "pcciiipiipi", "CNOTUV CNT", "2 3 4 5 6 8 9 11"},
        // Without a check.
        {"SROTMG DROTMG", "ppppp", "", "", Class::unchecked},
        {"?AXPY", "ippipi", "", "", Class::unchecked},
        {"?AXPBY", "ippippi", "", "", Class::unchecked},
        {"?COPY ?SWAP", "ipipi", "", "", Class::unchecked},
        {"?SCAL CSSCAL ZDSCAL", "ippi", "", "", Class::unchecked},
        {"?ROT CSROT ZDROT", "ipipipp", "", "", Class::unchecked},
        {"?ROTG", "pppp", "", "", Class::unchecked},
        {"SROTM DROTM", "ipipip", "", "", Class::unchecked},
        {"SDOT DDOT DSDOT CDOTC CDOTU ZDOTC ZDOTU", "ipipi", "", "", Class::unchecked},
        {"SDSDOT", "ippipi", "", "", Class::unchecked},
        {"SASUM DASUM SCASUM DZASUM SNRM2 DNRM2 SCNRM2 DZNRM2 I?AMAX I?AMIN", "ipi", "", "",
         Class::unchecked},
        {"SCABS1 DCABS1", "p", "", "", Class::unchecked},
        {"?AXPY_BATCH", "pppppppp", "", "", Class::unchecked},
        {"?COPY_BATCH", "ppppppp", "", "", Class::unchecked},
        {"QNM_?GEMM_COMPACT", "vvvvvvppvpvppvvv", "", "", Class::unchecked},
        {"QNM_?TRSM_COMPACT", "vvvvvvvppvpvvv", "", "", Class::unchecked},
        {"QNM_?GEPACK_COMPACT QNM_?GEUNPACK_COMPACT", "vvvpvpvvv", "", "", Class::unchecked},
        {"QNM_GET_FORMAT_COMPACT", "", "", "", Class::unchecked},
        {"QNM_JIT_GET_?GEMM_PTR QNM_JIT_DESTROY", "p", "", "", Class::unchecked},
        {"XERBLA_ARRAY", "cii", "", "", Class::registered},
        {"?AXPYI", "ipppp", "", "", Class::scratch},
        {"?GTHR ?GTHRZ ?SCTR SDOTI DDOTI CDOTCI CDOTUI ZDOTCI ZDOTUI", "ippp", "", "", Class::scratch},
        {"SROTI DROTI", "ippppp", "", "", Class::scratch},
        {"QNM_?GEMM_JIT QNM_?GEMM_DIRECT_JIT", "cciiippipippi", "", "", Class::bare},
        {"?AXPY_DIRECT", "ippipii", "", "", Class::bare},
        {"SDOT_DIRECT DDOT_DIRECT", "ipipi", "", "", Class::bare},
        {"?GEMM_DIRECT CGEMM3M_DIRECT ZGEMM3M_DIRECT", "cciiippipippii", "", "", Class::bare},
        {"?SYRK_DIRECT", "cciippippii", "", "", Class::bare},
        {"?TRSM_DIRECT", "cccciippipii", "", "", Class::bare},
    };
    return all;
}

std::vector<std::string> expand(const char* members)
{
    std::vector<std::string> names;
    std::istringstream list(members);
    for (std::string name; list >> name;) {
        const std::size_t letter = name.find('?');
        if (letter == std::string::npos)
            names.push_back(name);
        for (const char precision : std::string_view("SDCZ"))
            if (letter != std::string::npos)
                names.push_back(name.replace(letter, 1, 1, precision));
    }
    return names;
}

} // namespace qnm::tests
