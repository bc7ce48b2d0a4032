#include "report.hpp"

#include <gtest/gtest.h>

namespace qnm::run {
namespace {

TEST(Report, ReadsCallsAndPassesOverOtherLines)
{
    using Sizes = std::vector<std::int64_t>;
    for (const auto& [line, name, count, sizes] :
         {std::tuple{"DGEMM(N,T,4,5,6,0x1,0x2,40,0x3,50,0x4,0x5,60)", "DGEMM", 13U, Sizes{4, 5, 6}},
          {"ZDOTU_64(0x7f,9000000000,0x8f,1,0x9f,-1)", "ZDOTU_64", 6U, Sizes{9000000000}},
          {"DGBMV(N,-1,7,2,3,0x1,0x2,40,0x3,1,0x4,0x5,1)", "DGBMV", 13U, Sizes{-1, 7, 2, 3}},
          {"DCABS1(0x1)", "DCABS1", 1U, Sizes{}},
          {"DTRSV(U,N,(,3,(nil),4,0x2,1)", "DTRSV", 8U, Sizes{3}},
          {"FFT(srbi288,input_strides:{0,1},output_strides:{0,1},bScale:0.5,tLim:0,desc:0x9)", "FFT srbi", 8U,
           Sizes{288}},
          {"FFT(dcfo/"
           "64:-100:7x32:1:64v8,input_strides:{2048,-100,1},output_strides:{0,7,64},tLim:0,desc:0x9)",
           "FFT dcfo", 9U, Sizes{64, 32}},
          {"QNM_GET_FORMAT_COMPACT()", "QNM_GET_FORMAT_COMPACT", 0U, Sizes{}}}) {
        SCOPED_TRACE(line);
        const auto call = parse_call(line);
        ASSERT_TRUE(call);
        EXPECT_EQ(call->name, name);
        EXPECT_EQ(call->arguments.size(), count);
        EXPECT_EQ(call->sizes, sizes);
    }
    for (const char* line :
         {"", "# QNM_VERBOSE library 2.0 (64-bit integers) 2 threads", "DGEMM(N,T,4", "FFT(dcfo)", "(N)"})
        EXPECT_FALSE(parse_call(line)) << line;
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

TEST(Report, TotalsByRoutineWithTheLargestOfEachSize)
{
    Report report;
    EXPECT_EQ(report.text(), "no traced call was made\n");
    for (const char* line : {"no plan: ", "no plan: (n=3)", "no plan: fftw_plan"})
        EXPECT_FALSE(parse_refused_plan(line)) << line;
    for (const auto& [line, microseconds] :
         {std::pair{"# QNM_VERBOSE heading", 1},
          {"DSCAL(3,0x1,0x2,1)", 1},
          {"DGEMV(N,4,50,0x1,0x2,4,0x3,1,0x4,0x5,1)", 4},
          {"DGEMV(N,30,5,0x1,0x2,30,0x3,1,0x4,0x5,1)", 2},
          {"DSCAL_64(8,0x1,0x2,1)", 1},
          {"FFT(dcfo4x1024*12,input_strides:{0,1024,1},tLim:0,desc:0x9)", 20},
          {"FFT(dcfo100*3:100:120,input_strides:{0,1},tLim:0,desc:0x9)", 12},
          {"FFT(dcfo100,input_strides:{0,1},tLim:0,desc:0x9)", -1}})
        report.add({.seconds = 1e-6 * microseconds, .line = line});
    EXPECT_EQ(report.text(), "routine         calls      total       mean   share  largest sizes\n"
                             "FFT dcfo            3     32.0us     10.7us   80.0%  100 1024 *12\n"
                             "DGEMV               2     6.00us     3.00us   15.0%  30 50\n"
                             "DSCAL               1     1.00us     1.00us    2.5%  3\n"
                             "DSCAL_64            1     1.00us     1.00us    2.5%  8\n"
                             "total               7     40.0us     5.71us  100.0%\n");
}

} // namespace
} // namespace qnm::run
