// What distributions are made of: fractions in blocks, and the functions of vectors of the same library.
#pragma once

#include "../contract.hpp"
#include "../tables.hpp"
#include "basic.hpp"

#define QNM_UNPACKED(...) __VA_OPT__(, ) __VA_ARGS__
#define QNM_PASTED_(a, b, c) a##b##_##c
#define QNM_PASTED(a, b, c) QNM_PASTED_(a, b, c)

// A row of the list of distributions: the function of its name makes it.
#define QNM_MADE(letter, name, T, parameters, names)                                                         \
    extern "C" int QNM_PASTED(qnm_##letter##Rng, name, QNM_NAMESPACE)(int method, qnm::vsl::Stream* stream,  \
                                                                      int n, T* r QNM_UNPACKED parameters);  \
    int QNM_PASTED(qnm_##letter##Rng, name, QNM_NAMESPACE)(int method, qnm::vsl::Stream* stream, int n,      \
                                                           T* r QNM_UNPACKED parameters)                     \
    {                                                                                                        \
        return qnm::vsl::QNM_NAMESPACE::name(method, stream, n, r QNM_UNPACKED names);                       \
    }

// A function of vectors of both types, of high accuracy or another one.
#define QNM_FUNCTION_OF(name, root, ...)                                                                     \
    extern "C" const qnm::vml::Compiled QNM_PASTED(qnm_s, root, QNM_NAMESPACE),                              \
        QNM_PASTED(qnm_d, root, QNM_NAMESPACE);                                                              \
    namespace qnm::vsl::QNM_NAMESPACE {                                                                      \
    inline void name(std::int64_t n, auto... operands)                                                       \
    {                                                                                                        \
        call<__VA_ARGS__>(QNM_PASTED(qnm_s, root, QNM_NAMESPACE), QNM_PASTED(qnm_d, root, QNM_NAMESPACE), n, \
                          operands...);                                                                      \
    }                                                                                                        \
    }

namespace qnm::vsl::QNM_NAMESPACE {

enum Method : int { accurate = 0x40000000 };

/// What stands for 0 where its logarithm is taken: half of the least fraction above it.
template <class T>
inline constexpr T above_zero = sizeof(T) == 8 ? T(0x1p-33) : T(0x1p-25);

template <class T>
void leave_zero(std::int64_t n, T* u)
{
    for (std::int64_t i = 0; i < n; ++i)
        u[i] = u[i] == 0 ? above_zero<T> : u[i];
}

template <class T>
struct OperandOf {
    using Type = T;
};
template <class T>
struct OperandOf<T*> {
    using Type = vml::Vector<T>;
};
inline float operand(float x)
{
    return x;
}
inline double operand(double x)
{
    return x;
}
template <class T>
vml::Vector<T> operand(T* x)
{
    return {x, 1};
}

template <std::uint32_t accuracy = vml::high_accuracy>
inline void call(const vml::Compiled& of_floats, const vml::Compiled& of_doubles, std::int64_t n, auto first,
                 auto... operands)
{
    using Kernel = void(std::int64_t, typename OperandOf<decltype(first)>::Type,
                        typename OperandOf<decltype(operands)>::Type..., vml::Call*);
    constexpr bool doubles = sizeof(*first) == 8;
    vml::Call frame{accuracy | vml::errors_ignored, vml::ok, 0, nullptr, 0};
    reinterpret_cast<Kernel*>((doubles ? of_doubles : of_floats).kernel)(n, operand(first),
                                                                         operand(operands)..., &frame);
}

/// Distributions of one word a variate: `change` makes variates of a block of fractions, in their place.
template <class T, class Change>
int inverted(Stream* stream, std::int64_t n, T* r, Change change)
{
    for (std::int64_t begin = 0; begin < n; begin += block) {
        const std::int64_t count = least(block, n - begin);
        const int status = fractions(stream, count, r + begin);
        if (status < 0) [[unlikely]]
            return status;
        change(count, r + begin);
    }
    return ok;
}
/// The same where the variates are integers.
template <class Change>
int counted(Stream* stream, std::int64_t n, int* r, Change change)
{
    double u[block];
    for (std::int64_t begin = 0; begin < n; begin += block) {
        const std::int64_t count = least(block, n - begin);
        const int status = fractions(stream, count, u);
        if (status < 0) [[unlikely]]
            return status;
        change(count, u, r + begin);
    }
    return ok;
}

} // namespace qnm::vsl::QNM_NAMESPACE
