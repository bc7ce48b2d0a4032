// Prints how many microseconds it takes to open one library lazily, in this process for the first time.
#include <chrono>
#include <cstdio>
#include <dlfcn.h>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: qnm_bench_load LIBRARY\n", stderr);
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    void* const library = dlopen(argv[1], RTLD_LAZY);
    const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
    if (library == nullptr) {
        std::fprintf(stderr, "qnm_bench_load: %s\n", dlerror());
        return 1;
    }
    std::printf("%.1f\n", taken.count());
}
