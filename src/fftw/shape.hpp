// Dimension lists as the planners take them, made of lengths, of lengths that are embedded in others, and of
// narrow dimensions.
#pragma once

#include <type_traits>

#include "dft/descriptor.hpp"
#include "fftw/arguments.hpp"

namespace qnm::fftw {

using dft::most_dimensions;

/// Without `good` there is no plan. Lists of a rank that cannot be are empty: a planner refuses them.
struct Shape {
    bool good = false;
    int rank = 0;
    int howmany_rank = 0;
    Dimension dims[most_dimensions];
    Dimension howmany;
};

/// Of the lengths that callers tell, C has the slowest dimension first, Fortran the fastest.
enum class First { slowest, fastest };

/// Which side of a transform has half of the numbers.
template <class In, class Out>
constexpr bool in_is_half = !std::is_same_v<In, Out> && !std::is_floating_point_v<In>;
template <class In, class Out>
constexpr bool out_is_half = !std::is_same_v<In, Out> && !std::is_floating_point_v<Out>;

/// How many numbers of one side are told, where a row of the other is `n`: as many, half of them, or in place
/// with room for the half.
template <bool half, bool other_half>
QNM_INLINE std::int64_t row_of(std::int64_t n, bool in_place)
{
    if (half)
        return n / 2 + 1;
    return other_half && in_place ? 2 * (n / 2) + 2 : n;
}

/// Row-major. Where it is not told what a side's rows are embedded in, they are n, with room for the half.
template <First first = First::slowest, class In, class Out>
QNM_INLINE Shape row_major(int rank, const int* n, const In* in, const int* inembed, int istride,
                           const Out* out, const int* onembed, int ostride)
{
    Shape shape;
    if (rank > most_dimensions || n == nullptr)
        return shape;
    shape.good = true;
    shape.rank = rank;
    if (rank < 1)
        return shape;
    const int last = rank - 1;
    const auto at = [&](const int* all, int i) QNM_INLINE_LAMBDA -> std::int64_t {
        return all[first == First::slowest ? i : last - i];
    };
    const bool in_place = static_cast<const void*>(in) == out;
    constexpr bool half_in = in_is_half<In, Out>, half_out = out_is_half<In, Out>;
    const std::int64_t in_row = row_of<half_in, half_out>(at(n, last), in_place);
    const std::int64_t out_row = row_of<half_out, half_in>(at(n, last), in_place);
    const auto room = [&](const int* embed, std::int64_t row, int i) QNM_INLINE_LAMBDA {
        return embed != nullptr ? at(embed, i) : i == last ? row : at(n, i);
    };
    std::int64_t is = istride, os = ostride;
    for (int i = last; i >= 0; --i) {
        shape.dims[i] = {at(n, i), is, os};
        if (i > 0) {
            is *= room(inembed, in_row, i);
            os *= room(onembed, out_row, i);
        }
    }
    return shape;
}

/// With nothing in between.
template <First first, class In, class Out>
QNM_INLINE Shape contiguous(int rank, const int* n, const In* in, const Out* out)
{
    return row_major<first>(rank, n, in, nullptr, 1, out, nullptr, 1);
}

/// Narrow dimensions.
QNM_INLINE Shape widened(int rank, const NarrowDimension* dims, int howmany_rank,
                         const NarrowDimension* howmany)
{
    Shape shape;
    if (rank > most_dimensions || howmany_rank > 1 || dims == nullptr ||
        (howmany_rank > 0 && howmany == nullptr))
        return shape;
    shape.good = true;
    shape.rank = rank;
    shape.howmany_rank = howmany_rank;
    for (int i = 0; i < rank; ++i)
        shape.dims[i] = {dims[i].n, dims[i].is, dims[i].os};
    if (howmany_rank > 0)
        shape.howmany = {howmany->n, howmany->is, howmany->os};
    return shape;
}

/// The planner's answer to a shape.
template <auto* planner, class... Rest>
QNM_INLINE Plan* planned_as(const Shape& shape, Rest... rest)
{
    return shape.good ? planner(shape.rank, shape.dims, shape.howmany_rank,
                                shape.howmany_rank > 0 ? &shape.howmany : nullptr, rest...)
                      : nullptr;
}

} // namespace qnm::fftw
