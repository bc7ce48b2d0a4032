// Special values and codes: C99 Annex F, and IEEE 754-2019 for angles in half turns and for powr; one element
// among others without error.
#include "trial.hpp"

#include <gtest/gtest.h>

namespace qnm::witness {
namespace {

using namespace qnm::vml;

constexpr double inf = HUGE_VAL, nan = std::numeric_limits<double>::quiet_NaN();

struct Special {
    const char* root;
    double x, y; // y only of two arguments
    int code;
    double result;
};
constexpr double none = 0;
const Special specials[] = {
    // clang-format off
    {"Exp", inf, none, ok, inf}, {"Exp", -inf, none, ok, 0}, {"Exp", 710, none, overflow, inf},
    {"Exp", -746, none, underflow, 0}, {"Exp", -0.0, none, ok, 1}, {"Exp", nan, none, ok, nan},
    {"Exp2", 1024, none, overflow, inf}, {"Exp2", -1100, none, underflow, 0}, {"Exp2", 10, none, ok, 1024},
    {"Exp10", 309, none, overflow, inf}, {"Exp10", -400, none, underflow, 0},
    {"Expm1", -inf, none, ok, -1}, {"Expm1", -0.0, none, ok, -0.0}, {"Expm1", 710, none, overflow, inf},
    {"Ln", 0, none, pole, -inf}, {"Ln", -0.0, none, pole, -inf}, {"Ln", 1, none, ok, 0}, {"Ln", -1, none, domain, nan},
    {"Ln", -inf, none, domain, nan}, {"Ln", inf, none, ok, inf}, {"Ln", nan, none, ok, nan},
    {"Log2", 0, none, pole, -inf}, {"Log10", 0, none, pole, -inf}, {"Log10", -1, none, domain, nan},
    {"Log1p", -1, none, pole, -inf}, {"Log1p", -2, none, domain, nan}, {"Log1p", -0.0, none, ok, -0.0},
    {"Sqrt", -0.0, none, ok, -0.0}, {"Sqrt", -1, none, domain, nan}, {"Sqrt", inf, none, ok, inf},
    {"InvSqrt", 0, none, pole, inf}, {"InvSqrt", -0.0, none, pole, -inf}, {"InvSqrt", inf, none, ok, 0},
    {"InvSqrt", -1, none, domain, nan}, {"InvCbrt", -0.0, none, pole, -inf}, {"InvCbrt", -inf, none, ok, -0.0},
    {"Cbrt", -0.0, none, ok, -0.0}, {"Cbrt", -inf, none, ok, -inf}, {"Pow2o3", -inf, none, ok, inf},
    {"Pow3o2", -1, none, domain, nan}, {"Pow3o2", inf, none, ok, inf},
    {"Pow", 0, -1, pole, inf}, {"Pow", -0.0, -1, pole, -inf}, {"Pow", -0.0, -2, pole, inf}, {"Pow", -8, 0.25, domain, nan},
    {"Pow", 1, nan, ok, 1}, {"Pow", nan, 0, ok, 1}, {"Pow", -1, inf, ok, 1}, {"Pow", 0.5, inf, ok, 0},
    {"Pow", -inf, 3, ok, -inf}, {"Pow", -2, 1025, overflow, -inf}, {"Pow", 2, -1100, underflow, 0},
    {"Powx", -8, 0.25, domain, nan}, {"Powx", 0, -1, pole, inf},
    {"Powr", -1, 2, domain, nan}, {"Powr", 0, 0, domain, nan}, {"Powr", inf, 0, domain, nan}, {"Powr", 1, inf, domain, nan},
    {"Powr", -0.0, -1, pole, inf}, {"Powr", nan, 0, ok, nan}, {"Powr", 1, nan, ok, nan}, {"Powr", -0.0, 3, ok, 0},
    {"Hypot", inf, nan, ok, inf}, {"Hypot", 3, 4, ok, 5}, {"Hypot", 1.7e308, 1.7e308, overflow, inf},
    {"Sin", inf, none, domain, nan}, {"Sin", -0.0, none, ok, -0.0}, {"Sin", 1e-310, none, ok, 1e-310},
    {"Cos", -inf, none, domain, nan}, {"Tan", inf, none, domain, nan}, {"Tan", -0.0, none, ok, -0.0},
    {"Sind", inf, none, domain, nan}, {"Sind", 180, none, ok, 0}, {"Sind", -180, none, ok, -0.0}, {"Sind", 90, none, ok, 1},
    {"Cosd", 90, none, ok, 0}, {"Cosd", 270, none, ok, 0}, {"Cosd", 180, none, ok, -1}, {"Cosd", inf, none, domain, nan},
    {"Tand", 90, none, pole, inf}, {"Tand", 270, none, pole, -inf}, {"Tand", inf, none, domain, nan},
    {"Sinpi", -1, none, ok, -0.0}, {"Sinpi", 2.5, none, ok, 1}, {"Sinpi", inf, none, domain, nan},
    {"Cospi", 0.5, none, ok, 0}, {"Cospi", -1.5, none, ok, 0}, {"Cospi", 1e300, none, ok, 1}, {"Cospi", inf, none, domain, nan},
    {"Tanpi", 0.5, none, pole, inf}, {"Tanpi", 1.5, none, pole, -inf}, {"Tanpi", -0.5, none, pole, -inf},
    {"Tanpi", 2, none, ok, 0}, {"Tanpi", 1, none, ok, -0.0}, {"Tanpi", inf, none, domain, nan},
    {"Asin", 2, none, domain, nan}, {"Asin", -0.0, none, ok, -0.0}, {"Acos", 1, none, ok, 0}, {"Acos", -2, none, domain, nan},
    {"Asinpi", 1, none, ok, 0.5}, {"Asinpi", -2, none, domain, nan}, {"Acospi", -1, none, ok, 1}, {"Acospi", 1, none, ok, 0},
    {"Acospi", 2, none, domain, nan}, {"Atanpi", -inf, none, ok, -0.5}, {"Atanpi", -0.0, none, ok, -0.0},
    {"Atan2", -0.0, 1, ok, -0.0}, {"Atan2pi", 0, -0.0, ok, 1}, {"Atan2pi", -0.0, -1, ok, -1}, {"Atan2pi", -0.0, 1, ok, -0.0},
    {"Atan2pi", -inf, inf, ok, -0.25}, {"Atan2pi", 1, -inf, ok, 1},
    {"Sinh", -711, none, overflow, -inf}, {"Cosh", -711, none, overflow, inf}, {"Tanh", -inf, none, ok, -1},
    {"Asinh", -inf, none, ok, -inf}, {"Acosh", 1, none, ok, 0}, {"Acosh", 0.5, none, domain, nan},
    {"Atanh", 1, none, pole, inf}, {"Atanh", -1, none, pole, -inf}, {"Atanh", 2, none, domain, nan},
    {"Erf", -inf, none, ok, -1}, {"Erfc", inf, none, ok, 0}, {"Erfc", -inf, none, ok, 2}, {"Erfc", 30, none, underflow, 0},
    {"Erfcx", -30, none, overflow, inf}, {"Erfcx", inf, none, ok, 0}, {"Erfcx", -inf, none, ok, inf},
    {"CdfNorm", -inf, none, ok, 0}, {"CdfNorm", inf, none, ok, 1}, {"CdfNorm", -40, none, underflow, 0},
    {"ErfInv", 1, none, pole, inf}, {"ErfInv", -1, none, pole, -inf}, {"ErfInv", 1.5, none, domain, nan},
    {"ErfcInv", 0, none, pole, inf}, {"ErfcInv", 2, none, pole, -inf}, {"ErfcInv", 3, none, domain, nan},
    {"CdfNormInv", 0, none, pole, -inf}, {"CdfNormInv", 1, none, pole, inf}, {"CdfNormInv", -1, none, domain, nan},
    {"TGamma", 0, none, pole, inf}, {"TGamma", -0.0, none, pole, -inf}, {"TGamma", -2, none, domain, nan},
    {"TGamma", -inf, none, domain, nan}, {"TGamma", 172, none, overflow, inf}, {"TGamma", -200.5, none, underflow, -0.0},
    {"LGamma", 1, none, ok, 0}, {"LGamma", 2, none, ok, 0}, {"LGamma", -3, none, pole, inf}, {"LGamma", 0, none, pole, inf},
    {"LGamma", -inf, none, ok, inf}, {"LGamma", 1e308, none, overflow, inf},
    {"ExpInt1", 0, none, pole, inf}, {"ExpInt1", -1, none, domain, nan}, {"ExpInt1", inf, none, ok, 0},
    {"ExpInt1", 800, none, underflow, 0}, {"I0", 800, none, overflow, inf}, {"I0", -inf, none, ok, inf},
    {"I1", -800, none, overflow, -inf}, {"I1", -0.0, none, ok, -0.0}, {"J0", inf, none, ok, 0}, {"J0", 0, none, ok, 1},
    {"Y0", 0, none, pole, -inf}, {"Y0", -1, none, domain, nan}, {"Y0", inf, none, ok, 0}, {"Y1", 0, none, pole, -inf},
    {"Y1", -1, none, domain, nan}, {"Jn", 0, 0, ok, 1}, {"Jn", 0, 3, ok, 0}, {"Jn", -1, 0.5, domain, nan},
    {"Jn", inf, 2, ok, 0}, {"Yn", 0, 1, pole, -inf}, {"Yn", -1, 1, domain, nan},
    {"Inv", 0, none, pole, inf}, {"Inv", -0.0, none, pole, -inf}, {"Inv", inf, none, ok, 0}, {"Inv", 1e-310, none, overflow, inf},
    {"Div", 1, 0, pole, inf}, {"Div", 0, 0, domain, nan}, {"Div", inf, inf, domain, nan}, {"Div", inf, 0, ok, inf},
    {"Div", 1e300, 1e-300, overflow, inf}, {"Div", 1e-300, 1e300, underflow, 0}, {"Div", 0, nan, ok, nan},
    {"Logb", 0, none, pole, -inf}, {"Logb", -inf, none, ok, inf}, {"Logb", -8, none, ok, 3}, {"Logb", 1e-310, none, ok, -1030},
    {"Fmod", 1, 0, domain, nan}, {"Fmod", inf, 1, domain, nan}, {"Fmod", -6, 3, ok, -0.0}, {"Fmod", 1, inf, ok, 1},
    {"Remainder", 5, 3, ok, -1}, {"Remainder", 1, 0, domain, nan},
    {"NextAfter", 1, 1, ok, 1}, {"NextAfter", 0, -0.0, ok, -0.0}, {"NextAfter", inf, 0, ok, std::numeric_limits<double>::max()},
    {"NextAfter", 0, 1, ok, std::numeric_limits<double>::denorm_min()}, {"NextAfter", nan, 1, ok, nan},
    // clang-format on
};

/// An argument that no root has an error at: beside the special one.
double calm(const std::string& root)
{
    return root == "Acosh" ? 1.5 : root == "Tanpi" ? 0.25 : 0.5;
}

template <class T>
bool same(double expected, double result)
{
    const T wanted = static_cast<T>(expected), found = static_cast<T>(result);
    return std::isnan(wanted) ? std::isnan(found)
                              : wanted == found && std::signbit(wanted) == std::signbit(found);
}

template <class T>
void check(const Special& special, char letter, const Set& set, std::uint32_t level, std::size_t place)
{
    constexpr std::int64_t n = 17;
    static ErrorRecord seen;
    seen = {};
    const std::string name = letter + std::string(special.root);
    const auto kernel = symbol<void (**)()>(name + "_ttab")[set.table()];
    std::vector<T> a(n * 2, static_cast<T>(calm(special.root))), b(n, static_cast<T>(0.5)), y(n);
    a[2 * place] = static_cast<T>(special.x);
    b[place] = static_cast<T>(special.y);
    Call call{};
    call.mode = (default_mode & ~level_bits) | level;
    call.callback = [](ErrorRecord* record) {
        seen = *record;
        record->result[0] = 42;
        return 0;
    };
    call.first = 100;
    const std::string scalars = "Powx Jn Yn",
                      vectors = "Pow Powr Hypot Atan2 Atan2pi Div Fmod Remainder NextAfter";
    const auto among = [&](const std::string& list) {
        return (" " + list + " ").find(" " + std::string(special.root) + " ") != std::string::npos;
    };
    const Vector<const T> x{a.data(), 2};
    const Vector<T> to{y.data(), 1};
    if (among(scalars)) {
        // The other elements would share the scalar, and its error.
        reinterpret_cast<typename Shape<T, 1, 1, T, 1>::Kernel*>(kernel)(1, {&a[2 * place], 1}, b[place],
                                                                         {&y[place], 1}, &call);
        seen.index += static_cast<int>(place);
    } else if (among(vectors))
        reinterpret_cast<typename Shape<T, 2, 0, T, 1>::Kernel*>(kernel)(n, x, {b.data(), 1}, to, &call);
    else
        reinterpret_cast<typename Shape<T, 1, 0, T, 1>::Kernel*>(kernel)(n, x, to, &call);
    const std::string where = name + " of " + std::to_string(special.x) + ", " + std::to_string(special.y) +
                              ", " + set.name + ", level " + std::to_string(level);
    EXPECT_EQ(call.status, special.code) << where;
    const double result = special.code == ok ? static_cast<double>(y[place]) : seen.result[0];
    EXPECT_TRUE(same<T>(special.result, result)) << where << " gives " << result;
    if (special.code != ok) {
        EXPECT_EQ(seen.code, special.code) << where;
        EXPECT_EQ(seen.index, static_cast<int>(100 + place)) << where;
        EXPECT_EQ(seen.name, "v" + name) << where;
        EXPECT_EQ(y[place], 42) << where;
    }
}

TEST(KernelSpecials, HaveTheirValueTheirCodeAndTheirElement)
{
    for (const Special& special : specials)
        for (const Set& set : sets)
            for (const std::uint32_t level : {low_accuracy, high_accuracy})
                for (const std::size_t place : {3U, 16U}) {
                    check<double>(special, 'd', set, level, place);
                    const auto kept = [](double x) {
                        const double single{static_cast<float>(x)};
                        return !std::isfinite(x) || (std::isfinite(single) && (x == 0) == (single == 0));
                    };
                    if (kept(special.x) && kept(special.y) && kept(special.result))
                        check<float>(special, 's', set, level, place);
                }
}

} // namespace
} // namespace qnm::witness
