// Calls of the open core by name, and naive matrices to compare with.
#pragma once

#include "open/core.hpp" // element types
#include "support/invoke.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace qnm::test {

using core::cdouble;
using core::cfloat;
using core::conjugate;
using core::core_int;
using core::is_complex;
using core::real_t;

// ---- cases

template <class T>
const std::string letter{is_complex<T> ? (sizeof(T) == 8 ? "c" : "z") : (sizeof(T) == 4 ? "s" : "d")};

// A test for each type T.
#define QNM_TYPED_OF(suite, name, ...)                                                                       \
    template <class T>                                                                                       \
    void suite##_##name();                                                                                   \
    TEST(suite, name)                                                                                        \
    {                                                                                                        \
        const auto each = [](auto zero) {                                                                    \
            SCOPED_TRACE("letter " + letter<decltype(zero)>);                                                \
            suite##_##name<decltype(zero)>();                                                                \
        };                                                                                                   \
        std::apply([&](auto... zero) { (each(zero), ...); }, std::tuple<__VA_ARGS__>());                     \
    }                                                                                                        \
    template <class T>                                                                                       \
    void suite##_##name()
#define QNM_TYPED(suite, name) QNM_TYPED_OF(suite, name, float, double, cfloat, cdouble)

// ---- matrices

inline int random_integer(int low, int high)
{
    static std::mt19937 generator(20240229);
    return std::uniform_int_distribution(low, high)(generator);
}

// A letter in either case.
inline char pick(const std::string& letters)
{
    const auto at = static_cast<std::size_t>(random_integer(0, static_cast<int>(letters.size()) - 1));
    return static_cast<char>(letters[at] + random_integer(0, 1) * ('a' - 'A'));
}

// None, few, and more than kernels and blocks take.
inline core_int any_size()
{
    const int kind = random_integer(0, 3);
    return kind == 0 ? random_integer(60, 150) : random_integer(0, kind == 1 ? 3 : 40);
}

// Small whole numbers: sums of their products are exact in every type, whatever the order.
template <class T>
std::vector<T> random_vector(core_int n)
{
    const auto part = [] { return static_cast<real_t<T>>(random_integer(-3, 3)); };
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T& x : v) {
        x = part();
        if constexpr (is_complex<T>)
            x.imag(part());
    }
    return v;
}

// 0, 1 or any.
template <class T>
T any_factor()
{
    const int kind = random_integer(0, 2);
    return kind == 2 ? random_vector<T>(1)[0] : T(static_cast<real_t<T>>(kind));
}

inline bool turns(char trans)
{
    return core::same_letter(trans, 'T') || core::same_letter(trans, 'C');
}

// Column-major, with room to spare below the rows. The elements of a column stand `inc` apart; below zero,
// the last one stands first, as in a vector of BLAS.
template <class T>
struct Matrix {
    core_int rows, columns, inc, ld;
    std::vector<T> data;

    Matrix(core_int m, core_int n, core_int spare = 3, core_int step = 1)
        : rows(m),
          columns(n),
          inc(step),
          ld((m - 1) * std::abs(step) + 1 + spare),
          data(random_vector<T>(ld * n + 1))
    {
    }
    std::size_t at(core_int i, core_int j) const
    {
        return static_cast<std::size_t>((inc > 0 ? i : i - rows + 1) * inc + j * ld);
    }
    T& operator()(core_int i, core_int j) { return data[at(i, j)]; }
    const T& operator()(core_int i, core_int j) const { return data[at(i, j)]; }
    // Element of op(X), which R conjugates where it stands.
    T op(char trans, core_int i, core_int j) const
    {
        const T x = turns(trans) ? (*this)(j, i) : (*this)(i, j);
        return core::same_letter(trans, 'C') || core::same_letter(trans, 'R') ? conjugate(x) : x;
    }
    // Becomes alpha * op(X) + beta * itself, which is not read if beta is zero.
    Matrix& take(char trans, const Matrix& x, T alpha = T(1), T beta = T(0))
    {
        for (core_int j = 0; j < columns; ++j)
            for (core_int i = 0; i < rows; ++i)
                (*this)(i, j) = alpha * x.op(trans, i, j) + (beta == T(0) ? T(0) : beta * (*this)(i, j));
        return *this;
    }
    Matrix& fill_diagonal(T value)
    {
        for (core_int i = 0; i < std::min(rows, columns); ++i)
            (*this)(i, i) = value;
        return *this;
    }
    static bool holds(char uplo, core_int i, core_int j)
    {
        return core::same_letter(uplo, 'U') ? i <= j : i >= j;
    }
    // A triangle's elements one behind the other, column by column.
    std::vector<T> packed(char uplo) const
    {
        std::vector<T> all;
        for (core_int j = 0; j < columns; ++j)
            for (core_int i = 0; i < rows; ++i)
                if (holds(uplo, i, j))
                    all.push_back((*this)(i, j));
        return all;
    }
    // What no result may depend on.
    Matrix& spoil() { return take('N', *this, T(std::numeric_limits<real_t<T>>::quiet_NaN())); }
};

