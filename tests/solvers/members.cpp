#include "solvers/members.hpp"

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

} // namespace qnm::tests
