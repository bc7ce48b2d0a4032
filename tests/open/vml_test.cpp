// Threaders: how a vector is divided, when it is not, and what a call brings back to its thread.
#include "kernels/contract.hpp"
#include "open/core.hpp"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cfenv>
#include <cmath>
#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace qnm::core {
namespace {

using namespace qnm::vml;

template <class F>
F* core(const std::string& name)
{
    return reinterpret_cast<F*>(dlsym(RTLD_DEFAULT, ("qnm_" + name).c_str()));
}
void* handle()
{
    static void* const opened = core<void*()>("serv_load_vml")();
    return opened;
}
template <class T>
T kernels(const std::string& name)
{
    return reinterpret_cast<T>(dlsym(handle(), ("qnm_vml_kernel_" + name).c_str()));
}
std::uint32_t set_mode(std::uint32_t mode)
{
    return kernels<std::uint32_t (*)(std::uint32_t)>("SetMode")(mode);
}
int clear_status()
{
    return kernels<int (*)()>("ClearErrStatus")();
}
Callback set_callback(Callback callback)
{
    return kernels<Callback (*)(Callback)>("SetErrorCallBack")(callback);
}
void set_threads(int count)
{
    core<int(int, int)>("serv_domain_set_num_threads")(count, 3);
}

using AnyKernel = void (*)();
constexpr float microsecond = 1000; // 50 elements of this cost are worth two threads

struct Threaders : testing::Test {
    void TearDown() override
    {
        set_threads(2);
        set_mode(default_mode);
        set_callback(nullptr);
        clear_status();
    }
};

// ---- how vectors are divided

/// What a kernel was given, part by part.
template <class... P>
struct Parts {
    struct Part {
        std::int64_t first, n;
        std::uint32_t mode;
        std::tuple<P...> operands;
    };
    static inline std::mutex mutex;
    static inline std::vector<Part> seen;

