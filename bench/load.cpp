// Prints how many microseconds it takes to open the layer lazily, in this process for the first time, over a
// core that is there already: while it is loaded, its start hook asks the core for help.
#include <chrono>
#include <cstdio>
#include <dlfcn.h>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("usage: qnm_bench_load CORE LAYER\n", stderr);
        return 2;
    }
    if (dlopen(argv[1], RTLD_LAZY | RTLD_GLOBAL) == nullptr) {
        std::fprintf(stderr, "qnm_bench_load: %s\n", dlerror());
        return 1;
    }
    const auto start = std::chrono::steady_clock::now();
    void* const library = dlopen(argv[2], RTLD_LAZY);
    const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
    if (library == nullptr) {
        std::fprintf(stderr, "qnm_bench_load: %s\n", dlerror());
        return 1;
    }
    std::printf("%.1f\n", taken.count());
}
