// The mode word, the trace's lines and where they go.
#include "core.hpp"

#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace qnm::test {
namespace {

int verbose(int mode)
{
    return by_value<int>("qnm_serv_verbose", mode);
}
int output_file(const std::string& name)
{
    return by_value<int>("qnm_serv_verbose_output_file", name.c_str());
}
void print(const char* line, double seconds, int enabled = 1)
{
    by_value<void>("qnm_serv_print_verbose_info", enabled, line, seconds);
}

// A file of its own for each test; tracing is off and on standard error again at the end.
class Trace : public testing::Test {
protected:
    Trace() { std::filesystem::remove(path_); }
    ~Trace() override
    {
        verbose(0);
        output_file("");
        std::filesystem::remove(path_);
    }
    std::vector<std::string> lines() const
    {
        std::vector<std::string> all;
        std::ifstream file(path_);
        for (std::string line; std::getline(file, line);)
            all.push_back(line);
        return all;
    }
    const std::string path_ = std::filesystem::temp_directory_path() /
                              ("qnm-trace-" + std::to_string(getpid()) +
                               testing::UnitTest::GetInstance()->current_test_info()->name());
};

TEST_F(Trace, ModeWordIsLive)
{
    ASSERT_EQ(output_file(path_), 0);
    const int* word = by_value<const int*>("qnm_serv_verbose_mode");
    EXPECT_EQ(*word, 0);
    const int asked[][3] = {{2, 0, 2}, {3, -1, 2}, {-1, -1, 2}, {1, 2, 1}, {0, 1, 0}};
    for (const auto& [mode, answer, now] : asked) {
        EXPECT_EQ(verbose(mode), answer) << mode;
        EXPECT_EQ(*word, now) << mode;
    }
    const int* to_file = by_value<const int*>("qnm_serv_verbose_output_file_mode");
    EXPECT_EQ(*to_file, 1);
    EXPECT_EQ(output_file("/no/such/folder/file"), 1);
    EXPECT_EQ(*to_file, 1);
    EXPECT_EQ(output_file(""), 0);
    EXPECT_EQ(*to_file, 0);
}

TEST_F(Trace, LinesHaveNameArgumentsAndTime)
{
    const std::pair<double, const char*> times[] = {
        {-0.0, "0.000ns"},      {1.234e-9, "1.234ns"}, {9.9996e-9, "10.00ns"}, {123.44e-9, "123.4ns"},
        {999.96e-9, "1.000us"}, {1.234e-6, "1.234us"}, {45.678e-3, "45.68ms"}, {999.96e-3, "1.000s"},
        {99.996, "100.0s"},     {12345.6, "12346s"}};
    ASSERT_EQ(output_file(path_), 0);
    verbose(1);
    verbose(0);
    verbose(1); // one head only
    for (const auto& [seconds, text] : times)
        print("DGEMM(N,T,2,3,4)", seconds);
    print("QNM_DOMATCOPY(R, N)", 1e9, 0);
    const auto all = lines();
    ASSERT_EQ(all.size(), std::size(times) + 2);
    EXPECT_EQ(all[0].rfind("# QNM_VERBOSE open core ", 0), 0U) << all[0];
    for (std::size_t i = 0; i < std::size(times); ++i)
        EXPECT_EQ(all[i + 1], std::string("QNM_VERBOSE DGEMM(N,T,2,3,4) ") + times[i].second);
    EXPECT_EQ(all.back(), "QNM_VERBOSE QNM_DOMATCOPY(R, N) -");
}

TEST_F(Trace, LongLinesKeepTheirTime)
{
    ASSERT_EQ(output_file(path_), 0);
    print("SHORT()", 1e-3);
    ASSERT_EQ(output_file(path_), 0); // what is there stays
    print(std::string(10000, 'x').c_str(), 1e-3);
    const auto all = lines();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0], "QNM_VERBOSE SHORT() 1.000ms");
    EXPECT_LT(all[1].size(), 4096U);
    EXPECT_GT(all[1].size(), 3900U);
    EXPECT_EQ(all[1].substr(all[1].size() - 9), "x 1.000ms");
}