    static void kernel(std::int64_t n, P... operands, Call* call)
    {
        const std::lock_guard lock(mutex);
        seen.push_back({call->first, n, call->mode, {operands...}});
        if (n > 0 && call->first == 64) // the second part's
            call->status = pole;
    }
    static std::vector<Part> take()
    {
        std::sort(seen.begin(), seen.end(), [](const Part& a, const Part& b) { return a.first < b.first; });
        return std::exchange(seen, {});
    }
};

template <class T>
bool is_part(Vector<T> part, Vector<T> whole, std::int64_t first)
{
    return part.at == whole.at + first * whole.step && part.step == whole.step;
}
template <class T>
bool is_part(T part, T whole, std::int64_t)
{
    return part == whole;
}

int reached = 0;

/// The threader, called with operands as it takes them, gives a kernel these.
template <class... P, class... A>
void divides(const std::string& name, std::tuple<P...> whole, A... operands)
{
    SCOPED_TRACE(name);
    const auto threader = core<void(AnyKernel, int, A..., void*, float)>("vml_serv_threader_" + name);
    ASSERT_NE(threader, nullptr);
    ++reached;
    for (const int threads : {1, 2}) {
        set_threads(threads);
        clear_status();
        threader(reinterpret_cast<AnyKernel>(Parts<P...>::kernel), 101, operands..., handle(), microsecond);
        const auto parts = Parts<P...>::take();
        ASSERT_EQ(parts.size(), static_cast<std::size_t>(threads));
        std::int64_t next = 0;
        for (const auto& part : parts) {
            EXPECT_EQ(part.first, next);
            EXPECT_TRUE(part.first % 64 == 0); // whole cache lines
            EXPECT_EQ(part.mode, 0xC0FFC0E0U);
            const auto same = [&]<std::size_t... i>(std::index_sequence<i...>)
            {
                return (is_part(std::get<i>(part.operands), std::get<i>(whole), part.first) && ...);
            };
            EXPECT_TRUE(same(std::index_sequence_for<P...>()));
            next += part.n;
        }
        EXPECT_EQ(next, 101);
        EXPECT_EQ(clear_status(), threads == 1 ? ok : pole);
    }
}

template <class In, class Out>
void divides_one_to_one(const std::string& inputs, const std::string& outputs)
{
    static In a[1000];
    static Out y[1000];
    const auto from = [](int step) { return Vector<const In>{a + 500, step}; };
    const auto to = [](int step) { return Vector<Out>{y + 500, step}; };
    const In* const at = a + 500;
    divides(inputs + "i_" + outputs + "o", std::tuple(from(1), to(1)), at, y + 500);
    divides(inputs + "iI_" + outputs + "oI", std::tuple(from(3), to(-2)), at, 3, y + 500, -2);
}
template <class T>
void divides_all(const std::string& l)
{
    static T a[1000], b[1000], y[1000];
    const auto of_a = [](int step) { return Vector<const T>{a + 500, step}; };
    const auto of_b = [](int step) { return Vector<const T>{b + 500, step}; };
    const auto of_y = [](int step) { return Vector<T>{y + 500, step}; };
    const T* const in = a + 500;
    const T* const second = b + 500;
    T* const out = y + 500;
    const T s(3);
    divides_one_to_one<T, T>(l + "_1", "1");
    divides(l + "_2i_1o", std::tuple(of_a(1), of_b(1), of_y(1)), in, second, out);
    divides(l + "_2iI_1oI", std::tuple(of_a(2), of_b(-3), of_y(4)), in, 2, second, -3, out, 4);
    divides(l + "_c" + l + "_2i_" + l + "_1o", std::tuple(of_a(1), s, of_y(1)), in, s, out);
    divides(l + "_c" + l + "_2iI_" + l + "_1oI", std::tuple(of_a(2), s, of_y(-4)), in, 2, s, out, -4);
    if constexpr (!is_complex<T>) {
        static T z[1000];
        const auto of_z = [](int step) { return Vector<T>{z + 500, step}; };
        const T p(4), q(5), r(6);
        divides(l + "_1i_2o", std::tuple(of_a(1), of_y(1), of_z(1)), in, out, z + 500);
        divides(l + "_1iI_2oI", std::tuple(of_a(2), of_y(3), of_z(-4)), in, 2, out, 3, z + 500, -4);
        divides(l + "_6i_1o", std::tuple(of_a(1), of_b(1), s, p, q, r, of_y(1)), in, second, s, p, q, r, out);
        divides(l + "_6iI_1oI", std::tuple(of_a(2), of_b(3), s, p, q, r, of_y(4)), in, 2, second, 3, s, p, q,
                r, out, 4);
    }
}

TEST_F(Threaders, GiveEachPartItsOperandsAndTheCallersMode)
{
    reached = 0;
    set_mode(0xC0FFC0E0 | errors_ignored);
    EXPECT_EQ(set_mode(0xC0FFC0E0), 0xC0FFC1E0U); // unknown bits are kept
    divides_all<float>("s");
    divides_all<double>("d");
    divides_all<cfloat>("c");
    divides_all<cdouble>("z");
    divides_one_to_one<cfloat, float>("c_1", "s_1");
    divides_one_to_one<cdouble, double>("z_1", "d_1");
    divides_one_to_one<float, cfloat>("s_1", "c_1");
    divides_one_to_one<double, cdouble>("d_1", "z_1");
    EXPECT_EQ(reached, 40);
}

// ---- when they are not

using One = Parts<Vector<const double>, Vector<double>>;
double arguments[1000], results[1000];

std::size_t parts_of_call(int n = 101, float cost = microsecond, int incy = 1)
{
    core<void(AnyKernel, int, const double*, int, double*, int, void*, float)>("vml_serv_threader_d_1iI_1oI")(
        reinterpret_cast<AnyKernel>(One::kernel), n, arguments, 1, results, incy, handle(), cost);
    return One::take().size();
}
int quiet(ErrorRecord*)
{
    return 0;
}

TEST_F(Threaders, DivideLargeCallsOnly)
{
    set_threads(2);
    EXPECT_EQ(parts_of_call(), 2U);
    EXPECT_EQ(parts_of_call(49), 1U);
    EXPECT_EQ(parts_of_call(101, 1), 1U);
    EXPECT_EQ(parts_of_call(101, microsecond, 0), 1U); // all to one place, in order
    set_callback(quiet);
    EXPECT_EQ(parts_of_call(), 1U);
    set_mode(default_mode | errors_ignored);
    EXPECT_EQ(parts_of_call(), 2U);
    set_mode(high_accuracy); // no callback
    EXPECT_EQ(parts_of_call(), 2U);
    set_mode(high_accuracy | errors_to_stderr);
    EXPECT_EQ(parts_of_call(), 1U);
}

TEST_F(Threaders, AreSerialInAParallelRegionAndInAChild)
{
    set_threads(2);
    static std::size_t inside;
    const auto in_parallel = reinterpret_cast<void (*)(void (*)(void*), void*, unsigned, unsigned)>(
        dlsym(RTLD_DEFAULT, "GOMP_parallel"));
    ASSERT_NE(in_parallel, nullptr);
    in_parallel(
        [](void*) {
            static std::atomic<int> place;
            if (place++ == 0)
                inside = parts_of_call();
        },
        nullptr, 2, 0);
    EXPECT_EQ(inside, 1U);
    EXPECT_EQ(parts_of_call(), 2U);

    const pid_t child = fork();
    if (child == 0) {
        alarm(10); // whoever waits for threads that are not there waits for ever
        _exit(static_cast<int>(parts_of_call()));
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
}

int threads_of_process()
{
    int count = 0;
    DIR* const tasks = opendir("/proc/self/task");
    while (const dirent* const task = readdir(tasks))
        count += task->d_name[0] != '.' ? 1 : 0;
    closedir(tasks);
    return count;
}

// Each in a process of its own.
TEST_F(Threaders, StartNoThreadBeforeALargeCall)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto count = [] {
        const int before = threads_of_process();
        set_threads(2);
        parts_of_call(49);
        const int small = threads_of_process();
        parts_of_call();
        std::_Exit(small - before + 10 * (threads_of_process() - small));
    };
    EXPECT_EXIT(count(), testing::ExitedWithCode(10), "");
}

TEST_F(Threaders, TakeLibrariesWithoutAFrame)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        void* const other = dlopen("libm.so.6", RTLD_NOW);
        core<void(AnyKernel, int, const double*, double*, void*, float)>("vml_serv_threader_d_1i_1o")(
            reinterpret_cast<AnyKernel>(One::kernel), 5, arguments, results, other, microsecond);
        const bool pending = dlerror() != nullptr;
        std::_Exit(One::seen.at(0).mode == default_mode && !pending ? 7 : 1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(7), "");
    const auto missing = [] {
        setenv("QNM_KERNELS", "/nowhere/libnone.so", 1);
        std::_Exit(core<void*()>("serv_load_vml")() == nullptr && dlerror() == nullptr ? 7 : 1);
    };
    EXPECT_EXIT(missing(), testing::ExitedWithCode(7), "");
}

