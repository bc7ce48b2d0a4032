// What the headers declare and what the library exports are the same names.
#include "prototypes.hpp"
#include "support/library.hpp"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <set>

namespace qnm::headers {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;

using Names = std::set<std::string>;

// Exported for other interfaces of the library, for the project's tests and for the core, not for programs.
bool is_private(const std::string& name)
{
    static constexpr std::array prefixes{"qnm_blas__",
                                         "qnm_lapack__",
                                         "qnm_serv_iface_",
                                         "qnm_blas_errchk_",
                                         "qnm_lapack_errchk_",
                                         "qnm_lapack_ps_errchk_",
                                         "qnm_trans_errchk_",
                                         "cdecl_",
                                         "qnm_set_xerbla_interface"};
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&](const char* prefix) { return name.rfind(prefix, 0) == 0; });
}

Names exported_names()
{
    Names names;
    for (const support::Symbol& symbol : support::ElfFile(QNM_LAYER_FILE).exported())
        if (!is_private(symbol.name))
            names.insert(symbol.name);
    return names;
}

Names declared_names()
{
    Names names;
    for (const char* header :
         {"services.h", "blas.h", "cblas.h", "lapack.h", "lapacke.h", "lapacke_helpers.h", "trans.h"})
        for (const Prototype& prototype : read_prototypes(read_file(QNM_HEADERS + std::string("/") + header)))
            EXPECT_TRUE(names.insert(prototype.name).second) << prototype.name << " is declared twice";
    return names;
}

Names without(const Names& from, const Names& taken)
{
    Names rest;
    std::set_difference(from.begin(), from.end(), taken.begin(), taken.end(),
                        std::inserter(rest, rest.end()));
    return rest;
}

TEST(HeaderNames, AreThoseThatTheLibraryExports)
{
    const Names declared = declared_names();
    const Names exported = exported_names();
    EXPECT_THAT(without(declared, exported), IsEmpty()) << "declared and not exported";
    EXPECT_THAT(without(exported, declared), IsEmpty()) << "exported and not declared";
    for (const char* name :
         {"DGEMM", "dgemm_64_", "QNM_Set_Num_Threads", "qnm_set_num_threads_", "xerbla_", "cblas_xerbla",
          "XERBLA_ARRAY_64", "DGETRF", "QNM_Domatcopy", "LAPACKE_dgesv_work_64", "LAPACKE_ztz_trans_64",
          "qnm_zomatadd_batch_strided_", "zheevd_64_", "dsecnd_64_", "QNM_DGEMM_JIT_64"})
        EXPECT_THAT(declared, Contains(name));
}

} // namespace
} // namespace qnm::headers
