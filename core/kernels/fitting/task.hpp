// A task: functions on a partition, and the spline that is wanted of them.
#pragma once

#include "status.hpp"

#include <cstddef>
#include <cstdint>

#define QNM_FITTING extern "C" __attribute__((visibility("default")))

namespace qnm::df {

using Int = std::int64_t;

enum Hint : Int {
    no_hint = 0,
    non_uniform = 1,
    quasi_uniform = 2,
    uniform = 4, // two numbers: the ends
    by_rows = 0x10,
    by_columns = 0x20,
    sorted = 0x40,
    first_only = 0x80,
};

enum Type : Int {
    standard = 0,
    subbotin = 1,
    natural = 2,
    hermite = 3,
    bessel = 4,
    akima = 5,
    look_up = 6,
    steps_closed_left = 7,
    steps_closed_right = 8,
    hyman = 9,
};

/// What is given inside: derivatives at inner points, or knots.
enum InnerType : Int { no_inner = 0, first_inner = 1, second_inner = 2, inner_knots = 8 };

/// Arrays of each function. They have the caller's or parts of what the caller gave for all.
enum Array : int { coefficients_of, values_of, ends_of, inner_of, arrays };

/// The record. Callers look at it up to `trusted`.
struct Task {
    std::size_t element; // bytes of a number
    void* unused;
    Int nx;
    const void* x;
    Int x_hint;
    Int ny;
    const void* y;
    Int y_hint;
    Int order;
    Int type;
    Int end_type;
    const void* ends;
    Int inner_type;
    const void* inner;
    const void** coefficients; // of each function, and behind them the other arrays
    Int coefficient_hint;
    std::int32_t trusted;
    const void* all_coefficients; // as they were given

    const void*& array(Array which, Int function) const { return coefficients[which * ny + function]; }
    /// Splines with knots of their own have one piece around each point.
    bool has_knots() const { return type == subbotin; }
    Int pieces() const { return has_knots() ? nx : nx - 1; }
};
static_assert(offsetof(Task, nx) == 16 && offsetof(Task, ny) == 40 && offsetof(Task, order) == 64 &&
              offsetof(Task, type) == 72 && offsetof(Task, end_type) == 80 &&
              offsetof(Task, coefficients) == 112 && offsetof(Task, trusted) == 128);

/// Points, in ascending order.
template <class T>
class Points {
public:
    explicit Points(const Task& task) : Points(static_cast<const T*>(task.x), task.nx, task.x_hint) {}
    Points(const T* x, Int n, Int hint) : x_(x), n_(n), even_(hint == uniform)
    {
        if (even_) {
            first_ = x[0];
            last_ = x[1];
            step_ = n > 1 ? (last_ - first_) / static_cast<T>(n - 1) : T(0);
        }
    }
    T operator[](Int i) const { return even_ ? even(i) : x_[i]; }
    Int size() const { return n_; }
    bool are_even() const { return even_; }
    const T* listed() const { return x_; }
    T even(Int i) const { return i == n_ - 1 ? last_ : first_ + static_cast<T>(i) * step_; }
    T first() const { return (*this)[0]; }
    T last() const { return (*this)[n_ - 1]; }
    T step() const { return step_; }

private:
    const T* x_;
    Int n_;
    bool even_;
    T first_{}, last_{}, step_{};
};

/// Knots that all functions share, if they are given.
template <class T>
const T* given_knots(const Task& task)
{
    return task.inner_type == inner_knots ? static_cast<const T*>(task.inner) : nullptr;
}

/// The border between the pieces around points i-1 and i, where there are such pieces.
template <class T>
T knot(const Points<T>& x, const T* given, Int i)
{
    if (given != nullptr)
        return given[i];
    if (i == 0)
        return x.first();
    return i == x.size() ? x.last() : x[i - 1] + (x[i] - x[i - 1]) / 2;
}

/// The core's: calls body(k, data) once for each k below count, on any threads. The first status below 0
/// wins.
using Threader = int(Int count, int (*body)(Int k, void* data), void* data);

/// As many calls of part(k), on the caller's thread alone if they are few.
template <class Part>
int each(Threader* threader, Int count, bool many, Part part)
{
    const auto body = [](Int k, void* data) { return (*static_cast<Part*>(data))(k); };
    if (threader != nullptr && many && count > 1)
        return threader(count, body, &part);
    int status = ok;
    for (Int k = 0; k < count && status >= 0; ++k)
        status = part(k);
    return status;
}

} // namespace qnm::df
