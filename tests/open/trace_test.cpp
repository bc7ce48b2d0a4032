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
    return service("verbose", mode);
}
int output_file(const std::string& name)
{
    return service("verbose_output_file", name.c_str());
}
void print(const std::string& line, double seconds = 1e-6, int enabled = 1)
{
    service("print_verbose_info", enabled, line.c_str(), seconds);
}

// A folder of its own for each test; tracing is off and on standard error again at the end.
class Trace : public testing::Test {
protected:
    Trace() { std::filesystem::create_directory(folder_); }
    ~Trace() override
    {
        verbose(0);
        output_file("");
        std::filesystem::remove_all(folder_);
    }
    std::vector<std::string> lines() const
    {
        std::vector<std::string> all;
        std::ifstream file(path_);
        for (std::string line; std::getline(file, line);)
            all.push_back(line);
        return all;
    }
    // Here, and the same in a process that a test starts.
    const std::string folder_ = std::filesystem::current_path() /
                                (std::string("trace-of-") +
                                 testing::UnitTest::GetInstance()->current_test_info()->name()),
                      path_ = folder_ + "/trace";
};

TEST_F(Trace, ModeWordIsLive)
{
    ASSERT_EQ(output_file(path_), 0);
    const int* word = service<const int*>("verbose_mode");
    EXPECT_EQ(*word, 0);
    const int asked[][3] = {{2, 0, 2}, {3, -1, 2}, {-1, -1, 2}, {1, 2, 1}, {0, 1, 0}};
    for (const auto& [mode, answer, now] : asked) {
        EXPECT_EQ(verbose(mode), answer) << mode;
        EXPECT_EQ(*word, now) << mode;
    }
    const int* to_file = service<const int*>("verbose_output_file_mode");
    EXPECT_EQ(*to_file, 1);
    EXPECT_EQ(output_file("/no/such/folder/file"), 1);
    EXPECT_EQ(*to_file, 1);
    EXPECT_EQ(output_file(""), 0);
    EXPECT_EQ(*to_file, 0);
}

TEST_F(Trace, LinesHaveNameArgumentsAndTime)
{
    ASSERT_EQ(output_file(path_), 0);
    for (const int mode : {1, 0, 1}) // one head only
        verbose(mode);
    std::vector<std::string> expected{""};
    // Transforms say 0 and know their time, copies that say so do not.
    const std::string product = "DGEMM(N,T,2,3,4)", transform = "FFT(dcfo2,...)", copy = "QNM_DOMATCOPY(C,T)";
    for (const auto& [line, seconds, enabled, text] : {std::tuple{product, -0.0, 1, "0.000ns"},
                                                       {product, 9.9996e-9, 1, "10.00ns"},
                                                       {product, 123.44e-9, 1, "123.4ns"},
                                                       {product, 999.96e-9, 1, "1.000us"},
                                                       {product, 45.678e-3, 1, "45.68ms"},
                                                       {product, 12345.6, 1, "12346s"},
                                                       {copy, 0.5, 1, "500.0ms"},
                                                       {copy, 1e9, 0, "-"},
                                                       {product, -1.0, 1, "-"},
                                                       {transform, 2e-6, 0, "2.000us"}}) {
        print(line, seconds, enabled);
        expected.push_back("QNM_VERBOSE " + line + " " + text);
    }
    verbose(0);
    ASSERT_EQ(output_file(path_), 0);     // what is there stays
    print(std::string(10000, 'x'), 1e-3); // a long line keeps its time
    auto all = lines();
    EXPECT_TRUE(std::exchange(all.at(0), "").starts_with("# QNM_VERBOSE open core ")) << lines()[0];
    const std::string& last = expected.emplace_back(all.back());
    EXPECT_TRUE(last.size() > 3900 && last.size() < 4096 && last.ends_with("x 1.000ms")) << last.size();
    EXPECT_EQ(all, expected);
}

TEST_F(Trace, LinesOfThreadsAndProcessesStayWhole)
{
    ASSERT_EQ(output_file(path_), 0);
    const auto write = [](char writer) {
        for (int i = 0; i < 500; ++i)
            print(std::string(300, writer));
    };
    const pid_t child = fork();
    if (child == 0) {
        write('0');
        _exit(0);
    }
    std::vector<std::thread> threads;
    for (const char writer : {'1', '2', '3', '4'})
        threads.emplace_back(write, writer);
    for (auto& thread : threads)
        thread.join();
    waitpid(child, nullptr, 0);
    auto found = lines();
    std::ranges::sort(found);
    ASSERT_EQ(found.size(), 5U * 500U);
    for (std::size_t i = 0; i < found.size(); ++i)
        ASSERT_EQ(found[i], "QNM_VERBOSE " + std::string(300, "01234"[i / 500]) + " 1.000us");
}

TEST_F(Trace, AReaderThatLeavesDoesNotEndTheProgram)
{
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    const int reader = open(path_.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ASSERT_EQ(output_file(path_), 0);
    print("A()");
    char text[64] = {};
    EXPECT_EQ(read(reader, text, sizeof text), 24);
    EXPECT_STREQ(text, "QNM_VERBOSE A() 1.000us\n");
    close(reader);
    print("B()");
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

// In a process of its own, since the environment is read once.
TEST_F(Trace, EnvironmentSwitchesItOnBeforeTheFirstQuestion)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const auto& [mode, expected] : {std::pair{"2", 2}, {"7", 0}, {"10", 0}, {"", 0}}) {
        setenv("QNM_VERBOSE", mode, 1);
        EXPECT_EXIT(std::_Exit(*service<const int*>("verbose_mode")), testing::ExitedWithCode(expected), "")
            << mode;
    }
    setenv("QNM_VERBOSE", "1", 1);
    EXPECT_EXIT((print("FIRST()"), std::_Exit(0)), testing::ExitedWithCode(0),
                "^# QNM_VERBOSE open core .*\nQNM_VERBOSE FIRST\\(\\) 1.000us\n$");
    unsetenv("QNM_VERBOSE");
}

// A locale of the test's own, which has nothing but a decimal comma. localedef grumbles over what is missing.
TEST_F(Trace, NumbersAreThoseOfTheCLocale)
{
    std::ofstream(folder_ + "/source")
        << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\nEND LC_NUMERIC\n";
    std::ignore =
        std::system(("cd " + folder_ + " && localedef -c -i source $PWD/comma 2> /dev/null").c_str());
    setenv("LOCPATH", folder_.c_str(), 1);
    ASSERT_NE(setlocale(LC_NUMERIC, "comma"), nullptr);
    char text[16], own[16];
    support::call(core_symbol("qnm_serv_snprintf_s"), text, sizeof text, 15L, "%.1f", 2.5);
    EXPECT_STREQ(text, "2.5");
    ASSERT_EQ(output_file(path_), 0);
    print("A()", 1.5);
    EXPECT_EQ(lines().back(), "QNM_VERBOSE A() 1.500s");
    std::snprintf(own, sizeof own, "%.1f", 1.5);
    EXPECT_STREQ(own, "1,5"); // the program's own numbers stay
    setlocale(LC_NUMERIC, "C");
    unsetenv("LOCPATH");
}

} // namespace
} // namespace qnm::test
