// Calls of the open core by name, and naive matrices to compare with.
#pragma once

#include "open/core.hpp" // element types

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

template <class T>
std::string letter()
{
    return is_complex<T> ? (sizeof(T) == 8 ? "c" : "z") : (sizeof(T) == 4 ? "s" : "d");
}
using Types = testing::Types<float, double, cfloat, cdouble>;
inline constexpr char transposes[] = {'N', 'T', 'C'};

// ---- matrices

inline int random_integer(int low, int high)
{
    static std::mt19937 generator(20240229);
    return std::uniform_int_distribution(low, high)(generator);
}

// Small whole numbers: sums of their products are exact in every type, whatever the order.
template <class T>
std::vector<T> random_vector(core_int n)
{
    const auto part = [] { return static_cast<real_t<T>>(random_integer(-3, 3)); };
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T& x : v)
        if constexpr (is_complex<T>)
            x = T(part(), part());
        else
            x = part();
    return v;
}
template <class T>
T random_value()
{
    return random_vector<T>(1)[0];
}

inline bool turns(char trans)
{
    return trans == 'T' || trans == 'C';
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
        return trans == 'C' || trans == 'R' ? conjugate(x) : x;
    }
    // Becomes alpha * op(X) + beta * itself, which is not read if beta is zero.
    Matrix& take(char trans, const Matrix& x, T alpha = T(1), T beta = T(0))
    {
        for (core_int j = 0; j < columns; ++j)
            for (core_int i = 0; i < rows; ++i)
                (*this)(i, j) = alpha * x.op(trans, i, j) + (beta == T(0) ? T(0) : beta * (*this)(i, j));
        return *this;
    }
};

template <class T>
struct Vector : Matrix<T> {
    Vector(core_int n, core_int step) : Matrix<T>(n, 1, 0, step) {}
};

// A matrix stored so that op(X) is m by n.
template <class T>
Matrix<T> stored(char trans, core_int m, core_int n)
{
    return turns(trans) ? Matrix<T>(n, m) : Matrix<T>(m, n);
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
    static void* const core = dlopen(QNM_CORE_FILE, RTLD_NOW | RTLD_LOCAL);
    if (core == nullptr)
        throw std::runtime_error(dlerror());
    void* symbol = dlsym(core, name.c_str());
    if (symbol == nullptr)
        throw std::runtime_error("not exported: " + name);
    return symbol;
}

// A matrix stands for its array and its leading dimension, a vector for its array and its increment.
template <class X>
std::tuple<const X&> spread(const X& x)
{
    return {x};
}
template <class X>
std::tuple<const X*> spread(const std::vector<X>& x)
{
    return {x.data()};
}
template <class T>
std::tuple<const T*, const core_int&> spread(const Matrix<T>& x)
{
    return {x.data.data(), x.ld};
}
template <class T>
std::tuple<const T*, const core_int&> spread(const Vector<T>& x)
{
    return {x.data.data(), x.inc};
}

// Arguments as they are given.
template <class R, class... A>
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
template <class R, class... A>
R by_reference(const std::string& name, const A&... arguments)
{
    const auto call = [&](const auto&... x) { return by_value<R>(name, reference(x)...); };
    return std::apply(call, std::tuple_cat(spread(arguments)...));
}
template <class R = void, class... A>
R blas(const std::string& name, const A&... arguments)
{
    return by_reference<R>("qnm_blas_" + name, arguments...);
}
template <class R = void, class... A>
R lapack(const std::string& name, const A&... arguments)
{
    return by_reference<R>("qnm_lapack_" + name, arguments...);
}

// Fortran convention with arguments collected at run time: all of them pointers. Too many do no harm.
inline void by_pointers(const std::string& name, std::vector<const void*> p)
{
    p.resize(18);
    const auto call = [&]<std::size_t... i>(std::index_sequence<i...>)
    {
        by_value<void>(name, p[i]...);
    };
    call(std::make_index_sequence<18>{});
}

} // namespace qnm::test
