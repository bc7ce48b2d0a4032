#include "report.hpp"

#include <gtest/gtest.h>

namespace qnm::run {
namespace {

TEST(Report, ReadsCallsAndPassesOverOtherLines)
{
    using Sizes = std::vector<std::int64_t>;
    for (const auto& [line, name, count, seconds, sizes] :
         {std::tuple{"DGEMM(N,T,4,5,6,0x1,0x2,40,0x3,50,0x4,0x5,60) 1.250us", "DGEMM", 13U, 1.25e-6,
                     Sizes{4, 5, 6}},
          {"ZDOTU_64(0x7f,9000000000,0x8f,1,0x9f,-1) 12ms", "ZDOTU_64", 6U, 0.012, Sizes{9000000000}},
          {"DGBMV(N,-1,7,2,3,0x1,0x2,40,0x3,1,0x4,0x5,1) 2.5s", "DGBMV", 13U, 2.5, Sizes{-1, 7, 2, 3}},
          {"DCABS1(0x1) 35ns threads:2", "DCABS1", 1U, 35e-9, Sizes{}},
          {"DTRSV(U,N,(,3,(nil),4,0x2,1) 1us", "DTRSV", 8U, 1e-6, Sizes{3}},
          {"DSCAL(2,0x1,0x2,1) -", "DSCAL", 4U, 0.0, Sizes{2}},
          {"FFT(srbi288,input_strides:{0,1},output_strides:{0,1},bScale:0.5,tLim:0,desc:0x9) 2us", "FFT srbi",
           8U, 2e-6, Sizes{288}},
          {"FFT(dcfo/"
           "64:-100:7x32:1:64v8,input_strides:{2048,-100,1},output_strides:{0,7,64},tLim:0,desc:0x9) 3us",
           "FFT dcfo", 9U, 3e-6, Sizes{64, 32}},
          {"QNM_GET_FORMAT_COMPACT() 0ns", "QNM_GET_FORMAT_COMPACT", 0U, 0.0, Sizes{}}}) {
        SCOPED_TRACE(line);
        const std::string traced = std::string("QNM_VERBOSE ") + line;
        const auto call = parse_call(traced);
        ASSERT_TRUE(call);
        EXPECT_EQ(call->name, name);
        EXPECT_EQ(call->arguments.size(), count);
        EXPECT_NEAR(call->seconds, seconds, 1e-12 * seconds);
        EXPECT_EQ(call->sizes, sizes);
    }
    for (const char* line :
         {"", "DGEMM(N) 1us", "QNM_VERBOSE library 2.0 (64-bit integers) 2 threads",
          "QNM_VERBOSE DGEMM(N,T,4", "QNM_VERBOSE DGEMM(N) 1", "QNM_VERBOSE DGEMM(N) fast",
          "QNM_VERBOSE DGEMM(N) 1hour", "QNM_VERBOSE FFT(dcfo) 1us", "QNM_VERBOSE (N) 1us"})
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
    for (const char* line :
         {"QNM_VERBOSE no plan: ", "QNM_VERBOSE no plan: (n=3) -", "QNM_VERBOSE no plan: fftw_plan("})
        EXPECT_FALSE(parse_refused_plan(line)) << line;
    report.add("QNM_VERBOSE heading");
    report.add("QNM_VERBOSE DSCAL(3,0x1,0x2,1) 1us");
    report.add("QNM_VERBOSE DGEMV(N,4,50,0x1,0x2,4,0x3,1,0x4,0x5,1) 4us");
    report.add("QNM_VERBOSE DGEMV(N,30,5,0x1,0x2,30,0x3,1,0x4,0x5,1) 2us");
    report.add("QNM_VERBOSE DSCAL_64(8,0x1,0x2,1) 1us");
    report.add("QNM_VERBOSE FFT(dcfo4x1024*12,input_strides:{0,1024,1},tLim:0,desc:0x9) 20us");
    report.add("QNM_VERBOSE FFT(dcfo100*3:100:120,input_strides:{0,1},tLim:0,desc:0x9) 12us");
    EXPECT_EQ(report.text(), "routine         calls      total       mean   share  largest sizes\n"
                             "FFT dcfo            2     32.0us     16.0us   80.0%  100 1024 *12\n"
                             "DGEMV               2     6.00us     3.00us   15.0%  30 50\n"
                             "DSCAL               1     1.00us     1.00us    2.5%  3\n"
                             "DSCAL_64            1     1.00us     1.00us    2.5%  8\n"
                             "total               6     40.0us     6.67us  100.0%\n");
}

} // namespace
} // namespace qnm::run
