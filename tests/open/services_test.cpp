// Memory, error routing, text, and the closedness of the library.
#include "core.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <unistd.h>

// The executable offers names of the engine: whoever lands here was led out of the core.
int taken_over = 0;
#define QNM_OFFERED(name)                                                                                    \
    extern "C" [[gnu::visibility("default")]] void name()                                                    \
    {                                                                                                        \
        ++taken_over;                                                                                        \
    }
QNM_OFFERED(dgemm_)
QNM_OFFERED(dscal_)
QNM_OFFERED(cblas_dgemm)
QNM_OFFERED(xerbla_)
QNM_OFFERED(lsame_)
QNM_OFFERED(openblas_get_config)
QNM_OFFERED(openblas_get_num_threads)

namespace qnm::test {
namespace {

// Bytes and blocks handed out.
using Use = std::pair<std::int64_t, int>;
Use in_use()
{
    int blocks = 0;
    const auto bytes = by_value<std::int64_t>("qnm_serv_mem_stat", &blocks);
    return {bytes, blocks};
}

TEST(Closedness, OnlyTheCoresNamesLeaveIt)
{
    std::FILE* names = popen("nm -D --defined-only " QNM_CORE_FILE, "r");
    ASSERT_NE(names, nullptr);
    char line[512];
    int count = 0;
    while (std::fgets(line, sizeof line, names) != nullptr) {
        EXPECT_NE(std::strstr(line, " T qnm_"), nullptr) << line;
        ++count;
    }
    pclose(names);
    EXPECT_EQ(count, 411 + 2253 + 36); // BLAS and services, LAPACK, matrix copy
}

// Core and engine: a program with its owner's rights must not obey what its caller has set.
TEST(Closedness, TheEnvironmentIsReadOnlyWhereTheCallerIsTrusted)
{
    EXPECT_EQ(std::system("nm -D --undefined-only " QNM_CORE_FILE " | grep -qw secure_getenv"), 0);
    EXPECT_NE(std::system("nm -D --undefined-only " QNM_CORE_FILE " | grep -wE '(__)?(getenv|environ)'"), 0);
}

TEST(Closedness, TheEngineIsNotTakenOver)
{
    const core_int n = 2;
    const double alpha = 1, beta = 0;
    const std::vector<double> a{1, 2, 3, 4};
    for (const char* name : {"dgemm", "xdgemm", "qnm_dgemm_jit", "qnm_dgemm_direct_jit"}) {
        std::vector<double> c(4);
        blas(name, 'N', 'N', n, n, n, alpha, a, n, a, n, beta, c, n);
        EXPECT_EQ(c, (std::vector<double>{7, 10, 15, 22})) << name;
    }
    EXPECT_GT(by_value<int>("qnm_serv_get_max_threads"), 0);
    EXPECT_EQ(taken_over, 0);
}

TEST(Memory, IsAlignedCountedAndGivenBack)
{
    const auto [bytes, blocks] = in_use();
    std::vector<void*> taken;
    for (const int alignment : {0, 1, 64, 128, 168, 4096}) {
        taken.push_back(by_value<void*>("qnm_serv_malloc", std::size_t{100}, alignment));
        ASSERT_NE(taken.back(), nullptr);
        const int least = alignment == 168 ? 256 : std::max(alignment, 64);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(taken.back()) % static_cast<unsigned>(least), 0U)
            << alignment;
        std::memset(taken.back(), 0xa5, 100);
    }
    EXPECT_EQ(in_use(), Use(bytes + 600, blocks + 6));
    auto* grown = by_value<unsigned char*>("qnm_serv_realloc", taken.back(), std::size_t{5000});
    EXPECT_EQ(grown[99], 0xa5);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(grown) % 4096, 0U);
    EXPECT_EQ(in_use(), Use(bytes + 5500, blocks + 6));
    taken.back() = grown;
    for (void* block : taken)
        by_value<void>("qnm_serv_free", block);
    auto* zeroed = by_value<char*>("qnm_serv_calloc", std::size_t{50}, std::size_t{2}, 64);
    EXPECT_EQ(std::string(zeroed, 100), std::string(100, '\0'));
    EXPECT_EQ(by_value<void*>("qnm_serv_realloc", zeroed, std::size_t{0}), nullptr);
    EXPECT_EQ(by_value<void*>("qnm_serv_calloc", SIZE_MAX / 2, std::size_t{3}, 64), nullptr);
    EXPECT_EQ(by_value<void*>("qnm_serv_allocate", SIZE_MAX - 8, 64), nullptr);
    EXPECT_EQ(in_use(), Use(bytes, blocks));
}

