// Plans that are descriptors.
#include "fftw/planner.hpp"

#include "fftw/transforms.hpp"

namespace qnm::fftw {

namespace {

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

} // namespace

template <class R>
Plan* plan_of(const Lists& lists, const Wish& wish)
{
    const auto [rank, dims, howmany_rank, howmany] = lists;
    if (rank > dft::most_dimensions || howmany_rank > 1 || dims == nullptr ||
        (howmany_rank > 0 && howmany == nullptr))
        return nullptr;
    Plan* const plan = fresh_plan();
    if (plan == nullptr)
        return nullptr;
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
        return given_up(plan);
    if (wish.saves_memory && !set(workspace, dft::avoid))
        return given_up(plan);
    if (real && !set(storage_of_conjugate_even, dft::complex_complex))
        return given_up(plan);
    if (wish.data == Data::split && !set(storage_of_complex, dft::real_real))
        return given_up(plan);
    if (!set_strides(input_strides, is))
        return given_up(plan);
    if (real && !set_strides(output_strides, os))
        return given_up(plan);
    for (int i = 0; i < 4; ++i)
        plan->arrays[i] = wish.arrays[i];
    plan->execute = function_of(wish);
    if (wish.in_place) {
        if (!real && !has_one_layout(lists)) // of real data the two differ by nature
            return given_up(plan);
    } else if (!set(placement, dft::not_in_place) || (!real && !set_strides(output_strides, os))) {
        return given_up(plan);
    }
    if (howmany_rank == 1 && (!set(number_of_transforms, howmany->n) || !set(input_distance, howmany->is) ||
                              !set(output_distance, howmany->os)))
        return given_up(plan);
    if (fftw3_qnm.threads >= 0 && !set(thread_limit, fftw3_qnm.threads))
        return given_up(plan);
    return succeeded(DftiCommitDescriptor(plan->descriptor)) ? plan : given_up(plan);
}
template Plan* plan_of<double>(const Lists&, const Wish&);
template Plan* plan_of<float>(const Lists&, const Wish&);

} // namespace qnm::fftw
