// The least leading dimensions and strides, written by hand for each family and each letter that they depend
// on.
#include "checks.hpp"
#include "published.hpp"

#include <cctype>
#include <sstream>

namespace qnm::tests {
namespace {

struct Bounds {
    const char* members;
    const char* given;
    const char* least; // one less is refused
};

#define PRODUCTS                                                                                             \
    "?GEMM CGEMM3M ZGEMM3M DZGEMM SCGEMM HGEMM GEMM_BF16BF16F32 GEMM_F16F16F32 GEMM_E4M3E4M3F32 "            \
    "GEMM_E5M2E5M2F32 GEMM_S8U8S32 GEMM_S16S16S32 " COMPUTE
#define COMPUTE                                                                                              \
    "SGEMM_COMPUTE DGEMM_COMPUTE HGEMM_COMPUTE GEMM_BF16BF16F32_COMPUTE GEMM_F16F16F32_COMPUTE "             \
    "GEMM_E4M3E4M3F32_COMPUTE GEMM_E5M2E5M2F32_COMPUTE GEMM_S8U8S32_COMPUTE GEMM_S16S16S32_COMPUTE"
#define PACK                                                                                                 \
    "SGEMM_PACK DGEMM_PACK HGEMM_PACK GEMM_S8U8S32_PACK GEMM_S16S16S32_PACK GEMM_BF16BF16F32_PACK "          \
    "GEMM_F16F16F32_PACK GEMM_E4M3E4M3F32_PACK GEMM_E5M2E5M2F32_PACK"
#define BATCH "?GEMM_BATCH CGEMM3M_BATCH ZGEMM3M_BATCH"
#define STRIDED "?GEMM_BATCH_STRIDED CGEMM3M_BATCH_STRIDED ZGEMM3M_BATCH_STRIDED"
#define JIT "QNM_JIT_CREATE_?GEMM"

const Bounds bounds[] = {
    {PRODUCTS, "transa=N transb=N m=3 n=5 k=7", "lda=3 ldb=7 ldc=3"},
    {PRODUCTS, "transa=T transb=N m=3 n=5 k=7", "lda=7 ldb=7 ldc=3"},
    {PRODUCTS, "transa=N transb=T m=3 n=5 k=7", "lda=3 ldb=5 ldc=3"},
    {COMPUTE, "transa=P transb=N m=3 n=5 k=7 lda=-1", "ldb=7 ldc=3"},
    {COMPUTE, "transa=T transb=P m=3 n=5 k=7 ldb=-1", "lda=7 ldc=3"},
    {PACK, "identifier=A trans=N m=3 n=5 k=7", "ld=3"},
    {PACK, "identifier=A trans=C m=3 n=5 k=7", "ld=7"},
    {PACK, "identifier=B trans=N m=3 n=5 k=7", "ld=7"},
    {PACK, "identifier=B trans=T m=3 n=5 k=7", "ld=5"},
    {JIT, "transa=N transb=N m=3 n=5 k=7", "lda=3 ldb=7 ldc=3"},
    {JIT, "transa=O transb=T m=3 n=5 k=7", "lda=3 ldb=5 ldc=3"},
    {JIT, "transa=T transb=N m=3 n=5 k=7", "lda=7 ldb=7 ldc=3"},
    {JIT, "transa=U transb=N m=3 n=5 k=7", "lda=7 ldb=7 ldc=3"},
    {"QNM_JIT_CREATE_CGEMM QNM_JIT_CREATE_ZGEMM", "transa=V transb=C m=3 n=5 k=7", "lda=7 ldb=5 ldc=3"},

    {"?GBMV", "m=3 n=5 kl=2 ku=4", "lda=7"},
    {"?GEMV DZGEMV SCGEMV", "trans=N m=3 n=5", "lda=3"},
    {"?GEMV DZGEMV SCGEMV", "trans=T m=3 n=5", "lda=3"},
    {"SGEM2VU DGEM2VU CGEM2VC ZGEM2VC SGER DGER CGERC ZGERC CGERU ZGERU", "m=3 n=5", "lda=3"},
    {"SSBMV DSBMV CHBMV ZHBMV ?TBMV ?TBSV", "n=3 k=5", "lda=6"},
    {"SSYMV DSYMV CHEMV ZHEMV SSYR DSYR CHER ZHER SSYR2 DSYR2 CHER2 ZHER2 ?TRMV ?TRSV", "n=3", "lda=3"},

    {"?GEMMT", "transa=N transb=N n=3 k=5", "lda=3 ldb=5 ldc=3"},
    {"?GEMMT", "transa=T transb=C n=3 k=5", "lda=5 ldb=3 ldc=3"},
    {"?SYMM CHEMM ZHEMM", "side=L m=3 n=5", "lda=3 ldb=3 ldc=3"},
    {"?SYMM CHEMM ZHEMM", "side=R m=3 n=5", "lda=5 ldb=3 ldc=3"},
    {"?SYRK CHERK ZHERK", "trans=N n=3 k=5", "lda=3 ldc=3"},
    {"?SYRK", "trans=T n=3 k=5", "lda=5 ldc=3"},
    {"CHERK ZHERK", "trans=C n=3 k=5", "lda=5 ldc=3"},
    {"?SYR2K CHER2K ZHER2K", "trans=N n=3 k=5", "lda=3 ldb=3 ldc=3"},
    {"?SYR2K", "trans=T n=3 k=5", "lda=5 ldb=5 ldc=3"},
    {"CHER2K ZHER2K", "trans=C n=3 k=5", "lda=5 ldb=5 ldc=3"},
    {"?TRMM ?TRSM", "side=L m=3 n=5", "lda=3 ldb=3"},
    {"?TRMM ?TRSM", "side=R m=3 n=5", "lda=5 ldb=3"},
    {"?TRMM_OOP ?TRSM_OOP", "side=L m=3 n=5", "lda=3 ldb=3 ldc=3"},
    {"?TRMM_OOP ?TRSM_OOP", "side=R m=3 n=5", "lda=5 ldb=3 ldc=3"},
    {"SPTRMM DPTRMM", "side=R m=3 n=5", "ldb=3"},

    {BATCH, "transa_array=N transb_array=N m_array=3 n_array=5 k_array=7",
     "lda_array=3 ldb_array=7 ldc_array=3"},
    {BATCH, "transa_array=T transb_array=C m_array=3 n_array=5 k_array=7",
     "lda_array=7 ldb_array=5 ldc_array=3"},
    {"?GEMV_BATCH", "trans_array=T m_array=3 n_array=5", "lda_array=3"},
    {"?DGMM_BATCH", "side_array=R m_array=3 n_array=5", "lda_array=3 ldc_array=3"},
    {"?SYRK_BATCH", "trans_array=N n_array=3 k_array=5", "lda_array=3 ldc_array=3"},
    {"?SYRK_BATCH", "trans_array=T n_array=3 k_array=5", "lda_array=5 ldc_array=3"},
    {"?TRSM_BATCH", "side_array=L m_array=3 n_array=5", "lda_array=3 ldb_array=3"},
    {"?TRSM_BATCH", "side_array=R m_array=3 n_array=5", "lda_array=5 ldb_array=3"},

    {STRIDED, "transa=N transb=N m=3 n=5 k=7 ldc=4", "lda=3 ldb=7 stridec=20"},
    {STRIDED, "transa=T transb=T m=3 n=5 k=7 stridec=100", "lda=7 ldb=5 ldc=3"},
    {"?GEMV_BATCH_STRIDED", "trans=N m=3 n=5 incy=-2", "lda=3 stridey=5"},
    {"?GEMV_BATCH_STRIDED", "trans=C m=3 n=5 incy=2", "lda=3 stridey=9"},
    {"?DGMM_BATCH_STRIDED", "side=R m=3 n=5 ldc=4", "lda=3 stridec=20"},
    {"?DGMM_BATCH_STRIDED", "side=L m=3 n=5 stridec=100", "ldc=3"},
    {"?SYRK_BATCH_STRIDED", "trans=N n=3 k=5 ldc=4", "lda=3 stridec=12"},
    {"?SYRK_BATCH_STRIDED", "trans=T n=3 k=5 stridec=100", "lda=5 ldc=3"},
    {"?TRSM_BATCH_STRIDED", "side=L m=3 n=5 ldb=4", "lda=3 strideb=20"},
    {"?TRSM_BATCH_STRIDED", "side=R m=3 n=5 strideb=100", "lda=5 ldb=3"},
    {"?COPY_BATCH_STRIDED ?AXPY_BATCH_STRIDED", "n=5 incy=-3", "stridey=13"},
};

struct Setting {
    std::string name, value;
};

std::vector<Setting> settings(const char* list)
{
    std::vector<Setting> all;
    std::istringstream in(list);
    for (std::string word; in >> word;) {
        const std::size_t equals = word.find('=');
        all.push_back({word.substr(0, equals), word.substr(equals + 1)});
    }
    return all;
}

void apply(SampleCall& call, const char* list)
{
    for (const Setting& s : settings(list))
        if (std::isupper(static_cast<unsigned char>(s.value[0])) != 0)
            call.choose(s.name, s.value[0]);
        else
            call.set(s.name, std::stoll(s.value));
}

class BoundsTest : public BlasTest {};

TEST_F(BoundsTest, OfLeadingDimensionsAndStrides)
{
    std::set<std::string> seen;
    for (const Bounds& b : bounds)
        for (const std::string& member : expand(b.members))
            for (const char* width : {"", "_64"}) {
                SCOPED_TRACE(member + width + ": " + b.given + ": " + b.least);
                SampleCall least(member + width);
                apply(least, b.given);
                apply(least, b.least);
                EXPECT_EQ(judged(least), 0);
                for (const Setting& s : settings(b.least)) {
                    SampleCall less = least;
                    less.set(s.name, std::stoll(s.value) - 1);
                    EXPECT_EQ(judged(less), least.row().code(*least.row().find(s.name))) << s.name;
                    seen.insert(member + width + s.name);
                }
            }
    // No bound of the tables but a plain number is missing above.
    for (const Entry* e : checked_entries())
        for (const Argument& a : e->row->arguments)
            if (a.minimum && a.minimum->kind != catalogue::Expression::Kind::number) {
                EXPECT_TRUE(seen.contains(e->name() + a.name)) << e->name() << " " << a.name;
            }
}

} // namespace
} // namespace qnm::tests