TEST(Memory, BlocksChangeThreads)
{
    const auto [bytes, blocks] = in_use();
    std::vector<std::pair<unsigned char*, std::size_t>> held;
    const auto take = [&] { // ten of each size; nobody else may write into them
        for (const std::size_t size : {0, 1, 128, 255, 4096, 4097})
            for (int i = 0; i < 10; ++i) {
                held.emplace_back(by_value<unsigned char*>("qnm_serv_allocate", size, 128), size);
                EXPECT_EQ(reinterpret_cast<std::uintptr_t>(held.back().first) % 128, 0U) << size;
                std::memset(held.back().first, static_cast<int>(held.size()), size);
            }
    };
    const auto give_back = [&] {
        for (unsigned char value = 1; const auto& [block, size] : held) {
            for (std::size_t at = 0; at < size; ++at)
                ASSERT_EQ(block[at], value) << size;
            by_value<void>("qnm_serv_deallocate", block);
            ++value;
        }
        held.clear();
    };
    std::thread(take).join();
    EXPECT_EQ(in_use(), Use(bytes + 10 * (1 + 128 + 255 + 4096 + 4097), blocks + 60));
    give_back();
    take();
    by_value<void>("qnm_serv_free_buffers");
    std::thread(give_back).join();
    EXPECT_EQ(in_use(), Use(bytes, blocks));
}

TEST(Memory, PeakIsWatchedOnDemand)
{
    auto peak = [](int mode) { return by_value<std::int64_t>("qnm_serv_peak_mem_usage", mode); };
    EXPECT_EQ(peak(2), -1);
    const std::int64_t start = peak(1);
    by_value<void>("qnm_serv_free", by_value<void*>("qnm_serv_malloc", std::size_t{1000}, 64));
    EXPECT_EQ(peak(2), start + 1000);
    EXPECT_EQ(peak(0), start + 1000);
    EXPECT_EQ(peak(2), -1);
    EXPECT_EQ(peak(7), -1);
}

std::vector<std::string> reports;
template <char which>
void handler(const char* srname, const int* info, int len)
{
    reports.push_back(which + (' ' + std::string(srname, static_cast<std::size_t>(len))) + ' ' +
                      std::to_string(*info));
}
using Handler = decltype(&handler<'1'>);

void set_limit(std::size_t bytes)
{
    EXPECT_EQ(by_value<int>("qnm_serv_set_memory_limit", 1, bytes), 1);
}

