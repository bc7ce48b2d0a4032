// What follows from the rows of telling members, written out by hand: positions, codes, names, formats,
// spellings, types, the order of checks. The facts are those of the published interfaces.
#include "facts.hpp"
#include "support/tables.hpp"

#include <gtest/gtest.h>
#include <map>

namespace qnm::catalogue {
namespace {

using support::tables;

/// The function of an exported name; throws std::out_of_range if there is none.
const Signature& function(const std::string& name)
{
    static const std::map<std::string, Signature> by_name = [] {
        std::map<std::string, Signature> all;
        for (const Signature& s : tables().signatures())
            for (const std::string& spelling : s.names)
                all.emplace(spelling, s);
        return all;
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

/// Codes, names and letters of the tested parameters, in the order of testing.
std::string tests_of(const std::string& name)
{
    const Signature& s = function(name);
    return joined(s.tests, ", ", [&](const Test& test) {
        const Parameter& p = s.parameters[static_cast<std::size_t>(test.parameter)];
        const std::string letters = p.argument == nullptr ? "" : p.argument->letters;
        return std::to_string(test.code) + " " + p.name + (letters.empty() ? "" : " " + letters);
    });
}

/// One fact of a function, or the type of a parameter.
std::string fact(const std::string& name, const std::string& what)
{
    const Signature& s = function(name);
    const auto callee = [&](std::size_t i) { return i < s.callees.size() ? s.callees[i].name : ""; };
    const std::map<std::string, std::string> facts{
        {"spelled", joined(s.names, " ", [](const std::string& word) { return word; })},
        {"cell", s.cell},
        {"core", callee(0)},
        {"small", callee(1)},
        {"check", s.check},
        {"report", s.report_name},
        {"line", s.trace},
        {"result", s.result},
        {"lengths", std::to_string(s.hidden_lengths)}};
    if (const auto found = facts.find(what); found != facts.end())
        return found->second;
    for (const Parameter& p : s.parameters)
        if (p.name == what)
            return p.type;
    return "no such parameter";
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
        EXPECT_EQ(tests_of(name), tests) << name;
}

TEST(Derived, ReportsCarryPaddedNames)
{
    for (const std::string report : {"DGEMM ", "DGER  ", "DGEMMT", "CGEMM3M ", "DGEMM_BATCH ", "DTRSM_OOP ",
                                     "GEMM_S16S16S32_PACK ", "ZGEM2VC", "SGEM2VU", "GEMM_BF16BF16F32_PACK",
                                     "GEMM_E4M3E4M3F32_PACK", "GEMM_E5M2E5M2F32_PACK", "GEMM_F16F16F32_PACK"})
        EXPECT_EQ(fact(report.substr(0, report.find(' ')), "report"), report);
    EXPECT_EQ(fact("DGEMM_64", "report"), "DGEMM ");
    EXPECT_EQ(fact("QNM_SOMATCOPY2", "report"), "qnm_somatcopy2");
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
            LAPACKE_dge_trans_64 spelled => LAPACKE_dge_trans_64;  QNM_Somatcopy2 spelled => QNM_Somatcopy2;
            ICAMAX_64 cell => icamax_64.verbose_ptr;
            DGEMM_64 core => qnm_blas_dgemm;  DGEMM_DIRECT core => qnm_blas_dgemm;
            DGEMM_DIRECT small => qnm_blas_xdgemm;  QNM_DGEMM_COMPACT core => qnm_blas_dgemm_compact;
            QNM_DGEMM_DIRECT_JIT_64 core => qnm_blas_qnm_dgemm_direct_jit;
            QNM_SOMATCOPY2 core => qnm_trans_qnm_somatcopy2;  LAPACKE_dge_trans_64 core => ;  QNM_Somatcopy2 core => qnm_trans_qnm_somatcopy2;
            DGEMM check => qnm_blas_errchk_dgemm;  DGEMM_64 check => qnm_blas_errchk_dgemm_ilp64;
            QNM_Somatcopy2 check => qnm_trans_errchk_qnm_somatcopy2;
            DPTRMM lengths => 4;  DGEMM_BATCH_64 lengths => 2;  DAXPY lengths => 0;
            DGEMM_BATCH_64 line => DGEMM_BATCH_64(%c,%c,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p,%p);
            ZDOTU line => ZDOTU(%p,%d,%p,%d,%p,%d);
            QNM_SOMATCOPY2 line => QNM_SOMATCOPY2(%c, %c, %d, %d, %f, %p, %d, %d, %p, %d, %d);
            QNM_Somatcopy2 line => QNM_SOMATCOPY2(%c, %c, %zu, %zu, %f, %p, %zu, %zu, %p, %zu, %zu);
            DZGEMM a => const double*;  DZGEMM b => const qnm_complex16*;  ZDSCAL alpha => const double*;
            SCASUM x => const qnm_complex8*;  IZAMAX x => const qnm_complex16*;  CHERK_64 alpha => const float*;
            CHERK_64 lda => const qnm_int64*;  DSDOT result => double;  SDSDOT result => float;
            LAPACKE_dge_trans_64 matrix_layout => int;  LAPACKE_dge_trans_64 ldin => qnm_int64;
            QNM_Somatcopy2 lda => size_t;  QNM_Zomatcopy alpha => qnm_complex16;
            QNM_SET_NUM_THREADS spelled => QNM_SET_NUM_THREADS qnm_set_num_threads qnm_set_num_threads_;
            QNM_SET_NUM_THREADS core => qnm_serv_set_num_threads;  QNM_FREE block => void* const*;
            QNM_Set_Num_Threads core => qnm_serv_set_num_threads;  QNM_Set_Num_Threads count => int;
            QNM_GET_VERSION_STRING core => qnm_serv_get_version_string;
            QNM_Get_Version_String core => qnm_serv_get_version_string_c;
            QNM_Get_Version spelled => QNM_GET_VERSION qnm_get_version qnm_get_version_ QNM_Get_Version;
            LSAME spelled => LSAME lsame lsame_ qnm_lapack__lsame_ LSAME_64 lsame_64 lsame_64_;
            LSAME core => qnm_serv_lsame;  xerbla core => xerbla_;  XERBLA core => qnm_serv_default_xerbla;
            QNM_SET_EXIT_HANDLER spelled => QNM_SET_EXIT_HANDLER qnm_set_exit_handler qnm_set_exit_handler_
                QNM_Set_Exit_Handler;  cblas_xerbla info => int;  LAPACKE_lsame a => char;)"))
        EXPECT_EQ(fact(asked.substr(0, asked.find(' ')), asked.substr(asked.find(' ') + 1)), value) << asked;
}

TEST(Derived, WidthDecidesTheFrame)
{
    EXPECT_EQ(function("DAXPYI").source, "scratch, src/blas/scratch.hpp");
    EXPECT_EQ(function("DAXPYI_64").source, "unchecked, src/blas/unchecked.hpp");
    EXPECT_EQ(function("QNM_DGEMM_JIT_64").source, "bare, src/blas/bare.hpp");
    EXPECT_THROW(function("DGEMM_DIRECT_64"), std::out_of_range);
    EXPECT_THROW(function("QNM_DOMATCOPY_64"), std::out_of_range);
}

// How each place of the call is filled: * reads an address, & takes one, w widens, c copies an array, a
// letter of a code l; a constant stands as it is.
TEST(Derived, PlacesOfTheCallAreFilledFromTheParameters)
{
    const auto places = [](const Callee& callee, const Signature& s) {
        static const std::map<Fill, std::string> marks{{Fill::as_it_is, ""}, {Fill::widened, "w"},
                                                       {Fill::copied, "c"},  {Fill::addressed, "&"},
                                                       {Fill::read, "*"},    {Fill::letter, "l"}};
        return joined(callee.places, " ", [&](const Place& place) {
            return place.parameter < 0
                       ? place.constant
                       : marks.at(place.fill) + s.parameters[static_cast<std::size_t>(place.parameter)].name;
        });
    };
    for (const auto& [name, wanted] : tests::facts(R"(
            DGER => wm wn alpha x wincx y wincy a wlda;  DGER_64 => m n alpha x incx y incy a lda;
            DGETRS => trans wn wnrhs a wlda cipiv b wldb winfo 1;
            DGEMM_BATCH_64 => transa_array transb_array m_array n_array k_array alpha_array a_array lda_array b_array
                ldb_array beta_array c_array ldc_array group_count group_size 0 1 1;
            QNM_MALLOC => *size *alignment;  QNM_malloc => size alignment;  QNM_SET_MPI => *vendor library;
            cblas_dgemv => ltrans &m &n &alpha a &lda x &incx &beta y &incy;
            LAPACKE_dgesv => matrix_layout n nrhs a lda ipiv b ldb;
            LAPACKE_dgeqrf => matrix_layout m n a lda tau asked for asked for;)"))
        EXPECT_EQ(places(function(name).callees.at(0), function(name)), wanted) << name;
    const Signature& gemv = function("cblas_dgemv");
    EXPECT_EQ(gemv.callees.at(1).when, "row-major");
    EXPECT_EQ(places(gemv.callees.at(1), gemv), "ltrans &n &m &alpha a &lda x &incx &beta y &incy");
}

// Of some the published source gives another number than the position.
TEST(Derived, ArraysAreCheckedInThePublishedOrder)
{
    for (const auto& [name, order] : tests::facts(R"(
            LAPACKE_dgesv => -4 a, -7 b;  LAPACKE_dgeqrf => -4 a;  LAPACKE_dormqr => -7 a, -10 c, -9 tau;
            LAPACKE_dgesvx => -6 a, -8 af, -14 b, -13 c, -12 r;  LAPACKE_dsyevr => -6 a, -12 abstol, -8 vl, -9 vu;
            LAPACKE_dpbsvx => -7 ab, -9 afb, -13 b, -12 s;  LAPACKE_dtfsm => -10 a, -9 alpha, -11 b;
            LAPACKE_dsytrs_3 => -5 a, -7 e, -9 b;
            LAPACKE_cgesvdq => -9 a;  LAPACKE_dgesvdx => -7 a;  LAPACKE_dtpqrt2 => -5 a, -7 b;)"))
        EXPECT_EQ(tests_of(name), order) << name;
}

} // namespace
} // namespace qnm::catalogue
