// Version, threads, and the controls of things that this core leaves to its engine.
#include "engine.hpp"
#include "services.hpp"
#include "version.hpp"

#include <atomic>
#include <cstdio>
#include <cstring>

namespace {

enum Domain : int { all_domains = 0, blas_domain = 1, transform_domain = 2, vector_domain = 3, domain_count };
constexpr int refused = 0, done = 1;

// Of each domain its own, 0: as many as the engine of BLAS takes.
std::atomic<int> own[domain_count];

int threads_of(int domain)
{
    const int count = own[domain].load(std::memory_order_relaxed);
    return count > 0 ? count : openblas_get_num_threads();
}

int version_text(char* text, std::size_t size)
{
    return std::snprintf(text, size, "QNM open core " QNM_CORE_VERSION ", engine %s", openblas_get_config());
}

} // namespace

int qnm::core::transform_threads()
{
    return threads_of(transform_domain);
}
int qnm::core::vector_threads()
{
    return threads_of(vector_domain);
}

// What was built is the engine's configuration.
QNM_CORE void qnm_serv_get_version(qnm_version_t* version)
{
    *version = {QNM_CORE_MAJOR,        QNM_CORE_MINOR,          QNM_CORE_UPDATE, "open",
                openblas_get_config(), openblas_get_corename(), "x86-64 Linux"};
}

// Fortran text: no terminator, blanks to the end.
QNM_CORE void qnm_serv_get_version_string(char* text, std::int64_t size)
{
    const auto length = static_cast<std::size_t>(size);
    char whole[512];
    version_text(whole, sizeof whole);
    const std::size_t known = std::min(std::strlen(whole), length);
    std::memcpy(text, whole, known);
    std::memset(text + known, ' ', length - known);
}
QNM_CORE void qnm_serv_get_version_string_c(char* text, std::int64_t size)
{
    if (size > 0)
        version_text(text, static_cast<std::size_t>(size));
}

// The engine has one number of threads for the process. A count below one is ignored.
QNM_CORE void qnm_serv_set_num_threads(int count)
{
    if (count > 0)
        openblas_set_num_threads(count);
}
QNM_CORE int qnm_serv_get_max_threads()
{
    return openblas_get_num_threads();
}
// A number for the calling thread alone cannot be had: the answer is the former one, 0 for none.
QNM_CORE int qnm_serv_set_num_threads_local(int)
{
    return 0;
}
QNM_CORE int qnm_serv_domain_set_num_threads(int count, int domain)
{
    if (count < 1 || domain < all_domains || domain >= domain_count)
        return refused;
    if (domain == all_domains || domain == blas_domain)
        openblas_set_num_threads(count);
    for (int d = transform_domain; d < domain_count; ++d)
        if (domain == d || domain == all_domains)
            own[d].store(domain == d ? count : 0, std::memory_order_relaxed);
    return done;
}
QNM_CORE int qnm_serv_domain_get_max_threads(int domain)
{
    return domain >= all_domains && domain < domain_count ? threads_of(domain) : 1;
}

// The engine always takes fewer threads for a small problem, never slices by stripes, and knows no
// modes of environment and no message passing.
QNM_CORE void qnm_serv_set_dynamic(int) {}
QNM_CORE int qnm_serv_get_dynamic()
{
    return 1;
}
QNM_CORE void qnm_serv_set_num_stripes(int) {}
QNM_CORE int qnm_serv_get_num_stripes()
{
    return 0;
}
QNM_CORE int qnm_serv_set_env_mode(int)
{
    return 0; // the mode in force, the only one
}
QNM_CORE int qnm_serv_set_mpi(int, const char*)
{
    return -1;
}

// The engine chose its kernels for this processor when it was loaded: no other set can be enabled, and no
// reproducible branch but "as it is" (0) exists.
QNM_CORE int qnm_serv_enable_instructions(int)
{
    return refused;
}
QNM_CORE int qnm_serv_cbwr_get(int)
{
    return 0;
}
QNM_CORE int qnm_serv_cbwr_set(int branch)
{
    return branch == 0 ? 0 : -1;
}
QNM_CORE int qnm_serv_cbwr_get_auto_branch()
{
    return 0;
}

// The core never ends the process, and holds nothing that must be released before it ends.
QNM_CORE void qnm_serv_set_exit_handler(void (*)(int)) {}
QNM_CORE void qnm_serv_finalize() {}
