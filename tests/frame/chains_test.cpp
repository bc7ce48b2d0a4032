// Programs with handlers of their own: who takes a report, in every choice of names, and that it arrives
// once.
#include "published.hpp"

#include <bit>
#include <cstdio>
#include <gtest/gtest.h>

namespace qnm {
namespace {

/// What a program of this folder prints. A program that walks in a loop is ended.
std::string output(const std::string& program, const std::string& argument = "",
                   const std::string& preload = "", int wanted_exit = 0)
{
    const std::string command = "ulimit -t 10; LD_PRELOAD='" + preload + "' exec " + QNM_CHAIN_PROGRAMS "/" +
                                program + " " + argument;
    FILE* const pipe = popen(command.c_str(), "r");
    std::string text;
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;)
        text.push_back(static_cast<char>(c));
    EXPECT_EQ(pclose(pipe), wanted_exit << 8) << command;
    return text;
}

/// The first link that a choice replaces, else the core's default. Bit i of a choice stands for the i-th
/// link.
std::string taker(const published::Chain& chain, unsigned choice)
{
    return choice == 0 ? chain.core : chain.links.at(static_cast<std::size_t>(std::countr_zero(choice)));
}

/// The libraries of a choice among the five handlers from this one on.
std::string preloads(unsigned first, unsigned choice)
{
    std::string list;
    for (unsigned i = 0; i < 5; ++i)
        if ((choice >> i & 1) != 0)
            list += QNM_CHAIN_PROGRAMS "/libown_handler_" + std::to_string(first + i) + ".so ";
    return list;
}

/// What the program prints when this handler gets its reports.
std::string reports_at(const std::string& handler)
{
    std::string text;
    for (const char* report : {"DGEMM \" 6 3", "DGEMM \" 6 8", "DGEMM \" 6 13", "cblas_dgemm\" 11 5"})
        text += handler + " \"" + report + "\n";
    return text + "end\n";
}

TEST(ErrorChain, FirstNameTakesTheReport)
{
    for (unsigned choice = 0; choice < 32; ++choice) { // subsets of the five links
        const std::string wanted = reports_at(taker(published::chains()[0], choice)),
                          number = std::to_string(choice);
        EXPECT_EQ(output("own_" + number), wanted);
        if (!QNM_SANITIZED) { // asks for position-independent programs, and has to be the first library
            EXPECT_EQ(output("fixed_" + number), wanted);
            EXPECT_EQ(output("own_0", "", preloads(0, choice)), wanted);
        }
    }
    if (QNM_SANITIZED)
        return;
    // The links of one chain, here all of them, in a program and in libraries at once: the order of the names
    // decides first, then that of the loader. Other chains have no say.
    EXPECT_EQ(output("own_16", "", preloads(0, 2)), reports_at("xerbla"));
    EXPECT_EQ(output("own_4", "", preloads(0, 24)), reports_at("xerbla_"));
    EXPECT_EQ(output("own_0", "", preloads(5, 31) + preloads(10, 31)), reports_at("qnm_serv_default_xerbla"));
}

TEST(OtherChains, FirstNameTakesTheCall)
{
    const std::string progress = " \"STAGE 1\" 7 1\n", pivot = " \"PIVOT\" 5 -1\n";
    EXPECT_EQ(output("own_others", "progress"), "qnm_progress_" + progress);
    EXPECT_EQ(output("own_others", "pivot"), "QNM_PARDISO_PIVOT" + pivot);
    for (const unsigned choice : {0, 1, 2, 4, 8, 16, 24, 30, 31})
        if (choice == 0 || !QNM_SANITIZED) {
            EXPECT_EQ(output("own_0", "progress", preloads(5, choice)),
                      taker(published::chains()[1], choice) + progress);
            EXPECT_EQ(output("own_0", "pivot", preloads(10, choice)),
                      taker(published::chains()[2], choice) + pivot);
        }
}

TEST(Handlers, MayLeaveInAnyMannerAndCallTheLibraryAgain)
{
    const std::string report = "xerbla_ \"DGEMM \" 3\n", product = "qnm_blas_dgemm\n";
    EXPECT_EQ(output("chain_manners", "exit", "", 43), report);
    EXPECT_EQ(output("chain_manners", "longjmp"),
              report + "back with 3\n" + report + "back with 3\n" + product + "end\n");
    EXPECT_EQ(output("chain_manners", "callback"),
              report + product + report + product + report + product + "end\n");
    EXPECT_EQ(output("chain_manners", "cblas"),
              "cblas_xerbla own 1\nxerbla_ \"cblas_chpr2\" 1000\n" + product + "end\n");
}

} // namespace
} // namespace qnm
