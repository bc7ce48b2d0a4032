// What follows from the rows of telling members, written out by hand: positions, codes, names, formats,
// spellings, types.
#include "catalogue/catalogue.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <sstream>

namespace qnm::catalogue {
namespace {

using ::testing::ElementsAre;

const Catalogue& tables()
{
    static const Catalogue all = [] {
        std::vector<std::string> paths;
        std::istringstream list(QNM_TABLES);
        for (std::string path; std::getline(list, path, ':');)
            paths.push_back(path);
        return read_tables(paths);
    }();
    return all;
}

/// The entry of this upper-case name; throws std::out_of_range if there is none.
const Entry& entry(const std::string& name)
{
    static const std::map<std::string, Entry> by_name = [] {
        std::map<std::string, Entry> entries;
        for (const Entry& e : tables().entries())
            entries.emplace(e.name(), e);
        return entries;
    }();
    return by_name.at(name);
}

/// "1 transa NCT, 3 m, ...": codes, arguments and letters in the order of testing.
std::string tests_of(const std::string& name)
{
    const Row& row = *entry(name).row;
    std::string text;
    for (const Argument* a : row.tests())
        text += (text.empty() ? "" : ", ") + std::to_string(row.code(*a)) + " " + a->name +
                (a->letters.empty() ? "" : " " + a->letters);
    return text;
}

TEST(Derived, CodesStandInTheOrderOfTesting)
{
    EXPECT_EQ(tests_of("DGEMM"), "1 transa NCT, 2 transb NCT, 3 m, 4 n, 5 k, 8 lda, 10 ldb, 13 ldc");
    EXPECT_EQ(tests_of("SCGEMV_64"), "1 trans NTC, 2 m, 3 n, 6 lda, 8 incx, 11 incy");
    EXPECT_EQ(tests_of("CSYRK"), "1 uplo UL, 2 trans NT, 3 n, 4 k, 7 lda, 10 ldc");
    EXPECT_EQ(tests_of("DSYRK"), "1 uplo UL, 2 trans NTC, 3 n, 4 k, 7 lda, 10 ldc");
    EXPECT_EQ(tests_of("ZHERK"), "1 uplo UL, 2 trans NC, 3 n, 4 k, 7 lda, 10 ldc");
    EXPECT_EQ(tests_of("DPTRMM"), "1 side LR, 2 uplo UL, 3 transa NTC, 4 diag NU, 5 m, 6 n, 11 ldb");
    EXPECT_EQ(tests_of("DGEMM_BATCH"),
              "14 group_count, 1 transa_array NCT, 2 transb_array NCT, 3 m_array, 4 n_array, 5 k_array, "
              "8 lda_array, 10 ldb_array, 13 ldc_array, 15 group_size");
    EXPECT_EQ(tests_of("DGEMM_BATCH_STRIDED"),
              "1 transa NCT, 2 transb NCT, 3 m, 4 n, 5 k, 8 lda, 11 ldb, 15 ldc, "
              "9 stridea, 12 strideb, 16 stridec, 17 batch_size");
    EXPECT_EQ(tests_of("QNM_JIT_CREATE_ZGEMM"),
              "2 transa NTCOUV, 3 transb NTC, 4 m, 5 n, 6 k, 8 lda, 9 ldb, 11 ldc");
    EXPECT_EQ(tests_of("GEMM_S8U8S32_COMPUTE"),
              "1 transa NTP, 2 transb NTP, 3 offsetc FCR, 4 m, 5 n, 6 k, 9 lda, 12 ldb, 16 ldc");
    EXPECT_EQ(tests_of("DAXPY"), "");
}

TEST(Derived, ReportsCarryPaddedNames)
{
    const auto name = [](const char* e) { return entry(e).report_name(); };
    EXPECT_EQ(name("DGEMM"), "DGEMM ");
    EXPECT_EQ(name("DGEMM_64"), "DGEMM ");
    EXPECT_EQ(name("DGER"), "DGER  ");
    EXPECT_EQ(name("DGEMMT"), "DGEMMT");
    EXPECT_EQ(name("DSYR2K"), "DSYR2K");
    EXPECT_EQ(name("CGEMM3M"), "CGEMM3M ");
    EXPECT_EQ(name("DGEMM_BATCH"), "DGEMM_BATCH ");
    EXPECT_EQ(name("DTRSM_OOP"), "DTRSM_OOP ");
    EXPECT_EQ(name("GEMM_S8U8S32"), "GEMM_S8U8S32 ");
    EXPECT_EQ(name("GEMM_S8U8S32_PACK"), "GEMM_S8U8S32_PACK ");
    EXPECT_EQ(name("GEMM_S16S16S32_PACK"), "GEMM_S16S16S32_PACK ");
    for (const char* bare : {"CGEM2VC", "ZGEM2VC", "DGEM2VU", "SGEM2VU", "GEMM_BF16BF16F32_PACK",
                             "GEMM_E4M3E4M3F32_PACK", "GEMM_E5M2E5M2F32_PACK", "GEMM_F16F16F32_PACK"})
        EXPECT_EQ(name(bare), bare);
}

TEST(Derived, MatrixCopiesHaveTwoForms)
{
    EXPECT_EQ(tests_of("QNM_DOMATCOPY"), "1 ordering RC, 7 lda, 2 trans NRTC, 9 ldb");
    EXPECT_EQ(tests_of("QNM_ZOMATCOPY_BATCH"),
              "1 layout RC, 10 group_count, 7 lda_array, 2 trans_array NRTC, 9 ldb_array, 11 group_size");
    const Entry& copy = entry("QNM_SOMATCOPY2");
    EXPECT_THAT(copy.spellings(), ElementsAre("QNM_SOMATCOPY2", "qnm_somatcopy2", "qnm_somatcopy2_"));
    EXPECT_EQ(copy.c_form(), "QNM_Somatcopy2");
    EXPECT_EQ(copy.core(), "qnm_trans_qnm_somatcopy2");
    EXPECT_EQ(copy.check(), "qnm_trans_errchk_qnm_somatcopy2");
    EXPECT_EQ(copy.report_name(), "qnm_somatcopy2");
    EXPECT_EQ(copy.format(), "QNM_SOMATCOPY2(%c, %c, %d, %d, %f, %p, %d, %d, %p, %d, %d)");
    EXPECT_EQ(copy.c_format(), "QNM_SOMATCOPY2(%c, %c, %zu, %zu, %f, %p, %zu, %zu, %p, %zu, %zu)");
    EXPECT_THROW(entry("QNM_DOMATCOPY_64"), std::out_of_range);
    EXPECT_EQ(entry("DGEMM").c_form(), "");
}

TEST(Derived, HelpersHaveNoCore)
{
    const Entry& helper = entry("DGE_TRANS_64");
    EXPECT_THAT(helper.spellings(), ElementsAre("LAPACKE_dge_trans_64"));
    EXPECT_EQ(helper.core(), "");
    EXPECT_EQ(entry("Z_NANCHECK").spellings().front(), "LAPACKE_z_nancheck");
    EXPECT_EQ(c_type(helper.row->find("matrix_layout")->type, helper.precision, helper.width), "int");
    EXPECT_EQ(c_type(helper.row->find("ldin")->type, helper.precision, helper.width), "qnm_int64");
}

TEST(Derived, SpellingsFollowTheFamily)
{
    EXPECT_THAT(entry("DGEMM").spellings(), ElementsAre("DGEMM", "dgemm", "dgemm_", "qnm_blas__dgemm"));
    EXPECT_THAT(entry("DGEMM_64").spellings(), ElementsAre("DGEMM_64", "dgemm_64", "dgemm_64_"));
    EXPECT_THAT(entry("CROT").spellings(),
                ElementsAre("CROT", "crot", "crot_", "qnm_blas__crot", "qnm_lapack__crot_"));
    EXPECT_THAT(entry("CROT_64").spellings(),
                ElementsAre("CROT_64", "crot_64", "crot_64_", "qnm_lapack__crot_64_"));
    EXPECT_THAT(entry("QNM_DGEMM_JIT").spellings(),
                ElementsAre("QNM_DGEMM_JIT", "qnm_dgemm_jit", "qnm_dgemm_jit_", "qnm_blas__qnm_dgemm_jit"));
    EXPECT_EQ(entry("ICAMAX").cell(), "icamax");
    EXPECT_EQ(entry("ICAMAX_64").cell(), "icamax_64");
}

TEST(Derived, CoreAndCheckHaveTheirNames)
{
    EXPECT_EQ(entry("DGEMM_64").core(), "qnm_blas_dgemm");
    EXPECT_EQ(entry("DGEMM").check(), "qnm_blas_errchk_dgemm");
    EXPECT_EQ(entry("DGEMM_64").check(), "qnm_blas_errchk_dgemm_ilp64");
    EXPECT_EQ(entry("DGEMM_DIRECT").core(), "qnm_blas_dgemm");
    EXPECT_EQ(entry("DGEMM_DIRECT").small_core(), "qnm_blas_xdgemm");
    EXPECT_EQ(entry("QNM_DGEMM_COMPACT").core(), "qnm_blas_dgemm_compact");
    EXPECT_EQ(entry("QNM_JIT_CREATE_DGEMM").core(), "qnm_blas_qnm_jit_create_dgemm");
    EXPECT_EQ(entry("QNM_DGEMM_DIRECT_JIT_64").core(), "qnm_blas_qnm_dgemm_direct_jit");
}

TEST(Derived, WidthDecidesTheFrame)
{
    EXPECT_EQ(entry("DAXPYI").frame(), Class::scratch);
    EXPECT_EQ(entry("DAXPYI_64").frame(), Class::unchecked);
    EXPECT_THROW(entry("DGEMM_DIRECT_64"), std::out_of_range);
    EXPECT_EQ(entry("QNM_DGEMM_JIT_64").frame(), Class::bare);
    EXPECT_EQ(entry("DPTRMM").hidden_lengths(), 4);
    EXPECT_EQ(entry("DGEMM_BATCH_64").hidden_lengths(), 2);
    EXPECT_EQ(entry("DAXPY").hidden_lengths(), 0);
}

TEST(Derived, LettersDecideTheTypes)
{
    const auto type = [](const char* name, const char* argument) {
        const Entry& e = entry(name);
        return c_type(e.row->find(argument)->type, e.precision, e.width);
    };
    EXPECT_EQ(type("DZGEMM", "a"), "double");
    EXPECT_EQ(type("DZGEMM", "b"), "qnm_complex16");
    EXPECT_EQ(type("ZDSCAL", "alpha"), "double");
    EXPECT_EQ(type("SCASUM", "x"), "qnm_complex8");
    EXPECT_EQ(type("IZAMAX", "x"), "qnm_complex16");
    EXPECT_EQ(type("CHERK_64", "alpha"), "float");
    EXPECT_EQ(type("CHERK_64", "lda"), "qnm_int64");
    EXPECT_EQ(type("DSDOT", "x"), "float");
    const Entry& dsdot = entry("DSDOT");
    EXPECT_EQ(c_type(dsdot.row->result.type, dsdot.precision, dsdot.width), "double");
    const Entry& sdsdot = entry("SDSDOT");
    EXPECT_EQ(c_type(sdsdot.row->result.type, sdsdot.precision, sdsdot.width), "float");
}

TEST(Derived, ServicesHaveTwoFormsOrOne)
{
    const auto service = [](const std::string& name) {
        const auto& all = tables().services();
        return *std::find_if(all.begin(), all.end(), [&](const Service& s) { return s.name == name; });
    };
    const Service threads = service("QNM_Set_Num_Threads");
    EXPECT_THAT(threads.spellings,
                ElementsAre("QNM_SET_NUM_THREADS", "qnm_set_num_threads", "qnm_set_num_threads_"));
    EXPECT_EQ(threads.core, "qnm_serv_set_num_threads");
    const Service text = service("QNM_Get_Version_String");
    EXPECT_EQ(text.core, "qnm_serv_get_version_string");
    EXPECT_EQ(text.c_core, "qnm_serv_get_version_string_c");
    EXPECT_THAT(service("QNM_Get_Version").spellings,
                ElementsAre("QNM_GET_VERSION", "qnm_get_version", "qnm_get_version_", "QNM_Get_Version"));
    EXPECT_THAT(service("LSAME").spellings, ElementsAre("LSAME", "lsame", "lsame_", "LSAME_64", "lsame_64",
                                                        "lsame_64_", "qnm_lapack__lsame_"));
    EXPECT_THAT(service("cdecl_xerbla").spellings,
                ElementsAre("cdecl_xerbla", "xerbla", "xerbla_", "XERBLA_", "XERBLA"));
}

} // namespace
} // namespace qnm::catalogue
