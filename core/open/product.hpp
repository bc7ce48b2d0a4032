// C := alpha * (op(A) + ao) * (op(B) + bo) + beta * C + co for all element formats: operands are converted to
// the type of computation (or come packed, already converted), and the product is the engine's.
#pragma once

#include "engine.hpp"
#include "formats.hpp"
#include "services.hpp"

#include <cstring>

namespace qnm::core {

// One member of the family: elements of A, B and C, the type of computation, the type of alpha and beta.
// Offsets of integers are signed, whatever their matrix is. The number marks the member's pack buffers.
template <int number_, class A_, class B_, class C_, class Compute_, class Scalar_>
struct Product {
    static constexpr int number = number_;
    using A = A_;
    using B = B_;
    using C = C_;
    using Compute = Compute_;
    using Scalar = Scalar_;
    using Offset = std::conditional_t<std::is_integral_v<A>, A, int>;
};
using Sgemm = Product<1, float, float, float, float, float>;
using Dgemm = Product<2, double, double, double, double, double>;
using Hgemm = Product<3, Half, Half, Half, float, Half>;
using Bf16Gemm = Product<4, Bf16, Bf16, float, float, float>;
using F16Gemm = Product<5, Half, Half, float, float, float>;
using E4m3Gemm = Product<6, E4m3, E4m3, float, float, float>;
using E5m2Gemm = Product<7, E5m2, E5m2, float, float, float>;
// Products of integers are exact in double: below 2^17 in size for s8u8, 2^34 for s16s16.
using S8u8Gemm = Product<8, std::int8_t, std::uint8_t, std::int32_t, double, float>;
using S16s16Gemm = Product<9, std::int16_t, std::int16_t, std::int32_t, double, float>;

// A pack buffer: this head, then op(X) column by column in the type of computation.
struct alignas(64) PackHead {
    char mark[8]; // "QNMPACK" and the identifier, A or B
    std::int64_t number;
    core_int rows, columns; // of op(X)
};
inline constexpr char pack_mark[] = "QNMPACK";

// op(X) is m by k for A, k by n for B.
struct Shape {
    core_int rows, columns;
    Shape(bool is_a, core_int m, core_int n, core_int k) : rows(is_a ? m : k), columns(is_a ? k : n) {}
    core_int size() const { return rows * columns; }
};

template <class P>
PackHead pack_head(bool is_a, Shape shape)
{
    PackHead head{{}, P::number, shape.rows, shape.columns};
    std::memcpy(head.mark, pack_mark, sizeof head.mark);
    head.mark[7] = is_a ? 'A' : 'B';
    return head;
}

template <class P>
core_int pack_size(const char* identifier, core_int m, core_int n, core_int k)
{
    const Shape shape(is_letter(identifier, 'A'), m, n, k);
    return static_cast<core_int>(sizeof(PackHead) +
                                 sizeof(typename P::Compute) * static_cast<std::size_t>(shape.size()));
}

template <class P>
void pack(const char* identifier, const char* trans, core_int m, core_int n, core_int k,
          typename P::Compute alpha, const void* src, core_int ld, void* dest)
{
    using T = typename P::Compute;
    const bool is_a = is_letter(identifier, 'A');
    const Shape shape(is_a, m, n, k);
    const PackHead head = pack_head<P>(is_a, shape);
    std::memcpy(dest, &head, sizeof head);
    T* to = reinterpret_cast<T*>(static_cast<char*>(dest) + sizeof head);
    const core_int down = is_letter(trans, 'N') ? 1 : ld, across = is_letter(trans, 'N') ? ld : 1;
    auto fill = [&](const auto* from) {
        for (core_int j = 0; j < shape.columns; ++j)
            for (core_int i = 0; i < shape.rows; ++i)
                *to++ = alpha * static_cast<T>(from[i * down + j * across]);
    };
    if (is_a)
        fill(static_cast<const typename P::A*>(src));
    else
        fill(static_cast<const typename P::B*>(src));
}

// A matrix as the engine takes it; `room` holds it where the caller's memory cannot.
template <class T>
struct Operand {
    Scratch<T> room{};
    const T* data = nullptr; // null: not usable, reported
    core_int ld = 1;
    char trans = 'N';
};

template <class T, class X>
Operand<T> loaded(std::string_view name, const X* x, core_int ld, core_int rows, core_int columns, T offset,
                  char trans)
{
    if constexpr (std::is_same_v<T, X>) {
        if (offset == T{})
            return {.data = x, .ld = ld, .trans = trans};
    }
    Operand<T> operand{
        .room = Scratch<T>(name, rows * columns), .ld = std::max<core_int>(rows, 1), .trans = trans};
    if (operand.room) {
        for (core_int j = 0; j < columns; ++j)
            for (core_int i = 0; i < rows; ++i)
                operand.room[i + j * rows] = static_cast<T>(x[i + j * ld]) + offset;
        operand.data = operand.room.get();
    }
    return operand;
}

// `position` is the argument's own, for a buffer that was not packed for this product.
template <class P, class X>
Operand<typename P::Compute> operand(std::string_view name, bool is_a, const char* trans, Shape shape,
                                     const void* x, core_int ld, typename P::Offset offset, int position)
{
    using T = typename P::Compute;
    if (!is_letter(trans, 'P')) {
        const bool plain = is_letter(trans, 'N');
        return loaded<T>(name, static_cast<const X*>(x), ld, plain ? shape.rows : shape.columns,
                         plain ? shape.columns : shape.rows, static_cast<T>(offset), plain ? 'N' : 'T');
    }
    const PackHead expected = pack_head<P>(is_a, shape);
    if (std::memcmp(x, &expected, offsetof(PackHead, columns) + sizeof expected.columns) != 0) {
        report(name, position);
        return {};
    }
    const T* packed = reinterpret_cast<const T*>(static_cast<const char*>(x) + sizeof expected);
    return loaded<T>(name, packed, std::max<core_int>(shape.rows, 1), shape.rows, shape.columns,
                     static_cast<T>(offset), 'N');
}

// What is added to every element of C: one value (F), a column (C) or a row (R).
struct OutputOffset {
    const std::int32_t* values = nullptr;
    core_int down = 0, across = 0;

