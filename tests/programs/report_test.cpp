#include "report.hpp"

#include <gtest/gtest.h>

namespace qnm::run {
namespace {

TEST(Report, ReadsNameArgumentsAndTimeOfALine)
{
    struct Case {
        const char* line;
        const char* name;
        std::size_t arguments;
        double seconds;
        std::vector<std::int64_t> sizes;
    };
    const Case cases[] = {
        {"QNM_VERBOSE DGEMM(N,T,4,5,6,0x1,0x2,40,0x3,50,0x4,0x5,60) 1.250us",
         "DGEMM",
         13,
         1.25e-6,
         {4, 5, 6}},
        {"QNM_VERBOSE ZDOTU_64(0x7f,9000000000,0x8f,1,0x9f,-1) 12ms", "ZDOTU_64", 6, 0.012, {9000000000}},
        {"QNM_VERBOSE DGBMV(N,-1,7,2,3,0x1,0x2,40,0x3,1,0x4,0x5,1) 2.5s", "DGBMV", 13, 2.5, {-1, 7, 2, 3}},
        {"QNM_VERBOSE DCABS1(0x1) 35ns threads:2", "DCABS1", 1, 35e-9, {}},
        {"QNM_VERBOSE DTRSV(U,N,(,3,(nil),4,0x2,1) 1us", "DTRSV", 8, 1e-6, {3}},
        {"QNM_VERBOSE DSCAL(2,0x1,0x2,1) -", "DSCAL", 4, 0, {2}},
        {"QNM_VERBOSE QNM_GET_FORMAT_COMPACT() 0ns", "QNM_GET_FORMAT_COMPACT", 0, 0, {}},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.line);
        const auto call = parse_call(expected.line);
        ASSERT_TRUE(call);
        EXPECT_EQ(call->name, expected.name);
        EXPECT_EQ(call->arguments.size(), expected.arguments);
        EXPECT_NEAR(call->seconds, expected.seconds, 1e-12 * expected.seconds);
        EXPECT_EQ(sizes_of(call->name, call->arguments), expected.sizes);
    }
}

TEST(Report, PassesOverLinesThatTellNoCall)
{
    for (const char* line : {"", "DGEMM(N) 1us", "QNM_VERBOSE library 2.0 (64-bit integers) 2 threads",
                             "QNM_VERBOSE DGEMM(N,T,4", "QNM_VERBOSE DGEMM(N) 1", "QNM_VERBOSE DGEMM(N) fast",
                             "QNM_VERBOSE DGEMM(N) 1hour", "QNM_VERBOSE (N) 1us"})
        EXPECT_FALSE(parse_call(line)) << line;
}

TEST(Report, WritesDurationsWithThreeDigits)
{
    EXPECT_EQ(duration_text(0), "0.00ns");
    EXPECT_EQ(duration_text(1.234e-9), "1.23ns");
    EXPECT_EQ(duration_text(9.996e-6), "10.0us");
    EXPECT_EQ(duration_text(0.0999), "99.9ms");
    EXPECT_EQ(duration_text(0.99949), "999ms");
    EXPECT_EQ(duration_text(0.99951), "1.00s");
    EXPECT_EQ(duration_text(4321), "4321s");
}

TEST(Report, TotalsByRoutineWithTheLargestOfEachSize)
{
    Report report;
    EXPECT_EQ(report.text(), "no traced call was made\n");
    report.add("QNM_VERBOSE heading");
    report.add("QNM_VERBOSE DSCAL(3,0x1,0x2,1) 1us");
    report.add("QNM_VERBOSE DGEMV(N,4,50,0x1,0x2,4,0x3,1,0x4,0x5,1) 4us");
    report.add("QNM_VERBOSE DGEMV(N,30,5,0x1,0x2,30,0x3,1,0x4,0x5,1) 2us");
    report.add("QNM_VERBOSE DSCAL_64(8,0x1,0x2,1) 1us");
    EXPECT_EQ(report.text(), "routine         calls      total       mean   share  largest sizes\n"
                             "DGEMV               2     6.00us     3.00us   75.0%  30 50\n"
                             "DSCAL               1     1.00us     1.00us   12.5%  3\n"
                             "DSCAL_64            1     1.00us     1.00us   12.5%  8\n"
                             "total               4     8.00us     2.00us  100.0%\n");
}

} // namespace
} // namespace qnm::run
