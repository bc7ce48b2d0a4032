// Promised bounds in units of the last place, of every instruction set that this processor has and both
// levels.
#include "trial.hpp"

#include <gtest/gtest.h>

namespace qnm::witness {

void PrintTo(const Promise& promise, std::ostream* out)
{
    *out << promise.root;
}

namespace {

using namespace qnm::vml;

class Kernels : public testing::TestWithParam<Promise> {};

TEST_P(Kernels, KeepTheirPromise)
{
    const Promise& promise = GetParam();
    for (const char* letter = promise.letters(); *letter != '\0'; ++letter) {
        ASSERT_NE(symbol<void*>(*letter + promise.root + "_ttab"), nullptr);
        constexpr std::size_t count = 2003; // no whole number of lanes
        with_trial(promise, *letter, {count}, [&](const auto& trial) {
            for (const Set& set : sets)
                for (const std::uint32_t level : {low_accuracy, high_accuracy}) {
                    const Greatest found = trial.greatest(set, level);
                    EXPECT_LE(found.error, promise.bounds.of(*letter, level == low_accuracy, set.fma))
                        << *letter << promise.root << ", " << set.name << ", level " << level << ", at "
                        << found.where;
                }
        });
    }
}

INSTANTIATE_TEST_SUITE_P(All, Kernels, testing::ValuesIn(promises().begin(), promises().end()),
                         [](const auto& promise) {
                             return promise.param.letters() +
                                    promise.param.root; // a real and a complex root may share their name
                         });

} // namespace
} // namespace qnm::witness
