// Vector functions beside loops that do without them: over the C library's functions, over its vector
// functions as the compiler takes them under -ffast-math, over SLEEF's. All in turns, so that a neighbour's
// load meets them all; told are the quickest of many rounds.
#include <qnm/services.h>
#include <qnm/vml.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace {

using Function = void(int n, const void* a, const void* b, void* y);

constexpr int vector_domain = 3, most = 1'000'000;

/// One way to the results: what is called, in which mode, on how many threads.
struct Road {
    Function* function;
    unsigned mode = QNM_VML_DEFAULT;
    int threads = 1;
    double best = std::numeric_limits<double>::infinity(); // nanoseconds for an element
};

double nanoseconds(const Road& road, int n, int calls, const void* a, const void* b, void* y)
{
    using clock = std::chrono::steady_clock;
    vmlSetMode(road.mode);
    QNM_Domain_Set_Num_Threads(road.threads, vector_domain);
    const auto start = clock::now();
    for (int call = 0; call < calls; ++call)
        road.function(n, a, b, y);
    return std::chrono::duration<double, std::nano>(clock::now() - start).count() / calls;
}

void measure(std::vector<Road*>& roads, int n, const void* a, const void* b, void* y)
{
    constexpr double batch = 2e4, whole = 1.5e9; // ns
    double once = 0, slowest = 0;
    for (Road* road : roads) {
        nanoseconds(*road, n, 1, a, b, y);
        const double taken = nanoseconds(*road, n, 1, a, b, y);
        once += taken;
        slowest = std::max(slowest, taken);
    }
    const int calls = static_cast<int>(std::max(1.0, batch / slowest));
    const int rounds = static_cast<int>(std::clamp(whole / (once * calls), 9.0, 2001.0));
    for (int round = 0; round < rounds; ++round)
        for (Road* road : roads)
            road->best = std::min(road->best, nanoseconds(*road, n, calls, a, b, y) / n);
}

template <class T>
std::vector<T> numbers(double low, double high)
{
    std::vector<T> all(most);
    unsigned long state = 1;
    for (T& x : all) {
        state = state * 6364136223846793005UL + 1442695040888963407UL;
        x = static_cast<T>(low + (high - low) * static_cast<double>(state >> 11) * 0x1p-53);
    }
    return all;
}

/// The loops for one function, and what SLEEF has in their place.
struct Loops {
    Function *libm, *fast, *sleef;
};

struct Case {
    const char* name;
    Function* layer;
    Loops sse2, avx2, avx512;
    Function* engine; // told in SLEEF's column where SLEEF has nothing
    double low, high;
    bool single;
};

const Loops& loops_of(const Case& c)
{
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq"))
        return c.avx512;
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? c.avx2 : c.sse2;
}

template <class T>
void show(const Case& c)
{
    const std::vector<T> a = numbers<T>(c.low, c.high), b = numbers<T>(c.low, c.high);
    std::vector<T> y(most);
    const Loops& loops = loops_of(c);
    for (const int n : {1, 10, 1000, most}) {
        constexpr unsigned errors = QNM_VML_DEFAULT & QNM_VML_ERRORS;
        Road libm{loops.libm}, fast{loops.fast}, sleef{loops.sleef}, engine{c.engine};
        Road high{c.layer, errors | QNM_VML_HIGH}, low{c.layer, errors | QNM_VML_LOW};
        Road two{c.layer, errors | QNM_VML_HIGH, 2};
        std::vector<Road*> roads;
        for (Road* road : {&libm, &fast, &sleef, &engine, &high, &low, &two})
            if (road->function != nullptr)
                roads.push_back(road);
        measure(roads, n, a.data(), b.data(), y.data());
        const auto column = [](double value, const char* form) {
            if (value > 0 && value < std::numeric_limits<double>::infinity())
                std::printf(form, value);
            else
                std::printf("%9s", "");
        };
        std::printf("%-7s%9d", c.name, n);
        for (const double time :
             {libm.best, fast.best, std::min(sleef.best, engine.best), high.best, low.best, two.best})
            column(time, time < 1 ? "%9.3f" : "%9.2f");
        for (const double ratio : {high.best / libm.best, high.best / std::min(sleef.best, engine.best),
                                   low.best / fast.best, two.best / high.best})
            column(ratio, "%9.2f");
        std::printf("\n");
        std::fflush(stdout);
    }
}

} // namespace

#define QNM_LOOPS(name)                                                                                      \
    extern "C" Function libm_##name, sse2_##name, avx2_##name, avx512_##name;                                \
    extern "C" Function sleef_sse2_##name __attribute__((weak)), sleef_avx2_##name __attribute__((weak)),    \
        sleef_avx512_##name __attribute__((weak));
QNM_LOOPS(vdExp)
QNM_LOOPS(vdLn)
QNM_LOOPS(vdErf)
QNM_LOOPS(vsExp)
QNM_LOOPS(vdAdd)
QNM_LOOPS(vdJ0)
extern "C" Function libm_engine_vdJ0;

#define QNM_CASE(name, T, engine, low, high, ...)                                                            \
    Case                                                                                                     \
    {                                                                                                        \
#name, [](int n, const void* a, [[maybe_unused]] const void* b, void* y) {                           \
            const auto* const first = static_cast<const T*>(a);                                              \
            auto* const result = static_cast<T*>(y);                                                         \
            name(n, first, __VA_ARGS__ __VA_OPT__(,) result);                                                \
        },                                                                                                   \
            {libm_##name, sse2_##name, sleef_sse2_##name}, {libm_##name, avx2_##name, sleef_avx2_##name},    \
            {libm_##name, avx512_##name, sleef_avx512_##name}, engine, low, high, sizeof(T) == 4       \
    }

int main(int count, char** words)
{
    const Case cases[] = {
        QNM_CASE(vdExp, double, nullptr, -20, 20),
        QNM_CASE(vdLn, double, nullptr, 1e-3, 1e3),
        QNM_CASE(vdErf, double, nullptr, -4, 4),
        QNM_CASE(vsExp, float, nullptr, -20, 20),
        QNM_CASE(vdAdd, double, nullptr, -1, 1, static_cast<const double*>(b)),
        QNM_CASE(vdJ0, double, libm_engine_vdJ0, 0, 50),
    };
    std::printf("%-7s%9s%9s%9s%9s%9s%9s%9s%9s%9s%9s%9s\n", "", "n", "libm", "libmvec", "SLEEF", "high", "low",
                "two", "hi/libm", "hi/SLEEF", "lo/mvec", "two/one");
    for (const Case& c : cases)
        if (count < 2 || std::find(words + 1, words + count, std::string(c.name)) != words + count)
            c.single ? show<float>(c) : show<double>(c);
}