TEST(Memory, LimitHoldsAndRoutinesReportIt)
{
    const auto used = static_cast<std::size_t>(in_use().first);
    EXPECT_EQ(by_value<int>("qnm_serv_set_memory_limit", 2, std::size_t{1}), 0);
    set_limit(used + 100);
    EXPECT_EQ(by_value<void*>("qnm_serv_malloc", std::size_t{101}, 64), nullptr);
    void* fits = by_value<void*>("qnm_serv_malloc", std::size_t{100}, 64);
    EXPECT_NE(fits, nullptr);
    by_value<void>("qnm_serv_free", fits);

    reports.clear();
    by_value<Handler>("qnm_serv_set_xerbla", &handler<'1'>);
    const core_int n = 20, one_apart = 1;
    const cdouble alpha = 1, beta = 0;
    const std::vector<double> a(400);
    std::vector<cdouble> c(400, 7);
    const auto untouched = c;
    set_limit(used + 1);
    blas("dzgemm", 'N', 'N', n, n, n, alpha, a, n, c, n, beta, c, n);
    blas("dzgemv", 'N', n, n, alpha, a, n, c, one_apart, beta, c, one_apart);
    blas("ztrsm_oop", 'L', 'U', 'N', 'N', n, n, alpha, a, n, c, n, beta, c, n);
    const float one = 1, zero = 0;
    blas("gemm_bf16bf16f32", 'N', 'N', n, n, n, one, a, n, a, n, zero, c, n);
    void* jitter = &reports;
    EXPECT_EQ(blas<int>("qnm_jit_create_sgemm", &jitter, 'N', 'N', n, n, n, one, n, n, zero, n), 2);
    EXPECT_EQ(jitter, nullptr);
    set_limit(0);
    by_value<Handler>("qnm_serv_set_xerbla", Handler{nullptr});
    EXPECT_EQ(reports, (std::vector<std::string>{"1 DZGEMM 1000", "1 DZGEMV 1000", "1 ZTRSM_OOP 1000",
                                                 "1 GEMM_BF16BF16F32 1000", "1 GEMM_BF16BF16F32 1000"}));
    EXPECT_EQ(c, untouched);
    EXPECT_EQ(static_cast<std::size_t>(in_use().first), used);
}

void report(const char* name, int len, int info)
{
    // Only the low half of the slot is defined.
    const std::int64_t slot = std::int64_t{0x7777} << 32 | info;
    by_value<void>("qnm_serv_xerbla", name, reinterpret_cast<const int*>(&slot), len);
}

TEST(Errors, RunTimeHandlerThenChainThenDefault)
{
    reports.clear();
    by_value<void>("qnm_serv_set_xerbla_interface", &handler<'2'>);
    report("DGEMM ", 6, 13);
    EXPECT_EQ(by_value<Handler>("qnm_serv_set_xerbla", &handler<'1'>), nullptr);
    report("DGEMM ", 6, 8);
    EXPECT_EQ(by_value<Handler>("qnm_serv_set_xerbla", Handler{nullptr}), &handler<'1'>);
    const core_int length = 6, info = 3;
    by_value<void>("qnm_lapack_xerbla_array", "DTRTRIxyz", &length, &info, std::size_t{1});
    // A direct call with an argument that the engine refuses.
    const core_int bad = -1, n = 2;
    const double alpha = 1;
    const std::vector<double> a(4);
    blas("dgemm", 'N', 'N', n, bad, n, alpha, a, n, a, n, alpha, a, n);
    EXPECT_EQ(reports, (std::vector<std::string>{"2 DGEMM  13", "1 DGEMM  8", "2 DTRTRI 3", "2 DGEMM  4"}));
    by_value<void>("qnm_serv_set_xerbla_interface", Handler{nullptr});

    testing::internal::CaptureStderr();
    report("DGEMM ", 6, 13);
    report("DAXPYI and what lies behind", 6, 1102);
    report("cblas_dgemv_batch", 17, 1000);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "QNM ERROR: Parameter 13 was incorrect on entry to DGEMM.\n"
              "QNM ERROR: not enough memory for the integer arrays of DAXPYI.\n"
              "QNM ERROR: not enough memory in cblas_dgemv_batch.\n");
}

