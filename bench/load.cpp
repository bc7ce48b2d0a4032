// Prints how many microseconds it takes to open the layer lazily, in this process for the first time. A core
// is there already, since the layer calls it while it is loaded.
#include <chrono>
#include <cstdio>
#include <dlfcn.h>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("usage: qnm_bench_load CORE LAYER\n", stderr);
        return 2;
    }
    void* library = dlopen(argv[1], RTLD_LAZY | RTLD_GLOBAL);
    const auto start = std::chrono::steady_clock::now();
    if (library != nullptr)
        library = dlopen(argv[2], RTLD_LAZY);
    const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
    if (library == nullptr) {
        std::fprintf(stderr, "qnm_bench_load: %s\n", dlerror());
        return 1;
    }
    std::printf("%.1f\n", taken.count());
}
