// Special values of complex roots and the codes that they set; what lanes beside them keep.
#include "trial.hpp"

#include <gtest/gtest.h>

namespace qnm::witness {
namespace {

using namespace qnm::vml;
using Complex = std::complex<double>;

constexpr double infinite = HUGE_VAL, none = std::numeric_limits<double>::quiet_NaN();
struct Special {
    const char* root;
    Complex x, y;
    int code;
    Complex result;
};
const Special specials[] = {
    {"Exp", 710, 0, overflow, {infinite, 0}},
    {"Exp", {-800, 1}, 0, underflow, 0},
    {"Exp", {0, 1e-310}, 0, ok, {1, 1e-310}}, // one tiny part is no underflow
    {"Exp", {-infinite, 1}, 0, ok, 0},
    {"Ln", 0, 0, pole, {-infinite, 0}},
    {"Ln", {-1, -0.0}, 0, ok, {0, -M_PI}},
    {"Ln", {-1, 0.0}, 0, ok, {0, M_PI}},
    {"Log10", 0, 0, pole, {-infinite, 0}},
    {"Sqrt", {-4, 0.0}, 0, ok, {0, 2}},
    {"Sqrt", {-4, -0.0}, 0, ok, {0, -2}},
    {"Sqrt", {none, 1}, 0, ok, {none, none}},
    {"Sqrt", {none, infinite}, 0, ok, {infinite, infinite}},
    {"Sin", infinite, 0, domain, {none, 0}},
    {"Sinh", 800, 0, overflow, {infinite, 0}},
    {"Tanh", {infinite, 1}, 0, ok, {1, 0}},
    {"Atanh", 1, 0, pole, {infinite, 0}},
    {"Atan", {0, 1}, 0, pole, {0, infinite}},
    {"Pow", 0, -1, pole, {infinite, 0}},
    {"Pow", 0, {0, 1}, domain, {none, none}},
    {"Pow", 0, 0, ok, 1},
    {"Pow", 0, {2, 1}, ok, 0},
    {"Pow", 2, 1e6, overflow, {infinite, 0}},
    {"Pow", 0.5, 2000, underflow, 0},
    {"Pow", {none, 0}, 0, ok, 1},
    {"Div", 1, 0, pole, {infinite, none}},
    {"Div", 0, 0, domain, {none, none}},
    {"Div", 1e300, 1e-300, overflow, {infinite, 0}},
    {"Div", {1e-300, 1e-300}, 1e300, underflow, 0},
    {"Div", {1, 1}, {infinite, none}, ok, 0},
    {"Div", {infinite, none}, {1, 1}, ok, {infinite, -infinite}},
    {"Mul", {infinite, none}, {1, 1}, ok, {infinite, infinite}},
    {"Mul", 1e200, {1e200, 1}, ok, {infinite, 1e200}}, // products tell no overflow
    {"Mul", 0, {5, -7}, ok, 0},
    {"MulByConj", {1, 1}, {infinite, none}, ok, {infinite, infinite}},
};

bool is_same(double found, double wanted)
{
    return std::isnan(wanted) ? std::isnan(found)
                              : found == wanted || std::abs(found - wanted) <= 1e-15 * std::abs(wanted);
}

// The special element stands alone, behind a whole vector and among usual ones, which stay what they are.
TEST(Complex, SpecialValuesAndTheirCodes)
{
    for (const Special& special : specials)
        for (const Set& set : sets)
            for (const std::size_t n : {1U, 11U}) {
                SCOPED_TRACE(special.root + std::string(" of ") + std::to_string(special.x.real()) + ", " +
                             set.name + ", n " + std::to_string(n));
                const auto kernel =
                    symbol<void (**)()>(std::string("z") + special.root + "_ttab")[set.table()];
                const bool of_two =
                    std::string("Pow Div Mul MulByConj").find(special.root) != std::string::npos;
                const auto run = [&](const std::vector<Complex>& a, const std::vector<Complex>& b) {
                    std::vector<Complex> y(n);
                    Call call{high_accuracy, ok, 0, nullptr, 0};
                    const auto count = static_cast<std::int64_t>(n);
                    if (of_two)
                        reinterpret_cast<Shape<Complex, 2, 0, Complex, 1>::Kernel*>(kernel)(
                            count, {a.data(), 1}, {b.data(), 1}, {y.data(), 1}, &call);
                    else
                        reinterpret_cast<Shape<Complex, 1, 0, Complex, 1>::Kernel*>(kernel)(
                            count, {a.data(), 1}, {y.data(), 1}, &call);
                    return std::pair(y, call.status);
                };
                std::vector<Complex> a(n, {0.5, 0.25}), b(n, {2, -1});
                const auto [usual, no_code] = run(a, b);
                EXPECT_EQ(no_code, ok);
                a[n / 2] = special.x, b[n / 2] = special.y;
                const auto [y, code] = run(a, b);
                EXPECT_EQ(code, special.code);
                EXPECT_TRUE(is_same(y[n / 2].real(), special.result.real())) << y[n / 2];
                EXPECT_TRUE(is_same(y[n / 2].imag(), special.result.imag())) << y[n / 2];
                for (std::size_t i = 0; i < n; ++i)
                    EXPECT_TRUE(i == n / 2 || y[i] == usual[i]) << i;
            }
}

} // namespace
} // namespace qnm::witness
