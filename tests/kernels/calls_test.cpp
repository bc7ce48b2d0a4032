// What a call of a kernel leaves of the program's floating-point environment, and what the mode does to it.
#include "trial.hpp"

#include <cerrno>
#include <cfenv>
#include <gtest/gtest.h>
#include <xmmintrin.h>

namespace qnm::witness {
namespace {

using namespace qnm::vml;

template <class T>
std::vector<T> result_of(const std::string& kernel, const Set& set, std::uint32_t mode,
                         const std::vector<T>& x)
{
    std::vector<T> y(x.size());
    Call call{mode, ok, 0, nullptr, 0};
    reinterpret_cast<typename Shape<T, 1, 0, T, 1>::Kernel*>(symbol<void (**)()>(kernel)[set.table()])(
        static_cast<std::int64_t>(x.size()), {x.data(), 1}, {y.data(), 1}, &call);
    return y;
}

// Engines compute more than the result is made of, and the C library sets errno: neither is the program's
// matter, and no trap of its own is sprung. Arithmetic itself is as in the program.
template <class T>
void leaves_nothing(const std::string& kernel)
{
    constexpr int errors = FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW;
    for (const Set& set : sets)
        for (const std::uint32_t level : {low_accuracy, high_accuracy})
            for (const double value :
                 {0.0, 1e-38, 1e-30, 1e-12, 0.3, 1.0, -0.7, 7.3, 90.0, 1e9, -1e30, HUGE_VAL})
                for (const std::size_t n : {1U, 19U}) {
                    const std::vector<T> x(n, T(static_cast<typename PartOf<T>::Type>(value)));
                    errno = 0;
                    std::feclearexcept(FE_ALL_EXCEPT);
                    feenableexcept(errors);
                    result_of(kernel, set, level, x);
                    fedisableexcept(errors);
                    const int code = errno, flags = std::fetestexcept(errors);
                    EXPECT_EQ(std::pair(flags, code), std::pair(0, 0))
                        << kernel << ' ' << set.name << " of " << value << ", level " << level << ", n " << n;
                }
}

TEST(Calls, LeaveFlagsTrapsAndErrnoAlone)
{
    for (const Promise& promise : promises())
        if (promise.form.inputs == 1 && promise.form.scalars == 0 && promise.form.outputs == 1 &&
            promise.bounds.high > 0.5 && promise.form.complex_in == promise.form.complex_out) {
            if (promise.form.complex_in) {
                leaves_nothing<std::complex<float>>('c' + promise.root + "_ttab");
                leaves_nothing<std::complex<double>>('z' + promise.root + "_ttab");
            } else {
                leaves_nothing<float>('s' + promise.root + "_ttab");
                leaves_nothing<double>('d' + promise.root + "_ttab");
            }
        }
}

// In lanes, in elements and in plain loops, whatever the program itself has set.
TEST(Calls, TreatDenormalsAsTheModeSays)
{
    constexpr unsigned flushed = 0x8040;
    const unsigned before = _mm_getcsr();
    for (const Set& set : sets)
        for (const unsigned own : {0U, flushed})
            for (const std::size_t n : {1U, 19U}) {
                const auto first = [&](const char* kernel, std::uint32_t denormals, double x) {
                    _mm_setcsr(before | own);
                    const double y = result_of<double>(kernel, set, high_accuracy | denormals,
                                                       std::vector<double>(n, x))[0];
                    EXPECT_EQ(_mm_getcsr() & flushed, own);
                    _mm_setcsr(before);
                    return y;
                };
                EXPECT_GT(first("dSqr_ttab", denormals_on, 1e-160), 0);
                EXPECT_EQ(first("dSqr_ttab", denormals_off, 1e-160), 0);
                EXPECT_EQ(first("dSqr_ttab", 0, 1e-160) == 0, own != 0);
                EXPECT_GT(first("dExp_ttab", denormals_on, -740), 0);
                EXPECT_EQ(first("dExp_ttab", denormals_off, -740), 0);
                EXPECT_EQ(first("dLn_ttab", denormals_off, 1e-310), -HUGE_VAL);
                EXPECT_NEAR(first("dLn_ttab", denormals_on, 1e-310), -713.8, 0.1);
            }
}

} // namespace
} // namespace qnm::witness
