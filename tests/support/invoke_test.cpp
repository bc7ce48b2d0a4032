#include "support/invoke.hpp"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <numeric>

extern "C" {
void loses_rbx();
void loses_rbp();
void loses_r12();
void loses_r13();
void loses_r14();
void loses_r15();
void pops_too_much();
void sets_direction();
void changes_mxcsr();
void changes_x87();
void echoes_rax();
}

namespace qnm::support {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// A compiler's own idea of where twenty words and eight reals stand.
using Long = std::int64_t;
std::vector<Long> seen_words;
std::vector<double> seen_reals;

Long twenty(Long a, Long b, Long c, Long d, Long e, Long f, Long g, Long h, Long i, Long j, Long k, Long l,
            Long m, Long n, Long o, Long p, Long q, Long r, Long s, Long t)
{
    seen_words = {a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t};
    return a;
}

double mixed(Long a, double x, Long b, float y, double z, double u, Long c, double v, double w, double p,
             double q, Long d, Long e, Long f, Long g)
{
    seen_words = {a, b, c, d, e, f, g};
    seen_reals = {x, static_cast<double>(y), z, u, v, w, p, q};
    return q;
}

TEST(Invoke, WordsStandWhereACompilerLooksForThem)
{
    for (std::size_t count = 1; count <= 20; ++count) {
        SCOPED_TRACE(count);
        std::vector<Long> expected(count);
        std::iota(expected.begin(), expected.end(), 100);
        const Returned returned =
            invoke(reinterpret_cast<const void*>(twenty), {expected.begin(), expected.end()});
        EXPECT_EQ(std::vector<Long>(seen_words.begin(), seen_words.begin() + static_cast<Long>(count)),
                  expected);
        EXPECT_EQ(returned.int64(), 100);
        EXPECT_THAT(returned.violations, IsEmpty());
    }
}

TEST(Invoke, RealsGoTheirOwnWay)
{
    const Returned returned = call(mixed, Long{1}, 0.5, Long{2}, 1.5F, 2.5, 3.5, Long{3}, 4.5, 5.5, 6.5, 7.5,
                                   Long{4}, Long{5}, Long{6}, Long{7});
    EXPECT_THAT(seen_words, ElementsAre(1, 2, 3, 4, 5, 6, 7));
    EXPECT_THAT(seen_reals, ElementsAre(0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5));
    EXPECT_EQ(returned.float64(), 7.5);
}

TEST(Invoke, ResultRegistersComeBack)
{
    const Returned returned =
        invoke(reinterpret_cast<const void*>(echoes_rax), {}, {0., 1., 2., 3., 4., 5., 6.25, 7.5F}, 42);
    EXPECT_EQ(returned.int32(), 42);
    EXPECT_EQ(returned.rdx, 0x1122334455667788U);
    EXPECT_EQ(returned.float32(), 7.5F);
    EXPECT_EQ(returned.xmm1.float64(), 6.25);
}

TEST(Invoke, AnIntLeavesTheUpperHalfUndefined)
{
    EXPECT_EQ(Word(-1).bits(), 0x5A5A5A5AFFFFFFFFU);
    EXPECT_EQ(Word(Long{-1}).bits(), ~std::uint64_t{0});
    EXPECT_EQ(Word(nullptr).bits(), 0U);
}

struct Breach {
    void (*callee)();
    std::string expected;
};

TEST(Invoke, EveryBreachOfTheConventionIsTold)
{
    const Breach breaches[] = {
        {loses_rbx, "rbx"},
        {loses_rbp, "rbp"},
        {loses_r12, "r12"},
        {loses_r13, "r13"},
        {loses_r14, "r14"},
        {loses_r15, "r15"},
        {pops_too_much, "rsp off by 16"},
        {sets_direction, "direction"},
        {changes_mxcsr, "mxcsr"},
        {changes_x87, "x87"},
    };
    for (const Breach& breach : breaches)
        for (const std::size_t words : {0, 7, 8}) {
            SCOPED_TRACE(breach.expected);
            const auto callee = reinterpret_cast<const void*>(breach.callee);
            EXPECT_THAT(invoke(callee, std::vector<Word>(words, Word(Long{1}))).violations,
                        ElementsAre(HasSubstr(breach.expected)));
        }
    EXPECT_NONFATAL_FAILURE(call(loses_r12), "r12 not kept");
}

std::int64_t outer(std::int64_t a)
{
    return invoke(reinterpret_cast<const void*>(loses_rbx), {}).violations.size() == 1 ? a + 1 : 0;
}

TEST(Invoke, CallsMayNest)
{
    EXPECT_EQ(call(outer, Long{41}).int64(), 42);
}

} // namespace
} // namespace qnm::support
