// Fortran names: all by address, dimensions with the fastest first, and results at an address that may be
// null.
#pragma once

#include "fftw/shape.hpp"

namespace qnm::fftw {

constexpr int none = 0;
constexpr int one = 1;

/// What stands at the first address goes to the C entry, with the other arguments.
template <auto* entry, class First, class... Rest>
QNM_INLINE void held(First* first, Rest... rest)
{
    if (first != nullptr)
        entry(*first, rest...);
}

template <auto* entry, class... Rest>
QNM_INLINE void answered(int* result, Rest... rest)
{
    if (result != nullptr)
        *result = entry(rest...);
}

/// What a planner of C gets for an address: an array, the number that stands there, or kinds turned around.
template <class T>
struct Passed {
    Passed(T* address, int) : value(address) {}
    operator T*() const { return value; }
    T* value;
};
template <class T>
struct Passed<const T> {
    Passed(const T* address, int) : value(address) {}
    operator T() const { return *value; }
    const T* value;
};
template <>
struct Passed<const Kind> {
    Passed(const Kind* kinds, int rank)
    {
        for (int i = 0; i < rank; ++i)
            reversed[rank - 1 - i] = kinds[i];
    }
    operator const Kind*() const { return reversed; }
    Kind reversed[most_dimensions];
};

template <auto* planner, class In, class Out, class... Rest>
QNM_INLINE void lengths(Given given, Plan** plan, const int* rank, const int* n, In* in, Out* out,
                        Rest*... rest)
{
    if (!given.all)
        return;
    *plan = nullptr;
    *plan = planned_as<planner>(contiguous<First::fastest>(*rank, n, in, out), in, out,
                                Passed<Rest>(rest, *rank)...);
}

/// Of the elements of a batch's dimension.
enum class Batch { first, at_rank };

template <auto* planner, Batch batch = Batch::first, class... Rest>
QNM_INLINE void dims(Given given, Plan** plan, const int* rank, const int* n, const int* is, const int* os,
                     const int* howmany_rank, const int* hn, const int* his, const int* hos, Rest*... rest)
{
    if (!given.all)
        return;
    const bool several = *howmany_rank > 0;
    if (several && !all(hn, his, hos).all)
        return;
    *plan = nullptr;
    if (*rank > most_dimensions || *howmany_rank > 1)
        return;
    Shape shape;
    shape.good = true;
    shape.rank = *rank;
    shape.howmany_rank = *howmany_rank;
    for (int i = 0; i < shape.rank; ++i)
        shape.dims[shape.rank - 1 - i] = {n[i], is[i], os[i]};
    const int element = batch == Batch::first ? 0 : shape.rank - 1;
    if (several && element >= 0)
        shape.howmany = {hn[element], his[element], hos[element]};
    *plan = planned_as<planner>(shape, Passed<Rest>(rest, shape.rank)...);
}

/// Strides of 32 bits, where products wrap around.
struct Strides {
    Strides(int rank, int first, const int* extents)
    {
        each[0] = first;
        for (int i = 0; i < rank - 1; ++i)
            each[i + 1] = each[i] * extents[i];
    }
    int each[most_dimensions];
};

/// False where there is nothing to plan; the plan is null if its rank is too high.
QNM_INLINE bool has_rank(Given given, Plan** plan, const int* rank)
{
    if (!given.all)
        return false;
    if (*rank <= most_dimensions)
        return true;
    *plan = nullptr;
    return false;
}

template <auto* planner, class In, class Out, class... Rest>
QNM_INLINE void strides(Given given, Plan** plan, const int* rank, const int* n, const int* howmany, In* in,
                        const int* inembed, const int* istride, const int* idist, Out* out,
                        const int* onembed, const int* ostride, const int* odist, Rest... rest)
{
    if (!has_rank(given, plan, rank))
        return;
    const Strides is(*rank, *istride, inembed), os(*rank, *ostride, onembed);
    planner(plan, rank, n, is.each, os.each, &one, howmany, idist, odist, in, out, rest...);
}
template <auto* planner, class In, class Out, class... Rest>
QNM_INLINE void strides(Given given, Plan** plan, const int* rank, const int* n, In* in, Out* out,
                        Rest... rest)
{
    if (!has_rank(given, plan, rank))
        return;
    const Strides both(*rank, 1, n);
    planner(plan, rank, n, both.each, both.each, &none, nullptr, nullptr, nullptr, in, out, rest...);
}

/// One, two or three lengths. One goes on as it came.
template <auto* planner, class... Rest>
QNM_INLINE void box(Plan** plan, const int* n, Rest... rest)
{
    planner(plan, &one, n, rest...);
}
template <auto* planner, int rank, class... Rest>
QNM_INLINE void box(Plan** plan, const Parts<const int*, rank>& n, const Rest&... rest)
{
    const int its_rank = rank;
    planner(plan, &its_rank, as_array(n), as_array(rest)...);
}
/// With a look at lengths and kinds, behind the clearing of the plan.
template <auto* planner, class N, class... Rest>
QNM_INLINE void box(Given given, Plan** plan, const N& n, const Rest&... rest)
{
    if (plan == nullptr)
        return;
    *plan = nullptr;
    if (given.all)
        box<planner>(plan, n, rest...);
}

} // namespace qnm::fftw
