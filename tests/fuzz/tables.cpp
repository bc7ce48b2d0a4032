// Tables: they are read, or refused in words. Nothing else comes of them.
#include "catalogue/catalogue.hpp"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const char* const families =
        "family blas core qnm_blas_name\n"
        "    form narrow reference int32 NAME name name_ check qnm_blas_errchk_name\n"
        "    form wide reference int64 NAME_64 name_64 name_64_ check qnm_blas_errchk_name_ilp64\n"
        "family cblas calls blas\n"
        "    form narrow codes int32 cblas_name calls name_\n"
        "    form wide codes int64 cblas_name_64 calls name_64\n"
        "family lapack core qnm_lapack_name form narrow reference int32 NAME form wide reference int64 "
        "NAME_64\n"
        "family lapacke calls lapack form narrow value int32 level high LAPACKE_name calls "
        "qnm_lapack__name_\n"
        "family vml core qnm_vml_kernel_Name form narrow value int32 vName\n";
    try {
        qnm::catalogue::Catalogue tables;
        tables.read_text(families, "told.tab");
        tables.read_text(std::string(reinterpret_cast<const char*>(data), size), "x.tab");
        tables.signatures();
    } catch (const qnm::catalogue::TableError&) {
    }
    return 0;
}
