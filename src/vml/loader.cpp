// What runs while the library is loaded: the working directory is kept for whoever debugs a process.
#include <dlfcn.h>
#include <unistd.h>

#include "vml/binding.hpp"

namespace qnm::vml {

static char working_directory[4096] asm("DispLibCWD");

[[gnu::constructor]] static void keep_working_directory() asm("_Init_QNM_Loader");

static void keep_working_directory()
{
    Dl_info library{};
    dladdr(reinterpret_cast<const void*>(keep_working_directory), &library);
    if (getcwd(working_directory, sizeof working_directory) == nullptr)
        fail(1, 1, library.dli_fname);
    // One byte for the separator, one for the end.
    if (qnm_serv_strnlen_s(working_directory, sizeof working_directory) <= sizeof working_directory - 2)
        qnm_serv_strncat_s(working_directory, sizeof working_directory - 1, "/", sizeof working_directory);
}

} // namespace qnm::vml
