#include "passed_by.hpp"

#include <algorithm>

namespace qnm::run {
namespace {

constexpr const char *blas = "libblas.so.3", *lapack = "liblapack.so.3", *lapacke = "liblapacke.so.3",
                     *tmglib = "libtmglib.so.3";

// In order. Auxiliary routines of LAPACK, most of them; a test compares the list with the libraries.
constexpr PassedBy all[] = {
    {"CBLAS_CallFromC", blas},
    {"LAPACKE_classq", lapacke},
    {"LAPACKE_classq_work", lapacke},
    {"LAPACKE_dlassq", lapacke},
    {"LAPACKE_dlassq_work", lapacke},
    {"LAPACKE_slassq", lapacke},
    {"LAPACKE_slassq_work", lapacke},
    {"LAPACKE_zlassq", lapacke},
    {"LAPACKE_zlassq_work", lapacke},
    {"RowMajorStrg", blas},
    {"__la_xisnan_MOD_disnan", lapack},
    {"__la_xisnan_MOD_sisnan", lapack},
    {"cdotcsub_", blas},
    {"cdotusub_", blas},
    {"cgetc2_", lapack},
    {"cgtts2_", lapack},
    {"clahilb_", tmglib},
    {"clartv_", lapack},
    {"clatmt_", tmglib},
    {"cptts2_", lapack},
    {"dasumsub_", blas},
    {"dcabs1sub_", blas},
    {"ddotsub_", blas},
    {"dgetc2_", lapack},
    {"dgtts2_", lapack},
    {"dladiv1_", lapack},
    {"dladiv2_", lapack},
    {"dlahilb_", tmglib},
    {"dlarmm_", lapack},
    {"dlartv_", lapack},
    {"dlasd3_", lapack},
    {"dlasd4_", lapack},
    {"dlatm7_", tmglib},
    {"dlatmt_", tmglib},
    {"dnrm2sub_", blas},
    {"dptts2_", lapack},
    {"droundup_lwork_", lapack},
    {"dsdotsub_", blas},
    {"dzasumsub_", blas},
    {"dznrm2sub_", blas},
    {"icamaxsub_", blas},
    {"idamaxsub_", blas},
    {"isamaxsub_", blas},
    {"izamaxsub_", blas},
    {"lapack_make_complex_double", lapacke},
    {"lapack_make_complex_float", lapacke},
    {"sasumsub_", blas},
    {"scabs1sub_", blas},
    {"scasumsub_", blas},
    {"scnrm2sub_", blas},
    {"sdotsub_", blas},
    {"sdsdotsub_", blas},
    {"sgetc2_", lapack},
    {"sgtts2_", lapack},
    {"sladiv1_", lapack},
    {"sladiv2_", lapack},
    {"slahilb_", tmglib},
    {"slarmm_", lapack},
    {"slartv_", lapack},
    {"slasd3_", lapack},
    {"slasd4_", lapack},
    {"slatm7_", tmglib},
    {"slatmt_", tmglib},
    {"snrm2sub_", blas},
    {"sptts2_", lapack},
    {"sroundup_lwork_", lapack},
    {"zdotcsub_", blas},
    {"zdotusub_", blas},
    {"zgetc2_", lapack},
    {"zgtts2_", lapack},
    {"zlahilb_", tmglib},
    {"zlartv_", lapack},
    {"zlatmt_", tmglib},
    {"zptts2_", lapack},
};

} // namespace

std::span<const PassedBy> passed_by()
{
    return all;
}

std::string_view passed_by_to(std::string_view name)
{
    const auto found = std::ranges::lower_bound(all, name, {}, &PassedBy::name);
    return found != std::end(all) && found->name == name ? found->library : std::string_view();
}

} // namespace qnm::run
