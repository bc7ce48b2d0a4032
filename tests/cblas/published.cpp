#include "published.hpp"

#include <iterator>
#include <sstream>

namespace qnm::tests {

std::vector<std::string> words(const std::string& text)
{
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

namespace {

Family level3(const char* members, const char* arguments, const char* rows, const char* order,
              const char* columns, const char* bounds)
{
    return {members, arguments, rows, order, order, columns, bounds, false, ""};
}

Family level2(const char* members, const char* arguments, const char* rows, const char* order,
              const char* columns, const char* bounds, const char* idle = "")
{
    return {members, arguments, rows, order, order, columns, bounds, false, idle};
}

/// Level 1: places of the Fortran routine, where they differ, and nothing else.
Family level1(const char* members, const char* arguments, const char* places = "")
{
    return {members, arguments, places, "", "", "", "", false, ""};
}

} // namespace

const std::vector<Family>& families()
{
    static const std::vector<Family> all{
        level3("gemm sdcz gemm3m cz", "transa transb m n k alpha a lda b ldb beta c ldc",
               "transb transa n m k alpha b ldb a lda beta c ldc", "transa transb m n k layout lda ldb ldc",
               "lda=transa?m:k ldb=transb?k:n ldc=m", "lda=transa?k:m ldb=transb?n:k ldc=n"),
        level3("gemmt sdcz", "uplo transa transb n k alpha a lda b ldb beta c ldc",
               "uplo:LU transb transa n k alpha b ldb a lda beta c ldc",
               "uplo transa transb n k layout lda ldb ldc", "lda=transa?n:k ldb=transb?k:n ldc=n",
               "lda=transa?k:n ldb=transb?n:k ldc=n"),
        level3("symm sdcz hemm cz", "side uplo m n alpha a lda b ldb beta c ldc",
               "side:RL uplo:LU n m alpha a lda b ldb beta c ldc", "side uplo m n layout lda ldb ldc",
               "lda=side?m:n ldb=m ldc=m", "lda=side?m:n ldb=n ldc=n"),
        level3("syrk sd", "uplo trans n k alpha a lda beta c ldc",
               "uplo:LU trans:TNN n k alpha a lda beta c ldc", "uplo trans n k layout lda ldc",
               "lda=trans?n:k ldc=n", "lda=trans?k:n ldc=n"),
        level3("syrk cz", "uplo trans(NT) n k alpha a lda beta c ldc",
               "uplo:LU trans:TN n k alpha a lda beta c ldc", "uplo trans n k layout lda ldc",
               "lda=trans?n:k ldc=n", "lda=trans?k:n ldc=n"),
        level3("herk cz", "uplo trans(NC) n k ralpha a lda rbeta c ldc",
               "uplo:LU trans:C-N n k ralpha a lda rbeta c ldc", "uplo trans n k layout lda ldc",
               "lda=trans?n:k ldc=n", "lda=trans?k:n ldc=n"),
        level3("syr2k sd", "uplo trans n k alpha a lda b ldb beta c ldc",
               "uplo:LU trans:TNN n k alpha a lda b ldb beta c ldc", "uplo trans n k layout lda ldb ldc",
               "lda=trans?n:k ldb=trans?n:k ldc=n", "lda=trans?k:n ldb=trans?k:n ldc=n"),
        level3("syr2k cz", "uplo trans(NT) n k alpha a lda b ldb beta c ldc",
               "uplo:LU trans:TN n k alpha a lda b ldb beta c ldc", "uplo trans n k layout lda ldb ldc",
               "lda=trans?n:k ldb=trans?n:k ldc=n", "lda=trans?k:n ldb=trans?k:n ldc=n"),
        level3("her2k cz", "uplo trans(NC) n k alpha a lda b ldb rbeta c ldc",
               "uplo:LU trans:C-N n k alpha* a lda b ldb rbeta c ldc", "uplo trans n k layout lda ldb ldc",
               "lda=trans?n:k ldb=trans?n:k ldc=n", "lda=trans?k:n ldb=trans?k:n ldc=n"),
        level3("trmm sdcz trsm sdcz", "side uplo transa diag m n alpha a lda b ldb",
               "side:RL uplo:LU transa diag n m alpha a lda b ldb",
               "side uplo transa diag m n layout lda ldb", "lda=side?m:n ldb=m", "lda=side?m:n ldb=n"),
        level3("trmm_oop sdcz trsm_oop sdcz", "side uplo transa diag m n alpha a lda b ldb beta c ldc",
               "side:RL uplo:LU transa diag n m alpha a lda b ldb beta c ldc",
               "side uplo transa diag m n layout lda ldb ldc", "lda=side?m:n ldb=m ldc=m",
               "lda=side?m:n ldb=n ldc=n"),

        level2("gemv sdcz", "trans m n alpha a lda x incx beta y incy",
               "trans:TN* n m alpha a lda x incx beta y incy", "layout trans+ m n lda incx incy", "lda=m",
               "lda=n", "m n scalars"),
        level2("gbmv sdcz", "trans m n kl ku alpha a lda x incx beta y incy",
               "trans:TN* n m ku kl alpha a lda x incx beta y incy", "layout trans+ m n kl ku lda incx incy",
               "lda>kl+ku", "lda>kl+ku", "m n scalars"),
        level2("ger sd geru cz", "m n alpha x incx y incy a lda", "n m alpha y incy x incx a lda",
               "layout m n lda incx incy", "lda=m", "lda=n"),
        level2("gerc cz", "m n alpha x incx y incy a lda", "n m alpha y* incy* x incx a lda",
               "layout m n lda incx incy", "lda=m", "lda=n"),
        level2("symv sd", "uplo n alpha a lda x incx beta y incy", "uplo:LU n alpha a lda x incx beta y incy",
               "layout uplo+ n lda incx incy", "lda=n", "lda=n"),
        level2("hemv cz", "uplo n alpha a lda x incx beta y incy",
               "uplo:LU n alpha* a lda x* incx* beta* y incy", "layout uplo+ n lda incx incy", "lda=n",
               "lda=n"),
        level2("sbmv sd", "uplo n k alpha a lda x incx beta y incy",
               "uplo:LU n k alpha a lda x incx beta y incy", "layout uplo+ n k lda incx incy", "lda>k",
               "lda>k"),
        level2("hbmv cz", "uplo n k alpha a lda x incx beta y incy",
               "uplo:LU n k alpha* a lda x* incx* beta* y incy", "layout uplo+ n k lda incx incy", "lda>k",
               "lda>k"),
        level2("spmv sd", "uplo n alpha a x incx beta y incy", "uplo:LU n alpha a x incx beta y incy",
               "layout uplo+ n incx incy", "", ""),
        level2("hpmv cz", "uplo n alpha a x incx beta y incy", "uplo:LU n alpha* a x* incx* beta* y incy",
               "layout uplo+ n incx incy", "", ""),
        level2("syr sd", "uplo n alpha x incx a lda", "uplo:LU n alpha x incx a lda",
               "layout uplo+ n lda incx", "lda=n", "lda=n"),
        level2("her cz", "uplo n ralpha x incx a lda", "uplo:LU n ralpha x* incx* a lda",
               "layout uplo+ n lda incx", "lda=n", "lda=n"),
        level2("syr2 sd", "uplo n alpha x incx y incy a lda", "uplo:LU n alpha x incx y incy a lda",
               "layout uplo+ n lda incx incy", "lda=n", "lda=n"),
        level2("her2 cz", "uplo n alpha x incx y incy a lda", "uplo:LU n alpha y* incy* x* incx* a lda",
               "layout uplo+ n lda incx incy", "lda=n", "lda=n"),
        level2("spr sd", "uplo n alpha x incx a", "uplo:LU n alpha x incx a", "layout uplo+ n incx", "", ""),
        level2("hpr cz", "uplo n ralpha x incx a", "uplo:LU n ralpha x* incx* a", "layout uplo+ n incx", "",
               ""),
        level2("spr2 sd", "uplo n alpha x incx y incy a", "uplo:LU n alpha x incx y incy a",
               "layout uplo+ n incx incy", "", ""),
        level2("hpr2 cz", "uplo n alpha x incx y incy a", "uplo:LU n alpha y* incy* x* incx* a",
               "layout uplo+ n incx incy", "", ""),
        level2("trmv sdcz", "uplo trans diag n a lda x incx", "uplo:LU trans:TN* diag n a lda x incx",
               "layout uplo+ trans+ diag+ n lda incx", "lda=n", "lda=n"),
        level2("trsv sdcz", "uplo trans diag n a lda x incx", "uplo:LU trans:TN* diag n a lda x incx",
               "layout uplo trans diag n lda incx", "lda=n", "lda=n"),
        level2("tbmv scz tbsv sdcz", "uplo trans diag n k a lda x incx",
               "uplo:LU trans:TN* diag n k a lda x incx", "layout uplo+ trans+ diag+ n k lda incx", "lda>k",
               "lda>k"),
        {"tbmv d", "uplo trans diag n k a lda x incx", "uplo:LU trans:TN* diag n k a lda x incx",
         "layout uplo+ trans+ diag+ n k lda incx", "layout uplo+ trans+ diag+ n+ k lda incx", "lda>k",
         "lda>k", false, ""},
        level2("tpmv sdcz tpsv sdcz", "uplo trans diag n a x incx", "uplo:LU trans:TN* diag n a x incx",
               "layout uplo+ trans+ diag+ n incx", "", ""),

        {"gemm_batch_strided sdcz gemm3m_batch_strided cz",
         "transa transb m n k alpha a lda stridea b ldb strideb beta c ldc stridec batch_size",
         "transb transa n m k alpha b ldb strideb a lda stridea beta c ldc stridec batch_size",
         "transa transb m n k batch_size layout lda ldb@11 ldc@14 stridea strideb stridec",
         "transa transb m n k batch_size layout lda ldb ldc stridea strideb stridec",
         "lda=transa?m:k ldb=transb?k:n ldc=m stridec=ldc*n",
         "lda=transa?k:m ldb=transb?n:k ldc=n stridec=ldc*m", true, ""},
        {"trsm_batch_strided sdcz", "side uplo transa diag m n alpha a lda stridea b ldb strideb batch_size",
         "side:RL uplo:LU transa diag n m alpha a lda stridea b ldb strideb batch_size",
         "side uplo transa diag m n batch_size layout lda ldb stridea strideb",
         "side uplo transa diag m n batch_size layout lda ldb stridea strideb",
         "lda=side?m:n ldb=m strideb=m*n", "lda=side?m:n ldb=n strideb=m*n", true, ""},
        {"syrk_batch_strided sd", "uplo trans n k alpha a lda stridea beta c ldc stridec batch_size",
         "uplo:LU trans:TNN n k alpha a lda stridea beta c ldc stridec batch_size",
         "n k stridea ldc stridec batch_size layout uplo+ trans lda",
         "n k stridea ldc stridec batch_size layout uplo+ trans lda", "lda=trans?n:k ldc=n stridec!ldc*n",
         "lda=trans?k:n ldc=n stridec!ldc*n", false, "batch_size scalars"},
        {"syrk_batch_strided cz", "uplo trans(NT) n k alpha a lda stridea beta c ldc stridec batch_size",
         "uplo:LU trans:TN n k alpha a lda stridea beta c ldc stridec batch_size",
         "n k stridea ldc stridec batch_size layout uplo+ trans lda",
         "n k stridea ldc stridec batch_size layout uplo+ trans lda", "lda=trans?n:k ldc=n stridec!ldc*n",
         "lda=trans?k:n ldc=n stridec!ldc*n", false, "batch_size scalars"},
        {"gemv_batch_strided sdcz",
         "trans m n alpha a lda stridea x incx stridex beta y incy stridey batch_size",
         "trans:TN* n m alpha a lda stridea x incx stridex beta y incy stridey batch_size",
         "layout trans m n lda stridea incx stridex incy stridey batch_size",
         "layout trans m n lda stridea incx stridex incy stridey batch_size",
         "lda=m stridey=trans?1+incy*m-incy:1+incy*n-incy", "lda=n stridey=trans?1+incy*m-incy:1+incy*n-incy",
         true, ""},
        {"dgmm_batch_strided sdcz", "side m n a lda stridea x incx stridex c ldc stridec batch_size",
         "side:RL n m a lda stridea x incx stridex c ldc stridec batch_size",
         "layout side+ m n lda stridea incx stridex ldc stridec",
         "layout side+ m n lda stridea incx stridex ldc stridec", "lda=m ldc=m stridec=ldc*n",
         "lda=n ldc=n stridec=ldc*m", true, "m n batch_size"},
        {"axpy_batch_strided sdcz", "n alpha x incx stridex y incy stridey batch_size", "",
         "stridex+ stridey+ batch_size+", "", "stridey!1+incy*n-incy", "", true, ""},
        {"copy_batch_strided sdcz", "n x incx stridex y incy stridey batch_size", "",
         "stridex+ stridey+ batch_size+", "", "stridey!1+incy*n-incy", "", true, ""},

        // Without a letter in front of some names: the first of the name stands for it.
        level3("emm_s8u8s32 g emm_s16s16s32 g",
               "transa(NT) transb(NT) offsetc m n k falpha a lda ao b ldb bo fbeta c ldc co",
               "transb transa offsetc:CRF n m k falpha b ldb bo a lda ao fbeta c ldc co",
               "transa transb offsetc m n k layout lda ldb ldc", "lda=transa?m:k ldb=transb?k:n ldc=m",
               "lda=transa?k:m ldb=transb?n:k ldc=n"),
        level3("emm_bf16bf16f32 g emm_f16f16f32 g emm_e4m3e4m3f32 g emm_e5m2e5m2f32 g",
               "transa transb m n k falpha a lda b ldb fbeta c ldc",
               "transb transa n m k falpha b ldb a lda fbeta c ldc", "transa transb m n k layout lda ldb ldc",
               "lda=transa?m:k ldb=transb?k:n ldc=m", "lda=transa?k:m ldb=transb?n:k ldc=n"),
        level3("gemm h", "transa transb m n k halpha a lda b ldb hbeta c ldc",
               "transb transa n m k halpha b ldb a lda hbeta c ldc", "transa transb m n k layout lda ldb ldc",
               "lda=transa?m:k ldb=transb?k:n ldc=m", "lda=transa?k:m ldb=transb?n:k ldc=n"),
        level3("gemm_pack sd", "identifier trans m n k alpha src ld dest",
               "identifier:BA trans n m k alpha src ld dest", "identifier trans m n k layout ld",
               "ld=identifier?trans?m:k:trans?k:n", "ld=identifier?trans?k:m:trans?n:k"),
        level3("gemm_pack h", "identifier trans m n k halpha src ld dest",
               "identifier:BA trans n m k halpha src ld dest", "identifier trans m n k layout ld",
               "ld=identifier?trans?m:k:trans?k:n", "ld=identifier?trans?k:m:trans?n:k"),
        level3("emm_s8u8s32_pack g emm_s16s16s32_pack g emm_bf16bf16f32_pack g emm_f16f16f32_pack g "
               "emm_e4m3e4m3f32_pack g emm_e5m2e5m2f32_pack g",
               "identifier trans m n k src ld dest", "identifier:BA trans n m k src ld dest",
               "identifier trans m n k layout ld", "ld=identifier?trans?m:k:trans?k:n",
               "ld=identifier?trans?k:m:trans?n:k"),
        level3(
            "gemm_pack_get_size sdh emm_s8u8s32_pack_get_size g emm_s16s16s32_pack_get_size g "
            "emm_bf16bf16f32_pack_get_size g emm_f16f16f32_pack_get_size g emm_e4m3e4m3f32_pack_get_size g "
            "emm_e5m2e5m2f32_pack_get_size g",
            "identifier m n k", "", "identifier m n k", "", ""),
        level3("gemm_compute sd", "transa transb m n k a lda b ldb beta c ldc",
               "transb transa n m k b ldb a lda beta c ldc", "transa transb m n k layout lda ldb ldc",
               "lda=transa?m:k ldb=transb?k:n ldc=m", "lda=transa?k:m ldb=transb?n:k ldc=n"),
        level3("gemm_compute h", "transa transb m n k a lda b ldb hbeta c ldc",
               "transb transa n m k b ldb a lda hbeta c ldc", "transa transb m n k layout lda ldb ldc",
               "lda=transa?m:k ldb=transb?k:n ldc=m", "lda=transa?k:m ldb=transb?n:k ldc=n"),
        level3("emm_bf16bf16f32_compute g emm_f16f16f32_compute g emm_e4m3e4m3f32_compute g "
               "emm_e5m2e5m2f32_compute g",
               "transa transb m n k a lda b ldb fbeta c ldc", "transb transa n m k b ldb a lda fbeta c ldc",
               "transa transb m n k layout lda ldb ldc", "lda=transa?m:k ldb=transb?k:n ldc=m",
               "lda=transa?k:m ldb=transb?n:k ldc=n"),
        level3("emm_s8u8s32_compute g emm_s16s16s32_compute g",
               "transa(NT) transb(NT) offsetc m n k falpha a lda ao b ldb bo fbeta c ldc co",
               "transb transa offsetc:CRF n m k falpha b ldb bo a lda ao fbeta c ldc co",
               "transa transb offsetc m n k layout lda ldb ldc", "lda=transa?m:k ldb=transb?k:n ldc=m",
               "lda=transa?k:m ldb=transb?n:k ldc=n"),

        level1("axpy sdcz", "n alpha x incx y incy"),
        level1("axpby sdcz", "n alpha x incx beta y incy"),
        level1("copy sdcz swap sdcz", "n x incx y incy"),
        level1("scal sdcz", "n alpha x incx"),
        level1("sscal c dscal z", "n ralpha x incx"),
        level1("dot sd sdot d", "n x incx y incy"),
        level1("dsdot s", "n alpha x incx y incy"),
        level1("nrm2 sd cnrm2 s znrm2 d asum sd casum s zasum d", "n x incx"),
        level1("samax i damax i camax i zamax i samin i damin i camin i zamin i", "n x incx"),
        level1("rot sd srot c drot z", "n x incx y incy rcos rsin"),
        level1("rot cz", "n x incx y incy rcos sin"),
        level1("rotm sd", "n x incx y incy param"),
        level1("dotu_sub cz dotc_sub cz", "n x incx y incy result", "result n x incx y incy"),
        {"rotg sdcz", "a b c s", "", "", "", "", "", false, "", true},
        {"rotmg sd", "d1 d2 x1 beta param", "", "", "", "", "", false, "", true},
        {"cabs1 sd", "z", "", "", "", "", "", false, "", true},
    };
    return all;
}

const std::vector<Family>& group_families()
{
    static const std::vector<Family> all{
        {"gemm_batch sdcz gemm3m_batch cz",
         "transa transb m n k alpha a lda b ldb beta c ldc group_count group_size",
         "transb transa n m k alpha b ldb a lda beta c ldc group_count group_size",
         "layout group_count transa transb m n k lda ldb ldc c@14",
         "layout group_count transa transb m n k lda ldb ldc c@14", "lda=transa?m:k ldb=transb?k:n ldc=m",
         "lda=transa?k:m ldb=transb?n:k ldc=n", false, ""},
        {"trsm_batch sdcz", "side uplo transa diag m n alpha a lda b ldb group_count group_size",
         "side:RL uplo:LU transa diag n m alpha a lda b ldb group_count group_size",
         "layout group_count side uplo transa diag m n lda ldb",
         "layout group_count side uplo transa diag m n lda ldb", "lda=side?m:n ldb=m", "lda=side?m:n ldb=n",
         false, ""},
        {"gemv_batch sdcz", "trans m n alpha a lda x incx beta y incy group_count group_size",
         "trans:TN* n m alpha a lda x incx beta y incy group_count group_size",
         "group_count layout m n a lda x incx y incy trans",
         "group_count layout m n a lda x incx y incy trans", "lda=m", "lda=n", true, ""},
        {"syrk_batch sd", "uplo trans n k alpha a lda beta c ldc group_count group_size",
         "uplo:LU trans:TNN n k alpha a lda beta c ldc group_count group_size",
         "layout uplo trans n k lda ldc group_count", "layout uplo trans n k lda ldc group_count",
         "lda=trans?n:k ldc=n", "lda=trans?k:n ldc=n", false, ""},
        {"syrk_batch cz", "uplo trans(NT) n k alpha a lda beta c ldc group_count group_size",
         "uplo:LU trans:TN n k alpha a lda beta c ldc group_count group_size",
         "layout uplo trans n k lda ldc group_count", "layout uplo trans n k lda ldc group_count",
         "lda=trans?n:k ldc=n", "lda=trans?k:n ldc=n", false, ""},
        {"dgmm_batch sdcz", "side m n a lda x incx c ldc group_count group_size",
         "side:RL n m a lda x incx c ldc group_count group_size",
         "layout side m n a lda x incx c ldc group_count", "layout side m n a lda x incx c ldc group_count",
         "lda=m ldc=m", "lda=n ldc=n", true, ""},
        {"axpy_batch sdcz", "n alpha x incx y incy group_count group_size", "", "", "", "", "", false, ""},
        {"copy_batch sdcz", "n x incx y incy group_count group_size", "", "", "", "", "", false, ""},
    };
    return all;
}

} // namespace qnm::tests
