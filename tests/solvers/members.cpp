#include "solvers/members.hpp"

#include "support/published.hpp"

#include <array>
#include <sstream>

namespace qnm::tests {

const std::vector<DirectRoutine>& direct_routines()
{
    static const auto all = [] {
        std::vector<DirectRoutine> list;
        for (const auto& [solver, arguments] : {std::pair{"PARDISO", 16U}, {"CLUSTER_SPARSE_SOLVER", 17U}})
            for (const std::string width : {"", "_64"})
                for (const std::string type : {"", "_D", "_S", "_DC", "_SC"})
                    for (const std::string shape : {"", "_2D"})
                        if (!type.empty() || shape.empty())
                            list.push_back({solver + type + width + shape, arguments});
        list.back().name = "CLUSTER_SPARSE_SOLVER_sc_64_2D";
        std::istringstream rest(
            "PARDISOINIT 3 PARDISO_EXPORT 7 PARDISO_EXPORT_D 7 PARDISO_EXPORT_S 7 PARDISO_EXPORT_C 7 "
            "PARDISO_EXPORT_Z 7 PARDISO_GETDIAG 5 PARDISO_GETDIAG_D 5 PARDISO_GETDIAG_Z 5 "
            "PARDISO_HANDLE_STORE 3 PARDISO_HANDLE_RESTORE 3 PARDISO_HANDLE_DELETE 2 "
            "PARDISO_HANDLE_STORE_64 3 PARDISO_HANDLE_RESTORE_64 3 PARDISO_HANDLE_DELETE_64 2 "
            "DSS_CREATE 2 DSS_DELETE 2 DSS_DEFINE_STRUCTURE 7 DSS_REORDER 3 DSS_FACTOR_REAL 3 "
            "DSS_FACTOR_REAL_D 3 DSS_FACTOR_REAL_S 3 DSS_FACTOR_COMPLEX 3 DSS_FACTOR_COMPLEX_D 3 "
            "DSS_FACTOR_COMPLEX_S 3 DSS_SOLVE_REAL 5 DSS_SOLVE_REAL_D 5 DSS_SOLVE_REAL_S 5 "
            "DSS_SOLVE_COMPLEX 5 DSS_SOLVE_COMPLEX_D 5 DSS_SOLVE_COMPLEX_S 5 DSS_STATISTICS 4 "
            "SPARSE_MATRIX_CHECKER 1 SPARSE_MATRIX_CHECKER_INIT 1 QNM_CVT_TO_NULL_TERMINATED_STR 3 "
            "CLUSTER_SPARSE_SOLVER_EXPORT 4 CLUSTER_SPARSE_SOLVER_EXPORT_F 4 "
            "CLUSTER_SPARSE_SOLVER_GET_CSR_SIZE 6 CLUSTER_SPARSE_SOLVER_GET_CSR_SIZE_F 6 "
            "CLUSTER_SPARSE_SOLVER_SET_CSR_PTRS 7 CLUSTER_SPARSE_SOLVER_SET_CSR_PTRS_D 7 "
            "CLUSTER_SPARSE_SOLVER_SET_CSR_PTRS_S 7 CLUSTER_SPARSE_SOLVER_SET_CSR_PTRS_DC 7 "
            "CLUSTER_SPARSE_SOLVER_SET_CSR_PTRS_SC 7 CLUSTER_SPARSE_SOLVER_SET_PTR 5 "
            "CLUSTER_SPARSE_SOLVER_SET_PTR_D 5 CLUSTER_SPARSE_SOLVER_SET_PTR_S 5 "
            "CLUSTER_SPARSE_SOLVER_SET_PTR_DC 5 CLUSTER_SPARSE_SOLVER_SET_PTR_SC 5 "
            "CLUSTER_SPARSE_SOLVER_SET_PTR_I 5");
        for (DirectRoutine routine; rest >> routine.name >> routine.arguments;)
            list.push_back(routine);
        return list;
    }();
    return all;
}

const std::vector<CarriedRoutine>& carried_routines()
{
    static const std::string tail = " fpm=128 epsout. loop< emin. emax. m0= e. x. m< res. info<";
    static const auto all = [] {
        std::vector<CarriedRoutine> list;
        for (const auto& [core, letters, names, arguments] : std::vector<std::array<std::string, 4>>{
                 {"iss", "*", "dcg dcg_init dcg_check dfgmres dfgmres_init dfgmres_check",
                  "n+ x. b. rci_request< ipar=128 dpar. tmp."},
                 {"iss", "*", "dcg_get dfgmres_get", "n+ x. b. rci_request= ipar=128 dpar. tmp. itercount<"},
                 {"iss", "*", "dcgmrhs dcgmrhs_check", "n+ x. nrhs+ b. rci_request< ipar=r dpar. tmp."},
                 {"iss", "*", "dcgmrhs_init", "n+ x. nrhs+ b. method+ rci_request< ipar=r dpar. tmp."},
                 {"iss", "*", "dcgmrhs_get", "n+ x. nrhs+ b. rci_request= ipar=r dpar. tmp. itercount<"},
                 {"iss", "*", "dcsrilu0", "n+ a. ia+p ja+c bilu0. ipar=128 dpar. ierr<"},
                 {"iss", "*", "dcsrilut",
                  "n+ a. ia+p ja+c bilut. ibilut<L jbilut<J tol. maxfil+ ipar=128 dpar. ierr<"},
                 {"trs", "sd", "?trnlsp_init", "handle. n+ m+ x. eps. iter1+ iter2+ rs."},
                 {"trs", "sd", "?trnlspbc_init", "handle. n+ m+ x. lw. up. eps. iter1+ iter2+ rs."},
                 {"trs", "sd", "?trnlsp_check", "handle. n+ m+ fjac. fvec. eps. info<4"},
                 {"trs", "d", "?trnlspbc_check", "handle. n+ m+ fjac. fvec. lw. up. eps. info<6"},
                 {"trs", "s", "?trnlspbc_check", "handle. n+ m+ fjac. fvec. lw. up. eps. info=6"},
                 {"trs", "sd", "?trnlsp_solve ?trnlspbc_solve", "handle. fvec. fjac. rci_request="},
                 {"trs", "sd", "?trnlsp_get ?trnlspbc_get", "handle. iter= st_cr= r1. r2."},
                 {"trs", "sd", "?trnlsp_delete ?trnlspbc_delete ?jacobi_delete", "handle."},
                 {"trs", "sd", "?jacobi_init", "handle. n+ m+ x. fjac. eps."},
                 {"trs", "sd", "?jacobi_solve", "handle. f1. f2. rci_request="},
                 {"trs", "sd", "?jacobi", "fcn. n+ m+ fjac. x. eps."},
                 {"trs", "sd", "?jacobix", "fcn. n+ m+ fjac. x. eps. user_data."},
                 {"feast", "*", "feastinit", "fpm<128"},
                 {"feast", "sd", "?feast_syev", "uplo. n+ a. lda+" + tail},
                 {"feast", "cz", "?feast_heev", "uplo. n+ a. lda+" + tail},
                 {"feast", "sd", "?feast_sygv", "uplo. n+ a. lda+ b. ldb+" + tail},
                 {"feast", "cz", "?feast_hegv", "uplo. n+ a. lda+ b. ldb+" + tail},
                 {"feast", "sd", "?feast_sbev", "uplo. n+ kla+ a. lda+" + tail},
                 {"feast", "cz", "?feast_hbev", "uplo. n+ kla+ a. lda+" + tail},
                 {"feast", "sd", "?feast_sbgv", "uplo. n+ kla+ a. lda+ klb+ b. ldb+" + tail},
                 {"feast", "cz", "?feast_hbgv", "uplo. n+ kla+ a. lda+ klb+ b. ldb+" + tail},
                 {"feast", "sd", "?feast_scsrev", "uplo. n+ a. ia+p ja+c" + tail},
                 {"feast", "cz", "?feast_hcsrev", "uplo. n+ a. ia+p ja+c" + tail},
                 {"feast", "sd", "?feast_scsrgv", "uplo. n+ a. ia+p ja+c b. ib+p jb+c" + tail},
                 {"feast", "cz", "?feast_hcsrgv", "uplo. n+ a. ia+p ja+c b. ib+p jb+c" + tail},
                 {"feast", "sd", "?feast_srci ?feast_srci_pfilter",
                  "ijob= n+ ze. work. workc. aq. sq. fpm=128 epsout. loop= emin. emax. m0= e. x. m= res. "
                  "info="},
                 {"feast", "cz", "?feast_hrci",
                  "ijob= n+ ze. work. workc. aq. sq. fpm=128 epsout. loop= emin. emax. m0= e. x. m= res. "
                  "info="}})
            for (std::string name : words(names))
                for (const char letter : letters) {
                    std::string lettered = name;
                    if (lettered.front() == '?')
                        lettered.front() = letter;
                    list.push_back({lettered, "qnm_" + core + "_" + lettered, words(arguments)});
                }
        return list;
    }();
    return all;
}

} // namespace qnm::tests
