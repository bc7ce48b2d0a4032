#include "engine.hpp"

#include <cstdio>
#include <dlfcn.h>
#include <pthread.h>
#include <type_traits>

namespace qnm::cdft {
namespace {

struct Library {
    const char *file, *prefix;
    Engine engine;
    enum { untried, open, missing } state;
};

// FFTW's library for MPI calls its library for one process by name. It must look there first, and not at what
// stands ahead in the process under the same names.
bool find_all(const Library& library, Engine& engine)
{
    void* const opened = dlopen(library.file, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (opened == nullptr)
        return false;
    const auto find = [&](const char* name, auto& function) {
        char whole[64];
        std::snprintf(whole, sizeof whole, "%s%s", library.prefix, name);
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(opened, whole));
        return function != nullptr;
    };
    bool whole = true;
#define QNM_CDFT_FIND(NAME) whole = find(#NAME, engine.NAME) && whole;
    QNM_CDFT_OF_ENGINE(QNM_CDFT_FIND)
#undef QNM_CDFT_FIND
    return whole;
}

} // namespace

const Engine* engine_of(bool single)
{
    static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    static Library libraries[] = {{"libfftw3_mpi.so.3", "fftw_", {}, Library::untried},
                                  {"libfftw3f_mpi.so.3", "fftwf_", {}, Library::untried}};
    Library& library = libraries[single ? 1 : 0];
    pthread_mutex_lock(&lock);
    if (library.state == Library::untried) {
        library.state = find_all(library, library.engine) ? Library::open : Library::missing;
        if (library.state == Library::open)
            library.engine.mpi_init();
        else
            std::fprintf(stderr, "QNM ERROR: no transforms on several processes: %s\n", dlerror());
    }
    pthread_mutex_unlock(&lock);
    return library.state == Library::open ? &library.engine : nullptr;
}

} // namespace qnm::cdft
