// Planners that make dimension lists, or an array of lengths, and hand over to another planner.
#pragma once

#include "fftw/shape.hpp"

namespace qnm::fftw {

template <auto* planner, class In, class Out, class... Rest>
QNM_INLINE Plan* lengths(int rank, const int* n, In* in, Out* out, Rest... rest)
{
    return planned_as<planner>(contiguous<First::slowest>(rank, n, in, out), in, out, rest...);
}

template <auto* planner, class In, class Out, class... Rest>
QNM_INLINE Plan* embeds(int rank, const int* n, int howmany, In* in, const int* inembed, int istride,
                        int idist, Out* out, const int* onembed, int ostride, int odist, Rest... rest)
{
    Shape shape = row_major(rank, n, in, inembed, istride, out, onembed, ostride);
    shape.howmany_rank = 1;
    shape.howmany = {howmany, idist, odist};
    return planned_as<planner>(shape, in, out, rest...);
}

template <auto* planner, class... Rest>
QNM_INLINE Plan* widened(int rank, const NarrowDimension* dims, int howmany_rank,
                         const NarrowDimension* howmany_dims, Rest... rest)
{
    return planned_as<planner>(widened(rank, dims, howmany_rank, howmany_dims), rest...);
}

/// One, two or three lengths.
template <auto* planner, class... Rest>
QNM_INLINE Plan* box(int n, Rest... rest)
{
    return planner(1, &n, as_array(rest)...);
}
template <auto* planner, int rank, class... Rest>
QNM_INLINE Plan* box(const Parts<int, rank>& n, const Rest&... rest)
{
    return planner(rank, n.each, as_array(rest)...);
}

} // namespace qnm::fftw