    OutputOffset() = default;
    OutputOffset(const char* offsetc, const std::int32_t* co)
        : values(co), down(is_letter(offsetc, 'C')), across(is_letter(offsetc, 'R'))
    {
    }
    std::int32_t operator()(core_int i, core_int j) const
    {
        return values != nullptr ? values[i * down + j * across] : 0;
    }
};

template <class P>
void product(core_int m, core_int n, core_int k, typename P::Compute alpha,
             const Operand<typename P::Compute>& a, const Operand<typename P::Compute>& b,
             typename P::Compute beta, typename P::C* c, core_int ldc, std::string_view name, OutputOffset co)
{
    using T = typename P::Compute;
    if (m <= 0 || n <= 0 || a.data == nullptr || b.data == nullptr)
        return;
    if constexpr (std::is_same_v<T, typename P::C>) {
        Engine<T>::gemm(&a.trans, &b.trans, &m, &n, &k, &alpha, a.data, &a.ld, b.data, &b.ld, &beta, c, &ldc);
    } else {
        const T one = 1, zero = 0;
        Scratch<T> sum(name, m * n);
        if (!sum)
            return;
        Engine<T>::gemm(&a.trans, &b.trans, &m, &n, &k, &one, a.data, &a.ld, b.data, &b.ld, &zero, sum.get(),
                        &m);
        for (core_int j = 0; j < n; ++j)
            for (core_int i = 0; i < m; ++i) {
                T value = alpha == zero ? zero : alpha * sum[i + j * m];
                if (beta != zero)
                    value += beta * static_cast<T>(c[i + j * ldc]);
                c[i + j * ldc] = rounded<typename P::C>(value + static_cast<T>(co(i, j)));
            }
    }
}

} // namespace qnm::core
