#include "page.hpp"
#include "report.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace qnm::run {
namespace {

TEST(Report, ReadsCallsByTheCatalogueAndPassesOverOtherLines)
{
    using Sizes = std::vector<std::int64_t>;
    CallReader reader;
    for (const auto& [line, name, names, sizes, is_query, refused] :
         {std::tuple{"DGEMM(N,T,4,5,6,0x1,0x2,40,0x3,50,0x4,0x5,60)", "DGEMM", "m n k ", Sizes{4, 5, 6},
                     false, 0},
          {"ZDOTU_64(0x7f,9000000000,0x8f,1,0x9f,-1)", "ZDOTU_64", "n ", Sizes{9000000000}, false, 0},
          {"DGBMV(N,-1,7,2,3,0x1,0x2,40,0x3,1,0x4,0x5,1)", "DGBMV", "m n kl ku ", Sizes{-1, 7, 2, 3}, false,
           2},
          {"DCABS1(0x1)", "DCABS1", "", Sizes{}, false, 0},
          {"DTRSV(U,N,(,3,(nil),4,0x2,1)", "DTRSV", "n ", Sizes{3}, false, 3},
          {"DTRSV(U,,,U,3,(nil),2,0x2,0)", "DTRSV", "n ", Sizes{3}, false, 2},
          {"DTRSV(U,N,U,3,(nil),2,0x2,0)", "DTRSV", "n ", Sizes{3}, false, 6},
          {"DGEMM(N,t,4,5,6,0x1,0x2,4,0x3,4,0x4,0x5,4)", "DGEMM", "m n k ", Sizes{4, 5, 6}, false, 10},
          // a letter that is a digit, a procedure or an array ahead of the sizes, a copy that is told with
          // blanks
          {"DLANGE(1,4,3,0x1,4,0x2)", "DLANGE", "m n ", Sizes{4, 3}, false, 0},
          {"ZGEESX(V,S,0x9,N,50,0x1,50,0,0x2,0x3,50,0x4,0x5,0x6,100,0x7,0x8,0)", "ZGEESX", "n ", Sizes{50},
           false, 0},
          {"DTREVC(R,B,0x1,50,0x2,50,0x3,50,0x4,50,100,0x5,0x6,0)", "DTREVC", "n mm ", Sizes{50, 100}, false,
           0},
          {"QNM_DOMATCOPY(C, N, 30, 20, 1.500000, 0x1, 30, 0x2, 30)", "QNM_DOMATCOPY", "rows cols ",
           Sizes{30, 20}, false, 0},
          {"vdRngGaussian(0,0x1,1000,0x2,0.000000,1.000000)", "vdRngGaussian", "n ", Sizes{1000}, false, 0},
          {"DSYEV(V,U,50,0x1,50,0x2,0x3,-1,0)", "DSYEV", "n ", Sizes{50}, true, 0},
          {"FFT(srbi288,input_strides:{0,1},output_strides:{0,1},bScale:0.5,tLim:0,desc:0x9)", "FFT srbi", "",
           Sizes{288}, false, 0},
          {"FFT(dcfo/"
           "64:-100:7x32:1:64v8,input_strides:{2048,-100,1},output_strides:{0,7,64},tLim:0,desc:0x9)",
           "FFT dcfo", "", Sizes{64, 32}, false, 0},
          {"QNM_GET_FORMAT_COMPACT()", "QNM_GET_FORMAT_COMPACT", "", Sizes{}, false, 0},
          {"NOBODY_KNOWS(1,2)", "NOBODY_KNOWS", "", Sizes{}, false, 0},
          {"DGEMM(N,T,4,5", "DGEMM", "m n k ", Sizes{4, 5}, false, 0}}) { // a long line has lost its end
        SCOPED_TRACE(line);
        const auto call = reader.read(line);
        ASSERT_TRUE(call);
        EXPECT_EQ(call->name, name);
        std::string all;
        for (const std::string& size : reader.size_names(call->name))
            all += size + " ";
        EXPECT_EQ(all, names);
        EXPECT_EQ(call->sizes, sizes);
        EXPECT_EQ(call->is_query, is_query);
        EXPECT_EQ(call->refused, refused);
    }
    for (const char* line : {"", "# QNM_VERBOSE library 2.0 (64-bit integers) 2 threads", "FFT(dcfo)", "(N)",
                             "NOBODY", "NOBODY(1"})
        EXPECT_FALSE(reader.read(line)) << line;
    EXPECT_EQ(reader.argument_name("DGEMM", 10), "ldb");
    for (const char* line : {"no plan: ", "no plan: (n=3)", "no plan: fftw_plan"})
        EXPECT_FALSE(parse_refused_plan(line)) << line;
    for (const char* line :
         {"# refused ", "# refused DGESV", "# refused DGESV 0", "# refused DGESV x", "# refused 3"})
        EXPECT_FALSE(parse_refused_by_engine(line)) << line;
}

TEST(Report, WritesDurationsWithThreeDigits)
{
    for (const auto& [seconds, text] : {std::pair{0.0, "0.00ns"},
                                        {1.234e-9, "1.23ns"},
                                        {9.996e-6, "10.0us"},
                                        {0.0999, "99.9ms"},
                                        {0.99949, "999ms"},
                                        {0.99951, "1.00s"},
                                        {4321.0, "4321s"}})
        EXPECT_EQ(duration_text(seconds), text);
}

TEST(Report, TotalsByRoutineQueriesAndRefusedCallsApart)
{
    Totals totals;
    EXPECT_EQ(report_text(totals), "no traced call was made\n");
    for (const auto& [line, microseconds, thread] :
         {std::tuple{"# QNM_VERBOSE heading", 1, 1},
          {"DSCAL(3,0x1,0x2,1)", 1, 1},
          {"DGEMV(N,4,50,0x1,0x2,4,0x3,1,0x4,0x5,1)", 4, 1},
          {"DGEMV(N,30,5,0x1,0x2,30,0x3,1,0x4,0x5,1)", 2, 1},
          {"DGEMV(N,31,5,0x1,0x2,30,0x3,1,0x4,0x5,1)", 2, 1},
          {"DGEMV(N,32,5,0x1,0x2,30,0x3,1,0x4,0x5,1)", 2, 1},
          {"DSCAL_64(8,0x1,0x2,1)", 1, 1},
          {"# refused DGETRS 1", -1, 2},
          {"# refused DSYEV_X 3", -1, 3},
          {"DGELS(N,3,2,1,0x1,3,0x2,3,0x3,-1,0)", 3, 1},
          {"DGETRS_64(X,3,1,0x1,3,0x2,0x3,3,-1)", 1, 2},
          {"FFT(dcfo4x1024*12,input_strides:{0,1024,1},tLim:0,desc:0x9)", 20, 1},
          {"FFT(dcfo100*3:100:120,input_strides:{0,1},tLim:0,desc:0x9)", 12, 1},
          {"FFT(dcfo100,input_strides:{0,1},tLim:0,desc:0x9)", -1, 1}})
        totals.add({.process = 1,
                    .thread = thread,
                    .start = 5'000'000,
                    .seconds = 1e-6 * microseconds,
                    .line = line});
    EXPECT_EQ(
        report_text(totals),
        "routine    calls  queries  refused   total    mean   share  largest sizes\n"
        "FFT dcfo       3        0        0  32.0us  10.7us   80.0%  100 1024 *12\n"
        "DGEMV          2        0        2  6.00us  3.00us   15.0%  m=30 n=50\n"
        "DSCAL          1        0        0  1.00us  1.00us    2.5%  n=3\n"
        "DSCAL_64       1        0        0  1.00us  1.00us    2.5%  n=8\n"
        "DGELS          0        1        0  0.00ns       -    0.0%\n"
        "DGETRS_64      0        0        1  0.00ns       -    0.0%\n"
        "total          7        1        3  40.0us  5.71us  100.0%\n"
        "\n"
        "refused calls of  position  argument  calls  the first\n"
        "DGEMV                    6  lda           2  at 5.00ms: DGEMV(N,31,5,0x1,0x2,30,0x3,1,0x4,0x5,1)\n"
        "DGETRS_64                1  trans         1  at 5.00ms: DGETRS_64(X,3,1,0x1,3,0x2,0x3,3,-1)\n");
}

// Calls of several threads that lie above each other are the run's time once.
TEST(Report, TimeInsideIsThatOfTheRun)
{
    Totals totals;
    for (const auto& [thread, begin, end] :
         {std::tuple{1, 10, 20}, {2, 15, 30}, {1, 40, 50}, {3, 5, 12}, {1, 60, 61}, {2, 32, 55}, {2, 55, 60}})
        totals.add({.process = 1,
                    .thread = thread,
                    .start = begin * 1'000'000,
                    .seconds = (end - begin) * 1e-3,
                    .line = "DSCAL(3,0x1,0x2,1)"});
    EXPECT_NEAR(totals.inside(), 54e-3, 1e-9);
    RunHead head;
    head.program = "p";
    head.seconds = 0.1;
    EXPECT_EQ(head_line(totals, head), "p ran 100ms, 54.0ms of it (54.0%) inside of the library");
    double sum = 0, of_bins = 0;
    for (const Totals::Lane& lane : totals.lanes()) {
        sum += lane.seconds;
        for (const Totals::Lane::Bin& bin : lane.bins)
            of_bins += bin.seconds;
    }
    EXPECT_NEAR(sum, 71e-3, 1e-9);
    EXPECT_NEAR(of_bins, sum, 1e-9);
}

// Whatever is called, by however many: routines that nobody knows, each size, each position, long lines of
// characters that HTML would take for its own.
TEST(Report, APageStaysSmall)
{
    Totals totals;
    const std::string long_line = std::string(400, '<') + "&\"\x01\xff";
    for (int i = 0; i < 300'000; ++i) {
        const std::string line = i % 3 == 0 ? "R" + std::to_string(i % 5000) + "(1," + long_line + ")"
                                 : i % 3 == 1
                                     ? "DAXPY(" + std::to_string(1LL << (i % 31)) + ",0x1,0x2,1,0x3,1)"
                                     : "FFT(" + std::string(1, static_cast<char>('a' + i % 26)) +
                                           std::string(1, static_cast<char>('a' + i / 26 % 26)) +
                                           std::to_string(1LL << (i % 37)) + ")";
        totals.add({.process = i % 7,
                    .thread = i % 100,
                    .start = i * 3'000'000LL,
                    .seconds = std::pow(10.0, -8 + i % 11),
                    .line = line});
    }
    RunHead head;
    head.seconds = 900;
    const std::string page = page_text(totals, head);
    EXPECT_LT(page.size(), 2'000'000U);
    EXPECT_EQ(page.find("<<"), page.npos);
    EXPECT_NE(page.find("(others)"), page.npos);
    EXPECT_NE(page.find("all others"), page.npos);
    std::uint64_t calls = 0;
    for (const auto& [name, routine] : totals.routines())
        calls += routine.calls;
    EXPECT_EQ(calls, 300'000U);
}

} // namespace
} // namespace qnm::run
