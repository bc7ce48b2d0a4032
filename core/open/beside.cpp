#include "beside.hpp"

#include "services.hpp"

#include <climits>
#include <dlfcn.h>
#include <link.h>

namespace qnm::core {
namespace {

// Where the core lay when it was opened: its name may be relative to a folder that has been left since. It is
// asked for by an exported function, so that programs which have parts of the core in them find the core,
// too.
std::string folder()
{
    dl_find_object info; // dladdr would look through all names of the core
    char path[PATH_MAX] = "";
    if (_dl_find_object(reinterpret_cast<void*>(&qnm_serv_getenv), &info) != 0)
        return path;
    if (void* const core = dlopen(info.dlfo_link_map->l_name, RTLD_LAZY | RTLD_NOLOAD)) {
        if (dlinfo(core, RTLD_DI_ORIGIN, path) != 0)
            path[0] = '\0';
        dlclose(core);
    }
    return path;
}

} // namespace

void* library_beside(const char* file)
{
    return dlopen((folder() + "/" + file).c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* opened_beside(const char* file, const char* entry, std::string& why)
{
    void* const library = library_beside(file);
    void* const found = library != nullptr ? dlsym(library, entry) : nullptr;
    if (found == nullptr) {
        const char* const error = dlerror();
        why = error != nullptr ? error : "no reason is told";
        if (library != nullptr)
            dlclose(library);
    }
    return found;
}

} // namespace qnm::core
