// The closedness of the library, memory, error routing, text, controls.
#include "core.hpp"
#include "qnm/core/dft.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <thread>
#include <unistd.h>

namespace qnm::test {
namespace {

// What `nm` tells of the core's dynamic symbols, and a filter makes of it.
std::string symbols(const std::string& filter)
{
    std::FILE* const names = popen(("nm -D " QNM_CORE_FILE " | " + filter).c_str(), "r");
    std::string text(200, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), names));
    pclose(names);
    return text;
}

// No name of the engine's can be taken over. Core and engine do not obey what the caller of a program with
// its owner's rights has set.
TEST(Closedness, OfNamesAndOfTheEnvironment)
{
    EXPECT_EQ(symbols("grep -cE '^[0-9a-f]+ T qnm_'"),
              "3536\n"); // 419 BLAS and services, 2253 LAPACK, 36 copies, 59 for transforms
                         // and Poisson problems, 46 threaders, 7 of convolution, 339 of sparse handles,
                         // 216 classic, 161 of solvers
    // Nothing else does; what comes from outside has a version of the system, or is the compiler's own.
    if (!QNM_SANITIZED) { // which link the system's libraries in another way
        EXPECT_EQ(symbols("grep -vE '^[0-9a-f]+ T qnm_|@| w | U __'"), "");
    }
    EXPECT_NE(symbols("grep -w secure_getenv"), "");
    EXPECT_EQ(symbols("grep -wE 'U (__)?(getenv|environ)'"), "");
}

using Bytes = unsigned char*;
bool aligned(const void* block, unsigned alignment)
{
    return reinterpret_cast<std::uintptr_t>(block) % alignment == 0;
}

TEST(Memory, IsAlignedCountedAndGivenBack)
{
    const auto [bytes, blocks] = in_use();
    std::vector<Bytes> taken;
    for (const auto& [wanted, least] : {std::pair{0, 64U}, {1, 64U}, {168, 256U}, {4096, 4096U}}) {
        taken.push_back(service<Bytes>("malloc", std::size_t{100}, wanted));
        EXPECT_TRUE(aligned(taken.back(), least)) << wanted;
        std::memset(taken.back(), 0xa5, 100);
    }
    EXPECT_EQ(in_use(), Use(bytes + 400, blocks + 4));
    taken.back() = service<Bytes>("realloc", taken.back(), std::size_t{5000});
    EXPECT_EQ(taken.back()[99], 0xa5);
    EXPECT_TRUE(aligned(taken.back(), 4096));
    EXPECT_EQ(in_use(), Use(bytes + 5300, blocks + 4));
    for (const Bytes block : taken)
        service("free", block);
    const auto zeroed = service<Bytes>("calloc", std::size_t{50}, std::size_t{2}, 64);
    EXPECT_EQ(std::count(zeroed, zeroed + 100, 0), 100);
    EXPECT_EQ(service<Bytes>("realloc", zeroed, std::size_t{0}), nullptr);
    EXPECT_EQ(service<Bytes>("calloc", SIZE_MAX / 2, std::size_t{3}, 64), nullptr);
    EXPECT_EQ(service<Bytes>("allocate", SIZE_MAX - 8, 64), nullptr);
    EXPECT_EQ(in_use(), Use(bytes, blocks));
}

TEST(Memory, BlocksChangeThreads)
{
    const auto [bytes, blocks] = in_use();
    std::vector<std::pair<Bytes, std::size_t>> held;
    const auto take = [&] { // ten of each size; nobody else may write into them
        for (const std::size_t size : {0, 1, 128, 255, 4096, 4097})
            for (int i = 0; i < 10; ++i) {
                held.emplace_back(service<Bytes>("allocate", size, 128), size);
                EXPECT_TRUE(aligned(held.back().first, 128)) << size;
                std::memset(held.back().first, static_cast<int>(held.size()), size);
            }
    };
    const auto give_back = [&] {
        for (unsigned char value = 1; const auto& [block, size] : held) {
            EXPECT_EQ(std::count(block, block + size, value++), static_cast<std::ptrdiff_t>(size));
            service("deallocate", block);
        }
        held.clear();
    };
    std::thread(take).join();
    EXPECT_EQ(in_use(), Use(bytes + 10 * (1 + 128 + 255 + 4096 + 4097), blocks + 60));
    give_back();
    take();
    service("free_buffers");
    std::thread(give_back).join();
    EXPECT_EQ(in_use(), Use(bytes, blocks));
}

TEST(Memory, PeakIsWatchedOnDemand)
{
    const auto peak = [](int mode) { return service<std::int64_t>("peak_mem_usage", mode); };
    EXPECT_EQ(peak(2), -1);
    const std::int64_t start = peak(1);
    service("free", service<void*>("malloc", std::size_t{1000}, 64));
    for (const auto& [mode, answer] : {std::pair{2, start + 1000}, {0, start + 1000}, {2, -1L}, {7, -1L}})
        EXPECT_EQ(peak(mode), answer);
}

