// Calls of the open core by name, and naive matrices to compare with.
#pragma once

#include "open/core.hpp" // element types

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace qnm::test {

using core::cdouble;
using core::cfloat;
using core::conjugate;
using core::core_int;
using core::is_complex;
using core::real_t;

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

// Arguments exactly as given.
template <class R, class... A>
R by_value(const std::string& name, A... arguments)
{
    return reinterpret_cast<R (*)(A...)>(core_symbol(name))(arguments...);
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
R blas(const std::string& name, const A&... arguments)
{
    return by_value<R>("qnm_blas_" + name, reference(arguments)...);
}

// Fortran convention with arguments collected at run time: all of them pointers. Too many do no harm.
inline void blas_pointers(const std::string& name, std::vector<const void*> p)
{
    p.resize(18);
    by_value<void>("qnm_blas_" + name, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10],
                   p[11], p[12], p[13], p[14], p[15], p[16], p[17]);
}

template <class T>
std::string letter()
{
    return is_complex<T> ? (sizeof(T) == 8 ? "c" : "z") : (sizeof(T) == 4 ? "s" : "d");
}
using Types = testing::Types<float, double, cfloat, cdouble>;
using ComplexTypes = testing::Types<cfloat, cdouble>;

inline std::mt19937& generator()
{
    static std::mt19937 g(20240229);
    return g;
}
inline int random_integer(int low, int high)
{
    return std::uniform_int_distribution(low, high)(generator());
}

// Small whole numbers: sums of their products are exact in every type, whatever the order.
template <class T>
T random_value()
{
    if constexpr (is_complex<T>)
        return T(static_cast<real_t<T>>(random_integer(-3, 3)),
                 static_cast<real_t<T>>(random_integer(-3, 3)));
    else
        return static_cast<T>(random_integer(-3, 3));
}
template <class T>
std::vector<T> random_vector(core_int n)
{
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T& x : v)
        x = random_value<T>();
    return v;
}

// Column-major, with rows to spare below the used ones.
template <class T>
struct Matrix {
    core_int rows, columns, ld;
    std::vector<T> data;

    Matrix(core_int m, core_int n, core_int spare = 2)
        : rows(m), columns(n), ld(m + spare + 1), data(random_vector<T>(ld * n + 1))
    {
    }
    T& operator()(core_int i, core_int j) { return data[static_cast<std::size_t>(i + j * ld)]; }
    const T& operator()(core_int i, core_int j) const { return data[static_cast<std::size_t>(i + j * ld)]; }
    // Element of op(X).
    T op(char trans, core_int i, core_int j) const
    {
        const T x = trans == 'N' ? (*this)(i, j) : (*this)(j, i);
        return trans == 'C' ? conjugate(x) : x;
    }
};

// A matrix stored so that op(X) is m by n.
template <class T>
Matrix<T> stored(char trans, core_int m, core_int n)
{
    return trans == 'N' ? Matrix<T>(m, n) : Matrix<T>(n, m);
}

template <class A, class B, class T>
T product_element(core_int k, T alpha, A a, B b, T beta, T c)
{
    T sum{};
    for (core_int h = 0; h < k; ++h)
        sum += T(a(h)) * T(b(h));
    return alpha * sum + (beta == T{} ? T{} : beta * c);
}

} // namespace qnm::test
