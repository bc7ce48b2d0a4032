#include "solvers/members.hpp"

#include "support/published.hpp"

#include <array>

namespace qnm::tests {

const std::vector<DirectRoutine>& direct_routines()
{
    static const std::string widths = "- _D _S _DC _SC _D_2D _S_2D _DC_2D _SC_2D _64 _D_64 _S_64 _DC_64 "
                                      "_SC_64 _D_64_2D _S_64_2D _DC_64_2D ";
    static const std::string types = "REAL REAL_D REAL_S COMPLEX COMPLEX_D COMPLEX_S";
    static const auto all = [] {
        const std::tuple<std::size_t, std::string, std::string> told[] = {
            {16, "PARDISO", widths + "_SC_64_2D"},
            {3, "PARDISOINIT", "-"},
            {7, "PARDISO_EXPORT", "- _D _S _C _Z"},
            {5, "PARDISO_GETDIAG", "- _D _Z"},
            {3, "PARDISO_HANDLE_", "STORE RESTORE STORE_64 RESTORE_64"},
            {2, "PARDISO_HANDLE_DELETE", "- _64"},
            {2, "DSS_", "CREATE DELETE"},
            {7, "DSS_DEFINE_STRUCTURE", "-"},
            {3, "DSS_REORDER", "-"},
            {3, "DSS_FACTOR_", types},
            {5, "DSS_SOLVE_", types},
            {4, "DSS_STATISTICS", "-"},
            {1, "SPARSE_MATRIX_CHECKER", "- _INIT"},
            {3, "QNM_CVT_TO_NULL_TERMINATED_STR", "-"},
            {17, "CLUSTER_SPARSE_SOLVER", widths + "_sc_64_2D"},
            {4, "CLUSTER_SPARSE_SOLVER_EXPORT", "- _F"},
            {6, "CLUSTER_SPARSE_SOLVER_GET_CSR_SIZE", "- _F"},
            {7, "CLUSTER_SPARSE_SOLVER_SET_CSR_PTRS", "- _D _S _DC _SC"},
            {5, "CLUSTER_SPARSE_SOLVER_SET_PTR", "- _D _S _DC _SC _I"}};
        std::vector<DirectRoutine> list;
        for (const auto& [arguments, root, ends] : told)
            for (const std::string& end : words(ends))
                list.push_back({root + (end == "-" ? "" : end), arguments});
        return list;
    }();
    return all;
}

const std::vector<CarriedRoutine>& carried_routines()
{
    static const std::string indices = "n+ a. ia+p ja+c ",
                             found = " fpm=128 epsout. loop< emin. emax. m0= e. x. m< res. info<",
                             asked = " fpm=128 epsout. loop= emin. emax. m0= e. x. m= res. info=";
    static const auto all = [] {
        const std::array<std::string, 3> told[] = {
            {"iss", "dcg - dcg_init - dcg_check - dfgmres - dfgmres_init - dfgmres_check -",
             "n+ x. b. rci_request< ipar=128 dpar. tmp."},
            {"iss", "dcg_get - dfgmres_get -", "n+ x. b. rci_request= ipar=128 dpar. tmp. itercount<"},
            {"iss", "dcgmrhs - dcgmrhs_check -", "n+ x. nrhs+ b. rci_request< ipar=r dpar. tmp."},
            {"iss", "dcgmrhs_init -", "n+ x. nrhs+ b. method+ rci_request< ipar=r dpar. tmp."},
            {"iss", "dcgmrhs_get -", "n+ x. nrhs+ b. rci_request= ipar=r dpar. tmp. itercount<"},
            {"iss", "dcsrilu0 -", indices + "bilu0. ipar=128 dpar. ierr<"},
            {"iss", "dcsrilut -", indices + "bilut. ibilut<L jbilut<J tol. maxfil+ ipar=128 dpar. ierr<"},
            {"trs", "?trnlsp_init sd", "handle. n+ m+ x. eps. iter1+ iter2+ rs."},
            {"trs", "?trnlspbc_init sd", "handle. n+ m+ x. lw. up. eps. iter1+ iter2+ rs."},
            {"trs", "?trnlsp_check sd", "handle. n+ m+ fjac. fvec. eps. info<4"},
            {"trs", "?trnlspbc_check d", "handle. n+ m+ fjac. fvec. lw. up. eps. info<6"},
            {"trs", "?trnlspbc_check s", "handle. n+ m+ fjac. fvec. lw. up. eps. info=6"},
            {"trs", "?trnlsp_solve sd ?trnlspbc_solve sd", "handle. fvec. fjac. rci_request="},
            {"trs", "?trnlsp_get sd ?trnlspbc_get sd", "handle. iter= st_cr= r1. r2."},
            {"trs", "?trnlsp_delete sd ?trnlspbc_delete sd ?jacobi_delete sd", "handle."},
            {"trs", "?jacobi_init sd", "handle. n+ m+ x. fjac. eps."},
            {"trs", "?jacobi_solve sd", "handle. f1. f2. rci_request="},
            {"trs", "?jacobi sd", "fcn. n+ m+ fjac. x. eps."},
            {"trs", "?jacobix sd", "fcn. n+ m+ fjac. x. eps. user_data."},
            {"feast", "feastinit -", "fpm<128"},
            {"feast", "?feast_syev sd ?feast_heev cz", "uplo. n+ a. lda+" + found},
            {"feast", "?feast_sygv sd ?feast_hegv cz", "uplo. n+ a. lda+ b. ldb+" + found},
            {"feast", "?feast_sbev sd ?feast_hbev cz", "uplo. n+ kla+ a. lda+" + found},
            {"feast", "?feast_sbgv sd ?feast_hbgv cz", "uplo. n+ kla+ a. lda+ klb+ b. ldb+" + found},
            {"feast", "?feast_scsrev sd ?feast_hcsrev cz", "uplo. " + indices + found},
            {"feast", "?feast_scsrgv sd ?feast_hcsrgv cz", "uplo. " + indices + "b. ib+p jb+c" + found},
            {"feast", "?feast_srci sd ?feast_srci_pfilter sd ?feast_hrci cz",
             "ijob= n+ ze. work. workc. aq. sq." + asked}};
        std::vector<CarriedRoutine> list;
        for (const auto& [family, names, arguments] : told)
            for (const auto& [name, letter] : expand(names)) {
                list.push_back({name, family, {}});
                for (const std::string& word : words(arguments)) {
                    const std::size_t way = word.find_first_of(".+<=");
                    list.back().arguments.push_back({word.substr(0, way), word[way], word.substr(way + 1)});
                }
            }
        return list;
    }();
    return all;
}

} // namespace qnm::tests