// ...and where a routine has no memory, this is told, and nothing is changed or lost.
TEST(Memory, LimitHoldsAndRoutinesReportIt)
{
    const Use before = in_use();
    const auto used = static_cast<std::size_t>(before.first);
    EXPECT_EQ(service("set_memory_limit", 2, std::size_t{1}), 0);
    EXPECT_EQ(service("set_memory_limit", 1, used + 100), 1);
    EXPECT_EQ(service<void*>("malloc", std::size_t{101}, 64), nullptr);
    void* const fits = service<void*>("malloc", std::size_t{100}, 64);
    EXPECT_NE(fits, nullptr);
    service("free", fits);

    const Reports reports;
    const core_int n = 20, m = 2, k = 3, one_apart = 1, rows = 5, lwork = 60;
    const cdouble alpha = 1, beta = 0;
    const std::vector<double> a(400);
    const std::vector<cdouble> c(400, 7), untouched = c;
    const float one = 1, zero = 0;
    void* jitter = &jitter;
    service("set_memory_limit", 1, used + 1);
    blas("dzgemm", 'N', 'N', n, n, n, alpha, a, n, c, n, beta, c, n);
    blas("dzgemv", 'N', n, n, alpha, a, n, c, one_apart, beta, c, one_apart);
    blas("ztrsm_oop", 'L', 'U', 'N', 'N', n, n, alpha, a, n, c, n, beta, c, n);
    blas("gemm_bf16bf16f32", 'N', 'N', n, n, n, one, a, n, a, n, zero, c, n);
    lapack("ztprfb", 'L', 'N', 'F', 'R', m, k, k, m, c, n, c, n, c, n, c, n, c, k);
    EXPECT_EQ(lapack("zunbdb3", rows, k, k, c, n, c, rows, a, a, c, c, c, c, lwork), -1000);
    EXPECT_EQ((blas<float, int>("qnm_jit_create_sgemm", &jitter, 'N', 'N', n, n, n, one, n, n, zero, n)), 2);
    EXPECT_EQ(jitter, nullptr);
    service("set_memory_limit", 1, std::size_t{0});
    EXPECT_EQ(reports.told, (std::vector<std::string>{"DZGEMM 1000", "DZGEMV 1000", "ZTRSM_OOP 1000",
                                                      "GEMM_BF16BF16F32 1000", "GEMM_BF16BF16F32 1000",
                                                      "ZTPRFB 1000", "ZUNBDB3 1000"}));
    EXPECT_EQ(c, untouched);
    EXPECT_EQ(in_use(), before);
}

TEST(Errors, RunTimeHandlerThenChainThenDefault)
{
    const auto report = [](const std::string& name, int info) { // the low half of the slot alone is defined
        const std::int64_t slot = std::int64_t{0x7777} << 32 | info;
        service("xerbla", name.c_str(), &slot, static_cast<int>(name.size()));
    };
    using Handler = void (*)(const char*, const int*, int);
    const Handler none = nullptr, chain = &Reports::note,
                  registered = [](const char*name, const int*info, int length) {
                      Reports::note(name, info, length);
                      Reports::told.back() = "registered " + Reports::told.back();
                  };
    Reports::told.clear();
    service("set_xerbla_interface", chain);
    report("DGEMM ", 13);
    EXPECT_EQ(service<Handler>("set_xerbla", registered), nullptr);
    report("DGEMM ", 8);
    EXPECT_EQ(service<Handler>("set_xerbla", none), registered);
    const core_int length = 6, info = 3, bad = -1, n = 2;
    by_value("qnm_lapack_xerbla_array", "DTRTRIxyz", &length, &info, std::size_t{1});
    // A direct call with an argument that the engine refuses.
    const double alpha = 1;
    const std::vector<double> a(4);
    blas("dgemm", 'N', 'N', n, bad, n, alpha, a, n, a, n, alpha, a, n);
    EXPECT_EQ(Reports::told,
              (std::vector<std::string>{"DGEMM  13", "registered DGEMM  8", "DTRTRI 3", "DGEMM  4"}));
    service("set_xerbla_interface", none);

    testing::internal::CaptureStderr();
    report("DGEMM ", 13);
    report("DAXPYI", 1102);
    report("cblas_dgemv_batch", 1000);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "QNM ERROR: Parameter 13 was incorrect on entry to DGEMM.\n"
              "QNM ERROR: not enough memory for the integer arrays of DAXPYI.\n"
              "QNM ERROR: not enough memory in cblas_dgemv_batch.\n");
}