TEST(Text, LettersLengthsAndBoundedFormatting)
{
    const std::size_t one = 1;
    EXPECT_EQ(by_value<int>("qnm_serv_lsame", "nx", "Ny", one, one), 1);
    EXPECT_EQ(by_value<int>("qnm_serv_lsame", "[", "{", one, one), 0); // the bit of the case only
    const char* const null = nullptr;
    EXPECT_EQ(by_value<std::size_t>("qnm_serv_strnlen_s", "abc", std::size_t{9}), 3U);
    EXPECT_EQ(by_value<std::size_t>("qnm_serv_strnlen_s", "abc", std::size_t{2}), 2U);
    EXPECT_EQ(by_value<std::size_t>("qnm_serv_strnlen_s", null, std::size_t{9}), 0U);
    using Format = int (*)(char*, std::size_t, std::size_t, const char*, ...);
    const auto format = reinterpret_cast<Format>(core_symbol("qnm_serv_snprintf_s"));
    char text[] = "#######";
    EXPECT_EQ(format(text, 6, 5, "%d,%c", 12, 'x'), 4);
    EXPECT_STREQ(text, "12,x");
    EXPECT_EQ(format(text, 6, 99, "%d", 1234567), -1);
    EXPECT_EQ(std::string(text, 7), std::string("12345\0#", 7));
    EXPECT_EQ(format(text, 6, 2, "%d", 1234567), -1);
    EXPECT_STREQ(text, "12");
}

TEST(Text, OfVariablesIsEmptyWithoutAValueThatFits)
{
    setenv("QNM_TEST_VARIABLE", "12345", 1);
    for (const auto& [name, size, length, expected] : {std::tuple{"QNM_TEST_VARIABLE", 6, 5, "12345"},
                                                       {"QNM_TEST_VARIABLE", 5, 0, ""},
                                                       {"QNM_NO_SUCH", 6, 0, ""}}) {
        char text[] = "#######";
        EXPECT_EQ(by_value<int>("qnm_serv_getenv", name, &text[0], std::size_t(size)), length);
        EXPECT_STREQ(text, expected) << name << " " << size;
    }
}

TEST(Controls, AnswerWhatIsThere)
{
    const int threads = by_value<int>("qnm_serv_get_max_threads");
    by_value<void>("qnm_serv_set_num_threads", 1);
    EXPECT_EQ(by_value<int>("qnm_serv_get_max_threads"), 1);
    by_value<void>("qnm_serv_set_num_threads", 0);
    EXPECT_EQ(by_value<int>("qnm_serv_domain_get_max_threads", 1), 1);
    EXPECT_EQ(by_value<int>("qnm_serv_domain_set_num_threads", threads, 1), 1);
    EXPECT_EQ(by_value<int>("qnm_serv_domain_set_num_threads", threads, 4), 0);
    EXPECT_EQ(by_value<int>("qnm_serv_get_max_threads"), threads);
    EXPECT_EQ(by_value<int>("qnm_serv_cbwr_set", 5), -1);
    EXPECT_EQ(by_value<int>("qnm_serv_enable_instructions", 5), 0);

    std::string fortran(300, '#'), c(20, '#');
    by_value<void>("qnm_serv_get_version_string", fortran.data(), std::size_t{299});
    by_value<void>("qnm_serv_get_version_string_c", c.data(), core_int{20});
    EXPECT_EQ(c, fortran.substr(0, 19) + '\0');
    EXPECT_EQ(fortran.substr(298), " #");
}

TEST(Controls, ClocksRun)
{
    const auto dsecnd = [] { return by_value<double>("qnm_serv_dsecnd"); };
    const auto clocks = [] {
        std::uint64_t count = 0;
        by_value<void>("qnm_serv_get_cpu_clocks", &count);
        return static_cast<double>(count);
    };
    const double t0 = dsecnd(), c0 = clocks();
    usleep(20000);
    const double c1 = clocks(), t1 = dsecnd();
    EXPECT_GT(t0, 0);
    EXPECT_GE(t1 - t0, 0.02);
    EXPECT_NEAR(by_value<float>("qnm_serv_second"), t1, 1);
    const double ghz = by_value<double>("qnm_serv_get_clocks_frequency");
    EXPECT_GE(c1 - c0, 0.02 * ghz * 1e9 * 0.9);
    EXPECT_GT(ghz, 0.1);
}

} // namespace
} // namespace qnm::test
