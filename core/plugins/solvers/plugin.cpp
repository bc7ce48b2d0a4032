// The library's one exported function.
#include "dss.hpp"
#include "inner.hpp"
#include "pardiso.hpp"

#include <cstdlib>
#include <string_view>

namespace qnm::core::solvers {

const Host* host = nullptr;

} // namespace qnm::core::solvers

// The engine's orderings look at variables, which are not for a program with rights that its caller has not.
// Several threads would order one matrix now this way and now that: there is one unless somebody asks for
// more.
extern "C" char* __wrap_getenv(const char* name);
extern "C" char* __wrap_getenv(const char* name)
{
    static char one[] = "1";
    char* const value = secure_getenv(name);
    return value == nullptr && name == std::string_view("SCOTCH_PTHREAD_NUMBER") ? one : value;
}

QNM_CORE const qnm::core::solvers::Plugin* qnm_core_solvers(int edition, const qnm::core::solvers::Host* host)
{
    using namespace qnm::core::solvers;
    static constexpr Plugin carried{.pardiso = pardiso<std::int32_t>,
                                    .pardiso_64 = pardiso<std::int64_t>,
                                    .create = dss::create,
                                    .define_structure = dss::define_structure,
                                    .reorder = dss::reorder,
                                    .factor = dss::factor,
                                    .solve = dss::solve,
                                    .statistics = dss::statistics,
                                    .end = dss::end,
                                    .begin_inner = inner::begin,
                                    .factor_inner = inner::factor,
                                    .solve_inner = inner::solve,
                                    .end_inner = inner::end};
    if (edition != plugin_edition)
        return nullptr;
    qnm::core::solvers::host = host;
    return &carried;
}
