// Breaches of the calling convention, which no other test would miss if they went unnoticed.
#include "support/invoke.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

extern "C" {
void loses_rbx(), loses_rbp(), loses_r12(), loses_r13(), loses_r14(), loses_r15(), pops_too_much(),
    sets_direction(), changes_mxcsr(), changes_x87();
}

namespace qnm::support {
namespace {

TEST(Invoke, EveryBreachOfTheConventionIsTold)
{
    const std::pair<void (*)(), const char*> breaches[]{{loses_rbx, "rbx"},
                                                        {loses_rbp, "rbp"},
                                                        {loses_r12, "r12"},
                                                        {loses_r13, "r13"},
                                                        {loses_r14, "r14"},
                                                        {loses_r15, "r15"},
                                                        {pops_too_much, "rsp off by 16"},
                                                        {sets_direction, "direction"},
                                                        {changes_mxcsr, "mxcsr"},
                                                        {changes_x87, "x87"}};
    for (const auto& [callee, told] : breaches)
        for (const std::size_t words : {0, 7, 8})
            EXPECT_THAT(
                invoke(reinterpret_cast<const void*>(callee), std::vector<Word>(words, Word(1L))).violations,
                ::testing::ElementsAre(::testing::HasSubstr(told)));
    EXPECT_NONFATAL_FAILURE(call(loses_r12), "r12 not kept");
}

} // namespace
} // namespace qnm::support
