// What is told of names, and follows from the rows of telling members, written out by hand: positions, codes,
// spellings, formats, types, places of the core's call, the order of checks. The facts are those of the
// published interfaces.
#include "facts.hpp"
#include "support/tables.hpp"

#include "generate/output.hpp"

#include <gmock/gmock.h>

namespace qnm::catalogue {
namespace {

// Between `...` there may be more; `end` is that of the text. Of some arrays of the C interface to LAPACK the
// published source gives another number than the position.
TEST(Derived, FactsAreThosePublished)
{
    const std::vector<Signature> functions = support::tables().signatures();
    for (const auto& [name, parts] : tests::facts(R"(
            dgemm_ => DGEMM title Product of two general matrices, added to a third row blas/level3.tab: ...
                steps checked, src/blas/checked.hpp
                spelled DGEMM dgemm dgemm_ qnm_blas__dgemm result void
                calls qnm_blas_dgemm(transa, transb, widened m, widened n, widened k, alpha, a, widened lda, b,
                widened ldb, beta, c, widened ldc, 1, 1) arguments 1: transa, const char*
                ... 3: m, const int* ... 6: alpha, const double*
                ... line DGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d) cell dgemm.verbose_ptr
                check qnm_blas_errchk_dgemm, reports "DGEMM " where nrowa = transa is N ? m : k ... order
                1: transa in NCT 2: transb in NCT 3: m >= 0 4: n >= 0 5: k >= 0 8: lda >= max(1,nrowa)
                10: ldb >= max(1,nrowb) 13: ldc >= max(1,m) end;
            DGEMM_BATCH_64 => 12: c_array, double* const*;
            caxpy_64 => steps unchecked, src/blas/unchecked.hpp ... calls qnm_blas_caxpy(n, alpha, x, incx, y, incy)
                arguments 1: n, const qnm_int64* 2: alpha, const qnm_complex8* ... cell caxpy_64.verbose_ptr end;
            DAXPYI => steps scratch, src/blas/scratch.hpp ... widened nz, alpha, x, copied indx, y);
            DDOT_DIRECT => steps bare, src/blas/bare.hpp ... calls qnm_blas_ddot(
                ... calls qnm_blas_xddot(widened n, x, widened incx, y, widened incy) when n < 1501 arguments
                ... 5: incy, const int* end;
            QNM_Somatcopy2 => ... lda, size_t ... check qnm_trans_errchk_qnm_somatcopy2, reports "qnm_somatcopy2";
            cblas_zgerc => title Rank-one update of a general complex matrix, the second vector conjugated
                row cblas/level2.tab:
                ... calls qnm_blas__zgeru(&n, &m, alpha, y, &incy, x, &incx, a, &lda) when row-major ... 10: lda;
            LAPACKE_dgesv => calls LAPACKE_dgesv_work(matrix_layout, n, nrhs, a, lda, ipiv, b, ldb)
                ... order -1: matrix_layout -4: a without NaN -7: b without NaN end;
            LAPACKE_dgesv_work => work level, src/lapacke/work.hpp, on lapack/lu.tab:
                ... calls qnm_lapack__dgesv_(&n, &nrhs, a, &lda, ipiv, b, &ldb)
                ... 4: a, double*, goes in as ge(n, n), comes back as ge(n, n) ... -5: lda >= n, row-major alone;
            LAPACKE_dgeqrf => calls LAPACKE_dgeqrf_work(matrix_layout, m, n, a, lda, tau, asked for, asked for);
            LAPACKE_dormqr => order -1: matrix_layout -7: a without NaN -10: c without NaN -9: tau without NaN end;
            LAPACKE_dgesvx => order -1: matrix_layout -6: a without NaN -8: af without NaN -14: b without NaN
                -13: c without NaN -12: r without NaN end;
            LAPACKE_dsyevr => order -1: matrix_layout -6: a without NaN -12: abstol without NaN -8: vl without NaN
                -9: vu without NaN end;
            LAPACKE_dtfsm => order -1: matrix_layout -10: a without NaN -9: alpha without NaN -11: b without NaN end;
            LAPACKE_dsytrs_3 => order -1: matrix_layout -5: a without NaN -7: e without NaN -9: b without NaN end;
            LAPACKE_dgesvdx => order -1: matrix_layout -7: a without NaN end;
            LAPACKE_dge_trans_64 => spelled LAPACKE_dge_trans_64 result void arguments 1: matrix_layout, int
                ... ldin, qnm_int64;  LAPACKE_lsame => a, char;

            QNM_SPARSE_D_MV => steps handed, src/frame/jumps.hpp ... calls qnm_sparse_d_mv_i4(*operation, *alpha, *A,
                *descr, x, *beta, y) ... 3: A, const qnm_sparse_matrix_t* ... 7: y, double* end;
            qnm_sparse_z_set_value => calls qnm_sparse_z_set_value_i4(A, row, col, value)
                ... 2: row, int ... 4: value, qnm_complex16 end;
            QNM_SPARSE_D_EXPORT_CSR_64 => calls qnm_sparse_d_export_csr_i8(*A, indexing, rows, cols, rows_start,
                ... rows, qnm_int64* ... rows_start, qnm_int64** ... values, double** end;
            qnm_dcsrmv => steps relayed, src/sparse/relayed.hpp on src/frame/relay.hpp
                spelled QNM_DCSRMV qnm_dcsrmv qnm_dcsrmv_ result void calls qnm_spblas_lp64_qnm_dcsrmv(transa, m, k,
                ... 12: y, double* check qnm_spblas_errchk_qnm_dcsrmv, reports "qnm_dcsrmv" tests, in this order
                1: transa in NTC 2: m >= 0 3: k >= 0 end;

            pardiso_d_64_2d => steps passed, src/frame/relay.hpp spelled PARDISO_D_64_2D PARDISO_D_64_2D_
                PARDISO_D_64_2D__ pardiso_d_64_2d pardiso_d_64_2d_ pardiso_d_64_2d__ result void calls
                qnm_pds_lp64_pardiso_d_64_2d(pt, ... 2: maxfct, const qnm_int64* ... 16: error, qnm_int64* end;
            cluster_sparse_solver_sc_64_2d => spelled CLUSTER_SPARSE_SOLVER_sc_64_2D ... 16: comm, const int* ...;

            dfeast_sygv => spelled DFEAST_SYGV dfeast_sygv dfeast_sygv_ result void calls
                qnm_feast_dfeast_sygv(uplo, widened n, a, widened lda, b, widened ldb, copied fpm, epsout, widened loop,
                emin, emax, widened m0, e, x, widened m, res, widened info, 1);
            strnlspbc_check => result int ... 9: info, int*;

            qnm_set_num_threads => spelled QNM_SET_NUM_THREADS qnm_set_num_threads qnm_set_num_threads_ result
                ... calls qnm_serv_set_num_threads(*count);
            QNM_Set_Num_Threads => calls qnm_serv_set_num_threads(count) ... count, int end;
            QNM_MALLOC => (*size, *alignment);  QNM_SET_MPI => (*vendor, library);
            QNM_FREE => block, void* const*;
            QNM_Get_Version_String => calls qnm_serv_get_version_string_c(text, length);
            LSAME => spelled LSAME lsame lsame_ qnm_lapack__lsame_ LSAME_64 lsame_64 lsame_64_ result
                ... calls qnm_serv_lsame(;
            xerbla => calls xerbla_(;  XERBLA => calls qnm_serv_default_xerbla(;
            cblas_xerbla => steps own, src/frame/report.cpp spelled cblas_xerbla result void arguments
                1: name, const char* 2: info, int end;)")) {
        std::istringstream lines(generate::explanation(support::tables(), functions, name)),
            wanted(parts + " ...");
        std::string text, part;
        for (std::string word; lines >> word;)
            text += word + " ";
        text += "end";
        std::size_t at = 0;
        for (std::string word; wanted >> word;)
            if (word != "...") {
                part += (part.empty() ? "" : " ") + word;
            } else if (at = text.find(std::exchange(part, ""), at); at == std::string::npos) {
                ADD_FAILURE() << name << " is not " << parts << "\n but " << text;
                break;
            }
    }
}

} // namespace
} // namespace qnm::catalogue
