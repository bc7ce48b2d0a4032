// Programs with handlers of their own: who takes a report, in every choice of names, and that it arrives
// once.
#include "published.hpp"

#include <array>
#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace qnm {
namespace {

constexpr int choices = 32; // subsets of the five links

struct Outcome {
    std::string output;
    int status = 0;
};

/// Runs a program of this folder. A program that walks in a loop ends by the alarm.
Outcome run(const std::string& program, const std::string& argument = "", const std::string& preload = "")
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        throw std::runtime_error("no pipe");
    const std::string path = QNM_CHAIN_PROGRAMS "/" + program;
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        if (!preload.empty())
            setenv("LD_PRELOAD", preload.c_str(), 1);
        alarm(10);
        execl(path.c_str(), path.c_str(), argument.empty() ? nullptr : argument.c_str(), nullptr);
        _exit(127);
    }
    close(ends[1]);
    Outcome outcome;
    std::array<char, 4096> buffer{};
    for (ssize_t got = 0; (got = read(ends[0], buffer.data(), buffer.size())) > 0;)
        outcome.output.append(buffer.data(), static_cast<std::size_t>(got));
    close(ends[0]);
    waitpid(child, &outcome.status, 0);
    return outcome;
}

void expect_exit(const Outcome& outcome, int status)
{
    EXPECT_TRUE(WIFEXITED(outcome.status)) << "ended by signal " << WTERMSIG(outcome.status);
    EXPECT_EQ(WEXITSTATUS(outcome.status), status);
}

/// The first link that a choice replaces, else the core's default.
std::string taker(const published::Chain& chain, int choice)
{
    for (std::size_t i = 0; i < chain.links.size(); ++i)
        if ((choice >> i & 1) != 0)
            return chain.links[i];
    return chain.core;
}

std::string preloads(std::size_t first, int choice)
{
    std::string list;
    for (std::size_t i = 0; i < 5; ++i)
        if ((choice >> i & 1) != 0)
            list += QNM_CHAIN_PROGRAMS "/libown_handler_" + std::to_string(first + i) + ".so ";
    return list;
}

/// What the program prints when this handler gets its reports.
void expect_reports_at(const std::string& handler, const Outcome& outcome)
{
    expect_exit(outcome, 0);
    EXPECT_EQ(outcome.output, handler + " \"DGEMM \" 6 3\n" + handler + " \"DGEMM \" 6 8\n" + handler +
                                  " \"DGEMM \" 6 13\n" + handler + " \"cblas_dgemm\" 11 5\nend\n");
}

TEST(ErrorChain, FirstNameOfAProgramTakesTheReport)
{
    for (int choice = 0; choice < choices; ++choice) {
        SCOPED_TRACE(choice);
        expect_reports_at(taker(published::chains()[0], choice), run("own_" + std::to_string(choice)));
    }
}

TEST(ErrorChain, SoInAProgramAtAFixedAddress)
{
    if (QNM_SANITIZED)
        GTEST_SKIP() << "sanitizers ask for position-independent programs";
    for (int choice = 0; choice < choices; ++choice) {
        SCOPED_TRACE(choice);
        expect_reports_at(taker(published::chains()[0], choice), run("fixed_" + std::to_string(choice)));
    }
}

TEST(ErrorChain, SoInPreloadedLibraries)
{
    if (QNM_SANITIZED)
        GTEST_SKIP() << "a sanitizer has to be the first library of a program";
    for (int choice = 0; choice < choices; ++choice) {
        SCOPED_TRACE(choice);
        expect_reports_at(taker(published::chains()[0], choice), run("own_0", "", preloads(0, choice)));
    }
    // The links of one chain, here all of them, in a program and in libraries at once: the order of the names
    // decides first, then that of the loader.
    expect_reports_at("xerbla", run("own_16", "", preloads(0, 2)));
    expect_reports_at("xerbla_", run("own_4", "", preloads(0, 24)));
}

TEST(OtherChains, FirstNameTakesTheCall)
{
    const auto& progress = published::chains()[1];
    const auto& pivot = published::chains()[2];
    EXPECT_EQ(run("own_0", "progress").output, progress.core + " \"STAGE 1\" 7 1\n");
    EXPECT_EQ(run("own_0", "pivot").output, pivot.core + " \"PIVOT\" 5 -1\n");
    EXPECT_EQ(run("own_others", "progress").output, "qnm_progress_ \"STAGE 1\" 7 1\n");
    EXPECT_EQ(run("own_others", "pivot").output, "QNM_PARDISO_PIVOT \"PIVOT\" 5 -1\n");
    if (QNM_SANITIZED)
        return;
    for (const int choice : {1, 2, 4, 8, 16, 24, 30, 31}) {
        SCOPED_TRACE(choice);
        EXPECT_EQ(run("own_0", "progress", preloads(5, choice)).output,
                  taker(progress, choice) + " \"STAGE 1\" 7 1\n");
        EXPECT_EQ(run("own_0", "pivot", preloads(10, choice)).output,
                  taker(pivot, choice) + " \"PIVOT\" 5 -1\n");
    }
    // The chains do not meet.
    expect_reports_at("qnm_serv_default_xerbla", run("own_0", "", preloads(5, 31) + preloads(10, 31)));
}

TEST(Handlers, MayEndTheProgram)
{
    const Outcome outcome = run("chain_manners", "exit");
    expect_exit(outcome, 43);
    EXPECT_EQ(outcome.output, "xerbla_ \"DGEMM \" 3\n");
}

TEST(Handlers, MayLeaveByAJump)
{
    const Outcome outcome = run("chain_manners", "longjmp");
    expect_exit(outcome, 0);
    EXPECT_EQ(outcome.output, "xerbla_ \"DGEMM \" 3\nback with 3\nxerbla_ \"DGEMM \" 3\nback with 3\n"
                              "qnm_blas_dgemm\nend\n");
}

TEST(Handlers, MayThrowThroughAnEntry)
{
    const Outcome outcome = run("chain_manners", "throw");
    expect_exit(outcome, 0);
    EXPECT_EQ(outcome.output, "xerbla_ \"DGEMM \" 3\ncaught 3\nqnm_blas_dgemm\nend\n");
}

TEST(Handlers, MayCallTheLibraryAgain)
{
    const Outcome outcome = run("chain_manners", "callback");
    expect_exit(outcome, 0);
    EXPECT_EQ(outcome.output, "xerbla_ \"DGEMM \" 3\nqnm_blas_dgemm\nxerbla_ \"DGEMM \" 3\nqnm_blas_dgemm\n"
                              "xerbla_ \"DGEMM \" 3\nqnm_blas_dgemm\nend\n");
}

TEST(Handlers, MayReplaceTheReporterOfTheCInterface)
{
    const Outcome outcome = run("chain_manners", "cblas");
    expect_exit(outcome, 0);
    EXPECT_EQ(outcome.output, "cblas_xerbla own 1\nxerbla_ \"cblas_chpr2\" 1000\nqnm_blas_dgemm\nend\n");
}

} // namespace
} // namespace qnm
