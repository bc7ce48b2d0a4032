// Numbers of plans, down to the core's engine: every planner against sums in a larger type, in both
// precisions; Fortran names against those of C, bit by bit.
#include "fftw/calls.hpp"

#include <algorithm>
#include <complex>
#include <cstring>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <sstream>

namespace qnm::tests {
namespace {

using Exact = long double;
using Numbers = std::vector<std::complex<Exact>>;
constexpr int untold = 0x55; // a byte that nobody writes
constexpr Exact pi = std::numbers::pi_v<Exact>;

/// A plan in C, which dimensions and batch it means (the numbers of input and output: `c`omplex, `r`eal,
/// `s`plit; forward or backward; lengths and strides), and in Fortran: `!` where null must leave all as it
/// is.
constexpr const char* cases = R"(
plan_dft_2d 6 5 in out -1 0; cc- {6:5:5,5:1:1} {1:0:0}; plan_dft_2d_ 5 6 in out !-1 !0
plan_dft_3d 3 4 5 in in 1 0; cc+ {3:20:20,4:5:5,5:1:1} {1:0:0}; plan_dft_3d_ 5 4 3 in in !1 !0
plan_dft 4 [2,3,4,5] in out 1 4; cc+ {2:60:60,3:20:20,4:5:5,5:1:1} {1:0:0}; plan_dft_ !4 ![5,4,3,2] in out !1 !4
plan_dft_r2c_2d 6 5 in out 0; rc- {6:5:3,5:1:1} {1:0:0}; plan_dft_r2c_2d_ 5 6 in out 0
plan_dft_r2c_2d 5 6 in in 0; rc- {5:8:4,6:1:1} {1:0:0}; plan_dft_r2c_2d_ 6 5 in in 0
plan_dft_r2c_3d 3 4 5 in in 0; rc- {3:24:12,4:6:3,5:1:1} {1:0:0}; plan_dft_r2c_3d_ 5 4 3 in in 0
plan_dft_r2c 2 [4,7] in out 0; rc- {4:7:4,7:1:1} {1:0:0}; plan_dft_r2c_ !2 ![7,4] in out 0
plan_dft_c2r_2d 6 5 in out 0; cr+ {6:3:5,5:1:1} {1:0:0}; plan_dft_c2r_2d_ 5 6 in out 0
plan_dft_c2r_3d 3 4 6 in in 0; cr+ {3:16:32,4:4:8,6:1:1} {1:0:0}; plan_dft_c2r_3d_ 6 4 3 in in 0
plan_dft_c2r 2 [4,7] in in 0; cr+ {4:4:8,7:1:1} {1:0:0}; plan_dft_c2r_ !2 ![7,4] in in 0
plan_many_dft 2 [3,4] 5 in [3,6] 2 40 out [4,5] 3 70 -1 0; cc- {3:12:15,4:2:3} {5:40:70}; plan_many_dft_ !2 ![4,3] !5 in ![6,3] !2 !40 out ![5,4] !3 !70 !-1 !0
plan_many_dft 1 [16] 6 in null 6 1 in null 6 1 1 0; cc+ {16:6:6} {6:1:1}; plan_many_dft_ 1 [16] 6 in [16] 6 1 in [16] 6 1 1 0
plan_many_dft_r2c 2 [3,5] 2 in null 1 18 in null 1 9 0; rc- {3:6:3,5:1:1} {2:18:9}; plan_many_dft_r2c_ !2 ![5,3] !2 in ![6,3] !1 !18 in ![3,3] !1 !9 !0
plan_many_dft_c2r 2 [3,5] 4 in null 1 9 out null 1 15 0; cr+ {3:3:5,5:1:1} {4:9:15}; plan_many_dft_c2r_ !2 ![5,3] !4 in ![3,3] !1 !9 out ![5,3] !1 !15 !0
plan_guru_dft 2 (5:1:7,7:5:1) 1 (3:36:40) in out 1 0; cc+ {5:1:7,7:5:1} {3:36:40}; plan_guru_dft_ !2 ![7,5] ![5,1] ![1,7] !1 ![3] ![36] ![40] in out !1 !0
plan_guru_dft_r2c 1 (9:2:3) 1 (3:20:16) in out 0; rc- {9:2:3} {3:20:16}; plan_guru_dft_r2c_ !1 ![9] ![2] ![3] !1 ![3] ![20] ![16] in out !0
plan_guru_dft_c2r 1 (9:2:3) 0 null in out 0; cr+ {9:2:3} {1:0:0}; plan_guru_dft_c2r_ !1 ![9] ![2] ![3] !0 null null null in out !0
plan_guru64_dft 3 {2:15:15,3:5:5,5:1:1} 0 null in in -1 0; cc- {2:15:15,3:5:5,5:1:1} {1:0:0};
plan_guru64_dft_r2c 1 {8:1:1} 1 {2:10:5} in in 0; rc- {8:1:1} {2:10:5};
plan_guru64_dft_c2r 1 {8:1:1} 1 {2:5:10} in in 0; cr+ {8:1:1} {2:5:10};
plan_guru_split_dft 2 (4:3:3,3:1:1) 1 (2:12:12) in ii in ii 0; ss- {4:3:3,3:1:1} {2:12:12}; plan_guru_split_dft_ !2 ![3,4] ![1,3] ![1,3] !1 ![2] ![12] ![12] in ii in ii !0
plan_guru64_split_dft 1 {12:2:1} 1 {2:1:12} in ii out io 0; ss- {12:2:1} {2:1:12};
)";

/// Those of one line, of each length; odd ones are in place.
std::string lines()
{
    std::string all;
    for (int n = 2; n <= 1009; n = n == 1009 ? 1010 : n > 500 ? 1009 : n > 100 ? 4 * n + 1 : n + 1) {
        const std::string length = std::to_string(n), arrays = n % 2 != 0 ? " in in " : " in out ";
        for (const auto& [name, means, behind] : {std::tuple{"plan_dft_1d", "cc-", "-1 0"},
                                                  {"plan_dft_1d", "cc+", "1 0"},
                                                  {"plan_dft_r2c_1d", "rc-", "0"},
                                                  {"plan_dft_c2r_1d", "cr+", "0"}})
            all += name + (" " + length) + arrays + behind + "; " + means + " {" + length +
                   ":1:1} {1:0:0}; " + name + "_ !" + length + arrays + behind + "\n";
    }
    return all;
}

/// The sums, dimension by dimension, of row-major data.
Numbers transformed(Numbers x, const std::vector<std::int64_t>& dims, int sign)
{
    std::size_t step = 1;
    for (std::size_t d = dims.size(); d > 0; d -= 3) {
        const auto n = static_cast<std::size_t>(dims[d - 3]);
        Numbers root(n), line(n);
        for (std::size_t k = 0; k < n; ++k)
            root[k] = std::polar<Exact>(1, 2 * sign * pi * static_cast<Exact>(k) / static_cast<Exact>(n));
        for (std::size_t first = 0; first < x.size(); ++first) {
            if (first / step % n != 0)
                continue;
            for (std::size_t k = 0; k < n; ++k) {
                line[k] = 0;
                for (std::size_t i = 0; i < n; ++i)
                    line[k] += x[first + i * step] * root[i * k % n];
            }
            for (std::size_t k = 0; k < n; ++k)
                x[first + k * step] = line[k];
        }
        step *= n;
    }
    return x;
}

/// Where the elements of a side lie, row-major; those that half an array does not have are left out.
template <class Visit>
void each(const std::vector<std::int64_t>& dims, std::size_t side, bool half, std::int64_t first,
          const Visit& visit)
{
    std::size_t all = 1;
    for (std::size_t d = 0; d < dims.size(); d += 3)
        all *= static_cast<std::size_t>(dims[d]);
    for (std::size_t i = 0; i < all; ++i) {
        std::int64_t at = first;
        std::size_t rest = i;
        bool there = true;
        for (std::size_t d = dims.size(); d > 0; d -= 3) {
            const auto n = static_cast<std::size_t>(dims[d - 3]), k = rest % n;
            at += static_cast<std::int64_t>(k) * dims[d - 3 + side];
            there = there && !(half && d == dims.size() && k > n / 2);
            rest /= n;
        }
        if (there)
            visit(i, static_cast<std::size_t>(at));
    }
}

template <class R>
void put(char numbers, const char* where, const char* imaginary, std::size_t at, std::complex<Exact> value)
{
    R* const to = static_cast<R*>(array(where));
    to[numbers == 'c' ? 2 * at : at] = static_cast<R>(value.real());
    if (numbers != 'r')
        (numbers == 'c' ? to + 2 * at + 1 : static_cast<R*>(array(imaginary)) + at)[0] =
            static_cast<R>(value.imag());
}

template <class R>
std::complex<Exact> get(char numbers, const char* where, const char* imaginary, std::size_t at)
{
    const R* const from = static_cast<R*>(array(where));
    return numbers == 'c'   ? std::complex<Exact>(from[2 * at], from[2 * at + 1])
           : numbers == 'r' ? std::complex<Exact>(from[at])
                            : std::complex<Exact>(from[at], static_cast<R*>(array(imaginary))[at]);
}

using Bytes = std::vector<char>;
Bytes bytes_of(const char* name)
{
    const char* const first = static_cast<char*>(array(name));
    return {first, first + bytes_of_array};
}

/// Each element of the output, and nothing else of it, is what the sums say.
template <class R>
void expect_sums(const std::string& prefix, const std::string& in_c, std::istringstream&& meaning,
                 std::string in_fortran)
{
    static std::mt19937 chance(12);
    char from = 0, to = 0, way = 0;
    std::string dims_text, batch_text;
    meaning >> from >> to >> way >> dims_text >> batch_text;
    const auto dims = integers(dims_text), batch = integers(batch_text);
    const bool in_place = in_c.find(" out ") == std::string::npos, real = from == 'r' || to == 'r';
    const char *const result = in_place ? "in" : "out", *const imaginary_result = in_place ? "ii" : "io";
    for (const char* name : {"in", "out", "ii", "io"})
        std::memset(array(name), untold, bytes_of_array);
    std::vector<Numbers> wanted;
    Exact norm = 0;
    for (std::int64_t b = 0; b < batch[0]; ++b) {
        Numbers x;
        each(dims, 1, false, 0, [&](std::size_t, std::size_t) {
            const auto part = [] { return static_cast<Exact>(chance() % 2001) / 1024 - 1; };
            x.emplace_back(part(), real ? 0 : part());
            norm += std::norm(x.back());
        });
        wanted.push_back(transformed(x, dims, way == '-' || to == 'r' ? -1 : 1));
        if (to == 'r') {
            std::swap(x, wanted.back());
            for (auto& value : wanted.back())
                value *= static_cast<Exact>(x.size());
            norm *= static_cast<Exact>(x.size());
        }
        each(dims, 1, to == 'r', b * batch[1],
             [&](std::size_t i, std::size_t at) { put<R>(from, "in", "ii", at, x[i]); });
    }
    Record* const plan = planned(prefix, in_c);
    ASSERT_NE(plan, nullptr);
    const Bytes real_parts = bytes_of("in"), imaginary_parts = bytes_of("ii");
    call(prefix, "execute", {plan});
    call(prefix, "destroy_plan", {plan});
    const Bytes results = bytes_of(result);
    const Exact bound = 8 * std::numeric_limits<R>::epsilon() * std::sqrt(norm);
    for (std::int64_t b = 0; b < batch[0]; ++b)
        each(dims, 2, from == 'r', b * batch[2], [&](std::size_t i, std::size_t at) {
            EXPECT_LE(
                std::abs(get<R>(to, result, imaginary_result, at) - wanted[static_cast<std::size_t>(b)][i]),
                bound)
                << i;
            const std::size_t parts = to == 'c' ? 2 : 1;
            std::memset(static_cast<R*>(array(result)) + parts * at, untold, parts * sizeof(R));
        });
    const Bytes nothing(bytes_of_array, untold);
    EXPECT_TRUE(in_place || bytes_of("out") == nothing);
    // The Fortran name, on the same numbers.
    if (in_fortran.empty())
        return;
    const std::string fortran = prefix == "fftw_" ? "dfftw_" : "sfftw_";
    std::memcpy(array("out"), nothing.data(), bytes_of_array);
    std::memcpy(array("in"), real_parts.data(), bytes_of_array);
    std::memcpy(array("ii"), imaginary_parts.data(), bytes_of_array);
    Record* again = fortran_planned(fortran, in_fortran);
    ASSERT_TRUE(again != nullptr && again != untouched);
    call(fortran, "execute_", {&again});
    call(fortran, "destroy_plan_", {&again});
    EXPECT_EQ(bytes_of(result), results);
    call(fortran, in_fortran, {nullptr});
    for (std::size_t at; (at = in_fortran.find('!')) != std::string::npos; in_fortran.erase(at, 1))
        EXPECT_EQ(fortran_planned(fortran,
                                  std::string(in_fortran).replace(at, in_fortran.find(' ', at) - at, "null")),
                  untouched);
}

/// Real to real, k of n: the sums of FFTW's kinds.
Exact real_sum(int kind, const std::vector<Exact>& x, int k)
{
    const auto n = static_cast<int>(x.size());
    const bool sine = kind >= 7, shifted_in = kind == 5 || kind == 6 || kind == 9 || kind == 10,
               shifted_out = kind == 4 || kind == 6 || kind == 8 || kind == 10;
    const int of = kind == 3 ? n - 1 : kind == 7 ? n + 1 : n;
    Exact sum = 0;
    for (int j = 0; j < n; ++j) {
        const bool once =
            (kind == 3 && (j == 0 || j == n - 1)) || (kind == 4 && j == 0) || (kind == 8 && j == n - 1);
        const Exact a = j + (shifted_in ? 0.5L : sine ? 1 : 0), b = k + (shifted_out ? 0.5L : sine ? 1 : 0);
        sum += (once ? 1 : 2) * x[static_cast<std::size_t>(j)] *
               (sine ? std::sin(pi * a * b / of) : std::cos(pi * a * b / of));
    }
    return sum;
}

template <class R>
void expect_real_sums(const std::string& prefix, int kind, const std::string& to, const std::vector<Exact>& x,
                      const std::vector<Exact>& sums)
{
    const std::size_t n = x.size(), first = kind == 413 ? 1 : 0; // the extension has one that is not used
    for (const std::string name : {"in", to.c_str()})
        std::memset(array(name), untold, bytes_of_array);
    R *const in = static_cast<R*>(array("in")), *const out = static_cast<R*>(array(to));
    std::transform(x.begin(), x.end(), in + first, [](Exact value) { return static_cast<R>(value); });
    const R behind = out[first + n];
    // Made for other arrays.
    Record* const plan = planned(prefix, "plan_r2r_1d " + std::to_string(n) + " a " +
                                             (to == "in" ? "a " : "b ") + std::to_string(kind) + " 0");
    ASSERT_NE(plan, nullptr);
    call(prefix, "execute_r2r in " + to, {plan});
    call(prefix, "destroy_plan", {plan});
    const Exact bound = 32 * Exact{std::numeric_limits<R>::epsilon()} * static_cast<Exact>(n);
    for (std::size_t k = 0; k < n; ++k)
        EXPECT_LE(std::abs(out[first + k] - sums[k]), bound) << k;
    EXPECT_TRUE(out[first + n] == behind && (in == out || in[0] == static_cast<R>(x[0])));
}

TEST(Numbers, OfRealToRealPlansAreTheSums)
{
    for (const int kind : {3, 4, 5, 6, 7, 8, 9, 10, 413})
        for (int n = kind == 3 ? 3 : 2; n <= 127; n = n < 100 ? n + 1 : n + 27) {
            std::vector<Exact> x, sums;
            for (int j = 0; j < n; ++j)
                x.push_back((j * 37 % 64 - 31) / 16.0L);
            for (int k = 0; k < n; ++k)
                sums.push_back(real_sum(kind == 413 ? 7 : kind, x, k));
            for (const std::string to : {"in", "out"}) {
                if (kind == 413 && to == "out")
                    continue; // the last element is not copied
                SCOPED_TRACE(std::to_string(kind) + " " + std::to_string(n) + " " + to);
                expect_real_sums<double>("fftw_", kind, to, x, sums);
                expect_real_sums<float>("fftwf_", kind, to, x, sums);
                ASSERT_FALSE(::testing::Test::HasFailure());
            }
        }
}

TEST(Numbers, OfEveryPlannerAreTheSums)
{
    std::istringstream all((cases + 1) + lines());
    for (std::string in_c, meaning, in_fortran; std::getline(all, in_c, ';');) {
        std::getline(std::getline(all, meaning, ';'), in_fortran);
        SCOPED_TRACE(in_c);
        expect_sums<double>("fftw_", in_c, std::istringstream(meaning), in_fortran);
        expect_sums<float>("fftwf_", in_c, std::istringstream(meaning), in_fortran);
        ASSERT_FALSE(::testing::Test::HasFailure());
    }
}

} // namespace
} // namespace qnm::tests
