// The planners that all others come down to: their arrays say what the plan is for.
#pragma once

#include "dft/compute.hpp"
#include "fftw/record.hpp"

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

struct Wish {
    Data data;
    Direction way;
    bool in_place;
    bool saves_memory;
    void* arrays[4]; // as the plan will have them
};

/// By a descriptor, and by a trigonometric transform.
template <class R>
Plan* plan_of(const Lists& lists, const Wish& wish);
template <class R>
Plan* plan_of(const Lists& lists, R* in, R* out, const Kind* kind);
extern template Plan* plan_of<double>(const Lists&, const Wish&);
extern template Plan* plan_of<float>(const Lists&, const Wish&);
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
