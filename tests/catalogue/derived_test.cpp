// What follows from the rows of telling members, written out by hand: positions, codes, names, formats,
// spellings, types, the order of checks. The facts are those of the published interfaces.
#include "facts.hpp"
#include "support/tables.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace qnm::catalogue {
namespace {

using support::tables;

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

template <class List, class Text>
std::string joined(const List& list, const char* between, Text&& text)
{
    std::string all;
    for (const auto& item : list)
        all += (all.empty() ? "" : between) + text(item);
    return all;
}

std::string words(const std::vector<std::string>& list)
{
    return joined(list, " ", [](const std::string& word) { return word; });
}

/// One fact of an entry, or the type of an argument.
std::string of_entry(const std::string& name, const std::string& what)
{
    const Entry& e = entry(name);
    const Row& row = *e.row;
    if (what == "tests") // codes, arguments and letters in the order of testing
        return joined(row.tests(), ", ", [&](const Argument* a) {
            return std::to_string(row.code(*a)) + " " + a->name +
                   (a->letters.empty() ? "" : " " + a->letters);
        });
    const std::map<std::string, std::string> facts{{"spelled", words(e.spellings())},
                                                   {"cell", e.cell()},
                                                   {"core", e.core()},
                                                   {"small", row.small_root.empty() ? "" : e.small_core()},
                                                   {"check", e.check()},
                                                   {"report", e.report_name()},
                                                   {"line", e.format()},
                                                   {"C_form", e.c_form()},
                                                   {"C_line", e.c_form().empty() ? "" : e.c_format()},
                                                   {"lengths", std::to_string(e.hidden_lengths())}};
    if (const auto fact = facts.find(what); fact != facts.end())
        return fact->second;
    return c_type(what == "result" ? row.result.type : row.find(what)->type, e.precision, e.width);
}

/// Positions and names of the arguments of a member of the C interface to LAPACK in the order of their NaN
/// checks.
std::string checked(const std::string& name)
{
    for (const LapackePlan& plan : tables().lapacke_plans())
        for (const Precision& precision : plan.precisions)
            if (lapacke_name(*plan.row, precision, Width::narrow, true) == name)
                return joined(plan.checked, ", ", [&](int i) {
                    const LapackeArgument& a = plan.arguments[static_cast<std::size_t>(i)];
                    return std::to_string(a.position) + " " + a.argument->name;
                });
    return "no such member";
}

TEST(Derived, TestsStandInTheirOrderWithTheirCodes)
{
    for (const auto& [name, tests] : tests::facts(R"(
            DGEMM => 1 transa NCT, 2 transb NCT, 3 m, 4 n, 5 k, 8 lda, 10 ldb, 13 ldc;
            SCGEMV_64 => 1 trans NTC, 2 m, 3 n, 6 lda, 8 incx, 11 incy;
            CSYRK => 1 uplo UL, 2 trans NT, 3 n, 4 k, 7 lda, 10 ldc;
            DSYRK => 1 uplo UL, 2 trans NTC, 3 n, 4 k, 7 lda, 10 ldc;
            ZHERK => 1 uplo UL, 2 trans NC, 3 n, 4 k, 7 lda, 10 ldc;
            DPTRMM => 1 side LR, 2 uplo UL, 3 transa NTC, 4 diag NU, 5 m, 6 n, 11 ldb;
            DGEMM_BATCH => 14 group_count, 1 transa_array NCT, 2 transb_array NCT, 3 m_array, 4 n_array,
                5 k_array, 8 lda_array, 10 ldb_array, 13 ldc_array, 15 group_size;
            DGEMM_BATCH_STRIDED => 1 transa NCT, 2 transb NCT, 3 m, 4 n, 5 k, 8 lda, 11 ldb, 15 ldc,
                9 stridea, 12 strideb, 16 stridec, 17 batch_size;
            QNM_JIT_CREATE_ZGEMM => 2 transa NTCOUV, 3 transb NTC, 4 m, 5 n, 6 k, 8 lda, 9 ldb, 11 ldc;
            GEMM_S8U8S32_COMPUTE => 1 transa NTP, 2 transb NTP, 3 offsetc FCR, 4 m, 5 n, 6 k, 9 lda, 12 ldb,
                16 ldc;
            DAXPY => ;
            QNM_DOMATCOPY => 1 ordering RC, 7 lda, 2 trans NRTC, 9 ldb;
            QNM_ZOMATCOPY_BATCH => 1 layout RC, 10 group_count, 7 lda_array, 2 trans_array NRTC, 9 ldb_array,
                11 group_size;)"))
        EXPECT_EQ(of_entry(name, "tests"), tests) << name;
}

TEST(Derived, ReportsCarryPaddedNames)
{
    for (const std::string report : {"DGEMM ", "DGER  ", "DGEMMT", "CGEMM3M ", "DGEMM_BATCH ", "DTRSM_OOP ",
                                     "GEMM_S16S16S32_PACK ", "ZGEM2VC", "SGEM2VU", "GEMM_BF16BF16F32_PACK",
                                     "GEMM_E4M3E4M3F32_PACK", "GEMM_E5M2E5M2F32_PACK", "GEMM_F16F16F32_PACK"})
        EXPECT_EQ(of_entry(report.substr(0, report.find(' ')), "report"), report);
    EXPECT_EQ(of_entry("DGEMM_64", "report"), "DGEMM ");
    EXPECT_EQ(of_entry("QNM_SOMATCOPY2", "report"), "qnm_somatcopy2");
}

TEST(Derived, NamesFormatsAndTypesAreThosePublished)
{
    for (const auto& [asked, value] : tests::facts(R"(
            DGEMM spelled => DGEMM dgemm dgemm_ qnm_blas__dgemm;
            DGEMM_64 spelled => DGEMM_64 dgemm_64 dgemm_64_;
            CROT spelled => CROT crot crot_ qnm_blas__crot qnm_lapack__crot_;
            CROT_64 spelled => CROT_64 crot_64 crot_64_ qnm_lapack__crot_64_;
            QNM_DGEMM_JIT spelled => QNM_DGEMM_JIT qnm_dgemm_jit qnm_dgemm_jit_ qnm_blas__qnm_dgemm_jit;
            QNM_SOMATCOPY2 spelled => QNM_SOMATCOPY2 qnm_somatcopy2 qnm_somatcopy2_;
            DGE_TRANS_64 spelled => LAPACKE_dge_trans_64;  Z_NANCHECK spelled => LAPACKE_z_nancheck;
            DGEMM C_form => ;  QNM_SOMATCOPY2 C_form => QNM_Somatcopy2;  ICAMAX_64 cell => icamax_64;
            DGEMM_64 core => qnm_blas_dgemm;  DGEMM_DIRECT core => qnm_blas_dgemm;
            DGEMM_DIRECT small => qnm_blas_xdgemm;  QNM_DGEMM_COMPACT core => qnm_blas_dgemm_compact;
            QNM_DGEMM_DIRECT_JIT_64 core => qnm_blas_qnm_dgemm_direct_jit;
            QNM_SOMATCOPY2 core => qnm_trans_qnm_somatcopy2;  DGE_TRANS_64 core => ;
            DGEMM check => qnm_blas_errchk_dgemm;  DGEMM_64 check => qnm_blas_errchk_dgemm_ilp64;
            QNM_SOMATCOPY2 check => qnm_trans_errchk_qnm_somatcopy2;
            DPTRMM lengths => 4;  DGEMM_BATCH_64 lengths => 2;  DAXPY lengths => 0;
            DGEMM_BATCH_64 line => DGEMM_BATCH_64(%c,%c,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p);
            ZDOTU line => ZDOTU(%p,%d,%p,%d,%p,%d);
            QNM_SOMATCOPY2 line => QNM_SOMATCOPY2(%c, %c, %d, %d, %f, %p, %d, %d, %p, %d, %d);
            QNM_SOMATCOPY2 C_line => QNM_SOMATCOPY2(%c, %c, %zu, %zu, %f, %p, %zu, %zu, %p, %zu, %zu);
            DZGEMM a => double;  DZGEMM b => qnm_complex16;  ZDSCAL alpha => double;
            SCASUM x => qnm_complex8;  IZAMAX x => qnm_complex16;  CHERK_64 alpha => float;
            CHERK_64 lda => qnm_int64;  DSDOT x => float;  DSDOT result => double;  SDSDOT result => float;
            DGE_TRANS_64 matrix_layout => int;  DGE_TRANS_64 ldin => qnm_int64;)"))
        EXPECT_EQ(of_entry(asked.substr(0, asked.find(' ')), asked.substr(asked.find(' ') + 1)), value)
            << asked;
}

TEST(Derived, WidthDecidesTheFrame)
{
    EXPECT_EQ(entry("DAXPYI").frame(), Class::scratch);
    EXPECT_EQ(entry("DAXPYI_64").frame(), Class::unchecked);
    EXPECT_EQ(entry("QNM_DGEMM_JIT_64").frame(), Class::bare);
    EXPECT_THROW(entry("DGEMM_DIRECT_64"), std::out_of_range);
    EXPECT_THROW(entry("QNM_DOMATCOPY_64"), std::out_of_range);
}

TEST(Derived, ServicesHaveTwoFormsOrOne)
{
    for (const auto& [name, wanted] : tests::facts(R"(
            QNM_Set_Num_Threads => QNM_SET_NUM_THREADS qnm_set_num_threads qnm_set_num_threads_ |
                qnm_serv_set_num_threads | qnm_serv_set_num_threads;
            QNM_Get_Version_String => QNM_GET_VERSION_STRING qnm_get_version_string qnm_get_version_string_ |
                qnm_serv_get_version_string | qnm_serv_get_version_string_c;
            QNM_Get_Version => QNM_GET_VERSION qnm_get_version qnm_get_version_ QNM_Get_Version |
                qnm_serv_get_version | qnm_serv_get_version;
            LSAME => LSAME lsame lsame_ LSAME_64 lsame_64 lsame_64_ qnm_lapack__lsame_ |
                qnm_serv_lsame | qnm_serv_lsame;)")) {
        const auto& all = tables().services();
        const auto s =
            std::find_if(all.begin(), all.end(), [&](const Service& row) { return row.name == name; });
        ASSERT_NE(s, all.end()) << name;
        EXPECT_EQ(words(s->spellings) + " | " + s->core + " | " + s->c_core, wanted);
    }
}

// Of some the published source gives another number than the position.
TEST(Derived, ArraysAreCheckedInThePublishedOrder)
{
    for (const auto& [name, order] : tests::facts(R"(
            LAPACKE_dgesv => 4 a, 7 b;  LAPACKE_dgeqrf => 4 a;  LAPACKE_dormqr => 7 a, 10 c, 9 tau;
            LAPACKE_dgesvx => 6 a, 8 af, 14 b, 13 c, 12 r;  LAPACKE_dsyevr => 6 a, 12 abstol, 8 vl, 9 vu;
            LAPACKE_dpbsvx => 7 ab, 9 afb, 13 b, 12 s;  LAPACKE_dtfsm => 10 a, 9 alpha, 11 b;
            LAPACKE_dsytrs_3 => 5 a, 7 e, 9 b;
            LAPACKE_cgesvdq => 9 a;  LAPACKE_dgesvdx => 7 a;  LAPACKE_dtpqrt2 => 5 a, 7 b;)"))
        EXPECT_EQ(checked(name), order) << name;
}

} // namespace
} // namespace qnm::catalogue