TEST(Text, LettersLengthsAndBoundedFormatting)
{
    const std::size_t one = 1;
    EXPECT_EQ(service("lsame", "nx", "Ny", one, one), 1);
    EXPECT_EQ(service("lsame", "[", "{", one, one), 0); // the bit of the case only
    for (const auto& [text, most, length] : {std::tuple{"abc", 9, 3U}, {"abc", 2, 2U}, {nullptr, 9, 0U}})
        EXPECT_EQ(service<std::size_t>("strnlen_s", text, std::size_t(most)), length);
    char text[] = "#######";
    for (const auto& [most, number, result, expected] :
         {std::tuple{5, 1234, 5, "1234x"}, {99, 123456, -1, "12345"}, {2, 1234567, -1, "12"}}) {
        const auto found =
            support::call(core_symbol("qnm_serv_snprintf_s"), text, 6L, long{most}, "%d%c", number, 'x');
        EXPECT_EQ(found.int32(), result);
        EXPECT_STREQ(text, expected);
        EXPECT_EQ(text[6], '#');
    }
    // Joined texts: what is left goes down to nothing, and nothing is written beyond.
    std::size_t left = 8;
    char joined[] = "##########", *end = joined;
    for (const auto& [text_now, left_now, number] :
         {std::tuple{"12,", 5U, 12}, {"12,3456,", 0U, 3456}, {"12,3456,", 0U, 7}}) {
        end = qnm_serv_sprintf_char_s(end, &left, "%d,", number);
        EXPECT_EQ(left, left_now);
        EXPECT_STREQ(joined, text_now);
        EXPECT_EQ(end, joined + std::strlen(joined));
    }
    EXPECT_EQ(joined[9], '#');
    // Variables: empty without a value that fits.
    setenv("QNM_TEST_VARIABLE", "12345", 1);
    for (const auto& [name, size, length, expected] : {std::tuple{"QNM_TEST_VARIABLE", 6, 5, "12345"},
                                                       {"QNM_TEST_VARIABLE", 5, 0, ""},
                                                       {"QNM_NO_SUCH", 6, 0, ""}}) {
        EXPECT_EQ(service("getenv", name, &text[0], std::size_t(size)), length);
        EXPECT_STREQ(text, expected) << name << " " << size;
        text[0] = '#';
    }
}

TEST(Text, OfMessages)
{
    std::set<std::string> different;
    for (const int number : {774, 775, 776, 777, 778, 779, 780, 781, 782, 783, 784, 1101})
        different.insert(qnm_serv_get_msg(number, 0));
    EXPECT_EQ(different.size(), 12U);
    for (const int number : {0, 773, 785, 1100})
        EXPECT_EQ(qnm_serv_get_msg(number, 0), nullptr);
    testing::internal::CaptureStderr();
    qnm_serv_print(1, 775, 0);
    qnm_serv_print(1, 9999, 2, "one", nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("QNM ERROR: ") + qnm_serv_get_msg(775, 0) + "\nQNM ERROR: message 9999: one, ?\n");
    EXPECT_EQ(qnm_serv_get_mpi_wrappers(), nullptr);
}

TEST(Controls, AnswerWhatIsThere)
{
    const int threads = service("get_max_threads");
    for (const auto& [routine, count, domain, answer, now] :
         {std::tuple{"set_num_threads", 1, 0, 0, 1},
          {"set_num_threads", 0, 0, 0, 1},
          {"domain_set_num_threads", threads, 1, 1, threads},
          {"domain_set_num_threads", threads + 1, 4, 0, threads}}) {
        const int found = service(routine, count, domain);
        EXPECT_EQ(*routine == 'd' ? found : 0, answer);
        EXPECT_EQ(service("get_max_threads"), now);
        EXPECT_EQ(service("domain_get_max_threads", 1), now);
    }
    // Transforms take as many as all, until they are told their own.
    for (const auto& [count, domain, now] : {std::tuple{threads, 0, threads},
                                             {threads + 2, 2, threads + 2},
                                             {threads, 1, threads + 2},
                                             {threads, 0, threads}}) {
        EXPECT_EQ(service("domain_set_num_threads", count, domain), 1);
        EXPECT_EQ(service("domain_get_max_threads", 2), now);
    }
    EXPECT_EQ(service("cbwr_set", 5), -1);
    EXPECT_EQ(service("enable_instructions", 5), 0);

    std::string fortran(300, '#'), c(20, '#');
    service("get_version_string", &fortran[0], std::size_t{299});
    service("get_version_string_c", &c[0], core_int{20});
    EXPECT_EQ(c, fortran.substr(0, 19) + '\0');
    EXPECT_EQ(fortran.substr(298), " #");

    std::uint64_t clocks[2] = {};
    double seconds[2], ghz = service<double>("get_clocks_frequency");
    for (const int i : {0, 1}) {
        seconds[i] = service<double>("dsecnd");
        service("get_cpu_clocks", &clocks[i]);
        usleep(20000);
    }
    EXPECT_GE(seconds[1] - seconds[0], 0.02);
    EXPECT_NEAR(service<float>("second"), seconds[1], 1);
    EXPECT_GE(static_cast<double>(clocks[1] - clocks[0]), 0.02 * ghz * 1e9 * 0.9);
    EXPECT_GT(ghz, 0.1);
}

} // namespace
} // namespace qnm::test