// ---- what comes back

/// Logarithms of 1 to n, but of 0 and of -1 at these places, by as many threads; the status that is left.
int logarithms(int n, int threads, int zero, int negative, std::vector<double>& result)
{
    std::vector<double> x(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = static_cast<double>(i + 1);
    x[static_cast<std::size_t>(zero)] = 0;
    x[static_cast<std::size_t>(negative)] = -1;
    result.assign(x.size(), 0);
    set_threads(threads);
    clear_status();
    core<void(AnyKernel, int, const double*, double*, void*, float)>("vml_serv_threader_d_1i_1o")(
        kernels<AnyKernel*>("dLn_ttab")[2], n, x.data(), result.data(), handle(), microsecond);
    return clear_status();
}
bool same_bits(const std::vector<double>& x, const std::vector<double>& y)
{
    return std::equal(x.begin(), x.end(), y.begin(), y.end(), [](double u, double v) {
        return std::bit_cast<std::uint64_t>(u) == std::bit_cast<std::uint64_t>(v);
    });
}

TEST_F(Threaders, ResultsAndStatusDoNotDependOnThreads)
{
    std::vector<double> by_one, by_two;
    for (const auto& [zero, negative] : {std::pair{3, 990}, {990, 3}, {64, 63}, {7, 8}}) {
        const int last = zero > negative ? pole : domain;
        EXPECT_EQ(logarithms(1003, 1, zero, negative, by_one), last);
        EXPECT_EQ(logarithms(1003, 2, zero, negative, by_two), last);
        EXPECT_TRUE(same_bits(by_one, by_two));
    }
}

TEST_F(Threaders, TellErrorsAsTheModeSays)
{
    std::vector<double> result;
    const auto flags_of = [&](std::uint32_t mode) {
        set_mode(mode);
        errno = 0;
        std::feclearexcept(FE_ALL_EXCEPT);
        logarithms(1003, 2, 3, 990, result);
        return std::fetestexcept(FE_ALL_EXCEPT & ~FE_INEXACT);
    };
    EXPECT_EQ(flags_of(high_accuracy), 0);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(flags_of(high_accuracy | errors_to_flags), FE_INVALID | FE_DIVBYZERO);
    EXPECT_EQ(flags_of(high_accuracy | errors_to_errno), 0);
    EXPECT_EQ(errno, EDOM);
    set_mode(default_mode | errors_ignored);
    EXPECT_EQ(logarithms(1003, 2, 3, 990, result), ok);
}

std::vector<int> told;
int change(ErrorRecord* record)
{
    told.push_back(record->index);
    record->result[0] = 100 + record->code;
    std::feclearexcept(FE_ALL_EXCEPT); // of the program's own
    return 5;
}

TEST_F(Threaders, CallBackInOrderAndTakeWhatItChanges)
{
    std::vector<double> result;
    told.clear();
    EXPECT_EQ(set_callback(change), nullptr);
    EXPECT_EQ(logarithms(100000, 2, 99990, 5, result), pole);
    EXPECT_EQ(told, (std::vector{5, 99990}));
    EXPECT_EQ(result[5], 100 + domain);
    EXPECT_EQ(result[99990], 100 + pole);
    EXPECT_EQ(kernels<Callback (*)()>("ClearErrorCallBack")(), change);
}

TEST_F(Threaders, KeepModeStatusAndCallbackPerThread)
{
    std::vector<double> result;
    set_mode(low_accuracy);
    set_callback(change);
    std::thread([&] {
        EXPECT_EQ(set_mode(enhanced_speed), default_mode);
        EXPECT_EQ(set_callback(nullptr), nullptr);
        EXPECT_EQ(logarithms(20, 1, 3, 9, result), domain);
        kernels<int (*)(int)>("SetErrStatus")(77);
    }).join();
    EXPECT_EQ(set_mode(default_mode), low_accuracy);
    EXPECT_EQ(clear_status(), ok);
}

TEST_F(Threaders, WalkAnyStrideAndWriteIntoTheirInput)
{
    constexpr int n = 700; // more than two blocks
    std::vector<double> u(3 * n), v(3 * n), w(3 * n, -1), plain(n), left(n);
    for (std::size_t i = 0; i < u.size(); ++i)
        u[i] = 0.001 * static_cast<double>(i + 1), v[i] = 3 + u[i];
    const auto strided = [&](int incu, int incv, double* to, int incw) {
        core<void(AnyKernel, int, const double*, int, const double*, int, double*, int, void*, float)>(
            "vml_serv_threader_d_2iI_1oI")(kernels<AnyKernel*>("dPowI_ttab")[2], n,
                                           u.data() + (incu < 0 ? 2 * n : 0), incu, v.data(), incv, to, incw,
                                           handle(), microsecond);
    };
    for (const auto& [incu, incv, incw] : {std::tuple{-2, 0, 3}, {0, 1, -3}, {3, 2, 0}, {1, 1, 2}}) {
        double* const to = w.data() + (incw < 0 ? 3 * n - 1 : 0);
        strided(incu, incv, to, incw);
        for (std::size_t i = 0; i < n; ++i) {
            const auto k = static_cast<std::ptrdiff_t>(i);
            const double x = u[static_cast<std::size_t>((incu < 0 ? 2 * n : 0) + k * incu)];
            const double expected = std::pow(x, v[static_cast<std::size_t>(k * incv)]);
            if (incw != 0 || i == n - 1) {
                EXPECT_NEAR(to[k * incw], expected, 1e-15 * expected) << incu << incv << incw << ' ' << i;
            }
        }
    }
    strided(1, 1, plain.data(), 1);
    strided(1, 1, u.data(), 1);
    EXPECT_TRUE(std::equal(plain.begin(), plain.end(), u.begin()));
}

TEST_F(Threaders, TakeTheTableOfTheProcessor)
{
    const auto index = kernels<int (*)(int)>("GetTTableIndex");
    const int raw = core<int()>("serv_vml_cpu_detect")();
    const bool avx2 = __builtin_cpu_supports("avx2") != 0 && (__builtin_cpu_supports("fma") != 0);
    EXPECT_EQ(raw == 0, !avx2);
    for (const int type : {0, 1, 2})
        EXPECT_EQ(index(type), 0);
    for (const int type : {3, 4, 5, 9})
        EXPECT_EQ(index(type), avx2 ? 2 : 0);
    EXPECT_EQ(index(6), avx2 ? 1 : 0);
    EXPECT_EQ(index(7), raw == 9 ? 3 : avx2 ? 1 : 0);
    const auto* const table = kernels<AnyKernel*>("zPow_ttab");
    EXPECT_EQ(table[2], table[index(7)]); // the best
    EXPECT_NE(table[0], table[2]);
}

} // namespace
} // namespace qnm::core