TEST_F(Trace, LinesOfThreadsAndProcessesStayWhole)
{
    constexpr int writers = 4, each = 500;
    ASSERT_EQ(output_file(path_), 0);
    auto write = [](int writer) {
        const std::string line =
            "W" + std::to_string(writer) + "(" + std::string(300, static_cast<char>('a' + writer)) + ")";
        for (int i = 0; i < each; ++i)
            print(line.c_str(), 1e-6);
    };
    const pid_t child = fork();
    if (child == 0) {
        write(writers);
        _exit(0);
    }
    std::vector<std::thread> threads;
    for (int w = 0; w < writers; ++w)
        threads.emplace_back(write, w);
    for (auto& thread : threads)
        thread.join();
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    std::vector<int> seen(writers + 1);
    for (const std::string& line : lines()) {
        const int w = line.at(13) - '0';
        ASSERT_EQ(line, "QNM_VERBOSE W" + std::to_string(w) + "(" +
                            std::string(300, static_cast<char>('a' + w)) + ") 1.000us");
        ++seen.at(static_cast<std::size_t>(w));
    }
    EXPECT_EQ(seen, std::vector<int>(writers + 1, each));
}

TEST_F(Trace, AReaderThatLeavesDoesNotEndTheProgram)
{
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    const int reader = open(path_.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ASSERT_EQ(output_file(path_), 0);
    print("A()", 1e-6);
    char text[64] = {};
    EXPECT_EQ(read(reader, text, sizeof text), 24);
    EXPECT_STREQ(text, "QNM_VERBOSE A() 1.000us\n");
    close(reader);
    print("B()", 1e-6);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

// In a process of its own, since the environment is read once.
TEST_F(Trace, EnvironmentSwitchesItOnBeforeTheFirstQuestion)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const auto& [mode, expected] :
         {std::pair{"1", 1}, {"2", 2}, {"0", 0}, {"7", 0}, {"10", 0}, {"", 0}}) {
        setenv("QNM_VERBOSE", mode, 1);
        EXPECT_EXIT(std::_Exit(*by_value<const int*>("qnm_serv_verbose_mode")),
                    testing::ExitedWithCode(expected), "")
            << mode;
    }
    setenv("QNM_VERBOSE", "1", 1);
    EXPECT_EXIT((print("FIRST()", 1e-9), std::_Exit(0)), testing::ExitedWithCode(0),
                "^# QNM_VERBOSE open core .*\nQNM_VERBOSE FIRST\\(\\) 1.000ns\n$");
    setenv("QNM_VERBOSE_OUTPUT_FILE", path_.c_str(), 0); // the process within has this one's
    EXPECT_EXIT((print("SECOND()", 1e-9), std::_Exit(0)), testing::ExitedWithCode(0), "^$");
    const auto all = lines();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[1], "QNM_VERBOSE SECOND() 1.000ns");
    unsetenv("QNM_VERBOSE");
    unsetenv("QNM_VERBOSE_OUTPUT_FILE");
}

// A locale of the test's own, which has nothing but a decimal comma. localedef grumbles over what is missing.
TEST_F(Trace, NumbersAreThoseOfTheCLocale)
{
    const std::filesystem::path folder = path_ + ".locales";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "source") << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\n"
                                        "END LC_NUMERIC\n";
    const std::string make =
        "localedef -c -i " + (folder / "source").string() + " " + (folder / "comma").string();
    std::ignore = std::system((make + " 2> /dev/null").c_str());
    setenv("LOCPATH", folder.c_str(), 1);
    ASSERT_NE(setlocale(LC_NUMERIC, "comma"), nullptr);
    char text[16];
    ASSERT_EQ(std::snprintf(text, sizeof text, "%.1f", 1.5), 3);
    EXPECT_STREQ(text, "1,5");
    ASSERT_EQ(output_file(path_), 0);
    print("A()", 1.5);
    EXPECT_EQ(lines().back(), "QNM_VERBOSE A() 1.500s");
    using Format = int (*)(char*, std::size_t, std::size_t, const char*, ...);
    reinterpret_cast<Format>(core_symbol("qnm_serv_snprintf_s"))(text, sizeof text, 15, "%f", 2.5);
    EXPECT_STREQ(text, "2.500000");
    std::snprintf(text, sizeof text, "%.1f", 1.5);
    EXPECT_STREQ(text, "1,5"); // the program's own numbers stay
    setlocale(LC_NUMERIC, "C");
    unsetenv("LOCPATH");
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace qnm::test
