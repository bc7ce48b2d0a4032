// The planners that all others come down to: their arrays say what the plan is for.
#pragma once

#include "fftw/record.hpp"
#include "fftw/transforms.hpp"

namespace qnm::fftw {

using dft::Direction;

/// Dimension lists of a caller.
struct Lists {
    int rank;
    const Dimension* dims;
    int howmany_rank;
    const Dimension* howmany;
};

enum class Data { complex, real, split };

/// What a plan is for. Known where a planner is compiled, but for the way of complex data.
struct Wish {
    Data data;
    Direction way;
    bool in_place;
    bool saves_memory;
    void* arrays[4]; // as the plan will have them
};

QNM_INLINE bool succeeded(Status status)
{
    return DftiErrorClass(status, dft::no_error) != 0;
}

template <class R>
QNM_INLINE bool created(Plan* plan, int domain, int rank, const std::int64_t* lengths)
{
    dft_handle* const made = &plan->descriptor;
    if constexpr (sizeof(R) == sizeof(double))
        return succeeded(rank == 1 ? DftiCreateDescriptor_d_1d(made, domain, lengths[0])
                                   : DftiCreateDescriptor_d_md(made, domain, rank, lengths));
    else
        return succeeded(rank == 1 ? DftiCreateDescriptor_s_1d(made, domain, lengths[0])
                                   : DftiCreateDescriptor_s_md(made, domain, rank, lengths));
}

/// What runs a plan, by how many of its arrays the transform takes. There is nobody to tell its status.
template <Direction way, int arrays>
void run(Plan* plan)
{
    if constexpr (arrays == 1)
        compute<way>(plan->descriptor, plan->arrays[0]);
    else if constexpr (arrays == 2)
        compute<way>(plan->descriptor, plan->arrays[0], plan->arrays[1]);
    else
        compute<way>(plan->descriptor, plan->arrays[0], plan->arrays[1], plan->arrays[2], plan->arrays[3]);
}

QNM_INLINE auto* function_of(const Wish& wish)
{
    if (wish.data == Data::split)
        return wish.in_place ? run<Direction::forward, 2> : run<Direction::forward, 4>;
    if (wish.way == Direction::forward)
        return wish.in_place ? run<Direction::forward, 1> : run<Direction::forward, 2>;
    return wish.in_place ? run<Direction::backward, 1> : run<Direction::backward, 2>;
}

QNM_INLINE bool has_one_layout(const Lists& lists)
{
    for (int i = 0; i < lists.rank; ++i)
        if (lists.dims[i].is != lists.dims[i].os)
            return false;
    return lists.howmany_rank != 1 || lists.howmany->is == lists.howmany->os;
}

/// A descriptor with all that is asked for, step by step; any status but 0 ends it.
template <class R>
QNM_INLINE bool is_made(Plan* plan, const Lists& lists, const Wish& wish)
{
    const auto [rank, dims, howmany_rank, howmany] = lists;
    std::int64_t lengths[dft::most_dimensions], is[dft::most_dimensions + 1], os[dft::most_dimensions + 1];
    is[0] = os[0] = 0;
    for (int i = 0; i < rank; ++i) {
        lengths[i] = dims[i].n;
        is[i + 1] = dims[i].is;
        os[i + 1] = dims[i].os;
    }
    const auto set = [plan](int code, std::int64_t value)
                         QNM_INLINE_LAMBDA { return succeeded(set_number(plan->descriptor, code, value)); };
    const auto set_strides = [plan](int code, const std::int64_t* strides) QNM_INLINE_LAMBDA {
        return succeeded(set_numbers(plan->descriptor, code, strides));
    };
    const bool real = wish.data == Data::real;

    if (!created<R>(plan, real ? dft::real_domain : dft::complex_domain, rank, lengths))
        return false;
    if (wish.saves_memory && !set(workspace, dft::avoid))
        return false;
    if (real && !set(storage_of_conjugate_even, dft::complex_complex))
        return false;
    if (wish.data == Data::split && !set(storage_of_complex, dft::real_real))
        return false;
    if (!set_strides(input_strides, is) || (real && !set_strides(output_strides, os)))
        return false;
    for (int i = 0; i < 4; ++i)
        plan->arrays[i] = wish.arrays[i];
    plan->execute = function_of(wish);
    if (wish.in_place) {
        if (!real && !has_one_layout(lists)) // of real data the two differ by nature
            return false;
    } else if (!set(placement, dft::not_in_place) || (!real && !set_strides(output_strides, os))) {
        return false;
    }
    if (howmany_rank == 1 && (!set(number_of_transforms, howmany->n) || !set(input_distance, howmany->is) ||
                              !set(output_distance, howmany->os)))
        return false;
    if (fftw3_qnm.threads >= 0 && !set(thread_limit, fftw3_qnm.threads))
        return false;
    return succeeded(DftiCommitDescriptor(plan->descriptor));
}

template <class R>
QNM_INLINE Plan* plan_of(const Lists& lists, const Wish& wish)
{
    if (lists.rank > dft::most_dimensions || lists.howmany_rank > 1 || lists.dims == nullptr ||
        (lists.howmany_rank > 0 && lists.howmany == nullptr))
        return nullptr;
    Plan* const plan = fresh_plan();
    if (plan == nullptr)
        return nullptr;
    return is_made<R>(plan, lists, wish) ? plan : given_up(plan);
}

/// By a trigonometric transform.
template <class R>
Plan* plan_of(const Lists& lists, R* in, R* out, const Kind* kind);
extern template Plan* plan_of<double>(const Lists&, double*, double*, const Kind*);
extern template Plan* plan_of<float>(const Lists&, float*, float*, const Kind*);

/// The one flag that is looked at, and for complex data alone.
constexpr unsigned conserve_memory = 4;

template <class R>
QNM_INLINE Plan* planned(int rank, const Dimension* dims, int howmany_rank, const Dimension* howmany,
                         Complex<R>* in, Complex<R>* out, int sign, unsigned flags)
{
    const Direction way = sign == -1 ? Direction::forward : Direction::backward;
    const bool in_place = in == out;
    return plan_of<R>(
        {rank, dims, howmany_rank, howmany},
        {Data::complex, way, in_place, (flags & conserve_memory) != 0, {in, in_place ? nullptr : out}});
}

template <class R>
QNM_INLINE Plan* planned(int rank, const Dimension* dims, int howmany_rank, const Dimension* howmany, R* in,
                         Complex<R>* out, unsigned)
{
    const bool in_place = static_cast<void*>(in) == out;
    return plan_of<R>({rank, dims, howmany_rank, howmany},
                      {Data::real, Direction::forward, in_place, false, {in, in_place ? nullptr : out}});
}
template <class R>
QNM_INLINE Plan* planned(int rank, const Dimension* dims, int howmany_rank, const Dimension* howmany,
                         Complex<R>* in, R* out, unsigned)
{
    const bool in_place = static_cast<void*>(in) == out;
    return plan_of<R>({rank, dims, howmany_rank, howmany},
                      {Data::real, Direction::backward, in_place, false, {in, in_place ? nullptr : out}});
}

template <class R>
QNM_INLINE Plan* planned(int rank, const Dimension* dims, int howmany_rank, const Dimension* howmany, R* ri,
                         R* ii, R* ro, R* io, unsigned)
{
    const bool in_place = ri == ro && ii == io;
    return plan_of<R>({rank, dims, howmany_rank, howmany},
                      {Data::split,
                       Direction::forward,
                       in_place,
                       false,
                       {ri, ii, in_place ? nullptr : ro, in_place ? nullptr : io}});
}

template <class R>
QNM_INLINE Plan* planned(int rank, const Dimension* dims, int howmany_rank, const Dimension* howmany, R* in,
                         R* out, const Kind* kind, unsigned)
{
    return plan_of<R>({rank, dims, howmany_rank, howmany}, in, out, kind);
}

} // namespace qnm::fftw
