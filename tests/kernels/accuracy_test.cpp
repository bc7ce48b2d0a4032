// Promised bounds in units of the last place, of every instruction set that this processor has and both
// levels; errors and their codes.
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

struct Error {
    const char* kernel;
    double x;
    int code;
    double result;
};
constexpr double infinite = HUGE_VAL, not_a_number = std::numeric_limits<double>::quiet_NaN();
const Error errors[] = {
    {"Exp", 710, overflow, infinite},
    {"Exp", -infinite, ok, 0},
    {"Exp", -746, underflow, 0},
    {"Ln", 0, pole, -infinite},
    {"Ln", -1, domain, not_a_number},
    {"Ln", not_a_number, ok, not_a_number},
    {"Inv", 0, pole, infinite},
    {"Sqrt", -1, domain, not_a_number},
    {"Sin", infinite, domain, not_a_number},
    {"Sin", 1e-310, ok, 1e-310},
    {"Acosh", 0.5, domain, not_a_number},
    {"Atanh", 1, pole, infinite},
    {"ErfInv", 1, pole, infinite},
    {"TGamma", -2, domain, not_a_number},
    {"TGamma", -0.0, pole, -infinite},
    {"LGamma", -3, pole, infinite},
    {"Y0", 0, pole, -infinite},
    {"Y1", -1, domain, not_a_number},
    {"Tanpi", 0.5, pole, infinite},
    {"ExpInt1", 0, pole, infinite},
    {"CdfNorm", -40, underflow, 0},
    {"Erfc", 30, underflow, 0},
    {"Logb", 0, pole, -infinite},
    {"I0", 800, overflow, infinite},
};

// The error's element lies behind a whole vector and in the middle of one, among others without error.
TEST(KernelErrors, HaveTheirCodeAndTheirElement)
{
    static ErrorRecord seen;
    for (const Error& error : errors)
        for (const std::size_t place : {3U, 16U}) {
            const auto* const kernels = symbol<void (**)()>("d" + std::string(error.kernel) + "_ttab");
            std::vector<double> a(17 * 2, error.kernel == std::string("Acosh") ? 1.5 : 0.5), y(17);
            if (error.kernel == std::string("Tanpi"))
                a.assign(a.size(), 0.25);
            a[2 * place] = error.x;
            seen = {};
            Call call{default_mode, ok, 0,
                      [](ErrorRecord* record) {
                          seen = *record;
                          record->result[0] = 42;
                          return 0;
                      },
                      100};
            reinterpret_cast<Shape<double, 1, 0, double, 1>::Kernel*>(kernels[2])(17, {a.data(), 2},
                                                                                  {y.data(), 1}, &call);
            SCOPED_TRACE(error.kernel + std::string(" of ") + std::to_string(error.x));
            EXPECT_EQ(call.status, error.code);
            EXPECT_EQ(seen.code, error.code);
            const double result = error.code == ok ? y[place] : seen.result[0];
            EXPECT_TRUE(std::isnan(error.result)
                            ? std::isnan(result)
                            : std::abs(result - error.result) < 1e-300 || result == error.result)
                << result;
            if (error.code != ok) {
                EXPECT_EQ(seen.index, static_cast<int>(100 + place));
                EXPECT_EQ(seen.name, "vd" + std::string(error.kernel));
                EXPECT_EQ(y[place], 42);
            }
        }
}

} // namespace
} // namespace qnm::witness
