// Shared libraries, opened by hand: the layer, the core and the engine share names, so none is linked.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <string>

namespace qnm::bench {

[[noreturn]] inline void fail(const std::string& what)
{
    std::fprintf(stderr, "qnm_bench_cost: %s\n", what.c_str());
    std::exit(1);
}

class Library {
public:
    /// Ends the program if the library is needed and cannot be opened.
    Library(const std::string& file, int flags, bool needed = true) : handle_(dlopen(file.c_str(), flags))
    {
        if (needed && handle_ == nullptr)
            fail(dlerror());
    }

    explicit operator bool() const { return handle_ != nullptr; }

    /// Ends the program if the name is missing.
    void* function(const std::string& name) const
    {
        void* const found = dlsym(handle_, name.c_str());
        if (found == nullptr)
            fail(dlerror());
        return found;
    }

    unsigned long long base() const
    {
        link_map* map = nullptr;
        dlinfo(handle_, RTLD_DI_LINKMAP, &map);
        return map->l_addr;
    }

private:
    void* handle_; // stays open to the end
};

/// What one process holds. Only the core's names, all with a prefix of their own, are open to the others.
struct Libraries {
    explicit Libraries(const std::string& folder)
        : core(folder + "/libqnm_core.so", RTLD_NOW | RTLD_GLOBAL),
          layer(folder + "/libqnm_orvan_lp64.so.2", RTLD_LAZY | RTLD_LOCAL),
          engine("libopenblas64.so.0", RTLD_LAZY | RTLD_LOCAL, false)
    {
    }
    Library core, layer, engine;
};

} // namespace qnm::bench