// A matrix stored so that op(X) is m by n.
template <class T>
Matrix<T> stored(char trans, core_int m, core_int n, core_int spare = 3, core_int step = 1)
{
    return turns(trans) ? Matrix<T>(n, m, spare, step) : Matrix<T>(m, n, spare, step);
}

// Small enough to be a rounding, whichever way was taken.
template <class T>
void expect_near(const std::vector<T>& found, const std::vector<T>& expected)
{
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i)
        ASSERT_LE(std::abs(found[i] - expected[i]),
                  200 * std::numeric_limits<real_t<T>>::epsilon() * (1 + std::abs(expected[i])))
            << "element " << i;
}

// ---- calls

inline void* core_symbol(const std::string& name)
{
    void* const symbol = dlsym(RTLD_DEFAULT, name.c_str());
    if (symbol == nullptr)
        throw std::runtime_error("not exported: " + name);
    return symbol;
}

// A matrix stands for its array and its leading dimension.
template <class X>
auto spread(const X& x)
{
    if constexpr (requires { x.ld; })
        return std::tuple<decltype(x.data.data()), const core_int&>(x.data.data(), x.ld);
    else if constexpr (requires { x.data(); })
        return std::tuple(x.data());
    else
        return std::tuple<const X&>(x);
}

// Arguments as they are given.
template <class R = void, class... A>
R by_value(const std::string& name, const A&... arguments)
{
    void* const routine = core_symbol(name);
    const auto call = [&](const auto&... x) {
        return reinterpret_cast<R (*)(std::decay_t<decltype(x)>...)>(routine)(x...);
    };
    return std::apply(call, std::tuple_cat(spread(arguments)...));
}

// Fortran convention: pointers as they are, all else by reference. Integers must be core_int.
template <class X>
auto reference(const X& x)
{
    static_assert(!std::is_same_v<X, int>, "the core's integers are 64-bit");
    if constexpr (std::is_pointer_v<X>)
        return x;
    else
        return &x;
}
template <class R = void, class... A>
R by_reference(const std::string& name, const A&... arguments)
{
    const auto call = [&](const auto&... x) { return by_value<R>(name, reference(x)...); };
    return std::apply(call, std::tuple_cat(spread(arguments)...));
}

// With the letter of T in place of the question mark.
template <class T>
std::string named(const std::string& family, std::string name)
{
    const std::size_t mark = name.find('?');
    return "qnm_" + family + "_" + (mark == std::string::npos ? name : name.replace(mark, 1, letter<T>));
}
template <class T = double, class R = void, class... A>
R blas(const std::string& name, const A&... arguments)
{
    return by_reference<R>(named<T>("blas", name), arguments...);
}
// Returns INFO, the last argument. To a routine that has none it does no harm.
template <class T = double, class... A>
core_int lapack(const std::string& name, const A&... arguments)
{
    core_int info = -99;
    by_reference(named<T>("lapack", name), arguments..., &info);
    return info;
}

// Fortran convention with arguments collected at run time: all of them pointers.
inline support::Returned by_pointers(const std::string& name, const std::vector<const void*>& p)
{
    return support::call_words(core_symbol(name), {p.begin(), p.end()});
}

template <class R = int, class... A>
R service(const std::string& name, const A&... arguments)
{
    return by_value<R>("qnm_serv_" + name, arguments...);
}

// ---- reports and memory

// What is reported while it lives: name and code.
struct Reports {
    static inline std::vector<std::string> told;

    Reports()
    {
        told.clear();
        service("set_xerbla", &note);
    }
    ~Reports() { service("set_xerbla", nullptr); }
    static void note(const char* name, const int* code, int length)
    {
        told.push_back(std::string(name, static_cast<std::size_t>(length)) + " " + std::to_string(*code));
    }
    // With the letter of T in place of question marks.
    template <class T>
    static void expect(std::vector<std::string> expected)
    {
        for (std::string& line : expected)
            std::ranges::replace(line, '?', core::upper_case(letter<T>[0]));
        EXPECT_EQ(told, expected);
    }
};

// Bytes and blocks handed out.
using Use = std::pair<std::int64_t, int>;
inline Use in_use()
{
    int blocks = 0;
    const auto bytes = service<std::int64_t>("mem_stat", &blocks);
    return {bytes, blocks};
}

} // namespace qnm::test
