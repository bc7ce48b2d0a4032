#include "beside.hpp"

#include "services.hpp"

#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <string_view>

namespace qnm::core {
namespace {

// Where the core lay when it was opened: its name may be relative to a folder that has been left since, and
// be a link that the system's administrator chose. It is asked for by an exported function, so that programs
// which have parts of the core in them find the core, too.
std::string folder()
{
    dl_find_object info; // dladdr would look through all names of the core
    if (_dl_find_object(reinterpret_cast<void*>(&qnm_serv_getenv), &info) != 0)
        return "";
    const std::string name = info.dlfo_link_map->l_name;
    char path[PATH_MAX] = "";
    if (void* const core = dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
        if (dlinfo(core, RTLD_DI_ORIGIN, path) != 0)
            path[0] = '\0';
        dlclose(core);
    }
    if (name.empty()) // the program itself, which is no link
        return path;
    const std::string file = path + ("/" + name.substr(name.rfind('/') + 1));
    if (realpath(file.c_str(), path) == nullptr)
        return "";
    return std::string(path).substr(0, std::string_view(path).rfind('/'));
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
